#include "document/ObjectDigestComputer.h"

#include "document/ObjectHasher.h"
#include "document/ObjectIdentity.h"
#include "document/PostOrderWalk.h"
#include "pdf/NumberFormat.h"

namespace PDF
{

// Children first, so that every reference that is fed has its digest.
class CObjectDigestComputer::CWalk : public CPostOrderWalk
{
public:
  CWalk(CFile& file, CObjectDigestComputer& computer) : CPostOrderWalk(file), m_computer(computer) {}

protected:
  bool Enter(const CObjectPtr& object) override
  {
    const int nNumber = object.GetObjNumber();
    TObjectTableEntry* pEntry = m_computer.GetEntry(nNumber);
    if (!pEntry || pEntry->m_nCanonical != 0)
      return false;
    pEntry->m_nCanonical = nNumber;
    if (!HasIdentity(object))
      return true;
    const auto digest =
        BSE::ComputeHash<BSE::CHashMD5>({reinterpret_cast<const unsigned char*>(&nNumber), sizeof nNumber});
    std::memcpy(&pEntry->m_nDigest, digest.data(), sizeof pEntry->m_nDigest);
    return false;
  }

  void Leave(const CObjectPtr& object) override
  {
    TObjectTableEntry* pEntry = m_computer.GetEntry(object.GetObjNumber());
    if (!pEntry)
      return;
    unsigned char digest[BSE::CHashMD5::g_nDigestSize];
    m_computer.ComputeDigest(object, digest);
    std::memcpy(&pEntry->m_nDigest, digest, sizeof pEntry->m_nDigest);
    m_computer.m_order.Add(object.GetObjNumber());
  }

private:
  CObjectDigestComputer& m_computer;
};

void CObjectDigestComputer::Feed(std::span<const unsigned char> bytes)
{
  if (m_pHash)
    m_pHash->Update(bytes);
}

void CObjectDigestComputer::FeedText(const char* szText)
{
  if (szText)
    FeedCharacters(szText, static_cast<int>(std::strlen(szText)));
}

void CObjectDigestComputer::FeedCharacters(const char* pText, int nLength)
{
  Feed({reinterpret_cast<const unsigned char*>(pText), static_cast<std::size_t>(nLength)});
}

void CObjectDigestComputer::FeedCount(unsigned nCount)
{
  Feed({reinterpret_cast<const unsigned char*>(&nCount), sizeof nCount});
}

void CObjectDigestComputer::ComputeDigest(const CObjectPtr& object,
                                          std::span<unsigned char, BSE::CHashMD5::g_nDigestSize> digest)
{
  BSE::CHashMD5 hash;
  BSE::CHashFunction* pSaved = m_pHash;
  m_pHash = &hash;
  Visit(object.GetValueObject());
  if (object.IsStream())
  {
    FeedText("stream");
    FeedData(object);
    FeedText("endstream");
  }
  m_pHash = pSaved;
  hash.Final(digest);
}

CObjectPtr CObjectDigestComputer::VisitNull(const CObjectPtr& object)
{
  FeedText("null");
  return object;
}

CObjectPtr CObjectDigestComputer::VisitBoolean(const CObjectPtr& object)
{
  FeedText("bool");
  FeedCount(object.GetBooleanValue() ? ~0U : 0U);
  return object;
}

CObjectPtr CObjectDigestComputer::VisitInteger(const CObjectPtr& object)
{
  char number[g_nMaxNumberLength];
  FeedText("num");
  FeedCharacters(number, FormatInteger(object.GetIntegerValue(), number));
  return object;
}

CObjectPtr CObjectDigestComputer::VisitReal(const CObjectPtr& object)
{
  char number[g_nMaxNumberLength];
  FeedText("num");
  FeedCharacters(number, FormatReal(object.GetRealValue(), number));
  return object;
}

CObjectPtr CObjectDigestComputer::VisitString(const CObjectPtr& object)
{
  FeedText("strin");
  Feed(object.GetStringValue().GetSpan());
  return object;
}

CObjectPtr CObjectDigestComputer::VisitName(const CObjectPtr& object)
{
  FeedText("name");
  FeedText(object.GetNameValue());
  return object;
}

CObjectPtr CObjectDigestComputer::VisitDictionary(const CObjectPtr& object)
{
  // Only a digest needs an order.
  if (!m_pHash)
    return CObjectTraverser::VisitDictionary(object);
  BSE::CBasicArray<int> positions;
  CollectEntries(object, positions, [](const char* szKey) { return !KeyEquals(szKey, "Name"); });
  FeedText("dict");
  FeedCount(static_cast<unsigned>(positions.GetSize()));
  for (const int nPos : positions.GetSpan())
  {
    FeedText("entry");
    FeedText(object.GetKey(nPos));
    VisitEntry(object.GetKey(nPos), object.GetValue(nPos));
  }
  return object;
}

CObjectPtr CObjectDigestComputer::VisitArray(const CObjectPtr& object)
{
  FeedText("array");
  FeedCount(static_cast<unsigned>(object.GetSize()));
  return CObjectTraverser::VisitArray(object);
}

CObjectPtr CObjectDigestComputer::VisitIndirect(const CObjectPtr& object)
{
  TObjectTableEntry* pEntry = GetEntry(object.GetObjNumber());
  if (pEntry && pEntry->m_nCanonical == 0 && !m_pHash)
    CWalk(m_file, *this).Walk(object);
  if (m_pHash)
  {
    FeedText("obj");
    FeedCount(GetReferenceValue(pEntry));
  }
  return object;
}

}  // namespace PDF
