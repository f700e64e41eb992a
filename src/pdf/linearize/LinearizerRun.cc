#include "pdf/linearize/LinearizerRun.h"

#include "base/EncodeFilter.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"

namespace PDF
{

namespace
{

// As in a file that is not linearized.
constexpr std::int64_t g_nStreamSize = 15000;
constexpr std::int64_t g_nStreamSizeForSize = 250000;

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// The ciphers of security handlers: of the input, null for one that is not encrypted, and of the output.
class CHandlerCryptor : public PDCryptor
{
public:
  CHandlerCryptor(CSecurityHandler* pInput, CSecurityHandler& output, BSE::IErrorContext& errors)
      : m_pInput(pInput), m_output(output), m_errors(errors)
  {
  }

  void DecryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) override
  {
    if (m_pInput)
      Assign(bytes, m_pInput->DecryptString(CString(bytes.GetData(), bytes.GetSize()), nNumber, nGeneration));
  }
  void EncryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) override
  {
    Assign(bytes, m_output.EncryptString(CString(bytes.GetData(), bytes.GetSize()), nNumber, nGeneration));
  }
  int FindOldCrypt(bool bEmbedded, const char* szName) override
  {
    return m_pInput ? FindCrypt(*m_pInput, bEmbedded, szName) : g_nStreamCrypt;
  }
  int FindNewCrypt(bool bEmbedded, const char*& szName) override
  {
    const int nCrypt = FindCrypt(m_output, bEmbedded, nullptr);
    szName = m_output.GetCryptName(nCrypt);
    return nCrypt;
  }
  CStreamPtr CreateDecryptFilter(BSE::IByteStream* pSource, int nNumber, int nGeneration, int nCrypt) override
  {
    return m_pInput ? m_pInput->CreateDecryptFilter(pSource, nNumber, nGeneration, &m_errors, nCrypt)
                    : pSource;
  }
  CStreamPtr CreateEncryptFilter(BSE::IByteStream* pSink, int nNumber, int nGeneration, int nCrypt) override
  {
    return m_output.CreateEncryptFilter(pSink, nNumber, nGeneration, &m_errors, nCrypt);
  }
  bool Close(BSE::IByteStream* pFilter) override
  {
    auto* pEncoder = dynamic_cast<BSE::CEncodeFilter*>(pFilter);
    return !pEncoder || pEncoder->Close(false);
  }
  bool HasFailed() const override { return m_output.HasFailed(); }

private:
  static_assert(g_nStreamCrypt == CSecurityHandler::g_nStreamCrypt);

  static int FindCrypt(CSecurityHandler& handler, bool bEmbedded, const char* szName)
  {
    const CObjectPtr stream = new CDictionaryObject;
    if (bEmbedded)
      stream->AddEntry("Type", new CNameObject("EmbeddedFile"));
    return handler.FindStreamCrypt(*stream, szName);
  }
  static void Assign(BSE::CBasicArray<unsigned char>& bytes, const CString& value)
  {
    bytes.Truncate(0);
    bytes.Append(value.GetSpan());
  }

  CSecurityHandler* m_pInput;
  CSecurityHandler& m_output;
  BSE::IErrorContext& m_errors;
};

// Compresses as the file does.
class CFileDeflater : public PDDeflater
{
public:
  explicit CFileDeflater(CFile& file) : m_file(file) {}

  bool Deflate(std::span<const unsigned char> data, BSE::CBasicArray<unsigned char>& deflated) override
  {
    deflated.RemoveAll();
    const BSE::CObjectPtr<BSE::CMemoryStream> pDeflated = m_file.Deflate(data);
    return pDeflated && pDeflated->Rewind() && pDeflated->ReadToArray(deflated);
  }

private:
  CFile& m_file;
};

}  // namespace

CLinearizerRun::CLinearizerRun(CFile& file)
    : m_file(file),
      m_pDeflater(new CFileDeflater(file)),
      m_bKeepMetadata(file.GetConformance().GetPart() == 1)
{
  if (CSecurityHandler* pHandler = file.GetSecurityHandler())
    m_pCryptor.Reset(new CHandlerCryptor(pHandler, *pHandler, file));
}

CLinearizerRun::~CLinearizerRun() = default;

void CLinearizerRun::SetSecurity(CSecurityHandler& handler, const TPDSecurity& security)
{
  m_pCryptor.Reset(new CHandlerCryptor(m_file.GetSecurityHandler(), handler, m_file));
  m_pSecurity = &security;
}

bool CLinearizerRun::Open(BSE::IByteStream* pInput)
{
  const PDLInput::TState eState = m_input.Open(pInput, m_pCryptor.Get());
  if (eState == PDLInput::TState::Opened)
    return true;
  BSE::ReportError(&m_file, eState == PDLInput::TState::NeedsCryptor ? g_nWrongPassword : g_nFileNotOpened);
  return false;
}

bool CLinearizerRun::Write(BSE::IByteStream* pOutput)
{
  if (!pOutput || !pOutput->IsValid())
  {
    BSE::ReportError(&m_file, g_nFileNotCreated);
    return false;
  }
  m_pOutput.Reset(new PDLOutput(m_input, m_pSecurity || m_input.IsEncrypted() ? m_pCryptor.Get() : nullptr,
                                m_pDeflater.Get()));
  m_pOutput->SetCompressMetadata(!m_bKeepMetadata);
  m_pOutput->SetSecurity(m_pSecurity);
  m_pOutput->SetMaxLength(m_nMaxLength);
  // The first part of the archive standard rests on a version without them.
  if (m_bObjectStreams && m_file.GetConformance().GetPart() != 1)
    m_pOutput->SetObjectStreams(m_file.GetStreamDeflater() ? g_nStreamSizeForSize : g_nStreamSize);
  return m_pOutput->Write(pOutput);
}

}  // namespace PDF
