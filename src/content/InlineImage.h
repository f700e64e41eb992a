#pragma once

#include "base/MemoryStream.h"
#include "content/ContentStream.h"
#include "content/ParserContext.h"

namespace PDF
{

// An image that is in the content (ISO 32000-1, 8.9.7). Its data are kept as they are there, so that nothing
// is lost by copying them.
struct TInlineImage
{
  CObjectPtr m_dictionary;  // keys and values without abbreviations
  BSE::CObjectPtr<BSE::CMemoryStream> m_pData;
  bool m_bDamaged = false;  // the data are not all, or not only, the image's

  // The data through their filters; null where one is unknown. Filters of pictures are those of the file.
  BSE::CObjectPtr<BSE::IByteStream> GetDecodedStream(const CFile& file) const;
};

// Writes out the abbreviated keys, colour spaces and filters of an inline image's dictionary.
void ExpandInlineImage(const CObjectPtr& dictionary);

// Reads the data that follow the dictionary and "ID", up to and including "EI". The end is where the data's
// own form has it, if "EI" is there, otherwise the first "EI" that content can follow. False if there is
// none: then all the rest is data.
bool ReadInlineImage(CContentStream& content, CParserContext& context, TInlineImage& image);

}  // namespace PDF
