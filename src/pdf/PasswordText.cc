#include "pdf/PasswordText.h"

#include "base/Tracer.h"
#include "base/Unicode.h"
#include "pdf/StringPreparation.h"

#include <algorithm>

namespace PDF
{

namespace
{

bool AppendUtf8(const BSE::CStr16& text, TByteArray& bytes)
{
  BSE::CStr8 utf8;
  if (!BSE::ConvertText(text.GetSpan(), utf8))
    return false;
  const std::span<const char> span = utf8.GetSpan();
  bytes.Append({reinterpret_cast<const unsigned char*>(span.data()), span.size()});
  return true;
}

bool AppendPdfDoc(const BSE::CStr16& text, TByteArray& bytes)
{
  for (const char16_t nUnit : text.GetSpan())
  {
    const int nByte = EncodePdfDocByte(nUnit);
    if (nByte < 0)
      return false;
    bytes.Add(static_cast<unsigned char>(nByte));
  }
  return true;
}

bool AppendPrepared(const BSE::CStr16& text, int nR, TByteArray& bytes)
{
  if (nR < 5)
    return AppendPdfDoc(text, bytes);
  BSE::CStr16 prepared;
  return PrepareString(text, prepared) && AppendUtf8(prepared, bytes);
}

// True for bytes without a mark of Unicode, which the caller chose: each is one character of the text.
bool IsUnmarked(const CTextString& password)
{
  return password.GetSpan().size() == password.GetText().GetSpan().size();
}

bool ReadUtf8(const CTextString& password, BSE::CStr16& text)
{
  const TBytes bytes = password.GetSpan();
  const std::span<const char> utf8(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return IsUnmarked(password) && BSE::ConvertText(utf8, text);
}

bool MakeForm(const CTextString& password, int nR, TPasswordForm form, TByteArray& bytes)
{
  bytes.RemoveAll();
  switch (form)
  {
  case TPasswordForm::Prepared:
    return AppendPrepared(password.GetText(), nR, bytes);
  case TPasswordForm::Utf8:
    return AppendUtf8(password.GetText(), bytes);
  case TPasswordForm::ReadAsUtf8:
  {
    BSE::CStr16 text;
    return ReadUtf8(password, text) && AppendPrepared(text, nR, bytes);
  }
  case TPasswordForm::Raw:
    bytes.Append(password.GetSpan());
    return true;
  }
  return false;
}

}  // namespace

bool GetPasswordBytes(const CTextString& password, int nR, TPasswordForm form, TByteArray& bytes)
{
  if (!MakeForm(password, nR, form, bytes))
    return false;
  for (const TPasswordForm earlier : g_passwordForms)
  {
    TByteArray other;
    if (earlier == form)
      break;
    if (MakeForm(password, nR, earlier, other) && std::ranges::equal(other.GetSpan(), bytes.GetSpan()))
      return false;
  }
  return true;
}

TByteArray PreparePassword(const CTextString& password, int nR)
{
  TByteArray bytes;
  if (MakeForm(password, nR, TPasswordForm::Prepared, bytes))
    return bytes;
  if (nR < 5 && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "Encryption", "Encrypt using Unicode password and handler revision %d.", nR);
  if (IsUnmarked(password) || !MakeForm(password, nR, TPasswordForm::Utf8, bytes))
    MakeForm(password, nR, TPasswordForm::Raw, bytes);
  return bytes;
}

}  // namespace PDF
