#pragma once

#include "base/BasicArray.h"
#include "document/NumberSet.h"
#include "pdf/Object.h"
#include "pdf/TextString.h"

namespace PDF
{

// An optional content group (ISO 32000-1, 8.11.2.1) by value.
class COCG
{
public:
  COCG() = default;
  explicit COCG(const CObjectPtr& object) : m_object(object) {}

  // True for a dictionary of the type "OCG".
  bool IsValid() const { return m_object.IsDictionary() && m_object["Type"].IsName("OCG"); }

  const CObjectPtr& GetObject() const { return m_object; }
  CTextString GetName() const { return CTextString(m_object["Name"].GetStringValue()); }

private:
  CObjectPtr m_object;
};

// The optional content of a document, read from the catalogue's "OCProperties" with the default configuration
// "D" (ISO 32000-1, 8.11.4).
class COptionalContent
{
public:
  // A place in the order in which groups are shown to a user.
  struct TOrderEntry
  {
    CObject* m_pObject;  // a group, or the string that heads a list; held by this object
    int m_nLevel;        // 0 for the outermost list
  };

  COptionalContent() = default;
  COptionalContent(const COptionalContent&) = delete;
  COptionalContent& operator=(const COptionalContent&) = delete;

  // False if the object is not a dictionary. Lists that lead back to themselves are left out of the order.
  bool Load(const CObjectPtr& properties);

  int GetGroupCount() const { return m_groups.GetSize(); }
  COCG GetGroup(int nIndex) const { return COCG(m_groups[nIndex]); }

  std::span<const TOrderEntry> GetOrder() const { return m_order.GetSpan(); }

  // The state of a group in the default configuration; true for what is not a group of the document.
  bool IsOn(const CObjectPtr& group) const { return !m_off.Contains(group.GetObjNumber()); }

  // Of content marked with a group or a membership dictionary (ISO 32000-1, 8.11.2.2), by the policy in "P":
  // "AllOn", "AnyOn", "AnyOff" or "AllOff". Anything else, and a membership of no groups, is visible.
  bool IsVisible(const CObjectPtr& content) const;

  // Usage application dictionaries "AS": an event ("View", "Print", "Export"), the groups it is about, and
  // the usage categories that decide. Null elements are possible.
  const CObjectPtr& GetUsages() const { return m_usages; }

private:
  void LoadStates(const CObjectPtr& configuration);
  void LoadOrder(const CObjectPtr& order);

  BSE::CObjectArray<CObject> m_groups;
  BSE::CObjectArray<CObject> m_orderObjects;
  BSE::CBasicArray<TOrderEntry> m_order;
  CNumberSet m_off;
  CObjectPtr m_usages;
};

}  // namespace PDF
