#include "content/Operator.h"

#include <array>

namespace PDF
{

namespace
{

constexpr TOperatorRow g_rows[] = {
    {eClassTextShow, -1},      {eClassTextShow, -1},       // ' "
    {eClassPaint, 0},          {eClassPaint, 0},           // B B*
    {eClassMarkedContent, -1}, {eClassInlineImage, 0},     // BDC BI
    {eClassMarkedContent, -1}, {eClassTextObject, 0},      // BMC BT
    {eClassCompatibility, 0},  {eClassColor, -1},          // BX CS
    {eClassXObject, -1},       {eClassMarkedContent, -1},  // Do DP
    {eClassInlineImage, 0},    {eClassMarkedContent, 0},   // EI EMC
    {eClassTextObject, 0},     {eClassCompatibility, 0},   // ET EX
    {eClassPaint, 0},          {eClassColor, 1},           // F G
    {eClassGeneral, 0},        {eClassInlineImage, 0},     // I ID
    {eClassGeneral, 1},        {eClassColor, 4},           // J K
    {eClassGeneral, 1},        {eClassMarkedContent, -1},  // M MP
    {eClassSpecial, 0},        {eClassColor, 3},           // Q RG
    {eClassPaint, 0},          {eClassColor, -1},          // S SC
    {eClassColor, -1},         {eClassTextPosition, 0},    // SCN T*
    {eClassTextPosition, 2},   {eClassTextShow, -1},       // TD TJ
    {eClassTextState, 1},      {eClassTextState, 1},       // TL Tc
    {eClassTextPosition, 2},   {eClassTextState, -1},      // Td Tf
    {eClassTextShow, -1},      {eClassTextPosition, 6},    // Tj Tm
    {eClassTextState, 1},      {eClassTextState, 1},       // Tr Ts
    {eClassTextState, 1},      {eClassTextState, 1},       // Tw Tz
    {eClassClip, 0},           {eClassClip, 0},            // W* W
    {eClassPaint, 0},          {eClassPaint, 0},           // b b*
    {eClassPath, 6},           {eClassSpecial, 6},         // c cm
    {eClassColor, -1},         {eClassGeneral, -1},        // cs d
    {eClassType3, 2},          {eClassType3, 6},           // d0 d1
    {eClassPaint, 0},          {eClassPaint, 0},           // f f*
    {eClassColor, 1},          {eClassGeneral, -1},        // g gs
    {eClassPath, 0},           {eClassGeneral, 1},         // h i
    {eClassGeneral, 1},        {eClassColor, 4},           // j k
    {eClassPath, 2},           {eClassPath, 2},            // l m
    {eClassPaint, 0},          {eClassSpecial, 0},         // n q
    {eClassPath, 4},           {eClassColor, 3},           // re rg
    {eClassGeneral, -1},       {eClassGeneral, 0},         // ri rl
    {eClassPaint, 0},          {eClassColor, -1},          // s sc
    {eClassColor, -1},         {eClassShading, -1},        // scn sh
    {eClassPath, 4},           {eClassGeneral, 1},         // v w
    {eClassPath, 4},                                       // y
};
static_assert(std::size(g_rows) == std::size_t{eOpEnd} - std::size_t{eTokenFirstOperator});

// In the order of the tokens; GetOperatorText has them for a running program only.
constexpr const char* g_texts[] = {
    "'",  "\"", "B",  "B*", "BDC", "BI", "BMC", "BT", "BX", "CS", "Do",  "DP", "EI", "EMC", "ET",
    "EX", "F",  "G",  "I",  "ID",  "J",  "K",   "M",  "MP", "Q",  "RG",  "S",  "SC", "SCN", "T*",
    "TD", "TJ", "TL", "Tc", "Td",  "Tf", "Tj",  "Tm", "Tr", "Ts", "Tw",  "Tz", "W*", "W",   "b",
    "b*", "c",  "cm", "cs", "d",   "d0", "d1",  "f",  "f*", "g",  "gs",  "h",  "i",  "j",   "k",
    "l",  "m",  "n",  "q",  "re",  "rg", "ri",  "rl", "s",  "sc", "scn", "sh", "v",  "w",   "y"};
static_assert(std::size(g_texts) == std::size(g_rows));

struct TSlot
{
  std::uint32_t m_nPacked = 0;
  int m_nOperator = eTokenKeyword;
};

// The factor makes the hash perfect for these texts: found by trying.
constexpr std::uint32_t Hash(std::uint32_t nPacked)
{
  return (nPacked * 0x1edb0e3bU) >> 24;
}

constexpr std::uint32_t Pack(const char* sz)
{
  std::uint32_t nPacked = 0;
  for (int i = 0; sz[i] != '\0'; ++i)
    nPacked |= static_cast<std::uint32_t>(sz[i]) << (8 * i);
  return nPacked;
}

constexpr auto MakeSlots()
{
  std::array<TSlot, 256> slots{};
  for (std::size_t i = 0; i < std::size(g_texts); ++i)
    slots[Hash(Pack(g_texts[i]))] = {Pack(g_texts[i]), eTokenFirstOperator + static_cast<int>(i)};
  return slots;
}

constexpr auto g_slots = MakeSlots();

constexpr bool IsPerfect()
{
  for (std::size_t i = 0; i < std::size(g_texts); ++i)
    if (g_slots[Hash(Pack(g_texts[i]))].m_nOperator != eTokenFirstOperator + static_cast<int>(i))
      return false;
  return true;
}
static_assert(IsPerfect());

}  // namespace

const TOperatorRow& GetOperatorRow(int nOperator)
{
  return g_rows[nOperator - eTokenFirstOperator];
}

int FindOperator(std::uint32_t nPacked)
{
  const TSlot& slot = g_slots[Hash(nPacked)];
  return slot.m_nPacked == nPacked ? slot.m_nOperator : eTokenKeyword;
}

}  // namespace PDF
