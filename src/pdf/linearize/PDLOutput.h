#pragma once

#include "pdf/linearize/PDLHints.h"
#include "pdf/linearize/PDLInput.h"
#include "pdf/linearize/PDLObjectWriter.h"
#include "pdf/linearize/PDLPacker.h"
#include "pdf/linearize/PDLXRefStream.h"

// A new encryption of a document.
struct TPDSecurity
{
  BSE::CBasicArray<unsigned char> m_dictionary;  // text of the Encrypt dictionary
  BSE::CBasicArray<unsigned char> m_id;          // of the ID array, on which keys may depend
  const char* m_szVersion = "1.4";               // that knows the cipher
  bool m_bPlainMetadata = false;
  bool m_bOneCipher = true;  // for streams and strings
};

// Writes a document in the order of a linearized file (ISO 32000-1, Annex F):
//
//   header, linearization dictionary
//   cross-reference table of the objects that are here, with the trailer
//   encryption dictionary, catalogue
//   hint stream
//   objects of the first page, and the outlines if the document opens with them
//   objects of the other pages, shared objects, all others
//   cross-reference table of these
//
// The objects in front have the highest numbers. Everything is measured before the first byte is written, so
// that the output need not be seekable and nothing is written of a document that cannot be linearized.
// Nothing that the catalogue and the document information do not reach is carried over.
//
// There are no object streams and no cross-reference streams, unless they are asked for: then each part has
// object streams of its own, cross-reference streams are in the place of the tables, and the page tree is
// built anew. A part has the streams and plain objects first in the order of numbers, and then what is in its
// object streams; hint tables count only the first (F.3.1).
class PDLOutput : public PDBase
{
public:
  // All must outlive the object. The cryptor is null for a document that is not and will not be encrypted.
  // Nothing is compressed without a deflater.
  PDLOutput(PDLInput& input, PDCryptor* pCryptor, PDDeflater* pDeflater)
      : m_input(input), m_pCryptor(pCryptor), m_pDeflater(pDeflater)
  {
  }

  // Whether plain metadata streams of pages may be compressed.
  void SetCompressMetadata(bool bCompress) { m_bCompressMetadata = bCompress; }

  // Encryption by a dictionary in the place of the input's, if that has one; the cryptor encrypts by its
  // keys. Must outlive the object.
  void SetSecurity(const TPDSecurity* pSecurity) { m_pSecurity = pSecurity; }

  // Object streams and cross-reference streams, if the version of the file has them; those that are not
  // needed to show a page have about so many bytes.
  void SetObjectStreams(std::int64_t nStreamSize) { m_nStreamSize = nStreamSize; }

  // A document that would become longer is not written.
  void SetMaxLength(std::int64_t nMaxLength) { m_nMaxLength = nMaxLength; }
  bool IsTooLong() const { return m_bTooLong; }

  bool Write(BSE::IByteStream* pOutput);

  // Bytes that the output has been given, also when memory ran out on the way; it may have refused the last
  // ones.
  std::int64_t GetWritten() const { return m_pOutput ? m_pOutput->GetWritten() : 0; }

private:
  // Objects and object streams that are together, in order: items of the packer.
  struct TPart
  {
    BSE::CBasicArray<int> m_objects;
    BSE::CBasicArray<std::int64_t> m_lengths;

    std::int64_t GetLength(int nFirst, int nCount) const;
    std::int64_t GetLength() const { return GetLength(0, m_objects.GetSize()); }
  };

  // Objects of a part that may be in object streams, and all others.
  struct TRun
  {
    BSE::CBasicArray<PDLPacker::TMember> m_members;
    BSE::CBasicArray<int> m_plain;
    std::int64_t m_nSize = 0;  // of the members
  };

  // A run of items.
  struct TPlace
  {
    const TPart* m_pPart = nullptr;
    int m_nStart = 0;
    int m_nCount = 0;
  };

  // --- Numbering
  void CollectParts();
  void AddCategories(std::initializer_list<int> categories, TPart& part);
  void AssignNumbers();
  void AddPart(TPart& part, std::span<const int> objects) { part.m_objects.Append(objects); }

  int GetNumber(int nItem) const;

  // --- The same with object streams
  bool MayPack();
  bool Prepare();
  void SortObject(int nObject, TRun& run);
  void SortObjects(std::span<const int> objects, TRun& run);
  void SortCategories(std::initializer_list<int> categories, TRun& run);
  void SortTree(TRun& top, TRun& rest);
  void SortPage(int nPage, TRun& run);
  void SortDirectValue(int nValue, TRun& run);
  void SortDirectValues(TRun& top, TRun& shared, TRun& document);
  bool IsSmall(std::int64_t nFrontSize, std::span<TRun* const> runs);
  void PackPages(bool bAllApart, TRun& apart);
  void PackPage(int nPage, const TRun& run, TPart& part);
  void PackFirst(TRun& top, TRun& first);
  void PackOutlines(const TRun& outlines, TPart& part);
  void PackRun(const TRun& run, std::int64_t nMaxSize, TPart& part);
  static void Move(TRun& from, TRun& to);
  void CollectPackedParts();
  void AssignPackedNumbers();
  int NumberItems(const TPart& part, int nNumber);
  int NumberMembers(const TPart& part, int nNumber);

  // --- Measuring
  bool Measure();
  bool MeasurePart(TPart& part);
  bool BuildHints();
  void AddPageHints(PDLHints& hints);
  void AddSharedHints(PDLHints& hints, std::int64_t nRestLocation);
  void AddOutlineHints(PDLHints& hints, std::int64_t nRestLocation);
  void AddPageUses(int nPages, BSE::CBasicArray<int>& starts, BSE::CBasicArray<int>& identifiers) const;
  bool Place();
  bool PlaceParts();
  bool PlaceEnd();

  // --- Cross-reference streams
  void AddRows(const TPart& part, std::int64_t nPos, PDLXRefStream& rows) const;
  void AddMemberRows(const TPart& part, PDLXRefStream& rows) const;
  void BuildFirstXRef(bool bDeflate);
  void EndFirstXRef();
  void BuildMainXRef();

  // --- Writing
  bool WriteItem(int nItem, PDWriter& output);
  bool WriteDocument(PDWriter& output);
  bool WritePart(const TPart& part, PDWriter& output);
  void WriteHeader(PDWriter& output);
  void WriteLinearization(PDWriter& output);
  void WriteFirstSection(PDWriter& output);
  void WriteTrailer(PDWriter& output);
  void WriteMainSection(PDWriter& output);
  void WritePositions(const TPart& part, std::int64_t nPos, PDWriter& output);
  static void WritePosition(std::int64_t nPos, PDWriter& output);
  void WriteTrailerReference(const char* szKey, int nObject, PDWriter& output);
  void WriteEncrypt(PDWriter& output);
  void WriteSecurity(PDWriter& output);
  bool WriteHints(PDWriter& output);

  PDLInput& m_input;
  PDCryptor* m_pCryptor;
  PDDeflater* m_pDeflater;
  const TPDSecurity* m_pSecurity = nullptr;
  bool m_bCompressMetadata = true;
  PDLPageTree m_tree;
  BSE::CScopedPtr<PDLClassifier> m_pClassifier;
  BSE::CScopedPtr<PDLObjectWriter> m_pWriter;

  TPart m_head;   // encryption dictionary, catalogue
  TPart m_first;  // first page and what opens with it
  TPart m_rest;
  BSE::CBasicArray<int> m_pageCounts;  // objects in m_rest of each page but the first
  int m_nSharedStart = 0;              // index in m_rest
  int m_nSharedCount = 0;
  TPlace m_outlines;
  int m_nLinearizationNumber = 0;
  int m_nEncryptNumber = 0;  // of a new encryption dictionary
  int m_nHintNumber = 0;
  int m_nObjectCount = 0;  // with the free entry 0

  BSE::CScopedPtr<PDLPacker> m_pPacker;  // null without object streams
  PDLDirectValues m_directValues;
  BSE::CBasicArray<PDLClassifier::TUse> m_apart;  // what pages have in streams outside of their part
  std::int64_t m_nStreamSize = 0;
  int m_nFirstXRefNumber = 0;
  int m_nMainXRefNumber = 0;
  BSE::CBasicArray<unsigned char> m_firstXRef;  // cross-reference streams, and what comes after them
  BSE::CBasicArray<unsigned char> m_mainXRef;
  std::int64_t m_nFirstXRefLength = 0;
  std::int64_t m_nMaxLength = -1;
  bool m_bTooLong = false;

  BSE::CBasicArray<unsigned char> m_hintData;
  BSE::CBasicArray<unsigned char> m_hintEntries;

  // Positions in the file.
  std::int64_t m_nLinearization = 0;
  std::int64_t m_nFirstXRef = 0;
  std::int64_t m_nEncrypt = 0;
  std::int64_t m_nHead = 0;
  std::int64_t m_nHintOffset = 0;
  std::int64_t m_nHintEnd = 0;
  std::int64_t m_nFirstPageEnd = 0;
  std::int64_t m_nMainXRef = 0;
  std::int64_t m_nFileLength = 0;

  BSE::CScopedPtr<PDWriter> m_pOutput;
};
