#include "images/filters/DCTLibrary.h"

#include "base/Tracer.h"

#include <jerror.h>
#include <span>
#include <utility>

namespace BSE
{

namespace
{

struct TNumberRow
{
  int m_nCode;
  int m_nNumber;
};

// Messages that have another place in version 8, or none.
constexpr TNumberRow g_moved[] = {{JERR_BAD_CROP_SPEC, 5},
                                  {JERR_BAD_DROP_SAMPLING, 8},
                                  {JERR_NO_ARITH_TABLE, 50},
                                  {JERR_SOS_NO_SOF, 60},
                                  {JWRN_ARITH_BAD_CODE, 117}};

// From which code on numbers differ by how much.
#if JPEG_LIB_VERSION >= 70
constexpr TNumberRow g_shifts[] = {{JMSG_NOMESSAGE, 0}, {JERR_SOF_DUPLICATE, 1}, {JERR_TFILE_CREATE, 0}};
#else
constexpr TNumberRow g_shifts[] = {{JMSG_NOMESSAGE, 0},        {JERR_BAD_ALIGN_TYPE, -1},
                                   {JERR_BAD_DCT_COEF, 0},     {JERR_BAD_HUFF_TABLE, 1},
                                   {JERR_NO_BACKING_STORE, 2}, {JERR_SOF_DUPLICATE, 3},
                                   {JERR_TFILE_CREATE, 2},     {JWRN_BOGUS_PROGRESSION, 3}};
#endif

constexpr int GetNumber(int nCode)
{
  for (const TNumberRow& row : g_moved)
  {
    if (nCode == row.m_nCode)
      return row.m_nNumber;
  }
  int nShift = 0;
  for (const TNumberRow& row : g_shifts)
  {
    if (nCode >= row.m_nCode)
      nShift = row.m_nNumber;
  }
  return nCode + nShift;
}

static_assert(GetNumber(JERR_BAD_HUFF_TABLE) == 9 && GetNumber(JERR_SOF_NO_SOS) == 62 &&
              GetNumber(JERR_NO_SOI) == CDCTError::g_nNoStart &&
              GetNumber(JERR_IMAGE_TOO_BIG) == CDCTError::g_nImageTooBig &&
              GetNumber(JERR_INPUT_EMPTY) == CDCTError::g_nEmptyInput &&
              GetNumber(JWRN_ADOBE_XFORM) == CDCTError::g_nUnknownTransform &&
              GetNumber(JWRN_BOGUS_PROGRESSION) == CDCTError::g_nBogusProgression &&
              GetNumber(JWRN_NOT_SEQUENTIAL) == CDCTError::g_nNotSequential);

// Whether the samples may still be what was meant.
constexpr bool IsHarmless(int nNumber)
{
  return nNumber == CDCTError::g_nExtraneousData || nNumber == CDCTError::g_nUnknownTransform ||
         nNumber == CDCTError::g_nUnknownRevision || nNumber == CDCTError::g_nNotSequential;
}

}  // namespace

std::int64_t GetDCTCoefficientSize(const jpeg_decompress_struct& info)
{
  std::int64_t nBlocks = 0;
  for (const jpeg_component_info& component :
       std::span(info.comp_info, static_cast<std::size_t>(info.num_components)))
    nBlocks += std::int64_t{component.width_in_blocks + static_cast<JDIMENSION>(component.h_samp_factor)} *
               (component.height_in_blocks + static_cast<JDIMENSION>(component.v_samp_factor));
  return nBlocks * static_cast<std::int64_t>(sizeof(JBLOCK));
}

std::int64_t GetDCTRowBlocks(const jpeg_decompress_struct& info)
{
  const int nRows = info.comps_in_scan == 1 ? info.cur_comp_info[0]->v_samp_factor : 1;
  return std::int64_t{info.MCUs_per_row} * info.blocks_in_MCU * nRows;
}

CDCTErrors::CDCTErrors(IErrorContext* pContext) : m_pContext(pContext)
{
  jpeg_std_error(&m_manager);
  m_manager.error_exit = OnExit;
  m_manager.emit_message = OnMessage;
  m_manager.output_message = OnOutput;
}

void CDCTErrors::Rethrow()
{
  if (m_pException)
    std::rethrow_exception(std::exchange(m_pException, nullptr));
}

void CDCTErrors::Report(int nNumber, const char* szText)
{
  std::uint64_t& nWord = m_reported[nNumber / 64 % 4];
  const std::uint64_t nBit = std::uint64_t{1} << nNumber % 64;
  m_bGap = m_bGap || !IsHarmless(nNumber);
  if ((nWord & nBit) != 0)
    return;
  nWord |= nBit;
  if (m_pContext)
    ReportError(m_pContext, CScopedPtr<IError>(new CDCTError(nNumber, szText)));
  else if (CTracer::IsOn())
    CTracer::Trace("W", "libjpeg", "%s", szText);
}

void CDCTErrors::ReportMessage(j_common_ptr pInfo)
{
  Guard(
      [&]
      {
        char szText[JMSG_LENGTH_MAX] = "";
        m_manager.format_message(pInfo, szText);
        Report(GetNumber(m_manager.msg_code), szText);
      });
}

void CDCTErrors::OnExit(j_common_ptr pInfo)
{
  CDCTErrors& errors = Get(pInfo);
  errors.m_bMet = errors.m_nExpected != 0 && errors.m_nExpected == errors.m_manager.msg_code;
  if (!errors.m_bMet)
    errors.ReportMessage(pInfo);
  std::longjmp(errors.m_jump, 1);
}

void CDCTErrors::OnMessage(j_common_ptr pInfo, int nLevel)
{
  if (nLevel < 0)
    Get(pInfo).ReportMessage(pInfo);
}

void CDCTErrors::OnOutput(j_common_ptr pInfo)
{
  Get(pInfo).ReportMessage(pInfo);
}

}  // namespace BSE
