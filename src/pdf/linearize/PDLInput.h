#pragma once

#include "base/BasicMap.h"
#include "pdf/linearize/PDFile.h"

class PDOSObj;

// A finished document that is to be linearized: reads cross-reference tables, cross-reference streams and
// hybrids along the chain of sections (ISO 32000-1, 7.5.4 to 7.5.8) and unpacks every object stream. Nothing
// is repaired: what is not where it should be is missing, and a document without a usable catalogue is
// refused.
class PDLInput : public PDFile
{
public:
  PDLInput();
  ~PDLInput() override;

  // What went wrong while opening.
  enum class TState
  {
    Opened,
    Damaged,
    NeedsCryptor
  };

  // The stream has to be seekable. The cryptor must outlive the object; it may be null for a document that is
  // not encrypted.
  TState Open(BSE::IByteStream* pStream, PDCryptor* pCryptor);

private:
  struct TXRef  // an entry as a section has it
  {
    std::int64_t m_nPos;  // or the number of the object stream
    int m_nNumber;
    int m_nGeneration;
    unsigned char m_nType;
  };

  bool ReadHeader();
  std::int64_t FindStartXRef();

  // --- The chain of sections
  bool ReadChain(std::int64_t nPos);
  bool ReadSection(std::int64_t nPos, std::int64_t& nPrev);
  bool ReadTableSection(std::int64_t nPos, std::int64_t& nPrev);
  bool ReadTable(PDCursor& cursor);
  bool ReadTableRange(PDCursor& cursor, std::int64_t nFirst, std::int64_t nCount);
  bool ReadTrailer(std::int64_t nPos, PDObj& trailer);
  bool ReadXRefStream(std::int64_t nPos, std::int64_t& nPrev);
  bool ReadXRefData(const PDObj& dictionary, std::span<const unsigned char> data);
  bool ReadXRefRows(std::span<const unsigned char> rows, std::span<const int, 3> widths, std::int64_t nFirst);
  void AddEntry(std::int64_t nNumber, unsigned char nType, std::int64_t nPos, std::int64_t nGeneration);

  // Keeps what the first trailer that has it says.
  void TakeTrailer(const PDObj& trailer);

  // --- The objects
  bool BuildEntries();
  void SetExtents();
  bool UnpackObjectStreams();
  bool UnpackObjectStream(PDOSObj& unpacked, int nNumber);
  bool ReadEncryption(PDCryptor* pCryptor);
  bool TakeEncryption(const PDObj& dictionary);
  bool ResolveTrailer();
  void TakeId();

  BSE::CBasicArray<TXRef> m_xref;
  BSE::CValueKeyPtrMap<std::int64_t, char> m_sections;
  std::int64_t m_nBudget = 0;  // bytes of cross-reference data that may be read yet
  int m_nRootNumber = 0;
  int m_nInfoNumber = 0;
  int m_nEncryptNumber = 0;
  int m_nIdNumber = 0;
};
