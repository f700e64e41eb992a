#pragma once

#include "base/BasicArray.h"
#include "base/Stream.h"

#include <span>

// The ciphers of an encrypted document. Object numbers are those of the file that the bytes are in: the old
// ones to decrypt, the new ones to encrypt. The key of the whole document stays.
class PDCryptor
{
public:
  virtual ~PDCryptor() = default;

  virtual void DecryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) = 0;
  virtual void EncryptString(BSE::CBasicArray<unsigned char>& bytes, int nNumber, int nGeneration) = 0;

  // The cipher of most streams. Embedded files may have another one, and so may streams that name a crypt
  // filter.
  static constexpr int g_nStreamCrypt = 0;

  // That of a stream of the input that has the name, or none with a null name.
  virtual int FindOldCrypt(bool bEmbedded, const char* szName) = 0;

  // That of a stream of the output under new keys, and the name that it has to state; null for none.
  virtual int FindNewCrypt(bool bEmbedded, const char*& szName) = 0;

  // A reader of decrypted bytes; null on failure.
  virtual BSE::CObjectPtr<BSE::IByteStream> CreateDecryptFilter(BSE::IByteStream* pSource, int nNumber,
                                                                int nGeneration,
                                                                int nCrypt = g_nStreamCrypt) = 0;

  // A writer that is complete only after Close; null on failure.
  virtual BSE::CObjectPtr<BSE::IByteStream> CreateEncryptFilter(BSE::IByteStream* pSink, int nNumber,
                                                                int nGeneration,
                                                                int nCrypt = g_nStreamCrypt) = 0;

  // Ends what CreateEncryptFilter made; false if bytes were lost.
  virtual bool Close(BSE::IByteStream* pFilter) = 0;

  // Whether a string could not be encrypted since the start.
  virtual bool HasFailed() const = 0;
};
