#include "fonts/pdf/FontDescriptor.h"

#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "fonts/common/StatusCodes.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

namespace
{

constexpr const char* g_fileKeys[] = {"FontFile", "FontFile2", "FontFile3"};
constexpr const char* g_lengthKeys[] = {"Length1", "Length2", "Length3"};

// With the directory of a font file of some twenty tables.
constexpr int g_nHeadSize = 512;

}  // namespace

CHeldReports::~CHeldReports()
{
  for (BSE::IError* pError : m_losses.GetSpan())
    delete pError;
}

void CHeldReports::OnReportError(BSE::CScopedPtr<BSE::IError> pError)
{
  if (pError->GetConsequence() != BSE::eContentLost)
    return;
  m_losses.Reserve(m_losses.GetSize() + 1);
  m_losses.Add(pError.Detach());
}

void CHeldReports::Release(BSE::IErrorContext* pContext)
{
  for (BSE::IError*& pError : m_losses.GetSpan())
    BSE::ReportError(pContext, BSE::CScopedPtr<BSE::IError>(std::exchange(pError, nullptr)));
  m_losses.RemoveAll();
}

TFontFormat CFontFile::GetFormat()
{
  if (std::exchange(m_bFormatKnown, true))
    return m_nFormat;
  unsigned char head[g_nHeadSize];
  const BSE::CObjectPtr<BSE::IByteStream> pStream = m_object.GetDecodedStream();
  const std::int64_t nRead =
      pStream && m_account.Charge(g_nHeadSize) ? pStream->ReadFully(head, g_nHeadSize) : 0;
  return m_nFormat = FindFontFormat({head, static_cast<std::size_t>(nRead)});
}

CFontProgram* CFontFile::GetProgram(const char* szFont)
{
  if (std::exchange(m_bTried, true))
    return m_pProgram.Get();
  BSE::CBasicArray<unsigned char> data;
  const bool bRead = ReadStream(m_object, m_account, data, m_bWhole);
  m_nDataLength = data.GetSize();
  if (bRead)
    m_pProgram = CFontProgram::Create(std::move(data), szFont, true, &m_reports);
  if (m_pProgram)
    return m_pProgram.Get();
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Font", "Couldn't read font program for font %s.", szFont ? szFont : "");
  BSE::ReportError(m_object.Get(), BSE::MakeError(FONT::g_nFontUnreadable, "font", szFont ? szFont : ""));
  return nullptr;
}

bool TWrittenProgram::Write(CFontProgram& program, unsigned nUsage)
{
  m_pData = new BSE::CMemoryStream;
  return program.Write(*m_pData, nUsage, m_aLengths) && m_pData->Rewind();
}

bool CFontFile::WriteProgram(CFontProgram& program, bool bCID, unsigned nUsage, const char* szFilter,
                             const CObjectPtr& target)
{
  TWrittenProgram written;
  if (!written.Write(program, nUsage))
    return false;
  PutProgram(written, program, bCID, szFilter, target);
  return true;
}

void CFontFile::PutProgram(const TWrittenProgram& written, const CFontProgram& program, bool bCID,
                           const char* szFilter, const CObjectPtr& target)
{
  const CObjectPtr dictionary = target.GetValueObject();
  dictionary.DeleteEntry("DecodeParms");
  dictionary.AddEntry("Filter", new CNameObject(szFilter));
  for (int i = 0; i < 3; ++i)
    if (written.m_aLengths[i] > 0)
      dictionary.AddEntry(g_lengthKeys[i], new CIntegerObject(written.m_aLengths[i]));
    else
      dictionary.DeleteEntry(g_lengthKeys[i]);
  if (program.IsOpenType())
    dictionary.AddEntry("Subtype", new CNameObject("OpenType"));
  else if (program.GetKind() == eFontType1C)
    dictionary.AddEntry("Subtype", new CNameObject(bCID ? "CIDFontType0C" : "Type1C"));
  else
    dictionary.DeleteEntry("Subtype");
  target->SetStreamObject(new CStreamObject(written.m_pData.Get()));
  m_reports.Release(target.Get());
}

CObjectPtr CFontDescriptor::GetFontFileStream() const
{
  const char* szKey = GetFontFileKey();
  return szKey ? m_object[szKey] : CObjectPtr();
}

const char* CFontDescriptor::GetFontFileKey() const
{
  for (const char* szKey : g_fileKeys)
    if (m_object[szKey].IsStream())
      return szKey;
  return nullptr;
}

}  // namespace PDF
