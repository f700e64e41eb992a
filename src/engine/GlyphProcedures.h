#pragma once

#include "engine/ResourceUse.h"

namespace PDF
{

// Whether the glyph procedures of a Type 3 font use a font, an XObject, a pattern or a graphics state that is
// not in the font's own resources: they may find it in those of the content that shows the font (ISO 32000-1,
// 9.6.5). True too for what cannot be read to its end. The use of resources, which may be null, is told all
// names in the procedures.
bool DoGlyphsNeedResources(const CObjectPtr& font, CContentEnvironment& environment, CResourceUse* pUse);

}  // namespace PDF
