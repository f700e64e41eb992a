/* Names every public function in C: the header has to compile as C11 and the library has to define them all.
 */

#include <brevex/brevex.h>

typedef void (*TFunction)(void);

#define NAME(function) (TFunction) function

static const TFunction g_functions[] = {
    NAME(BrevexInitialize),
    NAME(BrevexCreateObject),
    NAME(BrevexSetProfile),
    NAME(BrevexOpenA),
    NAME(BrevexSaveAsA),
    NAME(BrevexGetErrorCode),
    NAME(BrevexDestroyObject),
    NAME(BrevexUnInitialize),
    NAME(BrevexGetProductVersionA),
    NAME(BrevexGetProductVersionW),
    NAME(BrevexSetCMSEngineA),
    NAME(BrevexSetCMSEngineW),
    NAME(BrevexOpenW),
    NAME(BrevexOpenMemA),
    NAME(BrevexOpenMemW),
    NAME(BrevexOpenStreamA),
    NAME(BrevexOpenStreamW),
    NAME(BrevexClose),
    NAME(BrevexGetPageCount),
    NAME(BrevexGetInputEncryption),
    NAME(BrevexSaveAsW),
    NAME(BrevexSaveAsStreamA),
    NAME(BrevexSaveAsStreamW),
    NAME(BrevexSaveInMemory),
    NAME(BrevexGetPdf),
    NAME(BrevexGetErrorMessageA),
    NAME(BrevexGetErrorMessageW),
    NAME(BrevexSetInfoEntryA),
    NAME(BrevexSetInfoEntryW),
    NAME(BrevexGetInfoEntryA),
    NAME(BrevexGetInfoEntryW),
    NAME(BrevexSetVersionA),
    NAME(BrevexSetVersionW),
    NAME(BrevexSetMinimumVersion),
    NAME(BrevexGetReportCount),
    NAME(BrevexGetReport),
    NAME(BrevexGetReportTextA),
    NAME(BrevexGetReportTextW),
    NAME(BrevexGetLossCount),
    NAME(BrevexGetImageCount),
    NAME(BrevexGetImage),
    NAME(BrevexListImagesA),
    NAME(BrevexListImagesW),
    NAME(BrevexListFontsA),
    NAME(BrevexListFontsW),
    NAME(BrevexRenameFontA),
    NAME(BrevexRenameFontW),
    NAME(BrevexUnembedFontA),
    NAME(BrevexUnembedFontW),
    NAME(BrevexEmbedFontA),
    NAME(BrevexEmbedFontW),
#include "OptionNames.inc"
};

int main(void)
{
  for (size_t i = 0; i < sizeof(g_functions) / sizeof(g_functions[0]); i++)
  {
    if (g_functions[i] == NULL)
      return 1;
  }
  return 0;
}
