#pragma once

#include "pdf/FileWriter.h"
#include "pdf/Linearizer.h"

namespace PDF
{

// Brings a file that was written to its end: the last revision, linearization where it is wanted, and the way
// to a target that is not a file. One part of CFile.
class CFileFinisher
{
public:
  // Borrows all three.
  CFileFinisher(CFile& file, TFileState& state, CFileWriter& writer)
      : m_file(file), m_state(state), m_writer(writer)
  {
  }
  CFileFinisher(const CFileFinisher&) = delete;
  CFileFinisher& operator=(const CFileFinisher&) = delete;

  // Where the finished file goes, if that is not where it is written; null for that.
  void SetTarget(BSE::IByteStream* pTarget) { m_pTarget = pTarget; }

  // Requested, and only if it does not cost too much. The linearizer is borrowed.
  void SetLinearize(bool bLinearize, bool bAuto, ILinearizer* pLinearizer);

  // True for a file that is not written. False if it could not be completed.
  bool Finish();

private:
  bool WantsLinearization();
  static void TraceGrowth();
  TLinearized LinearizeTo(BSE::IByteStream* pOutput, std::int64_t& nWritten);
  bool Linearize();
  bool LinearizeFile();
  bool ReplaceFile();
  bool LinearizeMemory();
  bool RewindTarget();
  bool Deliver();

  // The same where the target has taken bytes of another file, which are gone afterwards.
  bool DeliverInstead(std::int64_t nWritten);

  CFile& m_file;
  TFileState& m_state;
  CFileWriter& m_writer;
  BSE::CObjectPtr<BSE::IByteStream> m_pTarget;
  ILinearizer* m_pLinearizer = nullptr;
  bool m_bLinearize = false;
  bool m_bLinearizeAuto = false;
};

}  // namespace PDF
