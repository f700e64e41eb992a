#pragma once

#include "base/BasicArray.h"
#include "base/BufferedOutputStream.h"
#include "pdf/Object.h"

#include <cstring>
#include <span>

namespace PDF
{

class CByteRangeObject;
class CContentsObject;
class CSecurityHandler;

// How dictionaries are laid out.
enum TGeneratorLayout
{
  eLayoutLines,    // one entry a line, for objects that are in the file
  eLayoutCompact,  // one blank between entries, for members of object streams
  eLayoutDense     // no blank where a delimiter is, in arrays too
};

// Renders values as PDF syntax (ISO 32000-1, 7.3) into a buffered stream. Write failures are sticky in the
// stream and asked for once per object with HasFailed; what is written after one goes nowhere.
class CGenerator
{
public:
  // Keeps a reference on the output.
  explicit CGenerator(const BSE::CObjectPtr<BSE::CBufferedOutputStream>& pOutput,
                      TGeneratorLayout nLayout = eLayoutLines);
  CGenerator(const CGenerator&) = delete;
  CGenerator& operator=(const CGenerator&) = delete;
  virtual ~CGenerator();

  BSE::CBufferedOutputStream& GetOutput() { return *m_pOutput; }
  bool HasFailed() const { return m_pOutput->HasFailed(); }
  std::int64_t Tell() { return m_pOutput->Tell(); }
  bool Flush() { return m_pOutput->Flush(); }

  // From here on strings, but not signatures, are encrypted for that object and written in hexadecimal form;
  // a null handler ends it. Borrowed.
  void SetEncryption(CSecurityHandler* pHandler, int nObjNumber, int nGenNumber);

  // --- Pieces
  void WriteByte(char nByte) { m_pOutput->PutByte(static_cast<unsigned char>(nByte)); }
  void WriteBytes(const void* pData, std::size_t nLength);
  void WriteText(const char* szText) { WriteBytes(szText, std::strlen(szText)); }

  // --- Scalars
  void WriteInteger(std::int64_t nValue);

  // The limits are those of FormatReal.
  void WriteReal(double dValue, int nSignificant = 0, int nDecimals = -1);

  // In the shorter of the literal and the hexadecimal form.
  void WriteString(const CString& value);
  void WriteName(const char* szName);
  void WriteReference(int nObjNumber, int nGenNumber);

  // --- Values
  // Any value; null as "null", an indirect object as a reference. Nesting costs no stack.
  void WriteValue(CObject* pValue);

  // A stream's dictionary, which may be null, with the given number in the place of its Length.
  void WriteStreamDictionary(CObject* pDictionary, std::int64_t nLength);

  // --- Objects
  void BeginObject(int nObjNumber, int nGenNumber);
  void EndObject();

  // Between them come exactly as many bytes as the dictionary's Length says.
  void BeginStream();
  void EndStream();

  // --- Signatures: fill in reserved room of a finished file whose output can seek. False, traced, if the
  // room is too small. The position of the output is left at its end.
  bool UpdateByteRange(CByteRangeObject& range, std::int64_t n1, std::int64_t n2, std::int64_t n3);
  bool UpdateContents(CContentsObject& contents, std::span<const unsigned char> data);

private:
  // An open container of the value that is being written; its position is the element or entry that follows.
  struct TFrame
  {
    CObject* m_pContainer;
    int m_nPos;
    bool m_bArray;
    bool m_bFirst;
  };

  void WriteScalar(CObject& value);
  void WriteHex(std::span<const unsigned char> data);
  void WriteLiteral(std::span<const unsigned char> data);
  void WriteOrOpen(CObject* pValue);
  bool NextElement(TFrame& frame, CObject*& pNext);
  bool NextEntry(TFrame& frame, CObject*& pNext);
  void BeginDictionary();

  // With the blank that the value after it needs.
  void WriteKey(const char* szKey, bool bFirst, CObject* pValue);
  bool NeedsBlank(CObject* pValue) const;
  void WritePlaceholder(CObject& value);

  BSE::CObjectPtr<BSE::CBufferedOutputStream> m_pOutput;
  CSecurityHandler* m_pSecurity = nullptr;
  bool m_bSignature = false;  // the string that follows is one, which is never encrypted
  BSE::CBasicArray<TFrame> m_frames;
  int m_nObjNumber = 0;
  int m_nGenNumber = 0;
  TGeneratorLayout m_nLayout;
};

}  // namespace PDF
