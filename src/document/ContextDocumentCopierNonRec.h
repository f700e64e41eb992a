#pragma once

#include "document/DocumentCopier.h"
#include "document/ObjectCopierNonRec.h"

namespace PDF
{

// Copies a document without recursion over references, for a caller that has an error context and nothing to
// change on the way.
class CContextDocumentCopierNonRec : public CDocumentCopierT<CObjectCopierNonRec>
{
public:
  explicit CContextDocumentCopierNonRec(BSE::IErrorContext* pErrorContext)
      : CDocumentCopierT<CObjectCopierNonRec>(pErrorContext)
  {
  }
};

}  // namespace PDF
