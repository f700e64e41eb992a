#pragma once

#include "metadata/Xmp.h"

namespace PDF
{

class CDocument;

// The information dictionary of a document (ISO 32000-1, 14.3.3) as text. The dictionary is made with the
// first entry that is set. A view: the document must outlive it.
class CInfoDictionary : public IInfoDictionary
{
public:
  explicit CInfoDictionary(CDocument& document) : m_document(document) {}

  bool GetText(const char* szKey, BSE::CStr16& text) override;

  // Nothing happens in a document that cannot be written.
  void SetText(const char* szKey, const BSE::CStr16& text) override;

private:
  CDocument& m_document;
};

}  // namespace PDF
