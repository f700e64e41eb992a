#pragma once

#include "metadata/XmpPacket.h"

#include <set>
#include <string>

// Keeps the codes that are reported to it.
class CReports : public BSE::CBasicErrorContext
{
public:
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override
  {
    m_codes.insert(pError->GetCode());
    if (BSE::CErrorProperty* pPath = pError->GetProperties()->Find("XmpPath"))
      m_paths.insert(std::u16string(pPath->GetText()));
  }

  std::set<unsigned> m_codes;
  std::set<std::u16string> m_paths;
};

// A packet around the properties of one description. The prefixes dc, xmp, xmpMM, pdf, pdfaid, stEvt and q
// are bound.
inline std::string MakePacket(const std::string& body, const std::string& attributes = "")
{
  return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n<x:xmpmeta "
         "xmlns:x='adobe:ns:meta/'>"
         "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about=''"
         " xmlns:dc='http://purl.org/dc/elements/1.1/' xmlns:xmp='http://ns.adobe.com/xap/1.0/'"
         " xmlns:xmpMM='http://ns.adobe.com/xap/1.0/mm/' xmlns:pdf='http://ns.adobe.com/pdf/1.3/'"
         " xmlns:pdfaid='http://www.aiim.org/pdfa/ns/id/'"
         " xmlns:stEvt='http://ns.adobe.com/xap/1.0/sType/ResourceEvent#' xmlns:q='http://q.example/' " +
         attributes + ">" + body + "</rdf:Description></rdf:RDF></x:xmpmeta>\n<?xpacket end='w'?>";
}

inline std::string MakeDefault(const std::string& property, const std::string& text)
{
  return "<" + property + "><rdf:Alt><rdf:li xml:lang='x-default'>" + text + "</rdf:li></rdf:Alt></" +
         property + ">";
}

inline std::span<const unsigned char> ToBytes(const std::string& text)
{
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline std::string Write(const XMP::CPacket& packet)
{
  BSE::CStr8 text;
  packet.Write(text);
  return text.GetText();
}
