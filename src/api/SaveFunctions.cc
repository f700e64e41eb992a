// Saving, and the result of a save to memory.

#include "api/CallFrame.h"
#include "api/TextArgument.h"

using API::Call;
using PDF::CTextString;

namespace
{

// The passwords and permissions of a save; key length and crypt filters are the defaults.
template <class TUnit>
class CEncryptionArguments
{
public:
  CEncryptionArguments(const TUnit* szUserPassword, const TUnit* szOwnerPassword, int nPermissions)
  {
    m_encryption.m_userPassword = CTextString(szUserPassword);
    m_encryption.m_ownerPassword = CTextString(szOwnerPassword);
    m_encryption.m_nPermissions = nPermissions;
  }
  CEncryptionArguments(const CEncryptionArguments&) = delete;
  CEncryptionArguments& operator=(const CEncryptionArguments&) = delete;

  const PDF::TEncryption& Get() const { return m_encryption; }

private:
  PDF::TEncryption m_encryption;
};

}  // namespace

int BrevexSaveAsA(TBrevexHandle* pHandle, const char* szFileName, const char* szUserPassword,
                  const char* szOwnerPassword, int nPermissions)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const CEncryptionArguments encryption(szUserPassword, szOwnerPassword, nPermissions);
                return handle.SaveFile(szFileName, encryption.Get());
              });
}

int BrevexSaveAsW(TBrevexHandle* pHandle, const TBrevexChar* szFileName, const TBrevexChar* szUserPassword,
                  const TBrevexChar* szOwnerPassword, int nPermissions)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const CEncryptionArguments encryption(szUserPassword, szOwnerPassword, nPermissions);
                const API::CLocaleArgument fileName(szFileName);
                return handle.SaveFile(fileName.Get(), encryption.Get());
              });
}

int BrevexSaveAsStreamA(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                        const char* szUserPassword, const char* szOwnerPassword, int nPermissions)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const CEncryptionArguments encryption(szUserPassword, szOwnerPassword, nPermissions);
                return handle.SaveStream(pStream, encryption.Get());
              });
}

int BrevexSaveAsStreamW(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                        const TBrevexChar* szUserPassword, const TBrevexChar* szOwnerPassword,
                        int nPermissions)
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const CEncryptionArguments encryption(szUserPassword, szOwnerPassword, nPermissions);
                return handle.SaveStream(pStream, encryption.Get());
              });
}

int BrevexSaveInMemory(TBrevexHandle* pHandle)
{
  return Call(pHandle, 0, [](API::COptimizerHandle& handle) -> int { return handle.SaveMemory(); });
}

const TByteBuffer* BrevexGetPdf(TBrevexHandle* pHandle)
{
  return Call(pHandle, static_cast<const TByteBuffer*>(nullptr),
              [](API::COptimizerHandle& handle) { return handle.FetchResult(); });
}
