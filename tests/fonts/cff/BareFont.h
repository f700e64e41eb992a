#pragma once

#include "fonts/ttf/OTF.h"
#include "tests/fonts/common/FontFiles.h"

namespace Fonts
{

// The bare font of a file.
inline CBytes ReadCFF(const std::filesystem::path& path)
{
  const CBytes data = ReadBytes(path);
  if (path.extension() == ".cff")
    return data;
  OTF::COTF font;
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Read(ToArray(data), "", true) && font.ToBareCFF(*pStream) ? TakeBytes(*pStream) : CBytes();
}

}  // namespace Fonts
