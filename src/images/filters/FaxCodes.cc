#include "images/filters/FaxCodes.h"

#include <array>
#include <cstddef>

namespace BSE
{

namespace
{

// The codes as the tables of ITU-T T.4 print them, in the order of the runs that they stand for.

// Table 2, white and black.
constexpr std::array<const char*, 64> g_whiteTerminating{
    "00110101", "000111",   "0111",     "1000",     "1011",     "1100",     "1110",     "1111",
    "10011",    "10100",    "00111",    "01000",    "001000",   "000011",   "110100",   "110101",
    "101010",   "101011",   "0100111",  "0001100",  "0001000",  "0010111",  "0000011",  "0000100",
    "0101000",  "0101011",  "0010011",  "0100100",  "0011000",  "00000010", "00000011", "00011010",
    "00011011", "00010010", "00010011", "00010100", "00010101", "00010110", "00010111", "00101000",
    "00101001", "00101010", "00101011", "00101100", "00101101", "00000100", "00000101", "00001010",
    "00001011", "01010010", "01010011", "01010100", "01010101", "00100100", "00100101", "01011000",
    "01011001", "01011010", "01011011", "01001010", "01001011", "00110010", "00110011", "00110100"};

constexpr std::array<const char*, 64> g_blackTerminating{
    "0000110111",   "010",          "11",           "10",           "011",          "0011",
    "0010",         "00011",        "000101",       "000100",       "0000100",      "0000101",
    "0000111",      "00000100",     "00000111",     "000011000",    "0000010111",   "0000011000",
    "0000001000",   "00001100111",  "00001101000",  "00001101100",  "00000110111",  "00000101000",
    "00000010111",  "00000011000",  "000011001010", "000011001011", "000011001100", "000011001101",
    "000001101000", "000001101001", "000001101010", "000001101011", "000011010010", "000011010011",
    "000011010100", "000011010101", "000011010110", "000011010111", "000001101100", "000001101101",
    "000011011010", "000011011011", "000001010100", "000001010101", "000001010110", "000001010111",
    "000001100100", "000001100101", "000001010010", "000001010011", "000000100100", "000000110111",
    "000000111000", "000000100111", "000000101000", "000001011000", "000001011001", "000000101011",
    "000000101100", "000001011010", "000001100110", "000001100111"};

// Table 3a, white and black: 64 to 1728.
constexpr std::array<const char*, 27> g_whiteMakeUp{
    "11011",     "10010",     "010111",    "0110111",   "00110110",  "00110111",  "01100100",
    "01100101",  "01101000",  "01100111",  "011001100", "011001101", "011010010", "011010011",
    "011010100", "011010101", "011010110", "011010111", "011011000", "011011001", "011011010",
    "011011011", "010011000", "010011001", "010011010", "011000",    "010011011"};

constexpr std::array<const char*, 27> g_blackMakeUp{
    "0000001111",    "000011001000",  "000011001001",  "000001011011",  "000000110011",  "000000110100",
    "000000110101",  "0000001101100", "0000001101101", "0000001001010", "0000001001011", "0000001001100",
    "0000001001101", "0000001110010", "0000001110011", "0000001110100", "0000001110101", "0000001110110",
    "0000001110111", "0000001010010", "0000001010011", "0000001010100", "0000001010101", "0000001011010",
    "0000001011011", "0000001100100", "0000001100101"};

// Table 3b, for both colours: 1792 to 2560.
constexpr std::array<const char*, 13> g_longMakeUp{
    "00000001000",  "00000001100",  "00000001101",  "000000010010", "000000010011",
    "000000010100", "000000010101", "000000010110", "000000010111", "000000011100",
    "000000011101", "000000011110", "000000011111"};

// T.4, table 4, in the order of the modes: pass, horizontal, vertical from three to the left to three to the
// right.
constexpr std::array<const char*, 9> g_modes{"0001", "001", "0000010", "000010", "010",
                                             "1",    "011", "000011",  "0000011"};

// What introduces a mode beyond the standard ones, three bits with its number after it.
constexpr const char* g_szRunExtension = "000000001";
constexpr const char* g_szModeExtension = "0000001";

constexpr TFaxCode ParseCode(const char* szBits)
{
  TFaxCode code{0, 0};
  for (; *szBits != 0; ++szBits, ++code.m_nLength)
    code.m_nBits = static_cast<std::uint16_t>(code.m_nBits << 1 | (*szBits == '1' ? 1 : 0));
  return code;
}

template <std::size_t n>
constexpr std::array<TFaxCode, n> ParseCodes(const std::array<const char*, n>& texts)
{
  std::array<TFaxCode, n> codes{};
  for (std::size_t i = 0; i < n; ++i)
    codes[i] = ParseCode(texts[i]);
  return codes;
}

// Entries for every window of nBits bits.
template <int nBits>
struct TTable
{
  constexpr void Add(const TFaxCode& code, int nValue)
  {
    const std::size_t nStep = std::size_t{1} << (nBits - code.m_nLength);
    for (std::size_t i = code.m_nBits * nStep; i < (code.m_nBits + 1U) * nStep; ++i)
      m_entries[i] = static_cast<TFaxEntry>(nValue << 4 | code.m_nLength);
  }

  template <class A>
  constexpr void AddAll(const A& texts, int nFirst, int nStep)
  {
    for (const char* szBits : texts)
    {
      Add(ParseCode(szBits), nFirst);
      nFirst += nStep;
    }
  }

  std::array<TFaxEntry, std::size_t{1} << nBits> m_entries{};
};

template <class T, class M>
constexpr TTable<g_nFaxRunBits> MakeRunTable(const T& terminating, const M& makeUp)
{
  TTable<g_nFaxRunBits> table;
  table.AddAll(terminating, 0, 1);
  table.AddAll(makeUp, g_nFaxFirstMakeUp, g_nFaxFirstMakeUp);
  table.AddAll(g_longMakeUp, g_nFaxFirstMakeUp * static_cast<int>(makeUp.size() + 1), g_nFaxFirstMakeUp);
  table.Add(ParseCode(g_szRunExtension), g_nFaxExtension);
  return table;
}

constexpr TTable<g_nFaxModeBits> MakeModeTable()
{
  TTable<g_nFaxModeBits> table;
  table.AddAll(g_modes, 0, 1);
  table.Add(ParseCode(g_szModeExtension), g_nFaxExtension);
  return table;
}

constexpr std::array<TTable<g_nFaxRunBits>, eFaxColorCount> g_runTables{
    MakeRunTable(g_whiteTerminating, g_whiteMakeUp), MakeRunTable(g_blackTerminating, g_blackMakeUp)};
constexpr TTable<g_nFaxModeBits> g_modeTable = MakeModeTable();

constexpr std::array<std::array<TFaxCode, 64>, eFaxColorCount> g_terminating{ParseCodes(g_whiteTerminating),
                                                                             ParseCodes(g_blackTerminating)};
constexpr std::array<std::array<TFaxCode, 27>, eFaxColorCount> g_makeUp{ParseCodes(g_whiteMakeUp),
                                                                        ParseCodes(g_blackMakeUp)};
constexpr std::array<TFaxCode, 13> g_longMakeUpCodes = ParseCodes(g_longMakeUp);
constexpr std::array<TFaxCode, 9> g_modeCodes = ParseCodes(g_modes);

}  // namespace

const TFaxCode& GetFaxTerminating(TFaxColor color, int nRun)
{
  return g_terminating[color][static_cast<std::size_t>(nRun)];
}

const TFaxCode& GetFaxMakeUp(TFaxColor color, int nRun)
{
  const auto nIndex = static_cast<std::size_t>(nRun / g_nFaxFirstMakeUp - 1);
  const auto& codes = g_makeUp[color];
  return nIndex < codes.size() ? codes[nIndex] : g_longMakeUpCodes[nIndex - codes.size()];
}

const TFaxEntry* GetFaxRunTable(TFaxColor color)
{
  return g_runTables[color].m_entries.data();
}

const TFaxEntry* GetFaxModeTable()
{
  return g_modeTable.m_entries.data();
}

const TFaxCode& GetFaxMode(int nMode)
{
  return g_modeCodes[static_cast<std::size_t>(nMode)];
}

}  // namespace BSE
