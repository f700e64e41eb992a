#include "pdf/PendingObjectStream.h"

#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/Parser.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

namespace
{

// Rendered members beyond this length complete a stream.
constexpr std::int64_t g_nFullLength = 15000;
constexpr int g_nMaxMembers = 65536;

// The same where size goes first: forms and structure trees repeat themselves over longer stretches.
constexpr std::int64_t g_nFullLengthForSize = 250000;

// What a member would cost as an object of its own (its frame), and the frame of the stream itself.
constexpr std::int64_t g_nMemberFrame = 20;
constexpr std::int64_t g_nStreamFrame = 120;

}  // namespace

CPendingObjectStream::CPendingObjectStream(CFile& file, TFileState& state, CFileWriter& writer)
    : m_file(file),
      m_state(state),
      m_writer(writer),
      m_holder(file.NewObject(0, 0, g_nGroupDirect)),
      m_pData(new BSE::CMemoryStream),
      m_generator(new BSE::CBufferedOutputStream(m_pData.Get()),
                  writer.GetDeflater() ? eLayoutDense : eLayoutCompact)
{
  // The walk over dirty objects leaves it alone until it is complete.
  if (m_holder)
    m_holder->Lock();
}

CPendingObjectStream::~CPendingObjectStream()
{
  if (m_holder)
    m_holder->Unlock();
}

void CPendingObjectStream::RemoveMember(int nIndex)
{
  m_members.RemoveAt(nIndex);
  for (int i = nIndex; i < m_members.GetSize(); ++i)
  {
    const int nObjNumber = m_members[i].m_nObjNumber;
    if (m_state.m_xref.GetStreamOf(nObjNumber) == GetObjNumber())
      m_state.m_xref.GetOrCreateEntry(nObjNumber).m_nGeneration = i;
  }
}

bool CPendingObjectStream::Add(CIndirectObject& object)
{
  if (!m_holder)
    return false;
  const int nObjNumber = object.GetObjNumber();
  if (m_state.m_xref.GetStreamOf(nObjNumber) == GetObjNumber())
    RemoveMember(m_state.m_xref.GetIndexOf(nObjNumber));
  const auto nOffset = static_cast<int>(m_generator.Tell());
  const int nIndex = m_members.Add({nObjNumber, nOffset});
  m_generator.WriteValue(object.GetValueObject().Get());
  m_generator.WriteByte('\n');
  if (m_generator.HasFailed())
    return false;
  m_state.m_xref.SetCompressed(nObjNumber, GetObjNumber(), nIndex);
  return true;
}

bool CPendingObjectStream::Read(CIndirectObject& object, int nIndex)
{
  if (m_members[nIndex].m_nObjNumber != object.GetObjNumber() || !m_generator.Flush())
    return false;
  // Text that a later one has replaced may be between this member and the next.
  const int nBegin = m_members[nIndex].m_nOffset;
  const std::int64_t nEnd =
      nIndex + 1 < m_members.GetSize() ? m_members[nIndex + 1].m_nOffset : m_pData->GetLength();
  BSE::CBasicArray<unsigned char> text;
  text.SetSize(static_cast<int>(nEnd - nBegin));
  const bool bRead =
      m_pData->Seek(nBegin) && m_pData->ReadFully(text.GetData(), text.GetSize()) == text.GetSize();
  if (!m_pData->Seek(-1) || !bRead)
    return false;
  const BSE::CObjectPtr<BSE::CBufferedInputStream> pReader(
      new BSE::CMemoryInputStream(text.GetData(), text.GetSize()));
  CParser parser(&m_file, pReader.Get(), &m_file);
  parser.GetScanner().ReadToken();
  parser.BeginValue();
  const CObjectPtr value = parser.ParseObject();
  if (!value)
    return false;
  object.SetParsed(value.Get(), nullptr);
  object.SetCost(text.GetSize());
  return true;
}

bool CPendingObjectStream::IsFull()
{
  // The index of a member takes two bytes in the cross-reference data.
  return m_members.GetSize() >= g_nMaxMembers ||
         m_generator.Tell() > (m_writer.GetDeflater() ? g_nFullLengthForSize : g_nFullLength);
}

BSE::CObjectPtr<BSE::CMemoryStream> CPendingObjectStream::Compress(int& nFirst, std::int64_t& nPlainLength)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pPlain(new BSE::CMemoryStream);
  CGenerator header(new BSE::CBufferedOutputStream(pPlain.Get()));
  for (int i = 0; i < m_members.GetSize(); ++i)
  {
    if (i > 0)
      header.WriteByte(' ');
    header.WriteInteger(m_members[i].m_nObjNumber);
    header.WriteByte(' ');
    header.WriteInteger(m_members[i].m_nOffset);
  }
  header.WriteByte('\n');
  if (!header.Flush() || !m_generator.Flush())
    return nullptr;
  nFirst = static_cast<int>(pPlain->GetLength());
  nPlainLength = pPlain->GetLength() + m_pData->GetLength();
  m_pData->Rewind();
  BSE::CBasicArray<unsigned char> plain;
  if (!pPlain->CopyFrom(m_pData.Get(), -1, false) || !pPlain->Rewind() || !pPlain->ReadToArray(plain))
    return nullptr;
  return m_writer.Deflate(plain.GetSpan());
}

bool CPendingObjectStream::Flush()
{
  if (!m_holder)
    return false;
  m_holder->Unlock();
  const CObjectPtr holder = m_holder;
  m_holder = nullptr;
  if (m_members.IsEmpty())
    return true;
  int nFirst = 0;
  std::int64_t nPlainLength = 0;
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded = Compress(nFirst, nPlainLength);
  if (!pEncoded)
    return false;
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary->AddEntry("Type", new CNameObject("ObjStm"));
  dictionary->AddEntry("N", new CIntegerObject(m_members.GetSize()));
  dictionary->AddEntry("First", new CIntegerObject(nFirst));
  dictionary->AddEntry("Filter", new CNameObject("FlateDecode"));
  holder->SetValueObject(dictionary.Get());
  holder->SetStreamObject(new CEmbeddedStreamObject(pEncoded.Get(), 0, pEncoded->GetLength()));
  if (!holder->Flush(true))
    return false;
  const std::int64_t nSaved =
      nPlainLength + m_members.GetSize() * g_nMemberFrame - g_nStreamFrame - pEncoded->GetLength();
  m_writer.CountSaved(nSaved);
  m_writer.CountFlushedStream();
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF Object Stream", "Flushed ObjStm %d (saved bytes: %d)",
                        holder->GetObjNumber(), static_cast<int>(nSaved));
  return true;
}

}  // namespace PDF
