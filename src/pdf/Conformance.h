#pragma once

namespace PDF
{

// A PDF version with a PDF/A claim in 16 bits: major and minor version as nibbles of the high byte, PDF/A
// part and level in the low byte, so that 0x1401 is PDF/A-1b. 0 claims nothing.
class CConformance
{
public:
  CConformance() = default;
  explicit CConformance(unsigned nCode) : m_nCode(nCode) {}

  unsigned GetCode() const { return m_nCode; }
  bool IsNone() const { return m_nCode == 0; }
  int GetMajor() const { return static_cast<int>(m_nCode >> 12 & 0xF); }
  int GetMinor() const { return static_cast<int>(m_nCode >> 8 & 0xF); }

  // True for the known archival codes alone.
  bool IsArchival() const { return GetPart() != 0; }

  // 1 to 3, 0 without an archival claim.
  int GetPart() const;

  // 1 is b, 2 is u, 3 is a; 0 without an archival claim.
  int GetLevel() const;

  // Archival files are checked strictly: deviations that do no harm are reported as warnings.
  bool IsStrict() const { return IsArchival(); }

  // "PDF 1.7" or "PDF/A-2b"; empty for an unknown code.
  const char* GetText() const;

private:
  unsigned m_nCode = 0;
};

}  // namespace PDF
