#pragma once

#include "api/ApiString.h"
#include "api/ReportLog.h"
#include "base/APIErrorHandler.h"
#include "base/FileStream.h"
#include "base/MemoryStream.h"
#include "brevex/brevex.h"
#include "engine/Optimizer.h"
#include "pdf/TextString.h"

namespace API
{

// What a handle of the interface stands for: an optimizer, the end of its error chain, and what was handed
// out to the caller. Every operation below starts with a cleared error code; one that returns false leaves a
// code.
class COptimizerHandle : public BSE::CAPIErrorHandler
{
public:
  COptimizerHandle();
  ~COptimizerHandle() override;

  // Close what is open first, whether the new document can be opened or not. A null or empty file name is an
  // error, here and below.
  bool OpenFile(const char* szFileName, const PDF::CString& password);
  bool OpenMemory(const void* pBytes, std::uint64_t nLength, const PDF::CString& password);
  bool OpenStream(const TBrevexStreamDescriptor* pDescriptor, const PDF::CString& password);

  // Drop a result in memory that was not fetched. The file that the open document is read from cannot be the
  // target.
  bool SaveFile(const char* szFileName, const PDF::TEncryption& encryption);
  bool SaveStream(const TBrevexStreamDescriptor* pDescriptor, const PDF::TEncryption& encryption);

  // Keeps the result for FetchResult.
  bool SaveMemory();

  // A null or empty path is standard output.
  bool ListImages(const char* szPath);
  bool ListFonts(const char* szPath);

  // Moves the result into the buffer; null if there is none, or no memory for it. Owned by the handle and
  // valid until the next result has been fetched.
  const TByteBuffer* FetchResult();

  bool Close();

  // Number of pages of the open document, 0 without one. Leaves the error code alone.
  int GetPageCount();

  // What the last open and the last save or listing reported.
  const CReportLog& GetReports() const { return m_reports; }

  // Text of a report; null for none.
  const char16_t* GetReportText(int nIndex) { return Render(m_reports.GetText(nIndex)); }

  // Keeps every error that no suppressor hides.
  void OnNoteError(BSE::IError& error) override { m_reports.Note(error); }
  void NoteEnd(unsigned nCode) noexcept override { Fail(nCode); }

  // Text of the last error; null for none, and for one whose placeholders could not be filled.
  const char16_t* GetErrorText();

  // Value set under the key, else that of the open document; null for none. Leaves the error code alone.
  const char16_t* GetInfoEntry(const char16_t* szKey);

  // The buffer behind the texts that were handed out.
  const CApiString& GetResultString() const { return m_resultString; }

  PDF::COptimizer& GetOptimizer() { return m_optimizer; }

  // Notes a code without an error object as what ended a call, for failures that leave no memory for one.
  void Fail(unsigned nCode);

private:
  // Closes what is open; clears what the call before has left.
  void BeginOpen();
  void BeginSave();
  bool OpenWith(BSE::IByteStream* pStream, const PDF::CString& password);
  bool SaveWith(BSE::IByteStream* pStream, const PDF::TEncryption& encryption);
  bool CheckFileName(const char* szFileName);
  bool FailFile();
  bool CloseDocument();
  bool Conclude(bool bResult);
  const char16_t* Render(const char16_t* szText);
  bool ResizeResult(std::uint64_t nSize);
  void FreeResult();

  CReportLog m_reports;  // outlives what reports to it
  PDF::COptimizer m_optimizer;
  BSE::CObjectPtr<BSE::CFileStream> m_pInputFile;  // of a document that was opened from a file
  CApiString m_resultString;
  BSE::CObjectPtr<BSE::CMemoryStream> m_pOutputStream;
  TByteBuffer m_result = {};
};

}  // namespace API

// The opaque type of the interface.
struct TBrevexHandle final : API::COptimizerHandle
{
};
