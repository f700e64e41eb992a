#include "base/Object.h"

#include "base/ObjectPtr.h"
#include "base/ThreadSafeObject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace BSE
{
namespace
{

class CNode : public CObject
{
public:
  explicit CNode(int& nAlive) : m_nAlive(nAlive) { ++m_nAlive; }
  ~CNode() override { --m_nAlive; }
  CObjectPtr<CNode> m_pNext;

private:
  int& m_nAlive;
};

class CShared : public CAPIObject
{
public:
  explicit CShared(std::atomic<int>& nAlive) : m_nAlive(nAlive) { ++m_nAlive; }
  ~CShared() override { --m_nAlive; }

private:
  std::atomic<int>& m_nAlive;
};

TEST(ObjectPtr, SurvivesAssignmentFromItsOwnObject)
{
  int nAlive = 0;
  CObjectPtr<CNode> p(new CNode(nAlive));
  p->m_pNext = new CNode(nAlive);
  p = p->m_pNext;  // kept alive only by what it replaces
  EXPECT_EQ(nAlive, 1);
  EXPECT_EQ(p->GetRefCount(), 1);
  p = p.Get();
  EXPECT_EQ(p->GetRefCount(), 1);
  CObjectPtr<IObject> pBase(p);
  p.Reset();
  EXPECT_EQ(nAlive, 1);
  pBase = nullptr;
  EXPECT_EQ(nAlive, 0);
}

TEST(ObjectPtr, SmallValuesAreNeverTouched)
{
  CObjectPtr<CNode> p(reinterpret_cast<CNode*>(1));
  CObjectPtr<CNode> copy(p);
  EXPECT_FALSE(copy);
  EXPECT_EQ(copy.Get(), reinterpret_cast<CNode*>(1));
  copy = nullptr;
  COwnerPtr<CNode> owner(reinterpret_cast<CNode*>(4095));
  EXPECT_FALSE(owner);
}

TEST(ObjectPtr, OwnerTakesTheReferenceOver)
{
  int nAlive = 0;
  CObjectPtr<CNode> p(new CNode(nAlive));
  CNode* pNode = p.Detach();
  {
    COwnerPtr<CNode> owner(pNode);
    EXPECT_EQ(pNode->GetRefCount(), 1);
  }
  EXPECT_EQ(nAlive, 0);
}

TEST(Object, StackObjectIsNeverDeleted)
{
  int nAlive = 0;
  {
    CNode node(nAlive);
    node.AddRef();
    node.AddRef();
    node.Release();
    EXPECT_EQ(node.GetRefCount(), 1);
    CNode copy(node);
    ++nAlive;  // the copy constructor does not count
    EXPECT_EQ(copy.GetRefCount(), 0);
  }
  EXPECT_EQ(nAlive, 0);
}

TEST(ThreadSafeObject, CountsOnManyThreads)
{
  std::atomic<int> nAlive = 0;
  {
    CObjectPtr<CShared> pShared(new CShared(nAlive));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back(
          [pShared]
          {
            for (int n = 0; n < 2000; ++n)
              CObjectPtr<CShared> pCopy(pShared);
          });
    for (std::thread& thread : threads)
      thread.join();
    threads.clear();
    EXPECT_EQ(pShared->GetRefCount(), 1);
  }
  EXPECT_EQ(nAlive, 0);
}

}  // namespace
}  // namespace BSE
