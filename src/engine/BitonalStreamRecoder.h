#pragma once

#include "engine/StreamDecoder.h"
#include "pdf/FilterTable.h"

namespace PDF
{

// Encodes images of one bit a sample anew as JBIG2 or Group 4, whichever is smaller, where that makes them
// smaller than they are. No sample changes. Images that the filters of bytes encode and fax images are taken;
// JBIG2 images have this form already. What does not decode to its end without a fault, has fewer rows than
// the image, or is larger than BSE::g_nMaxRecodedSize stays as it is. One image at a time is in memory.
class CBitonalStreamRecoder
{
public:
  // Without bJBIG2 the images become Group 4 alone, as a file of a version below 1.4 asks for.
  explicit CBitonalStreamRecoder(bool bJBIG2) : m_bJBIG2(bJBIG2) {}

  // True for a stream that has been given another encoding.
  bool Recode(CObject& stream);

private:
  // The rows of the image, of which nothing is missing; empty for any other stream.
  std::span<const unsigned char> ReadRows(CObject& stream);
  bool DecodeFax(CObject& stream, int nFilter, std::size_t nSize);

  // Encodes the rows and replaces the best form so far where that is shorter.
  void Try(CObject& stream, const char* szFilter, const CObjectPtr& parameters,
           std::span<const unsigned char> rows);

  // Whether the best form gives the rows again.
  bool Decodes(CObject& stream, std::span<const unsigned char> rows);

  bool m_bJBIG2;
  CStreamDecoder m_decoder;
  BSE::CBasicArray<unsigned char> m_rows;
  BSE::CBasicArray<unsigned char> m_best;
  CObjectPtr m_bestParameters;
  const char* m_szBest = nullptr;
  std::size_t m_nBestCost = 0;
};

}  // namespace PDF
