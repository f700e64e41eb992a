// The C++ side of an installed library: wide text is char16_t.
#include <brevex/brevex.h>

#include <string>

int main(int argc, char** argv)
{
  BrevexInitialize();
  const std::u16string sVersion = BrevexGetProductVersionW();
  BrevexUnInitialize();
  const std::string sExpected = argc == 2 ? argv[1] : "";
  return sVersion == std::u16string(sExpected.begin(), sExpected.end()) ? 0 : 1;
}
