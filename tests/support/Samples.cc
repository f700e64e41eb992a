#include "tests/support/Samples.h"

#include <ostream>
#include <utility>

#include "tests/support/PdfBuilder.h"

namespace Support
{
namespace
{

std::string MakeContent(int nPage)
{
  std::string sContent = "BT /F1 24 Tf 72 770 Td (Page " + std::to_string(nPage) + ") Tj ET\n";
  for (int i = 0; i < 20; ++i)
    sContent += std::to_string(72 + 20 * i) + " 700 10 10 re f\n";
  return sContent;
}

// Three pages, an outline entry, document information and a stamp on the last page.
CPdfBuilder MakeBuilder()
{
  CPdfBuilder builder;
  builder.AddPage(MakeContent(1));
  builder.AddPage(MakeContent(2), "/Rotate 90");
  const int nForm =
      builder.AddFlateStream("0 0 50 50 re f", "/Type /XObject /Subtype /Form /BBox [0 0 50 50]");
  const int nLast = builder.AddPage(
      MakeContent(3), "/Annots [<< /Type /Annot /Subtype /Stamp /F 4 /Rect [72 72 122 122] /AP << /N " +
                          std::to_string(nForm) + " 0 R >> >>]");
  builder.AddObject("(not referred to)");
  const int nOutline = builder.ReserveObject();
  const int nItem = builder.AddObject("<< /Title (Last page) /Parent " + std::to_string(nOutline) +
                                      " 0 R /Dest [" + std::to_string(nLast) + " 0 R /Fit] >>");
  builder.SetObject(nOutline, "<< /Type /Outlines /Count 1 /First " + std::to_string(nItem) + " 0 R /Last " +
                                  std::to_string(nItem) + " 0 R >>");
  builder.SetCatalogEntries("/Lang (en) /Outlines " + std::to_string(nOutline) + " 0 R");
  const int nInfo = builder.AddObject("<< /Title (A sample) /Author (Nobody) >>");
  builder.SetTrailerEntries(
      "/Info " + std::to_string(nInfo) +
      " 0 R /ID [<00112233445566778899AABBCCDDEEFF> <00112233445566778899AABBCCDDEEFF>]");
  return builder;
}

CPdfBuilder MakeUpdated(TXRefForm form, int nPerStream)
{
  CPdfBuilder builder = MakeBuilder();
  builder.SetXRefForm(form).SetObjectStreams(nPerStream);
  builder.BeginUpdate();
  builder.AddPage(MakeContent(4));
  builder.BeginUpdate();
  builder.SetCatalogEntries("/Lang (de)");
  builder.FreeObject(builder.AddObject("(gone)"));
  return builder;
}

void Add(std::vector<TSample>& samples, const char* szName, const CPdfBuilder& builder)
{
  std::string sPdf = builder.Build();
  const std::string sVersion = sPdf.substr(sPdf.find("%PDF-") + 5, 3);
  samples.push_back({szName, std::move(sPdf), sVersion, builder.GetPageCount()});
}

}  // namespace

void PrintTo(const TSample& sample, std::ostream* pOut)
{
  *pOut << sample.sName;
}

TSample MakePlainSample()
{
  std::vector<TSample> samples;
  Add(samples, "Table", MakeBuilder());
  return samples.front();
}

std::vector<TSample> MakeSamples()
{
  std::vector<TSample> samples;
  Add(samples, "Table", MakeBuilder());
  Add(samples, "Stream", MakeBuilder().SetXRefForm(TXRefForm::Stream));
  Add(samples, "ObjectStreams", MakeBuilder().SetXRefForm(TXRefForm::Stream).SetObjectStreams(3));
  Add(samples, "Hybrid", MakeBuilder().SetXRefForm(TXRefForm::Hybrid).SetObjectStreams(100));
  Add(samples, "Prefix", MakeBuilder().SetPrefix("HTTP/1.1 200 OK\r\nServer: none\r\n\r\n"));
  Add(samples, "LinearizedLike", MakeBuilder().SetLinearizedLike(true));
  Add(samples, "Version14", MakeBuilder().SetVersion("1.4"));
  Add(samples, "Version20", MakeBuilder().SetVersion("2.0").SetXRefForm(TXRefForm::Stream));
  Add(samples, "UpdatedTable", MakeUpdated(TXRefForm::Table, 0));
  Add(samples, "UpdatedStream", MakeUpdated(TXRefForm::Stream, 5));
  Add(samples, "UpdatedHybrid", MakeUpdated(TXRefForm::Hybrid, 5));

  CPdfBuilder lengths;
  lengths.SetIndirectLengths(true);
  lengths.AddPage(MakeContent(1));
  Add(samples, "IndirectLengths", lengths);

  CPdfBuilder many;
  many.SetXRefForm(TXRefForm::Stream).SetObjectStreams(100);
  for (int i = 1; i <= 300; ++i)
    many.AddPage(MakeContent(i));
  Add(samples, "ManyPages", many);
  return samples;
}

}  // namespace Support
