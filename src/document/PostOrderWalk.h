#pragma once

#include "base/BasicArray.h"
#include "document/NumberSet.h"
#include "pdf/File.h"

namespace PDF
{

// Walk over the indirect objects of a file that leaves every object after the objects that it refers to;
// only a cycle makes an exception, at the reference that closes it. One walk object meets an object once,
// over all its calls. Depth costs memory for a list of numbers, not the call stack; of very deep chains the
// upper objects are unloaded and read again. Objects are unloaded, and dropped where nobody else holds them,
// when they are left.
class CPostOrderWalk
{
public:
  // Borrows the file.
  explicit CPostOrderWalk(CFile& file) : m_file(file) {}
  CPostOrderWalk(const CPostOrderWalk&) = delete;
  CPostOrderWalk& operator=(const CPostOrderWalk&) = delete;
  virtual ~CPostOrderWalk() = default;

  // Everything that a value or a reference leads to. Not to be called from Enter or Leave.
  void Walk(const CObjectPtr& start);

  bool WasEntered(int nNumber) const { return m_entered.Contains(nNumber); }

protected:
  // First meeting. False: the object is passed over, with what only it refers to.
  virtual bool Enter(const CObjectPtr& object) = 0;

  // All its references have been left, passed over, or are still open above it.
  virtual void Leave(const CObjectPtr& object) = 0;

  CFile& m_file;

private:
  struct TFrame
  {
    int m_nNumber;
    int m_nFirst;  // of its references in m_references, which end where those of the next frame begin
    int m_nNext;
  };

  // Enters the object of a number and opens a frame for it, if that is the first meeting.
  void Open(int nNumber);
  void Close();
  void WorkOff();

  BSE::CBasicArray<TFrame> m_frames;
  BSE::CBasicArray<int> m_references;
  BSE::CObjectArray<CObject> m_held;  // keeps the objects of the first frames loaded
  CNumberSet m_entered;
};

}  // namespace PDF
