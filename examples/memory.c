/* From memory to memory, as a server does that never touches its disk: memory IN OUT. Only this program reads
 * and writes the files; the library sees bytes.
 */
#include <brevex/brevex.h>
#include <stdio.h>
#include <stdlib.h>

/* The caller frees the result; null on failure. */
static unsigned char* ReadFile(const char* szName, size_t* pSize)
{
  FILE* pFile = fopen(szName, "rb");
  unsigned char* pBytes = NULL;
  if (pFile != NULL && fseek(pFile, 0, SEEK_END) == 0)
  {
    const long nSize = ftell(pFile);
    rewind(pFile);
    pBytes = nSize > 0 ? malloc((size_t)nSize) : NULL;
    *pSize = pBytes != NULL ? fread(pBytes, 1, (size_t)nSize, pFile) : 0;
  }
  if (pFile != NULL)
  {
    fclose(pFile);
  }
  return pBytes;
}

static int WriteFile(const char* szName, const unsigned char* pBytes, size_t nSize)
{
  FILE* pFile = fopen(szName, "wb");
  if (pFile == NULL)
  {
    return 0;
  }
  const int bWritten = fwrite(pBytes, 1, nSize, pFile) == nSize;
  return fclose(pFile) == 0 && bWritten;
}

int main(int argc, char** argv)
{
  size_t nSize = 0;
  unsigned char* pBytes = argc == 3 ? ReadFile(argv[1], &nSize) : NULL;
  if (pBytes == NULL)
  {
    fprintf(stderr, "usage: memory IN OUT\n");
    return 2;
  }
  int nResult = 1;
  BrevexInitialize();
  TBrevexHandle* pHandle = BrevexCreateObject();
  const int bOpened = BrevexOpenMemA(pHandle, pBytes, nSize, NULL);
  free(pBytes); /* the library has a copy of its own */
  if (bOpened && BrevexSaveInMemory(pHandle))
  {
    const TByteBuffer* pResult = BrevexGetPdf(pHandle); /* owned by the handle */
    nResult = pResult == NULL || !WriteFile(argv[2], pResult->pData, (size_t)pResult->nSize);
  }
  if (nResult != 0)
  {
    fprintf(stderr, "failed: 0x%08X\n", (unsigned)BrevexGetErrorCode(pHandle));
  }
  BrevexDestroyObject(pHandle);
  BrevexUnInitialize();
  return nResult;
}
