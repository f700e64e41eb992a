#include "engine/ObjectStripper.h"

namespace PDF
{

namespace
{

// The value of a signature (ISO 32000-1, Table 252), whose "Type" is optional.
bool IsSignature(const CObjectPtr& object)
{
  return object["ByteRange"].IsArray() && object["Contents"].IsString();
}

}  // namespace

TAnnotationFate CObjectStripper::Decide(const CObjectPtr& annotation)
{
  if (WasDropped(annotation))
    return TAnnotationFate::Drop;
  const TAnnotationFate fate = m_annotations.Decide(annotation);
  if (fate == TAnnotationFate::Drop)
    m_dropped.Add(annotation.GetObjNumber());
  else if (fate == TAnnotationFate::Flatten && IsFlattenedSignature(annotation))
    m_looks.Add(annotation.GetObjNumber());
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

// One that no field speaks of is reported here.
bool CObjectStripper::JudgeSignature(const CObjectPtr& object)
{
  if (!IsSignature(object))
    return false;
  m_annotations.TellSignatureOnce();
  return true;
}

bool CObjectStripper::Judge(const CObjectPtr& object)
{
  const CObjectPtr type = object["Type"];
  if (!type.IsName())
    return JudgeUntyped(object);
  if (type.IsName("Annot"))
    return Decide(object) == TAnnotationFate::Drop;
  if (type.IsName("Sig") || type.IsName("DocTimeStamp"))
    return JudgeSignature(object);
  const bool bStructure = type.IsName("StructElem") || type.IsName("StructTreeRoot");
  return bStructure && (m_options.m_nStrip & eStripStructure) != 0;
}

bool CObjectStripper::JudgeUntyped(const CObjectPtr& object)
{
  if (object["Rect"].IsArray() && IsAnnotationSubtype(object["Subtype"]))
    return Decide(object) == TAnnotationFate::Drop;
  if (JudgeSignature(object))
    return true;
  if (m_annotations.IsLostField(object))
  {
    if (object["V"].IsDictionary())
      m_annotations.TellSignature(object);
    return true;
  }
  return (m_options.m_nStrip & eStripStructure) != 0 && IsStructureObject(object);
}

}  // namespace PDF
