#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "pdf/File.h"

namespace PDF
{

// Reads the cross-reference chain of a file that is being opened (ISO 32000-1, 7.5.4 to 7.5.8): collects the
// sections from the newest to the oldest, then enters them the other way round.
class CFileLoader
{
public:
  explicit CFileLoader(CFile& file) : m_file(file) {}

  // Tests whether the first object makes the file a linearized one. Reports nothing.
  void TestLinearized();

  // Follows the chain from a position; false if a section is missing, so that the file needs a scan.
  bool ReadChain(std::int64_t nStartXRef);

  // Enters the collected sections; false likewise.
  bool Merge();

private:
  enum TOutcome
  {
    eRead,
    eLoop,       // its revision has been met already
    eMalformed,  // no section stands there
    eNoTrailer   // a section without a usable dictionary
  };

  // One cross-reference section.
  struct TSection
  {
    std::int64_t m_nPos;
    int m_nStream;   // index into m_streams, -1 for a table
    bool m_bHybrid;  // a table whose revision has a stream too
    bool m_bHidden;  // that stream
  };

  TOutcome ReadTrailerAt(std::int64_t nPos, CObjectPtr& trailer, BSE::CObjectPtr<CIndirectObject>& stream);
  // At the token behind a section; false if the revision's end is known already.
  bool NoteRevisionEnd();
  bool IsTrailer(const CObjectPtr& trailer) const;
  void TakeTrailer(const CObjectPtr& trailer, bool bFirst);
  void TakeId(const CObjectPtr& trailer, bool bFirst);
  void AddSection(std::int64_t nPos, CIndirectObject* pStream, bool bHybrid, bool bHidden);
  void AddHidden(std::int64_t nPos);
  bool MergeTable(const TSection& section, bool bLast);
  bool MergeStream(const TSection& section);

  CFile& m_file;
  BSE::CBasicArray<TSection> m_sections;
  BSE::CObjectArray<CIndirectObject> m_streams;
  BSE::CBasicArray<int> m_numbers;  // of cross-reference streams entered
  std::int64_t m_nLinearizedLength = -1;
};

}  // namespace PDF
