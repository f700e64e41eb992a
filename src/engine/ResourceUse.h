#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "content/NameCollector.h"
#include "content/ParserContext.h"
#include "document/NumberSet.h"
#include "engine/StandIns.h"

namespace PDF
{

// Which resources of a document some content names. The analysis tells it what it reads, and what it cannot
// read; then a copy may leave out the entries of resource dictionaries that nobody names.
//
// It errs on the side of use: what is named by one content counts as used wherever it is listed, whatever the
// category. Content that could not be read as a whole makes all used that it might name. Names that stand for
// the colour spaces of devices (ISO 32000-1, 8.6.5.6) are used by content that never writes them.
class CResourceUse
{
public:
  // Forgets all, and knows the objects that a file has now: others, made later, are used. From now on, until
  // it is given up or forgotten, unused entries may be dropped.
  void Begin(int nObjects);
  void Forget();

  // Everything is used.
  void GiveUp() { m_bActive = false; }
  bool IsActive() const { return m_bActive; }

  // --- For the analysis

  // The names of a content that was read to its end, with the resources that it has. A name that these lack
  // may be meant for any resources around it. So may the names in a colour space that is named, which the
  // format does not allow, but readers do.
  void AddNames(const CNameCollector& names, const CParserContext& context);

  // Names that are meant for resources which are not known.
  void AddNamesAnywhere(const CNameCollector& names);

  // The names in a colour space, which may be null.
  void AddColorSpace(const CObjectPtr& space) { AddSpaceNames(space, 0); }

  // Everything that a resource dictionary lists; no more than that.
  void AddAll(const CObjectPtr& resources);

  // XObjects, patterns, fonts and the groups of soft masks that have been named so far, which content may
  // draw that nobody has read.
  int GetNamedCount() const { return m_named.GetSize(); }
  int GetNamed(int nIndex) const { return m_named[nIndex]; }

  // A form or pattern whose content was read, so that its resources may lose entries.
  void AddRead(int nForm) { m_read.Add(nForm); }
  bool IsRead(int nForm) const { return m_read.Contains(nForm); }

  // --- For the copy

  // Before the first question: takes note of what stands for the objects that are used, then and in the
  // questions. Borrowed.
  void Settle(const CStandIns& standIns);

  // Whether the key of a resource dictionary names a category that can lose entries.
  static bool IsCategory(const char* szKey);

  // Whether an entry of such a category may be left out.
  bool IsUnused(const char* szCategory, const char* szName, const CObjectPtr& value) const;

  // Whether there is any such entry in a category, or in a resource dictionary.
  bool HasUnused(const char* szCategory, const CObjectPtr& entries) const;
  bool HasUnused(const CObjectPtr& resources) const;

private:
  static constexpr int g_nMaxNames = 1 << 16;

  void AddEntry(const char* szCategory, const char* szName, const CObjectPtr& value);
  void AddSpaceNames(const CObjectPtr& space, int nDepth);
  void AddState(const CObjectPtr& state);
  void AddName(const char* szName);
  bool HasName(const char* szName) const;

  bool m_bActive = false;
  int m_nObjects = 0;             // of the file, when it began
  CNumberSet m_used;              // objects that entries refer to
  CNumberSet m_drawn;             // what graphics states refer to
  BSE::CBasicArray<int> m_named;  // of both what may have content, in the order of their first use
  CNumberSet m_read;              // forms and patterns
  CNumberSet m_whole;             // resource dictionaries all of which is used
  CNumberSet m_wholeEntries;      // categories of them
  BSE::CBasicMap m_names;  // of direct values that are used, and of what may be meant for any resources
  const CStandIns* m_pStandIns = nullptr;
};

}  // namespace PDF
