#include "images/filters/FlateFormat.h"

#include <zlib.h>

namespace BSE
{

namespace
{

struct TFlateText
{
  int m_nStatus;
  const char16_t* m_szText;
};

constexpr TFlateText g_flateTexts[] = {
    {Z_STREAM_END, u"Error in Flate stream: stream end."},
    {Z_NEED_DICT, u"Error in Flate stream: need dictionary."},
    {Z_ERRNO, u"Error in Flate stream: file error."},
    {Z_STREAM_ERROR, u"Error in Flate stream: stream error."},
    {Z_DATA_ERROR, u"Error in Flate stream: data error."},
    {Z_MEM_ERROR, u"Error in Flate stream: insufficient memory."},
    {Z_BUF_ERROR, u"Error in Flate stream: buffer error."},
    {Z_VERSION_ERROR, u"Error in Flate stream: incompatible version."},
};

}  // namespace

int CFlateError::GetMessage(char16_t* pBuffer, int nLength)
{
  for (const TFlateText& row : g_flateTexts)
  {
    if (GetCodeOf(row.m_nStatus) == m_nCode)
      return RenderTemplate(row.m_szText, &m_properties, pBuffer, nLength);
  }
  return CError::GetMessage(pBuffer, nLength);
}

}  // namespace BSE
