#include "document/ObjectHasher.h"

#include "base/Hash.h"

#include <bit>

namespace PDF
{

namespace
{

bool TellsEncoding(const char* szKey)
{
  for (const char* szOther : {"Filter", "DecodeParms", "DL"})
    if (KeyEquals(szKey, szOther))
      return true;
  return false;
}

}  // namespace

bool HasResourceName(const CObjectPtr& dictionary)
{
  if (const CObjectPtr type = dictionary["Type"]; type.IsName("Font") || type.IsName("XObject"))
    return true;
  const CObjectPtr subtype = dictionary["Subtype"];
  if (!subtype.IsName())
    return false;
  for (const char* szName :
       {"Image", "Form", "Type0", "Type1", "MMType1", "Type3", "TrueType", "CIDFontType0", "CIDFontType2"})
    if (subtype.IsName(szName))
      return true;
  return false;
}

void CObjectHasher::AddNumber(std::uint64_t nValue)
{
  unsigned char bytes[sizeof nValue];
  std::memcpy(bytes, &nValue, sizeof bytes);
  m_bytes.Append(bytes);
}

void CObjectHasher::AddText(const char* szText)
{
  const std::size_t nLength = szText ? std::strlen(szText) : 0;
  AddNumber(nLength);
  m_bytes.Append({reinterpret_cast<const unsigned char*>(szText), nLength});
}

TObjectDigest CObjectHasher::GetDigest() const
{
  BSE::CHashSHA256 hash;
  hash.Update(m_bytes.GetSpan());
  TObjectDigest digest;
  hash.Final(digest);
  return digest;
}

CObjectPtr CObjectHasher::VisitNull(const CObjectPtr& object)
{
  AddTag('0');
  return object;
}

CObjectPtr CObjectHasher::VisitBoolean(const CObjectPtr& object)
{
  AddTag(object.GetBooleanValue() ? 't' : 'f');
  return object;
}

CObjectPtr CObjectHasher::VisitInteger(const CObjectPtr& object)
{
  AddTag('i');
  AddNumber(static_cast<std::uint64_t>(object.GetIntegerValue()));
  return object;
}

CObjectPtr CObjectHasher::VisitReal(const CObjectPtr& object)
{
  AddTag('r');
  AddNumber(std::bit_cast<std::uint64_t>(object.GetRealValue()));
  return object;
}

CObjectPtr CObjectHasher::VisitString(const CObjectPtr& object)
{
  const CString& value = object.GetStringValue();
  AddTag('s');
  AddNumber(static_cast<std::uint64_t>(value.GetLength()));
  m_bytes.Append(value.GetSpan());
  return object;
}

CObjectPtr CObjectHasher::VisitName(const CObjectPtr& object)
{
  AddTag('n');
  AddText(object.GetNameValue());
  return object;
}

CObjectPtr CObjectHasher::VisitDictionary(const CObjectPtr& object)
{
  const bool bNameless = HasResourceName(object);
  BSE::CBasicArray<int> positions;
  CollectEntries(object, positions,
                 [&](const char* szKey) { return !bNameless || !KeyEquals(szKey, "Name"); });
  AddEntries(object, positions);
  return object;
}

void CObjectHasher::AddStreamDictionary(const CObjectPtr& dictionary, bool bEncoded)
{
  const bool bNameless = HasResourceName(dictionary);
  BSE::CBasicArray<int> positions;
  CollectEntries(dictionary, positions,
                 [&](const char* szKey)
                 {
                   return !KeyEquals(szKey, "Length") && (bEncoded || !TellsEncoding(szKey)) &&
                          (!bNameless || !KeyEquals(szKey, "Name"));
                 });
  AddEntries(dictionary, positions);
}

void CObjectHasher::AddEntries(const CObjectPtr& dictionary, const BSE::CBasicArray<int>& positions)
{
  AddTag('d');
  AddNumber(static_cast<std::uint64_t>(positions.GetSize()));
  for (const int nPos : positions.GetSpan())
  {
    AddText(dictionary.GetKey(nPos));
    Visit(dictionary.GetValue(nPos));
  }
}

CObjectPtr CObjectHasher::VisitArray(const CObjectPtr& object)
{
  AddTag('a');
  AddNumber(static_cast<std::uint64_t>(object.GetSize()));
  for (int i = 0; i < object.GetSize(); ++i)
    Visit(object[i]);
  return object;
}

CObjectPtr CObjectHasher::VisitIndirect(const CObjectPtr& object)
{
  AddTag('R');
  AddNumber(static_cast<std::uint64_t>(GetTarget(object.GetObjNumber())));
  return object;
}

}  // namespace PDF
