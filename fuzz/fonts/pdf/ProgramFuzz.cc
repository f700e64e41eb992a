// A font program of any format behind the face that documents see: it is drawn, converted, subset, merged
// with another subset of itself and written; the first two bytes choose the glyphs and the usage.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "fonts/pdf/FontProgram.h"

#include <cstdlib>
#include <string>

namespace
{

using CProgram = BSE::CScopedPtr<PDF::CFontProgram>;

void Require(bool b)
{
  if (!b)
    std::abort();
}

CProgram Read(std::span<const unsigned char> data, BSE::IErrorContext* pErrorContext)
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Append(data);
  return PDF::CFontProgram::Create(std::move(bytes), "", true, pErrorContext);
}

// What is written can be read.
void Write(PDF::CFontProgram& program, unsigned nUsage)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  BSE::CBasicArray<unsigned char> bytes;
  if (program.Write(*pStream, nUsage, nullptr) && pStream->Rewind() && pStream->ReadToArray(bytes))
    Require(Read(bytes.GetSpan(), nullptr) || program.GetGlyphCount() == 0);
}

void Mark(PDF::CFontProgram& program, unsigned nPattern, unsigned nUsage)
{
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  for (std::size_t i = 0; i < used.size(); ++i)
    used[i] = static_cast<unsigned char>(nPattern >> i % 8 & 1);
  if (program.CanSubset())
    program.Subset(nUsage);
}

void Use(PDF::CFontProgram& program)
{
  FONT::CGlyph outline;
  for (int i = 0; i < std::min(program.GetGlyphCount(), 50); ++i)
  {
    program.GetOutline(i, outline);
    program.GetWidth(i);
    program.GetUnicodeName(i);
    program.GetGlyphIndexByName(program.GetGlyphName(i));
    program.HasGlyph(i);
  }
  for (unsigned i = 0; i < 256; ++i)
    program.GetIntrinsicName(i);
  program.GetFontBBox();
  program.GetFontFlags();
  program.GetAscent();
  program.GetStemV();
}

void Convert(PDF::CFontProgram& program)
{
  const char* aNames[256] = {};
  std::uint16_t aGlyphs[256];
  for (std::uint16_t i = 0; i < 256; ++i)
    aGlyphs[i] = static_cast<std::uint16_t>(i < program.GetGlyphCount() ? i : 0);
  for (const CProgram& pMade : {program.ToCFF(), program.ToBareCFF(), program.ToType1(aNames, aGlyphs)})
    if (pMade)
    {
      Use(*pMade);
      Mark(*pMade, 0x55, PDF::g_nUsedNonSymbolic);
      Write(*pMade, PDF::g_nUsedNonSymbolic);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 16)
    return 0;
  BSE::CErrorHandler handler;
  const std::span<const unsigned char> data(pData + 2, nSize - 2);
  const CProgram pProgram = Read(data, &handler);
  const CProgram pOther = Read(data, &handler);
  // A few bytes can say that there are many glyphs, which takes time but shows nothing more.
  if (!pProgram || !pOther || pProgram->GetGlyphCount() > 1 << 12)
    return 0;
  Use(*pProgram);
  Convert(*pProgram);
  const unsigned nUsage = pData[0] & 15;
  Mark(*pProgram, pData[1], nUsage);
  Mark(*pOther, static_cast<unsigned>(pData[1]) ^ 0x33, nUsage);
  if ((pData[0] & 16) != 0)
    pOther->DuplicateGlyph(pData[1] % 8, pData[1], nullptr);
  if ((pData[0] & 32) != 0)
    pOther->MakeCIDKeyed();
  if (pProgram->Merge(*pOther, nUsage) == PDF::eMerged)
    Use(*pProgram);
  Write(*pProgram, nUsage);
  Write(*pOther, nUsage);
  return 0;
}
