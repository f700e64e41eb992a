#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Support
{

// A small sound document and what it is known to hold.
struct TSample
{
  std::string sName;
  std::string sPdf;
  std::string sVersion = "1.7";
  int nPages = 0;  // each with the text "Page" and its number, from 1
};

// How GoogleTest shows it.
void PrintTo(const TSample& sample, std::ostream* pOut);

// One document in every layout that CPdfBuilder knows: tables, streams, hybrid, object streams, updates,
// bytes before the header, the order of a linearized file, indirect lengths, compressed contents.
std::vector<TSample> MakeSamples();

// The document that the damages of PdfDamager.h are made for: three pages, one table.
TSample MakePlainSample();

}  // namespace Support
