#pragma once

#include "base/ErrorContext.h"
#include "base/Stream.h"
#include "pdf/StandardSecurityHandler.h"

namespace PDF
{

// Linearizes documents as they are, without a save. The password opens the input as user or owner; an empty
// one is tried where none is needed.
//
// With permissions of -1 and no password in encryption the security stays what it is in the input, of which
// null says the same. Otherwise the output gets passwords, permissions and a key of its own, in the place of
// the input's; permissions of -1 then grant everything.
//
// Reports an input that cannot be opened (0x80410101), a wrong password (0x80410112), parameters of an
// encryption that do not go together (0x8041011C), an output that cannot be created (0x80410102), and a
// document that cannot be linearized (0x83410544).

// Object streams and cross-reference streams are kept if that is asked for and the version of the output has
// them.

// The output may be the input: it takes its place only once it is complete. A failure leaves no output.
bool LinearizeDocument(const char* szInput, const CTextString& password, const char* szOutput,
                       const TEncryption* pEncryption, BSE::IErrorContext* pErrorContext,
                       bool bObjectStreams = false);

// From a seekable stream to another one, which is rewound first where it can seek. A failure leaves the
// output as far as it got.
bool LinearizeDocument(BSE::IByteStream* pInput, const CTextString& password, BSE::IByteStream* pOutput,
                       const TEncryption* pEncryption, BSE::IErrorContext* pErrorContext,
                       bool bObjectStreams = false);

}  // namespace PDF
