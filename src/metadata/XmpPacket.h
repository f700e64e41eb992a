#pragma once

#include "metadata/RdfGraph.h"
#include "metadata/StatusCodes.h"
#include "metadata/XmpNode.h"

#include <span>

namespace XMP
{

// An XMP packet (ISO 16684-1, 7): the value tree with the pool of its names and the prefixes that were found.
// What is wrong with it is reported to the parent context.
class CPacket : public BSE::CObject, public BSE::CBasicErrorContext
{
public:
  // Larger ones are not read: the whole is held as a tree.
  static constexpr std::int64_t g_nMaxBytes = std::int64_t{16} << 20;

  explicit CPacket(BSE::IErrorContext* pErrorContext);
  CPacket(const CPacket&) = delete;
  CPacket& operator=(const CPacket&) = delete;
  ~CPacket() override;
  bool IsValid() const override { return true; }

  // Replaces the contents. False, reported and empty, if it cannot be read; what is wrong in parts is
  // reported, and those parts are left out.
  bool Read(std::span<const unsigned char> bytes);

  // True after a Read that failed at a limit: nothing is known to be wrong with the packet.
  bool IsTooLarge() const { return m_bTooLarge; }

  // Appends the packet, in UTF-8 and without padding.
  void Write(BSE::CStr8& text) const;

  // A deep copy of the other packet's contents.
  void CopyFrom(const CPacket& other);

  CMeta& GetMeta() { return *m_pMeta; }
  const CMeta& GetMeta() const { return *m_pMeta; }
  const XML::CUri* GetName(const char* szNamespace, const char* szLocalName) const;

  // A top-level property; null if it is missing.
  CNode* Find(const char* szNamespace, const char* szLocalName) const;

  // Text of a property that is a literal; empty otherwise.
  const BSE::CStr8& GetText(const char* szNamespace, const char* szLocalName) const;
  void SetText(const char* szNamespace, const char* szLocalName, const char* szText);
  void Set(const char* szNamespace, const char* szLocalName, const BSE::CObjectPtr<CNode>& pValue);
  void Remove(const char* szNamespace, const char* szLocalName);

private:
  bool ReadText(std::span<const char> text);
  void Reset();

  BSE::CObjectPtr<XML::CUriPool> m_pUris;
  BSE::CObjectPtr<CMeta> m_pMeta;
  RDF::CUriNamespacePool m_namespaces;
  bool m_bTooLarge = false;
};

}  // namespace XMP
