/* Encrypts with AES-256 so that a password opens the file for reading and printing alone, then opens the
 * result: encryption IN OUT USER-PASSWORD OWNER-PASSWORD.
 */
#include <brevex/brevex.h>
#include <stdio.h>

/* Bits of the permissions that have no meaning are set. */
#define NO_MEANING 0xFFFFF0C0u

static int Encrypt(TBrevexHandle* pHandle, char** argv)
{
  const unsigned nPermissions = NO_MEANING | BREVEX_PERMIT_PRINT | BREVEX_PERMIT_ACCESSIBILITY;
  BrevexSetOutputCipher(pHandle, BREVEX_CIPHER_AES_256);
  return BrevexOpenA(pHandle, argv[1], NULL) &&
         BrevexSaveAsA(pHandle, argv[2], argv[3], argv[4], (int)nPermissions) && BrevexClose(pHandle);
}

static int Describe(TBrevexHandle* pHandle, char** argv)
{
  TBrevexEncryption encryption;
  if (!BrevexOpenA(pHandle, argv[2], argv[3]) || !BrevexGetInputEncryption(pHandle, &encryption))
  {
    return 0;
  }
  printf("key of %d bits, opened by the %s, printing is %s\n", encryption.nKeyLength,
         encryption.bOwner ? "owner" : "user",
         encryption.nPermissions & BREVEX_PERMIT_PRINT ? "allowed" : "forbidden");
  return 1;
}

int main(int argc, char** argv)
{
  if (argc != 5)
  {
    fprintf(stderr, "usage: encryption IN OUT USER-PASSWORD OWNER-PASSWORD\n");
    return 2;
  }
  BrevexInitialize();
  TBrevexHandle* pHandle = BrevexCreateObject();
  const int bDone = Encrypt(pHandle, argv) && Describe(pHandle, argv);
  if (!bDone)
  {
    fprintf(stderr, "failed: 0x%08X\n", (unsigned)BrevexGetErrorCode(pHandle));
  }
  BrevexDestroyObject(pHandle);
  BrevexUnInitialize();
  return !bDone;
}
