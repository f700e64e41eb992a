#include "images/filters/DCTError.h"

#include "base/Unicode.h"

namespace BSE
{

CDCTError::CDCTError(int nNumber, const char* szText) : CError(GetCodeOf(nNumber))
{
  ConvertText(szText, m_text, TInvalidText::Replace);
}

int CDCTError::GetMessage(char16_t* pBuffer, int nLength)
{
  const bool bWarning = static_cast<int>(m_nCode & 0xFFU) >= g_nFirstWarning;
  CStr16 text(bWarning ? u"Warning in DCT stream: " : u"Error in DCT stream: ");
  text.Append(m_text.GetText());
  text.Append(u'.');
  return RenderTemplate(text.GetText(), &m_properties, pBuffer, nLength);
}

}  // namespace BSE
