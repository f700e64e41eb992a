#pragma once

#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

class CExtractedFile;

// Writes the embedded font programs of a document into files in the working directory, named after the kind
// of the font and the number of the stream's object, which several fonts may share. What goes wrong is
// reported as by CImageExtractor.
class CFontExtractor
{
public:
  explicit CFontExtractor(CFile& input);
  CFontExtractor(const CFontExtractor&) = delete;
  CFontExtractor& operator=(const CFontExtractor&) = delete;

  void Run(const CFontRegistry& fonts);

private:
  void Extract(const CFont& font, const char* szName);
  bool Copy(BSE::IByteStream& data, BSE::IByteStream& target);

  CFile& m_input;
  CNumberSet m_done;         // streams
  std::int64_t m_nMaxBytes;  // that may still be read
};

}  // namespace PDF
