#pragma once

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/IndirectObject.h"
#include "pdf/Parser.h"
#include "pdf/StreamObjects.h"

#include <string>
#include <string_view>
#include <vector>

namespace ColorTest
{

// Objects of no file, from their text.
class CObjects
{
public:
  CObjects() : m_file(&m_handler) {}

  PDF::CObjectPtr Parse(std::string_view text)
  {
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(text.data(), static_cast<std::int64_t>(text.size())));
    PDF::CParser parser(&m_file, pStream.Get(), nullptr);
    return parser.ParseValue();
  }

  // An indirect object with a value of that text.
  PDF::CObjectPtr Object(std::string_view text) { return MakeObject(text, nullptr); }

  PDF::CObjectPtr Stream(std::string_view dictionary, std::string_view data)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pData(
        new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
    return MakeObject(dictionary, new PDF::CStreamObject(pData.Get()));
  }

  BSE::CErrorHandler& GetHandler() { return m_handler; }

private:
  PDF::CObjectPtr MakeObject(std::string_view text, PDF::CObject* pStream)
  {
    const BSE::CObjectPtr<PDF::CIndirectObject> pObject(
        new PDF::CIndirectObject(&m_file, ++m_nNumber, 0, -1));
    pObject->SetParsed(Parse(text).Get(), pStream);
    return pObject.Get();
  }

  BSE::CErrorHandler m_handler;
  PDF::CFile m_file;
  int m_nNumber = 0;
};

}  // namespace ColorTest
