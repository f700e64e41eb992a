// All versions go through the same three ciphers, for streams, strings and embedded files: in V 1 and 2 they
// are one RC4, in V 4 and 5 crypt filters, of which streams can name more (ISO 32000-1, 7.6.5). A cipher that
// is not known for all streams or strings refuses the file; one of embedded files or under a name of its own
// only fails where it is used.
//
// Whether a key is right can be checked against U, so that guesses do no harm: Authenticate tries the forms
// of a password that writers have used, and other key lengths where the one that the file states opens
// nothing. A new file gets the lowest version that has the ciphers asked for. One that is like another keeps
// its O and U if the ID is the same too; up to revision 4 the key depends on the ID, and is made again from
// the password that has opened the file.

#include "pdf/StandardSecurityHandler.h"

#include "base/Checked.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "pdf/CryptFilter.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/IndirectObject.h"
#include "pdf/PasswordText.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"

#include <algorithm>

namespace PDF
{

namespace
{

// Crypt filters that streams can name: files have one or two.
constexpr int g_nMaxNamedCrypts = 64;

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

// Bytes of a key from Length, which is in bits, but in crypt filters and by some writers in bytes.
int ReadKeyLength(const CObjectPtr& dictionary)
{
  const int nLength = BSE::ClampTo<int>(GetIntegerOr(dictionary["Length"], g_nKeyLengthRC4 * 8));
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

bool AreAlike(const CCryptAlgorithm* pOne, const CCryptAlgorithm* pOther)
{
  return pOne && pOther ? std::strcmp(pOne->GetCFM(), pOther->GetCFM()) == 0 : pOne == pOther;
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
    m_embedded.m_pAlgorithm = CCryptAlgorithm::Create(nullptr);
    return 0;
  }
  if (!ReadCryptFilter(encrypt, "StmF", m_stream) || !ReadCryptFilter(encrypt, "StrF", m_string))
    return g_nUnknownAlgorithm;
  const CName& name = m_stream.m_pAlgorithm ? m_stream.m_name : m_string.m_name;
  m_nStatedKeyLength = ReadKeyLength(encrypt["CF"][name.GetText()]);
  ReadEmbeddedFilter(encrypt);
  ReadNamedFilters(encrypt);
  return 0;
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
  m_nStatedKeyLength = ReadKeyLength(encrypt);
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
  crypt.m_name = name.GetNameValue();
  ReadMethod(encrypt["CF"][name.GetNameValue()], crypt);
  return crypt.m_bKnown;
}

void CStandardSecurityHandler::ReadMethod(const CObjectPtr& filter, TCrypt& crypt) const
{
  const CObjectPtr method = filter["CFM"];
  if (method.IsName("None"))
    return;
  if (filter.IsDictionary())
    crypt.m_pAlgorithm = CCryptAlgorithm::Create(method.IsName() ? method.GetNameValue() : nullptr);
  crypt.m_bKnown = IsAlgorithmAllowed(crypt.m_pAlgorithm.Get());
  if (!crypt.m_bKnown)
    crypt.m_pAlgorithm.Reset();
}

// Neither a name that is not defined nor an unknown cipher makes the file unreadable: the former counts as
// absent.
void CStandardSecurityHandler::ReadEmbeddedFilter(const CObjectPtr& encrypt)
{
  const CObjectPtr name = encrypt["EFF"];
  if (name.IsName("Identity"))
    return;
  const CObjectPtr filter = name.IsName() ? encrypt["CF"][name.GetNameValue()] : CObjectPtr();
  if (filter.IsDictionary())
  {
    m_embedded.m_name = name.GetNameValue();
    ReadMethod(filter, m_embedded);
    return;
  }
  m_embedded.m_name = m_stream.m_name;
  if (m_stream.m_pAlgorithm)
    m_embedded.m_pAlgorithm.Reset(m_stream.m_pAlgorithm->Clone());
}

void CStandardSecurityHandler::ReadNamedFilters(const CObjectPtr& encrypt)
{
  const CObjectPtr filters = encrypt["CF"];
  if (!filters.IsDictionary())
    return;
  for (int i = filters.GetBegin(); i != filters.GetEnd() && m_named.GetSize() < g_nMaxNamedCrypts;
       i = filters.GetNext(i))
  {
    const BSE::CObjectPtr<TNamedCrypt> pNamed(new TNamedCrypt);
    pNamed->m_crypt.m_name = filters.GetKey(i);
    ReadMethod(filters.GetValue(i), pNamed->m_crypt);
    pNamed->m_bUsed = true;
    for (const char* szKey : {"StmF", "StrF", "EFF"})
      if (encrypt[szKey].IsName(filters.GetKey(i)))
        pNamed->m_bUsed = false;
    m_named.Add(pNamed.Get());
  }
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
    const CString& id1, bool bUniform, BSE::IErrorContext* pErrorContext) const
{
  BSE::CObjectPtr<CStandardSecurityHandler> pHandler(new CStandardSecurityHandler);
  pHandler->m_values = m_values;
  pHandler->m_key = m_key;
  TEncryption ciphers;
  TakeCiphers(bUniform, ciphers);
  const bool bSameId = std::ranges::equal(m_values.m_id1.GetSpan(), id1.GetSpan());
  if (!IsValid() ||
      (!bSameId && !MoveKey(pHandler->m_values, m_password.GetSpan(), id1.GetSpan(), pHandler->m_key)) ||
      !pHandler->ChooseAlgorithms(ciphers))
  {
    BSE::ReportError(pErrorContext, g_nInvalidEncryption);
    return nullptr;
  }
  return pHandler;
}

void CStandardSecurityHandler::TakeCiphers(bool bUniform, TEncryption& encryption) const
{
  const TCrypt* pStream = &m_stream;
  const auto encrypt = [&pStream](const TCrypt& crypt)
  {
    if (!pStream->m_pAlgorithm && crypt.m_pAlgorithm)
      pStream = &crypt;
  };
  if (bUniform)
    encrypt(m_embedded);
  for (int i = 0; i < m_named.GetSize(); ++i)
    if (m_named[i]->m_bUsed)
      encrypt(m_named[i]->m_crypt);
  // Shorter keys of version 4 are read, but not made.
  encryption.m_nKeyLength = m_values.m_nV == 4 ? g_nKeyLengthAES128 * 8 : GetKeyLength();
  encryption.m_szStreamCrypt = GetMethodName(*pStream);
  encryption.m_szStringCrypt = GetMethodName(m_string);
  encryption.m_szEmbeddedCrypt = GetMethodName(bUniform || !m_embedded.m_bKnown ? *pStream : m_embedded);
  encryption.m_bEncryptMetadata = m_values.m_bEncryptMetadata;
}

bool CStandardSecurityHandler::ChooseVersion(const TEncryption& encryption)
{
  const int nBits = encryption.m_nKeyLength;
  const bool bFilters = encryption.m_szStreamCrypt || encryption.m_szStringCrypt ||
                        encryption.m_szEmbeddedCrypt || nBits == g_nKeyLengthAES256 * 8;
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
  return ChooseAlgorithms(encryption);
}

// A cipher that is not given is the same as that of the other kind, or else that of the version.
bool CStandardSecurityHandler::ChooseAlgorithms(const TEncryption& encryption)
{
  const auto orElse = [](const char* szName, const char* szOther) { return szName ? szName : szOther; };
  const char* szDefault = m_values.m_nV == 5 ? "AESV3" : nullptr;
  const char* szStream = orElse(encryption.m_szStreamCrypt, orElse(encryption.m_szStringCrypt, szDefault));
  if (!ChooseAlgorithm(szStream, m_stream) ||
      !ChooseAlgorithm(orElse(encryption.m_szStringCrypt, szStream), m_string) ||
      !ChooseAlgorithm(orElse(encryption.m_szEmbeddedCrypt, szStream), m_embedded))
    return false;
  NameCrypts();
  return true;
}

// Equal ciphers share one name.
void CStandardSecurityHandler::NameCrypts()
{
  const CCryptAlgorithm* pStream = m_stream.m_pAlgorithm.Get();
  const CCryptAlgorithm* pString = m_string.m_pAlgorithm.Get();
  const CCryptAlgorithm* pEmbedded = m_embedded.m_pAlgorithm.Get();
  const bool bBoth = pStream && pString && !AreAlike(pStream, pString);
  m_stream.m_name = !pStream ? "Identity" : bBoth ? "StmCF" : "StdCF";
  m_string.m_name = !pString ? "Identity" : bBoth ? "StrCF" : "StdCF";
  if (AreAlike(pEmbedded, pStream))
    m_embedded.m_name = m_stream.m_name;
  else if (AreAlike(pEmbedded, pString))
    m_embedded.m_name = m_string.m_name;
  else
    m_embedded.m_name = !pEmbedded ? "Identity" : pStream || pString ? "EmbeddedCF" : "StdCF";
}

bool CStandardSecurityHandler::ChooseAlgorithm(const char* szName, TCrypt& crypt) const
{
  if (szName && std::strcmp(szName, "Identity") == 0)
    return true;
  crypt.m_pAlgorithm = CCryptAlgorithm::Create(szName);
  return IsAlgorithmAllowed(crypt.m_pAlgorithm.Get());
}

const char* CStandardSecurityHandler::GetMethodName(const TCrypt& crypt) const
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
  const CObjectPtr filters(new CDictionaryObject);
  for (const TCrypt* pCrypt : {&m_stream, &m_string, &m_embedded})
    if (pCrypt->m_pAlgorithm)
      AddCryptFilter(*filters, pCrypt->m_name.GetText(), *pCrypt->m_pAlgorithm, m_values.m_nKeyLength);
  dictionary.AddEntry("CF", filters.Get());
  AddName(dictionary, "StmF", m_stream.m_name.GetText());
  AddName(dictionary, "StrF", m_string.m_name.GetText());
  if (!(m_embedded.m_name == m_stream.m_name))
    AddName(dictionary, "EFF", m_embedded.m_name.GetText());
  if (!m_values.m_bEncryptMetadata)
    dictionary.AddEntry("EncryptMetadata", new CBooleanObject(false));
}

CStandardSecurityHandler::~CStandardSecurityHandler()
{
  BSE::Wipe(m_key.GetData(), static_cast<std::size_t>(m_key.GetSize()));
  BSE::Wipe(m_password.GetData(), static_cast<std::size_t>(m_password.GetSize()));
}

bool CStandardSecurityHandler::Authenticate(const CString* pPassword)
{
  const CTextString password(pPassword ? *pPassword : CString());
  const int nKeyLength = m_values.m_nKeyLength;
  if (TryPassword(password))
    return true;
  // A Length that is missing, damaged or not what the version expects shows in that no password fits.
  for (const int nOther : {m_nStatedKeyLength, g_nKeyLengthAES128, g_nKeyLengthRC4})
  {
    if (m_values.m_nV >= 5 || nOther == nKeyLength)
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
    const bool bFits =
        GetPasswordBytes(password, m_values.m_nR, form, bytes) && FindKey(m_values, bytes.GetSpan(), m_key);
    if (!bFits)
    {
      BSE::Wipe(bytes.GetData(), static_cast<std::size_t>(bytes.GetSize()));
      continue;
    }
    m_password = std::move(bytes);
    if (!HasSoundPerms(m_values, m_key.GetSpan()) && BSE::CTracer::IsOn())
      BSE::CTracer::Trace("W", "Encryption", "Permissions differ from their encrypted form.");
    return true;
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
  return !m_values.m_bEncryptMetadata && object.GetEntry("Type").IsName("Metadata");
}

bool CStandardSecurityHandler::HasPlainStrings(PDF::CObject& object)
{
  return IsExempt(object) && !object.GetEntry("Type").IsName("Metadata");
}

int CStandardSecurityHandler::FindStreamCrypt(PDF::CObject& stream, const char* szName)
{
  if (!szName)
    return stream.GetEntry("Type").IsName("EmbeddedFile") ? g_nEmbeddedCrypt : g_nStreamCrypt;
  for (int i = 0; i < m_named.GetSize(); ++i)
  {
    if (!(m_named[i]->m_crypt.m_name == szName))
      continue;
    m_named[i]->m_bUsed = true;
    return g_nFirstNamedCrypt + i;
  }
  return g_nUnknownCrypt;
}

const char* CStandardSecurityHandler::GetCryptName(int nCrypt)
{
  const bool bOther = nCrypt == g_nEmbeddedCrypt && !(m_embedded.m_name == m_stream.m_name);
  return bOther ? m_embedded.m_name.GetText() : nullptr;
}

CStandardSecurityHandler::TCrypt& CStandardSecurityHandler::GetStreamCrypt(int nCrypt)
{
  if (nCrypt == g_nStreamCrypt)
    return m_stream;
  if (nCrypt == g_nEmbeddedCrypt)
    return m_embedded;
  TNamedCrypt* pNamed = m_named[nCrypt - g_nFirstNamedCrypt];
  return pNamed ? pNamed->m_crypt : m_unknown;
}

// With one cipher for both, the strings of an object have the key of its data, which is then derived once.
CStandardSecurityHandler::TCrypt& CStandardSecurityHandler::GetStringCrypt()
{
  return AreAlike(m_string.m_pAlgorithm.Get(), m_stream.m_pAlgorithm.Get()) ? m_stream : m_string;
}

// Keys are derived from the numbers of the object (ISO 32000-1, Algorithm 1). Its strings come one after
// another, so that each crypt filter keeps the key that it had last.
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

CString CStandardSecurityHandler::DecryptString(const CString& value, int nObjNumber, int nGenNumber,
                                                bool* pWhole)
{
  CCryptAlgorithm* pAlgorithm = GetObjectCrypt(GetStringCrypt(), nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return value;
  TByteArray bytes;
  if (!pAlgorithm->Decrypt(value.GetSpan(), bytes) && pWhole)
    *pWhole = false;
  return CString(bytes.GetData(), bytes.GetSize());
}

CString CStandardSecurityHandler::EncryptString(const CString& value, int nObjNumber, int nGenNumber)
{
  CCryptAlgorithm* pAlgorithm = GetObjectCrypt(GetStringCrypt(), nObjNumber, nGenNumber);
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
    BSE::IByteStream* pSource, int nObjNumber, int nGenNumber, BSE::IErrorContext* pErrorContext, int nCrypt)
{
  TCrypt& crypt = GetStreamCrypt(nCrypt);
  if (!crypt.m_bKnown)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Filter", "Crypt filter not supported.");
    BSE::ReportLoss(pErrorContext, g_nUnknownAlgorithm);
    return new BSE::CMemoryStream;
  }
  const CCryptAlgorithm* pAlgorithm = GetObjectCrypt(crypt, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return pSource;
  return new CDecryptFilter(pSource, BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm->Clone()), pErrorContext);
}

BSE::CObjectPtr<BSE::IByteStream> CStandardSecurityHandler::CreateEncryptFilter(
    BSE::IByteStream* pSink, int nObjNumber, int nGenNumber, BSE::IErrorContext* pErrorContext, int nCrypt)
{
  TCrypt& crypt = GetStreamCrypt(nCrypt);
  if (m_bFailed || !crypt.m_bKnown)
    return nullptr;
  const CCryptAlgorithm* pAlgorithm = GetObjectCrypt(crypt, nObjNumber, nGenNumber);
  if (!pAlgorithm)
    return pSink;
  return new CEncryptFilter(pSink, BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm->Clone()), pErrorContext);
}

std::int64_t CStandardSecurityHandler::GetEncryptedLength(std::int64_t nLength, int nCrypt)
{
  const CCryptAlgorithm* pAlgorithm = GetStreamCrypt(nCrypt).m_pAlgorithm.Get();
  return pAlgorithm ? pAlgorithm->GetEncryptedLength(nLength) : nLength;
}

}  // namespace PDF
