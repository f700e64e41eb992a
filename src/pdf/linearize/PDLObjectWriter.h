#pragma once

#include "pdf/linearize/PDDeflater.h"
#include "pdf/linearize/PDLClassifier.h"
#include "pdf/linearize/PDLDirectValues.h"
#include "pdf/linearize/PDWriter.h"

// Writes objects of a document under new numbers: references are renumbered and lead to null where nothing is
// written, pages get what they inherit, stream lengths are in the dictionaries. Encrypted bytes are carried
// as they are where one key serves the whole document and stays; else, and for what object streams held in
// plain, they are encrypted anew.
class PDLObjectWriter : public PDBase
{
public:
  // All must outlive the writer. The cryptor is null for a document that is not and will not be encrypted.
  PDLObjectWriter(PDFile& file, const PDLPageTree& tree, const PDLClassifier& classifier,
                  PDCryptor* pCryptor);

  // Direct values that become objects of their own, after the new nodes of the page tree. Before anything is
  // numbered; must outlive the writer.
  void SetDirectValues(const PDLDirectValues& values);
  int GetDirectValue(int nValue) const { return m_nFirstDirectValue + nValue; }

  void SetNumber(int nObject, int nNumber) { m_numbers[nObject] = nNumber; }

  // 0 for an object that is not written.
  int GetNumber(int nObject) const { return m_numbers[nObject]; }

  // Compresses plain metadata streams of pages; null, as at the start, leaves them as they are.
  void SetMetadataDeflater(PDDeflater* pDeflater) { m_pMetadataDeflater = pDeflater; }

  // The cryptor encrypts by other keys than it decrypts by, or decrypts nothing.
  void SetNewKeys(bool bPlainMetadata);

  // The whole object, from its number to its end. Measuring comes before writing. False if it cannot be read.
  bool WriteObject(int nObject, PDWriter& output);

  // The value alone, as an object stream has it: plain. Not for streams.
  bool WriteMember(int nObject, PDWriter& output);

  // A stream that the source has not: encrypted if the document is. The entries come first of its length.
  bool WriteNewStream(int nNumber, std::span<const unsigned char> entries,
                      std::span<const unsigned char> data, PDWriter& output);

private:
  // --- Values
  void WriteNode(const PDObj& object, int nNode, PDWriter& output);
  void WriteLeaf(const PDObj& object, int nNode, PDWriter& output);
  void WriteString(const PDObj& object, int nNode, PDWriter& output);
  void WriteReference(int nTarget, PDWriter& output);
  void WriteText(std::span<const unsigned char> text, PDWriter& output);
  void WriteText(const char* szText, PDWriter& output);
  bool IsCarried(const TPDNode& node) const;

  // --- Objects
  // The object of the file that it is written from; -1 for a new node of the page tree.
  int GetSource(int nObject) const;
  bool Read(int nObject, TPDStream& stream);
  bool WriteBody(int nObject, const TPDStream& stream, PDWriter& output);
  void BeginObject(int nObject, bool bMember);
  void WriteDirectValue(const PDLDirectValues::TValue& value, PDWriter& output);

  // Strings come from this object from here on.
  void SetSource(int nObject);

  using CUses = std::span<const PDLDirectValues::TUse>;
  CUses GetPageUses(int nPage) const;

  // The entries of the object's own dictionary without those keys, and with references in place of values
  // that are objects of their own.
  void WriteEntries(const PDObj& object, std::span<const char* const> skipped, CUses uses, PDWriter& output);
  void WriteCatalogue(const PDObj& object, PDWriter& output);
  void WritePage(int nObject, const PDObj& object, PDWriter& output);
  void WritePageTreeNode(int nObject, const PDObj& object, PDWriter& output);
  void WriteInherited(int nPage, const TPDPage& page, PDWriter& output);
  void WriteTreeEntries(const TPDTreeNode& node, PDWriter& output);
  void WriteNewNode(int nObject, PDWriter& output);

  // --- Streams
  bool WriteStreamObject(int nObject, const PDObj& object, const TPDStream& stream, PDWriter& output);
  bool WriteCompressed(const PDObj& object, std::span<const unsigned char> data, PDWriter& output);
  bool WriteCarried(const PDObj& object, const TPDStream& stream, PDWriter& output);
  bool WriteRecrypted(int nObject, const PDObj& object, const TPDStream& stream, PDWriter& output);
  void WriteStreamHead(const PDObj& object, bool bCompressed, std::int64_t nLength, PDWriter& output);

  bool IsCarried(const PDObj& object) const;

  // The ciphers of a stream that is encrypted anew, and its filters where it names one or did.
  void ChooseCrypts(const PDObj& object);
  void WriteFilters(const PDObj& object, PDWriter& output);
  void WriteFilterItems(const PDObj& object, int nNode, PDWriter& output);

  // Deflated data of a plain metadata stream; false where that gains nothing.
  bool CompressMetadata(const PDObj& object, const TPDStream& stream, BSE::CBasicArray<unsigned char>& data);
  bool EncryptData(int nNumber, std::span<const unsigned char> data, PDWriter& output);
  bool RecryptData(const TPDStream& stream, PDWriter& output);
  BSE::CObjectPtr<BSE::IByteStream> CreateReader(const TPDStream& stream);

  PDFile& m_file;
  const PDLPageTree& m_tree;
  const PDLClassifier& m_classifier;
  PDCryptor* m_pCryptor;
  const PDLDirectValues* m_pDirectValues = nullptr;
  int m_nFirstDirectValue;
  PDDeflater* m_pMetadataDeflater = nullptr;
  bool m_bNewKeys = false;
  bool m_bNewPlainMetadata = false;
  BSE::CBasicArray<int> m_numbers;
  BSE::CBasicArray<int> m_treePlaces;        // index of a page or node in the tree
  BSE::CBasicArray<std::int64_t> m_lengths;  // of streams that are encrypted anew, as measured
  PDObj m_object;
  PDObj m_value;
  BSE::CBasicArray<unsigned char> m_bytes;

  // Of the object that is written.
  bool m_bSourceSecure = false;     // strings outside of object streams
  bool m_bSecure = false;           // strings
  bool m_bSourceEncrypted = false;  // stream data
  bool m_bEncrypted = false;        // stream data
  int m_nSourceCrypt = PDCryptor::g_nStreamCrypt;
  int m_nCrypt = PDCryptor::g_nStreamCrypt;
  const char* m_szCryptName = nullptr;  // to be stated
  bool m_bDropCryptName = false;        // the first filter is not known any more
  BSE::CBasicArray<char> m_oldCryptName;
  bool m_bDecryptStrings = false;
  bool m_bEncryptStrings = false;
  int m_nOldNumber = 0;
  int m_nOldGeneration = 0;
  int m_nNewNumber = 0;
  bool m_bMember = false;   // of an object stream
  bool m_bRegular = false;  // the last byte written belongs to a number, name or word
};
