#pragma once

#include "fonts/installed/InstalledFont.h"

namespace PDF
{

// The dingbats font that is compiled in, with the glyph names of ZapfDingbats. Null if there is none.
BSE::CObjectPtr<CInstalledFont> MakeInternalDingbats();

}  // namespace PDF
