#pragma once

#include "document/ObjectHasher.h"
#include "fonts/pdf/CompositeFont.h"

namespace PDF
{

class CDocument;

// The fonts of a document, each made once, with what they share. Lives as long as anything that it gave out.
// Who knows of objects that stand for others derives from it, and all is asked for by those.
class CFontRegistry
{
public:
  explicit CFontRegistry(CDocument& document);
  CFontRegistry(const CFontRegistry&) = delete;
  CFontRegistry& operator=(const CFontRegistry&) = delete;
  virtual ~CFontRegistry() = default;

  // The object that stands for this one and all its duplicates.
  virtual CObjectPtr GetStandIn(const CObjectPtr& object) const { return object; }

  // Fonts with equal dictionaries are one. Null, which is traced, for a dictionary that is no font.
  BSE::CObjectPtr<CFont> CreateFont(const CObjectPtr& object);

  // The same for a dictionary that is in no file, and is not among the fonts that were asked for.
  BSE::CObjectPtr<CFont> MakeUnlisted(const CObjectPtr& dictionary) { return MakeFont(dictionary); }

  // Makes fonts anew whose dictionaries have changed, in their places and with what is known of their use;
  // all together that share a descendant. The old ones go unless they are held.
  void Renew(std::span<CFont* const> fonts);

  // What text without a font is shown in: Helvetica, which is not in the file.
  BSE::CObjectPtr<CFont> GetDefaultFont();

  // The fonts that were asked for, in that order, without descendants and the default one.
  int GetFontCount() const { return m_fonts.GetSize(); }
  CFont* GetFont(int nIndex) const { return m_fonts[nIndex]; }

  CFontAccount& GetAccount() { return m_account; }

  // What stands for an object, which is the same for the same object.
  BSE::CObjectPtr<CFontDescriptor> GetDescriptor(const CObjectPtr& object);

  // Borrowed; null if it is no stream.
  CFontFile* GetFontFile(const CObjectPtr& object);
  BSE::CObjectPtr<CToUnicode> GetToUnicode(const CObjectPtr& object);
  BSE::CObjectPtr<CWidthTable> GetWidthTable(const CObjectPtr& array, int nPerCID);

  // The changes of an encoding that is a dictionary; null without them.
  BSE::CObjectPtr<CDifferences> GetDifferences(const CObjectPtr& encoding);

  // Null for a name that no encoding has.
  BSE::CObjectPtr<CSimpleEncoding> GetPredefinedEncoding(const char* szName);

private:
  void AddNumber(CFont& font, int nNumber);
  void Replace(CFont& font, CFont& by);
  void NoteForeignUse(const CObjectPtr& dictionary);
  CFont* FindFont(const CObjectPtr& dictionary, TObjectDigest& digest) const;
  BSE::CObjectPtr<CFont> MakeFont(const CObjectPtr& dictionary);
  BSE::CObjectPtr<CFont> MakeSimpleFont(const CObjectPtr& dictionary);
  BSE::CObjectPtr<CFont> MakeCompositeFont(const CObjectPtr& dictionary);
  BSE::CObjectPtr<CCIDFont> MakeCIDFont(const CObjectPtr& dictionary);
  TFontFormat FindFormat(const CObjectPtr& dictionary);

  CFontAccount m_account;
  BSE::CObjectArray<CFont> m_fonts;
  BSE::CValueKeyPtrMap<int, CFont> m_byNumber;
  BSE::CValueKeyPtrMap<const CObject*, CFont> m_byAddress;  // of direct dictionaries, which their fonts hold
  BSE::CValueKeyPtrMap<TObjectDigest, CFont> m_byDigest;
  BSE::CValueKeyObjectMap<int, CFont> m_descendants;
  BSE::CValueKeyObjectMap<int, CFontDescriptor> m_descriptors;
  BSE::CValueKeyObjectMap<int, CFontFile> m_files;
  BSE::CValueKeyObjectMap<int, CToUnicode> m_toUnicode;
  BSE::CValueKeyObjectMap<int, CWidthTable> m_widths;
  BSE::CValueKeyObjectMap<int, CDifferences> m_differences;
  BSE::CObjectArray<CSimpleEncoding> m_encodings;
  BSE::CObjectPtr<CFont> m_pDefault;
};

// Gives content its fonts. Colour spaces are left to the class that derives from it.
class CFontResources : public IContentResources
{
public:
  explicit CFontResources(CFontRegistry& registry) : m_registry(registry) {}
  BSE::CObjectPtr<IContentFont> CreateFont(const CObjectPtr& font) override
  {
    return m_registry.CreateFont(font);
  }
  BSE::CObjectPtr<IContentFont> GetDefaultFont() override { return m_registry.GetDefaultFont(); }

private:
  CFontRegistry& m_registry;
};

}  // namespace PDF
