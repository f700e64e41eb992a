// Each image of the copy is brought to the form that the options ask for and then encoded in every way that
// they allow; the shortest result stays. The samples are read once, whole and without tolerance, before
// anything is tried: what a reader makes of missing data is not known, so that a damaged image is better left
// as it is. The result is decoded again before it replaces anything.

#include "engine/ImageOptimizer.h"

#include "base/DecodeFilter.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "engine/PictureError.h"
#include "engine/StreamEncoding.h"
#include "engine/StrokeCheck.h"
#include "images/filters/PictureQuality.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace PDF
{

namespace
{

constexpr unsigned g_nLossy = eCompressionFlagJPEG | eCompressionFlagJPEG2000;

// Below, no encoding but the plain bytes may be the shortest.
constexpr std::int64_t g_nTinyImage = 16;

// What the mean difference of a sample may be between an image and its lossy form. Any that is meant is far
// below; colours in the wrong order or turned around are far above.
constexpr std::int64_t g_nMaxMeanError = 40;

// Whether a picture is further from its samples than its quality says, by more than such pictures are: as a
// whole, in lightness, or in one place, which JPEG with its blocks cannot spoil for the others. A JPEG 2000
// codec that cuts the data of plain ground a byte too early makes ripples of it.
bool IsCoarse(const CPictureError& error, int nQuality, bool bBlocks)
{
  constexpr double dMaxNoise = 2.8;
  constexpr double dMaxShift = 0.6;
  constexpr double dMaxWorstNoise = 6.5;
  constexpr double dMaxPlainBlockNoise = 1.9;
  constexpr double dMaxPlainAreaNoise = 0.6;
  const double dUsual = 255 * std::pow(10, -BSE::GetSignalToNoise(nQuality) / 20);
  return error.GetNoise() > dMaxNoise * dUsual || error.GetShift() > dMaxShift * dUsual ||
         (!bBlocks && (error.GetWorstNoise() > dMaxWorstNoise * dUsual ||
                       error.GetPlainBlockNoise() > dMaxPlainBlockNoise * dUsual ||
                       error.GetPlainAreaNoise() > dMaxPlainAreaNoise * dUsual));
}

unsigned GetAllowed(int nMajor, int nMinor)
{
  constexpr unsigned nAll = 0x7FF;
  if (nMajor == 0 || (nMajor == 1 && nMinor <= 3))
    return nAll & ~unsigned{eCompressionFlagJPEG2000 | eCompressionFlagJBIG2};
  if (nMajor == 1 && nMinor == 4)
    return nAll & ~unsigned{eCompressionFlagJPEG2000};
  return nAll;
}

// The space of the colours, and not of their numbers in a table.
const DOC::IColorSpace* GetRealSpace(const DOC::IColorSpace* pSpace)
{
  return pSpace && pSpace->GetIndexed() ? pSpace->GetAlternate() : pSpace;
}

// Colours of another space would.
bool LeavesNoMarks(const DOC::IColorSpace* pSpace)
{
  const DOC::IColorSpace* pReal = GetRealSpace(pSpace);
  return pReal && pReal->GetTint() && pReal->GetTint()->IsNone();
}

// What a small error becomes in a tint transform, nobody knows.
bool HasTints(const DOC::IColorSpace* pSpace)
{
  const DOC::IColorSpace* pBase = GetRealSpace(pSpace);
  return pBase && (pBase->GetType() == DOC::eSeparation || pBase->GetType() == DOC::eDeviceN);
}

// Whether steps of dark samples are large steps of lightness, as in calibrated spaces whose samples are in
// proportion to light: the noise of a lossy encoding would be as large.
bool HasSteepDark(DOC::IColorSpace* pSpace)
{
  constexpr double dStep = 4 / 255.0;
  constexpr double dMaxSlope = 3;
  const bool bCalibrated =
      pSpace && (pSpace->GetType() == DOC::eCalGray || pSpace->GetType() == DOC::eCalRGB);
  if (!bCalibrated || !pSpace->Prepare(DOC::eToRGB))
    return false;
  const auto nComponents = static_cast<std::size_t>(pSpace->GetComponentCount());
  const double black[3] = {};
  const double dark[3] = {dStep, dStep, dStep};
  double aBlack[3] = {};
  double aDark[3] = {};
  return pSpace->ToRGB(std::span(black).first(nComponents), aBlack) &&
         pSpace->ToRGB(std::span(dark).first(nComponents), aDark) && aDark[1] - aBlack[1] > dMaxSlope * dStep;
}

}  // namespace

// The work on one image.
class CImageOptimizer::CWork
{
public:
  CWork(CImageOptimizer& owner, CImageRecord& record, const CObjectPtr& source, const CObjectPtr& object)
      : m_owner(owner),
        m_options(owner.m_options),
        m_record(record),
        m_object(object),
        m_image(object, owner.m_spaces),
        // The mask of the copy has been written, and is not there any more.
        m_bMatte(source["SMask"]["Matte"])
  {
  }

  void Run();

private:
  TImageClass GetClass();

  // An encoding, and the form of the samples that it holds.
  struct TCandidate
  {
    TEncodedImage m_encoded;
    CObjectPtr m_space;
    int m_nBits = 0;
    TImageSamples m_samples;
  };

  enum class TVerdict
  {
    True,
    Coarse,  // a picture, but not a good one
    Wrong
  };

  unsigned GetSet();
  bool Prepare();
  bool ConvertKeyedTable();
  void Simplify();
  void ReduceColors();
  bool ConvertColors(bool bIndexed);
  void Downsample();
  bool ResampleBits(double dFactorX, double dFactorY);
  unsigned ChooseSet();
  std::int64_t MeasureAddedSpace() const;
  bool ReadSamples(TImageSamples& samples);
  void Race(unsigned nSet);
  void TryEncoding(unsigned nFlag, const TImageSamples& samples);
  void TryBaseColors(unsigned nSet);
  TVerdict Verify(const TCandidate& candidate);
  bool IsLossy(unsigned nFlag) const;
  bool ApplyBest(TVerdict& verdict);
  bool FindBest(unsigned nSet);
  void SaveState(CObjectPtr& value, CObjectPtr& part) const;
  void RestoreState(const CObjectPtr& value, const CObjectPtr& part);
  void KeepInput();

  // Notes a change of the samples if it has been made.
  void Note(TImageChange change, bool bMade)
  {
    m_bModified = m_bModified || bMade;
    m_record.m_nChanges |= bMade ? unsigned{change} : 0u;
  }

  CImageOptimizer& m_owner;
  const TOptimizerOptions& m_options;
  CImageRecord& m_record;
  CObjectPtr m_object;
  CImage m_image;
  CObjectPtr m_inputValue;
  CObjectPtr m_inputPart;
  unsigned m_nCurrent = 0;
  bool m_bForce = false;
  bool m_bModified = false;
  bool m_bColorKey = false;
  bool m_bMatte;
  bool m_bFullChroma = false;
  bool m_bCoarse = false;  // whether a coarse picture is better than none
  bool m_bInput = false;   // whether the image of the input competes
  std::int64_t m_nBest = std::numeric_limits<std::int64_t>::max();
  TCandidate m_best;
};

TImageClass CImageOptimizer::CWork::GetClass()
{
  if (m_image.IsBitonal())
    return eClassBitonal;
  const DOC::IColorSpace* pSpace = m_image.GetColorSpace();
  if (pSpace && pSpace->GetIndexed())
    return eClassIndexed;
  return m_image.IsColor() || m_image.IsGray() ? eClassContinuous : eClassUnknown;
}

unsigned CImageOptimizer::CWork::GetSet()
{
  switch (GetClass())
  {
  case eClassBitonal:
    return m_options.m_nBitonalCompressions;
  case eClassIndexed:
    return m_options.m_nIndexedCompressions;
  case eClassContinuous:
    return m_options.m_nContinuousCompressions;
  case eClassUnknown:
    break;
  }
  return 0;
}

void CImageOptimizer::CWork::SaveState(CObjectPtr& value, CObjectPtr& part) const
{
  value = m_object->GetValueObject()->Clone();
  part = m_object.GetStreamObject();
}

void CImageOptimizer::CWork::RestoreState(const CObjectPtr& value, const CObjectPtr& part)
{
  m_object->SetValueObject(value->Clone());
  m_object->SetStreamObject(part.Get());
  const double dResolutionX = m_image.GetResolutionX();
  const double dResolutionY = m_image.GetResolutionY();
  m_image = CImage(m_object, m_owner.m_spaces);
  m_image.SetResolutionX(dResolutionX);
  m_image.SetResolutionY(dResolutionY);
}

// False for an image that is left alone.
bool CImageOptimizer::CWork::Prepare()
{
  SaveState(m_inputValue, m_inputPart);
  m_record.m_nClass = GetClass();
  if (GetSet() == 0)
    return false;
  m_record.m_nOutcome = eImageNotRead;
  if (m_image.GetDecode() == eDecodeOther || !m_image.HasWholeSamples() || m_image.IsAmbiguous() ||
      !m_owner.IsChargeable(m_image))
    return false;
  m_nCurrent = GetCompressionFlag(m_image.GetCompressionType());
  m_bForce = m_options.m_bForceRecompression;
  m_bColorKey = m_object["Mask"].IsArray();
  m_record.m_nSizeBefore = static_cast<CStreamPart*>(m_inputPart.Get())->GetDataLength();
  m_image.SetResolutionX(m_record.m_dResolutionX);
  m_image.SetResolutionY(m_record.m_dResolutionY);
  if (m_image.ReadSamples())
    return true;
  BSE::CTracer::Trace("E", "PDF Optimizer", "Cannot read image into memory");
  return false;
}

void CImageOptimizer::CWork::Run()
{
  if (!Prepare())
  {
    // Data that has been opened may have added to its dictionary.
    RestoreState(m_inputValue, m_inputPart);
    return;
  }
  if (m_bColorKey && ConvertKeyedTable())
    return;
  Simplify();
  unsigned nSet = GetSet();
  // The image of the input competes unless it is to be encoded in any case.
  if ((nSet & eCompressionFlagKeep) == 0 && m_options.m_bForceCompressionTypes && (m_nCurrent & nSet) == 0)
    m_bForce = true;
  m_bInput = !m_bForce;
  if ((nSet & ~unsigned{eCompressionFlagMRC}) != 0)
    Downsample();
  if (m_options.m_nColorConversion != eColorConversionNone && !m_bColorKey &&
      !m_image.GetColorSpace()->GetIndexed())
    Note(eChangeColors, ConvertColors(false));
  nSet = ChooseSet();
  m_record.m_nOutcome = eImageNotTried;
  if ((m_options.m_bImageStratConserv && !m_bModified && !m_bForce) || !FindBest(nSet))
    KeepInput();
}

// The indices say which pixels are hidden and have to stay as they are, but their colours may be others. It
// is not a matter of size then.
bool CImageOptimizer::CWork::ConvertKeyedTable()
{
  const DOC::IColorSpace* pSpace = m_image.GetColorSpace();
  if (m_options.m_nColorConversion == eColorConversionNone || !pSpace || !pSpace->GetIndexed())
    return false;
  CObjectPtr value;
  CObjectPtr part;
  SaveState(value, part);
  RestoreState(m_inputValue, m_inputPart);
  if (m_image.GetDecode() == eDecodeNone && ConvertColors(true))
  {
    m_record.m_nChanges |= eChangeColors;
    m_record.m_nOutcome = eImageReplaced;
    return true;
  }
  RestoreState(value, part);
  return false;
}

void CImageOptimizer::CWork::Simplify()
{
  if (m_owner.m_bDefaultSpaces)
    return;
  if (!m_image.IsImageMask() && m_image.HasBitonalTable() && m_image.ReduceToBitonal(0))
    Note(eChangeSimplified, m_object["ColorSpace"].IsName("DeviceGray"));
  ReduceColors();
  const bool bIndexed = m_image.GetColorSpace() && m_image.GetColorSpace()->GetIndexed();
  if (m_options.m_nColorConversion != eColorConversionNone && bIndexed && m_image.IsColor() && !m_bMatte &&
      !m_bColorKey)
    Note(eChangeColors, ConvertColors(true));
}

// A picture with colours that are hidden, or blended with those of its mask, is not what it looks like.
void CImageOptimizer::CWork::ReduceColors()
{
  if (m_options.m_bReduceColorComplexity && !m_bColorKey && !m_bMatte)
    Note(eChangeSimplified, m_image.ReduceColorComplexity());
}

bool CImageOptimizer::CWork::ConvertColors(bool bIndexed)
{
  if (m_bMatte || m_owner.m_bDefaultSpaces || m_image.IsImageMask() || !m_image.IsColor() ||
      LeavesNoMarks(m_image.GetColorSpace()))
    return false;
  const TColorConversion nConversion = m_options.m_nColorConversion;
  const DOC::TTarget target = nConversion == eColorConversionRGB    ? DOC::eToRGB
                              : nConversion == eColorConversionCMYK ? DOC::eToCMYK
                                                                    : DOC::eToGray;
  const BSE::CObjectPtr<DOC::IColorSpace> pBefore = m_image.GetColorSpace();
  // A table is as good as samples, and shorter.
  const bool bConverted = bIndexed                 ? m_image.ConvertPalette(target)
                          : target == DOC::eToRGB  ? m_image.ConvertToRGB()
                          : target == DOC::eToCMYK ? m_image.ConvertToCMYK()
                                                   : m_image.ConvertToGray();
  return bConverted && m_image.GetColorSpace() != pBefore.Get();
}

void CImageOptimizer::CWork::Downsample()
{
  double dResolution = m_options.m_dBitonalResolution;
  double dThreshold = m_options.m_dBitonalThreshold;
  if (m_image.IsColor())
  {
    dResolution = m_options.m_dColorResolution;
    dThreshold = m_options.m_dColorThreshold;
  }
  else if (m_image.IsGray())
  {
    dResolution = m_options.m_dMonochromeResolution;
    dThreshold = m_options.m_dMonochromeThreshold;
  }
  else if (!m_image.IsBitonal())
    return;
  if (!(dThreshold > -1.0) || m_bMatte || m_bColorKey)
    return;
  const double dX = m_image.GetResolutionX();
  const double dY = m_image.GetResolutionY();
  const bool bWanted = (dX >= dThreshold && dX > dResolution) || (dY >= dThreshold && dY > dResolution);
  if (!bWanted || !(dX > 0) || !(dY > 0))
    return;
  const bool bMade = m_image.IsBitonal() ? ResampleBits(dResolution / dX, dResolution / dY)
                                         : m_image.Resample(0, dResolution / dX, dResolution / dY);
  Note(eChangeResolution, bMade);
}

// Not where lines or the tones of a halftone would be lost.
bool CImageOptimizer::CWork::ResampleBits(double dFactorX, double dFactorY)
{
  CObjectPtr value;
  CObjectPtr part;
  SaveState(value, part);
  const int nWidth = m_image.GetWidth();
  const int nHeight = m_image.GetHeight();
  const double dResolutionX = m_image.GetResolutionX();
  const double dResolutionY = m_image.GetResolutionY();
  const BSE::CObjectPtr<BSE::IByteStream> pSamples = m_image.GetStream();
  if (!m_image.Resample(static_cast<int>(m_options.m_nDitheringMode), dFactorX, dFactorY))
    return false;
  CStrokeCheck check(m_image.GetWidth(), m_image.GetHeight());
  if (m_image.ReadSamples() && pSamples && check.Measure(*pSamples, nWidth, nHeight) &&
      check.AreKept(*m_image.GetStream()))
    return true;
  BSE::CTracer::Trace("D", "PDF Optimizer", "Image keeps its resolution: fine lines or tones would be lost.");
  RestoreState(value, part);
  m_image.SetResolutionX(dResolutionX);
  m_image.SetResolutionY(dResolutionY);
  return false;
}

unsigned CImageOptimizer::CWork::ChooseSet()
{
  unsigned nSet = GetSet();
  if ((nSet & eCompressionFlagKeep) != 0)
    nSet = (nSet & ~unsigned{eCompressionFlagKeep}) | m_nCurrent;
  else if (m_options.m_bForceCompressionTypes && (m_nCurrent & nSet) == 0)
    m_bForce = true;
  if (m_image.GetBitsPerComponent() != 8 || m_bColorKey || HasTints(m_image.GetColorSpace()) ||
      HasSteepDark(m_image.GetColorSpace()))
    nSet &= ~g_nLossy;
  // Readers leave the matte in.
  if (m_bMatte)
    nSet &= ~unsigned{eCompressionFlagJPEG2000};
  if (m_image.GetBitsPerComponent() != 1)
    nSet &= ~unsigned{eCompressionFlagGroup31D | eCompressionFlagGroup3 | eCompressionFlagGroup4 |
                      eCompressionFlagJBIG2};
  nSet &= m_owner.m_nAllowed & ~unsigned{eCompressionFlagMRC};
  if (!m_options.m_bForceCompressionTypes &&
      std::int64_t{m_image.GetWidth()} * m_image.GetHeight() <= g_nTinyImage)
    nSet |= eCompressionFlagRaw;
  if (nSet != 0)
    return nSet;
  if (m_options.m_bForceCompressionTypes)
    BSE::CTracer::Trace(
        "D", "PDF Optimizer",
        "No compression for image available although force re-compression is set, using flate.");
  return eCompressionFlagFlate;
}

// Into memory, from which every encoder takes them. False if they are fewer than they should be.
bool CImageOptimizer::CWork::ReadSamples(TImageSamples& samples)
{
  samples.m_nWidth = m_image.GetWidth();
  samples.m_nHeight = m_image.GetHeight();
  samples.m_nBits = m_image.GetBitsPerComponent();
  samples.m_dResolutionX = m_image.GetResolutionX();
  samples.m_dResolutionY = m_image.GetResolutionY();
  samples.m_bFullChroma = m_bFullChroma;
  samples.m_nComponents = m_image.GetColorSpace() ? m_image.GetColorSpace()->GetComponentCount() : 1;
  const std::int64_t nSize = m_image.GetRowBytes() * samples.m_nHeight;
  BSE::IByteStream* pStream = m_image.GetStream();
  if (nSize <= 0 || !pStream || !pStream->Rewind())
    return false;
  samples.m_pData = dynamic_cast<BSE::CMemoryStream*>(pStream);
  if (samples.m_pData && samples.m_pData->GetLength() == nSize)
    return true;
  samples.m_pData = new BSE::CMemoryStream;
  return samples.m_pData->CopyFrom(pStream, nSize, false) && samples.m_pData->GetLength() == nSize &&
         !BSE::HasGap(pStream);
}

void CImageOptimizer::CWork::Race(unsigned nSet)
{
  TImageSamples samples;
  if (!ReadSamples(samples))
  {
    BSE::CTracer::Trace("E", "PDF Optimizer", "Cannot read image into memory");
    m_record.m_nOutcome = eImageNotRead;
    return;
  }
  m_record.m_nOutcome = eImageSmallest;
  const bool bIndexed = m_image.GetColorSpace() && m_image.GetColorSpace()->GetIndexed();
  for (unsigned nFlag = eCompressionFlagRaw; nFlag <= eCompressionFlagJPEG2000; nFlag <<= 1)
    if ((nSet & nFlag) != 0 && !(bIndexed && (nFlag & g_nLossy) != 0))
      TryEncoding(nFlag, samples);
  if (bIndexed && (nSet & g_nLossy) != 0 && !m_owner.m_bDefaultSpaces)
    TryBaseColors(nSet & g_nLossy);
}

// What any other encoding needs beside its data, where the data of the input has its colour space in it.
std::int64_t CImageOptimizer::CWork::MeasureAddedSpace() const
{
  const bool bAdded = !m_inputValue["ColorSpace"] && !m_inputValue["CS"] && m_object["ColorSpace"];
  return bAdded ? static_cast<std::int64_t>(MeasureValue(m_object["ColorSpace"])) : 0;
}

void CImageOptimizer::CWork::TryEncoding(unsigned nFlag, const TImageSamples& samples)
{
  TCandidate candidate;
  const bool bReduce = m_options.m_bRecodeSamples && !m_bColorKey && !m_bMatte && !m_owner.m_bDefaultSpaces &&
                       !m_image.IsImageMask();
  if (!m_owner.m_encoder.Encode(nFlag, *m_object, samples, bReduce, m_nBest, candidate.m_encoded))
    return;
  const std::int64_t nSize = candidate.m_encoded.m_data.GetSize();
  for (int i = 0; i < g_nTriedCompressions; ++i)
    if (nFlag == 1u << i)
      m_record.m_aTried[i] = nSize;
  if (nSize >= m_nBest)
    return;
  const bool bOther = candidate.m_encoded.m_nBits != 0;
  candidate.m_space = bOther ? candidate.m_encoded.m_space : m_object["ColorSpace"];
  candidate.m_nBits = bOther ? candidate.m_encoded.m_nBits : samples.m_nBits;
  candidate.m_samples = samples;
  m_nBest = nSize;
  m_best = std::move(candidate);
}

// What loses samples cannot do so with indices: it gets the colours that they stand for.
void CImageOptimizer::CWork::TryBaseColors(unsigned nSet)
{
  CObjectPtr value;
  CObjectPtr part;
  SaveState(value, part);
  TImageSamples samples;
  if (m_image.ConvertToBaseColorSpace() && m_image.GetBitsPerComponent() == 8 && ReadSamples(samples))
    for (const unsigned nFlag : {unsigned{eCompressionFlagJPEG}, unsigned{eCompressionFlagJPEG2000}})
      if ((nSet & nFlag) != 0)
        TryEncoding(nFlag, samples);
  RestoreState(value, part);
}

// Decodes what has been applied to the object, and compares it with the samples.
CImageOptimizer::CWork::TVerdict CImageOptimizer::CWork::Verify(const TCandidate& candidate)
{
  CImage result(m_object, m_owner.m_spaces);
  const TImageSamples& samples = candidate.m_samples;
  BSE::IByteStream* pStream = result.HasWholeSamples() ? result.GetStream() : nullptr;
  if (!pStream || !pStream->Rewind() || !samples.m_pData->Rewind())
    return TVerdict::Wrong;
  const bool bLossy = IsLossy(candidate.m_encoded.m_nFlag);
  const bool bBytes = samples.m_nBits == 8;
  BSE::CBasicArray<unsigned char> decoded;
  BSE::CBasicArray<unsigned char> row;
  row.SetSize(static_cast<int>(result.GetRowBytes()));
  decoded.SetSize(row.GetSize());
  const int nFill =
      static_cast<int>(row.GetSize() * std::int64_t{8} -
                       std::int64_t{samples.m_nWidth} * samples.m_nComponents * samples.m_nBits);
  // Another number of components is another image.
  if (nFill < 0 || nFill >= 8)
    return TVerdict::Wrong;
  std::int64_t nError = 0;
  CPictureError error(bLossy && bBytes ? samples.m_nWidth : 0, samples.m_nComponents);
  for (int i = 0; i < samples.m_nHeight; ++i)
  {
    if (pStream->ReadFully(decoded.GetData(), row.GetSize()) != row.GetSize() ||
        samples.m_pData->ReadFully(row.GetData(), row.GetSize()) != row.GetSize())
      return TVerdict::Wrong;
    if (nFill > 0)
    {
      const auto nMask = static_cast<unsigned char>(0xFF << nFill);
      row.GetData()[row.GetSize() - 1] &= nMask;
      decoded.GetData()[row.GetSize() - 1] &= nMask;
    }
    if (bLossy)
    {
      for (int k = 0; k < row.GetSize(); ++k)
        nError += std::abs(row.GetData()[k] - decoded.GetData()[k]);
      if (bBytes)
        error.Add(row.GetSpan(), decoded.GetSpan());
    }
    else if (std::memcmp(row.GetData(), decoded.GetData(), static_cast<std::size_t>(row.GetSize())) != 0)
      return TVerdict::Wrong;
  }
  if (BSE::HasGap(pStream) || nError > g_nMaxMeanError * row.GetSize() * std::int64_t{samples.m_nHeight})
    return TVerdict::Wrong;
  error.Finish();
  const bool bBlocks = candidate.m_encoded.m_nFlag == eCompressionFlagJPEG;
  return bLossy && IsCoarse(error, m_options.m_nImageQuality, bBlocks) ? TVerdict::Coarse : TVerdict::True;
}

bool CImageOptimizer::CWork::IsLossy(unsigned nFlag) const
{
  constexpr int nLossless = 100;
  return nFlag == eCompressionFlagJPEG ||
         (nFlag == eCompressionFlagJPEG2000 && m_options.m_nImageQuality < nLossless);
}

// False, and nothing has changed, if it does not decode to what it should.
bool CImageOptimizer::CWork::ApplyBest(TVerdict& verdict)
{
  CObjectPtr value;
  CObjectPtr part;
  SaveState(value, part);
  if (m_best.m_space)
    m_image.SetColorSpace(m_best.m_space);
  m_image.SetBitsPerComponent(m_best.m_nBits);
  m_best.m_encoded.Apply(*m_object);
  // Samples of another form are others.
  verdict = m_best.m_encoded.m_nBits != 0 ? TVerdict::True : Verify(m_best);
  if (verdict == TVerdict::True || (verdict == TVerdict::Coarse && m_bCoarse))
    return true;
  if (verdict == TVerdict::Wrong)
    BSE::CTracer::Trace("E", "PDF Optimizer", "Encoded image differs from its samples.");
  else
    BSE::CTracer::Trace("D", "PDF Optimizer", "Encoded image is coarser than its quality says.");
  RestoreState(value, part);
  return false;
}

// An encoding that is refused does not compete again, unless it is a coarse picture and nothing else is left.
bool CImageOptimizer::CWork::FindBest(unsigned nSet)
{
  unsigned nCoarse = 0;
  for (;;)
  {
    m_best = {};
    m_nBest = m_bInput ? std::max<std::int64_t>(m_record.m_nSizeBefore - MeasureAddedSpace(), 0)
                       : std::numeric_limits<std::int64_t>::max();
    Race(nSet);
    const unsigned nFlag = m_best.m_encoded.m_nFlag;
    TVerdict verdict = TVerdict::Wrong;
    if (m_best.m_encoded.IsFilled())
    {
      if (ApplyBest(verdict))
      {
        m_record.m_nOutcome = eImageReplaced;
        m_record.m_nChanges |= IsLossy(nFlag) ? unsigned{eChangeCoding} : 0u;
        return true;
      }
      // Fine lines of strong colours suffer from chrominance of half the resolution.
      const bool bAgain = verdict == TVerdict::Coarse && nFlag == eCompressionFlagJPEG &&
                          m_best.m_samples.m_nComponents == 3 && !m_bFullChroma;
      m_bFullChroma = m_bFullChroma || bAgain;
      nCoarse |= verdict == TVerdict::Coarse && !bAgain ? nFlag : 0u;
      nSet &= bAgain ? nSet : ~nFlag;
    }
    else if (nCoarse != 0 && !m_bInput && !m_bCoarse)
    {
      nSet = nCoarse;
      m_bCoarse = true;
    }
    else
      return false;
    std::fill(std::begin(m_record.m_aTried), std::end(m_record.m_aTried), std::int64_t{-1});
  }
}

void CImageOptimizer::CWork::KeepInput()
{
  if (!m_bInput)
    BSE::CTracer::Trace("D", "PDF Optimizer", "No candidate image, adding input image as candidate.");
  m_record.m_nChanges = 0;
  // The samples have been deflated in every way that is known: nothing comes of trying once more.
  constexpr unsigned nBytes = eCompressionFlagRaw | eCompressionFlagFlate | eCompressionFlagLZW;
  const bool bDeflated = !m_bModified && (m_nCurrent & nBytes) != 0 &&
                         m_record.m_aTried[eCompressionFlate] >= 0 && m_options.m_bRecodeSamples &&
                         m_image.GetBitsPerComponent() != 1;
  RestoreState(m_inputValue, m_inputPart);
  if (!bDeflated)
    return;
  const CObjectPtr part(m_inputPart->Clone());
  static_cast<CStreamPart*>(part.Get())->SetEncodingFinal();
  m_object->SetStreamObject(part.Get());
}

CImageOptimizer::CImageOptimizer(CFile& input, const TOptimizerOptions& options, const CStandIns& standIns,
                                 CImageRecords& records, int nMajor, int nMinor, bool bDefaultSpaces)
    : m_input(input),
      m_options(options),
      m_standIns(standIns),
      m_records(records),
      m_nAllowed(GetAllowed(nMajor, nMinor)),
      m_pAccount(new DOC::CColorAccount(input.GetInput()->GetLength())),
      m_pCMS(DOC::CreateCMS("", "", *m_pAccount)),
      m_spaces(*m_pCMS),
      m_encoder(options),
      m_bDefaultSpaces(bDefaultSpaces)
{
}

CImageOptimizer::~CImageOptimizer() = default;

CObjectPtr CImageOptimizer::GetStandIn(const CObjectPtr& object) const
{
  return m_standIns.Get(m_input, object);
}

bool CImageOptimizer::Charge(std::int64_t nBytes)
{
  m_nRead += nBytes;
  return !BSE::IsOutOfProportion(m_nRead, BSE::g_nFreeImageSamples, BSE::g_nImageSamplesRatio,
                                 m_input.GetInput()->GetLength());
}

bool CImageOptimizer::IsChargeable(CImage& image)
{
  const std::int64_t nSize = image.GetRowBytes() * image.GetHeight();
  if (nSize > 0 && nSize <= BSE::g_nMaxImageSamples && Charge(nSize))
    return true;
  BSE::CTracer::Trace("I", "PDF Optimizer", "Image stays as it is: its samples are out of proportion.");
  return false;
}

TMaskFate CImageOptimizer::JudgeMask(const CObjectPtr& image, bool bMaskCopied)
{
  if (!(m_options.m_bReduceColorComplexity || m_options.m_bRecodeSamples) || m_bDefaultSpaces ||
      !image["Subtype"].IsName("Image"))
    return eMaskKept;
  const CObjectPtr soft = GetStandIn(image["SMask"]);
  const CObjectPtr mask = soft ? soft : GetStandIn(image["Mask"]);
  // Without a soft mask the other one would count.
  if (!mask.IsStream() || soft["Matte"] || (soft && image["Mask"]))
    return eMaskKept;
  if (!soft && !m_options.m_bReduceColorComplexity)
    return eMaskKept;
  const TMaskState nState = LookAtMask(mask, soft ? eRoleSoftMask : eRoleMask);
  if (nState == eMaskIsOpaque)
  {
    mask->Unload();
    return eMaskDropped;
  }
  if (nState != eMaskBecomesStencil)
    return eMaskKept;
  // A copy that another image has is a stencil already, unless it was made before the mask was looked at.
  const bool bMade = m_records.Find(mask.GetObjNumber())->m_bStencilMade;
  return bMade || !bMaskCopied ? eMaskMadeStencil : eMaskKept;
}

// Null for a mask that has to stay.
CImageRecord* CImageOptimizer::FindMask(const CObjectPtr& mask, TImageRole nRole)
{
  const int nNumber = mask.GetObjNumber();
  if (m_options.m_bReduceColorComplexity)
  {
    CImageRecord* pRecord = m_records.Find(nNumber);
    // What is also something else would change there as well.
    return pRecord && !pRecord->m_bKeepAsIs && pRecord->m_nRoles == nRole ? pRecord : nullptr;
  }
  if (nNumber > 0 && !m_otherMasks.Find(nNumber))
    m_otherMasks.SetAt(nNumber, BSE::CObjectPtr<CImageRecord>(new CImageRecord).Get());
  return nNumber > 0 ? m_otherMasks.Find(nNumber) : nullptr;
}

TMaskState CImageOptimizer::LookAtMask(const CObjectPtr& mask, TImageRole nRole)
{
  CImageRecord* pRecord = FindMask(mask, nRole);
  if (!pRecord)
    return eMaskUnknown;
  if (pRecord->m_nMaskState != eMaskUnknown)
    return pRecord->m_nMaskState;
  pRecord->m_nMaskState = eMaskStays;
  const BSE::CErrorSuppressor quiet(mask->OnGetErrorHandler());
  CImage image(mask, m_spaces);
  if (image.GetDecode() == eDecodeOther || !image.HasWholeSamples() || image.IsAmbiguous() ||
      !IsChargeable(image))
    return eMaskStays;
  if (nRole == eRoleSoftMask)
    pRecord->m_nMaskState = LookAtSoftMask(image);
  else
  {
    double aFirst[4] = {};
    double aSecond[4] = {};
    if (image.IsImageMask() && image.AnalyzeColors(aFirst, aSecond) == eOneColor && aFirst[0] == 0 &&
        !BSE::HasGap(image.GetStream()))
      pRecord->m_nMaskState = eMaskIsOpaque;
  }
  return pRecord->m_nMaskState;
}

TMaskState CImageOptimizer::LookAtSoftMask(CImage& mask)
{
  if (!m_options.m_bReduceColorComplexity)
    return mask.IsWhite() ? eMaskIsOpaque : eMaskStays;
  constexpr double dNear = 1e-6;
  double aFirst[4] = {};
  double aSecond[4] = {};
  const TColorAnalysis colors = mask.AnalyzeColors(aFirst, aSecond);
  if (!mask.GetStream() || BSE::HasGap(mask.GetStream()))
    return eMaskStays;
  if (colors == eOneColor)
    return aFirst[0] == 1 ? eMaskIsOpaque : eMaskStays;
  const auto isEnd = [](double d) { return d <= dNear || d >= 1 - dNear; };
  return colors == eTwoColors && isEnd(aFirst[0]) && isEnd(aSecond[0]) ? eMaskBecomesStencil : eMaskStays;
}

bool CImageOptimizer::IsStencilMade(const CObjectPtr& mask)
{
  CImageRecord* pRecord = m_records.Find(GetStandIn(mask).GetObjNumber());
  if (!pRecord || pRecord->m_bStencilMade)
    return pRecord != nullptr;
  pRecord->m_nMaskState = eMaskStays;
  return false;
}

void CImageOptimizer::Optimize(const CObjectPtr& source, const CObjectPtr& target)
{
  CImageRecord* pRecord = source ? m_records.Find(source.GetObjNumber()) : nullptr;
  if (!pRecord || pRecord->m_bKeepAsIs || !target["Subtype"].IsName("Image"))
    return;
  const BSE::CErrorSuppressor quiet(target->OnGetErrorHandler());
  if (pRecord->m_nMaskState == eMaskBecomesStencil)
    pRecord->m_bStencilMade = CImage(target, m_spaces).MakeStencil();
  CWork(*this, *pRecord, source, target).Run();
}

}  // namespace PDF
