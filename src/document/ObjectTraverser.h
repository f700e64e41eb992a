#pragma once

#include "base/BasicArray.h"
#include "base/Limits.h"
#include "document/NumberSet.h"
#include "pdf/Object.h"

namespace PDF
{

// Visitor of object graphs. Every operation returns what stands for the object afterwards, which for a plain
// walk is the object itself. One outermost visit meets every object once; cycles end there and at objects
// that are locked.
//
// Depth: containers inside one another are visited by recursion, which the parser's nesting limit bounds.
// References are followed by recursion only while IsDeep is false; the rest is put off.
class CObjectTraverser
{
public:
  CObjectTraverser() = default;
  CObjectTraverser(const CObjectTraverser&) = delete;
  CObjectTraverser& operator=(const CObjectTraverser&) = delete;

  // By the kind of the object. A kind that is none of the table, and an empty pointer, go to VisitNull.
  virtual CObjectPtr Visit(const CObjectPtr& object);
  virtual CObjectPtr VisitNull(const CObjectPtr& object);
  virtual CObjectPtr VisitBoolean(const CObjectPtr& object);
  virtual CObjectPtr VisitInteger(const CObjectPtr& object);
  virtual CObjectPtr VisitReal(const CObjectPtr& object);
  virtual CObjectPtr VisitString(const CObjectPtr& object);
  virtual CObjectPtr VisitName(const CObjectPtr& object);

  // Every entry in order, every element.
  virtual CObjectPtr VisitDictionary(const CObjectPtr& object);
  virtual CObjectPtr VisitArray(const CObjectPtr& object);
  virtual CObjectPtr VisitStream(const CObjectPtr& object);

  // The value, then the stream part, with the object locked. An object below the depth limit is put on a
  // list, which the outermost visit works off.
  virtual CObjectPtr VisitIndirect(const CObjectPtr& object);

  virtual CObjectPtr VisitElement(int nIndex, const CObjectPtr& value);
  virtual CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value);

protected:
  ~CObjectTraverser() = default;

  // Nesting of Visit. A level is a few frames on the stack.
  static constexpr int g_nMaxVisitDepth = 64;

  // The nesting that the parser allows, and room for overrides that wrap values.
  static constexpr int g_nMaxContainerDepth = BSE::g_nMaxNesting + g_nMaxVisitDepth + 100;

  // Counts a level for its life.
  class CLevel
  {
  public:
    explicit CLevel(CObjectTraverser& traverser) : m_nDepth(traverser.m_nDepth) { ++m_nDepth; }
    CLevel(const CLevel&) = delete;
    CLevel& operator=(const CLevel&) = delete;
    ~CLevel() { --m_nDepth; }

  private:
    int& m_nDepth;
  };

  // By the kind alone.
  CObjectPtr Dispatch(const CObjectPtr& object);

  // True where references are not followed by recursion any more.
  bool IsDeep() const { return m_nDepth > g_nMaxVisitDepth; }

  int m_nDepth = 0;

private:
  void VisitParts(const CObjectPtr& object);
  void WorkOff();

  BSE::CObjectArray<CObject> m_postponed;
  CNumberSet m_visited;
  bool m_bWorkingOff = false;
};

}  // namespace PDF
