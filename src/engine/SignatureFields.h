#pragma once

#include "base/PagedArray.h"
#include "pdf/Object.h"

namespace PDF
{

// What a field is as a signature, its ancestors among the fields included (ISO 32000-1, 12.7.3.1).
struct TSignatureField
{
  bool m_bSignature = false;  // "FT" is "Sig"
  bool m_bValue = false;      // "V" is a dictionary
};

// Reads types and values of form fields, which may be in any ancestor. Every ancestor is looked at once,
// so that the work stays in proportion to the file, however deep its fields are.
class CSignatureFields
{
public:
  // The field, or a widget below it. A chain of parents that comes back to itself is traced and has no type
  // and no value.
  TSignatureField Find(const CObjectPtr& field);

  void RemoveAll() { m_known.RemoveAll(); }

private:
  struct TNode
  {
    int m_nNumber;
    unsigned char m_nOwn;
  };

  void Enter(int nNumber, unsigned char nState);

  BSE::CPagedArray<unsigned char, 64> m_known;  // by object number
};

}  // namespace PDF
