// Compilation of CCalculator, in one pass. An opening bracket leaves an entry that jumps over the block, and
// the closing one fills in where to. "if" and "ifelse" come after their blocks, and turn those entries into
// jumps that depend on a condition; a block that no operator takes is jumped over, as it would be left on the
// stack. Closed blocks wait in a list, and only one that ends right before the operator, at the same depth,
// is its own.

#include "base/Checked.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "images/color/Calculator.h"
#include "images/color/CalculatorOperators.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace PDF
{

namespace
{

// "copy" and "roll" may move the whole stack.
constexpr int g_nStackWork = 64;

bool IsSpace(unsigned char c)
{
  return c == 0 || c == 9 || c == 10 || c == 12 || c == 13 || c == 32;
}

bool IsNumberStart(unsigned char c)
{
  return (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool IsLetter(unsigned char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

int FindCalculatorOperator(std::span<const unsigned char> name)
{
  const TCalculatorRow* pEnd = g_calculatorTable + eOperatorCount;
  const auto compare = [&name](const char* szName)
  {
    const std::size_t nLength = std::strlen(szName);
    const int nOrder = std::memcmp(szName, name.data(), std::min(nLength, name.size()));
    return nOrder != 0 ? nOrder : nLength < name.size() ? -1 : nLength > name.size() ? 1 : 0;
  };
  const TCalculatorRow* pRow = std::partition_point(
      g_calculatorTable, pEnd, [&](const TCalculatorRow& row) { return compare(row.m_szName) < 0; });
  return pRow != pEnd && compare(pRow->m_szName) == 0 ? static_cast<int>(pRow - g_calculatorTable) : -1;
}

class CCalculatorCompiler
{
public:
  CCalculatorCompiler(CCalculator& calculator, std::span<const unsigned char> text)
      : m_calculator(calculator), m_text(text)
  {
  }

  bool Compile()
  {
    SkipSpace();
    if (IsAtEnd() || m_text[m_nPos++] != '{')
      return Fail("Error token");
    for (SkipSpace(); !IsAtEnd(); SkipSpace())
    {
      const unsigned char c = m_text[m_nPos];
      if (c == '}' && m_open.IsEmpty())
        return true;
      const bool bDone = c == '{'           ? OpenBlock()
                         : c == '}'         ? CloseBlock()
                         : IsNumberStart(c) ? AddNumber()
                         : IsLetter(c)      ? AddName()
                                            : Fail("Error token");
      if (!bDone)
        return false;
    }
    return Fail("Error token");
  }

private:
  using TEntry = CCalculator::TEntry;

  bool IsAtEnd() const { return m_nPos >= m_text.size(); }
  int GetPlace() const { return m_calculator.m_program.GetSize(); }

  static bool Fail(const char* szMessage)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PS Calculator", "%s", szMessage);
    return false;
  }

  void SkipSpace()
  {
    while (!IsAtEnd() && (IsSpace(m_text[m_nPos]) || m_text[m_nPos] == '%'))
    {
      if (m_text[m_nPos++] != '%')
        continue;
      while (!IsAtEnd() && m_text[m_nPos] != 10 && m_text[m_nPos] != 13)
        ++m_nPos;
    }
  }

  // What reaches to the next space, comment or bracket.
  std::span<const unsigned char> TakeToken()
  {
    const std::size_t nStart = m_nPos;
    while (!IsAtEnd() && !IsSpace(m_text[m_nPos]) && !std::strchr("{}%", m_text[m_nPos]))
      ++m_nPos;
    return m_text.subspan(nStart, m_nPos - nStart);
  }

  void Add(const TEntry& entry)
  {
    m_calculator.m_program.Add(entry);
    ++m_calculator.m_nWork;
  }

  bool OpenBlock()
  {
    if (m_open.GetSize() >= BSE::g_nMaxNesting)
      return Fail("Error token");
    ++m_nPos;
    m_open.Add(GetPlace());
    Add({CCalculator::eBlockEntry, 0, 0});
    return true;
  }

  bool CloseBlock()
  {
    ++m_nPos;
    const int nLast = m_open.GetSize() - 1;
    const int nStart = m_open[nLast];
    m_open.Truncate(nLast);
    m_calculator.m_program[nStart].m_nValue = GetPlace();
    m_blocks.Add({nStart, GetPlace()});
    return true;
  }

  bool AddNumber()
  {
    const std::span<const unsigned char> token = TakeToken();
    const char* pText = reinterpret_cast<const char*>(token.data());
    const char* pEnd = pText + token.size();
    if (*pText == '+')
      ++pText;
    int nValue = 0;
    const auto [pStop, error] = std::from_chars(pText, pEnd, nValue);
    if (error == std::errc() && pStop == pEnd)
    {
      Add({CCalculator::eIntegerEntry, nValue, static_cast<double>(nValue)});
      return true;
    }
    double dValue = 0;
    const auto [pRealStop, realError] = std::from_chars(pText, pEnd, dValue);
    if (pRealStop != pEnd || (realError != std::errc() && realError != std::errc::result_out_of_range))
      return Fail("Error token");
    if (realError != std::errc())
      dValue = 0;
    Add({CCalculator::eRealEntry, 0, dValue});
    return true;
  }

  bool AddName()
  {
    const int nOperator = FindCalculatorOperator(TakeToken());
    switch (nOperator)
    {
    case -1:
      return Fail("Unknown operator.");
    case eOpIf:
      return CloseIf();
    case eOpIfelse:
      return CloseIfElse();
    case eOpTrue:
    case eOpFalse:
      Add({CCalculator::eBooleanEntry, nOperator == eOpTrue ? 1 : 0, nOperator == eOpTrue ? 1.0 : 0.0});
      return true;
    default:
      Add({CCalculator::eOperatorEntry, nOperator, 0});
      if (nOperator == eOpCopy || nOperator == eOpRoll)
        m_calculator.m_nWork += g_nStackWork;
      else
        m_calculator.m_nWork += 4;
      return true;
    }
  }

  // The block that ends here becomes the body of a condition.
  bool CloseIf()
  {
    const int nBlock = TakeBlock(GetPlace());
    if (nBlock < 0)
      return Fail("Error token");
    m_calculator.m_program[nBlock].m_nKind = CCalculator::eJumpEntry;
    return true;
  }

  // The second block keeps its jump, which ends the first one; the first one is left over the jump.
  bool CloseIfElse()
  {
    const int nSecond = TakeBlock(GetPlace());
    const int nFirst = nSecond < 0 ? -1 : TakeBlock(nSecond);
    if (nFirst < 0)
      return Fail("Error token");
    TEntry& first = m_calculator.m_program[nFirst];
    first.m_nKind = CCalculator::eJumpEntry;
    first.m_nValue = nSecond + 1;
    return true;
  }

  int TakeBlock(int nEnd)
  {
    const int nLast = m_blocks.GetSize() - 1;
    if (nLast < 0 || m_blocks[nLast].m_nEnd != nEnd || !IsOwnBlock(m_blocks[nLast].m_nStart))
      return -1;
    const int nStart = m_blocks[nLast].m_nStart;
    m_blocks.Truncate(nLast);
    return nStart;
  }

  // A block that began before the innermost open one encloses it, and cannot have ended.
  bool IsOwnBlock(int nStart) const { return m_open.IsEmpty() || nStart > m_open[m_open.GetSize() - 1]; }

  struct TBlock
  {
    int m_nStart;
    int m_nEnd;
  };

  CCalculator& m_calculator;
  std::span<const unsigned char> m_text;
  std::size_t m_nPos = 0;
  BSE::CBasicArray<int> m_open;       // entries of the blocks that are open
  BSE::CBasicArray<TBlock> m_blocks;  // closed ones, those that no condition has taken
};

bool CCalculator::Compile(std::span<const unsigned char> text)
{
  return CCalculatorCompiler(*this, text).Compile();
}

}  // namespace PDF
