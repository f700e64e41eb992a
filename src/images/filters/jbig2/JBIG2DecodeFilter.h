#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/jbig2/JBIG2Decoder.h"
#include "images/filters/jbig2/JBIG2Parameters.h"
#include "images/filters/jbig2/StatusCodes.h"

namespace BSE
{

// What a decoder said, in the property "msg".
class CJBIG2Error : public CError
{
public:
  CJBIG2Error(TJBIG2Class messageClass, const char* szText)
      : CError(messageClass == eJBIG2Fatal ? g_nJBIG2FatalCode : g_nJBIG2WarningCode)
  {
    Set("msg", szText);
  }
  IError* Clone() const override { return new CJBIG2Error(*this); }
};

// Decodes JBIG2 images to rows of one bit a pixel, 0 for black. The data is read and its page found when the
// filter is made, and decoded with the first read. What is damaged is reported; what could be decoded of the
// page is delivered. Delivers whole rows only, nothing where there is no room for one.
class CJBIG2DecodeFilter final : public CBufferedDecodeFilter, private IJBIG2Messages
{
public:
  explicit CJBIG2DecodeFilter(IByteStream* pSource, const CJBIG2Parameters& parameters = {},
                              IErrorContext* pErrorContext = nullptr);

  // False if there is no page, which has been reported.
  bool IsValid() const override { return m_nRowSize > 0 && CDecodeFilter::IsValid(); }

  // With the sizes and resolutions of the page; a resolution that the page does not state is as given.
  const CJBIG2Parameters& GetParameters() const { return m_parameters; }

  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for readers that ask in blocks.
  int GetBlockSize() const override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override { m_nRow = 0; }

  // All of the source is in memory.
  bool RewindSource() override { return m_nRowSize > 0; }
  void ReturnUnread() override {}
  std::int64_t GetSizeLimit() const override { return m_nRowSize * m_parameters.nHeight; }

private:
  void OnMessage(TJBIG2Class messageClass, const char* szText) override;
  void ReadGlobals();
  void WriteRow(std::span<unsigned char> row) const;

  CJBIG2Parameters m_parameters;
  CBasicArray<unsigned char> m_globals;
  CBasicArray<unsigned char> m_data;
  CJBIG2Decoder m_decoder;
  std::int64_t m_nRowSize = 0;
  bool m_bDecoded = false;
  bool m_bDamaged = false;
  int m_nRow = 0;  // delivered
};

}  // namespace BSE
