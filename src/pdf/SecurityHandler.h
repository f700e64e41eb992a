#pragma once

#include "base/Stream.h"
#include "pdf/Object.h"

namespace PDF
{

// Encryption of one file (ISO 32000-1, 7.6): strings are treated at parse and write time, streams on their
// encoded bytes. Objects inside object streams are encrypted only as part of their stream.
class CSecurityHandler : public BSE::CObject
{
public:
  // Fills the Encrypt dictionary of a file that is written.
  virtual void Write(PDF::CObject& dictionary) = 0;

  // True if the password opens the file; an empty password is tried for a null one.
  virtual bool Authenticate(const CString* pPassword) = 0;

  // True for objects that are never encrypted: the Encrypt dictionary itself, and the data of metadata
  // streams of a file that leaves them plain. Cross-reference streams are not encrypted either, but it is
  // their place that makes them such and not what they say of themselves: the file knows which they are.
  virtual bool IsExempt(PDF::CObject& object) = 0;

  // True for those of them whose strings are plain too; those of metadata streams are not.
  virtual bool HasPlainStrings(PDF::CObject& object) { return IsExempt(object); }

  // Crypt filters of streams (ISO 32000-2, 7.6.6): that of all streams, that of embedded files, and after it
  // those that streams ask for by name. A name that the file does not define is unknown.
  static constexpr int g_nUnknownCrypt = -1;
  static constexpr int g_nStreamCrypt = 0;
  static constexpr int g_nEmbeddedCrypt = 1;
  static constexpr int g_nFirstNamedCrypt = 2;

  // The one of a stream that has the name, or asks for none with a null name.
  virtual int FindStreamCrypt(PDF::CObject& /*stream*/, const char* /*szName*/) { return g_nStreamCrypt; }

  // The name that a stream has to state for that crypt filter: readers look at nothing but the stream to tell
  // it from that of all streams. Null for that one.
  virtual const char* GetCryptName(int /*nCrypt*/) { return nullptr; }

  // pWhole, if given, becomes false where a part of the value cannot be decrypted.
  virtual CString DecryptString(const CString& value, int nObjNumber, int nGenNumber,
                                bool* pWhole = nullptr) = 0;

  // Empty if there are no random numbers, which HasFailed remembers.
  virtual CString EncryptString(const CString& value, int nObjNumber, int nGenNumber) = 0;

  // True once a string could not be encrypted: the file that it belongs to is lost.
  virtual bool HasFailed() const { return false; }

  // A reader of the decrypted bytes, and a writer that encrypts into the sink and is complete once closed.
  // The source or sink itself where the crypt filter does not encrypt. Of an unknown one nothing can be read.
  virtual BSE::CObjectPtr<BSE::IByteStream> CreateDecryptFilter(BSE::IByteStream* pSource, int nObjNumber,
                                                                int nGenNumber,
                                                                BSE::IErrorContext* pErrorContext,
                                                                int nCrypt = g_nStreamCrypt) = 0;
  virtual BSE::CObjectPtr<BSE::IByteStream> CreateEncryptFilter(BSE::IByteStream* pSink, int nObjNumber,
                                                                int nGenNumber,
                                                                BSE::IErrorContext* pErrorContext,
                                                                int nCrypt = g_nStreamCrypt) = 0;

  // Length of the encrypted form of that many bytes.
  virtual std::int64_t GetEncryptedLength(std::int64_t nLength, int nCrypt = g_nStreamCrypt) = 0;
};

// The handler for a file's Encrypt dictionary; null, reported to the file, for a filter or an algorithm that
// is not supported.
BSE::CObjectPtr<CSecurityHandler> CreateSecurityHandler(CFile& file, const CObjectPtr& encrypt);

}  // namespace PDF
