#pragma once

namespace DOC
{

// Conversions between device colours by formula (ISO 32000-1, 10.3), for rows of bytes; truncation does not
// occur but for gray, which is rounded. Source and target do not overlap.
void GrayToRGB(const unsigned char* pSource, unsigned char* pTarget, int nCount);
void GrayToCMYK(const unsigned char* pSource, unsigned char* pTarget, int nCount);
void RGBToGray(const unsigned char* pSource, unsigned char* pTarget, int nCount);
void RGBToCMYK(const unsigned char* pSource, unsigned char* pTarget, int nCount);
void CMYKToGray(const unsigned char* pSource, unsigned char* pTarget, int nCount);
void CMYKToRGB(const unsigned char* pSource, unsigned char* pTarget, int nCount);

}  // namespace DOC
