#pragma once

#include <cstdint>

namespace BSE
{

// What the parts of one decoder or encoder share: the work and memory that are left for the whole image, all
// its segments together, and the reason why the segment in hand could not be finished. One unit of work is
// about one decision of the arithmetic decoder.
class CJBIG2Run
{
public:
  // With limits in proportion to the size of the data, as Limits.h has them.
  explicit CJBIG2Run(std::int64_t nInputSize);

  // Without limits, for data that is our own.
  CJBIG2Run() = default;

  // False, and the reason is set, once more has been spent than there was. The amount is one that a product
  // of the sizes of an image can reach, and not negative.
  bool Spend(std::int64_t nWork)
  {
    m_nWorkLeft -= nWork;
    return m_nWorkLeft >= 0 || FailExhausted();
  }
  std::int64_t GetWorkLeft() const { return m_nWorkLeft; }
  bool IsExhausted() const { return m_nWorkLeft < 0; }

  // Memory of what lives as long as it wants to, given back when it dies.
  bool TakeMemory(std::int64_t nBytes);
  void ReturnMemory(std::int64_t nBytes) { m_nMemoryLeft += nBytes; }

  // Keeps the first reason, a literal; always false.
  bool Fail(const char* szReason);

  // Null if nothing has failed.
  const char* GetFailure() const { return m_szFailure; }
  void ClearFailure() { m_szFailure = nullptr; }

private:
  bool FailExhausted();

  std::int64_t m_nWorkLeft = std::int64_t{1} << 62;
  std::int64_t m_nMemoryLeft = std::int64_t{1} << 62;
  const char* m_szFailure = nullptr;
};

// Memory of a run that something holds until it dies.
class CJBIG2HeldMemory
{
public:
  CJBIG2HeldMemory() = default;
  ~CJBIG2HeldMemory()
  {
    if (m_pRun)
      m_pRun->ReturnMemory(m_nBytes);
  }
  CJBIG2HeldMemory(const CJBIG2HeldMemory&) = delete;
  CJBIG2HeldMemory& operator=(const CJBIG2HeldMemory&) = delete;

  // Takes more of one run, which outlives what holds the memory.
  bool Take(CJBIG2Run& run, std::int64_t nBytes)
  {
    if (!run.TakeMemory(nBytes))
      return false;
    m_pRun = &run;
    m_nBytes += nBytes;
    return true;
  }

private:
  CJBIG2Run* m_pRun = nullptr;
  std::int64_t m_nBytes = 0;
};

}  // namespace BSE
