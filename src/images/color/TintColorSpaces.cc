// The function of such a space may be a program, which is far too slow for each pixel. One colorant has 256
// amounts, so all of them are converted once for each target. Several colorants get a memo of the colours met
// last, and what is not in it is collected for blocks of pixels and converted together. The memo and the work
// of the function are paid for from the account of the document.

#include "images/color/TintColorSpaces.h"

#include "base/Hash.h"
#include "images/color/StatusCodes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

// Names of process colours, and the inks that they are full of, for those that are inks.
constexpr struct
{
  const char* m_szName;
  int m_nInk;
} g_processNames[] = {{"Cyan", 0}, {"Magenta", 1}, {"Yellow", 2}, {"Black", 3},
                      {"Red", -1}, {"Green", -1},  {"Blue", -1},  {"Gray", -1}};

constexpr int g_nBlack = 3;

int FindInk(const char* szName)
{
  for (const auto& process : g_processNames)
    if (KeyEquals(szName, process.m_szName) && process.m_nInk >= 0)
      return process.m_nInk;
  return g_nBlack;
}

}  // namespace

void CTintColorSpace::GetDefaultColor(std::span<double> color) const
{
  std::fill(color.begin(), color.end(), 1.0);
}

const char* CTintColorSpace::GetColorant(int nIndex) const
{
  return nIndex >= 0 && nIndex < GetComponentCount() ? m_colorants[static_cast<std::size_t>(nIndex)].GetText()
                                                     : "";
}

void CTintColorSpace::AddColorant(const CObjectPtr& name)
{
  m_colorants.Add(name.IsName() ? CName(name.GetNameValue()) : CName());
}

bool CTintColorSpace::Prepare()
{
  m_bNone = std::all_of(m_colorants.GetSpan().begin(), m_colorants.GetSpan().end(),
                        [](const CName& name) { return name == "None"; });
  m_inputs.RemoveAll();
  for (int i = 0; i < GetComponentCount(); ++i)
    m_inputs.Add({0, 1});
  for (int i = 0; i < m_pAlternate->GetComponentCount(); ++i)
    m_outputs.Add(m_pAlternate->GetRange(i));
  if (m_pFunction && (m_pFunction->GetInputCount() != m_inputs.GetSize() ||
                      m_pFunction->GetOutputCount() < m_outputs.GetSize()))
    m_pFunction.Reset();
  // More outputs than the alternate space has components have no meaning.
  if (m_pFunction && m_pFunction->GetOutputCount() > m_outputs.GetSize())
    m_pFunction.Reset();
  return static_cast<bool>(m_pFunction);
}

bool CTintColorSpace::GetKeyParts(const char*& szAlternate, int& nFunction) const
{
  szAlternate = m_pAlternate->GetKey();
  nFunction = m_object[3].GetObjNumber();
  return *szAlternate && nFunction > 0;
}

bool CTintColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                   int nCount)
{
  const auto nBytes =
      static_cast<std::size_t>(nCount) * static_cast<std::size_t>(DOC::GetTargetComponents(target));
  if (m_bNone)
  {
    std::fill_n(pResult, nBytes, static_cast<unsigned char>(target == DOC::eToCMYK ? 0 : 255));
    for (std::size_t i = 0; i < nBytes && target == DOC::eToLab; ++i)
      pResult[i] = i % 3 == 0 ? 255 : 128;
    return true;
  }
  if (GetComponentCount() == 1)
    return ConvertByTable(target, pSource, pResult, nCount);
  return ConvertWithMemo(target, pSource, pResult, nCount);
}

// Each amount of the one colorant once.
bool CTintColorSpace::ConvertByTable(DOC::TTarget target, const unsigned char* pSource,
                                     unsigned char* pResult, int nCount)
{
  const auto nResults = static_cast<std::size_t>(DOC::GetTargetComponents(target));
  if (m_converted[target].IsEmpty())
  {
    unsigned char amounts[256];
    for (int i = 0; i < 256; ++i)
      amounts[i] = static_cast<unsigned char>(i);
    BSE::CBasicArray<unsigned char> converted;
    converted.SetSize(static_cast<int>(256 * nResults));
    if (!ConvertPixels(target, amounts, converted.GetData(), 256))
      return false;
    m_converted[target] = std::move(converted);
  }
  const unsigned char* pColors = m_converted[target].GetData();
  for (; nCount > 0; --nCount, pResult += nResults)
    std::memcpy(pResult, pColors + *pSource++ * nResults, nResults);
  return true;
}

bool CTintColorSpace::ConvertWithMemo(DOC::TTarget target, const unsigned char* pSource,
                                      unsigned char* pResult, int nCount)
{
  // A table does not pay for small pieces.
  constexpr int nFew = 16;
  const int nComponents = GetComponentCount();
  const int nResults = DOC::GetTargetComponents(target);
  // Targets with as many components would be taken for each other: Lab and RGB.
  const bool bMemo =
      nCount > nFew && target != DOC::eToLab &&
      (m_memo.IsStarted(nResults) || m_pCMS->GetAccount().SpendMemory(CRowMemo::GetMemory(nComponents)));
  if (bMemo && !m_memo.IsStarted(nResults))
    m_memo.Start(nComponents, nResults);
  int pixels[g_nBlock];
  unsigned char missing[g_nBlock * BSE::g_nMaxFunctionValues];
  unsigned char converted[g_nBlock * 4];
  for (int nDone = 0; nDone < nCount; nDone += g_nBlock)
  {
    const int nPixels = std::min(nCount - nDone, g_nBlock);
    int nMissing = 0;
    for (int i = 0; i < nPixels; ++i)
    {
      const unsigned char* pKey = pSource + i * nComponents;
      const unsigned char* pKnown = bMemo ? m_memo.Find(pKey) : nullptr;
      if (pKnown)
        std::memcpy(pResult + i * nResults, pKnown, static_cast<std::size_t>(nResults));
      else
      {
        std::memcpy(missing + nMissing * nComponents, pKey, static_cast<std::size_t>(nComponents));
        pixels[nMissing++] = i;
      }
    }
    if (!ConvertPixels(target, missing, converted, nMissing))
      return false;
    for (int i = 0; i < nMissing; ++i)
    {
      std::memcpy(pResult + pixels[i] * nResults, converted + i * nResults,
                  static_cast<std::size_t>(nResults));
      if (bMemo)
        m_memo.Store(missing + i * nComponents, converted + i * nResults);
    }
    pSource += nPixels * nComponents;
    pResult += nPixels * nResults;
  }
  return true;
}

bool CTintColorSpace::ConvertPixels(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                    int nCount)
{
  if (!m_pFunction)
    return ConvertByNames(target, pSource, pResult, nCount);
  const int nBytes = nCount * m_outputs.GetSize();
  if (m_buffer.GetSize() < nBytes)
    m_buffer.SetSize(nBytes);
  const auto nSource = static_cast<std::size_t>(nCount) * static_cast<std::size_t>(GetComponentCount());
  const std::int64_t nFailures = m_pCMS->GetAccount().GetFailures();
  const bool bEvaluated = m_pFunction->EvaluateBytes({pSource, nSource}, m_inputs.GetSpan(),
                                                     m_buffer.GetSpan(), m_outputs.GetSpan(), nCount);
  m_bGuessed = m_bGuessed || m_pCMS->GetAccount().GetFailures() != nFailures;
  return bEvaluated && ConvertBy(*m_pAlternate, target, m_buffer.GetData(), pResult, nCount);
}

bool CTintColorSpace::ConvertByNames(DOC::TTarget target, const unsigned char* pSource,
                                     unsigned char* pResult, int nCount)
{
  if (!m_bReported)
    ReportLoss(m_object, g_nInvalidColorSpace);
  m_bReported = m_bGuessed = true;
  if (m_buffer.GetSize() < 4 * nCount)
    m_buffer.SetSize(4 * nCount);
  std::fill_n(m_buffer.GetData(), 4 * nCount, static_cast<unsigned char>(0));
  for (int nPixel = 0; nPixel < nCount; ++nPixel)
    for (int i = 0; i < GetComponentCount(); ++i)
    {
      unsigned char& nInk = m_buffer.GetData()[4 * nPixel + FindInk(GetColorant(i))];
      nInk = static_cast<unsigned char>(std::min(255, nInk + *pSource++));
    }
  return ConvertBy(*m_pInks, target, m_buffer.GetData(), pResult, nCount);
}

CSeparationColorSpace::CSeparationColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& inks,
                                             DOC::IColorSpace& alternate, CFunction* pFunction)
    : CTintColorSpace(object, cms, inks, alternate, pFunction)
{
  AddColorant(object[1]);
  const char* szAlternate = nullptr;
  int nFunction = 0;
  if (Prepare() && GetKeyParts(szAlternate, nFunction))
    FormatKey("S_%s_%s_%d", GetColorant(0), szAlternate, nFunction);
}

CDeviceNColorSpace::CDeviceNColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& inks,
                                       DOC::IColorSpace& alternate, CFunction* pFunction)
    : CTintColorSpace(object, cms, inks, alternate, pFunction)
{
  const CObjectPtr names = object[1];
  const int nNames = std::min(names.GetSize(), BSE::g_nMaxFunctionValues);
  for (int i = 0; i < nNames; ++i)
    AddColorant(names[i]);
  if (Prepare())
    MakeKey();
}

void CDeviceNColorSpace::MakeKey()
{
  const char* szAlternate = nullptr;
  int nFunction = 0;
  if (!GetKeyParts(szAlternate, nFunction))
    return;
  BSE::CHashSHA256 hash;
  for (int i = 0; i < GetComponentCount(); ++i)
  {
    const char* szName = GetColorant(i);
    hash.Update({reinterpret_cast<const unsigned char*>(szName), std::strlen(szName) + 1});
  }
  unsigned char digest[BSE::CHashSHA256::g_nDigestSize];
  hash.Final(digest);
  char szHash[2 * BSE::CHashSHA256::g_nDigestSize + 1] = {};
  for (std::size_t i = 0; i < sizeof(digest); ++i)
    std::snprintf(szHash + 2 * i, 3, "%02x", digest[i]);
  FormatKey("%s_%s_%d_%s", m_object[4]["Subtype"].IsName("NChannel") ? "NC" : "DN", szAlternate, nFunction,
            szHash);
}

bool CNChannelColorSpace::IsProcess(int nIndex) const
{
  const char* szName = GetColorant(nIndex);
  const CObjectPtr components = m_object[4]["Process"]["Components"];
  for (int i = 0; i < std::min(components.GetSize(), BSE::g_nMaxFunctionValues); ++i)
    if (components[i].IsName(szName))
      return true;
  return std::any_of(std::begin(g_processNames), std::end(g_processNames),
                     [szName](const auto& process) { return KeyEquals(szName, process.m_szName); });
}

}  // namespace PDF
