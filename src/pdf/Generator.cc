// Open containers are on a stack of their own, so that nesting costs no call stack: a container is opened
// where it is met, and its values follow while it is the innermost. Calls with the class in front
// (CArrayObject::GetSize) are not virtual, which pays: every entry of a file passes here. Placeholders leave
// room, and remember where it is, for what is known only once the file is complete.

#include "pdf/Generator.h"

#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/NumberFormat.h"
#include "pdf/Placeholder.h"
#include "pdf/SecurityHandler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr char g_hexDigits[] = "0123456789ABCDEF";

// Letter of the escape for a byte of a literal string, 0 for none.
constexpr char GetEscapeLetter(unsigned char nByte)
{
  switch (nByte)
  {
  case '\b':
    return 'b';
  case '\t':
    return 't';
  case '\n':
    return 'n';
  case '\f':
    return 'f';
  case '\r':
    return 'r';
  case '(':
    return '(';
  case ')':
    return ')';
  case '\\':
    return '\\';
  default:
    return 0;
  }
}

// Bytes that each byte costs in a literal string.
constexpr auto g_literalCost = []
{
  std::array<unsigned char, 256> cost{};
  for (unsigned i = 0; i < 256; ++i)
    cost[i] = GetEscapeLetter(static_cast<unsigned char>(i)) ? 2 : (i >= 32 && i < 127 ? 1 : 4);
  return cost;
}();

// Bytes that stand for themselves in a name. The number sign starts an escape.
constexpr auto g_plainInName = []
{
  std::array<bool, 256> plain{};
  for (unsigned i = 33; i < 127; ++i)
    plain[i] = true;
  for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%', '#'})
    plain[static_cast<unsigned char>(c)] = false;
  return plain;
}();

}  // namespace

CGenerator::CGenerator(const BSE::CObjectPtr<BSE::CBufferedOutputStream>& pOutput, TGeneratorLayout nLayout)
    : m_pOutput(pOutput), m_nLayout(nLayout)
{
}

CGenerator::~CGenerator() = default;

void CGenerator::SetEncryption(CSecurityHandler* pHandler, int nObjNumber, int nGenNumber)
{
  m_pSecurity = pHandler;
  m_nObjNumber = nObjNumber;
  m_nGenNumber = nGenNumber;
}

void CGenerator::WriteBytes(const void* pData, std::size_t nLength)
{
  m_pOutput->BSE::CBufferedOutputStream::Write(static_cast<const unsigned char*>(pData),
                                               static_cast<std::int64_t>(nLength));
}

void CGenerator::WriteInteger(std::int64_t nValue)
{
  if (nValue >= 0 && nValue < 10)
  {
    WriteByte(static_cast<char>('0' + nValue));
    return;
  }
  char buffer[g_nMaxNumberLength];
  const int nLength = FormatInteger(nValue, buffer);
  WriteBytes(buffer, static_cast<std::size_t>(nLength));
}

void CGenerator::WriteReal(double dValue, int nSignificant, int nDecimals)
{
  char buffer[g_nMaxNumberLength];
  const auto nLength = static_cast<std::size_t>(FormatReal(dValue, buffer, nSignificant, nDecimals));
  WriteBytes(buffer, nLength);
  // Without a point readers take it for an integer, which some keep in 32 bits, and others drop the object
  // for it.
  constexpr double dFirstLarge = 2147483648.0;
  if (std::fabs(dValue) >= dFirstLarge && !std::memchr(buffer, '.', nLength))
    WriteByte('.');
}

void CGenerator::WriteString(const CString& value)
{
  if (m_bSignature)
  {
    m_bSignature = false;
    WriteHex(value.GetSpan());
    return;
  }
  if (m_pSecurity)
  {
    WriteHex(m_pSecurity->EncryptString(value, m_nObjNumber, m_nGenNumber).GetSpan());
    return;
  }
  const std::span<const unsigned char> data = value.GetSpan();
  const std::size_t nHexCost = 2 * data.size() + 2;
  std::size_t nCost = 2;
  for (const unsigned char nByte : data)
    nCost += g_literalCost[nByte];
  if (nCost < nHexCost)
    WriteLiteral(data);
  else
    WriteHex(data);
}

void CGenerator::WriteHex(std::span<const unsigned char> data)
{
  WriteByte('<');
  for (const unsigned char nByte : data)
  {
    WriteByte(g_hexDigits[nByte >> 4]);
    WriteByte(g_hexDigits[nByte & 15]);
  }
  WriteByte('>');
}

void CGenerator::WriteLiteral(std::span<const unsigned char> data)
{
  WriteByte('(');
  for (const unsigned char nByte : data)
  {
    if (g_literalCost[nByte] == 1)
    {
      WriteByte(static_cast<char>(nByte));
      continue;
    }
    WriteByte('\\');
    if (const char cLetter = GetEscapeLetter(nByte))
    {
      WriteByte(cLetter);
      continue;
    }
    WriteByte(static_cast<char>('0' + (nByte >> 6)));
    WriteByte(static_cast<char>('0' + (nByte >> 3 & 7)));
    WriteByte(static_cast<char>('0' + (nByte & 7)));
  }
  WriteByte(')');
}

void CGenerator::WriteName(const char* szName)
{
  WriteByte('/');
  for (const char* p = szName; p && *p; ++p)
  {
    const auto nByte = static_cast<unsigned char>(*p);
    if (g_plainInName[nByte])
    {
      WriteByte(*p);
      continue;
    }
    WriteByte('#');
    WriteByte(g_hexDigits[nByte >> 4]);
    WriteByte(g_hexDigits[nByte & 15]);
  }
}

void CGenerator::WriteReference(int nObjNumber, int nGenNumber)
{
  WriteInteger(nObjNumber);
  WriteByte(' ');
  WriteInteger(std::max(nGenNumber, 0));
  WriteBytes(" R", 2);
}

void CGenerator::WriteScalar(CObject& value)
{
  switch (value.GetType())
  {
  case eBoolean:
    WriteText(value.GetBooleanValue() ? "true" : "false");
    break;
  case eInteger:
    WriteInteger(value.GetIntegerValue());
    break;
  case eReal:
    WriteReal(value.GetRealValue());
    break;
  case eString:
    WriteString(value.GetStringValue());
    break;
  case eName:
    WriteName(value.GetNameValue());
    break;
  case eIndirect:
    WriteReference(value.GetObjNumber(), value.GetGenNumber());
    break;
  case eNull:
  case eArray:
  case eDictionary:
  case eStream:
    WriteText("null");
    break;
  }
}

void CGenerator::WriteValue(CObject* pValue)
{
  WriteOrOpen(pValue);
  while (!m_frames.IsEmpty())
  {
    TFrame& frame = m_frames.GetSpan().back();
    CObject* pNext = nullptr;
    if (frame.m_bArray ? NextElement(frame, pNext) : NextEntry(frame, pNext))
      WriteOrOpen(pNext);
    else
      m_frames.Truncate(m_frames.GetSize() - 1);
  }
}

// A container is only opened: its values follow when it is the innermost one.
void CGenerator::WriteOrOpen(CObject* pValue)
{
  if (!pValue)
  {
    WriteText("null");
    return;
  }
  const TObjectType nType = pValue->GetType();
  if (nType == eIndirect)
    WriteReference(pValue->GetObjNumber(), pValue->GetGenNumber());
  else if (pValue->IsPlaceholder())
    WritePlaceholder(*pValue);
  else if (nType == eArray)
  {
    WriteByte('[');
    m_frames.Add({pValue, 0, true, true});
  }
  else if (nType == eDictionary)
  {
    BeginDictionary();
    m_frames.Add(
        {pValue, static_cast<CDictionaryObject*>(pValue)->CDictionaryObject::GetBegin(), false, true});
  }
  else
  {
    WriteScalar(*pValue);
  }
}

bool CGenerator::NextElement(TFrame& frame, CObject*& pNext)
{
  auto* pArray = static_cast<CArrayObject*>(frame.m_pContainer);
  if (frame.m_nPos >= pArray->CArrayObject::GetSize())
  {
    WriteByte(']');
    return false;
  }
  pNext = pArray->PeekElement(frame.m_nPos);
  if (frame.m_nPos++ > 0 && NeedsBlank(pNext))
    WriteByte(' ');
  return true;
}

bool CGenerator::NextEntry(TFrame& frame, CObject*& pNext)
{
  auto* pDictionary = static_cast<CDictionaryObject*>(frame.m_pContainer);
  if (m_nLayout == eLayoutLines && !frame.m_bFirst)
    WriteByte('\n');
  if (frame.m_nPos == pDictionary->CDictionaryObject::GetEnd())
  {
    WriteBytes(">>", 2);
    return false;
  }
  pNext = pDictionary->PeekValue(frame.m_nPos);
  const char* szKey = pDictionary->CDictionaryObject::GetKey(frame.m_nPos);
  WriteKey(szKey, frame.m_bFirst, pNext);
  m_bSignature = m_pSecurity && pNext && pNext->GetType() == eString && !pNext->IsPlaceholder() &&
                 KeyEquals(szKey, "Contents") && pDictionary->CDictionaryObject::GetIndex("ByteRange") >= 0;
  frame.m_nPos = pDictionary->CDictionaryObject::GetNext(frame.m_nPos);
  frame.m_bFirst = false;
  return true;
}

void CGenerator::BeginDictionary()
{
  WriteBytes("<<\n", m_nLayout == eLayoutLines ? 3 : 2);
}

bool CGenerator::NeedsBlank(CObject* pValue) const
{
  if (m_nLayout != eLayoutDense || !pValue)
    return true;
  // A reference is not asked for its value: that would load it.
  const TObjectType nType = pValue->GetType();
  return nType != eName && nType != eString && nType != eArray && nType != eDictionary;
}

void CGenerator::WriteKey(const char* szKey, bool bFirst, CObject* pValue)
{
  if (m_nLayout == eLayoutCompact && !bFirst)
    WriteByte(' ');
  WriteName(szKey);
  if (NeedsBlank(pValue))
    WriteByte(' ');
}

void CGenerator::WriteStreamDictionary(CObject* pDictionary, std::int64_t nLength)
{
  BeginDictionary();
  bool bHasLength = false;
  if (pDictionary && pDictionary->GetType() == eDictionary)
  {
    auto& dictionary = static_cast<CDictionaryObject&>(*pDictionary);
    for (int i = dictionary.GetBegin(); i != dictionary.GetEnd(); i = dictionary.GetNext(i))
    {
      WriteKey(dictionary.GetKey(i), i == dictionary.GetBegin(), dictionary.PeekValue(i));
      const bool bLength = KeyEquals(dictionary.GetKey(i), "Length");
      if (bLength)
        WriteInteger(nLength);
      else
        WriteValue(dictionary.PeekValue(i));
      bHasLength |= bLength;
      if (m_nLayout == eLayoutLines)
        WriteByte('\n');
    }
  }
  if (!bHasLength)
  {
    WriteKey("Length", true, nullptr);
    WriteInteger(nLength);
    if (m_nLayout != eLayoutDense)
      WriteByte('\n');
  }
  WriteBytes(">>", 2);
}

void CGenerator::BeginObject(int nObjNumber, int nGenNumber)
{
  WriteInteger(nObjNumber);
  WriteByte(' ');
  WriteInteger(std::max(nGenNumber, 0));
  WriteBytes(" obj\n", 5);
}

void CGenerator::EndObject()
{
  WriteBytes("endobj\n", 7);
}

void CGenerator::BeginStream()
{
  WriteBytes("\nstream\n", 8);
}

void CGenerator::EndStream()
{
  WriteBytes("\nendstream\n", 11);
}

void CGenerator::WritePlaceholder(CObject& value)
{
  if (value.GetType() == eArray)
  {
    static_cast<CByteRangeObject&>(value).SetPosition(Tell());
    WriteByte('[');
    for (int i = 0; i < CByteRangeObject::g_nRoom; ++i)
      WriteByte(' ');
    WriteByte(']');
    return;
  }
  auto& contents = static_cast<CContentsObject&>(value);
  contents.SetPosition(Tell());
  WriteByte('<');
  for (int i = 0; i < contents.GetRoom(); ++i)
    WriteBytes("00", 2);
  WriteByte('>');
}

bool CGenerator::UpdateByteRange(CByteRangeObject& range, std::int64_t n1, std::int64_t n2, std::int64_t n3)
{
  char text[4 * g_nMaxNumberLength] = {'[', '0'};
  int nLength = 2;
  for (const std::int64_t n : {n1, n2, n3})
  {
    text[nLength++] = ' ';
    nLength += FormatInteger(n, text + nLength);
  }
  if (nLength - 1 > CByteRangeObject::g_nRoom)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Generator",
                          "Failed to update byte range, because the placeholder was too small.");
    return false;
  }
  text[nLength++] = ']';
  while (nLength < CByteRangeObject::g_nRoom + 2)
    text[nLength++] = ' ';
  if (range.GetPosition() < 0 || !m_pOutput->Seek(range.GetPosition()))
    return false;
  WriteBytes(text, static_cast<std::size_t>(nLength));
  return m_pOutput->Seek(-1) && Flush();
}

bool CGenerator::UpdateContents(CContentsObject& contents, std::span<const unsigned char> data)
{
  if (data.size() > static_cast<std::size_t>(std::max(contents.GetRoom(), 0)))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Generator",
                          "Failed to update signature, because the placeholder is too small.");
    return false;
  }
  if (contents.GetPosition() < 0 || !m_pOutput->Seek(contents.GetPosition() + 1))
    return false;
  for (const unsigned char nByte : data)
  {
    WriteByte(g_hexDigits[nByte >> 4]);
    WriteByte(g_hexDigits[nByte & 15]);
  }
  return m_pOutput->Seek(-1) && Flush();
}

}  // namespace PDF
