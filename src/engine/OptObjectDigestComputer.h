#pragma once

#include "document/ObjectDigestComputer.h"
#include "engine/StreamDigester.h"

namespace PDF
{

// The digest computer over the object table of an optimizer.
class COptObjectDigestComputer : public CObjectDigestComputer
{
public:
  // Borrows all three.
  COptObjectDigestComputer(CFile& file, BSE::CBasicArray<TObjectTableEntry>& table, CStreamDigester& streams)
      : CObjectDigestComputer(file), m_pTable(&table), m_streams(streams)
  {
  }

protected:
  // A strong digest of the data in their place.
  void FeedData(const CObjectPtr& stream) override { Feed(m_streams.Digest(stream).m_digest); }

  TObjectTableEntry* GetEntry(int nNumber) override
  {
    return nNumber > 0 && nNumber < m_pTable->GetSize() ? &(*m_pTable)[nNumber] : nullptr;
  }

private:
  BSE::CBasicArray<TObjectTableEntry>* m_pTable;
  CStreamDigester& m_streams;
};

}  // namespace PDF
