#pragma once

#include "pdf/CryptAlgorithm.h"
#include "pdf/SecurityHandler.h"
#include "pdf/StandardSecurityHandlerKeys.h"
#include "pdf/StatusCodes.h"
#include "pdf/TextString.h"

namespace PDF
{

// How a new file is to be encrypted.
struct TEncryption
{
  CTextString m_userPassword;
  CTextString m_ownerPassword;  // empty: the user's
  int m_nPermissions = -1;      // the bits of P; what the two highest numbers mean, a save decides
  int m_nKeyLength = 128;       // in bits: 40 to 128 in steps of 8, or 256

  // CFM of the crypt filters, or "Identity" for no encryption of that kind. With both null the file has no
  // crypt filters, unless its key length of 256 asks for AESV3; with one null it is that of the other.
  const char* m_szStreamCrypt = nullptr;
  const char* m_szStringCrypt = nullptr;
  const char* m_szEmbeddedCrypt = nullptr;  // of embedded files; null: that of all streams
  bool m_bEncryptMetadata = true;
};

// CFM of what a file encrypts; "Identity" for what it does not, all null without crypt filters.
struct TCiphers
{
  const char* m_szStream;
  const char* m_szString;
  const char* m_szEmbedded;
};

// The password handler of ISO 32000-1, 7.6.3 and ISO 32000-2, 7.6.4 in all its versions: V 1, 2, 4, 5 with
// revisions 2 to 6.
class CStandardSecurityHandler : public CSecurityHandler
{
public:
  ~CStandardSecurityHandler() override;

  // Reads an Encrypt dictionary. Null, reported, for another handler and for versions, revisions and ciphers
  // that are not known. The handler can be used only after Authenticate. Damaged password values are not
  // noticed before that.
  static BSE::CObjectPtr<CStandardSecurityHandler> Open(const CObjectPtr& encrypt, const CString& id1,
                                                        BSE::IErrorContext* pErrorContext);

  // For a new file with that first part of its ID, ready for use. Null, reported, for parameters that do not
  // go together.
  static BSE::CObjectPtr<CStandardSecurityHandler> Create(const TEncryption& encryption, const CString& id1,
                                                          BSE::IErrorContext* pErrorContext);

  // For a new file with that first part of its ID: the same permissions and passwords, the ciphers as from
  // TakeCiphers. This one has been authenticated, otherwise null, reported.
  BSE::CObjectPtr<CStandardSecurityHandler> CreateAlike(const CString& id1, bool bUniform,
                                                        BSE::IErrorContext* pErrorContext) const;

  bool IsValid() const override { return !m_key.IsEmpty(); }
  void Write(PDF::CObject& dictionary) override;

  // The password is a text string; the user's and the owner's are tried, in the encodings that writers use.
  bool Authenticate(const CString* pPassword) override;
  bool IsExempt(PDF::CObject& object) override;
  bool HasPlainStrings(PDF::CObject& object) override;
  int FindStreamCrypt(PDF::CObject& stream, const char* szName) override;
  const char* GetCryptName(int nCrypt) override;
  CString DecryptString(const CString& value, int nObjNumber, int nGenNumber,
                        bool* pWhole = nullptr) override;
  CString EncryptString(const CString& value, int nObjNumber, int nGenNumber) override;
  bool HasFailed() const override { return m_bFailed; }
  BSE::CObjectPtr<BSE::IByteStream> CreateDecryptFilter(BSE::IByteStream* pSource, int nObjNumber,
                                                        int nGenNumber, BSE::IErrorContext* pErrorContext,
                                                        int nCrypt = g_nStreamCrypt) override;
  BSE::CObjectPtr<BSE::IByteStream> CreateEncryptFilter(BSE::IByteStream* pSink, int nObjNumber,
                                                        int nGenNumber, BSE::IErrorContext* pErrorContext,
                                                        int nCrypt = g_nStreamCrypt) override;
  std::int64_t GetEncryptedLength(std::int64_t nLength, int nCrypt = g_nStreamCrypt) override;

  int GetRevision() const { return m_values.m_nR; }
  int GetPermissions() const { return m_values.m_nPermissions; }
  int GetKeyLength() const { return m_values.m_nKeyLength * 8; }  // in bits

  bool IsMetadataEncrypted() const { return m_values.m_bEncryptMetadata; }
  const char* GetStreamCryptName() const { return GetMethodName(m_stream); }
  const char* GetStringCryptName() const { return GetMethodName(m_string); }
  TCiphers GetCiphers() const
  {
    return {GetStreamCryptName(), GetStringCryptName(), GetMethodName(m_embedded)};
  }

  // True if the password that opened the file is the owner's, which it may be besides the user's.
  bool IsOpenedByOwner() const { return IsValid() && IsOwnerPassword(m_values, m_password.GetSpan()); }

  // What a new file needs besides passwords and permissions to be encrypted alike. Nothing that is encrypted
  // becomes plain: streams that only crypt filters of their own encrypt make all streams be encrypted. If
  // uniform, embedded files are no exception either.
  void TakeCiphers(bool bUniform, TEncryption& encryption) const;

private:
  // A crypt filter: a cipher with the object whose key it has.
  struct TCrypt
  {
    CName m_name{"Identity"};
    BSE::CScopedPtr<CCryptAlgorithm> m_pAlgorithm;  // null: no encryption
    int m_nObjNumber = -1;
    int m_nGenNumber = -1;
    bool m_bKnown = true;  // false: encrypted, but not by a cipher that can be read
  };

  // One of the crypt filters that streams may name.
  struct TNamedCrypt : BSE::CObject
  {
    TCrypt m_crypt;
    bool m_bUsed = false;  // by a stream; or for nothing else
  };

  CStandardSecurityHandler() = default;

  bool TryPassword(const CTextString& password);
  unsigned ReadValues(const CObjectPtr& encrypt);
  unsigned ReadVersion(const CObjectPtr& encrypt);
  bool ReadCryptFilter(const CObjectPtr& encrypt, const char* szKey, TCrypt& crypt) const;
  void ReadMethod(const CObjectPtr& filter, TCrypt& crypt) const;
  void ReadEmbeddedFilter(const CObjectPtr& encrypt);
  void ReadNamedFilters(const CObjectPtr& encrypt);
  bool IsAlgorithmAllowed(const CCryptAlgorithm* pAlgorithm) const;
  bool ChooseVersion(const TEncryption& encryption);
  bool ChooseAlgorithms(const TEncryption& encryption);
  void NameCrypts();
  bool ChooseAlgorithm(const char* szName, TCrypt& crypt) const;
  const char* GetMethodName(const TCrypt& crypt) const;
  TCrypt& GetStreamCrypt(int nCrypt);
  TCrypt& GetStringCrypt();
  CCryptAlgorithm* GetObjectCrypt(TCrypt& crypt, int nObjNumber, int nGenNumber);
  void WriteCryptFilters(PDF::CObject& dictionary) const;

  TSecurityValues m_values;
  TCrypt m_stream;
  TCrypt m_string;
  TCrypt m_embedded;
  TCrypt m_unknown{{}, nullptr, -1, -1, false};
  BSE::CObjectArray<TNamedCrypt> m_named;
  TByteArray m_key;
  TByteArray m_password;  // that opened the file, in the encoding that did
  bool m_bFailed = false;
  int m_nStatedKeyLength = 0;  // in bytes; the version may have another
  int m_nEncryptNumber = 0;    // of the Encrypt dictionary, 0 for a direct one
};

}  // namespace PDF
