#pragma once

#include "pdf/StandardSecurityHandlerKeys.h"
#include "pdf/TextString.h"

namespace PDF
{

// The encodings in which a password is tried, the proper one first.
enum class TPasswordForm
{
  Prepared,    // PDFDocEncoding up to revision 4, prepared UTF-8 from revision 5
  Utf8,        // as it was typed
  Raw,         // the bytes that the caller gave
  ReadAsUtf8,  // prepared, for a caller that gave UTF-8 without its mark
};
inline constexpr TPasswordForm g_passwordForms[] = {TPasswordForm::Prepared, TPasswordForm::Utf8,
                                                    TPasswordForm::Raw, TPasswordForm::ReadAsUtf8};

// Bytes of a password in a form; false if it has none there, or the bytes of an earlier form.
bool GetPasswordBytes(const CTextString& password, int nR, TPasswordForm form, TByteArray& bytes);

// Bytes of a password for a new file. Up to revision 4 a text that PDFDocEncoding cannot hold is traced, and
// becomes UTF-8, which is what readers make of it that take passwords as they are typed; bytes that are no
// PDFDocEncoding, but have no mark of Unicode either, stay as they are.
TByteArray PreparePassword(const CTextString& password, int nR);

}  // namespace PDF
