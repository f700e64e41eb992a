// A colour space from arbitrary bytes, by each engine: rows and single colours to all targets. What follows
// the value is the data of all streams in it.

#include "FuzzObjects.h"
#include "images/color/ColorSpaceFactory.h"

#include <cmath>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace
{

// The first dictionary in the place of a stream: an element of the array that is one becomes one with the
// rest of the input as its data.
void AddStreams(PDF::CFile& file, const PDF::CObjectPtr& array, const uint8_t* pData, size_t nSize,
                int nDepth)
{
  for (int i = 0; i < array.GetSize() && nDepth < 4; ++i)
  {
    const PDF::CObjectPtr element = array[i];
    if (element.IsArray() && !element.IsIndirect())
      AddStreams(file, element, pData, nSize, nDepth + 1);
    if (!element.IsDictionary() || element.IsIndirect())
      continue;
    const BSE::CObjectPtr<PDF::CIndirectObject> pStream(
        new PDF::CIndirectObject(&file, 10 * nDepth + i + 1, 0, -1));
    const BSE::CObjectPtr<BSE::CMemoryStream> pBytes(
        new BSE::CMemoryStream(pData, static_cast<std::int64_t>(nSize)));
    pStream->SetParsed(element.Get(), new PDF::CStreamObject(pBytes.Get()));
    array->SetAt(i, pStream.Get());
  }
}

// Tables of inks take long to make, and depend on the space in no way: one target is enough for profiles.
void Convert(DOC::IColorSpace& space, bool bAll)
{
  constexpr int nCount = 600;
  const auto nComponents = static_cast<std::size_t>(space.GetComponentCount());
  std::vector<unsigned char> source(nCount * nComponents);
  for (std::size_t i = 0; i < source.size(); ++i)
    source[i] = static_cast<unsigned char>(i * 11 >> 2);
  std::vector<double> color(nComponents);
  space.ToReal(source, color);
  space.GetDefaultColor(color);
  for (const DOC::TTarget target : {DOC::eToGray, DOC::eToRGB, DOC::eToCMYK, DOC::eToLab})
  {
    if (target != DOC::eToRGB && !bAll)
      continue;
    const auto nResults = static_cast<std::size_t>(DOC::GetTargetComponents(target));
    std::vector<unsigned char> result(nCount * nResults);
    space.ConvertRow(target, source, result, nCount);
    double converted[4] = {};
    space.ConvertColor(target, color, converted);
    for (const double d : converted)
      if (!std::isfinite(d))
        std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  const std::string_view text(reinterpret_cast<const char*>(pData), nSize);
  for (const char* szEngine : {"none", "lcms"})
  {
    if (*szEngine == 'l' && text.find("ICCBased") == text.npos)
      break;
    BSE::CErrorHandler handler;
    PDF::CFile file(&handler);
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
    PDF::CParser parser(&file, pStream.Get(), &file);
    const PDF::CObjectPtr object = parser.ParseValue();
    const auto nStart = static_cast<std::size_t>(pStream->Tell());
    AddStreams(file, object, pData + nStart, nSize - nStart, 0);
    const BSE::CObjectPtr<DOC::CColorAccount> pAccount(new DOC::CColorAccount(0, &handler));
    if (*szEngine == 'n')
      pAccount->SpendWork(BSE::g_nFreeColorWork - (1 << 23));
    const BSE::CObjectPtr<DOC::CCMS> pCMS = DOC::CreateCMS(szEngine, "/", *pAccount);
    PDF::CColorSpaceFactory factory(*pCMS);
    const BSE::CObjectPtr<DOC::IColorSpace> pSpace = factory.Create(object, object["Resources"]);
    if (pSpace)
      Convert(*pSpace, !pCMS->ReadsProfiles());
  }
  return 0;
}
