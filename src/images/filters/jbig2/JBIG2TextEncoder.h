#pragma once

#include "images/filters/jbig2/JBIG2SegmentWriter.h"
#include "images/filters/jbig2/JBIG2TextLayout.h"

#include <span>

namespace BSE
{

// Writes the symbols of a layout as a dictionary and their instances as a text region, in arithmetic coding
// (ITU-T T.88, 7.4.2 and 7.4.3), each in the form that makes it smallest.
class CJBIG2TextEncoder
{
public:
  // Borrows the layout, which has at least one symbol and one instance.
  explicit CJBIG2TextEncoder(const CJBIG2TextLayout& layout);

  void EncodeDictionary(CJBIG2SegmentData& data) const;
  void EncodeText(CJBIG2SegmentData& data);

private:
  // How a text region is coded.
  struct TForm
  {
    int m_nStripBits;
    int m_nRefinementTemplate;
  };

  void SortSymbols();
  void PutDictionary(int nTemplate, CJBIG2SegmentData& data) const;
  void FindRegion();
  const TJBIG2Component& GetComponent(const TJBIG2Instance& instance) const;
  void SortInstances(int nStripBits);

  // Without the refined bitmaps the data is only good for comparing sizes.
  void PutText(const TForm& form, bool bRefined, CJBIG2SegmentData& data);

  const CJBIG2TextLayout& m_layout;
  CBasicArray<int> m_order;    // of the symbols by height and width
  CBasicArray<int> m_numbers;  // of the symbols in that order
  CBasicArray<TJBIG2Instance> m_instances;
  TJBIG2Region m_region;
};

}  // namespace BSE
