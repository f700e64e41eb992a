#pragma once

#include "pdf/XRefTable.h"

namespace PDF
{

// Where the cross-reference sections of a file enter what they list, the oldest section first. Keeps the
// entries of all sections together in proportion to the file: sections may overlap, and a compressed one may
// list millions of numbers in a few bytes.
class CXRefSink
{
public:
  CXRefSink(CXRefTable& table, std::int64_t nFileLength);

  // Enter one object each. False once there were too many of them; nothing is entered then.
  bool SetOffset(int nObjNumber, int nGenNumber, std::int64_t nOffset);
  bool SetCompressed(int nObjNumber, int nStream, int nIndex);
  bool SetFree(int nObjNumber, int nGenNumber, int nNext);

  // The stream of a hybrid revision comes between these, and the revision's table next: what the table frees
  // and the stream has stays in use (ISO 32000-1, 7.5.8.4).
  void BeginHidden();
  void EndHidden();

  // After a revision's table.
  void ForgetHidden() { m_hidden.RemoveAll(); }

  bool IsExhausted() const { return m_nEntriesLeft < 0 || m_nUsedLeft < 0; }

private:
  bool TakeUsed(int nObjNumber);
  bool IsHidden(int nObjNumber) const;

  CXRefTable& m_table;
  std::int64_t m_nEntriesLeft;
  std::int64_t m_nUsedLeft;
  BSE::CBasicArray<int> m_hidden;  // numbers that the stream of this revision has, sorted
  bool m_bHidden = false;
};

}  // namespace PDF
