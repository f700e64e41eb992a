#pragma once

#include "document/NumberSet.h"
#include "document/ObjectTraverser.h"

namespace PDF
{

// Walks references with a stack of its own instead of recursion: a reference is pushed, once for each number,
// and visited when the outermost Visit ends. Direct containers are still visited in place.
class CObjectTraverserNonRec : public CObjectTraverser
{
public:
  CObjectTraverserNonRec() = default;

  CObjectPtr Visit(const CObjectPtr& object) override;

  // Pushes and returns the object.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

  // Nothing for a number that was pushed before.
  virtual void Push(const CObjectPtr& object);

  // Pops until the stack is empty.
  virtual void ProcessPending();

protected:
  // What is done with an object from the stack: visits its value and its stream part.
  virtual void ProcessObject(const CObjectPtr& object);

private:
  BSE::CObjectArray<CObject> m_stack;
  CNumberSet m_pushed;
  bool m_bProcessing = false;
};

}  // namespace PDF
