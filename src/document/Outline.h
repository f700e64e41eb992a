#pragma once

#include "base/BasicArray.h"
#include "document/Destination.h"
#include "document/NumberSet.h"
#include "document/SemanticObject.h"
#include "pdf/TextString.h"

namespace PDF
{

class CFile;
class COutlineItem;

// The root of an outline (ISO 32000-1, 12.3.3) and the list of its children, of which it holds a reference
// each. Reading, writing and release use no recursion, however deep the tree is.
class COutline : public CSemanticObject
{
public:
  // An outline without children; the object may be null where one is to be written.
  explicit COutline(PDF::CObject* pObject) : CSemanticObject(pObject) {}
  COutline(const COutline&) = delete;
  COutline& operator=(const COutline&) = delete;

  // Writes the tree from here into new objects of a file that is written; the view is then on the copy. The
  // values of items must belong to that file. False if no object can be made there.
  virtual bool Save(CFile& file);

  virtual int GetItemCount() const { return m_items.GetSize(); }

  // Borrowed; null out of range.
  virtual COutlineItem* GetItem(int nIndex) const { return m_items[nIndex]; }

  // Appends. False for null and for an item that has a parent or children.
  virtual bool AddItem(COutlineItem* pItem);

  // False out of range.
  virtual bool RemoveItem(int nIndex);

  // Reads the tree that hangs from the object. A list of siblings ends at an item that was met before. False
  // if the object is not a dictionary.
  virtual bool Load(const CObjectPtr& object);

  // Reads the items of this level, which know their own objects and nothing else; visited are those met.
  virtual void LoadChildren(CNumberSet& visited);

  // The sign of "Count", and its value as it was read or written: the items that are shown below this one, or
  // would be.
  bool IsOpen() const { return m_bOpen; }
  void SetOpen(bool bOpen) { m_bOpen = bOpen; }
  std::int64_t GetCount() const { return m_nCount; }

protected:
  ~COutline() override;

  // "Count" of an object.
  void LoadCount(const CObjectPtr& object);

  // Whether the children are shown. Those of a root always are.
  virtual bool IsShown() const { return true; }

  // Entries other than the links of the tree.
  virtual void SaveEntries(PDF::CObject&) const {}

private:
  friend class COutlineItem;

  void SaveLinks(const CObjectPtr& dictionary) const;
  void LetGo(COutlineItem*& pDoomed);

  BSE::CObjectArray<COutlineItem> m_items;
  bool m_bOpen = false;
  std::int64_t m_nCount = 0;
};

// One entry of an outline, with the entries below it.
class COutlineItem : public COutline
{
public:
  explicit COutlineItem(PDF::CObject* pObject) : COutline(pObject) {}

  // This item and the tree below it.
  bool Load(const CObjectPtr& object) override;

  const CTextString& GetTitle() const { return m_title; }
  void SetTitle(const CTextString& title) { m_title = title; }

  // As it is: an array, or the name or string of a named destination.
  const CObjectPtr& GetDest() const { return m_dest; }
  void SetDest(const CObjectPtr& dest) { m_dest = dest; }
  CDestination GetDestination() const { return CDestination(m_dest); }

  const CObjectPtr& GetAction() const { return m_action; }
  void SetAction(const CObjectPtr& action) { m_action = action; }

  // 1 italic, 2 bold.
  int GetStyle() const { return m_nStyle; }
  void SetStyle(int nStyle) { m_nStyle = nStyle; }

  // An array of three numbers from 0 to 1, or null.
  const CObjectPtr& GetColor() const { return m_color; }
  void SetColor(const CObjectPtr& color) { m_color = color; }

  // Borrowed; null for an item in no list.
  COutline* GetParent() const { return m_pParent; }

protected:
  bool IsShown() const override { return IsOpen(); }
  void SaveEntries(PDF::CObject& dictionary) const override;

private:
  friend class COutline;

  void LoadEntries();

  CTextString m_title;
  CObjectPtr m_dest;
  CObjectPtr m_action;
  CObjectPtr m_color;
  int m_nStyle = 0;
  COutline* m_pParent = nullptr;
  COutlineItem* m_pNextDoomed = nullptr;
};

}  // namespace PDF
