#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Support
{

// How a file says where its objects are (ISO 32000-1, 7.5.4 and 7.5.8).
enum class TXRefForm
{
  Table,
  Stream,
  Hybrid  // a table, and a stream that lists the objects of object streams
};

// Builds small PDF documents byte by byte, each in one of the layouts that writers in the field choose. The
// same calls with the same settings give the same bytes. Damage is done to the result, see PdfDamager.h.
//
//   CPdfBuilder builder;
//   builder.SetXRefForm(TXRefForm::Stream).SetObjectStreams(10);
//   builder.AddPage("0 0 100 100 re f");
//   std::string sPdf = builder.Build();
class CPdfBuilder
{
public:
  static constexpr int g_nCatalog = 1;
  static constexpr int g_nPageTree = 2;

  // A document without pages: a catalogue and an empty page tree.
  CPdfBuilder();

  CPdfBuilder& SetVersion(std::string sVersion);
  CPdfBuilder& SetXRefForm(TXRefForm form);
  // At most so many objects in each object stream; 0, the default, for none. Takes effect with
  // cross-reference streams; in hybrid files the catalogue and the pages stay outside.
  CPdfBuilder& SetObjectStreams(int nPerStream);
  // Bytes before the header. Offsets count from the header.
  CPdfBuilder& SetPrefix(std::string sPrefix);
  // The layout of a linearized file: parameter dictionary, a first cross-reference table at the start that
  // leads to the main one at the end. There are no hint tables. Only for a table and one revision.
  CPdfBuilder& SetLinearizedLike(bool bLinearized);
  // Lengths of streams as references to objects of their own.
  CPdfBuilder& SetIndirectLengths(bool bIndirect);
  // Entries beside those that the builder writes, such as "/Lang (en)".
  CPdfBuilder& SetCatalogEntries(std::string sEntries);
  CPdfBuilder& SetTrailerEntries(std::string sEntries);

  // A number whose body is given by SetObject.
  int ReserveObject();
  int AddObject(std::string sBody);
  void SetObject(int nNumber, std::string sBody);
  void FreeObject(int nNumber);

  // A stream with these bytes as they are; the entries are beside Length.
  int AddStream(std::string sBytes, std::string sEntries = {});
  // The same, compressed with FlateDecode.
  int AddFlateStream(std::string_view sData, const std::string& sEntries = {});

  // Adds a page with a content stream, Helvetica as /F1 and the size of A4. Entries are beside these.
  // Answers the number of the page object.
  int AddPage(std::string sContent, std::string sEntries = {});
  int GetPageCount() const { return static_cast<int>(m_pages.size()); }
  int GetPage(int nIndex) const { return m_pages.at(static_cast<size_t>(nIndex)); }

  // What is set from here on is written as an incremental update after what was set before.
  void BeginUpdate();

  std::string Build() const;

private:
  friend class CPdfLayout;

  struct TEntry
  {
    std::string sBody;  // what is between obj and endobj
    bool bStream = false;
    bool bFree = false;
    bool bOutside = false;  // not into the object streams of a hybrid file
  };
  using TRevision = std::map<int, TEntry>;

  TRevision& GetRevision() { return m_revisions.back(); }
  void WriteCatalog();
  void WritePageTree();

  std::vector<TRevision> m_revisions;
  std::vector<int> m_pages;
  std::string m_sVersion = "1.7";
  std::string m_sPrefix;
  std::string m_sCatalogEntries;
  std::string m_sTrailerEntries;
  TXRefForm m_form = TXRefForm::Table;
  int m_nPerObjectStream = 0;
  int m_nNextNumber = 1;
  int m_nFont = 0;
  bool m_bLinearizedLike = false;
  bool m_bIndirectLengths = false;
};

}  // namespace Support
