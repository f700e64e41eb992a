/* Through callbacks, for documents that live in a store of the caller's own: callbacks IN OUT. The input must
 * be readable at any position; the output is written from its start to its end.
 */
#include <brevex/brevex.h>
#include <stdio.h>

static int64_t GetLength(void* handle)
{
  FILE* pFile = handle;
  const long nPosition = ftell(pFile);
  if (nPosition < 0 || fseek(pFile, 0, SEEK_END) != 0)
  {
    return -1;
  }
  const long nLength = ftell(pFile);
  return fseek(pFile, nPosition, SEEK_SET) == 0 ? nLength : -1;
}

static int Seek(void* handle, int64_t nPosition)
{
  return fseek(handle, (long)nPosition, SEEK_SET) == 0;
}

static int64_t Tell(void* handle)
{
  return ftell(handle);
}

static int64_t Read(void* handle, void* pBuffer, size_t nSize)
{
  const size_t nRead = fread(pBuffer, 1, nSize, handle);
  return ferror((FILE*)handle) ? -1 : (int64_t)nRead;
}

static int64_t Write(void* handle, const void* pBuffer, size_t nSize)
{
  return fwrite(pBuffer, 1, nSize, handle) == nSize ? (int64_t)nSize : -1;
}

int main(int argc, char** argv)
{
  FILE* pInput = argc == 3 ? fopen(argv[1], "rb") : NULL;
  FILE* pOutput = pInput != NULL ? fopen(argv[2], "wb") : NULL;
  if (pOutput == NULL)
  {
    fprintf(stderr, "usage: callbacks IN OUT\n");
    return 2;
  }
  const TBrevexStreamDescriptor input = {GetLength, Seek, Tell, Read, NULL, NULL, pInput};
  const TBrevexStreamDescriptor output = {NULL, NULL, NULL, NULL, Write, NULL, pOutput};
  BrevexInitialize();
  TBrevexHandle* pHandle = BrevexCreateObject();
  int nResult = !BrevexOpenStreamA(pHandle, &input, NULL) ||
                !BrevexSaveAsStreamA(pHandle, &output, NULL, NULL, BREVEX_PERMISSIONS_PLAIN);
  if (nResult != 0)
  {
    fprintf(stderr, "failed: 0x%08X\n", (unsigned)BrevexGetErrorCode(pHandle));
  }
  BrevexDestroyObject(pHandle); /* closes the document, and with it the input stream */
  BrevexUnInitialize();
  fclose(pInput);
  nResult |= fclose(pOutput) != 0;
  return nResult;
}
