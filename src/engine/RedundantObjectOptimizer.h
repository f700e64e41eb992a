#pragma once

#include "document/Document.h"
#include "document/NumberSet.h"
#include "document/ObjectDigestComputer.h"
#include "engine/OptObjectDigestComputer.h"

namespace PDF
{

// Kinds of resources, in the mask of CRedundantObjectOptimizer.
enum TResourceKind : unsigned
{
  eResourceColorSpace = 0x01,
  eResourcePattern = 0x02,
  eResourceShading = 0x04,
  eResourceImage = 0x08,
  eResourceForm = 0x10,
  eResourceFont = 0x20,
  eResourceExtGState = 0x40,
  eResourceAll = 0x7F
};

// Finds objects of an input that are equal in value among those that resources lead to, and says for each
// one which object stands for it. Nothing in the input changes. Candidates are digested first, by their
// dictionaries and the lengths of their data; only the data of those with equal digests are read, and only
// what seems equal then is compared in depth. Time is linear in the bytes of the candidates, and objects are
// unloaded after use.
class CRedundantObjectOptimizer
{
public:
  CRedundantObjectOptimizer() = default;
  CRedundantObjectOptimizer(const CRedundantObjectOptimizer&) = delete;
  CRedundantObjectOptimizer& operator=(const CRedundantObjectOptimizer&) = delete;
  virtual ~CRedundantObjectOptimizer() = default;

  // Builds the table for the kinds of the mask, a set of TResourceKind; what they lead to belongs to them.
  void Run(CDocument& document, unsigned nMask);

  // By object number; empty before Run.
  const CObjectTable& GetTable() const { return m_table; }

  // The number of the object that stands for this one, itself for most.
  int GetCanonical(int nNumber) const;

  // A copy of a value with every reference replaced by its canonical object; scalars and references that stay
  // are shared. Containers are followed, objects behind references are not.
  CObjectPtr ResolveCanonical(const CObjectPtr& value) const;

  void RemoveAll() { m_table.RemoveAll(); }

protected:
  // Resources of the form's defaults, of all pages and of the appearances of their annotations.
  virtual void VisitDocument(CDocument& document);
  virtual void VisitAnnotation(const CObjectPtr& annotation);

  // Resources that were met before are passed over; those within them are put on a list.
  virtual void VisitResources(const CObjectPtr& resources);

private:
  void VisitSection(const CObjectPtr& resources, const char* szSection, unsigned nKinds);
  void VisitXObjects(const CObjectPtr& xobjects);

  bool WasSeen(const CObjectPtr& object);

  // Whether a resource was met before. Most pages use what earlier ones did, which need not be loaded again.
  bool WasMet(const CObjectPtr& value);
  void VisitInner(const CObjectPtr& owner);
  void WorkOff();

  CObjectTable m_table;
  unsigned m_nMask = 0;

  COptObjectDigestComputer* m_pComputer = nullptr;  // these six during Run
  BSE::CObjectArray<CObject> m_waiting;
  CNumberSet m_seen;     // resources and their sections, annotations and what shows them
  CNumberSet m_met;      // values of the sections
  CNumberSet m_owners;   // XObjects and the like with resources
  CNumberSet m_holders;  // nodes of the page tree with resources, from 1
};

}  // namespace PDF
