#include "fonts/cff/SubrPruner.h"

#include "fonts/cff/CharStringGenerator.h"

namespace CFF
{

namespace
{

constexpr unsigned char g_return[] = {CTypes::eReturn};

int CompareNumbers(const void* pA, const void* pB)
{
  const int nA = *static_cast<const int*>(pA);
  const int nB = *static_cast<const int*>(pB);
  return nA < nB ? -1 : (nA > nB ? 1 : 0);
}

}  // namespace

class CCallCollector : public CType2Parser
{
public:
  CCallCollector(CSubrPruner& pruner, const TType2Context& context, int nSet)
      : CType2Parser(context), m_pruner(pruner), m_nSet(nSet)
  {
  }

protected:
  void OnCall(const TCall& call) override
  {
    m_pruner.Note(call.m_caller, {call.m_nOffset, call.m_nLength, call.m_bGlobal ? 0 : m_nSet, call.m_nSubr});
  }

private:
  CSubrPruner& m_pruner;
  int m_nSet;
};

bool CCFF::DropUnusedSubrs()
{
  return CSubrPruner(*this).Prune();
}

CSubrPruner::~CSubrPruner()
{
  for (const TSet* pSet : m_sets.GetSpan())
    delete pSet;
  for (int i = m_pieces.GetBegin(); i != m_pieces.GetEnd(); i = m_pieces.GetNext(i))
    delete m_pieces.GetAt(i);
}

bool CSubrPruner::Prune()
{
  m_sets.Reserve(m_font.GetFontDictCount() + 1);
  for (int i = -1; i < m_font.GetFontDictCount(); ++i)
  {
    auto* pSet = new TSet;
    m_sets.Add(pSet);
    pSet->m_pSubrs = i < 0 ? &m_font.m_globalSubrs : &m_font.GetFontDict(i).m_subrs;
    pSet->m_numbers.SetSize(pSet->m_pSubrs->GetSize());
  }
  for (int i = 0; i < m_font.GetGlyphCount(); ++i)
  {
    CCallCollector collector(*this, m_font.GetContext(i), m_font.GetFontDictOf(i) + 1);
    if (!m_font.Run(i, collector))
      return false;
  }
  if (!m_bFixed)
  {
    Renumber();
    return true;
  }
  for (TSet* pSet : m_sets.GetSpan())
    for (int i = 0; i < pSet->m_numbers.GetSize(); ++i)
      if (pSet->m_numbers[i] == 0)
        pSet->m_pSubrs->SetAt(i, g_return);
  return true;
}

void CSubrPruner::Note(TData caller, const TCallSite& site)
{
  m_sets[site.m_nSet]->m_numbers[site.m_nSubr] = 1;
  if (site.m_nOffset < 0)
    m_bFixed = true;
  if (m_bFixed)
    return;
  TPiece* pPiece = m_pieces.Find(caller.data());
  if (!pPiece)
  {
    pPiece = new TPiece;
    pPiece->m_nLength = caller.size();
    m_pieces.SetAt(caller.data(), pPiece);
  }
  // Charstrings of a damaged font may begin where others do, and end elsewhere.
  if (pPiece->m_nLength != caller.size())
  {
    m_bFixed = true;
    return;
  }
  for (const TCallSite& known : pPiece->m_calls.GetSpan())
    if (known.m_nOffset == site.m_nOffset)
    {
      // A global subroutine that calls those of several dictionaries cannot have one number for all.
      m_bFixed = m_bFixed || known.m_nSet != site.m_nSet || known.m_nSubr != site.m_nSubr;
      return;
    }
  pPiece->m_calls.Add(site);
}

void CSubrPruner::Renumber()
{
  for (TSet* pSet : m_sets.GetSpan())
    for (int& nNumber : pSet->m_numbers.GetSpan())
      nNumber = nNumber != 0 ? ++pSet->m_nUsed : 0;
  for (int i = 0; i < m_font.GetGlyphCount(); ++i)
  {
    TData data = m_font.GetCharString(i);
    Rewrite(data);
    m_font.m_charStrings.SetAt(i, data);
  }
  for (TSet* pSet : m_sets.GetSpan())
  {
    for (int i = 0; i < pSet->m_numbers.GetSize(); ++i)
    {
      if (pSet->m_numbers[i] == 0)
        continue;
      TData data = (*pSet->m_pSubrs)[i];
      Rewrite(data);
      pSet->m_pSubrs->SetAt(pSet->m_numbers[i] - 1, data);
    }
    pSet->m_pSubrs->SetSize(pSet->m_nUsed);
  }
}

void CSubrPruner::Rewrite(TData& data)
{
  TPiece* pPiece = data.empty() ? nullptr : m_pieces.Find(data.data());
  if (!pPiece || pPiece->m_nLength != data.size())
    return;
  // Glyphs may share their charstring.
  if (pPiece->m_new.empty())
    pPiece->m_new = Make(data, *pPiece);
  data = pPiece->m_new;
}

TData CSubrPruner::Make(TData data, TPiece& piece)
{
  piece.m_calls.Sort(&CompareNumbers);
  CCharStringGenerator generator;
  std::size_t nDone = 0;
  const auto Copy = [&](std::size_t nEnd)
  {
    for (; nDone < nEnd; ++nDone)
      generator.PutByte(data[nDone]);
  };
  for (const TCallSite& call : piece.m_calls.GetSpan())
  {
    const TSet& set = *m_sets[call.m_nSet];
    Copy(static_cast<std::size_t>(call.m_nOffset));
    generator.PutNumber(set.m_numbers[call.m_nSubr] - 1 - GetSubrBias(set.m_nUsed));
    nDone += static_cast<std::size_t>(call.m_nLength);
  }
  Copy(data.size());
  return m_font.m_store.Add(generator.GetBytes());
}

}  // namespace CFF
