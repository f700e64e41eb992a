#pragma once

#include "pdf/Object.h"

#include <span>

namespace PDF
{

// What content needs of the fonts and colour spaces that it names, as interfaces: parsing itself does without
// what implements them. Colour spaces are in ContentColorSpace.h.

// No such code.
inline constexpr int g_nNoCID = 65535;

// A font (ISO 32000-1, 9.6 to 9.7). Widths are in thousandths, or in the font's glyph space where that is
// another one.
class IContentFont : public virtual BSE::IObject
{
public:
  virtual bool IsComposite() const = 0;

  // Whether it is written downwards.
  virtual bool IsVertical() const = 0;

  // From widths to text space: 0.001, or the scale of a Type 3 font.
  virtual double GetGlyphSpaceFactor() const = 0;

  // The width of the space, 0 without one; and the displacement downwards where no glyph has its own.
  virtual double GetSpaceWidth() const = 0;
  virtual double GetDefaultVerticalWidth() const = 0;

  // Of a simple font: 256 widths.
  virtual std::span<const double> GetWidths() const = 0;

  // Of a composite font: the CIDs of codes of one byte, of two, and of three and four, which few fonts have;
  // g_nNoCID where there is none.
  virtual int CodeToCID(unsigned nCode) const = 0;
  virtual int Code2ToCID(unsigned nCode) const = 0;
  virtual int LongCodeToCID(unsigned, int) const { return g_nNoCID; }
  virtual double GetWidth(int nCID) const = 0;
  virtual double GetVerticalWidth(int nCID) const = 0;
};

// A colour space (ISO 32000-1, 8.6).
class IContentColorSpace : public virtual BSE::IObject
{
public:
  virtual bool IsPattern() const = 0;

  // At most g_nMaxColorComponents; those of the base for a pattern.
  virtual int GetComponentCount() const = 0;

  // The colour after the space has been chosen.
  virtual void GetInitialColor(std::span<double> components) const = 0;
};

// Makes them, and may keep what it has made: each is asked for once for each name and stream.
class IContentResources
{
public:
  virtual ~IContentResources() = default;

  // Null if the dictionary is not a font that text can be shown in.
  virtual BSE::CObjectPtr<IContentFont> CreateFont(const CObjectPtr& font) = 0;

  // What text is shown in instead; may be null.
  virtual BSE::CObjectPtr<IContentFont> GetDefaultFont() = 0;

  // Null if it is not a colour space.
  virtual BSE::CObjectPtr<IContentColorSpace> CreateColorSpace(const CObjectPtr& space) = 0;
};

}  // namespace PDF
