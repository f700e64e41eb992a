#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "base/Error.h"
#include "base/Object.h"
#include "base/ObjectBuffer.h"
#include "base/Queue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace BSE
{
namespace
{

class CCounted : public CObject
{
public:
  explicit CCounted(int& nAlive) : m_nAlive(nAlive) { ++m_nAlive; }
  ~CCounted() override { --m_nAlive; }

private:
  int& m_nAlive;
};

template <class T>
bool IsInline(const CBasicArray<T>& array)
{
  const auto nData = reinterpret_cast<std::uintptr_t>(array.GetData());
  const auto nArray = reinterpret_cast<std::uintptr_t>(&array);
  return nData >= nArray && nData < nArray + sizeof(array);
}

TEST(BasicArray, MovesBetweenInlineAndHeap)
{
  int n = 0;
  CPtrArray<int> array;
  array.Add(&n);
  EXPECT_TRUE(IsInline(array));
  array.Add(nullptr);
  EXPECT_FALSE(IsInline(array));
  array.RemoveAt(1);
  EXPECT_TRUE(IsInline(array));
  EXPECT_EQ(array[0], &n);

  CPtrArray<int> moved(std::move(array));
  EXPECT_TRUE(IsInline(moved));
  EXPECT_EQ(moved[0], &n);
  CPtrArray<int> copy(moved);
  EXPECT_EQ(copy[0], &n);
}

TEST(BasicArray, OutOfRangeReadsZeroAndSwallowsStores)
{
  CBasicArray<int> array;
  array.Add(1);
  array[-1] = 7;
  array[1] = 8;
  array.SetAt(1, 9);
  EXPECT_EQ(array[-1], 0);
  EXPECT_EQ(array[1], 0);
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array[0], 1);
  array.InsertAt(3, 1);
  array.RemoveAt(-1);
  EXPECT_EQ(array.GetSize(), 1);
}

// The same random steps on our array and on the standard one.
TEST(BasicArray, AgreesWithVector)
{
  std::mt19937 random(1);
  CBasicArray<short> array;
  std::vector<short> model;
  for (int nStep = 0; nStep < 5000; ++nStep)
  {
    const auto nValue = static_cast<short>(random());
    const auto nAt = static_cast<std::ptrdiff_t>(random() % (model.size() + 1));
    switch (random() % 5)
    {
    case 0:
    case 1:
      array.Add(nValue);
      model.push_back(nValue);
      break;
    case 2:
      array.InsertAt(static_cast<int>(nAt), nValue);
      model.insert(model.begin() + nAt, nValue);
      break;
    case 3:
      if (nAt < std::ssize(model))
        model.erase(model.begin() + nAt);
      array.RemoveAt(static_cast<int>(nAt));
      break;
    default:
      if (nStep % 50 == 0)
      {
        array.SetSize(static_cast<int>(nAt));
        model.resize(static_cast<std::size_t>(nAt));
      }
    }
    ASSERT_EQ(std::vector<short>(array.GetSpan().begin(), array.GetSpan().end()), model);
  }
  array.Sort();
  std::sort(model.begin(), model.end());
  EXPECT_EQ(std::vector<short>(array.GetSpan().begin(), array.GetSpan().end()), model);
  EXPECT_EQ(array.Find(model.back()), std::find(model.begin(), model.end(), model.back()) - model.begin());
}

TEST(ObjectArray, KeepsReferences)
{
  int nAlive = 0;
  {
    CObjectArray<CCounted> array;
    array.Add(new CCounted(nAlive));
    array.SetAt(0, array[0]);
    EXPECT_EQ(nAlive, 1);
    array.Add(nullptr);
    array.InsertAt(1, new CCounted(nAlive));
    CObjectArray<CCounted> copy(array);
    array.SetSize(1);
    EXPECT_EQ(nAlive, 2);
    copy.RemoveAt(1);
    EXPECT_EQ(nAlive, 1);
    const CObjectPtr<CCounted> pOther(new CCounted(nAlive));
    copy.SetAt(9, pOther.Get());
    EXPECT_EQ(pOther->GetRefCount(), 1);
  }
  EXPECT_EQ(nAlive, 0);
}

TEST(BasicMap, RemovedKeyLeavesAGap)
{
  int values[3];
  CBasicMap map;
  for (int i = 0; i < 3; ++i)
    map.SetAt(&i, sizeof(i), values + i);
  const int nKey = 1;
  EXPECT_EQ(map.RemoveKey(&nKey, sizeof(nKey)), values + 1);
  EXPECT_EQ(map.RemoveKey(&nKey, sizeof(nKey)), nullptr);
  EXPECT_EQ(map.GetCount(), 2);
  EXPECT_EQ(map.GetEnd(), 3);
  EXPECT_EQ(map.GetNext(map.GetBegin()), 2);
  EXPECT_EQ(map.SetAt(&nKey, sizeof(nKey), values), 3);
  EXPECT_EQ(map.GetNext(2), 3);
  EXPECT_EQ(map.SetAt(nullptr, 0, values + 2), 4);
  EXPECT_EQ(map.GetValue(map.Lookup("x", 0)), values + 2);
}

TEST(BasicMap, HashKeepsTheSign)
{
  EXPECT_EQ(HashKey("", 0), 0);
  // Worked out by hand from the definition with 32-bit arithmetic and sign-carrying shifts.
  const auto reference = [](const std::string& key)
  {
    std::int64_t h = 0;
    const auto wrap = [](std::int64_t n) { return static_cast<std::int64_t>(static_cast<std::int32_t>(n)); };
    for (const char c : key)
    {
      const std::int64_t t = wrap(wrap(h + static_cast<unsigned char>(c)) * 1025);
      h = (t >> 6) ^ t;
    }
    const std::int64_t t = wrap(h * 9);
    h = (t >> 11) ^ t;
    return static_cast<int>(wrap(h * 32769));
  };
  for (const std::string key : {"a", "Type", "\x80\xFF\x80", "a longer key that wraps around"})
    EXPECT_EQ(HashKey(key.data(), key.size()), reference(key));
}

TEST(BasicMap, AgreesWithStandardMap)
{
  std::mt19937 random(2);
  CValueKeyPtrMap<unsigned, char> map;
  std::map<unsigned, char*> model;
  std::vector<char> values(1000);
  for (int nStep = 0; nStep < 20000; ++nStep)
  {
    const auto nKey = static_cast<unsigned>(random() % 700);
    char* pValue = &values[random() % values.size()];
    if (random() % 3 == 0)
    {
      map.RemoveKey(nKey);
      model.erase(nKey);
    }
    else
    {
      map.SetAt(nKey, pValue);
      model[nKey] = pValue;
    }
  }
  ASSERT_EQ(map.GetCount(), static_cast<int>(model.size()));
  for (const auto& [nKey, pValue] : model)
    EXPECT_EQ(map.Find(nKey), pValue);
  int nSeen = 0;
  for (int i = map.GetBegin(); i != map.GetEnd(); i = map.GetNext(i), ++nSeen)
    EXPECT_EQ(model[map.GetKeyAt(i)], map.GetAt(i));
  EXPECT_EQ(nSeen, static_cast<int>(model.size()));
}

TEST(ObjectMap, KeepsReferences)
{
  int nAlive = 0;
  {
    CValueKeyObjectMap<int, CCounted> map;
    map.SetAt(1, new CCounted(nAlive));
    map.SetAt(1, map.Find(1));
    EXPECT_EQ(nAlive, 1);
    map.SetAt(1, new CCounted(nAlive));
    map.SetAt(2, new CCounted(nAlive));
    EXPECT_EQ(nAlive, 2);
    map.RemoveKey(1);
    EXPECT_EQ(nAlive, 1);
  }
  EXPECT_EQ(nAlive, 0);
}

TEST(Queue, KeepsOrderAndLimit)
{
  CQueue<long> queue(3);
  EXPECT_EQ(queue.Pop(), 0);
  EXPECT_TRUE(queue.PushFront(2));
  EXPECT_TRUE(queue.Push(3));
  EXPECT_TRUE(queue.PushFront(1));
  EXPECT_FALSE(queue.Push(4));
  EXPECT_FALSE(queue.PushFront(4));
  for (long n = 1; n <= 3; ++n)
  {
    EXPECT_EQ(queue.Peek(), n);
    EXPECT_EQ(queue.Pop(), n);
  }
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(queue.Push(5));
  EXPECT_EQ(queue.Pop(), 5);
}

TEST(Queue, RefusedObjectStaysWithTheCaller)
{
  int nAlive = 0;
  {
    CQueue<CObjectPtr<IObject>> queue(2);
    CObjectPtr<IObject> pFirst(new CCounted(nAlive));
    CObjectPtr<IObject> pSecond(new CCounted(nAlive));
    CObjectPtr<IObject> pThird(new CCounted(nAlive));
    EXPECT_TRUE(queue.Push(pFirst));
    EXPECT_TRUE(queue.Push(pSecond));
    EXPECT_FALSE(queue.Push(pThird));
    EXPECT_FALSE(pFirst);
    EXPECT_TRUE(pThird);
    EXPECT_EQ(nAlive, 3);
    EXPECT_TRUE(queue.Pop());
    EXPECT_EQ(nAlive, 2);

    CQueue<COwnerPtr<IObject>> owners(1);
    COwnerPtr<IObject> pOwner(pThird.Detach());
    EXPECT_TRUE(owners.Push(pOwner));
    pOwner = owners.Pop();
    EXPECT_TRUE(pOwner);
    EXPECT_FALSE(owners.Pop());
    EXPECT_TRUE(owners.PushFront(pOwner));
  }
  EXPECT_EQ(nAlive, 0);
}

TEST(ObjectBuffer, GrowsByDoublingAndShrinks)
{
  struct TRecord
  {
    int m_nFirst;
    int m_nOthers[8];
  };
  CObjectBuffer<TRecord, false, 56> records;
  records.SetSize(57);
  EXPECT_EQ(records.GetAllocated(), 112U);
  EXPECT_EQ(records[56].m_nFirst, 0);
  records[0].m_nFirst = 4;
  records.SetSize(1);
  EXPECT_EQ(records.GetAllocated(), 56U);
  EXPECT_EQ(records[0].m_nFirst, 4);
  try
  {
    records.SetSize(std::size_t{1} << 58);
    ADD_FAILURE() << "memory without end";
  }
  catch (CError* pError)
  {
    EXPECT_EQ(pError->GetCode(), g_nOutOfMemory);
  }
  EXPECT_EQ(records[0].m_nFirst, 4);
  records.SetSize(0);
  EXPECT_EQ(records.GetAllocated(), 0U);
}

TEST(ObjectBuffer, RunsConstructorsAndDestructors)
{
  const auto pShared = std::make_shared<std::string>("x");
  {
    CObjectBuffer<std::shared_ptr<std::string>, true, 2> buffer;
    for (int i = 0; i < 9; ++i)
      buffer.Add(i == 0 ? pShared : buffer[0]);
    EXPECT_EQ(pShared.use_count(), 10);
    buffer.SetSize(4);
    EXPECT_EQ(pShared.use_count(), 5);
    EXPECT_EQ(buffer.GetAllocated(), 4U);
  }
  EXPECT_EQ(pShared.use_count(), 1);
}

}  // namespace
}  // namespace BSE
