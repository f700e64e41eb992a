#pragma once

#include "base/DecodeFilter.h"
#include "base/EncodeFilter.h"
#include "pdf/CryptAlgorithm.h"

namespace PDF
{

// Delivers the decrypted bytes of a stream. Data that ends inside a block loses that block; padding that is
// not valid is delivered.
class CDecryptFilter : public BSE::CBufferedDecodeFilter
{
public:
  // The algorithm has the object's key.
  CDecryptFilter(BSE::IByteStream* pSource, BSE::CScopedPtr<CCryptAlgorithm> pAlgorithm,
                 BSE::IErrorContext* pErrorContext = nullptr);

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

private:
  bool Start();
  void FillBuffer();

  BSE::CScopedPtr<CCryptAlgorithm> m_pAlgorithm;
  BSE::CBasicArray<unsigned char> m_buffer;  // decrypted bytes, then encrypted ones short of a block
  std::size_t m_nDelivered = 0;
  std::size_t m_nReady = 0;      // decrypted bytes that may be delivered
  std::size_t m_nDecrypted = 0;  // the last block of them is held back until it is known to be no padding
  std::size_t m_nFilled = 0;
  bool m_bStarted = false;
  bool m_bSourceEnded = false;
};

// Encrypts what is written into the sink, a vector in front and the padding after where the algorithm has
// them.
class CEncryptFilter : public BSE::CEncodeFilter
{
public:
  CEncryptFilter(BSE::IByteStream* pSink, BSE::CScopedPtr<CCryptAlgorithm> pAlgorithm,
                 BSE::IErrorContext* pErrorContext = nullptr);
  ~CEncryptFilter() override;

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool Finish() override;

private:
  bool Start();
  bool WriteBlocks();

  BSE::CScopedPtr<CCryptAlgorithm> m_pAlgorithm;
  BSE::CBasicArray<unsigned char> m_buffer;
  std::size_t m_nFilled = 0;
  bool m_bStarted = false;
};

}  // namespace PDF
