#include "api/OptimizerHandle.h"

#include "api/CAPIStreamAdapter.h"
#include "api/Initializer.h"
#include "api/Version.h"
#include "base/FileStream.h"
#include "pdf/CachingReader.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace API
{

namespace
{

// Above every severity: error objects are not kept, only their codes are.
constexpr unsigned g_nKeepNothing = 0xF0000000U;

constexpr int g_nMessageUnits = 512;
constexpr int g_nResultBlockSize = 8192;

bool HasPlaceholder(const char16_t* szText)
{
  while (*szText != 0 && *szText != u'%')
    ++szText;
  return *szText != 0;
}

}  // namespace

COptimizerHandle::COptimizerHandle() : m_optimizer(this)
{
  SetThreshold(g_nKeepNothing);
  if (CInitializer::GetInstance().WasStarted())
    m_optimizer.SetProducer(g_szProducer);
}

COptimizerHandle::~COptimizerHandle()
{
  FreeResult();
}

void COptimizerHandle::Fail(unsigned nCode)
{
  m_nLastCode = nCode;
  m_nAccumulated |= BSE::IsErrnoCode(nCode) ? BSE::g_nErrorBit : nCode;
  if (m_nEndCode == 0)
    m_nEndCode = nCode;
  m_reports.NoteEnd(nCode);
}

bool COptimizerHandle::Conclude(bool bResult)
{
  if (!bResult && GetLastCode() == 0)
    Fail(BSE::g_nUnknownFatalError);
  // What was reported while the operation was wound up does not hide why it ended.
  if (!bResult && GetEndCode() != 0)
    m_nLastCode = GetEndCode();
  else if (!bResult)
    m_reports.NoteEnd(m_nLastCode);
  m_reports.End();
  return bResult;
}

// An empty name would be the process's standard input or output.
bool COptimizerHandle::CheckFileName(const char* szFileName)
{
  if (szFileName != nullptr && *szFileName != 0)
    return true;
  Fail(ENOENT);
  return Conclude(false);
}

// A directory is reported to the thread alone.
bool COptimizerHandle::FailFile()
{
  if (const BSE::IError* pError = BSE::CTLSError::Get(); pError != nullptr && GetLastCode() == 0)
    Fail(pError->GetCode());
  return Conclude(false);
}

void COptimizerHandle::BeginOpen()
{
  m_reports.End();
  CloseDocument();
  m_reports.BeginOpen();
}

void COptimizerHandle::BeginSave()
{
  Clear();
  m_pOutputStream.Reset();
  m_reports.BeginSave();
}

bool COptimizerHandle::OpenFile(const char* szFileName, const PDF::CString& password)
{
  BeginOpen();
  if (!CheckFileName(szFileName))
    return false;
  const BSE::CObjectPtr<BSE::CFileStream> pFile(new BSE::CFileStream(szFileName, BSE::eFileRead, this));
  if (!pFile->IsValid())
    return FailFile();
  if (!OpenWith(pFile.Get(), password))
    return false;
  m_pInputFile = pFile;
  return true;
}

bool COptimizerHandle::OpenMemory(const void* pBytes, std::uint64_t nLength, const PDF::CString& password)
{
  BeginOpen();
  if (nLength > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
  {
    Fail(BSE::g_nOutOfMemory);
    return Conclude(false);
  }
  const std::int64_t nBytes = pBytes != nullptr ? static_cast<std::int64_t>(nLength) : 0;
  const BSE::CObjectPtr<BSE::IByteStream> pStream(new BSE::CMemoryStream(pBytes, nBytes));
  return OpenWith(pStream.Get(), password);
}

bool COptimizerHandle::OpenStream(const TBrevexStreamDescriptor* pDescriptor, const PDF::CString& password)
{
  BeginOpen();
  m_pOutputStream.Reset();
  const BSE::CObjectPtr<BSE::IByteStream> pAdapter(new BSE::CCAPIStreamAdapter(pDescriptor, this));
  const BSE::CObjectPtr<BSE::IByteStream> pStream(new PDF::CCachingReader(pAdapter.Get()));
  return OpenWith(pStream.Get(), password);
}

bool COptimizerHandle::OpenWith(BSE::IByteStream* pStream, const PDF::CString& password)
{
  return Conclude(m_optimizer.Open(pStream, &password));
}

bool COptimizerHandle::SaveFile(const char* szFileName, const PDF::TEncryption& encryption)
{
  BeginSave();
  if (!CheckFileName(szFileName))
    return false;
  if (m_pInputFile && m_pInputFile->IsOpenOn(szFileName))
  {
    // Creating it would empty what is still to be read.
    BSE::ReportEnd(this, BSE::g_nInvalidOperation);
    return Conclude(false);
  }
  const BSE::CObjectPtr<BSE::CFileStream> pFile(new BSE::CFileStream(szFileName, BSE::eFileWrite, this));
  if (!pFile->IsValid())
    return FailFile();
  const bool bSaved = m_optimizer.Save(pFile.Get(), encryption);
  // Some systems report only at the end what they could not keep: a quota, a server that is gone.
  const bool bClosed = pFile->Close();
  if (!bClosed)
    Fail(BSE::CTLSError::Get()->GetCode());
  return Conclude(bSaved && bClosed);
}

bool COptimizerHandle::SaveStream(const TBrevexStreamDescriptor* pDescriptor,
                                  const PDF::TEncryption& encryption)
{
  BeginSave();
  const BSE::CObjectPtr<BSE::IByteStream> pStream(new BSE::CCAPIStreamAdapter(pDescriptor, this));
  return SaveWith(pStream.Get(), encryption);
}

bool COptimizerHandle::SaveMemory()
{
  BeginSave();
  m_pOutputStream = new BSE::CMemoryStream(0, g_nResultBlockSize);
  return SaveWith(m_pOutputStream.Get(), PDF::TEncryption());
}

bool COptimizerHandle::SaveWith(BSE::IByteStream* pStream, const PDF::TEncryption& encryption)
{
  return Conclude(m_optimizer.Save(pStream, encryption));
}

bool COptimizerHandle::ListImages(const char* szPath)
{
  Clear();
  m_reports.BeginList();
  return Conclude(m_optimizer.ListImages(szPath));
}

bool COptimizerHandle::ListFonts(const char* szPath)
{
  Clear();
  m_reports.BeginList();
  return Conclude(m_optimizer.ListFonts(szPath));
}

bool COptimizerHandle::Close()
{
  return Conclude(CloseDocument());
}

bool COptimizerHandle::CloseDocument()
{
  Clear();
  m_pInputFile.Reset();
  return m_optimizer.Close();
}

const TByteBuffer* COptimizerHandle::FetchResult()
{
  Clear();
  if (!m_pOutputStream)
    return nullptr;
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream = std::move(m_pOutputStream);
  const std::int64_t nLength = pStream->GetLength();
  if (!ResizeResult(static_cast<std::uint64_t>(nLength)))
  {
    Fail(BSE::g_nOutOfMemory);
    return nullptr;
  }
  pStream->Rewind();
  m_result.nSize = static_cast<std::uint64_t>(pStream->ReadFully(m_result.pData, nLength));
  return &m_result;
}

bool COptimizerHandle::ResizeResult(std::uint64_t nSize)
{
  m_result.nSize = 0;
  if (nSize <= m_result.nCapacity)
    return true;
  void* pData = std::realloc(m_result.pData, nSize);
  if (pData == nullptr)
  {
    FreeResult();
    return false;
  }
  m_result.pData = static_cast<unsigned char*>(pData);
  m_result.nCapacity = nSize;
  return true;
}

void COptimizerHandle::FreeResult()
{
  std::free(m_result.pData);
  m_result = {};
}

int COptimizerHandle::GetPageCount()
{
  PDF::CDocument& input = m_optimizer.GetInput();
  if (!input.IsOpened())
    return 0;
  const BSE::CErrorSuppressor suppressor(this);
  return input.GetPageCount();
}

const char16_t* COptimizerHandle::GetErrorText()
{
  char16_t szText[g_nMessageUnits];
  BSE::IError* pError = GetLastError();
  if (pError != nullptr && pError->GetCode() == GetLastCode())
    return Render(pError->GetMessage(szText, g_nMessageUnits) > 0 ? szText : nullptr);
  const bool bFound = BSE::GetErrorMessage(GetLastCode(), szText, g_nMessageUnits) > 0;
  return Render(bFound && !HasPlaceholder(szText) ? szText : nullptr);
}

const char16_t* COptimizerHandle::Render(const char16_t* szText)
{
  m_resultString.Set(szText);
  return m_resultString.GetW();
}

const char16_t* COptimizerHandle::GetInfoEntry(const char16_t* szKey)
{
  if (szKey == nullptr)
    return Render(nullptr);
  if (const char16_t* szValue = m_optimizer.GetInfoEntry(szKey))
    return Render(szValue);
  PDF::CDocument& input = m_optimizer.GetInput();
  const BSE::CErrorSuppressor suppressor(this);
  BSE::CStr16 value;
  const bool bFound = input.IsOpened() && input.GetInfoEntry(szKey, value) && !value.IsEmpty();
  return Render(bFound ? value.GetText() : nullptr);
}

}  // namespace API
