#pragma once

#include "images/color/DefaultCMS.h"

namespace DOC
{

// Bytes of a component with a gamma, from linear values: rounded to the nearest byte after the gamma.
class CToneEncoder
{
public:
  explicit CToneEncoder(double dGamma);
  unsigned char Encode(double dLinear) const;

private:
  static constexpr int g_nGuesses = 1024;

  double m_edges[257];  // the linear value from which on a byte is the nearest; infinite for 256
  unsigned char m_guesses[g_nGuesses];
};

// Conversion of the built-in engine by way of XYZ under the white of the target.
class CDefaultTransform : public CColorTransform
{
public:
  // A null table: CMYK by formula.
  CDefaultTransform(const CDefaultProfile& source, const CDefaultProfile& target, TSampleForm sourceForm,
                    const CNeugebauer* pTable);

  // False if the target's matrix has no inverse.
  bool Prepare();

  void Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount) override;

private:
  static constexpr int g_nBlock = 256;
  static constexpr int g_nGrid = 17;

  void ApplyBlock(const unsigned char* pSource, unsigned char* pTarget, int nCount);

  // The block between the two: XYZ under the white of the target, or RGB of the device where CMYK is on a
  // side.
  void DecodeLight(const unsigned char* pSource, double* pLight, int nCount) const;
  void DecodeInks(const unsigned char* pSource, unsigned char* pRGB, int nCount) const;
  void EncodeLight(const double* pLight, unsigned char* pTarget, int nCount) const;
  void EncodeInks(const unsigned char* pRGB, unsigned char* pTarget, int nCount);
  void BuildGrid();

  CDefaultProfile m_source;
  CDefaultProfile m_target;
  TSampleForm m_sourceForm;
  CNeugebauer m_table;
  bool m_bTable;
  CMatrix3 m_toXYZ;    // linear components of the source, or its XYZ, to XYZ under the target's white
  CMatrix3 m_fromXYZ;  // to linear components of the target
  double m_linear[3][256];
  CToneEncoder m_encoders[3];
  BSE::CObjectPtr<CDefaultTransform> m_pFirst;   // to RGB of the device, where the target is CMYK
  BSE::CObjectPtr<CDefaultTransform> m_pSecond;  // from RGB of the device, where the source is CMYK
  BSE::CBasicArray<float> m_grid;                // inks for RGB, filled when first needed
};

}  // namespace DOC
