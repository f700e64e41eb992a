#pragma once

#include "base/MemoryStream.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <string>

#include <unistd.h>
#include <utility>

namespace PDF
{

inline std::string GetBytes(BSE::IByteStream& stream)
{
  std::string bytes;
  stream.Rewind();
  unsigned char buffer[4096];
  for (std::int64_t n = 0; (n = stream.Read(buffer, sizeof(buffer))) > 0;)
    bytes.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(n));
  return bytes;
}

inline BSE::CObjectPtr<BSE::CMemoryStream> MakeStream(const std::string& bytes)
{
  return new BSE::CMemoryStream(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

// Takes so many bytes and then refuses.
class CLimitedStream : public BSE::CMemoryStream
{
public:
  explicit CLimitedStream(std::int64_t nLimit) : m_nLimit(nLimit) {}
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override
  {
    return Tell() + n > m_nLimit ? 0 : BSE::CMemoryStream::Write(pBuffer, n);
  }

private:
  std::int64_t m_nLimit;
};

inline CObjectPtr MakeDictionary(std::initializer_list<std::pair<const char*, CObjectPtr>> entries)
{
  CObjectPtr dictionary = new CDictionaryObject;
  for (const auto& [szKey, value] : entries)
    dictionary->AddEntry(szKey, value.Get());
  return dictionary;
}

inline CObjectPtr MakeArray(std::initializer_list<CObjectPtr> elements)
{
  CObjectPtr array = new CArrayObject;
  for (const CObjectPtr& element : elements)
    array->Add(element.Get());
  return array;
}

inline CObjectPtr MakeName(const char* szName)
{
  return new CNameObject(szName);
}

inline CObjectPtr MakeInteger(std::int64_t n)
{
  return new CIntegerObject(n);
}

inline CObjectPtr MakeString(const char* szText)
{
  return new CStringObject(CString(szText));
}

inline CObjectPtr AddObject(CFile& file, int nGroup, const CObjectPtr& value)
{
  CObjectPtr object = file.NewObject(0, 0, nGroup);
  object->SetValueObject(value.Get());
  return object;
}

// A catalogue with that many empty pages below one node; all values are dirty and in memory.
inline void AddPages(CFile& file, int nPages, int nGroup)
{
  const CObjectPtr node = file.NewObject(0, 0, nGroup);
  const CObjectPtr kids = MakeArray({});
  for (int i = 0; i < nPages; ++i)
    kids->Add(AddObject(file, nGroup,
                        MakeDictionary({{"Type", MakeName("Page")},
                                        {"Parent", node},
                                        {"MediaBox", MakeArray({MakeInteger(0), MakeInteger(0),
                                                                MakeInteger(100 + i), MakeInteger(200)})}}))
                  .Get());
  node->SetValueObject(
      MakeDictionary({{"Type", MakeName("Pages")}, {"Kids", kids}, {"Count", MakeInteger(nPages)}}).Get());
  file.SetRoot(
      AddObject(file, nGroup, MakeDictionary({{"Type", MakeName("Catalog")}, {"Pages", node}})).Get());
}

// Judges a whole file by an independent reader where one is installed: it must have nothing to complain of.
inline void ExpectSound(const std::string& bytes)
{
  if (std::system("command -v qpdf >/dev/null 2>&1") != 0)
    return;
  const std::string path = testing::TempDir() + "brevex_writer_" +
                           testing::UnitTest::GetInstance()->current_test_info()->name() +
                           std::to_string(getpid()) + ".pdf";
  std::ofstream(path, std::ios::binary) << bytes;
  const std::string command = "qpdf --check '" + path + "' > '" + path + ".log' 2>&1";
  const int nStatus = std::system(command.c_str());
  std::ifstream log(path + ".log");
  const std::string text((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
  EXPECT_EQ(WEXITSTATUS(nStatus), 0) << text;
  std::remove((path + ".log").c_str());
  std::remove(path.c_str());
}

}  // namespace PDF
