#pragma once

#include "base/BufferedOutputStream.h"

#include <cstdint>
#include <span>

namespace PFB
{

// The cipher of Type 1 fonts (Adobe Type 1 Font Format, chapter 7). It keeps nothing secret: the keys are
// public.
class CCipher
{
public:
  static constexpr std::uint16_t g_nFileKey = 55665;
  static constexpr std::uint16_t g_nCharStringKey = 4330;

  explicit CCipher(std::uint16_t nKey) : m_nState(nKey) {}

  unsigned char Encrypt(unsigned char c)
  {
    const auto cCipher = static_cast<unsigned char>(c ^ m_nState >> 8);
    Advance(cCipher);
    return cCipher;
  }
  unsigned char Decrypt(unsigned char c)
  {
    const auto cPlain = static_cast<unsigned char>(c ^ m_nState >> 8);
    Advance(c);
    return cPlain;
  }
  void Decrypt(std::span<unsigned char> data)
  {
    for (unsigned char& c : data)
      c = Decrypt(c);
  }

private:
  void Advance(unsigned char cCipher)
  {
    m_nState = static_cast<std::uint16_t>((cCipher + m_nState) * 52845U + 22719U);
  }

  std::uint16_t m_nState;
};

// Writes the encrypted part of a font; it begins with four bytes that readers skip.
class CPFBEncryptFilter : public BSE::CBufferedOutputStream
{
public:
  explicit CPFBEncryptFilter(BSE::IByteStream* pTarget);
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

private:
  CCipher m_cipher;
};

}  // namespace PFB
