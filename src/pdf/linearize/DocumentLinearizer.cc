#include "pdf/linearize/DocumentLinearizer.h"

#include "base/FileStream.h"
#include "base/Hash.h"
#include "base/ReplacementFile.h"
#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/Generator.h"
#include "pdf/StatusCodes.h"
#include "pdf/linearize/LinearizerRun.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace PDF
{

namespace
{

constexpr int g_nPermissionsUnset = -1;

// The two lowest bits of permissions are 0 (ISO 32000-1, Table 22).
constexpr int g_nReservedPermissions = 3;

constexpr int g_nLongKey = 256;

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;
using CBytes = BSE::CBasicArray<unsigned char>;

// A run with what it needs to live on.
class CDocumentRun
{
public:
  CDocumentRun(BSE::IErrorContext* pErrorContext, bool bObjectStreams)
      : m_file(pErrorContext), m_bObjectStreams(bObjectStreams)
  {
  }

  // True once the input has been read and the security of the output is settled.
  bool Open(BSE::IByteStream* pInput, const CTextString& password, const TEncryption* pEncryption);

  bool Write(BSE::IByteStream* pOutput);

private:
  bool SetUpSecurity(BSE::IByteStream& input, const TEncryption& encryption);
  CString MakeId(BSE::IByteStream& input) const;
  void WriteValues(const CString& id);
  bool Report(unsigned nCode)
  {
    BSE::ReportError(&m_file, nCode);
    return false;
  }

  CFile m_file;
  bool m_bObjectStreams;
  BSE::CObjectPtr<CStandardSecurityHandler> m_pHandler;
  TPDSecurity m_security;
  BSE::CScopedPtr<CLinearizerRun> m_pRun;
};

// The metadata of an archive document is not compressed, and names its standard.
bool IsArchive(const CFile& file)
{
  constexpr std::string_view szSchema = "pdfaid";
  constexpr std::int64_t nMaxPacket = 1 << 24;
  const CObjectPtr stream = file.GetRoot()["Metadata"].GetStreamObject();
  const CStreamPtr pData = stream ? stream->GetStream() : nullptr;
  CBytes packet;
  if (!pData || !pData->ReadToArray(packet, nMaxPacket))
    return false;
  const std::span<const unsigned char> text = packet.GetSpan();
  return std::search(text.begin(), text.end(), szSchema.begin(), szSchema.end()) != text.end();
}

bool HasOneCipher(const CStandardSecurityHandler& handler)
{
  const char* szStreams = handler.GetStreamCryptName();
  const char* szStrings = handler.GetStringCryptName();
  return szStreams && szStrings ? std::string_view(szStreams) == szStrings : szStreams == szStrings;
}

bool IsAsked(const TEncryption& encryption)
{
  return encryption.m_nPermissions != g_nPermissionsUnset || !encryption.m_userPassword.IsEmpty() ||
         !encryption.m_ownerPassword.IsEmpty();
}

bool CDocumentRun::Open(BSE::IByteStream* pInput, const CTextString& password, const TEncryption* pEncryption)
{
  if (!BSE::IsObjectAddress(pInput) || !m_file.Open(pInput))
    return Report(g_nFileNotOpened);
  if (!m_file.Authenticate(&password))
    return false;
  if (pEncryption && IsAsked(*pEncryption) && !SetUpSecurity(*pInput, *pEncryption))
    return false;
  m_pRun.Reset(new CLinearizerRun(m_file));
  if (m_pHandler)
    m_pRun->SetSecurity(*m_pHandler, m_security);
  const bool bArchive = IsArchive(m_file);
  if (bArchive)
    m_pRun->KeepMetadata();
  // The first part of the archive standard has none, whatever the header says.
  if (m_bObjectStreams && !(bArchive && m_file.GetXRefForm() == eXRefTable))
    m_pRun->KeepObjectStreams();
  return m_pRun->Open(pInput);
}

bool CDocumentRun::Write(BSE::IByteStream* pOutput)
{
  if (!BSE::IsObjectAddress(pOutput) || !pOutput->IsValid())
    return Report(g_nFileNotCreated);
  return m_pRun->Write(pOutput) || Report(g_nLinearizationFailed);
}

bool CDocumentRun::SetUpSecurity(BSE::IByteStream& input, const TEncryption& encryption)
{
  TEncryption asked = encryption;
  asked.m_nPermissions &= ~g_nReservedPermissions;
  const CString id = m_file.GetId1().IsEmpty() ? MakeId(input) : m_file.GetId1();
  m_pHandler = CStandardSecurityHandler::Create(asked, id, &m_file);
  if (!m_pHandler)
    return false;
  m_security.m_bOneCipher = HasOneCipher(*m_pHandler);
  m_security.m_bPlainMetadata = !m_pHandler->IsMetadataEncrypted();
  if (m_pHandler->GetKeyLength() == g_nLongKey)
    m_security.m_szVersion = "2.0";
  else if (m_pHandler->GetStreamCryptName() || m_pHandler->GetStringCryptName())
    m_security.m_szVersion = "1.6";
  WriteValues(id);
  return true;
}

// An identifier for a document that has none: the same for the same bytes.
CString CDocumentRun::MakeId(BSE::IByteStream& input) const
{
  BSE::CHashMD5 hash;
  unsigned char buffer[BSE::g_nDefaultBlockSize];
  input.Rewind();
  for (std::int64_t n = 0; (n = input.Read(buffer, sizeof(buffer))) > 0;)
    hash.Update({buffer, static_cast<std::size_t>(n)});
  unsigned char digest[BSE::CHashMD5::g_nDigestSize];
  hash.Final(digest);
  return CString(digest, sizeof(digest));
}

void CDocumentRun::WriteValues(const CString& id)
{
  const auto render = [](CBytes& text, auto pfWrite)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
    const BSE::CObjectPtr<BSE::CBufferedOutputStream> pBuffer(new BSE::CBufferedOutputStream(pStream.Get()));
    CGenerator generator(pBuffer.Get(), eLayoutDense);
    pfWrite(generator);
    generator.Flush();
    pStream->Rewind();
    pStream->ReadToArray(text);
  };
  render(m_security.m_dictionary,
         [this](CGenerator& generator)
         {
           const CObjectPtr dictionary(new CDictionaryObject);
           m_pHandler->Write(*dictionary);
           generator.WriteValue(dictionary.Get());
         });
  render(m_security.m_id,
         [this, &id](CGenerator& generator)
         {
           generator.WriteByte('[');
           generator.WriteString(id);
           generator.WriteString(m_file.GetId2().IsEmpty() ? id : m_file.GetId2());
           generator.WriteByte(']');
         });
}

}  // namespace

bool LinearizeDocument(const char* szInput, const CTextString& password, const char* szOutput,
                       const TEncryption* pEncryption, BSE::IErrorContext* pErrorContext, bool bObjectStreams)
{
  CDocumentRun run(pErrorContext, bObjectStreams);
  const CStreamPtr pInput(new BSE::CFileStream(szInput, BSE::eFileRead, pErrorContext));
  if (!run.Open(pInput.Get(), password, pEncryption))
    return false;
  BSE::CReplacementFile output;
  output.Create(szOutput, pErrorContext);
  if (!run.Write(output.GetStream()))
    return false;
  if (output.Commit())
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Error %d renaming file %s to file %s.", errno,
                        output.GetStream()->GetFileName(), szOutput);
  BSE::ReportError(pErrorContext, g_nLinearizationFailed);
  return false;
}

bool LinearizeDocument(BSE::IByteStream* pInput, const CTextString& password, BSE::IByteStream* pOutput,
                       const TEncryption* pEncryption, BSE::IErrorContext* pErrorContext, bool bObjectStreams)
{
  CDocumentRun run(pErrorContext, bObjectStreams);
  if (!run.Open(pInput, password, pEncryption))
    return false;
  if (BSE::IsObjectAddress(pOutput) && pOutput->IsSeekable() && pOutput->Tell() != 0)
    pOutput->Rewind();
  return run.Write(pOutput);
}

}  // namespace PDF
