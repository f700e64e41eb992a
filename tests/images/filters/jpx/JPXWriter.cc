#include "tests/images/filters/jpx/JPXWriter.h"

#include <gtest/gtest.h>

#include <openjpeg.h>
#include <algorithm>

namespace BSE
{

namespace
{

OPJ_SIZE_T Append(void* pBuffer, OPJ_SIZE_T n, void* pData)
{
  static_cast<std::string*>(pData)->append(static_cast<const char*>(pBuffer), n);
  return n;
}

OPJ_UINT32 DivideUp(int n, int nDivisor)
{
  return static_cast<OPJ_UINT32>((n + nDivisor - 1) / nDivisor);
}

void FillComponent(opj_image_comp_t& component, int nIndex)
{
  const int nShift = component.sgnd ? 1 << (component.prec - 1) : 0;
  for (OPJ_UINT32 i = 0; i < component.w * component.h; ++i)
    component.data[i] = GetTestSample(nIndex, static_cast<int>(i % component.w),
                                      static_cast<int>(i / component.w), static_cast<int>(component.prec)) -
                        nShift;
}

}  // namespace

int GetTestSample(int nComponent, int x, int y, int nDepth)
{
  return (x * (5 + nComponent) + y * (9 - nComponent) + (x / 8 + y / 8) % 2 * 40) & ((1 << nDepth) - 1);
}

std::string MakeCodestream(int nWidth, int nHeight, const std::vector<TTestComponent>& components,
                           int nTileSize, int nLeft, int nTop)
{
  std::vector<opj_image_cmptparm_t> forms;
  for (const TTestComponent& component : components)
  {
    opj_image_cmptparm_t form = {};
    form.dx = static_cast<OPJ_UINT32>(component.m_nStepX);
    form.dy = static_cast<OPJ_UINT32>(component.m_nStepY);
    form.x0 = static_cast<OPJ_UINT32>(nLeft);
    form.y0 = static_cast<OPJ_UINT32>(nTop);
    form.w = DivideUp(nLeft + nWidth, component.m_nStepX) - DivideUp(nLeft, component.m_nStepX);
    form.h = DivideUp(nTop + nHeight, component.m_nStepY) - DivideUp(nTop, component.m_nStepY);
    form.prec = static_cast<OPJ_UINT32>(component.m_nDepth);
    form.sgnd = component.m_bSigned ? 1 : 0;
    forms.push_back(form);
  }
  opj_image_t* const pImage =
      opj_image_create(static_cast<OPJ_UINT32>(forms.size()), forms.data(), OPJ_CLRSPC_UNSPECIFIED);
  pImage->x0 = static_cast<OPJ_UINT32>(nLeft);
  pImage->y0 = static_cast<OPJ_UINT32>(nTop);
  pImage->x1 = static_cast<OPJ_UINT32>(nLeft + nWidth);
  pImage->y1 = static_cast<OPJ_UINT32>(nTop + nHeight);
  for (OPJ_UINT32 i = 0; i < pImage->numcomps; ++i)
    FillComponent(pImage->comps[i], static_cast<int>(i));
  opj_cparameters_t coding;
  opj_set_default_encoder_parameters(&coding);
  coding.tcp_numlayers = 1;
  coding.cp_disto_alloc = 1;
  coding.tcp_mct = 0;
  coding.numresolution = std::min(nWidth, nHeight) < 8 ? 1 : 3;
  coding.tile_size_on = nTileSize > 0 ? OPJ_TRUE : OPJ_FALSE;
  coding.cp_tdx = coding.cp_tdy = nTileSize;
  std::string data;
  opj_codec_t* const pCodec = opj_create_compress(OPJ_CODEC_J2K);
  opj_stream_t* const pStream = opj_stream_default_create(OPJ_FALSE);
  opj_stream_set_user_data(pStream, &data, nullptr);
  opj_stream_set_write_function(pStream, Append);
  EXPECT_TRUE(opj_setup_encoder(pCodec, &coding, pImage) && opj_start_compress(pCodec, pImage, pStream) &&
              opj_encode(pCodec, pStream) && opj_end_compress(pCodec, pStream));
  opj_stream_destroy(pStream);
  opj_destroy_codec(pCodec);
  opj_image_destroy(pImage);
  return data;
}

std::string MakeBox(const std::string& type, const std::string& contents)
{
  const std::size_t nSize = contents.size() + 8;
  std::string box;
  for (int nShift = 24; nShift >= 0; nShift -= 8)
    box.push_back(static_cast<char>(nSize >> nShift));
  return box + type + contents;
}

std::string MakeFile(const std::string& boxes, const std::string& codestream)
{
  return MakeBox("jP  ", "\r\n\x87\n") + MakeBox("jp2h", boxes) + MakeBox("jp2c", codestream);
}

std::string MakeColor(int nEnumerated)
{
  return MakeBox("colr", std::string("\1\0\0\0\0\0", 6) + static_cast<char>(nEnumerated));
}

}  // namespace BSE
