#pragma once

#include "pdf/linearize/PDLHints.h"
#include "pdf/linearize/PDLInput.h"
#include "pdf/linearize/PDLObjectWriter.h"

// A new encryption of a document.
struct TPDSecurity
{
  BSE::CBasicArray<unsigned char> m_dictionary;  // text of the Encrypt dictionary
  BSE::CBasicArray<unsigned char> m_id;          // of the ID array, on which keys may depend
  const char* m_szVersion = "1.4";               // that knows the cipher
  bool m_bPlainMetadata = false;
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
// that the output need not be seekable and nothing is written of a document that cannot be linearized. There
// are no object streams and no cross-reference streams. Nothing that the catalogue and the document
// information do not reach is carried over.
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

  bool Write(BSE::IByteStream* pOutput);

  // Bytes that the output has been given, also when memory ran out on the way; it may have refused the last
  // ones.
  std::int64_t GetWritten() const { return m_pOutput ? m_pOutput->GetWritten() : 0; }

private:
  // Objects that are together, in order.
  struct TPart
  {
    BSE::CBasicArray<int> m_objects;
    BSE::CBasicArray<std::int64_t> m_lengths;

    std::int64_t GetLength(int nFirst, int nCount) const;
    std::int64_t GetLength() const { return GetLength(0, m_objects.GetSize()); }
  };

  // --- Numbering
  void CollectParts();
  void AddCategories(std::initializer_list<int> categories, TPart& part);
  void AssignNumbers();
  void AddPart(TPart& part, std::span<const int> objects) { part.m_objects.Append(objects); }

  // --- Measuring
  bool Measure();
  bool MeasurePart(TPart& part);
  bool BuildHints();
  void AddPageHints(PDLHints& hints);
  void AddSharedHints(PDLHints& hints, std::int64_t nRestLocation);
  void AddOutlineHints(PDLHints& hints, std::int64_t nRestLocation);
  bool PlaceParts();

  // --- Writing
  bool WriteDocument(PDWriter& output);
  bool WritePart(const TPart& part, PDWriter& output);
  void WriteHeader(PDWriter& output);
  void WriteLinearization(PDWriter& output);
  void WriteFirstSection(PDWriter& output);
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
  int m_nFirstPageCount = 0;           // objects of m_first that are not outlines
  BSE::CBasicArray<int> m_pageCounts;  // objects in m_rest of each page but the first
  int m_nSharedStart = 0;              // index in m_rest
  int m_nOutlinesStart = 0;            // index in the part that has them
  int m_nLinearizationNumber = 0;
  int m_nEncryptNumber = 0;  // of a new encryption dictionary
  int m_nHintNumber = 0;
  int m_nObjectCount = 0;  // with the free entry 0

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
