#pragma once

#include <brevex/brevex.h>

#include <memory>
#include <optional>
#include <string>

namespace Support
{

// A caller's stream over bytes in memory, that counts what is asked of it and can be told to fail.
class CByteStream
{
public:
  explicit CByteStream(std::string sBytes = {}) : m_sBytes(std::move(sBytes)) {}

  // The callbacks of the library; the stream must outlive their use.
  TBrevexStreamDescriptor GetDescriptor();

  // Reading and writing fail once so many bytes have gone through.
  void FailAfter(std::int64_t nBytes) { m_nFailAfter = nBytes; }

  const std::string& GetBytes() const { return m_sBytes; }
  int GetReleaseCount() const { return m_nReleases; }

private:
  static std::int64_t GetLength(void* handle);
  static int Seek(void* handle, std::int64_t nPosition);
  static std::int64_t Tell(void* handle);
  static std::int64_t Read(void* handle, void* pBuffer, size_t nSize);
  static std::int64_t Write(void* handle, const void* pBuffer, size_t nSize);
  static void Release(void* handle);
  bool Fails(size_t nSize);

  std::string m_sBytes;
  std::int64_t m_nPosition = 0;
  std::int64_t m_nMoved = 0;
  std::int64_t m_nFailAfter = -1;
  int m_nReleases = 0;
};

enum class TRoad
{
  File,
  Memory,
  Stream
};

// A handle of the library with the roads into it and out of it.
class CSaver
{
public:
  CSaver();
  ~CSaver();
  CSaver(const CSaver&) = delete;
  CSaver& operator=(const CSaver&) = delete;

  TBrevexHandle* Get() const { return m_pHandle; }
  std::uint32_t GetCode() const { return BrevexGetErrorCode(m_pHandle); }

  bool Open(const std::string& sPdf, TRoad road = TRoad::Memory, const char* szPassword = nullptr);
  // The bytes of the saved document; nothing when the save failed.
  std::optional<std::string> Save(TRoad road = TRoad::Memory);
  // The same through a stream, with passwords and permissions.
  std::optional<std::string> SaveEncrypted(const char* szUser, const char* szOwner, int nPermissions);

private:
  TBrevexHandle* m_pHandle;
  std::unique_ptr<CByteStream> m_pInput;
};

// The same document with other time stamps and identifiers, which no two saves share, made equal: file
// identifiers, dates, and the identifiers of instances in metadata.
std::string MaskVariable(std::string sPdf);

}  // namespace Support
