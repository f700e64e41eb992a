#include "pdf/linearize/PDLObjectWriter.h"

#include <algorithm>
#include <iterator>

// How streams are carried over.

namespace
{

constexpr std::int64_t g_nPiece = 1 << 16;

// Metadata beyond this size stays as it is.
constexpr std::int64_t g_nMaxMetadata = 1 << 24;

// The value, or the first item of an array.
int GetFirst(const PDObj& object, int nNode)
{
  if (object.GetType(nNode) != ePDArray)
    return nNode;
  return object.GetNext(nNode) > nNode + 1 ? nNode + 1 : -1;
}

bool HasCryptFilter(const PDObj& object)
{
  return object.IsName(GetFirst(object, object.Find(0, "Filter")), "Crypt");
}

int FindCryptName(const PDObj& object)
{
  return object.Find(GetFirst(object, object.Find(0, "DecodeParms")), "Name");
}

// An explicit Crypt filter without a name keeps the data plain (ISO 32000-1, 7.4.10).
bool HasPlainData(const PDObj& object)
{
  if (!HasCryptFilter(object))
    return false;
  const int nName = FindCryptName(object);
  return object.GetType(nName) != ePDName || object.IsName(nName, "Identity");
}

}  // namespace

bool PDLObjectWriter::WriteStreamObject(int nObject, const PDObj& object, const TPDStream& stream,
                                        PDWriter& output)
{
  ChooseCrypts(object);
  if (m_pMetadataDeflater && m_classifier.GetRole(nObject) == ePDRolePageMetadata)
  {
    BSE::CBasicArray<unsigned char> data;
    if (CompressMetadata(object, stream, data))
      return WriteCompressed(object, data.GetSpan(), output);
  }
  return IsCarried(object) ? WriteCarried(object, stream, output)
                           : WriteRecrypted(nObject, object, stream, output);
}

bool PDLObjectWriter::IsCarried(const PDObj& object) const
{
  if (!m_bSourceEncrypted && !m_bEncrypted)
    return true;
  return (!m_bNewKeys && !m_file.HasObjectKeys()) || HasPlainData(object);
}

void PDLObjectWriter::ChooseCrypts(const PDObj& object)
{
  m_nSourceCrypt = m_nCrypt = PDCryptor::g_nStreamCrypt;
  m_szCryptName = nullptr;
  m_bDropCryptName = false;
  if (!m_pCryptor || HasPlainData(object))
    return;
  const bool bEmbedded = object.IsName(object.Find(0, "Type"), "EmbeddedFile");
  const bool bNamed = HasCryptFilter(object);
  object.DecodeName(FindCryptName(object), m_oldCryptName);
  if (m_bSourceEncrypted)
    m_nSourceCrypt = m_pCryptor->FindOldCrypt(bEmbedded, bNamed ? m_oldCryptName.GetData() : nullptr);
  m_nCrypt = m_nSourceCrypt;
  if (!m_bNewKeys)
    return;
  m_bDropCryptName = bNamed;
  m_nCrypt = m_pCryptor->FindNewCrypt(bEmbedded, m_szCryptName);
}

// The crypt filter of a stream comes first of its filters.
void PDLObjectWriter::WriteFilters(const PDObj& object, PDWriter& output)
{
  const int nFilter = object.Find(0, "Filter");
  const int nParameters = object.Find(0, "DecodeParms");
  const int nFilters = object.GetType(nFilter) == ePDArray ? object.CountItems(nFilter) : nFilter >= 0;
  if (!m_szCryptName && nFilters <= 1)
    return;
  WriteText("/Filter[", output);
  if (m_szCryptName)
    WriteText("/Crypt", output);
  WriteFilterItems(object, nFilter, output);
  WriteText("]", output);
  if (!m_szCryptName && nParameters < 0)
    return;
  WriteText("/DecodeParms[", output);
  if (m_szCryptName)
  {
    WriteText("<</Name/", output);
    m_bRegular = false;
    WriteText(m_szCryptName, output);
    WriteText(">>", output);
  }
  WriteFilterItems(object, nParameters, output);
  for (int i = 0; nParameters < 0 && i < nFilters; ++i)
    WriteText(" null", output);
  WriteText("]", output);
}

void PDLObjectWriter::WriteFilterItems(const PDObj& object, int nNode, PDWriter& output)
{
  if (nNode < 0)
    return;
  const int nEnd = object.GetNext(nNode);
  int nItem = object.GetType(nNode) == ePDArray ? nNode + 1 : nNode;
  if (m_bDropCryptName && nItem < nEnd)
    nItem = object.GetNext(nItem);
  for (; nItem < nEnd; nItem = object.GetNext(nItem))
    WriteNode(object, nItem, output);
}

void PDLObjectWriter::WriteStreamHead(const PDObj& object, bool bCompressed, std::int64_t nLength,
                                      PDWriter& output)
{
  constexpr const char* skipped[] = {"Length", "Filter", "DecodeParms"};
  const bool bFilters =
      m_bDropCryptName || (m_szCryptName && object.GetType(object.Find(0, "Filter")) != ePDReference);
  WriteText("<<", output);
  WriteEntries(object, std::span(skipped).first(bFilters ? std::size(skipped) : 1), {}, output);
  if (bFilters)
    WriteFilters(object, output);
  if (bCompressed)
    WriteText("/Filter/FlateDecode", output);
  WriteText("/Length ", output);
  output.PutNumber(nLength);
  output.Put(">>\nstream\n");
}

bool PDLObjectWriter::WriteCarried(const PDObj& object, const TPDStream& stream, PDWriter& output)
{
  WriteStreamHead(object, false, stream.m_nLength, output);
  if (output.IsMeasuring())
    output.Skip(stream.m_nLength);
  for (std::int64_t nDone = 0; nDone < stream.m_nLength && !output.IsMeasuring();)
  {
    const std::int64_t nPiece = std::min(g_nPiece, stream.m_nLength - nDone);
    const std::span<const unsigned char> bytes = m_file.GetStreamData(stream, nDone, nPiece);
    if (bytes.empty() || output.HasFailed())
      return Fail("A stream cannot be carried over.");
    output.Put(bytes);
    nDone += std::ssize(bytes);
  }
  output.Put("\nendstream");
  return true;
}

// The length of a stream that is encrypted anew is known only afterwards: it is kept from measuring.
bool PDLObjectWriter::WriteRecrypted(int nObject, const PDObj& object, const TPDStream& stream,
                                     PDWriter& output)
{
  if (output.IsMeasuring())
  {
    PDWriter counter;
    if (!RecryptData(stream, counter))
      return Fail("A stream cannot be encrypted anew.");
    m_lengths[nObject] = counter.Tell();
  }
  WriteStreamHead(object, false, m_lengths[nObject], output);
  if (output.IsMeasuring())
    output.Skip(m_lengths[nObject]);
  else if (!RecryptData(stream, output))
    return Fail("A stream cannot be encrypted anew.");
  output.Put("\nendstream");
  return true;
}

bool PDLObjectWriter::WriteCompressed(const PDObj& object, std::span<const unsigned char> data,
                                      PDWriter& output)
{
  PDWriter counter;
  if (!EncryptData(m_nNewNumber, data, counter))
    return Fail("Metadata cannot be encrypted.");
  WriteStreamHead(object, true, counter.Tell(), output);
  if (!EncryptData(m_nNewNumber, data, output))
    return Fail("Metadata cannot be encrypted.");
  output.Put("\nendstream");
  return true;
}

bool PDLObjectWriter::CompressMetadata(const PDObj& object, const TPDStream& stream,
                                       BSE::CBasicArray<unsigned char>& data)
{
  if (object.Find(0, "Filter") >= 0 || object.Find(0, "F") >= 0 || stream.m_nLength > g_nMaxMetadata)
    return false;
  const BSE::CObjectPtr<BSE::IByteStream> pReader = CreateReader(stream);
  BSE::CBasicArray<unsigned char> plain;
  return pReader && pReader->ReadToArray(plain) && m_pMetadataDeflater->Deflate(plain.GetSpan(), data) &&
         data.GetSize() < plain.GetSize();
}

BSE::CObjectPtr<BSE::IByteStream> PDLObjectWriter::CreateReader(const TPDStream& stream)
{
  const BSE::CObjectPtr<BSE::IByteStream> pSection = m_file.CreateStreamReader(stream);
  if (!m_bSourceEncrypted)
    return pSection;
  return m_pCryptor->CreateDecryptFilter(pSection.Get(), m_nOldNumber, m_nOldGeneration, m_nSourceCrypt);
}

bool PDLObjectWriter::RecryptData(const TPDStream& stream, PDWriter& output)
{
  const BSE::CObjectPtr<BSE::IByteStream> pReader = CreateReader(stream);
  const BSE::CObjectPtr<BSE::IByteStream> pSink(new PDWriterStream(output));
  BSE::CObjectPtr<BSE::IByteStream> pFilter = pSink;
  if (m_bEncrypted)
    pFilter = m_pCryptor->CreateEncryptFilter(pSink.Get(), m_nNewNumber, 0, m_nCrypt);
  return pReader && pFilter && pFilter->CopyFrom(pReader.Get(), -1, false) &&
         m_pCryptor->Close(pFilter.Get()) && !output.HasFailed();
}

bool PDLObjectWriter::EncryptData(int nNumber, std::span<const unsigned char> data, PDWriter& output)
{
  if (!m_bEncrypted)
  {
    output.Put(data);
    return true;
  }
  const BSE::CObjectPtr<BSE::IByteStream> pSink(new PDWriterStream(output));
  const BSE::CObjectPtr<BSE::IByteStream> pFilter =
      m_pCryptor->CreateEncryptFilter(pSink.Get(), nNumber, 0, m_nCrypt);
  return pFilter && pFilter->WriteAll(data.data(), std::ssize(data)) && m_pCryptor->Close(pFilter.Get());
}

bool PDLObjectWriter::WriteNewStream(int nNumber, std::span<const unsigned char> entries,
                                     std::span<const unsigned char> data, PDWriter& output)
{
  m_bEncrypted = m_pCryptor != nullptr;
  m_nCrypt = PDCryptor::g_nStreamCrypt;
  PDWriter counter;
  if (!EncryptData(nNumber, data, counter))
    return Fail("A stream cannot be encrypted.");
  output.PutNumber(nNumber);
  output.Put(" 0 obj\n<<");
  output.Put(entries);
  output.Put("/Length ");
  output.PutNumber(counter.Tell());
  output.Put(">>\nstream\r\n");
  if (!EncryptData(nNumber, data, output))
    return Fail("A stream cannot be encrypted.");
  output.Put("\r\nendstream\r\nendobj\r\n");
  return true;
}
