#include "document/NameTree.h"

#include "pdf/SimpleObjects.h"

namespace PDF
{

CNameTreeReader::CNameTreeReader(const CObjectPtr& root, TKind kind) : m_kind(kind)
{
  Enter(root);
}

bool CNameTreeReader::IsKey(const CObjectPtr& key) const
{
  return m_kind == TKind::Names ? key.IsString() : key.IsInteger();
}

int CNameTreeReader::Compare(const CObjectPtr& a, const CObjectPtr& b)
{
  if (a.IsString())
    return a.GetStringValue().Compare(b.GetStringValue());
  const std::int64_t nA = a.GetIntegerValue();
  const std::int64_t nB = b.GetIntegerValue();
  return nA < nB ? -1 : nA > nB;
}

bool CNameTreeReader::CanHold(const CObjectPtr& node) const
{
  const CObjectPtr limits = m_wanted ? node["Limits"] : CObjectPtr();
  const CObjectPtr least = limits[0];
  const CObjectPtr greatest = limits[1];
  if (!IsKey(least) || !IsKey(greatest))
    return true;
  return Compare(least, m_wanted) <= 0 && Compare(m_wanted, greatest) <= 0;
}

void CNameTreeReader::Enter(const CObjectPtr& node)
{
  if (!node.IsDictionary())
    return;
  if (node.IsIndirect() && !m_visited.Add(node.GetObjNumber()))
    return;
  // A node that has both is a leaf and a node: the pairs come first.
  const CObjectPtr pairs = node[m_kind == TKind::Names ? "Names" : "Nums"];
  const CObjectPtr kids = node["Kids"];
  for (const CObjectPtr& array : {kids, pairs})
    if (array.IsArray() && (!array.IsIndirect() || m_visited.Add(array.GetObjNumber())))
    {
      m_steps.Add({0, array == pairs});
      m_arrays.Add(array.Get());
    }
}

bool CNameTreeReader::Next()
{
  while (!m_steps.IsEmpty())
  {
    TStep& step = m_steps[m_steps.GetSize() - 1];
    const CObjectPtr array(m_arrays[m_arrays.GetSize() - 1]);
    if (step.m_nNext >= array.GetSize())
    {
      m_steps.Truncate(m_steps.GetSize() - 1);
      m_arrays.SetSize(m_steps.GetSize());
      continue;
    }
    const int nIndex = step.m_nNext++;
    if (!step.m_bLeaf)
    {
      if (const CObjectPtr kid = array[nIndex]; CanHold(kid))
        Enter(kid);
      continue;
    }
    ++step.m_nNext;
    m_key = array[nIndex];
    if (!IsKey(m_key))
      continue;
    m_value = array[nIndex + 1];
    return true;
  }
  m_key.Reset();
  m_value.Reset();
  return false;
}

CObjectPtr CNameTreeReader::FindWanted()
{
  while (Next())
    if (Compare(m_key, m_wanted) == 0)
      return m_value;
  return {};
}

CObjectPtr CNameTreeReader::Find(const CObjectPtr& root, const CString& key)
{
  CNameTreeReader reader(root);
  reader.m_wanted = new CStringObject(key);
  return reader.FindWanted();
}

CObjectPtr CNameTreeReader::Find(const CObjectPtr& root, std::int64_t nKey)
{
  CNameTreeReader reader(root, TKind::Numbers);
  reader.m_wanted = new CIntegerObject(nKey);
  return reader.FindWanted();
}

}  // namespace PDF
