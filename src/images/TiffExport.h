#pragma once

#include "images/Image.h"
#include "images/TiffWriter.h"

namespace PDF
{

// What has become of an image that was written as a TIFF file. Flags.
enum TTiffOutcome : unsigned
{
  eTiffWhole = 0,
  eTiffNotReadable = 1,  // nothing was written that is a file: its form is not known, or it has no samples
  eTiffNotWritten = 2,   // the sink has failed, or the format has no room
  eTiffDamaged = 4,      // samples were missing, or their data is damaged
  eTiffOtherColors = 8,  // colours are not those of the image's space, which TIFF cannot say
  eTiffTooMuch = 16      // the limit was reached
};

// Writes the samples of an image as a TIFF file, without a change wherever TIFF has a word for them: gray,
// RGB, CMYK and tables of RGB, with the ICC profile of the space. Fewer than 8 bits of several components
// become 8, a table of other colours the colours themselves, L*a*b* and what a Decode array makes 8 bits.
// Inks and the like become the device colours of their alternate space; calibrated gray and RGB lose what
// calibrates them. Masks are not part of it. A picture that ends too early has fewer rows.
class CTiffExport
{
public:
  // All borrowed. The image is opened by this; reports of colours go to the context.
  CTiffExport(CImage& image, DOC::CColorAccount& account, BSE::IErrorContext* pErrorContext)
      : m_image(image), m_account(account), m_pErrorContext(pErrorContext)
  {
  }
  CTiffExport(const CTiffExport&) = delete;
  CTiffExport& operator=(const CTiffExport&) = delete;

  // Flags of TTiffOutcome. Takes what it reads from nMaxBytes of samples, which are then the rest.
  unsigned Write(BSE::IByteStream& sink, std::int64_t& nMaxBytes);

private:
  enum TProfileUse
  {
    eProfileFits,
    eProfileOfOthers,  // of samples that mean something else
    eProfileMissing    // or not to be read, or not for this number of components
  };

  bool Prepare();
  bool Describe();
  bool DescribeICC(int nComponents);
  TProfileUse ReadProfile(const DOC::IColorSpace& space);
  bool IsPalette(const DOC::IColorSpace& base);
  bool DescribeIndexed();
  bool ApplyDecode();
  bool ConvertToBase();
  bool ConvertTo(DOC::TTarget target);
  void Widen();
  void FillPalette(const DOC::IIndexedColorSpace& indexed);
  void SetDevice(int nComponents);
  void ReadLabWhite();
  unsigned CopyRows(BSE::IByteStream& sink, std::int64_t& nMaxBytes);

  CImage& m_image;
  DOC::CColorAccount& m_account;
  BSE::IErrorContext* m_pErrorContext;
  CSampleFormat m_format;  // of m_pSamples
  BSE::CObjectPtr<BSE::IByteStream> m_pSamples;
  TTiffForm m_form;
  bool m_bOtherColors = false;
};

}  // namespace PDF
