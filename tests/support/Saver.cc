#include "tests/support/Saver.h"

#include <algorithm>
#include <filesystem>
#include <regex>

#include "tests/support/TempFolder.h"

namespace Support
{
namespace
{

CByteStream& Get(void* handle)
{
  return *static_cast<CByteStream*>(handle);
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
  {
    return -1;
  }
  if (nTaken > 0)
  {
    stream.m_sBytes.copy(static_cast<char*>(pBuffer), nTaken, static_cast<size_t>(stream.m_nPosition));
  }
  stream.m_nPosition += static_cast<std::int64_t>(nTaken);
  return static_cast<std::int64_t>(nTaken);
}

std::int64_t CByteStream::Write(void* handle, const void* pBuffer, size_t nSize)
{
  CByteStream& stream = Support::Get(handle);
  if (stream.Fails(nSize))
  {
    return -1;
  }
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
  {
    return BrevexOpenMemA(m_pHandle, sPdf.data(), sPdf.size(), szPassword) != 0;
  }
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
  const std::regex patterns[] = {
      // Strings are written in the shorter of the two forms.
      std::regex(R"(/ID ?\[\s*(<[^>]*>|\((\\[^]|[^\\)])*\))\s*(<[^>]*>|\((\\[^]|[^\\)])*\))\s*\])"),
      std::regex(R"(D:[0-9]{14}[-+Z0-9']*)"),
      std::regex(R"([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[-+Z0-9:]*)"),
      std::regex(R"([0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12})"),
  };
  for (const std::regex& pattern : patterns)
  {
    sPdf = std::regex_replace(sPdf, pattern, "*");
  }
  return sPdf;
}

}  // namespace Support
