#pragma once

#include "engine/DecodedStreams.h"
#include "engine/FontStates.h"
#include "engine/OptimizerOptions.h"
#include "engine/StandIns.h"
#include "fonts/pdf/FontRegistry.h"

namespace PDF
{

// What the passes over fonts share: the fonts, and how their objects in the input are changed before they are
// copied. An object that is handed out for changes stays in memory until the input is closed.
class CFontEditor
{
public:
  // All are borrowed. From now on objects of the file may be changed.
  CFontEditor(CDocument& document, CFontRegistry& fonts, const TOptimizerOptions& options,
              CStandIns& standIns, CDecodedStreams& decoded);
  CFontEditor(const CFontEditor&) = delete;
  CFontEditor& operator=(const CFontEditor&) = delete;

  CDocument& GetDocument() { return m_document; }
  CFile& GetFile() { return m_file; }
  CFontRegistry& GetFonts() { return m_fonts; }
  const TOptimizerOptions& GetOptions() const { return m_options; }
  CObjectPtr GetStandIn(const CObjectPtr& object) const { return m_standIns.Get(m_file, object); }

  // The objects of a font, to be changed; those that equal it are replaced by it. Null for one that is direct
  // where it is used, and for what cannot be read.
  CObjectPtr EditFont(CFont& font);
  CObjectPtr EditDescendant(CFont& font);  // of a composite font; else the font
  CObjectPtr EditDescriptor(CFont& font);

  // The same for any object, which is loaded. False for one that cannot be read.
  static bool Edit(const CObjectPtr& object);

  // Where to report what becomes of a font. One that is direct where it is used knows no file.
  BSE::IErrorContext* GetContext(const CFont& font) const;

  // From now on the copy has the one where the other one was.
  void Replace(const CObjectPtr& object, const CObjectPtr& by);

  // A new stream in the input, which nothing leads to yet; its data are encoded when they are copied. Null if
  // there are no numbers left.
  CObjectPtr NewStream(BSE::IByteStream* pData);
  CObjectPtr NewDictionary();

  // The data of a stream have changed.
  void ForgetData(const CObjectPtr& stream) { m_decoded.Remove(stream.GetObjNumber()); }

private:
  CDocument& m_document;
  CFile& m_file;
  CFontRegistry& m_fonts;
  const TOptimizerOptions& m_options;
  CStandIns& m_standIns;
  CDecodedStreams& m_decoded;
};

// Entries of a descriptor that have a program, in the order of CFontProgram::GetFontFileKey.
inline constexpr const char* g_fontFileKeys[] = {"FontFile", "FontFile2", "FontFile3"};

// Makes the entry of a dictionary, which may be null, this name.
void SetName(const CObjectPtr& dictionary, const char* szKey, const char* szName);

// The font's base name without the prefix of a subset.
const char* GetPlainName(const CFont& font);

}  // namespace PDF
