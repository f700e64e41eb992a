#pragma once

#include "content/ContentResource.h"
#include "content/Matrix.h"
#include "pdf/Name.h"

#include <cstring>

namespace PDF
{

inline constexpr int g_nMaxColorComponents = 32;
inline constexpr int g_nMaxDashes = 16;

// A few numbers by value, of which only those in use are copied.
template <int nMax>
class CNumbers
{
public:
  CNumbers() = default;
  CNumbers(const CNumbers& other) { Assign(other.GetSpan()); }
  CNumbers& operator=(const CNumbers& other)
  {
    Assign(other.GetSpan());
    return *this;
  }

  // What is beyond the maximum is left out.
  void Assign(std::span<const double> numbers)
  {
    m_nCount = static_cast<int>(numbers.size() < nMax ? numbers.size() : nMax);
    if (m_nCount > 0)
      std::memmove(m_aNumbers, numbers.data(), static_cast<std::size_t>(m_nCount) * sizeof(double));
  }
  std::span<const double> GetSpan() const { return {m_aNumbers, static_cast<std::size_t>(m_nCount)}; }

private:
  int m_nCount = 0;
  double m_aNumbers[nMax];
};

enum TColorFamily
{
  eFamilyGray,
  eFamilyRGB,
  eFamilyCMYK,
  eFamilyPattern,
  eFamilyOther
};

// A colour space with a colour in it (ISO 32000-1, 8.6).
struct TColorState
{
  TColorFamily m_nFamily = eFamilyGray;
  CObjectPtr m_space;                            // null for those that are known by their names alone
  BSE::CObjectPtr<IContentColorSpace> m_pSpace;  // null where nobody makes them
  CNumbers<g_nMaxColorComponents> m_components;  // under a pattern without colours of its own
  CObjectPtr m_pattern;

  // Chooses the space with its initial colour.
  void SetSpace(TColorFamily nFamily, const CObjectPtr& space,
                const BSE::CObjectPtr<IContentColorSpace>& pSpace);

  // Components that a colour of the space has; -1 if that is not known.
  int GetComponentCount() const;
};

// Parameters of text (ISO 32000-1, 9.3), and what is known of the font.
struct TTextState
{
  double m_dCharSpacing = 0;
  double m_dWordSpacing = 0;
  double m_dScale = 1;    // horizontal, as a factor
  double m_dLeading = 0;  // what the next line adds to y: negative for lines that go down
  double m_dRise = 0;
  int m_nRenderMode = 0;
  CObjectPtr m_font;                      // its dictionary; null for the default font
  BSE::CObjectPtr<IContentFont> m_pFont;  // null where nobody makes fonts
  double m_dSize = 0;
  bool m_bComposite = false;
  bool m_bVertical = false;
  double m_dGlyphFactor = 0.001;
  double m_dSpaceSize = 0;     // width of the space at this size
  double m_dVerticalSize = 0;  // displacement of a glyph downwards

  void SetFont(const CObjectPtr& font, const BSE::CObjectPtr<IContentFont>& pFont, double dSize);
};

// What only the device and the transparency of a page ask for (ISO 32000-1, Table 58).
struct TDeviceState
{
  bool m_bStrokeOverprint = false;
  bool m_bFillOverprint = false;
  int m_nOverprintMode = 0;
  bool m_bStrokeAdjust = false;
  double m_dSmoothness = 0;
  CObjectPtr m_blackGeneration;  // BG2, or else BG
  CObjectPtr m_undercolor;       // UCR2, or else UCR
  CObjectPtr m_transfer;         // TR2, or else TR
  CObjectPtr m_halftone;
  CObjectPtr m_blendMode;  // null for Normal
  CObjectPtr m_softMask;   // null for none
  double m_dStrokeAlpha = 1;
  double m_dFillAlpha = 1;
  bool m_bAlphaIsShape = false;
  bool m_bTextKnockout = true;
};

// The graphics state (ISO 32000-1, 8.4), saved by value.
class CGraphicsState
{
public:
  TMatrix m_ctm;
  double m_dLineWidth = 1;
  int m_nLineCap = 0;
  int m_nLineJoin = 0;
  double m_dMiterLimit = 10;
  CNumbers<g_nMaxDashes> m_dashes;
  double m_dDashPhase = 0;
  double m_dFlatness = 0;
  CName m_intent = "RelativeColorimetric";
  TColorState m_stroke;
  TColorState m_fill;
  TTextState m_text;
  TMatrix m_textMatrix;
  TMatrix m_lineMatrix;
  int m_nTextObject = 0;  // positive inside a text object, and of another absolute value in each
  TDeviceState m_device;
};

}  // namespace PDF
