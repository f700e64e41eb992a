#pragma once

#include "base/PagedArray.h"
#include "document/NumberSet.h"
#include "document/ObjectDigestComputer.h"
#include "pdf/File.h"

namespace PDF
{

// By object number, the one that stands for it; 0: no other.
using CCanonicalNumbers = BSE::CPagedArray<int, 64>;

// Finds equal indirect objects of every kind in one walk over all that the trailer leads to, children before
// parents, so that a parent is compared with its references already replaced: equal fonts merge with all that
// belongs to them. Objects with an identity of their own (HasIdentity), arrays that list such objects or
// nothing, borders of annotations and their appearances but those of states, what the catalogue and the
// trailer refer to themselves, and whatever leads back to itself without meeting one of these, stay apart.
// Time is linear in the bytes of the file, memory in the number of its objects; equality is that of 128-bit
// digests of a strong hash.
class CEqualObjectMerger
{
public:
  // What is redirected already by a table, which is borrowed and may be empty, counts as one object. With
  // bDecode streams are equal if their decoded data are; for a copy that encodes them anew.
  void Run(CFile& file, const CObjectTable& table, bool bDecode);

  // The number of the object that stands for this one, itself for most.
  int GetCanonical(int nNumber) const
  {
    const int nTarget = m_canonical[nNumber];
    return nTarget > 0 ? nTarget : nNumber;
  }

  // Forgets everything.
  void RemoveAll() { m_canonical.RemoveAll(); }

private:
  CCanonicalNumbers m_canonical;
};

}  // namespace PDF
