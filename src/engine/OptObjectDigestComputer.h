#pragma once

#include "base/ScopedValue.h"
#include "document/ObjectDigestComputer.h"
#include "engine/StreamDigester.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

// The digest computer over the object table of an optimizer. Its digests are made without reading the data of
// streams, whose length stands for them: most objects differ in their dictionaries or in that length. The few
// that do not are told apart by a second digest.
class COptObjectDigestComputer : public CObjectDigestComputer
{
public:
  // Borrows all three.
  COptObjectDigestComputer(CFile& file, BSE::CBasicArray<TObjectTableEntry>& table, CStreamDigester& streams)
      : CObjectDigestComputer(file), m_pTable(&table), m_streams(streams)
  {
  }

  // Of all that the object says: a strong digest of its data stands in their place, and canonical numbers for
  // the candidates that it refers to.
  TObjectDigest ComputeWholeDigest(const CObjectPtr& object)
  {
    TObjectDigest digest;
    const BSE::CScopedValue<bool> whole(m_bWhole, true);
    ComputeDigest(object, digest);
    return digest;
  }

protected:
  void FeedData(const CObjectPtr& stream) override
  {
    if (m_bWhole)
    {
      Feed(m_streams.Digest(stream).m_digest);
      return;
    }
    const CObjectPtr part = stream.GetStreamObject();
    const std::int64_t nLength = part ? static_cast<CStreamPart*>(part.Get())->GetDataLength() : 0;
    Feed({reinterpret_cast<const unsigned char*>(&nLength), sizeof nLength});
  }

  unsigned GetReferenceValue(const TObjectTableEntry* pEntry) const override
  {
    if (!m_bWhole)
      return CObjectDigestComputer::GetReferenceValue(pEntry);
    return pEntry ? pEntry->m_nCanonical : g_nNoEntry;
  }

  TObjectTableEntry* GetEntry(int nNumber) override
  {
    return nNumber > 0 && nNumber < m_pTable->GetSize() ? &(*m_pTable)[nNumber] : nullptr;
  }

private:
  BSE::CBasicArray<TObjectTableEntry>* m_pTable;
  CStreamDigester& m_streams;
  bool m_bWhole = false;
};

}  // namespace PDF
