#pragma once

#include "pdf/Object.h"

namespace PDF
{

// What the filters read of an image's dictionary (ISO 32000-1, Table 89), with the short keys of inline
// images. Any of it may be absent.
class CImageDictionary
{
public:
  // May be null. Borrowed.
  explicit CImageDictionary(CObject* pImage) : m_pImage(pImage) {}

  // A number, clamped to the type; 0 for an absent one.
  int GetWidth() const { return GetNumber("Width", "W"); }
  int GetHeight() const { return GetNumber("Height", "H"); }

  // 1 for a stencil mask.
  int GetBitsPerComponent() const;

  CObjectPtr GetColorSpace() const { return GetEither("ColorSpace", "CS"); }

  CObjectPtr GetDecode() const { return GetEither("Decode", "D"); }
  bool IsStencil() const;

  // Components of the colour space: 1 for a stencil mask, 0 where that is absent or not known.
  int GetComponentCount() const;

private:
  CObjectPtr GetEither(const char* szKey, const char* szShort) const;
  int GetNumber(const char* szKey, const char* szShort) const;

  CObject* m_pImage;
};

// Whether the object may be changed: those of a file that is only read stay as they are.
bool CanChange(CObject* pObject);

// Components of a colour space as it is written, a name or an array (ISO 32000-1, 8.6); 0 for one that is not
// known or a name that the resources explain.
int GetColorCount(const CObjectPtr& space);

// Whether it is an Indexed space, and an array.
bool IsIndexedSpace(const CObjectPtr& space);
bool IsLabSpace(const CObjectPtr& space);

// The value of a parameter that is true or false; the default for another.
bool GetFilterFlag(const CObjectPtr& parameters, const char* szKey, bool bDefault);

// A whole number of an encoder's parameters, which is taken away; parameters without any entry become null.
int TakeParameter(CObjectPtr& parameters, const char* szKey, int nDefault);

// Quality of an encoder's parameters in this way, 1 to 100.
int TakeQuality(CObjectPtr& parameters, int nDefault);

}  // namespace PDF
