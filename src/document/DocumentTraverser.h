#pragma once

#include "document/Document.h"

namespace PDF
{

// Walks the parts of a document in a fixed order: the form with its default resources and fields, then page
// by page resources, contents and annotations with their appearances. Nothing is changed. Every operation
// returns false to end the walk; a derived class overrides what it wants to see and calls the base to go
// deeper.
class CDocumentTraverser
{
public:
  explicit CDocumentTraverser(CDocument& document) : m_document(document) {}
  CDocumentTraverser(const CDocumentTraverser&) = delete;
  CDocumentTraverser& operator=(const CDocumentTraverser&) = delete;
  virtual ~CDocumentTraverser() = default;

  // AcroForm, its DR and fields, then the pages.
  virtual bool TraverseCatalog(const CObjectPtr& catalog);
  virtual bool TraversePages();

  // Resources, Contents, Annots.
  virtual bool TraversePage(const CPage& page);

  // AP with N (one stream, or one for each state) and their resources; AS and V as values.
  virtual bool TraverseAnnotation(const CObjectPtr& annotation);
  virtual bool TraverseAppearance(const CObjectPtr& appearance);
  virtual bool TraverseField(const CObjectPtr& field);
  virtual bool TraverseResources(const CObjectPtr& resources);
  virtual bool TraverseContents(const CObjectPtr& contents);
  virtual bool TraverseValue(const char* szKey, const CObjectPtr& value);

protected:
  // Every field of the form below an array, once; a cycle is traced.
  bool TraverseFields(const CObjectPtr& fields);

  CDocument& m_document;
};

}  // namespace PDF
