#pragma once

#include "base/ErrorContext.h"
#include "images/filters/DCTError.h"

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>

// Needs what <cstddef> and <cstdio> declare.
#include <jpeglib.h>

namespace BSE
{

// Bytes that the coefficients of an image take in memory, once its header has been read.
std::int64_t GetDCTCoefficientSize(const jpeg_decompress_struct& info);

// Blocks of coefficients that one row of a scan visits.
std::int64_t GetDCTRowBlocks(const jpeg_decompress_struct& info);

// The error manager of one use of libjpeg. libjpeg leaves by a jump where it cannot go on, over its own
// frames alone: what a callback throws is kept until they are left. Each message is reported once for each
// use.
class CDCTErrors
{
public:
  explicit CDCTErrors(IErrorContext* pContext);

  // To be set in the library's structure before that is created, with itself as the client's data.
  template <class T>
  void Attach(T& info)
  {
    info.err = &m_manager;
    info.client_data = this;
  }
  static CDCTErrors& Get(j_common_ptr pInfo) { return *static_cast<CDCTErrors*>(pInfo->client_data); }

  // Calls into libjpeg; false where the call failed, which has been reported. Objects with a destructor must
  // not live in the frames of the call.
  template <class F>
  bool Run(F call)
  {
    if (setjmp(m_jump) != 0)
    {
      Rethrow();
      return false;
    }
    call();
    return true;
  }

  // For callbacks: a call that may throw. What it throws leaves Run, not the frames of libjpeg.
  template <class F>
  void Guard(F call)
  {
    try
    {
      call();
    }
    catch (...)
    {
      m_pException = std::current_exception();
    }
    if (m_pException)
      std::longjmp(m_jump, 1);
  }

  // Whether data were reported as wrong or missing.
  bool HasGap() const { return m_bGap; }

  // A failure that the caller has an answer to, by libjpeg's code: it is not reported. HasMet says whether it
  // came.
  void Expect(int nCode) { m_nExpected = nCode; }
  bool HasMet() const { return m_bMet; }

  void Report(int nNumber, const char* szText);

private:
  [[noreturn]] static void OnExit(j_common_ptr pInfo);
  static void OnMessage(j_common_ptr pInfo, int nLevel);
  static void OnOutput(j_common_ptr pInfo);

  void ReportMessage(j_common_ptr pInfo);
  void Rethrow();

  jpeg_error_mgr m_manager = {};
  std::jmp_buf m_jump;
  IErrorContext* m_pContext;
  std::exception_ptr m_pException;
  std::uint64_t m_reported[4] = {};
  int m_nExpected = 0;
  bool m_bMet = false;
  bool m_bGap = false;
};

}  // namespace BSE
