#pragma once

#include "base/Checked.h"
#include "document/SemanticObject.h"
#include "fonts/pdf/FontAccount.h"
#include "fonts/pdf/FontProgram.h"

namespace PDF
{

// Flags of a descriptor (ISO 32000-1, Table 123).
inline constexpr int g_nSymbolicFlag = 4;
inline constexpr int g_nNonsymbolicFlag = 32;

// Holds back what a program reports: what it loses by being read is lost only where it is written.
class CHeldReports : public BSE::IErrorContext
{
public:
  CHeldReports() = default;
  CHeldReports(const CHeldReports&) = delete;
  CHeldReports& operator=(const CHeldReports&) = delete;
  ~CHeldReports() override;
  BSE::CErrorHandler* OnGetErrorHandler() override { return nullptr; }
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;
  void OnReport(unsigned, const BSE::CErrorProperties*) override {}
  void OnAddContextInfo(BSE::IError&) override {}

  bool IsEmpty() const { return m_losses.IsEmpty(); }

  // Reports the losses.
  void Release(BSE::IErrorContext* pContext);

private:
  BSE::CPtrArray<BSE::IError> m_losses;  // owned
};

// The data of a program as a stream has them.
struct TWrittenProgram
{
  // False if the program cannot be written for this usage.
  bool Write(CFontProgram& program, unsigned nUsage);

  BSE::CObjectPtr<BSE::IByteStream> m_pData;  // at its beginning
  int m_aLengths[3] = {};                     // Length1 to Length3, 0 for those that it does not have
};

// The stream of a font program, which is read when it is asked for.
class CFontFile : public CSemanticObject
{
public:
  CFontFile(const CObjectPtr& stream, CFontAccount& account)
      : CSemanticObject(stream.Get()), m_account(account)
  {
  }

  // What the first bytes of the data say.
  TFontFormat GetFormat();

  // Borrowed; null if it cannot be read, which is reported with the name of the font that asked first.
  CFontProgram* GetProgram(const char* szFont);

  // Whether the data and all of the program could be read, so that writing it anew loses nothing.
  bool IsWhole() const { return m_bWhole && m_reports.IsEmpty(); }

  // Whether something else has it that is no font here, and of which nobody knows what it shows.
  bool HasForeignUse() const { return m_bForeignUse; }
  void SetForeignUse() { m_bForeignUse = true; }

  // Bytes of the decoded data that the program was read from.
  std::int64_t GetDataLength() const { return m_nDataLength; }

  // Gives the program away; it is not read again.
  BSE::CScopedPtr<CFontProgram> DetachProgram() { return std::move(m_pProgram); }

  // Replaces the program. The stream keeps the data of the old one until it is written.
  void SetProgram(BSE::CScopedPtr<CFontProgram>&& pProgram)
  {
    m_pProgram = std::move(pProgram);
    m_bTried = true;
  }

  // Puts the program's data into the stream of an object that can be written to, to be encoded by the filter,
  // with the entries that go with its kind. False, and the object has not changed, if the program cannot be
  // written. What the program has lost by being read is reported with the object.
  bool WriteProgram(CFontProgram& program, bool bCID, unsigned nUsage, const char* szFilter,
                    const CObjectPtr& target);

  // The same for a program that has been written.
  void PutProgram(const TWrittenProgram& written, const CFontProgram& program, bool bCID,
                  const char* szFilter, const CObjectPtr& target);

  unsigned m_nOptimizeState = 0;  // what passes note of the file

private:
  CFontAccount& m_account;
  CHeldReports m_reports;  // outlives the program
  BSE::CScopedPtr<CFontProgram> m_pProgram;
  TFontFormat m_nFormat = eFormatUnknown;
  std::int64_t m_nDataLength = 0;
  bool m_bWhole = false;
  bool m_bForeignUse = false;
  bool m_bFormatKnown = false;
  bool m_bTried = false;
};

// A font descriptor (ISO 32000-1, 9.8).
class CFontDescriptor : public CSemanticObject
{
public:
  explicit CFontDescriptor(const CObjectPtr& dictionary) : CSemanticObject(dictionary.Get()) {}

  // Names of entries with numbers: ItalicAngle, FontWeight, Ascent, Descent, Leading, CapHeight, StemH,
  // StemV, XHeight, MaxWidth, AvgWidth, MissingWidth.
  double GetNumber(const char* szKey) const { return m_object[szKey].GetRealValue(); }
  int GetFlags() const { return BSE::ClampTo<int>(GetIntegerOr(m_object["Flags"], 0)); }
  bool HasFlags() const { return m_object["Flags"].IsNumber(); }
  CObjectPtr GetCharSet() const { return m_object["CharSet"]; }

  // The stream of the program, of the first of the three entries that has one; null without one.
  CObjectPtr GetFontFileStream() const;

  // The entry that has it, null without one.
  const char* GetFontFileKey() const;
};

}  // namespace PDF
