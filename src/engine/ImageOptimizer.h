#pragma once

#include "engine/ImageEncoder.h"
#include "engine/ImageRecord.h"
#include "engine/StandIns.h"
#include "images/Image.h"

namespace PDF
{

// What becomes of the masks of an image in its copy.
enum TMaskFate
{
  eMaskKept,
  eMaskDropped,     // the "Mask" or "SMask" entry goes
  eMaskMadeStencil  // "SMask" becomes "Mask"
};

// The pass that makes images smaller: whether one stays as it is, whether its masks and colours can be
// simpler, to which resolution it is brought, and which encoding it gets. Everything that the options allow
// is tried, and the smallest result is kept; the image of the input is one of those that compete, so that
// nothing grows unless the options force it.
//
// Each image is handled once, in its copy. Those without a record, and those that have to stay, are not
// touched, and neither are damaged ones, since readers differ in what they show of them. A soft mask that
// hides nothing can go from any image.
class CImageOptimizer
{
public:
  // All borrowed; the version is that of the output, which decides what it may use. Records and stand-ins are
  // those of the input. With bDefaultSpaces the names of device spaces may stand for others, and no image
  // gets another space.
  CImageOptimizer(CFile& input, const TOptimizerOptions& options, const CStandIns& standIns,
                  CImageRecords& records, int nMajor, int nMinor, bool bDefaultSpaces);
  CImageOptimizer(const CImageOptimizer&) = delete;
  CImageOptimizer& operator=(const CImageOptimizer&) = delete;
  ~CImageOptimizer();

  // Before an image of the input is copied: looks at its mask, which other images may have brought into the
  // copy already. The dictionary of the image; the fate of the entry "SMask", or of "Mask" without one.
  TMaskFate JudgeMask(const CObjectPtr& image, bool bMaskCopied);

  // After the mask of an image was copied that is to become a stencil mask: whether it has. If not it stays
  // what it was.
  bool IsStencilMade(const CObjectPtr& mask);

  // After it was copied, with its masks.
  void Optimize(const CObjectPtr& source, const CObjectPtr& target);

private:
  class CWork;

  CObjectPtr GetStandIn(const CObjectPtr& object) const;
  CImageRecord* FindMask(const CObjectPtr& mask, TImageRole nRole);
  TMaskState LookAtMask(const CObjectPtr& mask, TImageRole nRole);
  TMaskState LookAtSoftMask(CImage& mask);

  // False where reading the samples would be out of proportion to the file.
  bool Charge(std::int64_t nBytes);
  bool IsChargeable(CImage& image);

  CFile& m_input;
  const TOptimizerOptions& m_options;
  const CStandIns& m_standIns;
  CImageRecords& m_records;
  CImageRecords m_otherMasks;  // that content has not been read for
  unsigned m_nAllowed;         // TCompressionFlag that the version knows
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  CColorSpaceFactory m_spaces;
  CImageEncoder m_encoder;
  bool m_bDefaultSpaces;
  std::int64_t m_nRead = 0;  // bytes of samples
};

}  // namespace PDF
