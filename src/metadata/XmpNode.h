#pragma once

#include "base/BasicArray.h"
#include "base/ErrorContext.h"
#include "metadata/XmlUri.h"

namespace XMP
{

class CArray;
class CLiteral;
class CStructure;

class IVisitor
{
public:
  virtual void VisitLiteral(const CLiteral& literal) = 0;
  virtual void VisitStructure(const CStructure& structure) = 0;
  virtual void VisitArray(const CArray& array) = 0;

protected:
  virtual ~IVisitor() = default;
};

// A value of the XMP data model (ISO 16684-1, 6.3). Names are URIs of the packet's pool, which outlives the
// tree. A node has one owner; its parent link is borrowed and ends with that.
class CNode : public BSE::CObject, public BSE::CBasicErrorContext
{
public:
  CNode(const CNode&) = delete;
  CNode& operator=(const CNode&) = delete;
  ~CNode() override;
  bool IsValid() const override { return true; }

  virtual void Accept(IVisitor& visitor) const = 0;

  // Text that stands for the value without its parts: a literal's text, else empty.
  virtual const BSE::CStr8& GetText() const;

  const CNode* GetParentNode() const { return m_pParentNode; }

  // Null for an item of an array.
  const XML::CUri* GetName() const { return m_pName; }

  // Value of xml:lang (RFC 3066); empty without one.
  const BSE::CStr8& GetLanguage() const { return m_language; }
  void SetLanguage(const BSE::CStr8& language) { m_language = language; }

  // Qualifiers other than the language; null without any.
  CStructure* GetQualifiers() const { return m_pQualifiers.Get(); }
  void SetQualifiers(CStructure* pQualifiers);

protected:
  CNode() = default;

private:
  friend class CStructure;
  friend class CArray;
  void Join(CNode* pParent, const XML::CUri* pName);

  CNode* m_pParentNode = nullptr;
  const XML::CUri* m_pName = nullptr;
  BSE::CStr8 m_language;
  BSE::CObjectPtr<CStructure> m_pQualifiers;
};

// Text in UTF-8, or a URI.
class CLiteral : public CNode
{
public:
  explicit CLiteral(const BSE::CStr8& text, bool bUri = false) : m_text(text), m_bUri(bUri) {}
  void Accept(IVisitor& visitor) const override { visitor.VisitLiteral(*this); }
  const BSE::CStr8& GetText() const override { return m_text; }
  bool IsUri() const { return m_bUri; }

private:
  BSE::CStr8 m_text;
  bool m_bUri;
};

// Fields in the order in which they were set.
class CStructure : public CNode
{
public:
  CStructure() = default;
  void Accept(IVisitor& visitor) const override { visitor.VisitStructure(*this); }

  // Borrowed; null if there is none.
  CNode* Find(const XML::CUri* pName) const { return m_fields.Find(pName); }

  // Takes a reference; replaces a former value. The node must not be anywhere else.
  void Set(const XML::CUri* pName, const BSE::CObjectPtr<CNode>& pValue);
  void Remove(const XML::CUri* pName) { m_fields.RemoveKey(pName); }

  int GetBegin() const { return m_fields.GetBegin(); }
  int GetNext(int nPos) const { return m_fields.GetNext(nPos); }
  int GetEnd() const { return m_fields.GetEnd(); }
  CNode* GetAt(int nPos) const { return m_fields.GetAt(nPos); }

private:
  BSE::CValueKeyObjectMap<const XML::CUri*, CNode> m_fields;
};

// The top level: one field per property of a schema.
class CMeta : public CStructure
{
public:
  // What the packet says it is about; empty in most.
  const BSE::CStr8& GetAbout() const { return m_about; }
  void SetAbout(const BSE::CStr8& about) { m_about = about; }

private:
  BSE::CStr8 m_about;
};

enum class TArrayKind
{
  Bag,
  Seq,
  Alt
};

class CArray : public CNode
{
public:
  void Accept(IVisitor& visitor) const override { visitor.VisitArray(*this); }
  TArrayKind GetKind() const { return m_kind; }
  int GetSize() const { return m_items.GetSize(); }

  // Borrowed; null for an index out of range.
  CNode* GetItem(int nIndex) const { return m_items[nIndex]; }

  // Take a reference; the node must not be anywhere else.
  void Add(const BSE::CObjectPtr<CNode>& pItem) { Insert(GetSize(), pItem); }
  void Insert(int nIndex, const BSE::CObjectPtr<CNode>& pItem);
  void Replace(int nIndex, const BSE::CObjectPtr<CNode>& pItem);

  // A new array of a kind, with the count 0.
  static CArray* Create(TArrayKind kind);

protected:
  explicit CArray(TArrayKind kind) : m_kind(kind) {}

private:
  TArrayKind m_kind;
  BSE::CObjectArray<CNode> m_items;
};

class CBag : public CArray
{
public:
  CBag() : CArray(TArrayKind::Bag) {}
};

class CSeq : public CArray
{
public:
  CSeq() : CArray(TArrayKind::Seq) {}
};

// Alternatives. Those that differ by language have one that is marked "x-default".
class CAlt : public CArray
{
public:
  static constexpr const char* g_szDefault = "x-default";

  CAlt() : CArray(TArrayKind::Alt) {}

  // Index of the first item with the language, compared without regard to case; -1 without one.
  int FindLanguage(const char* szLanguage) const;
};

}  // namespace XMP
