#pragma once

#include "base/BasicArray.h"
#include "base/PagedArray.h"
#include "pdf/File.h"

namespace PDF
{

// Rebuilds cross-reference data by reading a whole file token by token. One object for one scan.
class CXRefRecovery
{
public:
  CXRefRecovery(CFile& file, TFileState& state, CObjectReader& reader)
      : m_file(file), m_state(state), m_reader(reader)
  {
  }

  // Primary form (bSecondary false): the table is made anew from every "n g obj" in the file, the last
  // occurrence of a number counting, and the trailer from the last "trailer" or, in a file without one, from
  // cross-reference streams. Objects in object streams get entries where no plain object of their number
  // is after the stream. False, reported, without a trailer or a root in it.
  // Secondary form: table and trailer stay, and what the table lacks or has at a wrong place goes into the
  // file's second table; of a table that is not whole, what it calls free and an object stream holds gets an
  // entry. Always true.
  bool Run(bool bSecondary);

private:
  // An integer with the position of its first digit.
  struct TNumber
  {
    std::int64_t m_nValue = -1;
    std::int64_t m_nPos = -1;
  };

  // An object that has stream data.
  struct TStreamObject
  {
    int m_nObjNumber;
    std::int64_t m_nPos;
  };

  void Scan();
  void EnterObject(int nObjNumber, int nGenNumber, std::int64_t nPos);
  bool IsKnownGood(int nObjNumber);
  void TakeTrailer(const CObjectPtr& trailer);
  void ReadStreamObjects();

  CFile& m_file;
  TFileState& m_state;
  CObjectReader& m_reader;
  BSE::CBasicArray<TStreamObject> m_streams;
  BSE::CPagedArray<signed char, 64> m_verdicts;  // by object number: 1 the table is right, -1 it is wrong
  CObjectPtr m_xrefTrailer;
  int m_nLastObject = 0;
  std::int64_t m_nLastPos = -1;
  bool m_bSecondary = false;
  bool m_bTrailerFound = false;
};

}  // namespace PDF
