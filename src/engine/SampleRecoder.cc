#include "engine/SampleRecoder.h"

#include "engine/StreamEncoding.h"
#include "images/ImageDictionary.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

// Entries that are about samples as they are: another form would have to have others. The mask of the copy
// has been written, and is not there any more.
bool CanReduce(const CObjectPtr& source, CObject& image)
{
  const bool bMatte = image.GetEntry("SMask") && (!source || source["SMask"]["Matte"]);
  return !bMatte && !image.GetEntry("Decode") && !image.GetEntry("D") && !image.GetEntry("Mask").IsArray();
}

TSampleForm ReadForm(CObject& stream)
{
  const CImageDictionary image(&stream);
  if (!stream.GetEntry("Subtype").IsName("Image") || image.IsStencil())
    return {};
  return {image.GetColorSpace(), image.GetWidth(), image.GetHeight(), image.GetComponentCount(),
          image.GetBitsPerComponent()};
}

}  // namespace

bool CSampleRecoder::Recode(const CObjectPtr& source, CObject& stream)
{
  const TSampleForm form = ReadForm(stream);
  if (!form.IsUsable() || form.m_nBits == 1 || m_decoder.Decode(stream) != CStreamDecoder::TResult::Decoded ||
      !m_decoder.HasData() || !m_samples.Assign(form, m_decoder.GetData()))
    return false;
  const std::size_t nPresent =
      MeasureFilters(stream) + MeasureValue(form.m_space) + m_decoder.GetEncodedSize();
  const bool bReduce = CanReduce(source, stream) && !(m_bDefaultSpaces && form.m_space.IsName());
  if (!m_encoder.Encode(m_samples, bReduce, nPresent))
    return false;
  const TSampleForm& result = m_encoder.GetForm();
  if (result.m_nBits != form.m_nBits || result.m_nComponents != form.m_nComponents)
  {
    stream.AddEntry("BitsPerComponent", new CIntegerObject(result.m_nBits));
    stream.AddEntry("ColorSpace", result.m_space);
  }
  ReplaceEncoding(stream, "FlateDecode", m_encoder.GetParameters(), m_encoder.GetData());
  return true;
}

}  // namespace PDF
