#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

enum TPDType : unsigned char
{
  ePDNull,
  ePDBoolean,
  ePDInteger,
  ePDReal,
  ePDName,
  ePDString,
  ePDHexString,
  ePDReference,
  ePDArray,
  ePDDictionary
};

// One value inside the text of an object. Containers come first of what they hold.
struct TPDNode
{
  std::uint32_t m_nStart;  // of the value's own text, delimiters included
  std::uint32_t m_nEnd;
  int m_nValue;  // container: the node after its contents; reference: object number
  TPDType m_nType;
  bool m_bReferences;  // it is one, or holds one
  bool m_bStrings;     // it is one, or holds one
};

// A parsed value: a list of nodes over a text that it does not own, so that parsing one object after the
// other costs no allocation. The first node is the value itself. Keys and values of a dictionary alternate,
// and every key is a name. Node -1 stands for an absent value everywhere.
class PDObj
{
public:
  bool IsEmpty() const { return m_nodes.IsEmpty(); }
  const TPDNode& GetNode(int nNode) const { return m_nodes[nNode]; }
  TPDType GetType(int nNode) const { return nNode < 0 ? ePDNull : m_nodes[nNode].m_nType; }
  bool IsContainer(int nNode) const { return GetType(nNode) >= ePDArray; }

  // Node after a value and all that it holds.
  int GetNext(int nNode) const { return IsContainer(nNode) ? m_nodes[nNode].m_nValue : nNode + 1; }

  // The value as it is written in the source; valid as long as the source's bytes are.
  std::span<const unsigned char> GetText(int nNode) const;

  // Value of a key in a dictionary; the first one of a repeated key. -1 if there is none.
  int Find(int nDictionary, const char* szKey) const;

  // Compares a name, escapes undone.
  bool IsName(int nNode, const char* szName) const;

  // A name with its end, escapes undone; nothing for anything else.
  void DecodeName(int nNode, BSE::CBasicArray<char>& name) const;

  // Whether a value is this name or holds it, as a key too.
  bool HoldsName(int nNode, const char* szName) const;

  // False unless the node is an integer that fits.
  bool GetInteger(int nNode, std::int64_t& nValue) const;

  // Object number of a reference, 0 for anything else.
  int GetReference(int nNode) const { return GetType(nNode) == ePDReference ? m_nodes[nNode].m_nValue : 0; }

  // Elements of an array, entries of a dictionary, 0 for anything else.
  int CountItems(int nNode) const;

  // Bytes of a string, escapes undone (ISO 32000-1, 7.3.4).
  void DecodeString(int nNode, BSE::CBasicArray<unsigned char>& bytes) const;

private:
  friend class PDParser;

  BSE::CBasicArray<TPDNode> m_nodes;
  std::span<const unsigned char> m_text;
};
