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
  PDF::CObjectPtr Object(std::string_view text)
  {
    PDF::CObjectPtr object(new PDF::CIndirectObject(&m_file, ++m_nNumber, 0, -1));
    object->SetValueObject(Parse(text).Get());
    return object;
  }

  PDF::CObjectPtr Stream(std::string_view dictionary, std::string_view data)
  {
    PDF::CObjectPtr object = Object(dictionary);
    const BSE::CObjectPtr<BSE::CMemoryStream> pData(
        new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
    object->SetStreamObject(new PDF::CStreamObject(pData.Get()));
    return object;
  }

  BSE::CErrorHandler& GetHandler() { return m_handler; }

private:
  BSE::CErrorHandler m_handler;
  PDF::CFile m_file;
  int m_nNumber = 0;
};

}  // namespace ColorTest
