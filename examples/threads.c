/* Makes all PDF files of a folder smaller on several threads: threads IN-FOLDER OUT-FOLDER. Each thread has a
 * handle of its own, which serves one file after the other; the threads share nothing but the list of names.
 */
#include <brevex/brevex.h>
#include <dirent.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#define THREADS 4
#define MAX_PATH 4096

typedef struct TWork
{
  const char* szInput;
  const char* szOutput;
  DIR* pFolder;
  pthread_mutex_t lock;
  int nDone;
  int nFailed;
} TWork;

static int IsPdf(const char* szName)
{
  const size_t nLength = strlen(szName);
  return nLength > 4 && strcmp(szName + nLength - 4, ".pdf") == 0;
}

/* The name of the next file; 0 when there is none left. */
static int TakeName(TWork* pWork, char* szName, size_t nSize)
{
  pthread_mutex_lock(&pWork->lock);
  const struct dirent* pEntry = readdir(pWork->pFolder);
  while (pEntry != NULL && !IsPdf(pEntry->d_name))
  {
    pEntry = readdir(pWork->pFolder);
  }
  const int bFound = pEntry != NULL;
  if (bFound)
  {
    snprintf(szName, nSize, "%s", pEntry->d_name);
  }
  pthread_mutex_unlock(&pWork->lock);
  return bFound;
}

static int Optimize(TBrevexHandle* pHandle, const TWork* pWork, const char* szName)
{
  char szInput[MAX_PATH];
  char szOutput[MAX_PATH];
  snprintf(szInput, sizeof szInput, "%s/%s", pWork->szInput, szName);
  snprintf(szOutput, sizeof szOutput, "%s/%s", pWork->szOutput, szName);
  const int bDone = BrevexOpenA(pHandle, szInput, NULL) &&
                    BrevexSaveAsA(pHandle, szOutput, NULL, NULL, BREVEX_PERMISSIONS_PLAIN);
  if (!bDone)
  {
    fprintf(stderr, "%s: 0x%08X\n", szInput, (unsigned)BrevexGetErrorCode(pHandle));
  }
  BrevexClose(pHandle);
  return bDone;
}

static void* Run(void* pArgument)
{
  TWork* pWork = pArgument;
  TBrevexHandle* pHandle = BrevexCreateObject();
  char szName[1024];
  BrevexSetProfile(pHandle, BREVEX_PROFILE_WEB);
  while (pHandle != NULL && TakeName(pWork, szName, sizeof szName))
  {
    const int bDone = Optimize(pHandle, pWork, szName);
    pthread_mutex_lock(&pWork->lock);
    pWork->nDone += bDone;
    pWork->nFailed += !bDone;
    pthread_mutex_unlock(&pWork->lock);
  }
  BrevexDestroyObject(pHandle);
  return NULL;
}

int main(int argc, char** argv)
{
  TWork work = {argc == 3 ? argv[1] : ".", argc == 3 ? argv[2] : ".", NULL, PTHREAD_MUTEX_INITIALIZER, 0, 0};
  work.pFolder = argc == 3 ? opendir(work.szInput) : NULL;
  if (work.pFolder == NULL)
  {
    fprintf(stderr, "usage: threads IN-FOLDER OUT-FOLDER\n");
    return 2;
  }
  BrevexInitialize();
  pthread_t threads[THREADS];
  int nThreads = 0;
  while (nThreads < THREADS && pthread_create(&threads[nThreads], NULL, Run, &work) == 0)
  {
    ++nThreads;
  }
  for (int i = 0; i < nThreads; ++i)
  {
    pthread_join(threads[i], NULL);
  }
  BrevexUnInitialize();
  closedir(work.pFolder);
  printf("%d done, %d failed\n", work.nDone, work.nFailed);
  return nThreads == 0 || work.nFailed > 0;
}
