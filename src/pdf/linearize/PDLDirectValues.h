#pragma once

#include "base/Hash.h"
#include "pdf/linearize/PDLPageTree.h"

// Long direct values of pages and the catalogue that become objects of their own, so that they can be in
// object streams: pages and the catalogue cannot. Values that pages commonly share are one object where their
// bytes are the same.
class PDLDirectValues
{
public:
  struct TValue
  {
    int m_nOwner;  // object of the file that has it: the first of those that share it
    int m_nNode;   // of the value in that object; or the complement of the value that a page inherits
    int m_nSize;
    bool m_bShared = false;     // by at least two pages
    bool m_bFirstPage = false;  // the first page has it
    bool m_bLate = false;       // of the catalogue, and not needed to show a page
  };

  // Where a page or the catalogue has a value.
  struct TUse
  {
    int m_nNode;  // as above
    int m_nValue;
    bool m_bFirst;  // no other use of the value is in front of this one
  };

  // The catalogue keeps its values if they cannot be read.
  void Collect(PDFile& file, const PDLPageTree& tree);

  int GetCount() const { return m_values.GetSize(); }
  const TValue& GetValue(int nValue) const { return m_values[nValue]; }

  // In the order of the keys; what a page inherits comes last. Pages by their index in the tree.
  std::span<const TUse> GetPageUses(int nPage) const { return GetUses(nPage); }
  std::span<const TUse> GetCatalogueUses() const { return GetUses(m_starts.GetSize() - 2); }

private:
  using CDigest = std::array<unsigned char, BSE::CHashSHA256::g_nDigestSize>;

  struct TCandidate
  {
    int m_nPage;  // their number for the catalogue
    TValue m_value;
    int m_nFirst;  // candidate whose value it is; -1 for none
  };
  struct TSharable
  {
    CDigest m_digest;
    int m_nCandidate;
  };

  void CollectPage(PDFile& file, const PDLPageTree& tree, int nPage);
  void CollectCatalogue(PDFile& file, int nPage);

  // Equal values of one scope are one. What pages inherit in an encrypted document has a scope of its own:
  // strings in it are encrypted for the node that it is from.
  static constexpr int g_nAnyScope = -1;
  void AddCandidate(int nPage, const TValue& value, std::span<const unsigned char> text, bool bSharable,
                    int nScope = g_nAnyScope);
  void Share();
  void ShareGroup(std::span<const TSharable> group);
  void AddUses(int nOwners);
  std::span<const TUse> GetUses(int nOwner) const;

  BSE::CBasicArray<TValue> m_values;
  BSE::CBasicArray<TUse> m_uses;
  BSE::CBasicArray<int> m_starts;  // in the uses: of each page, of the catalogue, and the end
  BSE::CBasicArray<TCandidate> m_candidates;
  BSE::CBasicArray<TSharable> m_sharables;
  PDObj m_object;
};
