#pragma once

#include "pdf/Conformance.h"
#include "pdf/Scanner.h"
#include "pdf/XRefSink.h"

#include <limits>

namespace PDF
{

class CDictionaryObject;
class CEncodedStreamObject;
class CSecurityHandler;

// Builds values from tokens (ISO 32000-1, 7.3) and reads the structures of a file: header, end of file,
// indirect objects, cross-reference tables. Tolerant: a token that has no place in a value costs itself, and
// what is cut gives a shorter value; an object to which that happens is noted as damaged in its file. Every
// position of this interface counts from the file's "%PDF-" header.
//
// A value's parser starts at the current token and leaves the token after the value as the current one.
class CParser
{
public:
  // On the input of a file, with references to its objects.
  explicit CParser(CFile* pFile);

  // On another stream. With a file, its references are made; without one an integer is always an integer.
  CParser(CFile* pFile, const BSE::CObjectPtr<BSE::CBufferedInputStream>& pStream,
          BSE::IErrorContext* pErrorContext);
  virtual ~CParser() = default;
  CParser(const CParser&) = delete;
  CParser& operator=(const CParser&) = delete;

  CScanner& GetScanner() { return m_scanner; }

  // The value at the current token; empty for null and for a token that begins no value.
  virtual CObjectPtr ParseObject();

  // Reads the first token, then parses.
  virtual CObjectPtr ParseValue();
  virtual CObjectPtr ParseArray();
  virtual CObjectPtr ParseDictionary();

  // True if the current integer begins a reference; the current token stays.
  virtual bool IsReference();
  virtual CObjectPtr ParseReference();

  // The value of an indirect object and, where "stream" follows, its stream part: returned in stream.
  virtual CObjectPtr ParseDictionaryOrStream(CIndirectObject* pObject, CObjectPtr& stream);

  // Fills an object from "n g obj" at a position. False, reported, if no such object is there or its
  // number is another one. An object without a known generation takes the numbers that it finds.
  bool ParseIndirectObject(CIndirectObject* pObject, std::int64_t nPos);

  // What the last call has reported of an object that it did not find.
  unsigned GetFailure() const { return m_nFailure; }

  // True if the values parsed since the last call of BeginValue lack something that is, or was, in the
  // file.
  bool IsCut() const { return m_bCut; }
  void BeginValue() { m_bCut = false; }

  // The elements and entries that may be made from here on, where a dictionary counts as some; what would
  // take more is given up, and cut.
  void SetValueLimit(std::int64_t nValues) { m_nValuesLeft = nValues; }
  std::int64_t GetValuesLeft() const { return m_nValuesLeft; }

  // True if "n g obj" with that number is at a position; reports nothing.
  bool IsObjectAt(int nObjNumber, std::int64_t nPos);

  // Finds "%PDF-" or "%FDF-" and sets the file's header offset; returns the version. False, reported.
  bool ReadHeader(std::int64_t& nHeaderOffset, int& nMajor, int& nMinor);

  // Value after the last "startxref"; -1, reported.
  std::int64_t ReadStartXRef();

  // Reads the subsections after the keyword "xref", up to and including "trailer". bSplit is set if there is
  // more than one subsection. False, reported, if it is malformed or lists too much.
  bool ParseXRefTable(CXRefSink& sink, bool& bSplit);

  // The same token by token, for tables whose fields have other widths than they should.
  bool ParseXRefTokens(CXRefSink& sink, bool& bSplit);

  // True if the line after the header is the marker of a binary file.
  bool HasBinaryMarker() const { return m_bBinaryMarker; }

  // Takes strictness and limits from the file's conformance.
  void UpdateConformance();

  bool SeekTo(std::int64_t nPos);
  std::int64_t Tell() const { return m_scanner.Tell() - m_nHeaderOffset; }

  // Position of the first byte, from the stream's start, that this parser's positions count from.
  void SetHeaderOffset(std::int64_t nOffset) { m_nHeaderOffset = nOffset; }

private:
  enum TLookAhead
  {
    eNo,
    eYes,
    eUnknown
  };

  TLookAhead LookAheadForReference();
  CObjectPtr ParseContainer(bool bArray);

  // At a token that has no place in a container: steps over it, so that what follows is not lost. False if
  // it ends the container.
  bool SkipStray(bool bArray);
  CObjectPtr ParseString();
  CObjectPtr ParseName();
  bool ReadObjectHeader(CIndirectObject* pObject, std::int64_t nPos);
  void ChooseCrypt(CSecurityHandler& security, CIndirectObject& object, CDictionaryObject& dictionary,
                   CEncodedStreamObject& part);
  CObjectPtr ParseStreamData(CIndirectObject* pObject, CDictionaryObject& dictionary, bool& bKept);

  // True if what follows the value of an object must have belonged to it, and is not taken.
  bool HasRest(const CObjectPtr& value);

  // True at "endstream", whatever is joined to it.
  bool IsAtEndStream() const;
  void NoteDamage(CIndirectObject* pObject, unsigned nCode);
  std::int64_t FindStreamLength(CDictionaryObject& dictionary, std::int64_t nData);
  void CheckEndOfObject();
  bool ReadSubsectionHeader(int nFirst, std::int64_t& nStart, std::int64_t& nCount);
  bool ReadXRefEntry(CXRefSink& sink, int nObjNumber);
  bool ReadXRefEntryTokens(CXRefSink& sink, int nObjNumber);
  bool ReadDigits(int nCount, std::int64_t& nValue);
  bool ReadKeywordTrailer();

  void CountValues(int nCount)
  {
    m_nValuesLeft -= nCount;
    m_bExcess = m_nValuesLeft < 0 || m_bExcess;
  }

  // Number of white-space bytes skipped; the last of them, if there was one.
  int SkipSpaceBytes();
  int SkipSpaceBytes(int& nLast);
  void Report(unsigned nCode);
  // Of the file; none for values that are in no file.
  CConformance GetConformance() const;

  // Whether the conformance limits the size of arrays and dictionaries.
  bool IsLimited() const;
  void ReportStrict(bool bOk, unsigned nCode)
  {
    if (!bOk && m_scanner.IsStrict())
      Report(nCode);
  }

  CFile* m_pFile;
  CScanner m_scanner;
  BSE::IErrorContext* m_pErrorContext;
  std::int64_t m_nHeaderOffset = 0;
  std::int64_t m_nValueStart = 0;
  std::int64_t m_nSearchStart = 0;
  std::int64_t m_nSearchEnd = -1;
  int m_nObject = 0;
  int m_nGeneration = 0;
  unsigned m_nFailure = 0;
  int m_nDepth = 0;
  int m_nOpenArrays = 0;
  int m_nOpenDictionaries = 0;
  bool m_bDecrypt = false;
  bool m_bFileLevel = false;
  std::int64_t m_nValuesLeft = std::numeric_limits<std::int64_t>::max();
  bool m_bExcess = false;  // a limit has been met in the value that is parsed
  bool m_bCut = false;
  bool m_bBinaryMarker = false;
};

}  // namespace PDF
