#include "engine/SignatureFields.h"

#include "base/Limits.h"
#include "base/Tracer.h"

namespace PDF
{

namespace
{

enum TState : unsigned char
{
  eHasType = 1,
  eIsSignature = 2,
  eHasValue = 4,
  eIsDictionary = 8,
  eOnPath = 16,  // of the search that is going on
  eKnown = 32
};

constexpr unsigned char g_nComplete = eHasType | eHasValue;
constexpr unsigned char g_nOfType = eHasType | eIsSignature;
constexpr unsigned char g_nOfValue = eHasValue | eIsDictionary;

unsigned char ReadOwn(const CObjectPtr& node)
{
  unsigned nState = 0;
  if (const CObjectPtr type = node["FT"])
    nState |= type.IsName("Sig") ? g_nOfType : static_cast<unsigned>(eHasType);
  if (const CObjectPtr value = node["V"])
    nState |= value.IsDictionary() ? g_nOfValue : static_cast<unsigned>(eHasValue);
  return static_cast<unsigned char>(nState);
}

// What a node has itself hides what its ancestors have.
unsigned char Inherit(unsigned char nOwn, unsigned char nAbove)
{
  unsigned nState = nOwn;
  if ((nOwn & eHasType) == 0)
    nState |= nAbove & g_nOfType;
  if ((nOwn & eHasValue) == 0)
    nState |= nAbove & g_nOfValue;
  return static_cast<unsigned char>(nState);
}

}  // namespace

void CSignatureFields::Enter(int nNumber, unsigned char nState)
{
  if (nNumber >= 1 && nNumber <= BSE::g_nMaxObjNumber)
    m_known.Provide(nNumber) = nState;
}

TSignatureField CSignatureFields::Find(const CObjectPtr& field)
{
  BSE::CBasicArray<TNode> path;
  unsigned char nState = 0;
  for (CObjectPtr node = field; node.IsDictionary(); node = node["Parent"])
  {
    const int nNumber = node.GetObjNumber();
    const unsigned char nKnown = nNumber > 0 ? m_known[nNumber] : static_cast<unsigned char>(0);
    if ((nKnown & eOnPath) != 0 && BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Annotation", "Loop in form field hierarchy detected.");
    if (nKnown != 0)
    {
      nState = (nKnown & eOnPath) != 0 ? static_cast<unsigned char>(0) : nKnown;
      break;
    }
    const unsigned char nOwn = ReadOwn(node);
    path.Add({nNumber, nOwn});
    Enter(nNumber, eOnPath);
    if ((nOwn & g_nComplete) == g_nComplete)
      break;
  }
  for (int i = path.GetSize() - 1; i >= 0; --i)
  {
    nState = Inherit(path[i].m_nOwn, nState);
    Enter(path[i].m_nNumber, static_cast<unsigned char>(nState | eKnown));
  }
  return {(nState & eIsSignature) != 0, (nState & eIsDictionary) != 0};
}

}  // namespace PDF
