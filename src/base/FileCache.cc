#include "base/FileCache.h"

#include "base/BufferedOutputStream.h"
#include "base/FileStream.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "base/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace BSE
{

namespace
{

using TBytes = std::span<const unsigned char>;

// "yyyymmddhhmmssZ" and the terminator; more only for years of five digits, which are refused.
constexpr std::size_t g_nStampSize = 16;

constexpr int g_nMaxMessage = 256;

bool FormatTime(std::time_t nTime, char (&szStamp)[g_nStampSize])
{
  std::tm time{};
  if (!gmtime_r(&nTime, &time))
    return false;
  const int nLength =
      std::snprintf(szStamp, sizeof(szStamp), "%04d%02d%02d%02d%02d%02dZ", time.tm_year + 1900,
                    time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
  return nLength == static_cast<int>(g_nStampSize) - 1;
}

// FNV-1a, 64 bits.
CFile GetEntry(const CFile& folder, TBytes key)
{
  std::uint64_t nHash = 0xCBF29CE484222325U;
  for (const unsigned char nByte : key)
    nHash = (nHash ^ nByte) * 0x100000001B3U;
  char szName[17];
  std::snprintf(szName, sizeof(szName), "%016llx", static_cast<unsigned long long>(nHash));
  return {folder.GetPath(), szName};
}

void TakeErrno(const CFile& file)
{
  CTLSError::Set(CScopedPtr<IError>(new CFileError(errno, file.GetPath())));
}

// Traces the thread's error.
void TraceFailure()
{
  if (!CTracer::IsOn())
    return;
  char16_t szMessage[g_nMaxMessage];
  CStr8 message;
  IError* pError = CTLSError::Get();
  if (pError && pError->GetMessage(szMessage, g_nMaxMessage) > 0)
    ConvertText(szMessage, message, TInvalidText::Replace);
  CTracer::Trace("E", "File Cache", "Unable to add data to cache: %s", message.GetText());
}

bool WriteEntry(const CFile& file, TBytes key, TBytes data, const char* szStamp)
{
  char szHeader[40];
  const int nHeader = std::snprintf(szHeader, sizeof(szHeader), "%s\n%zu\n", szStamp, key.size());
  const CObjectPtr<CFileStream> pFile(new CFileStream(file.GetPath(), eFileWrite));
  CBufferedOutputStream stream(pFile.Get());
  return pFile->IsValid() && stream.WriteAll(reinterpret_cast<const unsigned char*>(szHeader), nHeader) &&
         stream.WriteAll(key.data(), std::ssize(key)) && stream.WriteAll(data.data(), std::ssize(data)) &&
         stream.Flush() && pFile->Close();
}

// Takes one line from the front; empty if there is none.
std::span<const char> TakeLine(TBytes& rest)
{
  const auto end = std::find(rest.begin(), rest.end(), '\n');
  if (end == rest.end())
    return {};
  const auto nLength = static_cast<std::size_t>(end - rest.begin());
  const std::span<const char> line(reinterpret_cast<const char*>(rest.data()), nLength);
  rest = rest.subspan(nLength + 1);
  return line;
}

// Makes the rest of an entry's bytes its data; false if it is damaged, another key's or outdated.
bool OpenEntry(TBytes& rest, TBytes key, const char* szNow)
{
  const std::span<const char> stamp = TakeLine(rest);
  const std::span<const char> length = TakeLine(rest);
  std::size_t nKey = 0;
  const auto [pEnd, error] = std::from_chars(length.data(), length.data() + length.size(), nKey);
  if (stamp.size() != g_nStampSize - 1 || length.empty() || error != std::errc() ||
      pEnd != length.data() + length.size() || nKey != key.size() || nKey > rest.size())
    return false;
  // Stamps of one length order as the times do.
  if (!std::equal(key.begin(), key.end(), rest.begin()) || std::memcmp(stamp.data(), szNow, stamp.size()) < 0)
    return false;
  rest = rest.subspan(nKey);
  return true;
}

}  // namespace

template <bool bShared>
CFileCache<bShared>::CFileCache(const char* szName)
{
  CFile home;
  if (!CFile::GetHomeFolder(home))
    return;
  const CFile folder(CFile(home.GetPath(), ".norvane/Caches").GetPath(), szName);
  if (folder.MakeFolder())
    m_folder = folder;
}

template <bool bShared>
bool CFileCache<bShared>::Add(TBytes key, TBytes data, std::time_t nValidUntil)
{
  char szStamp[g_nStampSize];
  if (!IsValid() || !FormatTime(nValidUntil, szStamp))
    return false;
  const std::lock_guard guard(m_lock);
  CFile file;
  if (!file.CreateUnique(m_folder.GetPath(), "new"))
  {
    TakeErrno(m_folder);
    TraceFailure();
    return false;
  }
  const bool bWritten = WriteEntry(file, key, data, szStamp);
  if (bWritten && file.Rename(GetEntry(m_folder, key).GetPath()))
    return true;
  if (bWritten)
    TakeErrno(file);
  TraceFailure();
  file.Remove();
  return false;
}

template <bool bShared>
bool CFileCache<bShared>::Find(TBytes key, CBasicArray<unsigned char>& data, std::time_t nNow)
{
  data.RemoveAll();
  char szNow[g_nStampSize];
  if (!IsValid() || !FormatTime(nNow, szNow))
    return false;
  const std::lock_guard guard(m_lock);
  const CFile file = GetEntry(m_folder, key);
  if (!file.Exists())
    return false;
  CBasicArray<unsigned char> bytes;
  {
    CFileStream stream(file.GetPath(), eFileRead);
    if (!stream.IsValid() || !stream.ReadToArray(bytes, g_nMaxCacheEntry))
      return false;
  }
  TBytes rest = bytes.GetSpan();
  if (!OpenEntry(rest, key, szNow))
  {
    file.Remove();
    return false;
  }
  data.Append(rest);
  return true;
}

template <bool bShared>
bool CFileCache<bShared>::Remove(TBytes key)
{
  const std::lock_guard guard(m_lock);
  const CFile file = GetEntry(m_folder, key);
  return IsValid() && file.Exists() && file.Remove();
}

template class CFileCache<false>;
template class CFileCache<true>;

}  // namespace BSE
