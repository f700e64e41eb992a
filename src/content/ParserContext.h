#pragma once

#include "content/ContentEnvironment.h"
#include "content/GraphicsState.h"
#include "document/Resources.h"

namespace PDF
{

// What the operators of one content stream share: the resources that it names, with what has been looked up
// in them.
class CParserContext
{
public:
  // Borrows the environment and the parent: the context of the content that a form is drawn from, or null.
  CParserContext(CContentEnvironment& environment, const CResources& resources, CParserContext* pParent);
  virtual ~CParserContext();
  CParserContext(const CParserContext&) = delete;
  CParserContext& operator=(const CParserContext&) = delete;

  CContentEnvironment& GetEnvironment() const { return m_environment; }
  const CResources& GetResources() const { return m_resources; }
  CParserContext* GetParent() const { return m_pParent; }

  // A resource; null if it is absent, which is traced for fonts and XObjects.
  CObjectPtr FindResource(const char* szCategory, const char* szName);

  // A font by its name with its dictionary; null if there is none that text can be shown in. The dictionary
  // alone where nobody makes fonts.
  BSE::CObjectPtr<IContentFont> FindFont(const char* szName, CObjectPtr& font);

  // A font that is not a resource; null as above.
  BSE::CObjectPtr<IContentFont> FindFontObject(const CObjectPtr& font);

  // A colour space by its name. False if there is none.
  bool FindColorSpace(const char* szName, TColorFamily& nFamily, CObjectPtr& space,
                      BSE::CObjectPtr<IContentColorSpace>& pSpace);

private:
  // Holds the dictionary of a category: with it, what its entries refer to stays loaded.
  void PinCategory(const char* szCategory);

  // Made objects by name, with a reference on each.
  static BSE::IObject* FindMade(const BSE::CBasicMap& map, const char* szName);
  static void KeepMade(BSE::CBasicMap& map, const char* szName, BSE::IObject* pObject);
  static void ReleaseMade(BSE::CBasicMap& map);

  CContentEnvironment& m_environment;
  CResources m_resources;
  CParserContext* m_pParent;
  CObjectPtr m_categories[8];
  BSE::CBasicMap m_fonts;
  BSE::CBasicMap m_fontObjects;  // by number
  BSE::CBasicMap m_colorSpaces;
};

}  // namespace PDF
