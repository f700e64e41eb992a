#include "pdf/StandardSecurityHandler.h"

#include "base/Checked.h"
#include "base/Tracer.h"
#include "pdf/CryptFilter.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/IndirectObject.h"
#include "pdf/PasswordText.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr unsigned g_nProprietaryHandler = 0x80410118U;
constexpr unsigned g_nUnknownAlgorithm = 0x80410119U;

constexpr int g_nKeyLengthRC4 = 5;
constexpr int g_nKeyLengthAES128 = 16;
constexpr int g_nKeyLengthAES256 = 32;

template <std::size_t nSize>
void CopyString(const CObjectPtr& value, unsigned char (&bytes)[nSize])
{
  if (!value.IsString())
    return;
  const TBytes text = value.GetStringValue().GetSpan();
  std::copy_n(text.begin(), std::min(text.size(), nSize), bytes);
}

// Bytes of a key from Length, which is in bits, and which some writers give in bytes.
int ReadKeyLength(const CObjectPtr& encrypt)
{
  const int nLength = BSE::ClampTo<int>(GetIntegerOr(encrypt["Length"], g_nKeyLengthRC4 * 8));
  return std::clamp(nLength < g_nKeyLengthRC4 * 8 ? nLength : nLength / 8, g_nKeyLengthRC4,
                    g_nKeyLengthAES128);
}

// The encodings of public-key handlers (ISO 32000-1, Table 23), which no password opens.
bool HasPublicKeyForm(const CObjectPtr& encrypt)
{
  const CObjectPtr name = encrypt["SubFilter"];
  return name.IsName("adbe.pkcs7.s3") || name.IsName("adbe.pkcs7.s4") || name.IsName("adbe.pkcs7.s5");
}

CObjectPtr MakeBytes(TBytes bytes)
{
  return new CStringObject(CString(bytes.data(), static_cast<int>(bytes.size())));
}

void AddName(CObject& dictionary, const char* szKey, const char* szName)
{
  dictionary.AddEntry(szKey, new CNameObject(szName));
}

void AddInteger(CObject& dictionary, const char* szKey, int nValue)
{
  dictionary.AddEntry(szKey, new CIntegerObject(nValue));
}

void AddCryptFilter(CObject& filters, const char* szName, const CCryptAlgorithm& algorithm, int nKeyLength)
{
  const CObjectPtr filter(new CDictionaryObject);
  AddName(*filter, "Type", "CryptFilter");
  AddName(*filter, "CFM", algorithm.GetCFM());
  AddName(*filter, "AuthEvent", "DocOpen");
  AddInteger(*filter, "Length", nKeyLength);
  filters.AddEntry(szName, filter.Get());
}

}  // namespace

BSE::CObjectPtr<CSecurityHandler> CreateSecurityHandler(CFile& file, const CObjectPtr& encrypt)
{
  return CStandardSecurityHandler::Open(encrypt, file.GetId1(), &file);
}

BSE::CObjectPtr<CStandardSecurityHandler> CStandardSecurityHandler::Open(const CObjectPtr& encrypt,
                                                                         const CString& id1,
                                                                         BSE::IErrorContext* pErrorContext)
{
  BSE::CObjectPtr<CStandardSecurityHandler> pHandler(new CStandardSecurityHandler);
  pHandler->m_values.m_id1.Append(id1.GetSpan());
  if (const unsigned nCode = pHandler->ReadValues(encrypt))
  {
    BSE::ReportError(pErrorContext, nCode);
    return nullptr;
  }
  return pHandler;
}

// 0, or the code of what is wrong.
unsigned CStandardSecurityHandler::ReadValues(const CObjectPtr& encrypt)
{
  if (!encrypt["Filter"].IsName("Standard"))
    return g_nProprietaryHandler;
  if (HasPublicKeyForm(encrypt))
    return g_nUnknownAlgorithm;
  if (const unsigned nCode = ReadVersion(encrypt))
    return nCode;
  m_nEncryptNumber = encrypt.GetObjNumber();
  m_values.m_nPermissions = static_cast<std::int32_t>(GetIntegerOr(encrypt["P"], -1));
  const CObjectPtr metadata = encrypt["EncryptMetadata"];
  // Without crypt filters the key has no meaning (ISO 32000-1, Table 21).
  m_values.m_bEncryptMetadata = m_values.m_nV < 4 || !metadata.IsBoolean() || metadata.GetBooleanValue();
  CopyString(encrypt["O"], m_values.m_O);
  CopyString(encrypt["U"], m_values.m_U);
  CopyString(encrypt["OE"], m_values.m_OE);
  CopyString(encrypt["UE"], m_values.m_UE);
  CopyString(encrypt["Perms"], m_values.m_Perms);
  if (m_values.m_nV < 4)
  {
    m_stream.m_pAlgorithm = CCryptAlgorithm::Create(nullptr);
    m_string.m_pAlgorithm = CCryptAlgorithm::Create(nullptr);
    return 0;
  }
  return ReadCryptFilter(encrypt, "StmF", m_stream) && ReadCryptFilter(encrypt, "StrF", m_string)
             ? 0
             : g_nUnknownAlgorithm;
}

unsigned CStandardSecurityHandler::ReadVersion(const CObjectPtr& encrypt)
{
  const int nV = BSE::ClampTo<int>(GetIntegerOr(encrypt["V"], 0));
  const int nR = BSE::ClampTo<int>(GetIntegerOr(encrypt["R"], 0));
  switch (nV)
  {
  case 1:
    m_values.m_nKeyLength = g_nKeyLengthRC4;
    break;
  case 2:
    m_values.m_nKeyLength = ReadKeyLength(encrypt);
    break;
  case 4:
    m_values.m_nKeyLength = g_nKeyLengthAES128;
    break;
  case 5:
    m_values.m_nKeyLength = g_nKeyLengthAES256;
    break;
  default:
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "Encryption", "Unknown V value %d of security handler.", nV);
    return g_nUnknownAlgorithm;
  }
  m_values.m_nV = nV;
  m_values.m_nR = nR;
  const bool bKnown = nV == 5 ? nR == 5 || nR == 6 : nR >= 2 && nR <= 4;
  return bKnown ? 0 : g_nUnknownAlgorithm;
}

// False for a cipher that is not known or does not belong to the version.
bool CStandardSecurityHandler::ReadCryptFilter(const CObjectPtr& encrypt, const char* szKey,
                                               TCrypt& crypt) const
{
  const CObjectPtr name = encrypt[szKey];
  if (!name.IsName() || name.IsName("Identity"))
    return true;
  const CObjectPtr filter = encrypt["CF"][name.GetNameValue()];
  if (!filter.IsDictionary())
    return false;
  const CObjectPtr method = filter["CFM"];
  if (method.IsName("None"))
    return true;
  crypt.m_pAlgorithm = CCryptAlgorithm::Create(method.IsName() ? method.GetNameValue() : nullptr);
  return IsAlgorithmAllowed(crypt.m_pAlgorithm.Get());
}

// Version 5 has one cipher, which no other version has.
bool CStandardSecurityHandler::IsAlgorithmAllowed(const CCryptAlgorithm* pAlgorithm) const
{
  return pAlgorithm && (std::strcmp(pAlgorithm->GetCFM(), "AESV3") == 0) == (m_values.m_nV == 5);
}

BSE::CObjectPtr<CStandardSecurityHandler> CStandardSecurityHandler::Create(const TEncryption& encryption,
                                                                           const CString& id1,
                                                                           BSE::IErrorContext* pErrorContext)
{
  BSE::CObjectPtr<CStandardSecurityHandler> pHandler(new CStandardSecurityHandler);
  TSecurityValues& values = pHandler->m_values;
  values.m_id1.Append(id1.GetSpan());
  values.m_nPermissions = encryption.m_nPermissions;
  values.m_bEncryptMetadata = encryption.m_bEncryptMetadata;
  bool bMade = pHandler->ChooseVersion(encryption);
  if (bMade)
  {
    const TByteArray user = PreparePassword(encryption.m_userPassword, values.m_nR);
    const TByteArray owner = PreparePassword(encryption.m_ownerPassword, values.m_nR);
    bMade = MakeKey(values, user.GetSpan(), owner.GetSpan(), pHandler->m_key);
  }
  if (!bMade)
  {
    BSE::ReportError(pErrorContext, g_nInvalidEncryption);
    return nullptr;
  }
  return pHandler;
}

BSE::CObjectPtr<CStandardSecurityHandler> CStandardSecurityHandler::CreateAlike(
    const CString& id1, BSE::IErrorContext* pErrorContext) const
{
  BSE::CObjectPtr<CStandardSecurityHandler> pHandler(new CStandardSecurityHandler);
  pHandler->m_values = m_values;
  pHandler->m_key = m_key;
  const bool bSameId = std::ranges::equal(m_values.m_id1.GetSpan(), id1.GetSpan());
  if (!IsValid() ||
      (!bSameId && !MoveKey(pHandler->m_values, m_password.GetSpan(), id1.GetSpan(), pHandler->m_key)))
  {
    BSE::ReportError(pErrorContext, g_nInvalidEncryption);
    return nullptr;
  }
  if (m_stream.m_pAlgorithm)
    pHandler->m_stream.m_pAlgorithm = CCryptAlgorithm::Create(m_stream.m_pAlgorithm->GetCFM());
  if (m_string.m_pAlgorithm)
    pHandler->m_string.m_pAlgorithm = CCryptAlgorithm::Create(m_string.m_pAlgorithm->GetCFM());
  return pHandler;
}

bool CStandardSecurityHandler::ChooseVersion(const TEncryption& encryption)
{
  const int nBits = encryption.m_nKeyLength;
  const char* szStream = encryption.m_szStreamCrypt ? encryption.m_szStreamCrypt : encryption.m_szStringCrypt;
  const char* szString = encryption.m_szStringCrypt ? encryption.m_szStringCrypt : encryption.m_szStreamCrypt;
  const bool bFilters = szStream || nBits == g_nKeyLengthAES256 * 8;
  if (!szStream && bFilters)
    szStream = szString = "AESV3";
  m_values.m_nKeyLength = nBits / 8;
  if (bFilters)
  {
    const bool bLong = nBits == g_nKeyLengthAES256 * 8;
    if (!bLong && nBits != g_nKeyLengthAES128 * 8)
      return false;
    m_values.m_nV = bLong ? 5 : 4;
    m_values.m_nR = bLong ? 6 : 4;
  }
  else
  {
    if (nBits % 8 != 0 || nBits < g_nKeyLengthRC4 * 8 || nBits > g_nKeyLengthAES128 * 8)
      return false;
    const bool bShort = nBits == g_nKeyLengthRC4 * 8;
    m_values.m_nV = bShort ? 1 : 2;
    m_values.m_nR = bShort ? 2 : 3;
    m_values.m_bEncryptMetadata = true;
  }
  return ChooseAlgorithm(szStream, m_stream) && ChooseAlgorithm(szString, m_string);
}

bool CStandardSecurityHandler::ChooseAlgorithm(const char* szName, TCrypt& crypt) const
{
  if (szName && std::strcmp(szName, "Identity") == 0)
    return true;
  crypt.m_pAlgorithm = CCryptAlgorithm::Create(szName);
  return IsAlgorithmAllowed(crypt.m_pAlgorithm.Get());
}

const char* CStandardSecurityHandler::GetCryptName(const TCrypt& crypt) const
{
  if (m_values.m_nV < 4)
    return nullptr;
  return crypt.m_pAlgorithm ? crypt.m_pAlgorithm->GetCFM() : "Identity";
}

void CStandardSecurityHandler::Write(PDF::CObject& dictionary)
{
  const auto nHash = static_cast<std::size_t>(m_values.GetHashLength());
  AddName(dictionary, "Filter", "Standard");
  AddInteger(dictionary, "V", m_values.m_nV);
  AddInteger(dictionary, "Length", m_values.m_nKeyLength * 8);
  AddInteger(dictionary, "R", m_values.m_nR);
  dictionary.AddEntry("O", MakeBytes(TBytes(m_values.m_O).first(nHash)).Get());
  dictionary.AddEntry("U", MakeBytes(TBytes(m_values.m_U).first(nHash)).Get());
  AddInteger(dictionary, "P", m_values.m_nPermissions);
  if (m_values.m_nV >= 5)
  {
    dictionary.AddEntry("OE", MakeBytes(m_values.m_OE).Get());
    dictionary.AddEntry("UE", MakeBytes(m_values.m_UE).Get());
    dictionary.AddEntry("Perms", MakeBytes(m_values.m_Perms).Get());
  }
  if (m_values.m_nV >= 4)
    WriteCryptFilters(dictionary);
}

void CStandardSecurityHandler::WriteCryptFilters(PDF::CObject& dictionary) const
{
  const CCryptAlgorithm* pStream = m_stream.m_pAlgorithm.Get();
  const CCryptAlgorithm* pString = m_string.m_pAlgorithm.Get();
  const bool bBoth = pStream && pString && std::strcmp(pStream->GetCFM(), pString->GetCFM()) != 0;
  const char* szStream = bBoth ? "StmCF" : "StdCF";
  const char* szString = bBoth ? "StrCF" : "StdCF";
  const CObjectPtr filters(new CDictionaryObject);
  if (pStream)
    AddCryptFilter(*filters, szStream, *pStream, m_values.m_nKeyLength);
  if (pString)
    AddCryptFilter(*filters, szString, *pString, m_values.m_nKeyLength);
  dictionary.AddEntry("CF", filters.Get());
  AddName(dictionary, "StmF", pStream ? szStream : "Identity");
  AddName(dictionary, "StrF", pString ? szString : "Identity");
  if (!m_values.m_bEncryptMetadata)
    dictionary.AddEntry("EncryptMetadata", new CBooleanObject(false));
}

bool CStandardSecurityHandler::Authenticate(const CString* pPassword)
{
  const CTextString password(pPassword ? *pPassword : CString());
  const int nKeyLength = m_values.m_nKeyLength;
  if (TryPassword(password))
    return true;
  // A missing or damaged Length of version 2 shows in that no password fits.
  for (const int nOther : {g_nKeyLengthAES128, g_nKeyLengthRC4})
  {
    if (m_values.m_nV != 2 || nOther == nKeyLength)
      continue;
    m_values.m_nKeyLength = nOther;
    if (TryPassword(password))
      return true;
  }
  m_values.m_nKeyLength = nKeyLength;
  m_key.RemoveAll();
  return false;
}

bool CStandardSecurityHandler::TryPassword(const CTextString& password)
{
  for (const TPasswordForm form : g_passwordForms)
  {
    TByteArray bytes;
    if (GetPasswordBytes(password, m_values.m_nR, form, bytes) && FindKey(m_values, bytes.GetSpan(), m_key))
    {
      m_password = std::move(bytes);
      if (!HasSoundPerms(m_values, m_key.GetSpan()) && BSE::CTracer::IsOn())
        BSE::CTracer::Trace("W", "Encryption", "Permissions differ from their encrypted form.");
      return true;
    }
  }
  return false;
}

bool CStandardSecurityHandler::IsExempt(PDF::CObject& object)
{
  if (object.IsIndirect())
  {
    const auto& reference = static_cast<CIndirectObject&>(object);
    if (m_nEncryptNumber != 0 && object.GetObjNumber() == m_nEncryptNumber)
      return true;
    // An object that is being parsed has no dictionary yet to be judged by.
    if (!reference.IsLoaded())
      return false;
  }
  if (!object.IsDictionary())
    return false;
  const CObjectPtr type = object.GetEntry("Type");
  return type.IsName("XRef") || (!m_values.m_bEncryptMetadata && type.IsName("Metadata"));
}

CCryptAlgorithm* CStandardSecurityHandler::GetObjectCrypt(TCrypt& crypt, int nObjNumber, int nGenNumber)
{
  CCryptAlgorithm* pAlgorithm = crypt.m_pAlgorithm.Get();
  if (pAlgorithm && (crypt.m_nObjNumber != nObjNumber || crypt.m_nGenNumber != nGenNumber))
  {
    pAlgorithm->SetKey(m_key.GetSpan(), nObjNumber, nGenNumber);
    crypt.m_nObjNumber = nObjNumber;
    crypt.m_nGenNumber = nGenNumber;
  }
  return pAlgorithm;
}

CString CStandardSecurityHandler::DecryptString(const CString& value, int nObjNumber, int nGenNumber)
{
  CCryptAlgorithm* pAlgorithm = GetObjectCrypt(m_string, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return value;
  TByteArray bytes;
  pAlgorithm->Decrypt(value.GetSpan(), bytes);
  return CString(bytes.GetData(), bytes.GetSize());
}

CString CStandardSecurityHandler::EncryptString(const CString& value, int nObjNumber, int nGenNumber)
{
  CCryptAlgorithm* pAlgorithm = GetObjectCrypt(m_string, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return value;
  TByteArray bytes;
  if (!pAlgorithm->Encrypt(value.GetSpan(), bytes))
  {
    m_bFailed = true;
    return CString();
  }
  return CString(bytes.GetData(), bytes.GetSize());
}

BSE::CObjectPtr<BSE::IByteStream> CStandardSecurityHandler::CreateDecryptFilter(
    BSE::IByteStream* pSource, int nObjNumber, int nGenNumber, BSE::IErrorContext* pErrorContext)
{
  const CCryptAlgorithm* pAlgorithm = GetObjectCrypt(m_stream, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return pSource;
  return new CDecryptFilter(pSource, BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm->Clone()), pErrorContext);
}

BSE::CObjectPtr<BSE::IByteStream> CStandardSecurityHandler::CreateEncryptFilter(
    BSE::IByteStream* pSink, int nObjNumber, int nGenNumber, BSE::IErrorContext* pErrorContext)
{
  if (m_bFailed)
    return nullptr;
  const CCryptAlgorithm* pAlgorithm = GetObjectCrypt(m_stream, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return pSink;
  return new CEncryptFilter(pSink, BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm->Clone()), pErrorContext);
}

std::int64_t CStandardSecurityHandler::GetEncryptedLength(std::int64_t nLength)
{
  const CCryptAlgorithm* pAlgorithm = m_stream.m_pAlgorithm.Get();
  return pAlgorithm ? pAlgorithm->GetEncryptedLength(nLength) : nLength;
}

}  // namespace PDF
