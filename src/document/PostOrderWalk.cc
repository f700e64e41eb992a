// A walk over the graph of indirect objects that leaves an object after everything that it refers to.
// Recursion would follow the depth of the file, so the path is an explicit stack of numbers. A reference to
// an object that is still on the path closes a cycle and is the one exception: that object is left later.

#include "document/PostOrderWalk.h"

#include "document/ObjectTraverser.h"

namespace PDF
{

namespace
{

// Open objects that stay loaded.
constexpr int g_nMaxHeld = 256;

// Numbers of the references in a value, without following them.
class CReferenceCollector : public CObjectTraverser
{
public:
  CReferenceCollector(const CFile& file, BSE::CBasicArray<int>& numbers) : m_file(file), m_numbers(numbers) {}

  CObjectPtr VisitIndirect(const CObjectPtr& object) override
  {
    if (object.GetFile() == &m_file && object.GetObjNumber() > 0)
      m_numbers.Add(object.GetObjNumber());
    return object;
  }

private:
  const CFile& m_file;
  BSE::CBasicArray<int>& m_numbers;
};

// The length of a stream is not part of what it says.
void CollectReferences(const CFile& file, const CObjectPtr& object, BSE::CBasicArray<int>& numbers)
{
  CReferenceCollector collector(file, numbers);
  const CObjectPtr value = object.GetValueObject();
  if (!object.IsStream())
  {
    collector.Visit(value);
    return;
  }
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
    if (!KeyEquals(value.GetKey(i), "Length"))
      collector.Visit(value.GetValue(i));
}

}  // namespace

void CPostOrderWalk::Walk(const CObjectPtr& start)
{
  if (start.IsIndirect())
  {
    if (start.GetFile() == &m_file)
      Open(start.GetObjNumber());
    WorkOff();
    return;
  }
  BSE::CBasicArray<int> numbers;
  CReferenceCollector(m_file, numbers).Visit(start);
  for (const int nNumber : numbers.GetSpan())
  {
    Open(nNumber);
    WorkOff();
  }
}

void CPostOrderWalk::Open(int nNumber)
{
  if (nNumber >= m_file.GetObjectCount() || !m_entered.Add(nNumber))
    return;
  const CObjectPtr object = m_file.GetObject(nNumber, -1);
  if (!object)
    return;
  if (!Enter(object))
  {
    object->Unload();
    return;
  }
  const int nFirst = m_references.GetSize();
  CollectReferences(m_file, object, m_references);
  const int nFrame = m_frames.Add({nNumber, nFirst, nFirst});
  if (nFrame < g_nMaxHeld)
    m_held.Add(object.Get());
  else
    // The one above refers to it and is loaded still, so that a whole chain would keep itself.
    object->Unload();
}

void CPostOrderWalk::Close()
{
  const TFrame frame = m_frames[m_frames.GetSize() - 1];
  const CObjectPtr object = m_file.GetObject(frame.m_nNumber, -1);
  Leave(object);
  // What refers to it may be loaded and keep it.
  object->Unload();
  m_frames.Truncate(m_frames.GetSize() - 1);
  if (m_held.GetSize() > m_frames.GetSize())
    m_held.SetSize(m_frames.GetSize());
  for (int i = frame.m_nFirst; i < m_references.GetSize(); ++i)
    m_file.GetXRef().ReleaseObject(m_references[i]);
  m_references.Truncate(frame.m_nFirst);
}

void CPostOrderWalk::WorkOff()
{
  while (!m_frames.IsEmpty())
  {
    TFrame& frame = m_frames[m_frames.GetSize() - 1];
    if (frame.m_nNext == m_references.GetSize())
    {
      Close();
      continue;
    }
    Open(m_references[frame.m_nNext++]);
  }
}

}  // namespace PDF
