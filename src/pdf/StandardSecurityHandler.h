#pragma once

#include "pdf/CryptAlgorithm.h"
#include "pdf/SecurityHandler.h"
#include "pdf/StandardSecurityHandlerKeys.h"
#include "pdf/TextString.h"

namespace PDF
{

// "Invalid or inconsistent encryption parameters specified."
inline constexpr unsigned g_nInvalidEncryption = 0x8041011CU;

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
  bool m_bEncryptMetadata = true;
};

// The password handler of ISO 32000-1, 7.6.3 and ISO 32000-2, 7.6.4 in all its versions: V 1, 2, 4, 5 with
// revisions 2 to 6.
class CStandardSecurityHandler : public CSecurityHandler
{
public:
  // Reads an Encrypt dictionary. Null, reported, for another handler and for versions, revisions and ciphers
  // that are not known. The handler is of use only after Authenticate. Damaged password values are not
  // noticed before that.
  static BSE::CObjectPtr<CStandardSecurityHandler> Open(const CObjectPtr& encrypt, const CString& id1,
                                                        BSE::IErrorContext* pErrorContext);

  // For a new file with that first part of its ID, ready for use. Null, reported, for parameters that do not
  // go together.
  static BSE::CObjectPtr<CStandardSecurityHandler> Create(const TEncryption& encryption, const CString& id1,
                                                          BSE::IErrorContext* pErrorContext);

  // For a new file with that first part of its ID: the same ciphers, permissions and passwords. This one has
  // been authenticated, otherwise null, reported.
  BSE::CObjectPtr<CStandardSecurityHandler> CreateAlike(const CString& id1,
                                                        BSE::IErrorContext* pErrorContext) const;

  bool IsValid() const override { return !m_key.IsEmpty(); }
  void Write(PDF::CObject& dictionary) override;

  // The password is a text string; the user's and the owner's are tried, in the encodings that writers use.
  bool Authenticate(const CString* pPassword) override;
  bool IsExempt(PDF::CObject& object) override;
  CString DecryptString(const CString& value, int nObjNumber, int nGenNumber) override;
  CString EncryptString(const CString& value, int nObjNumber, int nGenNumber) override;
  bool HasFailed() const override { return m_bFailed; }
  BSE::CObjectPtr<BSE::IByteStream> CreateDecryptFilter(BSE::IByteStream* pSource, int nObjNumber,
                                                        int nGenNumber,
                                                        BSE::IErrorContext* pErrorContext) override;
  BSE::CObjectPtr<BSE::IByteStream> CreateEncryptFilter(BSE::IByteStream* pSink, int nObjNumber,
                                                        int nGenNumber,
                                                        BSE::IErrorContext* pErrorContext) override;
  std::int64_t GetEncryptedLength(std::int64_t nLength) override;

  // What a new file needs to be encrypted alike.
  int GetPermissions() const { return m_values.m_nPermissions; }
  int GetKeyLength() const { return m_values.m_nKeyLength * 8; }
  bool IsMetadataEncrypted() const { return m_values.m_bEncryptMetadata; }

  // As in TEncryption; null without crypt filters.
  const char* GetStreamCryptName() const { return GetCryptName(m_stream); }
  const char* GetStringCryptName() const { return GetCryptName(m_string); }

private:
  // A cipher with the object whose key it has.
  struct TCrypt
  {
    BSE::CScopedPtr<CCryptAlgorithm> m_pAlgorithm;  // null: no encryption
    int m_nObjNumber = -1;
    int m_nGenNumber = -1;
  };

  CStandardSecurityHandler() = default;

  bool TryPassword(const CTextString& password);
  unsigned ReadValues(const CObjectPtr& encrypt);
  unsigned ReadVersion(const CObjectPtr& encrypt);
  bool ReadCryptFilter(const CObjectPtr& encrypt, const char* szKey, TCrypt& crypt) const;
  bool IsAlgorithmAllowed(const CCryptAlgorithm* pAlgorithm) const;
  bool ChooseVersion(const TEncryption& encryption);
  bool ChooseAlgorithm(const char* szName, TCrypt& crypt) const;
  const char* GetCryptName(const TCrypt& crypt) const;
  CCryptAlgorithm* GetObjectCrypt(TCrypt& crypt, int nObjNumber, int nGenNumber);
  void WriteCryptFilters(PDF::CObject& dictionary) const;

  TSecurityValues m_values;
  TCrypt m_stream;
  TCrypt m_string;
  TByteArray m_key;
  TByteArray m_password;  // that opened the file, in the encoding that did
  bool m_bFailed = false;
  int m_nEncryptNumber = 0;  // of the Encrypt dictionary, 0 for a direct one
};

}  // namespace PDF
