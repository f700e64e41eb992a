#pragma once

#include "engine/Compression.h"
#include "engine/ImageRecord.h"
#include "pdf/Object.h"

namespace PDF
{

// What a save has made of one image.
class CImageReport : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  int m_nObjNumber = 0;
  int m_nPage = 0;  // of the first use, from 1; 0 for unknown
  unsigned m_nRoles = 0;
  TImageClass m_nClass = eClassUnknown;
  int m_aWidth[2] = {};  // before and after, here and below
  int m_aHeight[2] = {};
  double m_dResolutionX = 0;  // 0 for unknown
  double m_dResolutionY = 0;
  TCompression m_aCodec[2] = {eCompressionUnspecified, eCompressionUnspecified};
  std::int64_t m_aSize[2] = {-1, -1};
  unsigned m_nChanges = 0;
  TImageOutcome m_nOutcome = eImageNotTried;
  std::int64_t m_aTried[g_nTriedCompressions] = {};
};

// Of all images of a save, in the order in which they were copied.
using CImageReports = BSE::CObjectArray<CImageReport>;

// The last filter of an image, which tells what its data is; eCompressionUnspecified for one without a
// number.
TCompression GetCodec(const CObjectPtr& image);

// For a stream of the input that is about to be worked on in its copy, and again when that is done. The
// record may be null.
void BeginReport(const CObjectPtr& source, CImageReport& report);
void EndReport(const CObjectPtr& target, const CImageRecord* pRecord, CImageReport& report);

}  // namespace PDF
