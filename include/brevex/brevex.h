/* Brevex: makes PDF files smaller and faster to open on the web.
 *
 * Copyright the Brevex authors. Licensed under the Apache License, Version 2.0.
 *
 * The C interface of libbrevex, for C11 and C++. The usual order of calls:
 *
 *   BrevexInitialize();
 *   TBrevexHandle* pHandle = BrevexCreateObject();
 *   BrevexSetProfile(pHandle, BREVEX_PROFILE_WEB);
 *   if (!BrevexOpenA(pHandle, "in.pdf", NULL) ||
 *       !BrevexSaveAsA(pHandle, "out.pdf", NULL, NULL, BREVEX_PERMISSIONS_PLAIN))
 *     fprintf(stderr, "failed: 0x%08X\n", BrevexGetErrorCode(pHandle));
 *   BrevexDestroyObject(pHandle);
 *   BrevexUnInitialize();
 *
 * Rules that hold for every function
 *
 * Handles. A handle belongs to one thread at a time; different handles may be used on different threads at
 * once. The functions without a handle may be called from any thread. A null handle makes a function do
 * nothing and return 0, 0.0 or a null pointer; BrevexGetErrorCode alone answers BREVEX_STATUS_FATAL.
 *
 * Booleans are int: 0 is false, results are 0 or 1, any other argument than 0 is true.
 *
 * Text. A function whose name ends in A takes and returns bytes ended by a 0 byte, in the multibyte encoding
 * of the process's locale (setlocale); a text that the locale cannot express becomes empty. A function whose
 * name ends in W takes and returns UTF-16 in the byte order of the host, ended by a 0 unit. File names reach
 * the system as bytes: the A form passes them unchanged, the W form converts them to the locale.
 *
 * Passwords. The A form takes PDFDocEncoding (ISO 32000-1, Annex D.2), which is Latin-1 but for a few places,
 * or UTF-8 after the bytes EF BB BF, whatever the locale; to open a document, UTF-8 without them will do. A
 * null password is an empty one. Ciphers of up to 128 bits use the first 32 bytes of a password, AES-256 the
 * first 127 of its UTF-8, which is normalized first (RFC 4013).
 *
 * Text results belong to the library: all functions that return text of a handle share one buffer of that
 * handle, so a result holds until the next such call on the handle, or until the handle is destroyed. Never
 * free it.
 *
 * Errors. Functions that open, save or close answer false on failure and leave a status code, read with
 * BrevexGetErrorCode. Option functions neither report nor clear it. No function throws or ends the process.
 *
 * All functions are there since version 6.27.
 */
#ifndef BREVEX_BREVEX_H
#define BREVEX_BREVEX_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define BREVEX_API __attribute__((visibility("default")))
#else
#define BREVEX_API
#endif

#ifdef __cplusplus
extern "C"
{
#endif

/* ---- Types
 * ------------------------------------------------------------------------------------------------- */

/* One optimizer with its options, its open document and its last error. Made by BrevexCreateObject. */
typedef struct TBrevexHandle TBrevexHandle;

/* A UTF-16 unit. */
#ifdef __cplusplus
typedef char16_t TBrevexChar;
#else
typedef uint16_t TBrevexChar;
#endif

/* A block of bytes owned by the library. */
typedef struct TByteBuffer
{
  unsigned char* pData; /* the bytes; null when there are none */
  uint64_t nSize;       /* number of valid bytes */
  uint64_t nCapacity;   /* number of allocated bytes */
} TByteBuffer;

/* A stream of the caller: callbacks that all take the field handle as their first argument. Callbacks run on
 * the thread that made the call which uses the stream. An input needs pfRead, and random access: pfGetLength,
 * pfSeek and pfTell. An output needs pfWrite. Unused fields are null. The library copies the table.
 */
typedef struct TBrevexStreamDescriptor
{
  /* Total length in bytes, -1 when it is unknown. */
  int64_t (*pfGetLength)(void* handle);
  /* Moves to a position in bytes from the start. 1 on success, anything else is a failure. */
  int (*pfSeek)(void* handle, int64_t nPosition);
  /* Present position in bytes from the start. */
  int64_t (*pfTell)(void* handle);
  /* Reads up to nSize bytes. Number of bytes delivered, 0 at the end, -1 on failure. */
  int64_t (*pfRead)(void* handle, void* pBuffer, size_t nSize);
  /* Writes nSize bytes. Number of bytes taken, -1 on failure. */
  int64_t (*pfWrite)(void* handle, const void* pBuffer, size_t nSize);
  /* Called exactly once, when the library no longer needs the stream. */
  void (*pfRelease)(void* handle);
  /* First argument of every callback; the library never looks into it. */
  void* handle;
} TBrevexStreamDescriptor;

/* ---- Constants
 * --------------------------------------------------------------------------------------------- */

/* Profiles of BrevexSetProfile. */
enum TBrevexProfile
{
  BREVEX_PROFILE_NONE = 0,         /* plain copy: every option at its default */
  BREVEX_PROFILE_WEB = 1,          /* for reading on screen over a network */
  BREVEX_PROFILE_PRINT = 2,        /* for printing: CMYK, images kept at full resolution */
  BREVEX_PROFILE_MAX = 3,          /* smallest file */
  BREVEX_PROFILE_MRC = 4,          /* scanned pages split into mixed raster content layers */
  BREVEX_PROFILE_ARCHIVE = 5,      /* for archives: keeps colours and resolution */
  BREVEX_PROFILE_MERGE_FONTS = 128 /* merges fonts and embedded font programs, nothing else */
};

/* Compressions, for calls that take one type. */
enum TBrevexCompression
{
  BREVEX_COMPRESSION_RAW = 0,          /* stored without a filter */
  BREVEX_COMPRESSION_JPEG = 1,         /* DCTDecode */
  BREVEX_COMPRESSION_FLATE = 2,        /* FlateDecode */
  BREVEX_COMPRESSION_LZW = 3,          /* LZWDecode */
  BREVEX_COMPRESSION_GROUP3_1D = 4,    /* CCITTFaxDecode, one-dimensional */
  BREVEX_COMPRESSION_GROUP3 = 5,       /* CCITTFaxDecode, Group 3 */
  BREVEX_COMPRESSION_GROUP4 = 6,       /* CCITTFaxDecode, Group 4 */
  BREVEX_COMPRESSION_JBIG2 = 7,        /* JBIG2Decode */
  BREVEX_COMPRESSION_JPEG2000 = 8,     /* JPXDecode */
  BREVEX_COMPRESSION_MRC = 9,          /* mixed raster content, see BrevexSetContinuousCompressions */
  BREVEX_COMPRESSION_UNSPECIFIED = 10, /* no compression chosen */
  BREVEX_COMPRESSION_INVALID = 11
};

/* Compressions, for calls that take a set. */
enum TBrevexCompressionFlag
{
  BREVEX_COMPRESSION_FLAG_RAW = 0x001,
  BREVEX_COMPRESSION_FLAG_JPEG = 0x002,
  BREVEX_COMPRESSION_FLAG_FLATE = 0x004,
  BREVEX_COMPRESSION_FLAG_LZW = 0x008,
  BREVEX_COMPRESSION_FLAG_GROUP3_1D = 0x010,
  BREVEX_COMPRESSION_FLAG_GROUP3 = 0x020,
  BREVEX_COMPRESSION_FLAG_GROUP4 = 0x040,
  BREVEX_COMPRESSION_FLAG_JBIG2 = 0x080,
  BREVEX_COMPRESSION_FLAG_JPEG2000 = 0x100,
  BREVEX_COMPRESSION_FLAG_MRC = 0x200,
  BREVEX_COMPRESSION_FLAG_KEEP = 0x400 /* the compression that the image has already */
};

/* Colour conversions of BrevexSetColorConversion. */
enum TBrevexColorConversion
{
  BREVEX_COLOR_CONVERSION_NONE = 0,
  BREVEX_COLOR_CONVERSION_RGB = 1,
  BREVEX_COLOR_CONVERSION_CMYK = 2,
  BREVEX_COLOR_CONVERSION_GRAY = 3
};

/* Features that BrevexSetStrip removes. */
enum TBrevexStrip
{
  eStripThreads = 0x001,       /* article threads */
  eStripMetadata = 0x002,      /* metadata */
  eStripPieceInfo = 0x004,     /* private data of other programs (page piece dictionaries) */
  eStripStructure = 0x008,     /* logical structure and tags */
  eStripThumbnails = 0x010,    /* page thumbnails */
  eStripSpider = 0x020,        /* web capture data */
  eStripAlternates = 0x040,    /* alternate images */
  eStripForms = 0x080,         /* the interactive form; its fields are drawn into the pages */
  eStripLinks = 0x100,         /* links; what they show is drawn into the pages */
  eStripAnnots = 0x200,        /* other annotations; what they show is drawn into the pages */
  eStripOutputIntents = 0x400, /* output intents */
  eStripHiddenAnnots = 0x800   /* annotations that are not visible */
};

/* Permissions of the save functions: a sum of the flags, or one of the two negative values. */
enum TBrevexPermission
{
  BREVEX_PERMISSIONS_PLAIN = -1,    /* no encryption; with a password: encrypted, everything allowed */
  BREVEX_PERMISSIONS_AS_INPUT = -2, /* the encryption parameters of the input */
  BREVEX_PERMIT_PRINT = 0x004,
  BREVEX_PERMIT_MODIFY = 0x008,
  BREVEX_PERMIT_COPY = 0x010,
  BREVEX_PERMIT_ANNOTATE = 0x020,
  BREVEX_PERMIT_FILL_FORMS = 0x100,
  BREVEX_PERMIT_ACCESSIBILITY = 0x200,
  BREVEX_PERMIT_ASSEMBLE = 0x400,
  BREVEX_PERMIT_DIGITAL_PRINT = 0x800, /* printing at full quality */
  BREVEX_PERMIT_ALL = 0xF3C
};

/* Ciphers of an encrypted output, for BrevexSetOutputCipher. */
enum TBrevexCipher
{
  BREVEX_CIPHER_UNSPECIFIED = 0, /* what a save writes without a choice: RC4 with 128 bits, unless its
                                    permissions are BREVEX_PERMISSIONS_AS_INPUT */
  BREVEX_CIPHER_RC4_128 = 1,     /* broken; for readers that know nothing else. PDF 1.4 */
  BREVEX_CIPHER_AES_128 = 2,     /* PDF 1.6 */
  BREVEX_CIPHER_AES_256 = 3,     /* handler revision 6. PDF 2.0 */
  BREVEX_CIPHER_AS_INPUT = 4     /* those of the input */
};

/* How an open document is encrypted, from BrevexGetInputEncryption. */
typedef struct TBrevexEncryption
{
  int nRevision;       /* of the password handler, 2 to 6 */
  int nKeyLength;      /* in bits */
  int nStreamCipher;   /* each of TBrevexCipher: BREVEX_CIPHER_RC4_128 with any length of the key, */
  int nStringCipher;   /* BREVEX_CIPHER_UNSPECIFIED for data that are not encrypted */
  int nEmbeddedCipher; /* of embedded files */
  int nPermissions;    /* a sum of TBrevexPermission, and bits without a meaning */
  int bOwner;          /* the password of the open is the owner's; else it is the user's */
} TBrevexEncryption;

/* When a report was made. */
enum TBrevexStep
{
  BREVEX_STEP_OPEN = 1,
  BREVEX_STEP_SAVE = 2,
  BREVEX_STEP_LIST = 3
};

/* How grave a status code is, whatever it meant for the result. */
enum TBrevexSeverity
{
  BREVEX_SEVERITY_INFORMATION = 0,
  BREVEX_SEVERITY_WARNING = 1,
  BREVEX_SEVERITY_ERROR = 2
};

/* What a report means for the result. */
enum TBrevexConsequence
{
  BREVEX_CONSEQUENCE_NONE = 0, /* nothing is missing: damage that was found again whole, a remark */
  BREVEX_CONSEQUENCE_LOSS = 1, /* something of the input that could not be read is missing in the output */
  BREVEX_CONSEQUENCE_END = 2   /* the reason for which an operation, or an optional part of it, gave up */
};

/* One report of the last open, save or listing, from BrevexGetReport. Later versions may add members at the
 * end. */
typedef struct TBrevexReport
{
  uint32_t nSize;    /* bytes of the record: set by the caller to sizeof(TBrevexReport), then by the library
                        to the bytes that it has filled */
  uint32_t nCode;    /* status code */
  int32_t nStep;     /* of TBrevexStep */
  int32_t nSeverity; /* of TBrevexSeverity */
  int32_t nConsequence; /* of TBrevexConsequence */
  int32_t nObject;      /* number of the object in the input, 0 for none */
  int32_t nPage;        /* page of the input, from 1; 0 for none */
  uint32_t nCount;      /* how often it was reported, from 1 */
} TBrevexReport;

/* What an image is to the sets of compressions. */
enum TBrevexImageClass
{
  BREVEX_IMAGE_CLASS_UNKNOWN = 0, /* not looked at, or none of the others */
  BREVEX_IMAGE_CLASS_BITONAL = 1,
  BREVEX_IMAGE_CLASS_CONTINUOUS = 2,
  BREVEX_IMAGE_CLASS_INDEXED = 3
};

/* Why an image has become what it is. */
enum TBrevexImageOutcome
{
  BREVEX_IMAGE_NOT_TRIED = 0,  /* no option that is on concerns it */
  BREVEX_IMAGE_KEPT_AS_IS = 1, /* drawn by annotations or glyph procedures, or by content that is damaged */
  BREVEX_IMAGE_NOT_READ = 2,   /* damaged, of an unusual form, or out of all proportion to the file */
  BREVEX_IMAGE_SMALLEST = 3,   /* it stayed: nothing that was tried is shorter */
  BREVEX_IMAGE_REPLACED = 4    /* by the shortest of what was tried, or of what the options force */
};

/* What has been done to the samples of an image that was replaced; a sum. */
enum TBrevexImageChange
{
  BREVEX_IMAGE_RESAMPLED = 1,  /* has a lower resolution */
  BREVEX_IMAGE_CONVERTED = 2,  /* has colours of another space */
  BREVEX_IMAGE_SIMPLIFIED = 4, /* has a form for fewer colours, and looks the same: no loss */
  BREVEX_IMAGE_LOSSY = 8       /* has a lossy compression, JPEG or JPEG 2000, that it was given now */
};

/* Number of candidates in TBrevexImage, by TBrevexCompression from RAW to JPEG2000. */
#define BREVEX_IMAGE_CANDIDATES 9

/* What the last save has made of one image, from BrevexGetImage. Later versions may add members at the end.
 */
typedef struct TBrevexImage
{
  uint32_t nSize;       /* bytes of the record, as in TBrevexReport */
  int32_t nObject;      /* number of the object in the input */
  int32_t nPage;        /* page of the first use, from 1; 0 for unknown */
  int32_t nClass;       /* of TBrevexImageClass */
  int32_t nOutcome;     /* of TBrevexImageOutcome */
  uint32_t nChanges;    /* of TBrevexImageChange */
  int32_t nWidthBefore; /* in samples, as the dictionary has them */
  int32_t nHeightBefore;
  int32_t nWidthAfter;
  int32_t nHeightAfter;
  int32_t
      nCompressionBefore; /* TBrevexCompression of its last filter; UNSPECIFIED for one without a number */
  int32_t nCompressionAfter;
  float dResolutionX; /* of the input, the lowest of all uses in dots per inch; 0 for unknown */
  float dResolutionY;
  int64_t nBytesBefore;                         /* of the stream in the input */
  int64_t nBytesAfter;                          /* -1 for data that was encoded only when it was written */
  int64_t aCandidates[BREVEX_IMAGE_CANDIDATES]; /* bytes of what was tried; -1 for what was not, or was
                                                   given up on once it was clearly longer than the best. Of
                                                   the options that change no sample (Recode,
                                                   RecompressStreams) only what won is told */
} TBrevexImage;

/* Status codes that callers meet most often. There are more; BrevexGetErrorMessageA gives their texts.
 * 1 to 32767 are errno values. Otherwise bit 31 marks an error, and bit 15 a warning where bit 31 is clear.
 */
#define BREVEX_STATUS_SUCCESS 0x00000000u
#define BREVEX_STATUS_REPAIRED 0x00418114u          /* the file is damaged and was repaired on opening */
#define BREVEX_STATUS_INVALID_OPERATION 0x80300051u /* for example a save without an open document */
#define BREVEX_STATUS_READ_FAILED 0x80300060u       /* reading from a stream failed */
#define BREVEX_STATUS_WRITE_FAILED 0x80300061u      /* writing to a stream failed */
#define BREVEX_STATUS_SEEK_FAILED 0x80300062u       /* a stream could not be positioned */
#define BREVEX_STATUS_OUT_OF_MEMORY 0x80308001u     /* memory is exhausted */
#define BREVEX_STATUS_FATAL 0x8030FFFFu             /* unknown failure, or a null handle */
#define BREVEX_STATUS_OPEN_FAILED 0x80410101u       /* the file could not be opened */
#define BREVEX_STATUS_CREATE_FAILED 0x80410102u     /* the file could not be created */
#define BREVEX_STATUS_NO_HEADER 0x80410104u         /* not a PDF file */
#define BREVEX_STATUS_NO_END 0x80410108u            /* the end-of-file marker is missing */
#define BREVEX_STATUS_NO_XREF 0x8041010Au           /* the position of the cross-reference table is missing */
#define BREVEX_STATUS_BAD_XREF 0x8041010Bu          /* the cross-reference table is damaged */
#define BREVEX_STATUS_NO_TRAILER 0x8041010Eu        /* the trailer is missing or invalid */
#define BREVEX_STATUS_NO_ROOT 0x8041010Fu           /* the document catalogue is missing */
#define BREVEX_STATUS_WRONG_PASSWORD 0x80410112u    /* encrypted, and the password does not open it */
#define BREVEX_STATUS_CORRUPT 0x80410113u           /* damaged beyond repair */
#define BREVEX_STATUS_UNKNOWN_SECURITY 0x80410118u  /* encrypted by a handler that is not supported */
#define BREVEX_STATUS_UNKNOWN_ENCRYPTION 0x80410119u /* encrypted by an algorithm that is not supported */
#define BREVEX_STATUS_BAD_ENCRYPTION 0x8041011Cu     /* the encryption parameters do not fit together */
#define BREVEX_STATUS_NO_PAGES 0x80410408u           /* the document has no pages */
#define BREVEX_STATUS_LINEARIZE_FAILED 0x83410544u   /* the file could not be linearized */
#define BREVEX_STATUS_BAD_COMPLIANCE 0x83410546u     /* the chosen version does not fit the PDF/A claim */
#define BREVEX_STATUS_ENCRYPTED_ARCHIVE 0x0341860Du  /* a PDF/A file must not be encrypted */

/* True for codes that mean failure, false for success, information and warnings. */
#define BREVEX_STATUS_IS_ERROR(nCode) ((0x80000000u & (nCode)) != 0 || ((nCode) > 0 && (nCode) <= 32767))

/* ---- Library
 * ----------------------------------------------------------------------------------------------- */

/* Starts the library. Calls are counted: each needs its BrevexUnInitialize. Any thread. */
BREVEX_API void BrevexInitialize(void);

/* Takes one start back; the last one ends the library. No handle may be alive then. Any thread. */
BREVEX_API void BrevexUnInitialize(void);

/* The version of the library, "6.27.17.0"; empty before BrevexInitialize. The text lives as long as the
 * process. Any thread.
 */
BREVEX_API const char* BrevexGetProductVersionA(void);
BREVEX_API const TBrevexChar* BrevexGetProductVersionW(void);

/* Chooses the colour management of all documents that any handle opens from then on: "lcms" (also "msicm"),
 * "none" for plain formulas, "neugebauer" for formulas with a built-in table of primaries, or the path of a
 * file with such a table (16 lines of three numbers). Any other text, and an empty one, mean "lcms" where it
 * is available. At most 1023 bytes. True when the text was stored, false for a null pointer. Any thread.
 */
BREVEX_API int BrevexSetCMSEngineA(const char* szEngine);
BREVEX_API int BrevexSetCMSEngineW(const TBrevexChar* szEngine);

/* ---- Handle
 * ------------------------------------------------------------------------------------------------ */

/* A new optimizer with the options of BREVEX_PROFILE_NONE and no document. Null when memory is exhausted.
 * Freed by BrevexDestroyObject.
 */
BREVEX_API TBrevexHandle* BrevexCreateObject(void);

/* Closes an open document, frees the handle, the texts and the buffer it has handed out. */
BREVEX_API void BrevexDestroyObject(TBrevexHandle* pHandle);

/* ---- Opening and closing
 * ----------------------------------------------------------------------------------- */

/* Opens the PDF file of this name for reading. A document that was open is closed first, even if the new one
 * cannot be opened. A damaged file is repaired where possible: the result is true, and BrevexGetErrorCode may
 * tell what was found. The file must not change while it is open. Failures: an errno value or
 * BREVEX_STATUS_OPEN_FAILED, BREVEX_STATUS_NO_HEADER and the other codes of the file's structure,
 * BREVEX_STATUS_WRONG_PASSWORD, BREVEX_STATUS_UNKNOWN_SECURITY, BREVEX_STATUS_UNKNOWN_ENCRYPTION.
 */
BREVEX_API int BrevexOpenA(TBrevexHandle* pHandle, const char* szFileName, const char* szPassword);
BREVEX_API int BrevexOpenW(TBrevexHandle* pHandle, const TBrevexChar* szFileName,
                           const TBrevexChar* szPassword);

/* Opens nLength bytes of memory as a PDF file. The bytes are copied, so the caller's memory may be freed at
 * once. Otherwise as BrevexOpenA.
 */
BREVEX_API int BrevexOpenMemA(TBrevexHandle* pHandle, const void* pBytes, uint64_t nLength,
                              const char* szPassword);
BREVEX_API int BrevexOpenMemW(TBrevexHandle* pHandle, const void* pBytes, uint64_t nLength,
                              const TBrevexChar* szPassword);

/* Opens a stream of the caller. Drops a result of BrevexSaveInMemory that has not been fetched. Otherwise as
 * BrevexOpenA.
 */
BREVEX_API int BrevexOpenStreamA(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                                 const char* szPassword);
BREVEX_API int BrevexOpenStreamW(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                                 const TBrevexChar* szPassword);

/* Whether the next open also takes files that have no header, no trailer, or no catalogue in their trailer,
 * if a catalogue or pages are found in them. A catalogue that is assumed for pages is reported as a loss by
 * the save. Off at the start; profiles leave it alone.
 */
BREVEX_API int BrevexGetLenientOpening(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetLenientOpening(TBrevexHandle* pHandle, int bValue);

/* Closes the open document; true also when none is open. A result of BrevexSaveInMemory stays. */
BREVEX_API int BrevexClose(TBrevexHandle* pHandle);

/* Number of pages of the open document, 0 without one. Leaves the error code alone. */
BREVEX_API int BrevexGetPageCount(TBrevexHandle* pHandle);

/* Tells how the open document is encrypted. False, and nothing changes, without a document, for one that is
 * not encrypted and for a null pointer. Leaves the error code alone. An addition.
 */
BREVEX_API int BrevexGetInputEncryption(TBrevexHandle* pHandle, TBrevexEncryption* pEncryption);

/* ---- Saving
 * ------------------------------------------------------------------------------------------------ */

/* Optimizes the open document into a file, which is created (mode 0664 under the umask) or truncated. The
 * file that the document is read from is refused, by whatever name, with BREVEX_STATUS_INVALID_OPERATION.
 * After a failure the file stays as far as it was written. The file is encrypted (128 bits) if a password is
 * given or the permissions are other than BREVEX_PERMISSIONS_PLAIN and BREVEX_PERMISSIONS_AS_INPUT. The user
 * password opens the file, the owner password lifts the permissions. Permissions are of TBrevexPermission;
 * BREVEX_PERMISSIONS_AS_INPUT takes permissions and ciphers from the input, but not its passwords, and leaves
 * the output of a plain input plain. BrevexSetOutputCipher chooses better ciphers. A document may be saved
 * again; it is analysed only once, so options that are set after the first save may remain without effect
 * until the document is opened again. Failures: BREVEX_STATUS_INVALID_OPERATION without an open document, an
 * errno value or BREVEX_STATUS_CREATE_FAILED for the target, BREVEX_STATUS_WRITE_FAILED,
 * BREVEX_STATUS_READ_FAILED, BREVEX_STATUS_NO_PAGES where no page of the input can be read,
 * BREVEX_STATUS_CORRUPT where the input asks for work out of all proportion, BREVEX_STATUS_BAD_ENCRYPTION,
 * BREVEX_STATUS_ENCRYPTED_ARCHIVE, BREVEX_STATUS_BAD_COMPLIANCE, BREVEX_STATUS_OUT_OF_MEMORY,
 * BREVEX_STATUS_FATAL.
 */
BREVEX_API int BrevexSaveAsA(TBrevexHandle* pHandle, const char* szFileName, const char* szUserPassword,
                             const char* szOwnerPassword, int nPermissions);
BREVEX_API int BrevexSaveAsW(TBrevexHandle* pHandle, const TBrevexChar* szFileName,
                             const TBrevexChar* szUserPassword, const TBrevexChar* szOwnerPassword,
                             int nPermissions);

/* The ciphers that the following saves encrypt with, of TBrevexCipher; other values are ignored. An addition
 * to what the save functions choose by themselves, which stays as it is without a call; it makes no save
 * encrypt. The version of the output is raised to the one that knows the cipher. With BREVEX_CIPHER_AS_INPUT
 * a save without passwords and with BREVEX_PERMISSIONS_AS_INPUT keeps the input's passwords too: the output
 * opens with all that open the input, also where the document claims PDF/A; a save with passwords or
 * permissions of its own takes the ciphers alone, and where the input is plain those of
 * BREVEX_CIPHER_UNSPECIFIED. Default BREVEX_CIPHER_UNSPECIFIED; profiles leave it alone.
 */
BREVEX_API int BrevexGetOutputCipher(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetOutputCipher(TBrevexHandle* pHandle, int nCipher);

/* Optimizes the open document into a stream of the caller. Otherwise as BrevexSaveAsA. */
BREVEX_API int BrevexSaveAsStreamA(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                                   const char* szUserPassword, const char* szOwnerPassword, int nPermissions);
BREVEX_API int BrevexSaveAsStreamW(TBrevexHandle* pHandle, const TBrevexStreamDescriptor* pStream,
                                   const TBrevexChar* szUserPassword, const TBrevexChar* szOwnerPassword,
                                   int nPermissions);

/* Optimizes the open document into memory, without encryption; BrevexGetPdf fetches the result. Otherwise as
 * BrevexSaveAsA.
 */
BREVEX_API int BrevexSaveInMemory(TBrevexHandle* pHandle);

/* The bytes of the last BrevexSaveInMemory, once: a second call answers null, as does a call when nothing was
 * saved to memory or when BrevexOpenStreamA, BrevexSaveAsA or their relatives came in between. Works after
 * BrevexClose too. The library owns the buffer; it holds until the next successful BrevexGetPdf or the end of
 * the handle.
 */
BREVEX_API const TByteBuffer* BrevexGetPdf(TBrevexHandle* pHandle);

/* ---- Errors
 * ------------------------------------------------------------------------------------------------ */

/* The status code of the last report, a warning after an error included; after a failed open or save, the
 * code of what ended it. Cleared by every open, save and close and by BrevexGetPdf. A null handle answers
 * BREVEX_STATUS_FATAL.
 */
BREVEX_API uint32_t BrevexGetErrorCode(TBrevexHandle* pHandle);

/* The English text of that code. Null for a code without a text, and for a text that could not be completed.
 */
BREVEX_API const char* BrevexGetErrorMessageA(TBrevexHandle* pHandle);
BREVEX_API const TBrevexChar* BrevexGetErrorMessageW(TBrevexHandle* pHandle);

/* ---- Reports
 * ---------------------------------------------------------------------------------------------- */

/* The status code of the last report cannot tell what has become of a document: later reports hide earlier
 * ones, and the same code stands for damage with and without a loss. So the reports of the last open and of
 * the last save or listing after it are kept, in the order in which they were met, equal ones as one with a
 * count, and a loss or an end in place of the remark that it follows from. At most 1,000 are kept; losses
 * find room before remarks do. They can be read until the next open, those of a save or listing until the
 * next one, also after BrevexClose. No query adds any, and none of these calls changes the error code.
 */

/* Number of reports that are kept. */
BREVEX_API int BrevexGetReportCount(TBrevexHandle* pHandle);

/* Fills the record with a report, from 0. False for an index out of range, for a null record, and for one
 * whose nSize leaves no room.
 */
BREVEX_API int BrevexGetReport(TBrevexHandle* pHandle, int nIndex, TBrevexReport* pReport);

/* The English text of a report, with its details filled in. Null for an index out of range, and for a code
 * without a text.
 */
BREVEX_API const char* BrevexGetReportTextA(TBrevexHandle* pHandle, int nIndex);
BREVEX_API const TBrevexChar* BrevexGetReportTextW(TBrevexHandle* pHandle, int nIndex);

/* How many losses the last open and the last save or listing met, those included that found no room among the
 * reports. 0 after a successful save: all that the options keep is in the output.
 */
BREVEX_API uint64_t BrevexGetLossCount(TBrevexHandle* pHandle);

/* ---- Images of a save
 * --------------------------------------------------------------------------------------- */

/* An addition of this library: what the last save has made of the images that it copied, masks included, in
 * the order in which they were copied, each once. There are none before a save, after BrevexClose, and where
 * no option works on streams. Neither call changes the error code.
 */
BREVEX_API int BrevexGetImageCount(TBrevexHandle* pHandle);

/* Fills the record with an image, from 0. False for an index out of range, for a null record, and for one
 * whose nSize leaves no room.
 */
BREVEX_API int BrevexGetImage(TBrevexHandle* pHandle, int nIndex, TBrevexImage* pImage);

/* ---- Document information
 * ---------------------------------------------------------------------------------- */

/* Sets an entry of the document information ("Title", "Author", ...) for all later saves of the handle,
 * replacing an earlier value. False, and nothing changes, when key or value is null. Leaves the error code
 * alone.
 */
BREVEX_API int BrevexSetInfoEntryA(TBrevexHandle* pHandle, const char* szKey, const char* szValue);
BREVEX_API int BrevexSetInfoEntryW(TBrevexHandle* pHandle, const TBrevexChar* szKey,
                                   const TBrevexChar* szValue);

/* The value set by BrevexSetInfoEntryA under this key, else that of the open document. Null when there is
 * none. Leaves the error code alone.
 */
BREVEX_API const char* BrevexGetInfoEntryA(TBrevexHandle* pHandle, const char* szKey);
BREVEX_API const TBrevexChar* BrevexGetInfoEntryW(TBrevexHandle* pHandle, const TBrevexChar* szKey);

/* Sets the PDF version of the output, "1.7" for example; text after the second number is ignored. Takes
 * effect at the next open, so it comes before BrevexOpenA and its relatives. False, and nothing changes, for
 * a text that is not two numbers with a point between.
 */
BREVEX_API int BrevexSetVersionA(TBrevexHandle* pHandle, const char* szVersion);
BREVEX_API int BrevexSetVersionW(TBrevexHandle* pHandle, const TBrevexChar* szVersion);

/* An addition of this library: sets a lower bound for the PDF version of the output in place of a version, so
 * that a document of a higher version keeps its own. A document that claims PDF/A keeps its version where the
 * claim does not allow the bound: PDF/A-1 is never raised, PDF/A-2 and PDF/A-3 not above 1.7. The bound 1.0
 * leaves every document its version. It replaces what was set with BrevexSetVersionA and what the setters of
 * compression sets asked for, and takes effect at the next open. False, and nothing changes, unless nMajor is
 * 1 or 2 and nMinor is 0 to 9.
 */
BREVEX_API int BrevexSetMinimumVersion(TBrevexHandle* pHandle, int nMajor, int nMinor);

/* ---- Profile
 * ----------------------------------------------------------------------------------------------- */

/* Sets all options below to their defaults, except BrevexSetExtractImages and BrevexSetExtractFonts, and then
 * those of the profile (TBrevexProfile; a number without a profile adds nothing). The profile comes first,
 * single options after it. The target version is not touched.
 */
BREVEX_API void BrevexSetProfile(TBrevexHandle* pHandle, unsigned nProfile);

/* ---- Image resolution
 * -------------------------------------------------------------------------------------- */

/* Images at or above a threshold are downsampled to a resolution, and never
 * enlarged. All in dots per inch as it is placed on its page; kept as given in 32-bit precision. With a
 * negative threshold, the default, there is no downsampling; 0 downsamples all that is above the resolution.
 */

/* Bitonal images (one bit per sample). Defaults: resolution 200, threshold -1. */
BREVEX_API float BrevexGetBitonalResolutionDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetBitonalResolutionDPI(TBrevexHandle* pHandle, float dValue);
BREVEX_API float BrevexGetBitonalThresholdDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetBitonalThresholdDPI(TBrevexHandle* pHandle, float dValue);

/* Images with one colour channel. Defaults: resolution 150, threshold -1. */
BREVEX_API float BrevexGetMonochromeResolutionDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMonochromeResolutionDPI(TBrevexHandle* pHandle, float dValue);
BREVEX_API float BrevexGetMonochromeThresholdDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMonochromeThresholdDPI(TBrevexHandle* pHandle, float dValue);

/* Images with several colour channels. Defaults: resolution 150, threshold -1. */
BREVEX_API float BrevexGetColorResolutionDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetColorResolutionDPI(TBrevexHandle* pHandle, float dValue);
BREVEX_API float BrevexGetColorThresholdDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetColorThresholdDPI(TBrevexHandle* pHandle, float dValue);

/* All three kinds at once: the setter sets the bitonal, monochrome and colour value, the getter reads the
 * colour value.
 */
BREVEX_API float BrevexGetResolutionDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetResolutionDPI(TBrevexHandle* pHandle, float dValue);
BREVEX_API float BrevexGetThresholdDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetThresholdDPI(TBrevexHandle* pHandle, float dValue);

/* ---- Image compression
 * ------------------------------------------------------------------------------------- */

/* Quality of lossy compressions, 0 (small) to 100 (good); values outside are clamped. Default 75. */
BREVEX_API int BrevexGetImageQuality(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetImageQuality(TBrevexHandle* pHandle, int nValue);

/* The compressions to try for bitonal images, a set of TBrevexCompressionFlag; the smallest result wins. Kept
 * are RAW, FLATE, LZW, GROUP3_1D, GROUP4, JBIG2 and KEEP, others are dropped. With JBIG2 the target version
 * rises to 1.4, which the next open uses. Default 0: images stay as they are.
 */
BREVEX_API unsigned BrevexGetBitonalCompressions(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetBitonalCompressions(TBrevexHandle* pHandle, unsigned nFlags);

/* The same for images of continuous tone. Kept are RAW, JPEG, FLATE, JPEG2000, MRC and KEEP. With JPEG2000
 * the target version rises to 1.5. Default 0.
 */
BREVEX_API unsigned BrevexGetContinuousCompressions(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetContinuousCompressions(TBrevexHandle* pHandle, unsigned nFlags);

/* The same for images with a palette. Kept are RAW, FLATE, LZW and KEEP. Default 0. */
BREVEX_API unsigned BrevexGetIndexedCompressions(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetIndexedCompressions(TBrevexHandle* pHandle, unsigned nFlags);

/* One TBrevexCompression in place of the bitonal set; UNSPECIFIED and INVALID, and a compression that the set
 * does not keep, empty it. The getter answers the number of the lowest flag, and UNSPECIFIED for an empty set
 * or one with MRC or KEEP.
 */
BREVEX_API int BrevexGetBitonalCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetBitonalCompression(TBrevexHandle* pHandle, int nCompression);

/* The same for the continuous set, under two names for one value; MRC stands for JPEG here. */
BREVEX_API int BrevexGetMonochromeCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMonochromeCompression(TBrevexHandle* pHandle, int nCompression);
BREVEX_API int BrevexGetColorCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetColorCompression(TBrevexHandle* pHandle, int nCompression);

/* Whether images are compressed anew even if that makes them larger. Default false. */
BREVEX_API int BrevexGetForceRecompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetForceRecompression(TBrevexHandle* pHandle, int bValue);

/* Whether an image whose compression is not in the set of its kind gets one of the set even if that makes it
 * larger. Default false.
 */
BREVEX_API int BrevexGetForceCompressionTypes(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetForceCompressionTypes(TBrevexHandle* pHandle, int bValue);

/* Whether images that need no other change, such as downsampling, keep their compression untried. Default
 * false. */
BREVEX_API int BrevexGetImageStratConserv(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetImageStratConserv(TBrevexHandle* pHandle, int bValue);

/* ---- Images and colour
 * ------------------------------------------------------------------------------------- */

/* The device colour space to convert to, a TBrevexColorConversion. Default NONE. */
BREVEX_API int BrevexGetColorConversion(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetColorConversion(TBrevexHandle* pHandle, int nValue);

/* How images are reduced to one bit: 0 cuts at half brightness, 1 diffuses the error (Floyd-Steinberg). Other
 * values are ignored. Default 0.
 */
BREVEX_API int BrevexGetDitheringMode(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetDitheringMode(TBrevexHandle* pHandle, int nValue);

/* Whether parts of images that are never visible are cut away. Default false. */
BREVEX_API int BrevexGetClipImages(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetClipImages(TBrevexHandle* pHandle, int bValue);

/* Whether all images are removed. Default false. */
BREVEX_API int BrevexGetRemoveImages(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRemoveImages(TBrevexHandle* pHandle, int bValue);

/* Whether colours are stored in simpler colour spaces where they fit, such as gray for RGB images without
 * colour. Default false.
 */
BREVEX_API int BrevexGetReduceColorComplexity(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetReduceColorComplexity(TBrevexHandle* pHandle, int bValue);

/* ---- Mixed raster content
 * ---------------------------------------------------------------------------------- */

/* Scanned pages are split into a mask, a foreground and a background layer if the continuous set holds MRC.
 */

/* Compression of the mask: RAW or FLATE to JBIG2, other values are ignored. Default GROUP4. */
BREVEX_API int BrevexGetMrcMaskCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcMaskCompression(TBrevexHandle* pHandle, int nCompression);

/* Compression of the layers: RAW, JPEG, FLATE, LZW or JPEG2000, other values are ignored. Default JPEG2000.
 */
BREVEX_API int BrevexGetMrcLayerCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcLayerCompression(TBrevexHandle* pHandle, int nCompression);

/* Quality of the layers, 0 to 100. Kept as given. Default 20. */
BREVEX_API int BrevexGetMrcLayerQuality(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcLayerQuality(TBrevexHandle* pHandle, int nValue);

/* Resolution of the layers in dots per inch. Default 70. */
BREVEX_API float BrevexGetMrcLayerResolutionDPI(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcLayerResolutionDPI(TBrevexHandle* pHandle, float dValue);

/* Compression of pictures found on the page, as for the layers. Default JPEG. */
BREVEX_API int BrevexGetMrcPictCompression(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcPictCompression(TBrevexHandle* pHandle, int nCompression);

/* Whether pictures on the page are recognized and cut out. Default true. */
BREVEX_API int BrevexGetMrcRecognizePictures(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMrcRecognizePictures(TBrevexHandle* pHandle, int bValue);

/* ---- Features
 * ---------------------------------------------------------------------------------------------- */

/* The features to remove, a set of TBrevexStrip. Kept as given. Default 0. */
BREVEX_API unsigned BrevexGetStrip(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetStrip(TBrevexHandle* pHandle, unsigned nFlags);

/* Whether signature fields are removed and what they show is drawn into the pages. Default false. */
BREVEX_API int BrevexGetFlattenSignatureFields(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetFlattenSignatureFields(TBrevexHandle* pHandle, int bValue);

/* The same for signed fields alone: fields that wait for a signature stay. Off at the start, and in every
 * profile.
 */
BREVEX_API int BrevexGetFlattenSignedFields(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetFlattenSignedFields(TBrevexHandle* pHandle, int bValue);

/* ---- Fonts
 * ------------------------------------------------------------------------------------------------- */

/* Whether fonts that match one of the standard fonts are replaced by it, without an embedded program. Symbol
 * and ZapfDingbats stay as they are. Default false.
 */
BREVEX_API int BrevexGetRemoveStandardFonts(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRemoveStandardFonts(TBrevexHandle* pHandle, int bValue);

/* Without effect, for callers of old; the getter always answers false. */
BREVEX_API int BrevexGetRemoveNonSymbolicFonts(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRemoveNonSymbolicFonts(TBrevexHandle* pHandle, int bValue);

/* Whether embedded fonts are reduced to the glyphs that are used. Default false. */
BREVEX_API int BrevexGetSubsetFonts(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetSubsetFonts(TBrevexHandle* pHandle, int bValue);

/* Whether embedded programs of the same font are merged into one. Default false. */
BREVEX_API int BrevexGetMergeEmbeddedFonts(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMergeEmbeddedFonts(TBrevexHandle* pHandle, int bValue);

/* Whether Type 1 font programs are converted to the compact font format. Default false. */
BREVEX_API int BrevexGetConvertToCFF(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetConvertToCFF(TBrevexHandle* pHandle, int bValue);

/* Gives the fonts of this name another one, in their dictionaries. A name is that
 * of the font in the document without the prefix of a subset ("ABCDEF+"), compared as UTF-8, byte by byte. A
 * further request for the same name replaces the new name. Requests hold for all saves until the open
 * document is closed; one that is made before the first open is for that document. No profile touches them.
 * False, and nothing changes, for a null or empty name, a name of more than 256 bytes of UTF-8, a null or
 * empty new name, and a text that is not valid in its encoding. Leaves the error code alone. The first save
 * of the open document carries the requests out, and those that come later are for the next document. It
 * reports a name that is none of the document's fonts (0x80410781), and a dictionary that is no object of its
 * own and keeps its name (0x80410605), without failing.
 */
BREVEX_API int BrevexRenameFontA(TBrevexHandle* pHandle, const char* szName, const char* szNewName);
BREVEX_API int BrevexRenameFontW(TBrevexHandle* pHandle, const TBrevexChar* szName,
                                 const TBrevexChar* szNewName);

/* Takes the embedded programs of the fonts of this name out of the document, so that a reader shows a font of
 * its own in their place. "*" stands for all fonts. A simple font whose text is not known stays embedded,
 * which is reported if it was named (0x80410782). Otherwise as BrevexRenameFontA.
 */
BREVEX_API int BrevexUnembedFontA(TBrevexHandle* pHandle, const char* szName);
BREVEX_API int BrevexUnembedFontW(TBrevexHandle* pHandle, const TBrevexChar* szName);

/* Embeds a program in the fonts of this name that have none: the one of a file, or for a null or empty file
 * the one that is most like the font among those that the machine offers (docs/fonts.md). Text keeps its
 * place and its meaning. A font stays as it is, which the save reports with an error and without failing, if
 * no program is found (0x83410543), if it cannot be read whole (0x80410701), lacks a glyph that text shows
 * (0x83410531), or is not allowed to be embedded (0x80410780). Files are TrueType, OpenType, Type 1 and their
 * collections, and are read in the save. A further request for the same name replaces the file. An addition
 * of this library's interface. Otherwise as BrevexRenameFontA.
 */
BREVEX_API int BrevexEmbedFontA(TBrevexHandle* pHandle, const char* szName, const char* szFile);
BREVEX_API int BrevexEmbedFontW(TBrevexHandle* pHandle, const TBrevexChar* szName, const TBrevexChar* szFile);

/* ---- Objects and structure
 * --------------------------------------------------------------------------------- */

/* Whether equal objects are merged. Default false. */
BREVEX_API int BrevexGetRemoveRedundantObjects(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRemoveRedundantObjects(TBrevexHandle* pHandle, int bValue);

/* Whether pages and forms lose the resources that no content names. Read by the first save, or by a listing
 * before it. Default false. */
BREVEX_API int BrevexGetOptimizeResources(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetOptimizeResources(TBrevexHandle* pHandle, int bValue);

/* An addition of this library, off in every profile: whether equal objects of every kind are merged, content
 * streams, font programs, profiles and dictionaries among them, after those that RemoveRedundantObjects
 * finds. Objects stay apart that a reader can tell from one another in spite of equal contents, such as
 * pages, annotations, form fields, outline items, structure elements and layers. Read by the first save, or
 * listing, of an open document. Default false.
 */
BREVEX_API int BrevexGetMergeEqualObjects(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetMergeEqualObjects(TBrevexHandle* pHandle, int bValue);

/* An addition of this library, off in every profile: whether streams without an image codec are encoded anew
 * with FlateDecode where that makes them smaller, with a predictor or without. Streams that are damaged stay
 * as they are, and so does metadata that is not compressed. Default false.
 */
BREVEX_API int BrevexGetRecompressStreams(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRecompressStreams(TBrevexHandle* pHandle, int bValue);

/* How hard RecompressStreams tries, 1 (fast) to 9 (small); values outside are clamped. Default 6. */
BREVEX_API int BrevexGetEffort(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetEffort(TBrevexHandle* pHandle, int nValue);

/* An addition of this library, off in every profile: whether JPEG images are coded anew from the same
 * coefficients, with Huffman tables of their own, in one scan or in progressive ones, where that makes them
 * smaller. No sample changes. Of the application markers those that say something of the colours are kept.
 * Damaged and very large images stay as they are. Default false.
 */
BREVEX_API int BrevexGetRecodeJPEG(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRecodeJPEG(TBrevexHandle* pHandle, int bValue);

/* An addition of this library, off in every profile: whether images of one bit a sample that are encoded
 * without loss, fax images among them, are encoded anew as JBIG2 (from PDF 1.4 on) or Group 4, where that
 * makes them smaller. No sample changes. Damaged and incomplete images stay as they are. Default false.
 */
BREVEX_API int BrevexGetRecodeBitonal(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRecodeBitonal(TBrevexHandle* pHandle, int bValue);

/* An addition of this library, off in every profile: whether images with Flate, LZW and the like are encoded
 * anew with a predictor for each row (at efforts from 5 on) and in a shorter form of the same colours, where
 * that makes them smaller: fewer bits a sample, gray in place of RGB, a table in place of colours. A soft
 * mask that hides nothing goes. No pixel changes when it is decoded. Damaged and incomplete images stay as
 * they are. Default false.
 */
BREVEX_API int BrevexGetRecodeSamples(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetRecodeSamples(TBrevexHandle* pHandle, int bValue);

/* Whether the output is linearized, for fast first display over a network. Default false. */
BREVEX_API int BrevexGetLinearize(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetLinearize(TBrevexHandle* pHandle, int bValue);

/* Whether the output is linearized unless that would enlarge it much. Default false. */
BREVEX_API int BrevexGetAutoLinearize(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetAutoLinearize(TBrevexHandle* pHandle, int bValue);

/* Whether a linearized output of version 1.5 or later keeps object streams and cross-reference streams, and
 * stays small by that. The automatic choice then allows for what this form costs. Default false. */
BREVEX_API int BrevexGetLinearizeObjectStreams(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetLinearizeObjectStreams(TBrevexHandle* pHandle, int bValue);

/* ---- Listing and extraction
 * --------------------------------------------------------------------------------- */

/* Lists the images of the open document as lines of text into a file, which is created or emptied, or to
 * standard output where the path is null or empty. A first line names the columns, which are separated by ",
 * ": page of the first use, number of the object, "Width", "Height" and "BitsPerComponent" as the document
 * has them, or 0; the family of the colour space, or "Image mask" without one; the lowest resolution in dots
 * per inch, 0 where it is not known; the filters, joined by ":"; bytes of the samples and of the stream, with
 * their ratio; and a file name, which is that of BrevexSetExtractImages but for JPEG images: those are listed
 * as "img%d.tif" and extracted as "img%d.jpg". Images of content itself and masks of images are not listed,
 * and none with BrevexSetRemoveImages. In names of filters and fonts control characters, '"', '#' and bytes
 * that are no UTF-8 are written as '#' with two hexadecimal digits.
 *
 * Reads the content of all pages, once for an open document. Nothing else is written, unless extraction is
 * on. False without a document, where the file cannot be written, for the file that the document is read
 * from, and where reading from that has failed: then the list is what could be had.
 */
BREVEX_API int BrevexListImagesA(TBrevexHandle* pHandle, const char* szPath);
BREVEX_API int BrevexListImagesW(TBrevexHandle* pHandle, const TBrevexChar* szPath);

/* The same for the fonts that content shows, in the order of their first use: the name without the prefix of
 * a subset, in quotes; "Type1", "TrueType", "Type1C" or "Type3"; the name of the encoding; "CID" for
 * composite fonts, else "Non-CID"; "Embedded", "Non-embedded", or "N/A" for Type 3; "Subsetted",
 * "Non-subsetted", or "N/A" without an embedded program; and the file name of BrevexSetExtractFonts, empty
 * without a program.
 */
BREVEX_API int BrevexListFontsA(TBrevexHandle* pHandle, const char* szPath);
BREVEX_API int BrevexListFontsW(TBrevexHandle* pHandle, const TBrevexChar* szPath);

/* Whether the first save or listing of an open document also writes the images that are painted into files in
 * the working directory: "img%d.jpg" with the data as it is where the only filter is DCTDecode, else
 * "img%d.tif", with the number of the object. TIFF files have the samples as they are, with their ICC
 * profile, wherever TIFF can say it: gray, RGB, CMYK and tables of RGB. Other colours become those of the
 * device of their alternate space; that, and masks, which are left out, is told by a report without a
 * consequence. A file that is there already is replaced, unless it is the one that the document is read from.
 * An image that cannot be read or written is reported as a loss, as is one that is damaged, of which as much
 * is written as could be read. Default false; profiles leave it alone.
 */
BREVEX_API int BrevexGetExtractImages(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetExtractImages(TBrevexHandle* pHandle, int bValue);

/* The same for the embedded programs of fonts that are shown, as they are: "fnt%d.pfb" for Type 1,
 * "fnt%d.ttf" for TrueType and "fnt%d.cff" for all that has outlines of CFF, with the number of the program's
 * object.
 */
BREVEX_API int BrevexGetExtractFonts(TBrevexHandle* pHandle);
BREVEX_API void BrevexSetExtractFonts(TBrevexHandle* pHandle, int bValue);

#ifdef __cplusplus
}
#endif

#endif
