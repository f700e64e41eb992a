#include "engine/StreamEncoding.h"

#include "base/MemoryStream.h"
#include "pdf/Generator.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <cstring>

namespace PDF
{

namespace
{

constexpr const char* g_filterKeys[] = {"Filter", "DecodeParms"};

}  // namespace

std::size_t MeasureValue(const CObjectPtr& value)
{
  if (!value)
    return 0;
  const BSE::CObjectPtr<BSE::CMemoryStream> pText(new BSE::CMemoryStream);
  CGenerator generator(new BSE::CBufferedOutputStream(pText.Get()), eLayoutCompact);
  generator.WriteValue(value.Get());
  return static_cast<std::size_t>(generator.Tell());
}

std::size_t MeasureFilters(CObject& stream)
{
  std::size_t nCost = 0;
  for (const char* szKey : g_filterKeys)
    if (const CObjectPtr value = stream.GetEntry(szKey))
      nCost += 1 + std::strlen(szKey) + MeasureValue(value);
  return nCost;
}

std::size_t MeasureFilter(const char* szFilter, const CObjectPtr& parameters)
{
  const std::size_t nFilter = std::strlen("/Filter/") + std::strlen(szFilter);
  return parameters ? nFilter + std::strlen("/DecodeParms") + MeasureValue(parameters) : nFilter;
}

void ReplaceEncoding(CObject& stream, const char* szFilter, const CObjectPtr& parameters,
                     std::span<const unsigned char> encoded)
{
  stream.AddEntry("Filter", new CNameObject(szFilter));
  if (parameters)
    stream.AddEntry("DecodeParms", parameters);
  else
    stream.DeleteEntry("DecodeParms");
  const auto nLength = static_cast<std::int64_t>(encoded.size());
  const BSE::CObjectPtr<CEmbeddedStreamObject> pPart(
      new CEmbeddedStreamObject(new BSE::CMemoryStream(encoded.data(), nLength), 0, nLength));
  pPart->SetEncodingFinal();
  stream.SetStreamObject(pPart.Get());
}

}  // namespace PDF
