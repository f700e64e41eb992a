/* Built against an installed library: checks its version and that a missing file is reported. */
#include <brevex/brevex.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv)
{
  int nFailures = argc != 2;
  BrevexInitialize();
  if (nFailures == 0 && strcmp(BrevexGetProductVersionA(), argv[1]) != 0)
  {
    fprintf(stderr, "version %s\n", BrevexGetProductVersionA());
    nFailures++;
  }
  TBrevexHandle* pHandle = BrevexCreateObject();
  BrevexSetProfile(pHandle, BREVEX_PROFILE_WEB);
  if (BrevexOpenA(pHandle, "no such file.pdf", NULL) || !BREVEX_STATUS_IS_ERROR(BrevexGetErrorCode(pHandle)))
  {
    fprintf(stderr, "opened a missing file\n");
    nFailures++;
  }
  BrevexDestroyObject(pHandle);
  BrevexUnInitialize();
  return nFailures;
}
