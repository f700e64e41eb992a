#include "pdf/Token.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace PDF
{

namespace
{

struct TKeyword
{
  std::string_view m_text;
  int m_nToken;
};

constexpr std::array g_operators = {
    std::string_view("'"),   std::string_view("\""),  std::string_view("B"),   std::string_view("B*"),
    std::string_view("BDC"), std::string_view("BI"),  std::string_view("BMC"), std::string_view("BT"),
    std::string_view("BX"),  std::string_view("CS"),  std::string_view("Do"),  std::string_view("DP"),
    std::string_view("EI"),  std::string_view("EMC"), std::string_view("ET"),  std::string_view("EX"),
    std::string_view("F"),   std::string_view("G"),   std::string_view("I"),   std::string_view("ID"),
    std::string_view("J"),   std::string_view("K"),   std::string_view("M"),   std::string_view("MP"),
    std::string_view("Q"),   std::string_view("RG"),  std::string_view("S"),   std::string_view("SC"),
    std::string_view("SCN"), std::string_view("T*"),  std::string_view("TD"),  std::string_view("TJ"),
    std::string_view("TL"),  std::string_view("Tc"),  std::string_view("Td"),  std::string_view("Tf"),
    std::string_view("Tj"),  std::string_view("Tm"),  std::string_view("Tr"),  std::string_view("Ts"),
    std::string_view("Tw"),  std::string_view("Tz"),  std::string_view("W*"),  std::string_view("W"),
    std::string_view("b"),   std::string_view("b*"),  std::string_view("c"),   std::string_view("cm"),
    std::string_view("cs"),  std::string_view("d"),   std::string_view("d0"),  std::string_view("d1"),
    std::string_view("f"),   std::string_view("f*"),  std::string_view("g"),   std::string_view("gs"),
    std::string_view("h"),   std::string_view("i"),   std::string_view("j"),   std::string_view("k"),
    std::string_view("l"),   std::string_view("m"),   std::string_view("n"),   std::string_view("q"),
    std::string_view("re"),  std::string_view("rg"),  std::string_view("ri"),  std::string_view("rl"),
    std::string_view("s"),   std::string_view("sc"),  std::string_view("scn"), std::string_view("sh"),
    std::string_view("v"),   std::string_view("w"),   std::string_view("y")};
static_assert(g_operators.size() == eTokenLastOperator - eTokenFirstOperator + 1);

constexpr TKeyword g_fileKeywords[] = {
    {"null", eTokenNull},       {"false", eTokenFalse},         {"true", eTokenTrue},
    {"stream", eTokenStream},   {"endstream", eTokenEndStream}, {"R", eTokenR},
    {"obj", eTokenObj},         {"endobj", eTokenEndObj},       {"xref", eTokenXRef},
    {"trailer", eTokenTrailer}, {"startxref", eTokenStartXRef},
};

constexpr bool IsLess(const TKeyword& a, const TKeyword& b)
{
  return a.m_text < b.m_text;
}

constexpr auto MakeKeywords()
{
  std::array<TKeyword, g_operators.size() + std::size(g_fileKeywords)> keywords{};
  std::size_t n = 0;
  for (const TKeyword& keyword : g_fileKeywords)
    keywords[n++] = keyword;
  for (std::size_t i = 0; i < g_operators.size(); ++i)
    keywords[n++] = {g_operators[i], eTokenFirstOperator + static_cast<int>(i)};
  std::sort(keywords.begin(), keywords.end(), IsLess);
  return keywords;
}

constexpr auto g_keywords = MakeKeywords();
constexpr int g_nLongestKeyword = 9;

}  // namespace

TToken FindKeyword(const char* pText, int nLength)
{
  if (nLength < 1 || nLength > g_nLongestKeyword)
    return eTokenKeyword;
  const TKeyword wanted = {std::string_view(pText, static_cast<std::size_t>(nLength)), 0};
  const auto it = std::lower_bound(g_keywords.begin(), g_keywords.end(), wanted, IsLess);
  if (it == g_keywords.end() || it->m_text != wanted.m_text)
    return eTokenKeyword;
  return static_cast<TToken>(it->m_nToken);
}

const char* GetOperatorText(int nToken)
{
  if (nToken < eTokenFirstOperator || nToken > eTokenLastOperator)
    return nullptr;
  return g_operators[static_cast<std::size_t>(nToken - eTokenFirstOperator)].data();
}

}  // namespace PDF
