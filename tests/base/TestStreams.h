#pragma once

#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace test
{

using TBytes = std::vector<unsigned char>;

inline TBytes MakeBytes(std::size_t nSize, unsigned nSeed = 1)
{
  TBytes bytes(nSize);
  std::minstd_rand random(nSeed);
  for (unsigned char& nByte : bytes)
    nByte = static_cast<unsigned char>(random() >> 8);
  return bytes;
}

// A stream on bytes that misbehaves on demand.
class CFaultyStream : public BSE::CObject, public BSE::IByteStream
{
public:
  explicit CFaultyStream(TBytes bytes = {}) : m_bytes(std::move(bytes)) {}

  TBytes m_bytes;
  std::int64_t m_nPos = 0;
  std::int64_t m_nMaxCall = 1 << 30;   // units per call
  std::int64_t m_nFailFrom = 1 << 30;  // reading or writing there fails
  bool m_bSeekable = true;
  bool m_bFailSeek = false;
  bool m_bValid = true;
  int m_nReads = 0;
  int m_nWrites = 0;
  int m_nSeeks = 0;

  bool IsValid() const override { return m_bValid; }
  std::int64_t GetLength() override { return m_bSeekable ? std::ssize(m_bytes) : -1; }
  bool IsSeekable() const override { return m_bSeekable; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t) override { return false; }
  std::int64_t Tell() override { return m_nPos; }
  bool Seek(std::int64_t nPos) override
  {
    ++m_nSeeks;
    if (!m_bSeekable || m_bFailSeek || nPos < 0)
      return false;
    m_nPos = nPos;
    return true;
  }
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override
  {
    return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
  }
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override
  {
    ++m_nReads;
    // As filters may do that fill up what they have no data for.
    std::fill_n(pBuffer, n, static_cast<unsigned char>(0xEE));
    if (m_nPos >= m_nFailFrom)
      return -1;
    n = std::min({n, m_nMaxCall, m_nFailFrom - m_nPos});
    n = std::max<std::int64_t>(std::min(n, std::ssize(m_bytes) - m_nPos), 0);
    std::copy_n(m_bytes.begin() + std::min<std::int64_t>(m_nPos, std::ssize(m_bytes)), n, pBuffer);
    m_nPos += n;
    return n;
  }
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override
  {
    ++m_nWrites;
    n = std::max<std::int64_t>(std::min({n, m_nMaxCall, m_nFailFrom - m_nPos}), 0);
    if (m_nPos + n > std::ssize(m_bytes))
      m_bytes.resize(static_cast<std::size_t>(m_nPos + n));
    std::copy_n(pBuffer, n, m_bytes.begin() + m_nPos);
    m_nPos += n;
    return n;
  }
};

using CFaultyPtr = BSE::CObjectPtr<CFaultyStream>;

// Keeps the codes of what is reported.
class CRecordingContext : public BSE::CBasicErrorContext
{
public:
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override { m_codes.push_back(pError->GetCode()); }

  std::vector<unsigned> m_codes;
};

// A folder of its own, removed at the end.
class CTestFolder
{
public:
  CTestFolder()
  {
    std::string path = (std::filesystem::temp_directory_path() / "brevexXXXXXX").string();
    m_path = mkdtemp(path.data()) ? path : std::string();
  }
  ~CTestFolder()
  {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
  }
  CTestFolder(const CTestFolder&) = delete;
  CTestFolder& operator=(const CTestFolder&) = delete;

  std::string operator/(const std::string& name) const { return (m_path / name).string(); }

  std::string MakeFile(const std::string& name, const TBytes& bytes) const
  {
    std::ofstream(*this / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    return *this / name;
  }

private:
  std::filesystem::path m_path;
};

inline TBytes ReadFile(const std::string& path)
{
  std::ifstream file(path, std::ios::binary);
  return TBytes(std::istreambuf_iterator<char>(file), {});
}

// All that is left in a stream, as far as it can be read.
inline TBytes ReadRest(BSE::IByteStream& stream)
{
  TBytes bytes;
  unsigned char block[1000];
  while (const std::int64_t n = stream.Read(block, sizeof(block)))
    bytes.insert(bytes.end(), block, block + n);
  return bytes;
}

inline bool WriteBytes(BSE::IByteStream& stream, const TBytes& bytes)
{
  return stream.WriteAll(bytes.data(), std::ssize(bytes));
}

// Random reads, seeks and skips on a stream whose contents are known; every answer is compared with what the
// contents say. The stream is at 0.
void CheckRandomReading(BSE::IByteStream& stream, const TBytes& bytes, int nSteps, unsigned nSeed = 1);

// The same with writing, on an empty stream.
void CheckRandomWriting(BSE::IByteStream& stream, int nSteps, unsigned nSeed = 1);

}  // namespace test
