#pragma once

#include "document/SemanticObject.h"
#include "pdf/TextString.h"

namespace PDF
{

// A file specification with its embedded stream (ISO 32000-1, 7.11.3 and 7.11.4), as the name tree
// "EmbeddedFiles", file attachment annotations and "AF" list it. Nothing is changed. What is missing is
// traced with the component "CFileSpec".
class CEmbeddedFile : public CSemanticObject
{
public:
  explicit CEmbeddedFile(PDF::CObject* pFileSpec) : CSemanticObject(pFileSpec) {}

  // The first of "UF", "F", "DOS", "Mac" and "Unix" that is there; a specification that is a mere string is
  // its own name. Empty if there is none.
  CTextString GetFileName() const;

  // "Desc", or empty.
  CTextString GetDescription() const;

  // The media type of the data; null if it is not stated. Valid while the specification lives.
  const char* GetSubtype() const { return FindStream()["Subtype"].GetNameValue(); }

  // "Size", "CreationDate", "ModDate" and so on; null if there is no such dictionary.
  CObjectPtr GetParams() const;

  // The decoded data, at position 0; null without an embedded stream, or where it cannot be decoded.
  BSE::CObjectPtr<BSE::IByteStream> GetData() const;

  // What an associated file is to its document (ISO 32000-2, 7.11.3), such as "Source"; null if not stated.
  const char* GetRelationship() const { return m_object["AFRelationship"].GetNameValue(); }

private:
  // The stream under the keys of "EF", in the same order as the names.
  CObjectPtr FindStream() const;
};

}  // namespace PDF
