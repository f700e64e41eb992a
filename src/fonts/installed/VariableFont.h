#pragma once

#include "base/BasicArray.h"
#include "base/ObjectPtr.h"
#include "fonts/common/Glyph.h"

#include <span>

namespace PDF
{

// A font whose outlines vary with its weight and width, as FreeType reads it. Nothing outside this class
// knows of FreeType. Each object has a library of its own, so that it belongs to one thread and waits for
// none.
class CVariableFont
{
public:
  CVariableFont();
  ~CVariableFont();
  CVariableFont(const CVariableFont&) = delete;
  CVariableFont& operator=(const CVariableFont&) = delete;

  // A font of a file; the data outlive the object. False, which is traced, if FreeType cannot be started, or
  // not read it; without a trace for a font that does not vary.
  bool Open(std::span<const unsigned char> data, int nIndex);

  // Sets weight and width (in hundredths of the normal one), as near as the font goes; it need not have both.
  // They become what has been set.
  bool SetAxes(double& dWeight, double& dWidth);

  // 0 for none.
  int GetGlyph(char32_t nCharacter) const;

  // The outline with cubic curves and its width, in whole thousandths of the em. False if it cannot be read.
  bool GetOutline(int nGlyph, FONT::CGlyph& glyph) const;

private:
  struct TState;

  BSE::CScopedPtr<TState> m_pState;
};

}  // namespace PDF
