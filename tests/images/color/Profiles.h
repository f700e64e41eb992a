#pragma once

#include <string>

namespace ColorTest
{

// ICC profiles as files hold them: sRGB by curves and a matrix, a gray one, and one of inks with tables in
// each of the types that tables can have.
std::string MakeRGBProfile();
std::string MakeGrayProfile();
std::string MakeInkProfile(double dVersion, bool bBytes);

}  // namespace ColorTest
