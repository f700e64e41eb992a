#pragma once

#include "document/NumberSet.h"
#include "document/StructTreeCopier.h"
#include "engine/AnnotationStripper.h"

namespace PDF
{

// Knows during a save which objects do not enter the output, by whatever way they are reached: annotations
// that are dropped, signatures with their fields, and the structure tree where that is stripped. The answer
// for an object depends on the object and its ancestors among the fields alone, not on the order of
// questions.
class CObjectStripper : public IObjectFilter
{
public:
  // The options must outlive the stripper. Reports go to the context where the object has none.
  CObjectStripper(const TOptimizerOptions& options, BSE::IErrorContext* pErrorContext)
      : m_options(options), m_annotations(options, pErrorContext)
  {
  }
  CObjectStripper(const CObjectStripper&) = delete;
  CObjectStripper& operator=(const CObjectStripper&) = delete;
  virtual ~CObjectStripper() = default;

  // Forgets what was dropped, for a new save.
  void Reset()
  {
    m_dropped.RemoveAll();
    m_looks.RemoveAll();
    m_annotations.Reset();
  }

  bool IsLostField(const CObjectPtr& field) { return m_annotations.IsLostField(field); }
  bool IsFlattenedSignature(const CObjectPtr& annotation)
  {
    return m_annotations.IsFlattenedSignature(annotation);
  }
  void TellSignatureOnce() { m_annotations.TellSignatureOnce(); }

  // The fate of an element of a page's list of annotations. A signature is reported once.
  TAnnotationFate Decide(const CObjectPtr& annotation);

  // Of an object that is reached through a reference.
  bool IsDropped(const CObjectPtr& object) override;

  // True if an earlier answer on this object was that it goes; takes no look at it.
  bool WasDropped(const CObjectPtr& object) const { return m_dropped.Contains(object.GetObjNumber()); }

  // True for an object that is no field any more, or is gone: it leaves the lists of fields.
  bool LeavesLists(const CObjectPtr& object) const
  {
    return WasDropped(object) || m_looks.Contains(object.GetObjNumber());
  }

private:
  bool Judge(const CObjectPtr& object);
  bool JudgeSignature(const CObjectPtr& object);
  bool JudgeUntyped(const CObjectPtr& object);

  const TOptimizerOptions& m_options;
  CAnnotationStripper m_annotations;
  CNumberSet m_dropped;
  CNumberSet m_looks;  // flattened signatures
};

}  // namespace PDF
