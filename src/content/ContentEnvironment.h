#pragma once

#include "content/ContentAccount.h"
#include "content/ContentResource.h"
#include "document/Document.h"
#include "document/OptionalContent.h"

namespace PDF
{

// What the parsers of all content of one document share in one pass: where fonts and colour spaces come from,
// which optional content is visible, and the account of their work. Lives longer than they do; for one
// thread.
class CContentEnvironment
{
public:
  // Borrows both. Without resources no text is measured, and only device colour spaces are known.
  explicit CContentEnvironment(CDocument& document, IContentResources* pResources = nullptr);
  CContentEnvironment(const CContentEnvironment&) = delete;
  CContentEnvironment& operator=(const CContentEnvironment&) = delete;

  CDocument& GetDocument() { return m_document; }
  IContentResources* GetResources() const { return m_pResources; }
  CContentAccount& GetAccount() { return m_account; }

  // Whether content with this group or membership dictionary is visible in the default configuration.
  bool IsVisible(const CObjectPtr& content);

  // Whether numbers, names and strings that are beyond the limits of an archival file are reported.
  bool IsStrict() const { return m_bStrict; }
  void SetStrict(bool bStrict) { m_bStrict = bStrict; }

  // What it means for the result where content is dropped: nothing for a pass that only looks, as at the
  // start; a loss for one that writes what it reads.
  BSE::TConsequence GetConsequence() const { return m_consequence; }
  void SetConsequence(BSE::TConsequence consequence) { m_consequence = consequence; }

  // True the first time that content is given up for its work: that is reported once.
  bool NoteRefusal() { return !std::exchange(m_bRefusalNoted, true); }

  // Counts a graphics state that is saved; false beyond the limit.
  bool AddSavedState() { return ++m_nSavedStates <= BSE::g_nMaxSavedStates; }
  void DropSavedStates(int nCount) { m_nSavedStates -= nCount; }

private:
  CDocument& m_document;
  IContentResources* m_pResources;
  CContentAccount m_account;
  COptionalContent m_optional;
  BSE::CValueKeyPtrMap<int, char> m_visible;  // groups by number
  BSE::TConsequence m_consequence = BSE::eNoConsequence;
  int m_nSavedStates = 0;
  bool m_bOptionalLoaded = false;
  bool m_bRefusalNoted = false;
  bool m_bStrict = false;
};

}  // namespace PDF
