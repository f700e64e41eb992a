// Entries are written in runs of consecutive numbers. A section of the whole file has one run from 0 on; one
// of an update has what was written since, and entry 0 only if numbers have become free, because the list of
// free numbers begins there: each of them has the next one as its position, the last one 0. Numbers are asked
// for in ascending order, which is what lets one index walk along that list. The entries of a stream have
// fields of equal width, and with the PNG predictor Up consecutive entries mostly differ in a byte or two,
// which Flate makes use of.

#include "pdf/RevisionWriter.h"

#include "base/MemoryStream.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/Generator.h"
#include "pdf/SimpleObjects.h"

#include <cstring>

namespace PDF
{

namespace
{

constexpr std::int64_t g_nMaxTablePosition = 9999999999;
constexpr int g_nTableEntrySize = 20;
constexpr int g_nFirstGeneration = 65535;

// Bytes of the first and the third field of an entry in a stream (ISO 32000-1, Table 18).
constexpr int g_nTypeWidth = 1;
constexpr int g_nGenerationWidth = 2;

// From here on the predictor saves more than its parameters cost.
constexpr int g_nMinPredictedEntries = 24;
constexpr int g_nUpPredictor = 12;
constexpr unsigned char g_nUpTag = 2;

constexpr int g_nMaxRowSize = g_nTypeWidth + 8 + g_nGenerationWidth + 1;

// Zero-padded decimal number of fixed width.
void PutDigits(char* pBuffer, int nWidth, std::int64_t nValue)
{
  for (int i = nWidth - 1; i >= 0; --i, nValue /= 10)
    pBuffer[i] = static_cast<char>('0' + nValue % 10);
}

void PutBytes(unsigned char* pBuffer, int nWidth, std::int64_t nValue)
{
  for (int i = nWidth - 1; i >= 0; --i, nValue >>= 8)
    pBuffer[i] = static_cast<unsigned char>(nValue & 0xFF);
}

// An object that was announced and never written reads as null, just as a free one.
bool IsFree(const TXRefEntry& entry)
{
  return entry.m_nType == eXRefFree || (entry.m_nType == eXRefInUse && entry.m_nOffset <= 0);
}

}  // namespace

CRevisionWriter::CRevisionWriter(CFile& file, TFileState& state, CFileWriter& writer, CGenerator& generator,
                                 std::int64_t nPrevious, std::int64_t nRevisionStart)
    : m_file(file),
      m_state(state),
      m_writer(writer),
      m_generator(generator),
      m_nPrevious(nPrevious),
      m_nRevisionStart(nRevisionStart)
{
}

bool CRevisionWriter::IsIncluded(int nObjNumber) const
{
  if (m_nPrevious < 0)
    return true;
  const TXRefEntry& entry = m_state.m_xref.GetEntry(nObjNumber);
  // What has been free all along is not worth an entry.
  if (IsFree(entry))
    return entry.m_nType == eXRefFree && entry.m_nGeneration != 0;
  if (entry.m_nType == eXRefInUse)
    return entry.m_nOffset >= m_nRevisionStart;
  const TXRefEntry& stream = m_state.m_xref.GetEntry(static_cast<int>(entry.m_nOffset));
  return stream.m_nType == eXRefInUse && stream.m_nOffset >= m_nRevisionStart;
}

bool CRevisionWriter::NeedsStream() const
{
  const CXRefTable& xref = m_state.m_xref;
  for (int i = xref.GetNextNumber(0); i < xref.GetSize(); i = xref.GetNextNumber(i))
    if (xref.GetEntry(i).m_nType == eXRefCompressed && IsIncluded(i))
      return true;
  return false;
}

void CRevisionWriter::CollectRuns()
{
  const CXRefTable& xref = m_state.m_xref;
  for (int i = 1; i < xref.GetSize(); ++i)
  {
    if (!IsIncluded(i))
      continue;
    if (IsFree(xref.GetEntry(i)))
      m_free.Add(i);
    const int nLast = m_runs.GetSize() - 1;
    if (nLast >= 0 && m_runs[nLast].m_nFirst + m_runs[nLast].m_nCount == i)
      ++m_runs[nLast].m_nCount;
    else
      m_runs.Add({i, 1});
  }
  // The list of free numbers begins at entry 0.
  if (m_nPrevious >= 0 && m_free.IsEmpty())
    return;
  if (!m_runs.IsEmpty() && m_runs[0].m_nFirst == 1)
    m_runs[0] = {0, m_runs[0].m_nCount + 1};
  else
    m_runs.InsertAt(0, {0, 1});
}

CRevisionWriter::TField CRevisionWriter::GetEntry(int nObjNumber)
{
  const TXRefEntry& entry = m_state.m_xref.GetEntry(nObjNumber);
  if (nObjNumber != 0 && !IsFree(entry))
    return {entry.m_nType, entry.m_nOffset, entry.m_nGeneration};
  const int nNext = m_nFreeIndex < m_free.GetSize() ? m_free[m_nFreeIndex] : 0;
  ++m_nFreeIndex;
  return {eXRefFree, nNext, nObjNumber == 0 ? g_nFirstGeneration : 0};
}

void CRevisionWriter::AddTrailer(CObject& trailer)
{
  trailer.AddEntry("Size", new CIntegerObject(m_state.m_xref.GetSize()));
  if (m_nPrevious >= 0)
    trailer.AddEntry("Prev", new CIntegerObject(m_nPrevious));
  trailer.AddEntry("Root", m_state.m_root.Get());
  if (m_state.m_encrypt)
    trailer.AddEntry("Encrypt", m_state.m_encrypt.Get());
  if (m_state.m_info)
    trailer.AddEntry("Info", m_state.m_info.Get());
  const CObjectPtr id(new CArrayObject);
  id.Add(new CStringObject(m_state.m_id1));
  id.Add(new CStringObject(m_state.m_id2));
  trailer.AddEntry("ID", id.Get());
}

void CRevisionWriter::WriteTableRun(const TRun& run)
{
  m_generator.WriteInteger(run.m_nFirst);
  m_generator.WriteByte(' ');
  m_generator.WriteInteger(run.m_nCount);
  m_generator.WriteByte('\n');
  char entry[g_nTableEntrySize + 1] = "0000000000 00000 n\r\n";
  for (int i = run.m_nFirst; i < run.m_nFirst + run.m_nCount; ++i)
  {
    const TField field = GetEntry(i);
    PutDigits(entry, 10, field.m_nValue);
    PutDigits(entry + 11, 5, field.m_nGeneration);
    entry[17] = field.m_nType == eXRefFree ? 'f' : 'n';
    m_generator.WriteBytes(entry, g_nTableEntrySize);
  }
}

bool CRevisionWriter::WriteTable()
{
  m_nPosition = m_generator.Tell() - m_state.m_nHeaderOffset;
  if (m_nPosition > g_nMaxTablePosition)
    return false;
  CollectRuns();
  m_generator.WriteText("xref\n");
  for (const TRun& run : m_runs.GetSpan())
    WriteTableRun(run);
  const CObjectPtr trailer = new CDictionaryObject;
  AddTrailer(*trailer);
  m_generator.WriteText("trailer\n");
  m_generator.WriteValue(trailer.Get());
  m_generator.WriteByte('\n');
  WriteEnd();
  return !m_generator.HasFailed();
}

void CRevisionWriter::WriteEnd()
{
  m_generator.WriteText("startxref\n");
  m_generator.WriteInteger(m_nPosition);
  m_generator.WriteText("\n%%EOF\n");
}

// Three bytes serve most files, and any number of an object stream.
int CRevisionWriter::GetOffsetWidth() const
{
  int nWidth = 3;
  while (m_nPosition >> (8 * nWidth) > 0)
    ++nWidth;
  return nWidth;
}

BSE::CObjectPtr<BSE::CMemoryStream> CRevisionWriter::EncodeEntries(int nWidth, bool bPredict)
{
  BSE::CBasicArray<unsigned char> rows;
  const int nSize = g_nTypeWidth + nWidth + g_nGenerationWidth;
  unsigned char row[g_nMaxRowSize] = {};
  unsigned char previous[g_nMaxRowSize] = {};
  for (const TRun& run : m_runs.GetSpan())
  {
    for (int i = run.m_nFirst; i < run.m_nFirst + run.m_nCount; ++i)
    {
      const TField field = GetEntry(i);
      PutBytes(row, g_nTypeWidth, static_cast<int>(field.m_nType));
      PutBytes(row + g_nTypeWidth, nWidth, field.m_nValue);
      PutBytes(row + g_nTypeWidth + nWidth, g_nGenerationWidth, field.m_nGeneration);
      if (bPredict)
        rows.Add(g_nUpTag);
      for (int k = 0; k < nSize; ++k)
      {
        rows.Add(bPredict ? static_cast<unsigned char>(row[k] - previous[k]) : row[k]);
        previous[k] = row[k];
      }
    }
  }
  return m_writer.Deflate(rows.GetSpan());
}

CObjectPtr CRevisionWriter::CreateStreamDictionary(int nWidth, bool bPredict)
{
  CObjectPtr dictionary = new CDictionaryObject;
  dictionary->AddEntry("Type", new CNameObject("XRef"));
  if (m_nPrevious >= 0)
  {
    const CObjectPtr index = new CArrayObject;
    for (const TRun& run : m_runs.GetSpan())
    {
      index->Add(new CIntegerObject(run.m_nFirst));
      index->Add(new CIntegerObject(run.m_nCount));
    }
    dictionary->AddEntry("Index", index.Get());
  }
  const CObjectPtr widths = new CArrayObject;
  for (const int n : {g_nTypeWidth, nWidth, g_nGenerationWidth})
    widths->Add(new CIntegerObject(n));
  dictionary->AddEntry("W", widths.Get());
  dictionary->AddEntry("Filter", new CNameObject("FlateDecode"));
  if (bPredict)
  {
    const CObjectPtr parameters = new CDictionaryObject;
    parameters->AddEntry("Predictor", new CIntegerObject(g_nUpPredictor));
    parameters->AddEntry("Columns", new CIntegerObject(g_nTypeWidth + nWidth + g_nGenerationWidth));
    dictionary->AddEntry("DecodeParms", parameters.Get());
  }
  AddTrailer(*dictionary);
  return dictionary;
}

bool CRevisionWriter::WriteStream()
{
  m_nPosition = m_generator.Tell() - m_state.m_nHeaderOffset;
  // The stream has an entry of its own, in itself: its place is entered before the entries are collected.
  const CObjectPtr holder = m_file.NewObject(0, 0, g_nGroupDirect);
  if (!holder)
    return false;
  const int nObjNumber = holder->GetObjNumber();
  m_state.m_xref.SetOffset(nObjNumber, 0, m_nPosition);
  CollectRuns();
  int nEntries = 0;
  for (const TRun& run : m_runs.GetSpan())
    nEntries += run.m_nCount;
  const bool bPredict = nEntries >= g_nMinPredictedEntries;
  const int nWidth = GetOffsetWidth();
  const BSE::CObjectPtr<BSE::CMemoryStream> pEntries = EncodeEntries(nWidth, bPredict);
  if (!pEntries)
    return m_writer.Fail(BSE::g_nOutOfMemory);
  const std::int64_t nLength = pEntries->GetLength();
  m_generator.BeginObject(nObjNumber, 0);
  m_generator.WriteStreamDictionary(CreateStreamDictionary(nWidth, bPredict).Get(), nLength);
  m_generator.BeginStream();
  pEntries->Rewind();
  if (!m_generator.GetOutput().CopyFrom(pEntries.Get(), nLength, true))
    return false;
  m_generator.EndStream();
  m_generator.EndObject();
  const std::int64_t nWritten = m_generator.Tell() - m_state.m_nHeaderOffset - m_nPosition;
  m_writer.CountSaved(std::int64_t{19} * (m_state.m_xref.GetSize() - m_writer.GetFlushedStreams()) -
                      nWritten);
  WriteEnd();
  return !m_generator.HasFailed();
}

}  // namespace PDF
