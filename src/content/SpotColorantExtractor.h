#pragma once

#include "content/ContentColorSpace.h"
#include "content/ContentEnvironment.h"

namespace PDF
{

// Finds the spot colorants of a document: the Separation spaces that its pages use, each once. Looks at their
// content with all that it draws and at the appearances of their annotations, page by page.
class CSpotColorantExtractor : public BSE::CObject
{
public:
  // Borrows all of them. What cannot be read is reported to the context.
  CSpotColorantExtractor(CDocument& document, CColorSpaceFactory& spaces,
                         BSE::IErrorContext* pErrorContext = nullptr);
  ~CSpotColorantExtractor() override;
  bool IsValid() const override { return true; }

  // The next one, with its name as its colorant; null after the last.
  BSE::CObjectPtr<DOC::IColorSpace> GetNext();

private:
  class CColorResources;
  class CFinder;

  void ReadPage(const CPage& page);

  // Notes what a space is or is made of.
  void Add(DOC::IColorSpace* pSpace);
  void AddObject(const CObjectPtr& space, const CResources& resources);
  void AddColorants(const CObjectPtr& colorants, const DOC::ITintColorSpace& tint);

  // False if what has that number has been read: it is not read again from another place.
  bool IsNew(const CObjectPtr& object);

  CDocument& m_document;
  CColorSpaceFactory& m_spaces;
  BSE::IErrorContext* m_pErrorContext;
  BSE::CScopedPtr<CColorResources> m_pResources;
  CContentEnvironment m_environment;
  BSE::CObjectArray<DOC::IColorSpace> m_found;
  BSE::CBasicMap m_known;                  // keys of spaces, or names
  BSE::CValueKeyPtrMap<int, char> m_read;  // numbers of objects
  int m_nNext = 0;
  int m_nPage = 0;
};

}  // namespace PDF
