#include "tests/tools/Command.h"

#include "tests/support/PdfBuilder.h"

namespace Tools
{

CCommandFolder::CCommandFolder()
{
  Write("large.pdf", MakeLarge());
  Write("tiny.pdf", MakeTiny());
}

Support::TProcessResult CCommandFolder::Run(std::vector<std::string> arguments, std::string_view sInput) const
{
  arguments.insert(arguments.begin(), BREVEX_PROGRAM);
  return Support::RunProgram(arguments, sInput, m_folder.GetPath());
}

// Many small objects, which fit into object streams.
std::string CCommandFolder::MakeLarge()
{
  Support::CPdfBuilder builder;
  builder.SetVersion("1.4");
  for (int i = 0; i < 100; ++i)
  {
    builder.AddPage("BT /F1 12 Tf 72 700 Td (Page " + std::to_string(i) + ") Tj ET");
  }
  return builder.Build();
}

// No white space that is not needed, no information, no identifier, and a version that has no object streams.
std::string CCommandFolder::MakeTiny()
{
  return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[3 0 R]/Count "
         "1>>endobj\n"
         "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Resources<<>>>>endobj\n"
         "xref\n0 4\n0000000000 65535 f \n0000000009 00000 n \n0000000052 00000 n \n0000000101 00000 n \n"
         "trailer<</Size 4/Root 1 0 R>>\nstartxref\n174\n%%EOF\n";
}

}  // namespace Tools
