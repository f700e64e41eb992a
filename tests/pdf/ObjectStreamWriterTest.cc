#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace PDF
{
namespace
{

class ObjectStreamWriter : public testing::Test
{
protected:
  void Create(int nMinor)
  {
    m_file.InitVersion(1, nMinor);
    ASSERT_TRUE(m_file.Create(m_pOutput.Get(), CString(), true, true));
  }
  std::string Finish()
  {
    EXPECT_TRUE(m_file.Close());
    return GetBytes(*m_pOutput);
  }
  int GetStreamOf(const CObjectPtr& object) { return m_file.GetXRef().GetStreamOf(object.GetObjNumber()); }

  BSE::CObjectPtr<BSE::CMemoryStream> m_pOutput{new BSE::CMemoryStream};
  CFile m_file{nullptr};
};

TEST_F(ObjectStreamWriter, KeepsGroupsApartAndLeavesOutWhatCannotBeAMember)
{
  Create(5);
  AddPages(m_file, 3, 0);
  const CObjectPtr second = AddObject(m_file, 1, MakeInteger(11));
  const CObjectPtr third = AddObject(m_file, 2, MakeString("third"));
  const CObjectPtr direct = AddObject(m_file, 3, MakeInteger(1));
  const CObjectPtr null = AddObject(m_file, 0, CObjectPtr());
  const CObjectPtr alias = AddObject(m_file, 0, second);
  const CObjectPtr generation = m_file.NewObject(0, 4, 0);
  generation->SetValueObject(MakeInteger(5).Get());
  const CObjectPtr stream = AddObject(m_file, 0, MakeDictionary({}));
  stream->SetStreamObject(new CStreamObject(MakeStream("s").Get()));
  EXPECT_TRUE(m_file.FinishRevision());
  const std::set<int> holders = {GetStreamOf(m_file.GetRoot()), GetStreamOf(second), GetStreamOf(third)};
  EXPECT_EQ(holders.size(), 3U);
  EXPECT_EQ(holders.count(-1), 0U);
  for (const CObjectPtr& object : {direct, null, alias, generation, stream})
    EXPECT_EQ(GetStreamOf(object), -1) << object.GetObjNumber();
  EXPECT_EQ(third.GetStringValue(), CString("third"));
  EXPECT_EQ(alias.GetIntegerValue(), 11);
  EXPECT_EQ(generation.GetIntegerValue(), 5);
  EXPECT_TRUE(m_file.Close());
}

TEST_F(ObjectStreamWriter, KeepsOneEntryForAnObjectWrittenTwice)
{
  Create(5);
  AddPages(m_file, 1, 0);
  CObjectPtr objects[4];
  for (int i = 0; i < 4; ++i)
  {
    objects[i] = AddObject(m_file, 0, MakeInteger(i));
    ASSERT_TRUE(objects[i]->Flush(false));
  }
  objects[1]->SetValueObject(MakeInteger(100).Get());
  ASSERT_TRUE(objects[1]->Flush(false));
  CXRefTable& xref = m_file.GetXRef();
  const int expected[] = {0, 3, 1, 2};
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(xref.GetIndexOf(objects[i].GetObjNumber()), expected[i]) << i;
  // Moved out of the stream, its number there means nothing any more.
  objects[2]->SetCompressedFlags(3);
  objects[2]->SetValueObject(MakeInteger(200).Get());
  ASSERT_TRUE(objects[2]->Flush(true));
  for (CObjectPtr& object : objects)
    object->Unload();
  const int values[] = {0, 100, 200, 3};
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(objects[i].GetIntegerValue(), values[i]);
  ExpectSound(Finish());
}

TEST_F(ObjectStreamWriter, CompletesAStreamByItsLength)
{
  Create(7);
  AddPages(m_file, 1, 0);
  std::set<int> holders;
  CObjectPtr last;
  for (int i = 0; i < 2000; ++i)
  {
    last =
        AddObject(m_file, 0, MakeDictionary({{"Index", MakeInteger(i)}, {"Text", MakeString("some text")}}));
    ASSERT_TRUE(last->Flush(true));
    holders.insert(GetStreamOf(last));
  }
  // 35 bytes each, 15000 to a stream.
  EXPECT_EQ(holders.size(), 5U);
  // Reading back a member does not complete its stream, and later ones still come after it.
  last->Unload();
  EXPECT_EQ(last["Index"].GetIntegerValue(), 1999);
  const CObjectPtr next = AddObject(m_file, 0, MakeInteger(1));
  ASSERT_TRUE(next->Flush(true));
  EXPECT_EQ(GetStreamOf(next), GetStreamOf(last));
  EXPECT_EQ(next.GetIntegerValue(), 1);
  EXPECT_TRUE(m_file.FinishRevision());
  EXPECT_GT(m_file.GetSavedBytes(), 80000);
  const std::string bytes = Finish();
  EXPECT_NE(bytes.find("/Predictor 12"), std::string::npos);
  EXPECT_LT(bytes.size(), 20000U);
  ExpectSound(bytes);
}

TEST_F(ObjectStreamWriter, NeedsVersion15)
{
  Create(4);
  AddPages(m_file, 2, 0);
  const std::string bytes = Finish();
  EXPECT_EQ(bytes.find("ObjStm"), std::string::npos);
  EXPECT_NE(bytes.find("\nxref\n"), std::string::npos);
  ExpectSound(bytes);
}

}  // namespace
}  // namespace PDF
