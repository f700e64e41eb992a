#pragma once

namespace PDF
{

// What the passes over fonts note of a font, in CFont::m_nOptimizeState.
enum TFontState : unsigned
{
  eFontUnembedded = 1,
  eFontEmbedded = 2,
  eFontMerged = 4,      // others were merged into it
  eFontMergedAway = 8,  // it was merged into another, and its object stands for nothing any more
  eFontRenamed = 16,
  eFontEncodingSimpler = 32,
  eFontReplaced = 64  // by a standard font
};

// Fonts that are not any more what they were, or have no program.
inline constexpr unsigned g_nFontGone = eFontUnembedded | eFontMergedAway | eFontReplaced;

// What they note of a font program, in CFontFile::m_nOptimizeState. The first four are the usage that the
// program is told.
enum TFontFileState : unsigned
{
  eFileUsedByCID = 1,
  eFileUsedNonSymbolic = 2,
  eFileUsedSymbolic = 4,
  eFileUsedEncoding = 8,
  eFileUsage = 15,
  eFileWhole = 16,  // every glyph must be kept
  eFileSubset = 64,
  eFileMerged = 128,      // others were merged into it
  eFileMergedAway = 256,  // it was merged into another
  eFileToCFF = 512,
  eFileToType1 = 1024,
  eFileUpdated = 2048  // changed in some other way
};

// All that says that the program is another one than that of the input.
inline constexpr unsigned g_nFileChanged = ~63U;

}  // namespace PDF
