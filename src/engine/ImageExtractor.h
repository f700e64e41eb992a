#pragma once

#include "engine/ImageRecord.h"
#include "images/color/ColorSpaceFactory.h"

namespace PDF
{

class CExtractedFile;

// Writes the images of a document into files in the working directory, named after the numbers of their
// objects: "img%d.jpg" with the data as it is for those that are JPEG and nothing else, "img%d.tif" for all
// others. A file that is there already is replaced, but for the one that the document is read from.
//
// What cannot be written is reported as a loss, at the image, and the next one follows; no part of a file
// stays behind. An image that is damaged is written as far as it could be read, which is a loss as well. That
// masks are left out, and that TIFF has no word for some colours, is only remarked.
class CImageExtractor
{
public:
  explicit CImageExtractor(CFile& input);
  CImageExtractor(const CImageExtractor&) = delete;
  CImageExtractor& operator=(const CImageExtractor&) = delete;

  // Those that are painted.
  void Run(const CImageRecords& images);

private:
  void Extract(const CObjectPtr& image, const CImageRecord& record);
  void WriteJPEG(const CObjectPtr& image, CExtractedFile& target);
  void WriteTIFF(const CObjectPtr& image, const CImageRecord& record, CExtractedFile& target);

  CFile& m_input;
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  CColorSpaceFactory m_spaces;
  std::int64_t m_nMaxBytes;  // of samples that may still be read
};

}  // namespace PDF
