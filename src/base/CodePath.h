#pragma once

namespace BSE
{

// Which code does the work where the processor has instructions for it. The results are equal.
enum class TCodePath
{
  Best,     // the processor's instructions where it has them, asked at run time
  Portable  // plain C++
};

}  // namespace BSE
