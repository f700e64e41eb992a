#include "engine/ObjectStripper.h"

namespace PDF
{

TAnnotationFate CObjectStripper::Decide(const CObjectPtr& annotation)
{
  if (WasDropped(annotation))
    return TAnnotationFate::Drop;
  const TAnnotationFate fate = m_annotations.Decide(annotation);
  if (fate == TAnnotationFate::Drop)
    m_dropped.Add(annotation.GetObjNumber());
  return fate;
}

bool CObjectStripper::IsDropped(const CObjectPtr& object)
{
  if (WasDropped(object))
    return true;
  if (!object.IsDictionary() || object.IsStream() || !Judge(object))
    return false;
  m_dropped.Add(object.GetObjNumber());
  return true;
}

bool CObjectStripper::Judge(const CObjectPtr& object)
{
  const CObjectPtr type = object["Type"];
  if (!type.IsName())
    return JudgeUntyped(object);
  if (type.IsName("Annot"))
    return Decide(object) == TAnnotationFate::Drop;
  const bool bStructure = type.IsName("StructElem") || type.IsName("StructTreeRoot");
  return bStructure && (m_options.m_nStrip & eStripStructure) != 0;
}

bool CObjectStripper::JudgeUntyped(const CObjectPtr& object)
{
  if (object["Rect"].IsArray() && IsAnnotationSubtype(object["Subtype"]))
    return Decide(object) == TAnnotationFate::Drop;
  // The look of a flattened signature leads to its field.
  if (!m_options.m_bFlattenSignatureFields && m_annotations.IsSignedField(object))
    return true;
  return (m_options.m_nStrip & eStripStructure) != 0 && IsStructureObject(object);
}

}  // namespace PDF
