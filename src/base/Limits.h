#pragma once

#include <cstdint>

// Every bound that protects against hostile input, in one place, with its reason. Past a limit the object or
// file is refused with a report; nothing crashes and nothing is allocated for it.
namespace BSE
{

// Nesting of arrays and dictionaries: real files stay below 30; the parser uses one frame per level.
inline constexpr int g_nMaxNesting = 500;

// Depth of a page tree that is linearized, which is one of our own; other walks over trees need no limit.
inline constexpr int g_nMaxTreeDepth = 1000;

// Sections in a chain of Prev entries: one per incremental update.
inline constexpr int g_nMaxXRefSections = 10000;

// Highest object number that a scan or a table may bring in. Tables allocate by page of numbers, so one wild
// number costs a page, not the range.
inline constexpr int g_nMaxObjNumber = 9999999;

// Decoded size of one object stream, content stream or font program.
inline constexpr std::int64_t g_nMaxDecodedSize = std::int64_t{1} << 30;

// A decoded stream may exceed g_nFreeDecodedSize only up to this factor of its encoded size: bombs reach 1000
// per Flate layer, honest data hardly ever passes 200.
inline constexpr std::int64_t g_nMaxDecodeRatio = 2000;
inline constexpr std::int64_t g_nFreeDecodedSize = std::int64_t{64} << 20;

// Encoded and decoded size up to which a stream is held in memory to be compared or encoded anew as a whole;
// larger ones stay as they are.
inline constexpr std::int64_t g_nMaxRecodedSize = std::int64_t{64} << 20;

// What the streams that one decoder is given may decode to in all: this many times their encoded size, beyond
// a free amount. Bombs in bombs need a few hundred bytes each; what is beyond stays as it is.
inline constexpr std::int64_t g_nMaxRecodedRatio = 100;
inline constexpr std::int64_t g_nFreeRecodedSize = std::int64_t{64} << 20;

// Samples of one image that is encoded anew, and of all images of a file together: this many times its
// length, beyond a free amount. What is beyond stays as it is.
inline constexpr std::int64_t g_nMaxImageSamples = std::int64_t{1} << 30;
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeImageSamples = std::int64_t{1} << 20;
#else
inline constexpr std::int64_t g_nFreeImageSamples = std::int64_t{64} << 20;
#endif
inline constexpr std::int64_t g_nImageSamplesRatio = 200;

// Samples of all images that are extracted from a file, together: g_nMaxDecodeRatio times its length, beyond
// a free amount of a hundred pages without a mark.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeExtracted = std::int64_t{1} << 22;
#else
inline constexpr std::int64_t g_nFreeExtracted = std::int64_t{1} << 30;
#endif

// Decoded object streams that a file keeps in memory: any number of small ones, no more than a few large ones
// while the objects are read in the order of the file, and more as streams have to be decoded again.
inline constexpr std::int64_t g_nFreeCachedStreams = std::int64_t{8} << 20;
inline constexpr std::int64_t g_nMaxCachedStreams = std::int64_t{64} << 20;
inline constexpr std::int64_t g_nMaxCachedStreamsReread = std::int64_t{256} << 20;

// Bytes of object streams that are decoded for the first time: this many times the file beyond a free amount.
// The third is the free amount of those that are decoded again, for which g_nMaxSharedRatio counts. Beyond
// either a file was made to keep its reader busy.
inline constexpr std::int64_t g_nMaxStreamRatio = 200;
inline constexpr std::int64_t g_nFreeStreams = std::int64_t{256} << 20;
inline constexpr std::int64_t g_nMaxRereadStreams = std::int64_t{1} << 30;

// Objects that were let go and wanted again, from this length on, stay in memory when nobody uses them, up to
// this many bytes of the file; more once objects had to be read again and again. They keep what they refer
// to: none but the last stays once all that is loaded reaches the second number.
inline constexpr int g_nMinHeldObject = 256;
inline constexpr std::int64_t g_nMaxHeldObjects = std::int64_t{2} << 20;
inline constexpr std::int64_t g_nMaxHeldLoaded = std::int64_t{8} << 20;
inline constexpr std::int64_t g_nMaxHeldReread = std::int64_t{16} << 20;
inline constexpr std::int64_t g_nMaxHeldLoadedReread = std::int64_t{64} << 20;
inline constexpr std::int64_t g_nRereadObjects = std::int64_t{32} << 20;

// Elements and entries of one object in an object stream, and of all together: this many for each byte of the
// file beyond a free number. Flate makes a thousand bytes of one, and each two of them may be a value that
// takes eighty in memory. Honest objects are small, and honest data hardly makes more than two of a byte.
inline constexpr std::int64_t g_nMaxObjectValueRatio = 4;
inline constexpr std::int64_t g_nFreeObjectValues = 250000;
inline constexpr std::int64_t g_nMaxValuesRatio = 20;
inline constexpr std::int64_t g_nFreeAllValues = 8000000;

// Bytes that are read for values for the first time: objects may share a few, but not all have the same.
inline constexpr std::int64_t g_nMaxValueRatio = 4;
inline constexpr std::int64_t g_nFreeValues = std::int64_t{16} << 20;

// Work on bytes that objects share where each should have its own: this many times the file, beyond a free
// amount. Parsed for values that are not short, after the first time; copied as stream data, each stream once
// in a save, and read to be compared, each a few times.
inline constexpr std::int64_t g_nMaxSharedRatio = 16;
inline constexpr std::int64_t g_nFreeParsedSize = std::int64_t{256} << 20;
inline constexpr std::int64_t g_nFreeCopiedSize = std::int64_t{64} << 20;

// Whether work is more than a number of times its cause, beyond a free amount.
constexpr bool IsOutOfProportion(std::int64_t nWork, std::int64_t nFree, std::int64_t nRatio,
                                 std::int64_t nCause)
{
  return nWork > nFree && (nWork - nFree) / nRatio > nCause;
}

// Samples of one image.
inline constexpr std::int64_t g_nMaxImagePixels = std::int64_t{1} << 31;

// Samples and bytes of one row that filters of images read or make: 4 million pixels of four inks, far more
// than large formats have. Memory for it is taken as the row's data comes.
inline constexpr std::int64_t g_nMaxImageRow = std::int64_t{1} << 24;

// What one JBIG2 image may cost, all its segments together. Work is counted in units of about one decision of
// its arithmetic decoder, some nanoseconds. White areas hardly count: a page of text at 600 dots an inch
// takes some 10 million for its 35 million pixels. One of dense dots takes all of them, and has a byte for
// each hundred. Hostile data makes 250,000 decisions of a byte. Memory grows with g_nMaxDecodeRatio beyond
// the free amount, which is that of a page of 1,000 million pixels, up to g_nMaxDecodedSize.
// What a fuzzer builds is many times slower, and has less of it.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeJBIG2Work = std::int64_t{1} << 22;
inline constexpr std::int64_t g_nFreeJBIG2Memory = std::int64_t{16} << 20;
#else
inline constexpr std::int64_t g_nFreeJBIG2Work = std::int64_t{1} << 26;
inline constexpr std::int64_t g_nFreeJBIG2Memory = std::int64_t{128} << 20;
#endif
inline constexpr std::int64_t g_nJBIG2WorkRatio = 1024;

// Coefficients of a JPEG image of several scans, which are all held in memory: they grow with
// g_nMaxDecodeRatio beyond the free amount, since a blank block takes a bit at least.
inline constexpr std::int64_t g_nFreeDCTMemory = std::int64_t{128} << 20;
inline constexpr std::int64_t g_nMaxDCTMemory = std::int64_t{2} << 30;

// Blocks of 64 coefficients that the scans of one image visit, this many for each byte. A blank image takes
// some 80 for each byte with ten scans; hostile data has a scan of tens of thousands of blocks in some ten
// bytes.
inline constexpr std::int64_t g_nFreeDCTWork = std::int64_t{1} << 26;
inline constexpr std::int64_t g_nDCTWorkRatio = 256;

// Memory for the coefficients of an image whose data are coded anew; larger images stay as they are.
inline constexpr std::int64_t g_nMaxRecodedDCT = std::int64_t{96} << 20;

// What the functions, colour spaces and profiles of one document may cost, all together: work in units of
// about one arithmetic operation, a nanosecond, and memory in bytes, this much beyond a free amount for each
// byte of the file. A photograph in inks that have a function of 200 operations costs a few hundred units for
// each byte of its data; a profile is decoded once.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeColorWork = std::int64_t{1} << 26;
#else
inline constexpr std::int64_t g_nFreeColorWork = std::int64_t{1} << 32;
#endif
inline constexpr std::int64_t g_nColorWorkRatio = 4096;
inline constexpr std::int64_t g_nFreeColorMemory = std::int64_t{128} << 20;
inline constexpr std::int64_t g_nColorMemoryRatio = 16;

// Inputs and outputs of one function, and components of one colour space.
inline constexpr int g_nMaxFunctionValues = 32;

// Samples around one point of a sampled function, which is two to the power of its inputs: no function in use
// has more than eight inputs.
inline constexpr int g_nMaxFunctionCorners = 1 << 16;

// Bytes of the program of one function: those in use have at most some thousands.
inline constexpr std::int64_t g_nMaxFunctionProgram = std::int64_t{1} << 20;

// Decoded size of one ICC profile: those of printers have some megabytes.
inline constexpr std::int64_t g_nMaxProfile = std::int64_t{32} << 20;

// Colour spaces inside each other. Only alternates of profiles can go on, which in real files have none.
inline constexpr int g_nMaxColorSpaceNesting = 16;

// What decoding a JPEG 2000 image may take, all of which is in memory. A blank image of any size has a few
// hundred bytes: the free amount is that of a page in colour of 600 dots an inch, and beyond it memory grows
// with g_nMaxDecodeRatio. Packets, of which each has a byte at least where nothing is missing, bound what is
// made for precincts and layers.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeJPXMemory = std::int64_t{1} << 24;
inline constexpr std::int64_t g_nFreeJPXPackets = std::int64_t{1} << 12;
#else
inline constexpr std::int64_t g_nFreeJPXMemory = std::int64_t{1} << 30;
inline constexpr std::int64_t g_nFreeJPXPackets = std::int64_t{1} << 18;
#endif
inline constexpr std::int64_t g_nMaxJPXMemory = std::int64_t{4} << 30;
inline constexpr std::int64_t g_nJPXPacketRatio = 16;

// Composite glyphs inside each other: those of real fonts have two or three levels.
inline constexpr int g_nMaxComponentDepth = 64;

// Tables of one font that nobody reads: less than two hundred are registered.
inline constexpr int g_nMaxFontTables = 1024;

// Subtables of one cmap, each of which may map all codes: real fonts have some ten, and with languages of
// their own some thirty.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr int g_nMaxCMapSubtables = 8;
#else
inline constexpr int g_nMaxCMapSubtables = 64;
#endif

// Glyph data that is put together anew because loca is damaged: this many times what there is, beyond a free
// amount, since glyphs may share some of it.
inline constexpr std::int64_t g_nFreeRecoveredGlyphs = std::int64_t{64} << 10;
inline constexpr std::int64_t g_nRecoveredGlyphsRatio = 4;

// Points and components of all outlines of one font, each glyph counted once: this many for each byte beyond
// a free number; a composite of twenty bytes has at most some hundred points in real fonts.
inline constexpr std::int64_t g_nFreeOutlineWork = std::int64_t{1} << 22;
inline constexpr std::int64_t g_nOutlineWorkRatio = 64;

// Steps and values of the program of one Type 1 font: this many for each byte beyond a free number. Fonts run
// through their text once, and fill their encoding in a loop.
inline constexpr std::int64_t g_nFreePostScript = 100000;
inline constexpr std::int64_t g_nPostScriptRatio = 4;

// Operators and numbers that one glyph of CFF or Type 1 runs through, with those of its subroutines: the
// largest glyphs of real fonts have some ten thousand.
inline constexpr std::int64_t g_nMaxGlyphSteps = std::int64_t{1} << 20;

// This many of them are free each time: what few glyphs of real fonts exceed costs nothing, however often
// they are drawn.
inline constexpr std::int64_t g_nFreeGlyphSteps = 1024;
// Bytes of programs and CMaps and elements of arrays that are read for the fonts of one document: this many
// times the file beyond a free amount; what fonts share is read once, and a sound file decodes to some ten
// times its length.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeFontWork = std::int64_t{1} << 22;
#else
inline constexpr std::int64_t g_nFreeFontWork = std::int64_t{256} << 20;
#endif
inline constexpr std::int64_t g_nFontWorkRatio = 200;

inline constexpr int g_nMaxFormNesting = 64;

// Bytes of content that are parsed for one document: this many for each byte of the file beyond a free
// amount, a second's work. Honest content is some ten times its file, and a map draws a symbol for each ten
// bytes. The beginning of a form, or of a part of a page's content, costs as much as this many bytes.
#ifdef BREVEX_SMALL_LIMITS
inline constexpr std::int64_t g_nFreeContentWork = std::int64_t{1} << 22;
#else
inline constexpr std::int64_t g_nFreeContentWork = std::int64_t{128} << 20;
#endif
inline constexpr std::int64_t g_nContentWorkRatio = 256;
inline constexpr std::int64_t g_nFormWork = 1024;

// What a report costs in the same bytes.
inline constexpr std::int64_t g_nReportWork = 64;

// Operands of one operator, with those inside arrays; and the bytes of their text, and of one string.
inline constexpr int g_nMaxOperands = 20480;
inline constexpr std::int64_t g_nMaxOperandText = std::int64_t{1} << 20;

// Graphics states that are saved at the same time, over all forms inside each other. Some writers save one
// for each thing on a page and restore none.
inline constexpr int g_nMaxSavedStates = 32768;

// Bytes of one inline image as it is in the content.
inline constexpr std::int64_t g_nMaxInlineImage = std::int64_t{64} << 20;
inline constexpr int g_nMaxFunctionNesting = 32;

// Filters in one chain.
inline constexpr int g_nMaxFilters = 32;

// Depth of a walk over an object graph on the call stack; deeper parts are deferred or refused. Chosen to
// stay well inside an 8 MiB stack with the sanitizers' larger frames.
inline constexpr int g_nMaxGraphDepth = 1000;

// Bytes of one entry of a file cache, with its key: it is read as a whole.
inline constexpr std::int64_t g_nMaxCacheEntry = std::int64_t{64} << 20;

// Bytes of a font file outside of documents: the largest that are sold, with all ideographs, have some sixty
// million.
inline constexpr std::int64_t g_nMaxFontFile = std::int64_t{256} << 20;

// Bytes of a file of settings, which are held in memory as a whole.
inline constexpr std::int64_t g_nMaxIniFile = std::int64_t{1} << 20;

}  // namespace BSE
