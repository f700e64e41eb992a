#include "pdf/linearize/PDLObjectWriter.h"

#include <algorithm>

// How streams are carried over.

namespace
{

constexpr std::int64_t g_nPiece = 1 << 16;

// Metadata beyond this size stays as it is.
constexpr std::int64_t g_nMaxMetadata = 1 << 24;

// An explicit Crypt filter without a name keeps the data plain (ISO 32000-1, 7.4.10).
bool HasPlainData(const PDObj& object)
{
  int nFilter = object.Find(0, "Filter");
  int nParameters = object.Find(0, "DecodeParms");
  if (object.GetType(nFilter) == ePDArray)
    nFilter = object.CountItems(nFilter) > 0 ? nFilter + 1 : -1;
  if (object.GetType(nParameters) == ePDArray)
    nParameters = object.CountItems(nParameters) > 0 ? nParameters + 1 : -1;
  if (!object.IsName(nFilter, "Crypt"))
    return false;
  const int nName = object.Find(nParameters, "Name");
  return object.GetType(nName) != ePDName || object.IsName(nName, "Identity");
}

}  // namespace

bool PDLObjectWriter::WriteStreamObject(int nObject, const PDObj& object, const TPDStream& stream,
                                        PDWriter& output)
{
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

void PDLObjectWriter::WriteStreamHead(const PDObj& object, bool bCompressed, std::int64_t nLength,
                                      PDWriter& output)
{
  constexpr const char* skipped[] = {"Length"};
  WriteText("<<", output);
  WriteEntries(object, skipped, {}, output);
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
  return m_pCryptor->CreateDecryptFilter(pSection.Get(), m_nOldNumber, m_nOldGeneration);
}

bool PDLObjectWriter::RecryptData(const TPDStream& stream, PDWriter& output)
{
  const BSE::CObjectPtr<BSE::IByteStream> pReader = CreateReader(stream);
  const BSE::CObjectPtr<BSE::IByteStream> pSink(new PDWriterStream(output));
  BSE::CObjectPtr<BSE::IByteStream> pFilter = pSink;
  if (m_bEncrypted)
    pFilter = m_pCryptor->CreateEncryptFilter(pSink.Get(), m_nNewNumber, 0);
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
  const BSE::CObjectPtr<BSE::IByteStream> pFilter = m_pCryptor->CreateEncryptFilter(pSink.Get(), nNumber, 0);
  return pFilter && pFilter->WriteAll(data.data(), std::ssize(data)) && m_pCryptor->Close(pFilter.Get());
}

bool PDLObjectWriter::WriteNewStream(int nNumber, std::span<const unsigned char> entries,
                                     std::span<const unsigned char> data, PDWriter& output)
{
  m_bEncrypted = m_pCryptor != nullptr;
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
