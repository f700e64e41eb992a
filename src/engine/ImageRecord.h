#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "base/Object.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace PDF
{

// The numbers of TCompression that stand for one encoding.
inline constexpr int g_nTriedCompressions = 9;

// How an image is painted: by itself, or as the mask of others. Flags, since one object may be all of it.
enum TImageRole : unsigned
{
  eRolePainted = 1,
  eRoleMask = 2,     // the "Mask" stream of an image
  eRoleSoftMask = 4  // its "SMask"
};

// What is known of a mask after it has been looked at.
enum TMaskState
{
  eMaskUnknown,
  eMaskStays,
  eMaskBecomesStencil,  // a soft mask of black and white
  eMaskIsOpaque         // hides nothing, and can go
};

// The kinds of images that options tell apart.
enum TImageClass
{
  eClassUnknown,
  eClassBitonal,
  eClassContinuous,
  eClassIndexed
};

// Why an image has become what it is.
enum TImageOutcome
{
  eImageNotTried,  // nothing was asked for that concerns it
  eImageKeptAsIs,  // drawn where the analysis does not follow, so that it has to stay
  eImageNotRead,   // damaged, unusual, or out of all proportion
  eImageSmallest,  // nothing that was tried is shorter
  eImageReplaced
};

// What has been done to the samples of an image that was replaced. Flags.
enum TImageChange : unsigned
{
  eChangeResolution = 1,
  eChangeColors = 2,      // converted to another space
  eChangeSimplified = 4,  // to a form that has fewer colours, and the same picture
  eChangeCoding = 8       // by a lossy encoding
};

// What a save has found out about one image object of the input, and what it has made of it. Resolutions are
// in dots per inch, the lowest of all uses; the visible part is in samples, counted from the lower left, the
// union over all uses.
class CImageRecord : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  // Whether it is painted itself, and no more than a mask of others.
  bool IsPainted() const { return (m_nRoles & eRolePainted) != 0; }

  // What a save before this one has found out and made.
  void ForgetSave()
  {
    m_nMaskState = eMaskUnknown;
    m_bStencilMade = false;
    m_nClass = eClassUnknown;
    m_nOutcome = eImageNotTried;
    m_nChanges = 0;
    m_nSizeBefore = -1;
    std::fill(std::begin(m_aTried), std::end(m_aTried), std::int64_t{-1});
  }

  int m_nObjNumber = 0;
  unsigned m_nRoles = 0;
  int m_nPage = 0;  // of the first use, from 1
  int m_nWidth = 0;
  int m_nHeight = 0;
  int m_nLeft = 0;
  int m_nRight = 0;
  int m_nBottom = 0;
  int m_nTop = 0;
  double m_dResolutionX = 0;
  double m_dResolutionY = 0;

  // Painted in a place where the analysis does not follow it, or not only in such as it follows: nothing
  // about the image may change.
  bool m_bKeepAsIs = false;

  // What has been made of it, once it was copied. Bytes of encoded data; -1 for what has not been tried, by
  // the number of the compression.
  std::int64_t m_nSizeBefore = -1;
  std::int64_t m_aTried[g_nTriedCompressions] = {-1, -1, -1, -1, -1, -1, -1, -1, -1};
  TMaskState m_nMaskState = eMaskUnknown;
  bool m_bStencilMade = false;  // the copy is a stencil
  TImageClass m_nClass = eClassUnknown;
  TImageOutcome m_nOutcome = eImageNotTried;
  unsigned m_nChanges = 0;
};

// By object number of the input, in the order of the first use.
using CImageRecords = BSE::CValueKeyObjectMap<int, CImageRecord>;

}  // namespace PDF
