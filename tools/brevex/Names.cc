#include "Names.h"

#include <brevex/brevex.h>

#include <algorithm>

namespace Tool
{
namespace
{

constexpr TName g_profiles[] = {
    {"lossless", g_nProfileLossless},    {"none", BREVEX_PROFILE_NONE},
    {"web", BREVEX_PROFILE_WEB},         {"print", BREVEX_PROFILE_PRINT},
    {"max", BREVEX_PROFILE_MAX},         {"mrc", BREVEX_PROFILE_MRC},
    {"archive", BREVEX_PROFILE_ARCHIVE}, {"merge-fonts", BREVEX_PROFILE_MERGE_FONTS},
};

constexpr TName g_compressions[] = {
    {"unspecified", BREVEX_COMPRESSION_UNSPECIFIED},
    {"raw", BREVEX_COMPRESSION_RAW},
    {"jpeg", BREVEX_COMPRESSION_JPEG},
    {"flate", BREVEX_COMPRESSION_FLATE},
    {"lzw", BREVEX_COMPRESSION_LZW},
    {"group3-1d", BREVEX_COMPRESSION_GROUP3_1D},
    {"group3", BREVEX_COMPRESSION_GROUP3},
    {"group4", BREVEX_COMPRESSION_GROUP4},
    {"jbig2", BREVEX_COMPRESSION_JBIG2},
    {"jpeg2000", BREVEX_COMPRESSION_JPEG2000},
    {"mrc", BREVEX_COMPRESSION_MRC},
};

constexpr TName g_compressionFlags[] = {
    {"raw", BREVEX_COMPRESSION_FLAG_RAW},
    {"jpeg", BREVEX_COMPRESSION_FLAG_JPEG},
    {"flate", BREVEX_COMPRESSION_FLAG_FLATE},
    {"lzw", BREVEX_COMPRESSION_FLAG_LZW},
    {"group3-1d", BREVEX_COMPRESSION_FLAG_GROUP3_1D},
    {"group3", BREVEX_COMPRESSION_FLAG_GROUP3},
    {"group4", BREVEX_COMPRESSION_FLAG_GROUP4},
    {"jbig2", BREVEX_COMPRESSION_FLAG_JBIG2},
    {"jpeg2000", BREVEX_COMPRESSION_FLAG_JPEG2000},
    {"mrc", BREVEX_COMPRESSION_FLAG_MRC},
    {"keep", BREVEX_COMPRESSION_FLAG_KEEP},
};

constexpr TName g_strip[] = {
    {"threads", eStripThreads},
    {"metadata", eStripMetadata},
    {"piece-info", eStripPieceInfo},
    {"structure", eStripStructure},
    {"thumbnails", eStripThumbnails},
    {"spider", eStripSpider},
    {"alternates", eStripAlternates},
    {"forms", eStripForms},
    {"links", eStripLinks},
    {"annots", eStripAnnots},
    {"output-intents", eStripOutputIntents},
    {"hidden-annots", eStripHiddenAnnots},
};

constexpr TName g_colorConversions[] = {
    {"none", BREVEX_COLOR_CONVERSION_NONE},
    {"rgb", BREVEX_COLOR_CONVERSION_RGB},
    {"cmyk", BREVEX_COLOR_CONVERSION_CMYK},
    {"gray", BREVEX_COLOR_CONVERSION_GRAY},
};

constexpr TName g_dithering[] = {{"threshold", 0}, {"diffusion", 1}};

constexpr TName g_ciphers[] = {
    {"rc4-128", BREVEX_CIPHER_RC4_128},
    {"aes-128", BREVEX_CIPHER_AES_128},
    {"aes-256", BREVEX_CIPHER_AES_256},
};

constexpr TName g_permissions[] = {
    {"print", BREVEX_PERMIT_PRINT | BREVEX_PERMIT_DIGITAL_PRINT},
    {"print-low", BREVEX_PERMIT_PRINT},
    {"modify", BREVEX_PERMIT_MODIFY},
    {"copy", BREVEX_PERMIT_COPY},
    {"annotate", BREVEX_PERMIT_ANNOTATE},
    {"fill-forms", BREVEX_PERMIT_FILL_FORMS},
    {"accessibility", BREVEX_PERMIT_ACCESSIBILITY},
    {"assemble", BREVEX_PERMIT_ASSEMBLE},
};

}  // namespace

TNames GetProfileNames()
{
  return g_profiles;
}
TNames GetCompressionNames()
{
  return g_compressions;
}
TNames GetCompressionFlagNames()
{
  return g_compressionFlags;
}
TNames GetStripNames()
{
  return g_strip;
}
TNames GetColorConversionNames()
{
  return g_colorConversions;
}
TNames GetDitheringNames()
{
  return g_dithering;
}
TNames GetCipherNames()
{
  return g_ciphers;
}
TNames GetPermissionNames()
{
  return g_permissions;
}

std::optional<unsigned> FindName(TNames names, std::string_view sName)
{
  const auto it = std::find_if(names.begin(), names.end(), [&](const TName& n) { return sName == n.szName; });
  return it == names.end() ? std::nullopt : std::optional(it->nValue);
}

std::optional<unsigned> ParseSet(TNames names, std::string_view sText)
{
  unsigned nSet = 0;
  if (sText == "none")
  {
    return nSet;
  }
  if (sText == "all")
  {
    std::for_each(names.begin(), names.end(), [&](const TName& n) { nSet |= n.nValue; });
    return nSet;
  }
  for (size_t nAt = 0; nAt <= sText.size();)
  {
    const size_t nComma = std::min(sText.find(',', nAt), sText.size());
    const std::optional<unsigned> nValue = FindName(names, sText.substr(nAt, nComma - nAt));
    if (!nValue)
    {
      return std::nullopt;
    }
    nSet |= *nValue;
    nAt = nComma + 1;
  }
  return nSet;
}

std::string JoinNames(TNames names)
{
  std::string sOut;
  for (const TName& name : names)
  {
    sOut += (sOut.empty() ? "" : ", ") + std::string(name.szName);
  }
  return sOut;
}

std::vector<std::string> GetNamesOfSet(TNames names, unsigned nSet)
{
  std::vector<std::string> found;
  for (const TName& name : names)
  {
    if ((nSet & name.nValue) != 0)
    {
      found.emplace_back(name.szName);
    }
  }
  return found;
}

}  // namespace Tool
