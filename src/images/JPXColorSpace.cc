#include "images/JPXColorSpace.h"

#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <span>

namespace PDF
{

namespace
{

CObjectPtr MakeName(const char* szName)
{
  return new CNameObject(CName(szName));
}

CObjectPtr MakeNumbers(std::span<const double> values)
{
  CObjectPtr array = new CArrayObject;
  for (const double dValue : values)
    array.Add(new CRealObject(dValue));
  return array;
}

// CIE L*a*b* with the white point D50, as the format has it.
CObjectPtr MakeLabSpace(std::span<const double> range)
{
  constexpr double whitePoint[] = {0.9642, 1, 0.8249};
  CObjectPtr values = new CDictionaryObject;
  values.AddEntry("WhitePoint", MakeNumbers(whitePoint));
  values.AddEntry("Range", MakeNumbers(range));
  CObjectPtr space = new CArrayObject;
  space.Add(MakeName("Lab"));
  space.Add(values);
  return space;
}

}  // namespace

CObjectPtr MakeJPXColorSpace(const BSE::CJPXParameters& jpx)
{
  CObjectPtr space;
  if (jpx.nColorSpace == BSE::eJPXGray)
    space = MakeName("DeviceGray");
  else if (jpx.nColorSpace == BSE::eJPXRGB)
    space = MakeName("DeviceRGB");
  else if (jpx.nColorSpace == BSE::eJPXCMYK)
    space = MakeName("DeviceCMYK");
  else if (jpx.nColorSpace == BSE::eJPXLab)
    space = MakeLabSpace(jpx.labRange);
  if (!space || jpx.Palette.IsEmpty())
    return space;
  CObjectPtr indexed = new CArrayObject;
  indexed.Add(MakeName("Indexed"));
  indexed.Add(space);
  indexed.Add(new CIntegerObject(jpx.Palette.GetSize() / jpx.nChannels - 1));
  indexed.Add(new CStringObject(CString(jpx.Palette.GetData(), jpx.Palette.GetSize())));
  return indexed;
}

}  // namespace PDF
