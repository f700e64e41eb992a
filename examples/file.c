/* Makes one file smaller, and says what became of it: file IN OUT.
 *
 * Shows the order of calls, where options go, and how losses are reported: a save that succeeds may lack what
 * could not be read in the input.
 */
#include <brevex/brevex.h>
#include <inttypes.h>
#include <stdio.h>

static void PrintFailure(TBrevexHandle* pHandle, const char* szWhat)
{
  const char* szMessage = BrevexGetErrorMessageA(pHandle);
  fprintf(stderr, "%s: 0x%08" PRIX32 " %s\n", szWhat, BrevexGetErrorCode(pHandle),
          szMessage != NULL ? szMessage : "");
}

static void PrintLosses(TBrevexHandle* pHandle)
{
  for (int i = 0; i < BrevexGetReportCount(pHandle); ++i)
  {
    TBrevexReport report;
    report.nSize = sizeof report;
    if (!BrevexGetReport(pHandle, i, &report) || report.nConsequence != BREVEX_CONSEQUENCE_LOSS)
    {
      continue;
    }
    const char* szText = BrevexGetReportTextA(pHandle, i);
    fprintf(stderr, "lost: object %" PRId32 ", page %" PRId32 ": %s\n", report.nObject, report.nPage,
            szText != NULL ? szText : "");
  }
}

int main(int argc, char** argv)
{
  if (argc != 3)
  {
    fprintf(stderr, "usage: file IN OUT\n");
    return 2;
  }
  int nResult = 1;
  BrevexInitialize();
  TBrevexHandle* pHandle = BrevexCreateObject();
  BrevexSetProfile(pHandle, BREVEX_PROFILE_WEB); /* a profile first, */
  BrevexSetRecompressStreams(pHandle, 1);        /* single options after it */
  if (!BrevexOpenA(pHandle, argv[1], NULL))
  {
    PrintFailure(pHandle, argv[1]);
  }
  else if (!BrevexSaveAsA(pHandle, argv[2], NULL, NULL, BREVEX_PERMISSIONS_PLAIN))
  {
    PrintFailure(pHandle, argv[2]);
  }
  else
  {
    PrintLosses(pHandle);
    printf("%d pages\n", BrevexGetPageCount(pHandle));
    nResult = BrevexGetLossCount(pHandle) > 0;
  }
  BrevexDestroyObject(pHandle);
  BrevexUnInitialize();
  return nResult;
}
