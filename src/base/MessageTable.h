#pragma once

#include <span>

namespace BSE
{

// One status code and its UTF-16 text, a template with %key% placeholders.
struct TMessageRow
{
  unsigned m_nCode;
  const char16_t* m_szText;
};

// Finds message templates by status code. The rows live in the layer above and are installed when the library
// is loaded; without rows every lookup fails.
class CMessageTable
{
public:
  // Rows sorted by code; they are kept by reference and must live for ever.
  static void Install(std::span<const TMessageRow> rows);

  // The template, or null after the trace line "Message 0x%08X not found.".
  static const char16_t* Find(unsigned nCode);
};

}  // namespace BSE
