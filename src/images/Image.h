#pragma once

#include "images/ImageCompression.h"
#include "images/SampleFormat.h"
#include "images/color/ColorSpaceFactory.h"
#include "pdf/Object.h"

namespace PDF
{

enum TColorAnalysis
{
  eOneColor = 0,
  eTwoColors = 1,
  eGrayColors = 2,  // more than two
  eManyColors = 3,  // in an indexed image more than two
  eUnknownColors = 4
};

// What a Decode array does.
enum TDecode
{
  eDecodeNone,      // absent, without effect, or without meaning for this data
  eDecodeInverted,  // the other way round in all components: samples have been turned
  eDecodeOther      // samples are as they are stored, and the array stays with them
};

// What a filter's name, full or short, says of the compression; eCompressionUnspecified for any other. nK is
// that of its parameters, with the caller's default.
TCompression GetFilterCompression(const CObjectPtr& name, std::int64_t nK);

// A light view of an image XObject or inline image (ISO 32000-1, 8.9): says what it is, hands out its samples
// and replaces them. Copies share the object.
//
// Transformations build a stream of filters over the samples and store it as the image's data, which has no
// filter then: nothing is read before that data is, and what is missing in it shows only there (BSE::HasGap).
// Whoever replaces a picture for good calls ReadSamples before. They return false, and leave the image as it
// is, where they are not possible; colour spaces are made ready before. That the data is not what the
// dictionary says (HasWholeSamples) is such a case, and so is an object of a file that is only read; where
// colours count, eDecodeOther. Masks and the colours in Mask and Matte are the caller's business.
class CImage
{
public:
  // Resources explain names of colour spaces and may be null. The factory is borrowed.
  CImage(const CObjectPtr& image, CColorSpaceFactory& spaces, const CObjectPtr& resources = {});
  CImage(const CImage& other);
  CImage& operator=(const CImage& other);
  ~CImage();

  const CObjectPtr& GetObject() const { return m_object; }

  // For JPEG 2000 the data counts, as it is decoded: 8 bits.
  int GetWidth();
  int GetHeight();
  int GetBitsPerComponent();
  bool IsImageMask() const;

  // That of the data for JPEG 2000 data without one in the dictionary; gray for an image without any, and for
  // stencil masks. Null for one that is not valid, which has been reported. Borrowed.
  DOC::IColorSpace* GetColorSpace();
  // eCompressionUnspecified for what has no number.
  TCompression GetCompressionType() const;

  // One bit per component, and one component.
  bool IsBitonal();

  // As the colour space says; false below two bits.
  bool IsGray();
  bool IsColor();

  // 0 where size or depth are out of bounds.
  std::int64_t GetRowBytes();

  // The form of the samples of GetStream. Where the decoder of a picture knows better than the dictionary it
  // is the decoder's, with colours of a device if there are others than the image's colour space has. False,
  // which has been traced, if it is not known or out of bounds.
  bool GetDataFormat(CSampleFormat& format);

  // The samples, made once and kept; null if they cannot be had.
  BSE::IByteStream* GetStream();
  TDecode GetDecode();

  // Whether the samples, with the dictionary, are all that the picture is: those of other data cannot take
  // its place. Not so where the two differ in size or components, where the colour space is not valid, and
  // for a mask inside the data.
  bool HasWholeSamples();

  // Whether readers differ in what they show of the data, so that no other can take its place: JPEG 2000 data
  // with more or fewer channels than colours, with a profile and no colour space beside it, with a Decode
  // array (which counts by some), or with a colour key for the colours of its palette; JPEG data whose
  // components may be RGB or YCbCr.
  bool IsAmbiguous();

  // Reads the samples, for what encodes or compares them more than once. They are in memory then, unless they
  // are larger than BSE::g_nMaxRecodedSize. False, with the image as it was, if any are missing or damaged.
  bool ReadSamples();

  double GetResolutionX() const { return m_dResolutionX; }
  double GetResolutionY() const { return m_dResolutionY; }
  void SetResolutionX(double d) { m_dResolutionX = d; }
  void SetResolutionY(double d) { m_dResolutionY = d; }

  // Replaces the samples by others of the same form, those of GetStream above all. The filter, null for none,
  // is that which they are to be encoded with. Removes Decode but where it is eDecodeOther; with an inverted
  // one the colours that Mask makes transparent are turned as well.
  void SetData(BSE::IByteStream* pData, const char* szFilter = nullptr, const CObjectPtr& parameters = {});
  void SetWidth(int nWidth);
  void SetHeight(int nHeight);
  void SetBitsPerComponent(int nBits);
  void SetColorSpace(const CObjectPtr& space);

  // To device colours of 8 bits. A stencil mask can only become RGB, and is not a mask then.
  bool ConvertToGray() { return ConvertTo(DOC::eToGray); }
  bool ConvertToRGB() { return ConvertTo(DOC::eToRGB); }
  bool ConvertToCMYK() { return ConvertTo(DOC::eToCMYK); }

  // Gives an indexed image a table of device colours; samples stay. True for others and for those that have
  // it, to which nothing happens.
  bool ConvertPalette(DOC::TTarget target);

  // An indexed image to its base. True for others.
  bool ConvertToBaseColorSpace();

  // To black and white (TBitonalMode). Nothing happens to images of one bit, but that a table of black and
  // white becomes gray.
  bool ReduceToBitonal(int nMode);

  // Makes a picture smaller. False as well for indexed ones and DeviceN, and if the size stays. The mode is
  // for those of one bit.
  bool Resample(int nMode, double dFactorX, double dFactorY);

  // A picture of one bit to gray, of blocks of n by n; not a stencil mask.
  bool ReduceToGrayByFactor(int n);

  // Cuts out columns from left to before right and rows from bottom to before top, counted from the lower
  // edge. Where that is empty one pixel is left. Only for 8 bits; needs memory for what is cut out.
  bool Clip(int nLeft, int nTop, int nBottom, int nRight);
  bool Invert();

  // What the colours allow without a change of the picture: one pixel for a single one, one bit for black and
  // white, gray for grays. True if anything has changed.
  bool ReduceColorComplexity();

  // Makes a soft mask, cut at half, a stencil mask that paints where it is white. The data is to be encoded
  // with Flate.
  bool MakeStencil();

  // Whether this is an indexed picture of one bit whose table has black and white alone, in either order.
  bool HasBitonalTable();

  // Converts the colour that the samples have been blended with, in Matte of the soft mask, as the samples
  // are about to be. False, with nothing changed, if that is not possible. True without one.
  bool ConvertMatte(DOC::TTarget target);

  // A stream object with the same entries and data that is in no file's table, and so never written: to try
  // something with. The data is read by one of the two at a time. Null for an object of no file that is
  // written.
  CObjectPtr MakeCopy() const;

  // Takes the entries and data of such a copy. False unless its data has been encoded (CObject::Encode).
  bool TakeCopy(const CObjectPtr& copy);

  // Reads the samples and finds out what colours there are: the first one, and the second for more than one,
  // as numbers of the colour space, that of a table's base for an indexed image. The spans have room for
  // four.
  TColorAnalysis AnalyzeColors(std::span<double> first, std::span<double> second);

  // Whether device gray is white everywhere, at any depth. Reads up to the first sample that is not. False
  // where samples are missing.
  bool IsWhite();

private:
  // What the decoder of a picture found in its data.
  struct TFound
  {
    int m_nWidth = 0;  // 0: nothing
    int m_nHeight = 0;
    int m_nComponents = 0;
    int m_nBits = 8;
    bool m_bJPX = false;
    bool m_bAmbiguous = false;
    bool m_bTable = false;  // the palette is in the data
  };

  const TFound* FindJPX();
  void OpenData();
  void LookAtDecoder(BSE::IByteStream* pData);
  bool HasDecode(const CObjectPtr& decode, bool bInverted);
  bool FitsData();

  // Gives up what is known of the data.
  void Forget();

  // What keeps samples from being the picture; null for nothing.
  const char* FindObstacle();

  // The samples from the first one on and their form; null, traced, if they cannot be transformed. Samples
  // that are transformed without regard to what they mean may have eDecodeOther.
  BSE::IByteStream* Begin(CSampleFormat& format, bool bColors = true);

  // The same for an object that may be changed.
  BSE::IByteStream* BeginChange(CSampleFormat& format, bool bColors = true);
  void Store(BSE::IByteStream* pData, int nBits, const CObjectPtr& space);
  void RemoveEntry(const char* szKey, const char* szShort);
  void SetNumber(const char* szKey, const char* szShort, int nValue);
  void TurnColorKey();
  bool MakeOnePixel(std::span<const double> color);

  bool ConvertTo(DOC::TTarget target);
  TColorAnalysis AnalyzeBits(BSE::IByteStream& stream, std::span<double> first, std::span<double> second);
  bool KeepRows(BSE::IByteStream& source, const CSampleFormat& format, BSE::IByteStream& result, int nLeft,
                int nTop, int nBottom, int nRight) const;

  CObjectPtr m_object;
  CObjectPtr m_resources;
  CColorSpaceFactory* m_pSpaces;
  BSE::CObjectPtr<DOC::IColorSpace> m_pColorSpace;
  BSE::CObjectPtr<BSE::IByteStream> m_pStream;
  CObjectPtr m_jpxSpace;
  TFound m_found;
  bool m_bOpened = false;
  double m_dResolutionX = 0;
  double m_dResolutionY = 0;
};

}  // namespace PDF
