#pragma once

#include "base/BasicArray.h"
#include "document/NumberSet.h"
#include "document/StatusCodes.h"
#include "pdf/File.h"

namespace PDF
{

class CBTree;
class CObjectTraverser;

// The step of a copy that handles streams: it gives them another encoding, and leaves their data alone.
class IStreamStep
{
public:
  // Once for each stream, after its dictionary and data have been carried over and before it is written. The
  // source is null for a stream that the copy has made itself. The target may get other filters, parameters
  // and another stream part.
  virtual void HandleStream(const CObjectPtr& source, const CObjectPtr& target) = 0;

protected:
  ~IStreamStep() = default;
};

// What every copier shares: the two files, and how one object is carried from the one to the other. The map
// of object numbers belongs to the target file, so that copiers on the same pair of files see each other's
// copies.
//
// Pages are never copied on the way to something else: a reference to a page, or to a node of a page tree,
// gives the target object that stands for it, without a value. Whoever copies pages fills it; one that is
// never filled is written as null. In a copy of a document the same is true of elements of the structure
// tree.
class CCopyBase
{
public:
  CCopyBase(const CCopyBase&) = delete;
  CCopyBase& operator=(const CCopyBase&) = delete;

  // Both files must outlive the copier's use. Null unbinds. A new save begins here: nothing is refused, no
  // damage reported.
  void SetFiles(CFile* pSource, CFile* pTarget);

  // The page tree whose objects are known to be pages and nodes; null leaves that to their "Type".
  void SetSourceTree(const CBTree* pTree) { m_pSourceTree = pTree; }

  // The same files, group and pages as another copier, which has to live longer, and one account of the save.
  void ShareWith(CCopyBase& other);
  CFile* GetSource() const { return m_pSource; }
  CFile* GetTarget() const { return m_pTarget; }

  // Object-stream group of new objects: 0 to 2, or g_nGroupDirect for that of the source object.
  int GetGroup() const { return m_nGroup; }
  void SetGroup(int nGroup) { m_nGroup = nGroup; }

  // Whether a copy is written, and leaves memory, as soon as it is done.
  bool IsFlushing() const { return m_bFlush; }
  void SetFlushing(bool bFlush) { m_bFlush = bFlush; }

  // Number of the target object; an object of another file than the source, or none, gives an empty pointer.
  CObjectPtr GetCopy(const CObjectPtr& source) const;
  CObjectPtr GetOrCreateCopy(const CObjectPtr& source, bool& bCreated);

  // True for a page or a node of a page tree.
  bool IsPageObject(const CObjectPtr& source) const;

  // True if the page is in the target already.
  bool IsPageCopied(const CObjectPtr& sourcePage) const;

  // The value of a reference, or a direct object itself.
  static CObjectPtr GetDirect(const CObjectPtr& object)
  {
    return object.IsIndirect() ? object.GetValueObject() : object;
  }

  // True for a target object that has a value or was written.
  static bool IsFilled(const CObjectPtr& target);

  // Gives the target the source's value and stream part, as the visitor returns them. The target is locked
  // meanwhile, and flushed at the end if flushing was on at the beginning. The source is unloaded.
  void FillCopy(CObjectTraverser& visitor, const CObjectPtr& source, const CObjectPtr& target);

  // Writes a target that is complete, if flushing is on, and unloads its source.
  void FinishCopy(const CObjectPtr& source, const CObjectPtr& target);

  // Reports as a loss, once in a save, what an object of the source lacks. To be called for every object
  // whose value has been taken over; FinishCopy does.
  void TellDamage(const CObjectPtr& source);

  // Borrowed, and kept until it is replaced; null for streams that stay as they are.
  void SetStreamStep(IStreamStep* pStep) { m_pState->m_pStreamStep = pStep; }

  // Takes a stream of the target through the step, unless its encoding is final. FillCopy does.
  void HandleStream(const CObjectPtr& source, const CObjectPtr& target);

  // True once a stream was refused: its data are missing in the target, which must not be taken for a copy.
  bool IsRefused() const { return m_pState->m_bRefused; }

  // From now on elements of the structure tree wait for CStructTreeCopier.
  void SetStructureApart() { m_pState->m_bStructureApart = true; }

  // Drops the objects of both files that were copied since the last call and that nobody else holds; they are
  // made again when wanted. Their user data goes with them.
  void ReleaseCopied();

protected:
  CCopyBase() = default;
  ~CCopyBase() = default;

  // A new container with what the visitor returns for each entry or element. Null entries are left out, null
  // elements stay.
  static CObjectPtr CopyEntries(CObjectTraverser& visitor, const CObjectPtr& dictionary);
  static CObjectPtr CopyElements(CObjectTraverser& visitor, const CObjectPtr& array);

  // What the copiers of one save know together.
  struct TState
  {
    CNumberSet m_told;  // objects whose damage has been reported
    bool m_bRefused = false;
    IStreamStep* m_pStreamStep = nullptr;

    // Elements of the structure tree that something else led to: they have a target, and wait for the copier
    // of the tree, which alone knows what belongs into it.
    bool m_bStructureApart = false;
    CNumberSet m_putOff;
    BSE::CBasicArray<int> m_putOffOrder;
    CNumberSet m_omitted;  // that the tree leaves out
  };

  // True for an object of the source's page tree, which is known without a look at it.
  bool IsInTree(const CObjectPtr& source) const;

  // True for a reference to nothing, whose copy is null, and for one to a reference, which is next. Loading
  // has cut chains of these, so that a visitor may follow them with a recursion.
  bool LeadsElsewhere(const CObjectPtr& source, CObjectPtr& next);

  // True for an object that is filled by somebody else: a page or a node of a page tree, or an element of the
  // structure tree, which is put off until the tree is copied.
  bool IsLeftToOther(const CObjectPtr& source);

  // Forgets what ReleaseCopied would drop, when the target file is given up.
  void ForgetCopied() { m_copied.RemoveAll(); }

  CFile* m_pSource = nullptr;
  CFile* m_pTarget = nullptr;
  const CBTree* m_pSourceTree = nullptr;
  TState* m_pState = &m_ownState;
  int m_nGroup = 0;
  bool m_bFlush = true;
  bool m_bTakesStructure = false;  // this copier fills elements itself

  // Number of the source object that is filled, from when its value is visited until an override takes note.
  int m_nFilled = 0;

private:
  // False, reported, for a stream part that would carry the same bytes of the source over once too often.
  bool AdmitStream(const CObjectPtr& stream);

  // Objects after which memory is tidied up.
  static constexpr int g_nReleaseLimit = 4096;

  TState m_ownState;
  BSE::CBasicArray<int> m_copied;  // source number, target number
};

// Sets the group of a copier for a scope.
class CGroupScope
{
public:
  CGroupScope(CCopyBase& copier, int nGroup) : m_copier(copier), m_nOld(copier.GetGroup())
  {
    copier.SetGroup(nGroup);
  }
  CGroupScope(const CGroupScope&) = delete;
  CGroupScope& operator=(const CGroupScope&) = delete;
  ~CGroupScope() { m_copier.SetGroup(m_nOld); }

private:
  CCopyBase& m_copier;
  int m_nOld;
};

}  // namespace PDF
