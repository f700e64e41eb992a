#pragma once

#include "base/Stream.h"
#include "pdf/Object.h"

namespace PDF
{

// Decoder for one filter name, full or abbreviated (ISO 32000-1, Tables 6 and 94), over a source of encoded
// data. pStream is the owner of the data (an image dictionary for image filters) and the context of reports;
// parameters may be null. Filters of pictures are those of the owner's file (CFile::SetImageFilters). Empty
// for an unknown name, an empty or invalid source, and a named crypt filter. The result may be invalid where
// a decoder could not start: ask IsValid.
BSE::CObjectPtr<BSE::IByteStream> CreateDecodeFilter(BSE::IByteStream* pSource, const char* szName,
                                                     CObject* pStream, const CObjectPtr& parameters);

// Encoder for one filter name that writes to a sink. It may replace the parameters: what has been consumed is
// gone, and for filters whose encoded form has no parameters the pointer is cleared.
BSE::CObjectPtr<BSE::IByteStream> CreateEncodeFilter(BSE::IByteStream* pSink, const char* szName,
                                                     CObject* pStream, CObjectPtr& parameters);

// All filters of a stream's dictionary ("Filter" or "F", "DecodeParms" or "DP"), at most g_nMaxFilters. The
// source itself without filters. Empty if one is unknown.
BSE::CObjectPtr<BSE::IByteStream> CreateDecodeChain(BSE::IByteStream* pSource, CObject* pStream);

// Encoders so that what is written arrives in the sink as the dictionary's filters say; the dictionary's
// parameters are brought in step. The sink itself without filters. Empty if one has no encoder.
BSE::CObjectPtr<BSE::IByteStream> CreateEncodeChain(BSE::IByteStream* pSink, CObject* pStream);

// Writes the final bytes of every encoder from the first to the sink; false if anything failed.
bool CloseEncodeChain(BSE::IByteStream* pFirst);

// The filters of a stream's dictionary in decoding order; empty entries where an element is not a name.
int GetFilterCount(CObject* pStream);
CObjectPtr GetFilterName(CObject* pStream, int nIndex);
CObjectPtr GetFilterParameters(CObject* pStream, int nIndex);

// True if an explicit Crypt filter without a name, or named Identity, keeps the stream's data plain in an
// encrypted file (ISO 32000-1, 7.4.10).
bool IsPlainByFilter(CObject* pStream);

// The name that an explicit Crypt filter in the first place asks for; null if there is none.
CObjectPtr GetCryptFilterName(CObject* pStream);

// Puts a Crypt filter with that name before the filters of a stream's dictionary.
void InsertCryptFilter(CObject& dictionary, const char* szName);

// Removes the first filter from a stream's dictionary, with its parameters.
void RemoveFirstFilter(CObject& dictionary);

}  // namespace PDF
