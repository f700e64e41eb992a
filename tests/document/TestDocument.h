#pragma once

#include "base/MemoryStream.h"
#include "document/ContextDocumentCopierNonRec.h"

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace PDF
{

// Keeps the codes that are reported to it, and which of them stand for losses.
class CReports : public BSE::IErrorContext
{
public:
  BSE::CErrorHandler* OnGetErrorHandler() override { return nullptr; }
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override
  {
    m_codes.insert(pError->GetCode());
    if (pError->GetConsequence() == BSE::eContentLost)
      m_losses.insert(pError->GetCode());
  }
  void OnReport(unsigned nCode, const BSE::CErrorProperties*) override { m_codes.insert(nCode); }
  void OnAddContextInfo(BSE::IError&) override {}

  std::set<unsigned> m_codes;
  std::set<unsigned> m_losses;
};

using TObjects = std::map<int, std::string>;

// A file of these objects, whatever they are. The catalogue is number 1; numbers that are missing are free.
inline std::string MakePdf(const TObjects& objects, const std::string& trailer = "")
{
  std::string text = "%PDF-1.7\n";
  const int nSize = objects.rbegin()->first + 1;
  std::vector<std::size_t> offsets(static_cast<std::size_t>(nSize), 0);
  for (const auto& [nNumber, body] : objects)
  {
    offsets[static_cast<std::size_t>(nNumber)] = text.size();
    text += std::to_string(nNumber) + " 0 obj\n" + body + "\nendobj\n";
  }
  const std::size_t nXRef = text.size();
  text += "xref\n0 " + std::to_string(nSize) + "\n";
  for (std::size_t i = 0; i < offsets.size(); ++i)
  {
    char szLine[32];
    std::snprintf(szLine, sizeof szLine, "%010zu %05d %c \n", offsets[i], offsets[i] || i ? 0 : 65535,
                  offsets[i] ? 'n' : 'f');
    text += szLine;
  }
  return text + "trailer\n<</Size " + std::to_string(nSize) + "/Root 1 0 R" + trailer + ">>\nstartxref\n" +
         std::to_string(nXRef) + "\n%%EOF\n";
}

inline BSE::CObjectPtr<BSE::IByteStream> MakeStream(const std::string& bytes)
{
  return new BSE::CMemoryStream(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

inline std::string GetBytes(BSE::IByteStream& stream)
{
  std::string bytes(static_cast<std::size_t>(stream.GetLength()), '\0');
  stream.Rewind();
  stream.ReadFully(reinterpret_cast<unsigned char*>(bytes.data()), stream.GetLength());
  return bytes;
}

// A document over the text of a file.
struct TOpenDocument
{
  explicit TOpenDocument(const std::string& bytes) : m_document(&m_reports)
  {
    m_bOpened = m_document.Open(MakeStream(bytes).Get(), nullptr);
  }
  CDocument* operator->() { return &m_document; }

  CReports m_reports;
  CDocument m_document;
  bool m_bOpened = false;
};

// The value as text; references are followed to a depth and then shown as "R". Equal graphs of two files give
// equal texts.
inline std::string Describe(const CObjectPtr& object, int nDepth)
{
  if (object.IsIndirect())
  {
    const CObjectPtr stream = object.GetStreamObject();
    if (nDepth == 0)
      return "R";
    std::string text = Describe(object.GetValueObject(), nDepth - 1);
    return stream ? text + "stream:" + GetBytes(*object.GetStream()) : text;
  }
  switch (object.GetType())
  {
  case eBoolean:
    return object.GetBooleanValue() ? "true" : "false";
  case eInteger:
    return std::to_string(object.GetIntegerValue());
  case eReal:
    return std::to_string(object.GetRealValue());
  case eString:
    return "(" +
           std::string(reinterpret_cast<const char*>(object.GetStringValue().GetData()),
                       static_cast<std::size_t>(object.GetStringValue().GetLength())) +
           ")";
  case eName:
    return std::string("/") + object.GetNameValue();
  case eArray:
  {
    std::string text = "[";
    for (int i = 0; i < object.GetSize(); ++i)
      text += (i ? " " : "") + Describe(object[i], nDepth);
    return text + "]";
  }
  case eDictionary:
  {
    std::map<std::string, std::string> entries;
    for (int i = object.GetBegin(); i != object.GetEnd(); i = object.GetNext(i))
      entries[object.GetKey(i)] = Describe(object.GetValue(i), nDepth);
    std::string text = "<<";
    for (const auto& [key, value] : entries)
      text += "/" + key + " " + value;
    return text + ">>";
  }
  default:
    return "null";
  }
}

// A copier of documents with its reports.
template <class T>
struct TTestCopier : T
{
  TTestCopier() : T(&m_reports) {}

  // Empty on failure.
  std::string Copy(const std::string& bytes)
  {
    if (!T::Open(MakeStream(bytes).Get(), nullptr))
      return {};
    return SaveAgain();
  }
  std::string SaveAgain()
  {
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    return T::Save(pOutput.Get(), TEncryption()) ? GetBytes(*pOutput) : std::string();
  }

  static CReports m_reports;
};
template <class T>
CReports TTestCopier<T>::m_reports;

using CTestCopier = TTestCopier<CDocumentCopierT<CObjectCopier>>;
using CTestCopierNonRec = TTestCopier<CContextDocumentCopierNonRec>;

}  // namespace PDF
