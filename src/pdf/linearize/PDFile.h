#pragma once

#include "pdf/linearize/PDBase.h"
#include "pdf/linearize/PDCryptor.h"
#include "pdf/linearize/PDInput.h"
#include "pdf/linearize/PDObj.h"

// Where an object in use is. Objects of object streams are in a store of their own, unpacked.
struct TPDEntry
{
  std::int64_t m_nPos = -1;     // in the file, or in the store; -1 if the object does not exist after all
  std::uint32_t m_nExtent = 0;  // bytes to the next object, as far as they fit
  int m_nNumber = 0;
  int m_nGeneration = 0;
  bool m_bStored = false;
};

// A stream's encoded bytes.
struct TPDStream
{
  bool m_bStream = false;
  std::int64_t m_nPos = 0;
  std::int64_t m_nLength = 0;
};

// Finds the index of an object number. Takes memory for the ranges of numbers that occur, not for all of
// them.
class PDNumberMap
{
public:
  // -1 for a number that has not been set.
  int Find(int nNumber) const;

  // The number is not negative and not beyond the limit of object numbers.
  void Set(int nNumber, int nIndex);

private:
  static constexpr int g_nPageBits = 10;

  BSE::CBasicArray<int> m_pages;  // start of the slots of a range, plus one
  BSE::CBasicArray<int> m_slots;  // index plus one
};

// A document as objects that are parsed anew whenever they are asked for: what is kept of an object is its
// place. Objects are named by their index, 0 to the count.
class PDFile : public PDBase
{
public:
  // Text of one object outside its stream.
  static constexpr std::int64_t g_nMaxObjectSize = std::int64_t{1} << 28;

  int GetCount() const { return m_entries.GetSize(); }
  const TPDEntry& GetEntry(int nObject) const { return m_entries[nObject]; }

  // Index of an object number, -1 if no object in use has it.
  int FindObject(int nNumber) const { return m_numbers.Find(nNumber); }

  // Parses an object. The value's text is valid until the next ReadObject; stream data is only located. False
  // if there is no such object or it cannot be read.
  bool ReadObject(int nObject, PDObj& object, TPDStream& stream);

  // Encoded bytes of a stream, up to n from an offset; valid until the next call for anything.
  std::span<const unsigned char> GetStreamData(const TPDStream& stream, std::int64_t nOffset, std::int64_t n)
  {
    return m_pInput->Get(stream.m_nPos + nOffset, n);
  }
  BSE::CObjectPtr<BSE::IByteStream> CreateStreamReader(const TPDStream& stream) const
  {
    return m_pInput->CreateSection(stream.m_nPos, stream.m_nLength);
  }

  std::int64_t GetFileLength() const { return m_pInput ? m_pInput->GetLength() : 0; }

  // Whether bytes could not be read that are there. Objects may then seem to be missing that are not.
  bool HasReadFailed() const;

  // Trailer values, -1 where there is none.
  int GetRoot() const { return m_nRoot; }
  int GetInfo() const { return m_nInfo; }
  int GetEncrypt() const { return m_nEncrypt; }

  // "1.7"
  const char* GetVersion() const { return m_szVersion; }

  // Text of the array, and of an Encrypt dictionary that is in the trailer itself; empty if there is
  // none.
  std::span<const unsigned char> GetIdText() const { return m_id.GetSpan(); }
  std::span<const unsigned char> GetEncryptText() const { return m_encryptText.GetSpan(); }

  bool IsEncrypted() const { return m_nEncrypt >= 0 || !m_encryptText.IsEmpty(); }

  // True if keys depend on the number of the object (ISO 32000-1, 7.6.2): bytes cannot be carried as they are
  // then.
  bool HasObjectKeys() const { return IsEncrypted() && m_bObjectKeys; }

  // True if metadata streams are plain although the document is encrypted.
  bool HasPlainMetadata() const { return m_bPlainMetadata; }

  // True if the encryption has no cipher for strings of their own.
  bool HasOneCipher() const { return m_bOneCipher; }

protected:
  // Parses an indirect object at a position of the file, within an extent. nNumber receives its number.
  bool ReadAt(std::int64_t nPos, std::int64_t nExtent, PDObj& object, TPDStream& stream, int& nNumber);

  BSE::CScopedPtr<PDInput> m_pInput;
  BSE::CScopedPtr<PDInput> m_pSide;  // the same bytes, for what is looked up while an object's text is in use
  BSE::CScopedPtr<PDInput> m_pStore;
  BSE::CBasicArray<TPDEntry> m_entries;
  PDNumberMap m_numbers;
  PDCryptor* m_pCryptor = nullptr;
  std::int64_t m_nHeaderOffset = 0;  // what positions in the file count from
  int m_nRoot = -1;
  int m_nInfo = -1;
  int m_nEncrypt = -1;
  bool m_bSearchStreams = false;  // whether a wrong stream length is made up for
  bool m_bObjectKeys = false;
  bool m_bPlainMetadata = false;
  bool m_bOneCipher = true;
  char m_szVersion[8] = "1.4";
  BSE::CBasicArray<unsigned char> m_id;
  BSE::CBasicArray<unsigned char> m_encryptText;

private:
  bool ReadStored(const TPDEntry& entry, PDObj& object);

  // After the value of an object: whether a stream follows, and where its data is.
  bool LocateStream(std::int64_t nPos, std::int64_t nEnd, const PDObj& object, TPDStream& stream);
  bool ReadLength(const PDObj& object, std::int64_t& nLength);
  bool IsStreamEnd(std::int64_t nPos);

  // Position of the keyword that ends stream data, white space in front left out; -1 if there is none.
  std::int64_t FindStreamEnd(std::int64_t nPos, std::int64_t nEnd);
};
