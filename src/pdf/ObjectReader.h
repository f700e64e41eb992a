#pragma once

#include "pdf/FileState.h"
#include "pdf/ObjectStreamCache.h"

namespace PDF
{

// Loads the objects of a file and lets go of them; one part of CFile, which documents what is public here.
class CObjectReader
{
public:
  // Borrows both.
  CObjectReader(CFile& file, TFileState& state) : m_file(file), m_state(state), m_streams(file) {}
  CObjectReader(const CObjectReader&) = delete;
  CObjectReader& operator=(const CObjectReader&) = delete;

  bool CanLoad() const;
  bool Load(CIndirectObject& object);
  void UnloadUnused(CIndirectObject& object);
  void OnUnloaded(CIndirectObject& object);

  bool HasInputFailed() const;
  unsigned GetReadFailure() const;
  void GiveUp(unsigned nCode);

  std::int64_t GetValueLimit() const;
  bool AdmitValues(std::int64_t nCount);

  // Entries for what object streams hold, unless a plain object of that number is after them; for
  // streams that a scan has found, in the order of the file.
  void EnterRecoveredHolders(const BSE::CBasicArray<int>& holders, bool bBeside);

  // Whether all values are about to go with the table, so that none is unloaded by itself.
  void SetReleasing(bool bReleasing) { m_bReleasing = bReleasing; }

  // Lets go of everything that is held, and of the objects of the table.
  void ForgetObjects();

  // As before the first load.
  void Reset();

private:
  bool LoadDirect(CIndirectObject& object, unsigned& nFailure);
  bool LoadCompressed(CIndirectObject& object, const TXRefEntry& entry, unsigned& nFailure);

  // Reads the value of an object with an entry; false, with the reason, if it cannot be read.
  bool ReadObject(CIndirectObject& object, unsigned& nFailure);

  // For an object whose entry is free: reads as null, unless the table is not to be trusted in that.
  bool LoadFree(CIndirectObject& object);

  // Looks for an object all over the file.
  bool RecoverObject(int nObjNumber);

  // Enters what the scan for lost objects has found under a number; false if it has found none.
  bool TakeScanned(int nObjNumber);

  // Decodes an object stream that is not in memory and puts it to the front of the cache.
  bool LoadStream(CObjectStream& stream);

  // As long as the file does not ask for too much of that.
  bool DecodeStream(CObjectStream& stream);

  // Counts what has been read for an object.
  void CountLoad(CIndirectObject& object, bool bCompressed);
  bool IsOverworked();
  bool Hold(CIndirectObject& object);
  void ReleaseHeld(int nCount);

  CFile& m_file;
  TFileState& m_state;
  CObjectStreamCache m_streams;
  BSE::CObjectArray<CIndirectObject> m_unloadQueue;
  BSE::CObjectArray<CIndirectObject> m_held;  // the oldest first
  BSE::CBasicArray<int> m_heldCosts;
  std::int64_t m_nHeldBytes = 0;
  std::int64_t m_nLoadedBytes = 0;   // read for values that are in memory
  std::int64_t m_nFirstBytes = 0;    // read for values that are in the file for themselves
  std::int64_t m_nAgainBytes = 0;    // read for values after the first time
  std::int64_t m_nDecodedBytes = 0;  // of object streams, decoded for the first time
  std::int64_t m_nRereadBytes = 0;   // decoded more than once
  std::int64_t m_nCompressedValues = 0;
  unsigned m_nReadFailure = 0;
  int m_nLoadDepth = 0;
  bool m_bUnloading = false;
  bool m_bQueuing = false;
  bool m_bReleasing = false;
};

}  // namespace PDF
