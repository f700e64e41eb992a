#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

// Needs what <cstddef> and <cstdio> declare.
#include <jpeglib.h>

namespace BSE
{

// Rows of soft colours with some edges.
inline std::string MakePicture(int nWidth, int nHeight, int nComponents)
{
  std::string rows;
  for (int y = 0; y < nHeight; ++y)
    for (int x = 0; x < nWidth; ++x)
      for (int i = 0; i < nComponents; ++i)
        rows.push_back(static_cast<char>(std::abs((x * (3 + i) + y * (5 - i)) / 4 % 400 - 200) +
                                         (x / 40 + y / 30) % 2 * 30));
  return rows;
}

// A picture as libjpeg encodes it after a change of its settings.
inline std::string MakeJpeg(int nWidth, int nHeight, int nComponents,
                            const std::function<void(jpeg_compress_struct&)>& change = {})
{
  jpeg_compress_struct info = {};
  jpeg_error_mgr errors = {};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* pData = nullptr;
  unsigned long nSize = 0;
  jpeg_mem_dest(&info, &pData, &nSize);
  info.image_width = static_cast<JDIMENSION>(nWidth);
  info.image_height = static_cast<JDIMENSION>(nHeight);
  info.input_components = nComponents;
  info.in_color_space = nComponents == 1 ? JCS_GRAYSCALE : nComponents == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&info);
  if (change)
    change(info);
  jpeg_start_compress(&info, TRUE);
  std::string rows = MakePicture(nWidth, nHeight, nComponents);
  for (int y = 0; y < nHeight; ++y)
  {
    auto* pRow = reinterpret_cast<JSAMPROW>(rows.data()) + std::size_t(y) * std::size_t(nWidth * nComponents);
    jpeg_write_scanlines(&info, &pRow, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::string data(reinterpret_cast<char*>(pData), nSize);
  std::free(pData);
  return data;
}

// What plain libjpeg makes of whole data, in its own choice of colours.
inline std::string DecodeJpeg(const std::string& data)
{
  jpeg_decompress_struct info = {};
  jpeg_error_mgr errors = {};
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(data.data()), data.size());
  jpeg_read_header(&info, TRUE);
  jpeg_start_decompress(&info);
  std::string row(std::size_t(info.output_width) * std::size_t(info.output_components), '\0');
  std::string rows;
  while (info.output_scanline < info.output_height)
  {
    auto* pRow = reinterpret_cast<JSAMPROW>(row.data());
    jpeg_read_scanlines(&info, &pRow, 1);
    rows += row;
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return rows;
}

}  // namespace BSE
