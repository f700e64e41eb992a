#pragma once

#include "base/Hash.h"
#include "base/PagedArray.h"
#include "document/ObjectTraverser.h"
#include "pdf/File.h"

namespace PDF
{

// What is known of one object number of an input.
struct TObjectTableEntry
{
  int m_nCanonical;    // 0: no candidate; its own number: first of its kind; else a duplicate of that
  int m_nNext;         // next duplicate of the same object, or 0
  unsigned m_nDigest;  // the first bytes of the MD5 digest, in memory order; 0 while there is none
};

using CObjectTable = BSE::CPagedArray<TObjectTableEntry, 32>;

// Feeds values to a hash, so that equal values give equal bytes, and enters a digest for every object that
// they lead to: children first, a reference counts as the digest of its object. A reference into an object
// that is still being digested counts as a fixed value, so that cycles end. Every object that gets a digest
// becomes a candidate, is loaded once more at most, and unloaded. Objects with an identity of their own get a
// digest of their own, and what they refer to is not looked at.
class CObjectDigestComputer : public CObjectTraverser
{
public:
  explicit CObjectDigestComputer(CFile& file) : m_file(file) {}
  virtual ~CObjectDigestComputer() = default;

  CObjectPtr VisitNull(const CObjectPtr& object) override;
  CObjectPtr VisitBoolean(const CObjectPtr& object) override;
  CObjectPtr VisitInteger(const CObjectPtr& object) override;
  CObjectPtr VisitReal(const CObjectPtr& object) override;
  CObjectPtr VisitString(const CObjectPtr& object) override;
  CObjectPtr VisitName(const CObjectPtr& object) override;

  // The key "Name" does not count.
  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitArray(const CObjectPtr& object) override;

  // Digests the object, and what it leads to, unless that is done.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

  // Numbers of the candidates without an identity of their own, each after those that it refers to.
  std::span<const int> GetOrder() const { return m_order.GetSpan(); }

protected:
  // Feeds what stands for a stream's decoded data: the same for equal data of equal dictionaries.
  virtual void FeedData(const CObjectPtr& stream) = 0;

  // What stands for the object of a reference, whose entry may be null.
  virtual unsigned GetReferenceValue(const TObjectTableEntry* pEntry) const
  {
    return pEntry ? pEntry->m_nDigest : 0;
  }

  // Null for 0 and for numbers that have no entry.
  virtual TObjectTableEntry* GetEntry(int nNumber) = 0;

  void Feed(std::span<const unsigned char> bytes);

  // Digest of an indirect object with its dictionary and data; of what it refers to, the reference values.
  void ComputeDigest(const CObjectPtr& object, std::span<unsigned char, BSE::CHashMD5::g_nDigestSize> digest);

  CFile& m_file;
  BSE::CHashFunction* m_pHash = nullptr;  // while an object is digested

private:
  class CWalk;

  void FeedText(const char* szText);
  void FeedCharacters(const char* pText, int nLength);
  void FeedCount(unsigned nCount);

  BSE::CBasicArray<int> m_order;
};

}  // namespace PDF
