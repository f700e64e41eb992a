#include "base/FileStream.h"

#include "base/BufferedInputStream.h"
#include "base/Error.h"
#include "tests/base/TestStreams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace test
{

namespace
{

unsigned GetSlotCode()
{
  const BSE::IError* pError = BSE::CTLSError::Get();
  return pError ? pError->GetCode() : 0xFFFFFFFFU;
}

int OpenDescriptorCount()
{
  return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

// Puts another descriptor in the place of a standard one for a scope.
class CRedirected
{
public:
  CRedirected(int nStandard, int fd) : m_nStandard(nStandard), m_fdSaved(dup(nStandard))
  {
    dup2(fd, nStandard);
  }
  ~CRedirected()
  {
    dup2(m_fdSaved, m_nStandard);
    close(m_fdSaved);
  }

private:
  int m_nStandard;
  int m_fdSaved;
};

TEST(FileStream, ReadsAndWritesFiles)
{
  const CTestFolder folder;
  const int nBefore = OpenDescriptorCount();
  {
    BSE::CFileStream file((folder / "a").c_str(), BSE::eFileWrite);
    ASSERT_TRUE(file.IsValid());
    EXPECT_TRUE(file.IsFile());
    CheckRandomWriting(file, 200);
  }
  const TBytes bytes = ReadFile(folder / "a");
  BSE::CFileStream file((folder / "a").c_str(), BSE::eFileRead);
  CheckRandomReading(file, bytes, 200);
  EXPECT_FALSE(file.Seek(-2 - file.GetLength()));
  EXPECT_TRUE(file.Seek(-6));
  EXPECT_EQ(ReadRest(file), TBytes(bytes.end() - 5, bytes.end()));
  EXPECT_TRUE(file.Close());
  EXPECT_FALSE(file.IsValid());
  EXPECT_EQ(OpenDescriptorCount(), nBefore);
}

TEST(FileStream, ModesOpenAsTheySay)
{
  const CTestFolder folder;
  const std::string path = folder.MakeFile("a", {1, 2, 3});
  EXPECT_FALSE(BSE::CFileStream((folder / "new").c_str(), BSE::eFileUpdate).IsValid());
  {
    BSE::CFileStream file(path.c_str(), BSE::eFileUpdate);
    ASSERT_TRUE(WriteBytes(file, {9}));
  }
  EXPECT_EQ(ReadFile(path), (TBytes{9, 2, 3}));
  {
    BSE::CFileStream file(path.c_str(), BSE::eFileAppend);
    ASSERT_TRUE(file.Rewind());
    ASSERT_TRUE(WriteBytes(file, {4}));
  }
  EXPECT_EQ(ReadFile(path), (TBytes{9, 2, 3, 4}));
  {
    BSE::CFileStream file(path.c_str(), BSE::eFileRead);
    EXPECT_FALSE(WriteBytes(file, {1}));
    EXPECT_EQ(GetSlotCode(), unsigned{EBADF});
  }
  for (const BSE::TFileMode nMode : {BSE::eFileWrite, BSE::eFileWriteError, BSE::eFileTemporary})
  {
    BSE::CFileStream file(path.c_str(), nMode);
    EXPECT_EQ(file.GetLength(), 0);
    ASSERT_TRUE(WriteBytes(file, {1}));
  }
  for (const BSE::TFileMode nMode : {BSE::eFileUpdate, BSE::eFileAppend, BSE::eFileTemporary})
    EXPECT_FALSE(BSE::CFileStream("", nMode).IsValid());
}

TEST(FileStream, ReportsFailureToContextAndSlot)
{
  const CTestFolder folder;
  CRecordingContext context;
  const std::string missing = folder / "missing";
  const BSE::CFileStream file(missing.c_str(), BSE::eFileRead, &context);
  EXPECT_FALSE(file.IsValid());
  EXPECT_EQ(context.m_codes, std::vector<unsigned>{ENOENT});
  ASSERT_EQ(GetSlotCode(), unsigned{ENOENT});
  BSE::CErrorProperty* pName = BSE::CTLSError::Get()->GetProperties()->Find("File");
  ASSERT_NE(pName, nullptr);
  EXPECT_EQ(std::u16string(pName->GetText()), std::u16string(missing.begin(), missing.end()));

  // A folder cannot be written, and that is nobody's failure.
  context.m_codes.clear();
  EXPECT_FALSE(BSE::CFileStream((folder / "").c_str(), BSE::eFileUpdate, &context).IsValid());
  EXPECT_FALSE(BSE::CFileStream((folder / "").c_str(), BSE::eFileWrite, &context).IsValid());
  EXPECT_TRUE(context.m_codes.empty());

  BSE::CFileStream directory((folder / "").c_str(), BSE::eFileRead, &context);
  unsigned char nByte = 0;
  EXPECT_EQ(directory.ReadEx(&nByte, 1), -1);
  EXPECT_EQ(context.m_codes, std::vector<unsigned>{EISDIR});

  const std::string path = folder.MakeFile("a", {1});
  BSE::CFileStream sound(path.c_str(), BSE::eFileRead);
  EXPECT_EQ(sound.Read(&nByte, 1), 1);
  EXPECT_EQ(GetSlotCode(), 0U);
  EXPECT_EQ(sound.ReadEx(&nByte, 1), 0) << "the end is no failure";
  EXPECT_EQ(GetSlotCode(), 0U);
}

TEST(FileStream, TellsAFullDisk)
{
  if (!std::filesystem::exists("/dev/full"))
    GTEST_SKIP();
  CRecordingContext context;
  {
    BSE::CFileStream file("/dev/full", BSE::eFileUpdate, &context);
    ASSERT_TRUE(file.IsValid());
    EXPECT_FALSE(file.IsSeekable());
    EXPECT_FALSE(WriteBytes(file, TBytes(10)));
  }
  EXPECT_EQ(context.m_codes, std::vector<unsigned>{ENOSPC});
  EXPECT_EQ(GetSlotCode(), unsigned{ENOSPC}) << "closing forgot the failure";
}

TEST(FileStream, ReachesBeyondFourGigabytes)
{
  const CTestFolder folder;
  constexpr std::int64_t nFar = (std::int64_t{5} << 30) + 3;
  BSE::CObjectPtr<BSE::CFileStream> pFile(new BSE::CFileStream((folder / "a").c_str(), BSE::eFileWrite));
  ASSERT_TRUE(pFile->Seek(nFar));
  EXPECT_EQ(pFile->GetLength(), 0) << "seeking alone writes nothing";
  if (!WriteBytes(*pFile, {42}))
    GTEST_SKIP() << "no room for a sparse file";
  EXPECT_EQ(pFile->GetLength(), nFar + 1);
  BSE::CBufferedInputStream reader(pFile.Get());
  ASSERT_TRUE(reader.Seek(nFar));
  EXPECT_EQ(reader.GetByte(), 42);
  EXPECT_EQ(reader.Tell(), nFar + 1);
}

TEST(FileStream, DuplicatesKeepTheirPositions)
{
  const CTestFolder folder;
  const TBytes bytes = MakeBytes(100);
  const std::string path = folder.MakeFile("a", bytes);
  const int nBefore = OpenDescriptorCount();
  BSE::CObjectPtr<BSE::CFileStream> pFirst(new BSE::CFileStream(path.c_str(), BSE::eFileUpdate));
  ASSERT_TRUE(pFirst->Seek(10));
  BSE::CObjectPtr<BSE::CFileStream> pDup(dynamic_cast<BSE::CFileStream*>(pFirst->Dup()));
  BSE::CObjectPtr<BSE::CFileStream> pSecond(dynamic_cast<BSE::CFileStream*>(pDup->Dup()));
  ASSERT_TRUE(pDup && pSecond);
  unsigned char nByte = 0;
  for (std::size_t i = 10; i < 30; ++i)
    for (BSE::CFileStream* pStream : {pFirst.Get(), pDup.Get(), pSecond.Get()})
    {
      ASSERT_EQ(pStream->Read(&nByte, 1), 1);
      ASSERT_EQ(nByte, bytes[i]);
    }
  ASSERT_TRUE(WriteBytes(*pDup, {77}));
  ASSERT_EQ(pFirst->Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, 77);

  // Alone again, the first stream goes on where it was.
  pDup.Reset();
  pSecond.Reset();
  ASSERT_EQ(pFirst->Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, bytes[31]);

  pDup = dynamic_cast<BSE::CFileStream*>(pFirst->Dup());
  EXPECT_TRUE(pFirst->Close());
  pFirst.Reset();
  ASSERT_EQ(pDup->Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, bytes[32]) << "usable after the first stream was closed";
  pDup.Reset();
  EXPECT_EQ(OpenDescriptorCount(), nBefore);
}

TEST(FileStream, PipesHaveNoPosition)
{
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const TBytes bytes = MakeBytes(300000);
  TBytes read;
  {
    // Reading does not block, so that the stream has to wait.
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    const CRedirected input(STDIN_FILENO, fds[0]);
    std::thread writer(
        [&]
        {
          for (std::size_t i = 0; i < bytes.size();)
          {
            const ssize_t n = write(fds[1], bytes.data() + i, std::min<std::size_t>(50000, bytes.size() - i));
            ASSERT_GT(n, 0);
            i += static_cast<std::size_t>(n);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
          }
          close(fds[1]);
        });
    BSE::CFileStream stream(nullptr, BSE::eFileRead);
    EXPECT_TRUE(stream.IsValid());
    EXPECT_FALSE(stream.IsSeekable());
    EXPECT_EQ(stream.Tell(), -1);
    EXPECT_EQ(stream.GetLength(), -1);
    EXPECT_EQ(stream.Dup(), nullptr);
    EXPECT_FALSE(stream.Seek(0));
    EXPECT_TRUE(stream.Skip(1000));
    read = ReadRest(stream);
    writer.join();
    EXPECT_FALSE(stream.Skip(1));
  }
  EXPECT_EQ(read, TBytes(bytes.begin() + 1000, bytes.end()));
  close(fds[0]);
}

TEST(FileStream, GoesOnAfterASignal)
{
  struct sigaction action = {};
  struct sigaction old = {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, &old), 0);
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pthread_t reader = pthread_self();
  {
    const CRedirected input(STDIN_FILENO, fds[0]);
    std::thread interrupter(
        [&]
        {
          for (int i = 0; i < 5; ++i)
          {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            pthread_kill(reader, SIGUSR1);
          }
          EXPECT_EQ(write(fds[1], "x", 1), 1);
          close(fds[1]);
        });
    BSE::CFileStream stream("", BSE::eFileRead);
    unsigned char nByte = 0;
    EXPECT_EQ(stream.ReadEx(&nByte, 1), 1);
    EXPECT_EQ(nByte, 'x');
    interrupter.join();
  }
  close(fds[0]);
  sigaction(SIGUSR1, &old, nullptr);
}

}  // namespace

}  // namespace test
