#include "document/OutputNameTree.h"

#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <charconv>

namespace PDF
{

namespace
{

CString WithNumber(const CString& key, int nNumber)
{
  char szNumber[16] = {'('};
  char* pEnd = std::to_chars(szNumber + 1, szNumber + sizeof szNumber - 1, nNumber).ptr;
  *pEnd++ = ')';
  const int nLength = static_cast<int>(pEnd - szNumber);
  BSE::CBasicArray<unsigned char> text;
  text.SetSize(key.GetLength() + nLength);
  std::memcpy(text.GetData(), key.GetData(), key.GetSpan().size());
  std::memcpy(text.GetData() + key.GetLength(), szNumber, static_cast<std::size_t>(nLength));
  return CString(text.GetData(), text.GetSize());
}

void SetLimits(const CObjectPtr& node, const CObjectPtr& least, const CObjectPtr& greatest)
{
  const CObjectPtr limits(new CArrayObject);
  limits.Add(least);
  limits.Add(greatest);
  node.AddEntry("Limits", limits);
}

}  // namespace

CString COutputNameTree::Add(const CString& key, PDF::CObject* pValue)
{
  CString unique = key;
  const std::size_t nLength = key.GetSpan().size();
  if (Lookup(key.GetData(), nLength) >= 0)
  {
    const int nEntry = m_numbers.Lookup(key.GetData(), nLength);
    std::intptr_t nNumber = nEntry < 0 ? 0 : reinterpret_cast<std::intptr_t>(m_numbers.GetValue(nEntry));
    do
      unique = WithNumber(key, static_cast<int>(++nNumber));
    while (Lookup(unique.GetData(), unique.GetSpan().size()) >= 0);
    m_numbers.SetAt(key.GetData(), nLength, reinterpret_cast<void*>(nNumber));
  }
  m_values.Add(pValue);
  SetAt(unique.GetData(), unique.GetSpan().size(), pValue);
  return unique;
}

PDF::CObject* COutputNameTree::Find(const CString& key) const
{
  const int nEntry = Lookup(key.GetData(), key.GetSpan().size());
  return nEntry < 0 ? nullptr : static_cast<PDF::CObject*>(GetValue(nEntry));
}

bool COutputNameTree::Save(CFile& file)
{
  m_object.Reset();
  if (GetCount() == 0)
    return true;
  BSE::CObjectArray<PDF::CObject> nodes;
  if (!WriteLeaves(file, nodes))
    return false;
  int nFirst = 0;
  bool bRoot = false;
  while (!bRoot)
  {
    const int nLast = nodes.GetSize();
    bRoot = nLast - nFirst <= g_nMaxPairs;
    if (!WriteLevel(file, nodes, nFirst, nLast))
      return false;
    nFirst = nLast;
  }
  m_object = nodes[nodes.GetSize() - 1];
  // The root is the one node that has no limits.
  m_object.DeleteEntry("Limits");
  return true;
}

bool COutputNameTree::WriteLeaves(CFile& file, BSE::CObjectArray<PDF::CObject>& nodes) const
{
  BSE::CBasicArray<int> order;
  order.Reserve(GetCount());
  for (int i = GetBegin(); i != GetEnd(); i = GetNext(i))
    order.Add(i);
  std::sort(order.GetSpan().begin(), order.GetSpan().end(),
            [this](int nA, int nB)
            {
              const std::size_t nSizeA = GetKeyLength(nA);
              const std::size_t nSizeB = GetKeyLength(nB);
              const int nOrder = std::memcmp(GetKey(nA), GetKey(nB), std::min(nSizeA, nSizeB));
              return nOrder != 0 ? nOrder < 0 : nSizeA < nSizeB;
            });
  CObjectPtr names;
  CObjectPtr node;
  for (int i = 0; i < order.GetSize(); ++i)
  {
    const int nEntry = order[i];
    const CObjectPtr key(new CStringObject(CString(GetKey(nEntry), static_cast<int>(GetKeyLength(nEntry)))));
    if (i % g_nMaxPairs == 0)
    {
      names = new CArrayObject;
      node = file.NewObject(0, 0, 0);
      if (!node)
        return false;
      const CObjectPtr dictionary(new CDictionaryObject);
      dictionary.AddEntry("Names", names);
      node->SetValueObject(dictionary.Get());
      nodes.Add(node.Get());
    }
    names.Add(key);
    names.Add(static_cast<PDF::CObject*>(GetValue(nEntry)));
    if (names.GetSize() == 2 * g_nMaxPairs || i + 1 == order.GetSize())
      SetLimits(node, names[0], key);
  }
  return true;
}

bool COutputNameTree::WriteLevel(CFile& file, BSE::CObjectArray<PDF::CObject>& nodes, int nFirst, int nLast)
{
  CObjectPtr kids;
  CObjectPtr node;
  for (int i = nFirst; i < nLast; ++i)
  {
    const CObjectPtr kid(nodes[i]);
    if ((i - nFirst) % g_nMaxPairs == 0)
    {
      kids = new CArrayObject;
      node = file.NewObject(0, 0, 0);
      if (!node)
        return false;
      const CObjectPtr dictionary(new CDictionaryObject);
      dictionary.AddEntry("Kids", kids);
      node->SetValueObject(dictionary.Get());
      nodes.Add(node.Get());
    }
    kids.Add(kid);
    if (kids.GetSize() == g_nMaxPairs || i + 1 == nLast)
      SetLimits(node, kids[0]["Limits"][0], kid["Limits"][1]);
  }
  return true;
}

}  // namespace PDF
