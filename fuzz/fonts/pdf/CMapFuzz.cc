// Reads arbitrary bytes as the two CMaps of a composite font. Codes and CIDs lead to each other, and text
// that is written is the same when it is read again.

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "document/Document.h"
#include "fonts/pdf/FontRegistry.h"

#include <cstdlib>
#include <string>

namespace
{

std::string MakeDocument(const std::string& sCMap)
{
  const std::string sStream =
      "<</Length " + std::to_string(sCMap.size()) + ">>stream\n" + sCMap + "\nendstream endobj\n";
  return "%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj 2 0 obj" + sStream + "3 0 obj" + sStream +
         "4 0 obj<</Type/Font/Subtype/Type0/Encoding 2 0 R/ToUnicode 3 0 "
         "R/DescendantFonts[<</Subtype/CIDFontType2>>]>>"
         "endobj trailer<</Root 1 0 R>>";
}

std::u16string GetText(const PDF::IToUnicode& toUnicode, unsigned nCode)
{
  char16_t units[PDF::CToUnicode::g_nMaxUnits];
  const int nUnits = toUnicode.GetUnicode(nCode, units, PDF::CToUnicode::g_nMaxUnits);
  return {units, static_cast<std::size_t>(nUnits)};
}

class CDocument
{
public:
  explicit CDocument(std::string sPdf) : m_sPdf(std::move(sPdf)), m_document(nullptr)
  {
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryInputStream(m_sPdf.data(), static_cast<std::int64_t>(m_sPdf.size())));
    m_document.Open(pInput.Get(), nullptr);
  }
  PDF::CObjectPtr GetObject(int nNumber) { return m_document.GetFile().GetObject(nNumber, 0); }
  operator PDF::CDocument&() { return m_document; }

private:
  std::string m_sPdf;
  PDF::CDocument m_document;
};

void CheckEncoding(const PDF::CEncoding& encoding)
{
  for (int nCID = 0; nCID < 65536; nCID += nCID < 512 ? 1 : 255)
  {
    int nLength = 0;
    const std::int64_t nCode = encoding.FindCode(nCID, nLength);
    if (nCode < 0)
      continue;
    // The data may bring a font of another kind along.
    const auto* pCMap = dynamic_cast<const PDF::CCMapEncoding*>(&encoding);
    if (pCMap &&
        (nLength < 1 || nLength > 4 || pCMap->FindCID(static_cast<std::uint32_t>(nCode), nLength) != nCID))
      std::abort();
  }
  for (unsigned i = 0; i < 65536; i += i < 512 ? 1 : 255)
    if (encoding.CodeToCID(i) > 65535 || encoding.Code2ToCID(i) < 0 || encoding.LongCodeToCID(i, 4) < 0)
      std::abort();
}

void CheckText(PDF::CToUnicode& toUnicode)
{
  if (!toUnicode.IsWritable())
    return;
  BSE::CMemoryStream stream;
  const PDF::CIdentityEncoding identity("Identity-H", false);
  if (!PDF::WriteToUnicode(&stream, u"Font", toUnicode, identity, {}, false))
    std::abort();
  std::string sCMap(static_cast<std::size_t>(stream.GetLength()), ' ');
  stream.Rewind();
  stream.ReadFully(reinterpret_cast<unsigned char*>(sCMap.data()), static_cast<std::int64_t>(sCMap.size()));
  CDocument written(MakeDocument(sCMap));
  PDF::CFontRegistry fonts(written);
  const auto pAgain = fonts.GetToUnicode(written.GetObject(3));
  for (unsigned i = 0; pAgain && i < 65536; i += i < 512 ? 1 : 63)
    if (GetText(*pAgain, i) != GetText(toUnicode, i))
      std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* pData, std::size_t nSize)
{
  if (nSize > 1 << 16)
    return 0;
  CDocument document(MakeDocument(std::string(reinterpret_cast<const char*>(pData), nSize)));
  PDF::CFontRegistry fonts(document);
  const auto pFont = fonts.CreateFont(document.GetObject(4));
  if (!pFont)
    return 0;
  CheckEncoding(*pFont->GetEncoding());
  pFont->GetSpaceWidth();
  if (const auto pToUnicode = pFont->GetWritableToUnicode())
  {
    CheckText(*pToUnicode);
    const char16_t aText[] = {u'x', u'y'};
    pToUnicode->AddMapping(65, 70, aText);
    pToUnicode->GetCode(u'x');
    CheckText(*pToUnicode);
  }
  return 0;
}
