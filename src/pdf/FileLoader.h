#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "pdf/File.h"
#include "pdf/XRefSink.h"

namespace PDF
{

// Reads the cross-reference chain of a file that is being opened (ISO 32000-1, 7.5.4 to 7.5.8): collects the
// sections from the newest to the oldest, then enters them the other way round. No object is loaded
// meanwhile: where the place of a section is a reference, what is known by then is entered, the reference is
// followed, and all is entered once more. Each section is read once, and all of them together are bounded by
// the length of the file.
class CFileLoader
{
public:
  CFileLoader(CFile& file, TFileState& state);

  // Tests whether the first object makes the file a linearized one. Reports nothing.
  void TestLinearized();

  // Reads the chain from a position into the table; false if a section is missing or they are out of
  // proportion, so that the file needs a scan.
  bool Read(std::int64_t nStartXRef);

private:
  enum TOutcome
  {
    eRead,
    eLoop,       // its revision has been met already
    eMalformed,  // no section is there
    eNoTrailer   // a section without a usable dictionary
  };

  // One cross-reference section.
  struct TSection
  {
    std::int64_t m_nPos;
    int m_nStream;   // index into m_streams, -1 for a table
    bool m_bHidden;  // that of a hybrid revision, which is before it in the file's table
  };

  bool ReadChain(std::int64_t nPos);
  bool Merge();

  // Adds the sections that references lead to; false if one of them is missing.
  bool FollowReferences();
  TOutcome ReadTrailerAt(std::int64_t nPos, CObjectPtr& trailer, BSE::CObjectPtr<CIndirectObject>& stream);
  // At the token after a section; false if the revision's end is known already.
  bool NoteRevisionEnd();
  bool IsTrailer(const CObjectPtr& trailer) const;
  void TakeTrailer(const CObjectPtr& trailer, bool bFirst);
  void TakeId(const CObjectPtr& trailer, bool bFirst);
  void InsertSection(int nIndex, std::int64_t nPos, CIndirectObject* pStream, bool bHidden);

  // The stream of a hybrid revision, after the section of its table.
  void AddHidden(int nTable, const CObjectPtr& place);

  // Counts what has been read from a position on; false once it is out of proportion.
  bool TakeBytes(std::int64_t nStart);
  bool MergeTable(const TSection& section, CXRefSink& sink, bool bLast);
  bool MergeStream(const TSection& section, CXRefSink& sink);

  CFile& m_file;
  TFileState& m_state;
  BSE::CBasicArray<TSection> m_sections;
  BSE::CObjectArray<CIndirectObject> m_streams;
  BSE::CBasicArray<int> m_numbers;  // of cross-reference streams entered
  BSE::CValueKeyPtrMap<std::int64_t, void> m_visited;
  BSE::CObjectArray<CObject> m_hiddenPlaces;  // references, and the positions of the tables that have them
  BSE::CBasicArray<std::int64_t> m_hiddenTables;
  CObjectPtr m_prev;  // a reference
  std::int64_t m_nBytesLeft;
  std::int64_t m_nLinearizedLength = -1;
};

}  // namespace PDF
