#include "engine/FontProgramMerger.h"

#include "base/ByteOrder.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

// Programs that one is tried with in vain, before it is left alone.
constexpr int g_nMaxFailures = 32;

}  // namespace

void CFontProgramMerger::Run()
{
  const int nCount = m_editor.GetFonts().GetFontCount();
  for (int i = 0; i < nCount; ++i)
    NoteEncoding(*m_editor.GetFonts().GetFont(i));
  for (int i = m_uses.GetBegin(); i != m_uses.GetEnd(); i = m_uses.GetNext(i))
    AddRecord(i);
  const std::span<TRecord> records = m_records.GetSpan();
  std::sort(records.begin(), records.end(),
            [](const TRecord& a, const TRecord& b)
            {
              const int nOrder = std::memcmp(a.m_digest, b.m_digest, sizeof(a.m_digest));
              return nOrder != 0 ? nOrder < 0 : a.m_nUse < b.m_nUse;
            });
  for (int i = 0; i + 1 < m_records.GetSize(); ++i)
    MergeInto(i);
}

// Whether a font has codes that only the program itself gives a meaning.
void CFontProgramMerger::NoteEncoding(CFont& font)
{
  CFontFile* pFile = font.GetFontFile();
  if (!pFile || font.IsType3() || font.IsComposite() || (font.m_nOptimizeState & g_nFontGone) != 0)
    return;
  const CFontProgram* pProgram = font.GetProgram();
  if (!pProgram || (pProgram->GetKind() != eFontType1 && pProgram->GetKind() != eFontType1C))
    return;
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  if (dynamic_cast<const CIntrinsicEncoding*>(pEncoding.Get()))
    pFile->m_nOptimizeState |= eFileUsedEncoding;
  const auto* pDifferences = dynamic_cast<const CDifferenceEncoding*>(pEncoding.Get());
  if (!pDifferences || !dynamic_cast<const CIntrinsicEncoding*>(pDifferences->GetBaseEncoding()))
    return;
  for (int i = 0; i < font.GetCharCount(); ++i)
    if (font.IsUsed(i) && !pDifferences->IsCovered(static_cast<unsigned>(i)))
      pFile->m_nOptimizeState |= eFileUsedEncoding;
}

void CFontProgramMerger::AddRecord(int nUse)
{
  const CFontUse& use = *m_uses.GetAt(nUse);
  CFontFile& file = use.GetFile();
  if (use.m_bKept || !file.IsWhole())
    return;
  CFontProgram* pProgram = file.GetProgram(use.m_fonts[0]->GetBaseName());
  if (!pProgram)
    return;
  TRecord record;
  record.m_nUse = nUse;
  BSE::CHashSHA1 hash;
  pProgram->HashMergeKey(hash);
  unsigned char usage[4];
  BSE::StoreBigEndian(file.m_nOptimizeState & (eFileUsedByCID | eFileUsedNonSymbolic | eFileUsedSymbolic),
                      usage);
  hash.Update(usage);
  hash.Final(record.m_digest);
  m_records.Add(record);
}

void CFontProgramMerger::MergeInto(int nRecord)
{
  constexpr unsigned nDone = eFileMerged | eFileMergedAway;
  CFont& font = GetFont(nRecord);
  if ((font.GetFontFile()->m_nOptimizeState & nDone) != 0)
    return;
  bool bMerged = false;
  int nFailures = 0;
  for (int i = nRecord + 1; i < m_records.GetSize() && nFailures < g_nMaxFailures; ++i)
  {
    if (std::memcmp(m_records[i].m_digest, m_records[nRecord].m_digest, sizeof(TRecord::m_digest)) != 0)
      break;
    CFont& other = GetFont(i);
    const CFontFile* pOther = other.GetFontFile();
    if (pOther == font.GetFontFile() || (pOther->m_nOptimizeState & nDone) != 0)
      continue;
    if (Merge(font, other))
      bMerged = true;
    else
      ++nFailures;
  }
  if (bMerged)
    font.GetFontFile()->m_nOptimizeState |= eFileMerged;
}

bool CFontProgramMerger::Merge(CFont& font, CFont& other)
{
  CFontFile& file = *font.GetFontFile();
  CFontFile& otherFile = *other.GetFontFile();
  CFontProgram* pProgram = font.GetProgram();
  CFontProgram* pOther = other.GetProgram();
  const unsigned nUsage = (file.m_nOptimizeState | otherFile.m_nOptimizeState) & eFileUsage;
  const TMergeResult nResult = pProgram && pOther ? pProgram->Merge(*pOther, nUsage) : eNotMerged;
  if (nResult == eNotMerged)
    return false;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Optimizer",
                        "Merged font programs of fonts \"%s\" (obj. %d) and \"%s\" (obj. %d).",
                        font.GetBaseName(), font.GetObject().GetObjNumber(), other.GetBaseName(),
                        other.GetObject().GetObjNumber());
  file.m_nOptimizeState |= nUsage | (otherFile.m_nOptimizeState & eFileWhole);
  otherFile.m_nOptimizeState |= eFileMergedAway | (file.m_nOptimizeState & eFileWhole);
  otherFile.DetachProgram();
  CFontUse& use = *m_uses.Find(&file);
  CFontUse& otherUse = *m_uses.Find(&otherFile);
  for (CFont* pFont : otherUse.m_fonts.GetSpan())
    use.m_fonts.Add(pFont);
  use.m_bFixed = use.m_bFixed || otherUse.m_bFixed;
  // The stream of the one is in the place of the other's from now on, wherever that is.
  m_editor.Replace(otherFile.GetObject(), file.GetObject());
  return true;
}

}  // namespace PDF
