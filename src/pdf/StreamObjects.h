#pragma once

#include "pdf/Object.h"

namespace PDF
{

// The stream part of an indirect object (ISO 32000-1, 7.3.8); its dictionary is the object's value. A part
// never changes, so that source and copy can share it.
class CStreamPart : public CObject
{
public:
  TObjectType GetType() override { return eStream; }
  bool IsStream() override { return true; }
  CObjectPtr GetStreamObject() override { return this; }

  // True if the bytes are as the dictionary's filters say, false for decoded bytes.
  virtual bool IsEncoded() const = 0;

  // Whether whoever made the part has chosen its encoding, so that no other one is tried.
  bool IsEncodingFinal() const { return m_bFinal; }
  void SetEncodingFinal() { m_bFinal = true; }

  // Length of the bytes that GetStream delivers; -1 if unknown.
  virtual std::int64_t GetDataLength() = 0;

private:
  bool m_bFinal = false;
};

// Decoded data in a stream of the library's own, read from its position 0.
class CStreamObject : public CStreamPart
{
public:
  explicit CStreamObject(BSE::IByteStream* pData) : m_pData(pData) {}
  CObject* Clone() override { return new CStreamObject(m_pData.Get()); }
  bool IsEncoded() const override { return false; }
  std::int64_t GetDataLength() override { return m_pData ? m_pData->GetLength() : 0; }
  BSE::CObjectPtr<BSE::IByteStream> GetStream() override;

private:
  BSE::CObjectPtr<BSE::IByteStream> m_pData;
};

// Encoded bytes in the file: nothing is read before it is asked for. Data of an encrypted file is decrypted
// on the way out of GetStream.
class CEncodedStreamObject : public CStreamPart
{
public:
  // Offset from the stream's start. The number and generation are those that the bytes were encrypted under.
  CEncodedStreamObject(CFile* pFile, std::int64_t nOffset, std::int64_t nLength, int nObjNumber,
                       int nGenNumber);
  ~CEncodedStreamObject() override;
  CObject* Clone() override;
  bool IsEncoded() const override { return true; }

  // Length in the file, which for encrypted data is not the decrypted one.
  std::int64_t GetDataLength() override { return m_nLength; }
  BSE::CObjectPtr<BSE::IByteStream> GetStream() override;

  // The bytes as they are in the file.
  BSE::CObjectPtr<BSE::IByteStream> GetRawStream();
  std::int64_t GetOffset() const { return m_nOffset; }

  // Set when the file's security handler must leave the bytes alone.
  void SetPlain() { m_bPlain = true; }

  // The crypt filter that the handler has found for the stream.
  void SetCrypt(int nCrypt) { m_nCrypt = nCrypt; }
  bool IsEncrypted() const;

private:
  CFile* m_pFile;
  std::int64_t m_nOffset;
  std::int64_t m_nLength;
  int m_nObjNumber;
  int m_nGenNumber;
  int m_nCrypt;
  bool m_bPlain = false;
};

// Encoded bytes inside another stream.
class CEmbeddedStreamObject : public CStreamPart
{
public:
  CEmbeddedStreamObject(BSE::IByteStream* pSource, std::int64_t nOffset, std::int64_t nLength)
      : m_pSource(pSource), m_nOffset(nOffset), m_nLength(nLength)
  {
  }
  CObject* Clone() override { return new CEmbeddedStreamObject(m_pSource.Get(), m_nOffset, m_nLength); }
  bool IsEncoded() const override { return true; }
  std::int64_t GetDataLength() override { return m_nLength; }
  BSE::CObjectPtr<BSE::IByteStream> GetStream() override;

private:
  BSE::CObjectPtr<BSE::IByteStream> m_pSource;
  std::int64_t m_nOffset;
  std::int64_t m_nLength;
};

// Decoded data in a file outside the PDF, opened for each reader.
class CFileStreamObject : public CStreamPart
{
public:
  explicit CFileStreamObject(const char* szPath) : m_path(szPath) {}
  CObject* Clone() override { return new CFileStreamObject(m_path.GetText()); }
  bool IsEncoded() const override { return false; }
  std::int64_t GetDataLength() override;
  BSE::CObjectPtr<BSE::IByteStream> GetStream() override;

private:
  CName m_path;
};

}  // namespace PDF
