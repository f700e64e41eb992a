#include "tests/support/Saver.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "tests/support/TempFolder.h"

namespace Support
{
namespace
{

CByteStream& Get(void* handle)
{
  return *static_cast<CByteStream*>(handle);
}

// The position after the string that starts there, in either of its forms; the same position without one.
size_t SkipString(std::string_view sText, size_t nAt)
{
  if (nAt >= sText.size() || (sText[nAt] != '<' && sText[nAt] != '('))
    return nAt;
  const char cEnd = sText[nAt] == '<' ? '>' : ')';
  size_t nEnd = nAt + 1;
  while (nEnd < sText.size() && sText[nEnd] != cEnd)
    nEnd += sText[nEnd] == '\\' ? 2U : 1U;
  return nEnd + 1;
}

// Both file identifiers, which are written in the shorter form of strings, so that their lengths differ.
void MaskFileIds(std::string& sPdf)
{
  constexpr std::string_view sKey = "/ID [";
  for (size_t nAt = sPdf.find(sKey); nAt != std::string::npos; nAt = sPdf.find(sKey, nAt + 1))
  {
    const size_t nFirst = nAt + sKey.size();
    const size_t nSecond = sPdf.find_first_not_of(" \n", SkipString(sPdf, nFirst));
    const size_t nEnd = SkipString(sPdf, nSecond);
    if (nEnd > nFirst && nEnd <= sPdf.size())
      sPdf.replace(nFirst, nEnd - nFirst, "*");
  }
}

// In a pattern # stands for a digit, x for a hexadecimal digit, and anything else for itself.
bool Matches(std::string_view sText, std::string_view sPattern)
{
  const auto matches = [](char c, char cPattern)
  {
    const auto n = static_cast<unsigned char>(c);
    return cPattern == '#' ? std::isdigit(n) != 0 : cPattern == 'x' ? std::isxdigit(n) != 0 : c == cPattern;
  };
  return sText.size() >= sPattern.size() &&
         std::equal(sPattern.begin(), sPattern.end(), sText.begin(),
                    [&](char cPattern, char c) { return matches(c, cPattern); });
}

void MaskPattern(std::string& sText, std::string_view sPattern)
{
  for (size_t nAt = 0; nAt + sPattern.size() <= sText.size(); ++nAt)
    if (Matches(std::string_view(sText).substr(nAt), sPattern))
      sText.replace(nAt, sPattern.size(), sPattern);
}

}  // namespace

TBrevexStreamDescriptor CByteStream::GetDescriptor()
{
  TBrevexStreamDescriptor stream{};
  stream.pfGetLength = GetLength;
  stream.pfSeek = Seek;
  stream.pfTell = Tell;
  stream.pfRead = Read;
  stream.pfWrite = Write;
  stream.pfRelease = Release;
  stream.handle = this;
  return stream;
}

bool CByteStream::Fails(size_t nSize)
{
  m_nMoved += static_cast<std::int64_t>(nSize);
  return m_nFailAfter >= 0 && m_nMoved > m_nFailAfter;
}

std::int64_t CByteStream::GetLength(void* handle)
{
  return static_cast<std::int64_t>(Support::Get(handle).m_sBytes.size());
}

int CByteStream::Seek(void* handle, std::int64_t nPosition)
{
  Support::Get(handle).m_nPosition = nPosition;
  return nPosition >= 0 ? 1 : 0;
}

std::int64_t CByteStream::Tell(void* handle)
{
  return Support::Get(handle).m_nPosition;
}

std::int64_t CByteStream::Read(void* handle, void* pBuffer, size_t nSize)
{
  CByteStream& stream = Support::Get(handle);
  const std::int64_t nLeft = std::max<std::int64_t>(GetLength(handle) - stream.m_nPosition, 0);
  const size_t nTaken = std::min(nSize, static_cast<size_t>(nLeft));
  if (stream.Fails(nTaken))
    return -1;
  if (nTaken > 0)
    stream.m_sBytes.copy(static_cast<char*>(pBuffer), nTaken, static_cast<size_t>(stream.m_nPosition));
  stream.m_nPosition += static_cast<std::int64_t>(nTaken);
  return static_cast<std::int64_t>(nTaken);
}

std::int64_t CByteStream::Write(void* handle, const void* pBuffer, size_t nSize)
{
  CByteStream& stream = Support::Get(handle);
  if (stream.Fails(nSize))
    return -1;
  const auto nAt = static_cast<size_t>(stream.m_nPosition);
  stream.m_sBytes.resize(std::max(stream.m_sBytes.size(), nAt + nSize));
  std::copy_n(static_cast<const char*>(pBuffer), nSize, stream.m_sBytes.begin() + stream.m_nPosition);
  stream.m_nPosition += static_cast<std::int64_t>(nSize);
  return static_cast<std::int64_t>(nSize);
}

void CByteStream::Release(void* handle)
{
  ++Support::Get(handle).m_nReleases;
}

CSaver::CSaver()
{
  BrevexInitialize();
  m_pHandle = BrevexCreateObject();
}

CSaver::~CSaver()
{
  BrevexDestroyObject(m_pHandle);
  BrevexUnInitialize();
}

bool CSaver::Open(const std::string& sPdf, TRoad road, const char* szPassword)
{
  if (road == TRoad::Memory)
    return BrevexOpenMemA(m_pHandle, sPdf.data(), sPdf.size(), szPassword) != 0;
  if (road == TRoad::Stream)
  {
    // The stream before is in use until the new one is opened.
    auto pInput = std::make_unique<CByteStream>(sPdf);
    const TBrevexStreamDescriptor stream = pInput->GetDescriptor();
    const bool bOpen = BrevexOpenStreamA(m_pHandle, &stream, szPassword) != 0;
    m_pInput = std::move(pInput);
    return bOpen;
  }
  // An open file stays readable without its name.
  const CTempFolder folder;
  WriteFile(folder / "in.pdf", sPdf);
  return BrevexOpenA(m_pHandle, (folder / "in.pdf").c_str(), szPassword) != 0;
}

std::optional<std::string> CSaver::SaveEncrypted(const char* szUser, const char* szOwner, int nPermissions)
{
  CByteStream output;
  const TBrevexStreamDescriptor stream = output.GetDescriptor();
  return BrevexSaveAsStreamA(m_pHandle, &stream, szUser, szOwner, nPermissions) != 0
             ? std::optional(output.GetBytes())
             : std::nullopt;
}

std::optional<std::string> CSaver::Save(TRoad road)
{
  if (road == TRoad::Memory)
  {
    const bool bSaved = BrevexSaveInMemory(m_pHandle) != 0;
    const TByteBuffer* pBuffer = bSaved ? BrevexGetPdf(m_pHandle) : nullptr;
    return pBuffer != nullptr
               ? std::optional(std::string(reinterpret_cast<const char*>(pBuffer->pData), pBuffer->nSize))
               : std::nullopt;
  }
  if (road == TRoad::Stream)
  {
    CByteStream output;
    const TBrevexStreamDescriptor stream = output.GetDescriptor();
    const bool bSaved =
        BrevexSaveAsStreamA(m_pHandle, &stream, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN) != 0;
    return bSaved ? std::optional(output.GetBytes()) : std::nullopt;
  }
  const CTempFolder folder;
  const std::string sName = folder / "out.pdf";
  const bool bSaved =
      BrevexSaveAsA(m_pHandle, sName.c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN) != 0;
  return bSaved ? std::optional(ReadFile(sName)) : std::nullopt;
}

std::string MaskVariable(std::string sPdf)
{
  MaskFileIds(sPdf);
  for (const std::string_view sPattern :
       {"D:##############", "####-##-##T##:##:##", "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx"})
    MaskPattern(sPdf, sPattern);
  return sPdf;
}

}  // namespace Support
