#pragma once

#include "base/BasicArray.h"
#include "base/MemoryStream.h"
#include "pdf/XRefTable.h"

namespace PDF
{

class CFile;
class CFileWriter;
class CGenerator;
struct TFileState;

// Ends a revision with its cross-reference section and trailer (ISO 32000-1, 7.5.4, 7.5.5 and 7.5.8): a table
// or a stream, of all objects or, for a file that is appended to, of those written since the last section.
class CRevisionWriter
{
public:
  // Borrows all four. nPrevious is the position of the section before, or -1 for a section of all objects;
  // nRevisionStart the position from which on everything belongs to the revision.
  CRevisionWriter(CFile& file, TFileState& state, CFileWriter& writer, CGenerator& generator,
                  std::int64_t nPrevious, std::int64_t nRevisionStart);

  // True if an entry that belongs to the section can be only in a stream.
  bool NeedsStream() const;

  // The section, the trailer and the end of the file. False for a write failure, or for a table when a
  // position has more than ten digits.
  bool WriteTable();
  bool WriteStream();

  // Where the section is.
  std::int64_t GetPosition() const { return m_nPosition; }

private:
  // Consecutive numbers of one subsection.
  struct TRun
  {
    int m_nFirst;
    int m_nCount;
  };

  // One entry as it is written: a position, the number of an object stream, or the next free number.
  struct TField
  {
    TXRefType m_nType;
    std::int64_t m_nValue;
    int m_nGeneration;
  };

  void AddTrailer(CObject& dictionary);
  void CollectRuns();
  bool IsIncluded(int nObjNumber) const;

  // To be asked in ascending order: free numbers form a list.
  TField GetEntry(int nObjNumber);
  void WriteTableRun(const TRun& run);
  void WriteEnd();
  int GetOffsetWidth() const;
  BSE::CObjectPtr<BSE::CMemoryStream> EncodeEntries(int nWidth, bool bPredict);
  CObjectPtr CreateStreamDictionary(int nWidth, bool bPredict);

  CFile& m_file;
  TFileState& m_state;
  CFileWriter& m_writer;
  CGenerator& m_generator;
  std::int64_t m_nPrevious;
  std::int64_t m_nRevisionStart;
  std::int64_t m_nPosition = 0;
  BSE::CBasicArray<TRun> m_runs;
  BSE::CBasicArray<int> m_free;  // free numbers in ascending order, the list that starts at entry 0
  int m_nFreeIndex = 0;
};

}  // namespace PDF
