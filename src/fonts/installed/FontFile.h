#pragma once

#include "base/FileStream.h"
#include "fonts/installed/InstalledFont.h"

namespace PDF
{

// Opens a file for reading that is one: no folder, and nothing that would keep its reader waiting, as a pipe
// does. Null if it cannot be opened, or has more bytes than wanted; with an error context that is reported.
BSE::CObjectPtr<BSE::CFileStream> OpenRegularFile(const char* szPath, std::int64_t nMaxSize,
                                                  BSE::IErrorContext* pErrorContext);

// Reads what the catalogue has to know of the fonts in a file: names and characteristics, out of some tables
// of TrueType and OpenType, and out of the clear text of Type 1. Glyphs are not read, and damaged fonts are
// passed over with a trace line. Costs no more than a few megabytes, whatever the file says.
class CFontFileReader
{
public:
  // Both are borrowed; the path is for the fonts and the trace.
  CFontFileReader(BSE::IByteStream& stream, const char* szPath) : m_stream(stream), m_szPath(szPath) {}
  CFontFileReader(const CFontFileReader&) = delete;
  CFontFileReader& operator=(const CFontFileReader&) = delete;

  // Appends the fonts; their number.
  int Read(BSE::CObjectArray<CInstalledFont>& fonts);

private:
  using CBytes = BSE::CBasicArray<unsigned char>;

  // The tables of one font, as far as they are read.
  struct TTables
  {
    CBytes m_head;
    CBytes m_name;
    CBytes m_os2;
    CBytes m_post;
    CBytes m_hhea;
    CBytes m_cmap;
  };

  bool ReadAt(std::int64_t nOffset, std::int64_t nLength, CBytes& bytes);
  bool ReadCollection(BSE::CObjectArray<CInstalledFont>& fonts);
  bool ReadFont(std::int64_t nOffset, int nIndex, BSE::CObjectArray<CInstalledFont>& fonts);
  bool ReadTables(std::int64_t nOffset, TTables& tables);
  bool FillFont(const TTables& tables, CInstalledFont& font);
  bool ReadType1(BSE::CObjectArray<CInstalledFont>& fonts);
  bool Trace(const char* szFormat);

  BSE::IByteStream& m_stream;
  const char* m_szPath;
  BSE::CStr8 m_family;       // of the font that is read
  std::int64_t m_nRead = 0;  // bytes
};

}  // namespace PDF
