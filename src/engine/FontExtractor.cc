#include "engine/FontExtractor.h"

#include "base/DecodeFilter.h"
#include "base/Limits.h"
#include "engine/ExtractedFile.h"
#include "engine/ResourceLister.h"
#include "fonts/common/StatusCodes.h"

namespace PDF
{

CFontExtractor::CFontExtractor(CFile& input)
    : m_input(input),
      m_nMaxBytes(BSE::g_nFreeRecodedSize + BSE::g_nMaxRecodedRatio * input.GetInput()->GetLength())
{
}

void CFontExtractor::Run(const CFontRegistry& fonts)
{
  for (int i = 0; i < fonts.GetFontCount(); ++i)
  {
    const CFont& font = *fonts.GetFont(i);
    char szName[g_nMaxFontFile];
    FormatFontFile(font, szName);
    if (*szName != 0 && m_done.Add(font.GetFontFile()->GetObjNumber()))
      Extract(font, szName);
  }
}

void CFontExtractor::Extract(const CFont& font, const char* szName)
{
  const CObjectPtr& stream = font.GetFontFile()->GetObject();
  CExtractedFile target(szName, m_input);
  if (!target.GetStream())
    return target.ReportFault(stream.Get());
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetDecodedStream();
  const bool bCopied = pData && Copy(*pData, *target.GetStream());
  if (target.HasFault() || (target.GetStream()->Tell() > 0 && !target.Keep()))
    target.ReportFault(stream.Get());
  else if (!bCopied)
    BSE::ReportLoss(stream.Get(), BSE::MakeError(FONT::g_nFontUnreadable, "font", font.GetBaseName()));
}

// False if there is nothing, if data is missing or damaged, or if it cannot be written.
bool CFontExtractor::Copy(BSE::IByteStream& data, BSE::IByteStream& target)
{
  unsigned char block[1 << 14];
  bool bAny = false;
  while (true)
  {
    const std::int64_t nRead = data.Read(block, sizeof block);
    if (nRead <= 0)
      return bAny && !BSE::HasGap(&data);
    m_nMaxBytes -= nRead;
    if (m_nMaxBytes < 0 || !target.WriteAll(block, nRead))
      return false;
    bAny = true;
  }
}

}  // namespace PDF
