#pragma once

#include "base/ObjectPtr.h"
#include "images/color/ColorSpace.h"

#include <cstdint>

namespace PDF
{

// Form of the samples of an image: rows from the top, each on whole bytes, components of a pixel one after
// the other, high bits first.
struct CSampleFormat
{
  BSE::CObjectPtr<DOC::IColorSpace> pColorSpace;  // null: one component
  int nBitsPerComponent = 8;
  int nWidth = 0;
  int nHeight = 0;

  int GetComponents() const { return pColorSpace ? pColorSpace->GetComponentCount() : 1; }

  // Samples of a row, and its bytes.
  std::int64_t GetRowSamples() const { return std::int64_t{nWidth} * GetComponents(); }
  std::int64_t GetRowSize() const { return (GetRowSamples() * nBitsPerComponent + 7) / 8; }

  // Whether filters can read it: at least one pixel, 1 to 8 or 16 bits, and no more than one row and one
  // image may have (BSE::g_nMaxImageRow, BSE::g_nMaxImagePixels).
  bool IsUsable() const;
};

}  // namespace PDF
