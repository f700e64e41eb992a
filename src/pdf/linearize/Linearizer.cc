#include "pdf/linearize/Linearizer.h"

#include "base/EncodeFilter.h"
#include "base/FileStream.h"
#include "pdf/linearize/PDLOutput.h"

namespace PDF
{

namespace
{

constexpr unsigned g_nFileNotOpened = 0x80410101U;
constexpr unsigned g_nFileNotCreated = 0x80410102U;
constexpr unsigned g_nWrongPassword = 0x80410112U;

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// The ciphers of a security handler.
class CHandlerCryptor : public PDCryptor
{
public:
  CHandlerCryptor(CSecurityHandler& handler, BSE::IErrorContext& errors)
      : m_handler(handler), m_errors(errors)
  {
  }

  void DecryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) override
  {
    Assign(bytes, m_handler.DecryptString(CString(bytes.GetData(), bytes.GetSize()), nNumber, nGeneration));
  }
  void EncryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) override
  {
    Assign(bytes, m_handler.EncryptString(CString(bytes.GetData(), bytes.GetSize()), nNumber, nGeneration));
  }
  CStreamPtr CreateDecryptFilter(BSE::IByteStream* pSource, int nNumber, int nGeneration) override
  {
    return m_handler.CreateDecryptFilter(pSource, nNumber, nGeneration, &m_errors);
  }
  CStreamPtr CreateEncryptFilter(BSE::IByteStream* pSink, int nNumber, int nGeneration) override
  {
    return m_handler.CreateEncryptFilter(pSink, nNumber, nGeneration, &m_errors);
  }
  bool Close(BSE::IByteStream* pFilter) override
  {
    auto* pEncoder = dynamic_cast<BSE::CEncodeFilter*>(pFilter);
    return !pEncoder || pEncoder->Close(false);
  }

private:
  static void Assign(BSE::CBasicArray<unsigned char>& bytes, const CString& value)
  {
    bytes.Truncate(0);
    bytes.Append(value.GetSpan());
  }

  CSecurityHandler& m_handler;
  BSE::IErrorContext& m_errors;
};

// One run: opens a stream and writes another.
class CRun
{
public:
  explicit CRun(CFile& file) : m_file(file)
  {
    if (CSecurityHandler* pHandler = file.GetSecurityHandler())
      m_pCryptor.Reset(new CHandlerCryptor(*pHandler, file));
  }

  bool Open(BSE::IByteStream* pInput)
  {
    const PDLInput::TState eState = m_input.Open(pInput, m_pCryptor.Get());
    if (eState == PDLInput::TState::Opened)
      return true;
    BSE::ReportError(&m_file, eState == PDLInput::TState::NeedsCryptor ? g_nWrongPassword : g_nFileNotOpened);
    return false;
  }

  bool Write(BSE::IByteStream* pOutput)
  {
    if (!pOutput || !pOutput->IsValid())
    {
      BSE::ReportError(&m_file, g_nFileNotCreated);
      return false;
    }
    PDLOutput output(m_input, m_input.IsEncrypted() ? m_pCryptor.Get() : nullptr);
    // The first part of the archive standard wants metadata to be readable as it stands.
    output.SetCompressMetadata(m_file.GetConformance().GetPart() != 1);
    const bool bWritten = output.Write(pOutput);
    m_nWritten = output.GetWritten();
    return bWritten;
  }

  // Bytes that the output may have taken.
  std::int64_t GetWritten() const { return m_nWritten; }

private:
  CFile& m_file;
  BSE::CScopedPtr<CHandlerCryptor> m_pCryptor;
  PDLInput m_input;
  std::int64_t m_nWritten = 0;
};

}  // namespace

bool CLinearizer::LinearizeFile(const char* szInput, const char* szOutput, CFile& file)
{
  const CStreamPtr pInput(new BSE::CFileStream(szInput, BSE::eFileRead, &file));
  CRun run(file);
  if (!run.Open(pInput.Get()))
    return false;
  const BSE::CObjectPtr<BSE::CFileStream> pOutput(new BSE::CFileStream(szOutput, BSE::eFileWrite, &file));
  return run.Write(pOutput.Get()) && pOutput->Close();
}

bool CLinearizer::LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                  std::int64_t& nWritten)
{
  nWritten = 0;
  CRun run(file);
  if (!run.Open(pInput))
    return false;
  const bool bWritten = run.Write(pOutput);
  nWritten = run.GetWritten();
  return bWritten;
}

ILinearizer* GetLinearizer()
{
  static CLinearizer linearizer;
  return &linearizer;
}

}  // namespace PDF
