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
  COptObjectDigestComputer(CFile& file, CObjectTable& table, CStreamDigester& streams)
      : CObjectDigestComputer(file), m_table(table), m_streams(streams)
  {
  }

  // Of all that the object says: a strong digest takes the place of its data, and canonical numbers for
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
    return pEntry ? static_cast<unsigned>(pEntry->m_nCanonical) : 0;
  }

  TObjectTableEntry* GetEntry(int nNumber) override
  {
    return nNumber > 0 && nNumber < m_file.GetObjectCount() ? &m_table.Provide(nNumber) : nullptr;
  }

private:
  CObjectTable& m_table;
  CStreamDigester& m_streams;
  bool m_bWhole = false;
};

}  // namespace PDF
