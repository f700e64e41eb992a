#pragma once

#include "metadata/XmpNode.h"

namespace XMP
{

// Makes deep copies. The copy uses the same names, so that it belongs to a packet with the same pool.
class CCopier : private IVisitor
{
public:
  // A new node without a parent.
  BSE::CObjectPtr<CNode> Copy(const CNode& node);

  // Adds copies of the fields; fields of the same name are replaced.
  void CopyFields(const CStructure& source, CStructure& target);

private:
  void VisitLiteral(const CLiteral& literal) override;
  void VisitStructure(const CStructure& structure) override;
  void VisitArray(const CArray& array) override;

  BSE::CObjectPtr<CNode> m_pCopy;
};

}  // namespace XMP
