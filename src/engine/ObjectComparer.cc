#include "engine/ObjectComparer.h"

#include "base/Limits.h"
#include "base/ScopedValue.h"

#include <cmath>

namespace PDF
{

namespace
{

constexpr double g_dTolerance = 0.0001;

// A few objects that are no candidates: deeper is not worth a look.
constexpr int g_nMaxOpen = 16;

bool IsNameless(const CObjectPtr& dictionary)
{
  return dictionary["Type"].IsName("OCG") || HasResourceName(dictionary);
}

bool Counts(const char* szKey, bool bNameless, bool bStream)
{
  return !(bNameless && KeyEquals(szKey, "Name")) && !(bStream && KeyEquals(szKey, "Length"));
}

bool EqualNumbers(double dA, double dB)
{
  return dA == dB || std::fabs(dA - dB) / (std::fabs(dA) + std::fabs(dB)) < g_dTolerance;
}

}  // namespace

bool CObjectComparer::Equal(const CObjectPtr& a, const CObjectPtr& b)
{
  if (!a || !b)
    return !a && !b;
  if (a.IsIndirect() && b.IsIndirect())
    return EqualReferences(a, b);
  if (m_nDepth > BSE::g_nMaxGraphDepth)
    return false;
  const BSE::CScopedValue depth(m_nDepth, m_nDepth + 1);
  if (a.IsDictionary() && b.IsDictionary())
    return EqualDictionaries(a, b);
  if (a.IsArray() && b.IsArray())
    return EqualArrays(a, b);
  return EqualScalars(a, b);
}

bool CObjectComparer::EqualScalars(const CObjectPtr& a, const CObjectPtr& b) const
{
  if (a.IsBoolean() && b.IsBoolean())
    return a.GetBooleanValue() == b.GetBooleanValue();
  if (a.IsInteger() && b.IsInteger())
    return a.GetIntegerValue() == b.GetIntegerValue();
  if (a.IsNumber() && b.IsNumber())
    return EqualNumbers(a.GetRealValue(), b.GetRealValue());
  if (a.IsString() && b.IsString())
    return a.GetStringValue() == b.GetStringValue();
  return a.IsName() && b.IsName() && KeyEquals(a.GetNameValue(), b.GetNameValue());
}

bool CObjectComparer::EqualDictionaries(const CObjectPtr& a, const CObjectPtr& b)
{
  const bool bNameless = IsNameless(a) && IsNameless(b);
  const bool bStream = a.IsStream() && b.IsStream();
  int nOfA = 0;
  for (int i = a.GetBegin(); i != a.GetEnd(); i = a.GetNext(i))
  {
    const char* szKey = a.GetKey(i);
    if (!Counts(szKey, bNameless, bStream))
      continue;
    ++nOfA;
    const CObjectPtr value = b[szKey];
    if (!value || !Equal(a.GetValue(i), value))
      return false;
  }
  int nOfB = 0;
  for (int i = b.GetBegin(); i != b.GetEnd(); i = b.GetNext(i))
    nOfB += Counts(b.GetKey(i), bNameless, bStream) ? 1 : 0;
  return nOfA == nOfB;
}

bool CObjectComparer::EqualArrays(const CObjectPtr& a, const CObjectPtr& b)
{
  const int nSize = a.GetSize();
  if (nSize != b.GetSize())
    return false;
  for (int i = 0; i < nSize; ++i)
    if (!Equal(a[i], b[i]))
      return false;
  return true;
}

const TObjectTableEntry* CObjectComparer::FindCandidate(int nNumber) const
{
  const TObjectTableEntry* pEntry = m_table.Find(nNumber);
  return pEntry && pEntry->m_nCanonical != 0 ? pEntry : nullptr;
}

bool CObjectComparer::EqualReferences(const CObjectPtr& a, const CObjectPtr& b)
{
  const int nA = a.GetObjNumber();
  const int nB = b.GetObjNumber();
  if (nA == nB)
    return true;
  const TObjectTableEntry* pA = FindCandidate(nA);
  const TObjectTableEntry* pB = FindCandidate(nB);
  if (pA && pB && !m_open.IsEmpty())
    return pA->m_nCanonical == pB->m_nCanonical;
  return EqualTargets(a, b);
}

bool CObjectComparer::EqualTargets(const CObjectPtr& a, const CObjectPtr& b)
{
  const int nOpen = m_open.GetSize();
  const auto isOpen = [&](int nNumber) { return m_open.Find(nNumber) != nOpen; };
  if (nOpen >= 2 * g_nMaxOpen || isOpen(a.GetObjNumber()) || isOpen(b.GetObjNumber()))
    return false;
  m_open.Add(a.GetObjNumber());
  m_open.Add(b.GetObjNumber());
  bool bEqual = a.IsStream() == b.IsStream();
  if (bEqual && a.IsStream())
    bEqual = EqualDictionaries(a, b) && m_streams.Digest(a).m_digest == m_streams.Digest(b).m_digest;
  else if (bEqual)
    bEqual = Equal(a.GetValueObject(), b.GetValueObject());
  m_open.Truncate(nOpen);
  return bEqual;
}

}  // namespace PDF
