#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/PdfBuilder.h"

namespace Support
{

// Lays the objects of a builder out in a file: the part of CPdfBuilder that knows about bytes and offsets.
class CPdfLayout
{
public:
  // The builder is borrowed.
  explicit CPdfLayout(const CPdfBuilder& builder) : m_builder(builder) {}

  std::string Write();

private:
  using TRevision = CPdfBuilder::TRevision;

  // Where an object is, in the terms of a cross-reference stream.
  struct TPlace
  {
    int nType = 1;  // 0 free, 1 at an offset, 2 in an object stream
    size_t nFirst = 0;
    size_t nSecond = 0;
  };
  using TPlaces = std::map<int, TPlace>;

  void WriteHeader();
  void WriteObject(int nNumber, const std::string& sBody, TPlaces& places);
  void WriteRevision(const TRevision& revision);
  void WriteObjectStreams(const std::vector<int>& numbers, const TRevision& revision, TPlaces& places);
  void WriteObjectStream(const std::vector<int>& numbers, const TRevision& revision, TPlaces& places);
  void WriteTable(const TPlaces& places, const std::string& sEntries);
  size_t WriteXRefStream(TPlaces places, const std::string& sEntries);
  void WriteLinearizedLike(const TRevision& revision);
  void WriteEnd(size_t nStart);
  std::string GetTrailerEntries() const;
  bool IsPacked(const CPdfBuilder::TEntry& entry) const;
  size_t GetOffset() const { return m_sOut.size() - m_nHeader; }
  // Writes a number into ten places that were left open at a position.
  void Patch(size_t nPosition, size_t nValue);

  const CPdfBuilder& m_builder;
  std::string m_sOut;
  size_t m_nHeader = 0;  // position of the header
  int m_nNextNumber = 0;
  size_t m_nPrevious = 0;  // offset of the last cross-reference section
};

}  // namespace Support
