#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2TextCodes.h"

#include <cstdint>

namespace BSE
{

// Which corner of a symbol a place in a text region means.
enum TJBIG2Corner
{
  eJBIG2BottomLeft,
  eJBIG2TopLeft,
  eJBIG2BottomRight,
  eJBIG2TopRight
};

// How the symbols of a text region are laid out.
struct TJBIG2TextForm
{
  bool IsBottom() const { return m_corner == eJBIG2BottomLeft || m_corner == eJBIG2BottomRight; }
  bool IsRight() const { return m_corner == eJBIG2BottomRight || m_corner == eJBIG2TopRight; }

  bool m_bRefined = false;     // symbols may be refined
  bool m_bTransposed = false;  // strips go downwards
  int m_nStripBits = 0;        // strips are that power of two of pixels high
  TJBIG2Corner m_corner = eJBIG2TopLeft;
  TJBIG2Operator m_operator = eJBIG2Or;
  int m_nStep = 0;  // between symbols, besides what is coded
  std::int64_t m_nInstances = 0;
};

using CJBIG2Symbols = CObjectArray<CJBIG2Bitmap>;

// Decodes text regions (ITU-T T.88, 6.4): symbols that are placed side by side in strips.
class CJBIG2TextDecoder
{
public:
  // Borrows all of it.
  CJBIG2TextDecoder(CJBIG2Run& run, const TJBIG2TextForm& form, const CJBIG2Symbols& symbols,
                    IJBIG2TextCodes& codes)
      : m_run(run), m_form(form), m_symbols(symbols), m_codes(codes)
  {
  }

  // Draws into a bitmap. False, with the reason in the run, if not all symbols could be drawn.
  bool Decode(CJBIG2Bitmap& bitmap);

private:
  bool DecodeStrip(CJBIG2Bitmap& bitmap);
  bool DecodeInstance(CJBIG2Bitmap& bitmap);

  // The next symbol, refined if it is; null on failure.
  CJBIG2BitmapPtr DecodeSymbol();
  void Draw(CJBIG2Bitmap& bitmap, const CJBIG2Bitmap& symbol, std::int64_t nAcross);

  // Moves a place on; false if that leads further away than any symbol can be.
  bool Move(std::int64_t& nPlace, std::int64_t nStep);

  CJBIG2Run& m_run;
  const TJBIG2TextForm& m_form;
  const CJBIG2Symbols& m_symbols;
  IJBIG2TextCodes& m_codes;
  std::int64_t m_nDone = 0;
  std::int64_t m_nStrip = 0;  // where the strip is, across the direction of the text
  std::int64_t m_nFirst = 0;  // where it begins, along the text
  std::int64_t m_nAlong = 0;  // where the next symbol is
};

}  // namespace BSE
