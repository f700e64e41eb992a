#pragma once

#include "base/Stream.h"
#include "pdf/Object.h"

#include <span>

namespace PDF
{

// One stream filter (ISO 32000-1, Table 6): its names and how its decoder and encoder are made from what a
// stream's dictionary says. The file layer has rows for the filters of bytes; those of pictures are rows of a
// layer above, and reach it through CFile::SetImageFilters, so that a program without pictures links no
// codec of theirs. Beside its codec a new filter is two such functions and a row: of bytes in the source of
// this header, of pictures in a file of their own.
struct TFilterRow
{
  // pStream owns the data: the image's dictionary for a filter of pictures, and the context of reports; it
  // may be null. Parameters may be null. Empty where the filter cannot be had for such parameters; what is
  // returned may be invalid where the codec could not start.
  using TCreateDecoder = BSE::CObjectPtr<BSE::IByteStream>(BSE::IByteStream* pSource, CObject* pStream,
                                                           const CObjectPtr& parameters);

  // The parameters become those that belong in the dictionary of the encoded data: what has been consumed is
  // gone, and the pointer is cleared where the encoded form has none.
  using TCreateEncoder = BSE::CObjectPtr<BSE::IByteStream>(BSE::IByteStream* pSink, CObject* pStream,
                                                           CObjectPtr& parameters);

  const char* m_szName;
  const char* m_szShort;  // in inline images (ISO 32000-1, Table 94); null if there is none
  TCreateDecoder* m_pCreateDecoder;
  TCreateEncoder* m_pCreateEncoder;  // null for a filter without an encoder
};

// Borrowed: the rows are constants.
using CFilterTable = std::span<const TFilterRow>;

// The row of a full or short name; null for an unknown one.
const TFilterRow* FindFilter(CFilterTable table, const char* szName);

// ASCIIHex, ASCII85, RunLength, LZW, Flate and Crypt.
CFilterTable GetByteFilters();

// A number of the parameters, clamped to the type; the default for an absent one.
int GetFilterParameter(const CObjectPtr& parameters, const char* szKey, int nDefault);

}  // namespace PDF
