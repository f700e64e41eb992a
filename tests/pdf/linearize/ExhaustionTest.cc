// Memory that runs out while a finished file is linearized: the plain file is there, and stays.

#include "base/ErrorHandler.h"
#include "base/FileStream.h"
#include "pdf/StreamDeflater.h"
#include "pdf/linearize/Linearizer.h"
#include "tests/pdf/WriterSupport.h"
#include "tests/support/TempFolder.h"

#include <filesystem>

namespace PDF
{
namespace
{

// Has no memory left for the hint tables.
class CExhaustedDeflater : public IStreamDeflater
{
public:
  void Deflate(std::span<const unsigned char>, BSE::CBasicArray<unsigned char>&) override
  {
    BSE::ThrowOutOfMemory();
  }
};

// Has no memory left once, at its second write.
class CExhaustedStream : public BSE::CMemoryStream
{
public:
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override
  {
    if (++m_nWrites == 2)
      BSE::ThrowOutOfMemory();
    return BSE::CMemoryStream::Write(pBuffer, n);
  }

private:
  int m_nWrites = 0;
};

// Closes a file that is to be linearized; true if that could be done.
bool Save(BSE::IByteStream* pStream, IStreamDeflater* pDeflater, BSE::CErrorHandler& errors)
{
  CFile file(&errors);
  EXPECT_TRUE(file.Create(pStream, CString("0123456789012345"), false, false));
  AddPages(file, 3, 0);
  file.GetRoot()->AddEntry("Long", MakeString(std::string(300000, 'x').c_str()).Get());
  file.SetStreamDeflater(pDeflater);
  file.SetLinearize(true, false, GetLinearizer(false));
  return file.Close();
}

TEST(LinearizerExhaustion, KeepsThePlainFile)
{
  const Support::CTempFolder folder;
  const std::string sPath = folder / "out.pdf";
  CExhaustedDeflater deflater;
  BSE::CErrorHandler errors;
  EXPECT_TRUE(Save(new BSE::CFileStream(sPath.c_str(), BSE::eFileWrite), &deflater, errors));
  EXPECT_EQ(errors.GetLastCode(), 0x83410544U);
  EXPECT_FALSE(std::filesystem::exists(sPath + ".tmp"));
  const std::string sPlain = Support::ReadFile(sPath);
  EXPECT_EQ(sPlain.find("/Linearized"), std::string::npos);
  ExpectSound(sPlain);
}

TEST(LinearizerExhaustion, DeliversThePlainFile)
{
  CExhaustedDeflater deflater;
  for (const bool bTarget : {false, true})
  {
    BSE::CErrorHandler errors;
    const BSE::CObjectPtr<BSE::CMemoryStream> pTarget(bTarget ? new CExhaustedStream
                                                              : new BSE::CMemoryStream);
    EXPECT_FALSE(Save(pTarget.Get(), bTarget ? nullptr : &deflater, errors));
    EXPECT_EQ(errors.GetLastCode(), 0x83410544U);
    const std::string sPlain = GetBytes(*pTarget);
    EXPECT_EQ(sPlain.find("/Linearized"), std::string::npos);
    ExpectSound(sPlain);
  }
}

}  // namespace
}  // namespace PDF
