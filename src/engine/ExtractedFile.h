#pragma once

#include "base/FileStream.h"
#include "pdf/File.h"

namespace PDF
{

// Whether a path leads to the file that a document is read from.
bool IsInput(CFile& input, const char* szPath);

// A file that something of a document is extracted into: created in the working directory, and gone again
// unless Keep has been called. What goes wrong with it is kept for the report, and reported nowhere else.
class CExtractedFile
{
public:
  // The document that is read from a file of the same name is not overwritten.
  CExtractedFile(const char* szName, CFile& input);
  CExtractedFile(const CExtractedFile&) = delete;
  CExtractedFile& operator=(const CExtractedFile&) = delete;
  ~CExtractedFile();

  // Null if it could not be created.
  BSE::CFileStream* GetStream() { return m_pStream.Get(); }

  // All has been written. False if the system could not keep it.
  bool Keep();

  // Whether the system refused something.
  bool HasFault() const { return m_fault.m_nCode != 0; }

  // Reports as a loss why it could not be written.
  void ReportFault(BSE::IErrorContext* pContext) const;

private:
  class CFault : public BSE::CBasicErrorContext
  {
  public:
    void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override
    {
      m_nCode = m_nCode != 0 ? m_nCode : pError->GetCode();
    }
    unsigned m_nCode = 0;
  };

  BSE::CFile m_file;
  CFault m_fault;  // outlives the stream
  BSE::CObjectPtr<BSE::CFileStream> m_pStream;
  bool m_bKept = false;
};

}  // namespace PDF
