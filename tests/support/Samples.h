#pragma once

#include <string>
#include <vector>

namespace Support
{

// A small sound document and what it is known to hold.
struct TSample
{
  std::string sName;
  std::string sPdf;
  int nPages = 0;
};

// One document in every layout that CPdfBuilder knows: tables, streams, hybrid, object streams, updates,
// bytes before the header, the order of a linearized file, indirect lengths, compressed contents.
std::vector<TSample> MakeSamples();

// The document that the damages of PdfDamager.h are made for: three pages, one table.
TSample MakePlainSample();

}  // namespace Support
