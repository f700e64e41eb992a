#pragma once

#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

// A font program with the fonts of the document that are drawn with it.
class CFontUse : public BSE::CObject
{
public:
  explicit CFontUse(CFontFile& file) : m_file(file) {}
  bool IsValid() const override { return true; }
  CFontFile& GetFile() const { return m_file; }

  BSE::CPtrArray<CFont> m_fonts;  // in the order of their first use
  bool m_bFixed = false;          // the program cannot become one of another kind
  bool m_bKept = false;           // the program stays as it is
  bool m_bNeeded = false;         // dictionaries have changed that go with the new program alone

private:
  CFontFile& m_file;
};

using CFontUses = BSE::CValueKeyObjectMap<const CFontFile*, CFontUse>;

}  // namespace PDF
