#pragma once

#include "engine/OptimizerOptions.h"
#include "pdf/Object.h"

namespace PDF
{

// Tells which entries a set of strip flags takes out of a document. Keys are compared as exact names.
// Annotations are a matter of CAnnotationStripper.
class CFeatureStripper
{
public:
  // A set of TStripFlag.
  explicit CFeatureStripper(unsigned nStrip) : m_nStrip(nStrip) {}

  // Of every dictionary that is copied, of streams too. What two products keep for themselves under "CREO"
  // and "HDAG" always goes.
  bool IsEntryDropped(const char* szKey) const;

  // Of a page, before its value is copied.
  bool IsPageEntryDropped(const char* szKey, const CObjectPtr& value) const;

  // Of the catalogue. "Perms" always goes: a rewritten file has no signature that could permit anything
  // (ISO 32000-1, 12.8.4).
  bool IsCatalogEntryDropped(const char* szKey) const;

private:
  bool Has(TStripFlag flag) const { return (m_nStrip & flag) != 0; }

  unsigned m_nStrip;
};

}  // namespace PDF
