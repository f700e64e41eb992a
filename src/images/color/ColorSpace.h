#pragma once

#include "base/BasicString.h"
#include "images/color/CMS.h"
#include "images/color/ColorRange.h"

#include <span>

namespace DOC
{

class IColorSpace;

enum TColorSpaceType
{
  eDeviceGray = 0,
  eDeviceRGB = 1,
  eDeviceCMYK = 2,
  eCalGray = 3,
  eCalRGB = 4,
  eLab = 5,
  eICCBased = 6,
  eIndexed = 7,
  eYCC = 8,
  ePattern = 9,
  eSeparation = 10,
  eDeviceN = 11
};

// What rows are converted to: bytes of a pixel, one after the other. Lab has 0 to 100 for L* and -128 to 127
// for a* and b* in 0 to 255.
enum TTarget
{
  eToGray,
  eToRGB,
  eToCMYK,
  eToLab
};
int GetTargetComponents(TTarget target);

// Form of a pixel of RGB in a row.
enum TRowFormat
{
  eRowRGBX = 0,  // four bytes, the last one 255
  eRowRGB = 2
};

// What an indexed space has beyond others.
class IIndexedColorSpace
{
public:
  virtual const IColorSpace& GetBase() const = 0;

  // The highest index, 0 to 255.
  virtual int GetHighIndex() const = 0;

  // The colours of indices 0 to the highest, as bytes of the base.
  virtual std::span<const unsigned char> GetTable() const = 0;

protected:
  ~IIndexedColorSpace() = default;
};

// What spaces of colorants have beyond others.
class ITintColorSpace
{
public:
  // One for each component; "All" and "None" have their own meaning.
  virtual const char* GetColorant(int nIndex) const = 0;

  // True if nothing but "None" is in it: it leaves no marks, and is white in any target.
  virtual bool IsNone() const = 0;

protected:
  ~ITintColorSpace() = default;
};

// A colour space. Rows are bytes, one for each component of a pixel, 0 to 255 for the ends of its range;
// those of an indexed space are indices. Single colours are real numbers in the ranges. Conversions write
// nothing beyond their result; false means that there is none: the space has no colours of its own (a
// pattern), or the document has spent what its colours may cost. An operation keeps buffers, so one thread
// uses a space at a time. Rows longer than INT_MAX / 8 pixels are refused.
class IColorSpace : public virtual BSE::IObject
{
public:
  virtual TColorSpaceType GetType() const = 0;

  // The name of the family; never null.
  virtual const char* GetName() const = 0;
  virtual int GetComponentCount() const = 0;
  virtual TRange GetRange(int nComponent) const = 0;

  // Text that two spaces have in common if and only if they are the same; empty for one that is like no
  // other.
  virtual const char* GetKey() const = 0;

  // The space that colours go through, the base of an indexed space or pattern; null without one.
  virtual IColorSpace* GetAlternate() const = 0;

  // The colour after the space has been chosen (ISO 32000-1, 8.6.8), one value for each component.
  virtual void GetDefaultColor(std::span<double> color) const = 0;

  virtual bool IsGray() const = 0;
  virtual bool IsColor() const = 0;
  virtual const IIndexedColorSpace* GetIndexed() const { return nullptr; }
  virtual const ITintColorSpace* GetTint() const { return nullptr; }

  // Whether any of the colours that were converted so far had to be guessed: there is no sound tint transform
  // for them, and readers do not agree.
  virtual bool IsGuessed() const { return false; }

  // Bytes of one pixel to numbers.
  virtual void ToReal(std::span<const unsigned char> bytes, std::span<double> color) const = 0;

  virtual bool ConvertRow(TTarget target, std::span<const unsigned char> source,
                          std::span<unsigned char> result, int nCount) = 0;

  // RGB, CMYK and gray from 0 to 1, L* from 0 to 100 with a* and b* from -128 to 127. Colours go through
  // bytes, but for those that a formula converts. False as well if a span is too short.
  virtual bool ConvertColor(TTarget target, std::span<const double> color, std::span<double> result) = 0;

  // Whether there are conversions to that target. Makes all that they need, and reads it from the file, which
  // must not happen while rows of the same file are read: it is called before them.
  bool Prepare(TTarget target);

  bool RowToRGB(std::span<const unsigned char> source, std::span<unsigned char> target, int nCount,
                TRowFormat format);
  bool RowToCMYK(std::span<const unsigned char> source, std::span<unsigned char> target, int nCount)
  {
    return ConvertRow(eToCMYK, source, target, nCount);
  }
  bool RowToGray(std::span<const unsigned char> source, std::span<unsigned char> target, int nCount)
  {
    return ConvertRow(eToGray, source, target, nCount);
  }
  bool RowToLab(std::span<const unsigned char> source, std::span<unsigned char> target, int nCount)
  {
    return ConvertRow(eToLab, source, target, nCount);
  }
  bool ToRGB(std::span<const double> color, std::span<double> rgb)
  {
    return ConvertColor(eToRGB, color, rgb);
  }
  bool ToCMYK(std::span<const double> color, std::span<double> cmyk)
  {
    return ConvertColor(eToCMYK, color, cmyk);
  }
  bool ToGray(std::span<const double> color, std::span<double> gray)
  {
    return ConvertColor(eToGray, color, gray);
  }
};

// Base of all spaces: converts by the engine's transforms from its profile, each made when it is first needed
// and kept as long as the space lives.
class CColorSpace : public BSE::CObject, public IColorSpace
{
public:
  bool IsValid() const override { return true; }
  TRange GetRange(int) const override { return {}; }
  const char* GetKey() const override { return m_key.GetText(); }
  IColorSpace* GetAlternate() const override { return nullptr; }
  void GetDefaultColor(std::span<double> color) const override;
  bool IsGray() const override { return GetComponentCount() == 1; }
  bool IsColor() const override { return !IsGray(); }
  void ToReal(std::span<const unsigned char> bytes, std::span<double> color) const override;
  bool ConvertRow(TTarget target, std::span<const unsigned char> source, std::span<unsigned char> result,
                  int nCount) override;
  bool ConvertColor(TTarget target, std::span<const double> color, std::span<double> result) override;

  // Set by code that knows which space this one is the same as.
  void SetKey(const char* szKey) { m_key.Assign(szKey); }

protected:
  explicit CColorSpace(CCMS& cms) : m_pCMS(&cms) {}

  // Room has been checked.
  virtual bool OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult, int nCount);

  // The profile of the space; null for none. Borrowed, asked for once for each transform.
  virtual CColorProfile* OnGetProfile() { return nullptr; }
  virtual TIntent OnGetIntent() const { return eIntentOfProfile; }
  virtual TSampleForm OnGetSampleForm() const { return eBytes; }

  // Called once for each target that there is no transform for; reports a loss.
  virtual void OnNoTransform(TTarget target);

  // The transform to a device; null if there is none. Borrowed.
  CColorTransform* GetTransform(TTarget target);

  BSE::CObjectPtr<CCMS> m_pCMS;  // before what it made

private:
  static constexpr int g_nTargets = eToLab + 1;

  BSE::CStr8 m_key;
  BSE::CObjectPtr<CColorTransform> m_transforms[g_nTargets];
  bool m_bTried[g_nTargets] = {};
};

}  // namespace DOC
