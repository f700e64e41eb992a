#pragma once

#include "pdf/Object.h"

namespace PDF
{

// An indirect object (ISO 32000-1, 7.3.10) of one file, which also stands for every reference to it. Its
// value is loaded on demand and dropped when nobody but the file's table holds a reference; changed values
// (dirty objects) stay until they are flushed. Belongs to the thread of its file.
//
// Edits: SetValueObject and SetStreamObject make the object dirty. Those that change the value in place
// (AddEntry, DeleteEntry, SetAt, Add, SetSize, Insert, Delete) do not, nor do edits of a container that was
// taken out of it: who makes them in an object that may be clean calls SetDirty(true), or they are lost with
// the next unloading. None is allowed in a file that is neither written to nor made editable.
//
//   unloaded  offset >= 0, no value        exists in the file
//   loaded    offset >= 0, value           clean copy in memory
//   dirty     offset -1                    changed or new
//   written   offset >= 0, either          was flushed to the output
class CIndirectObject : public CObject
{
public:
  // A generation below 0 is unknown until the object has been parsed. pFile may be null for a temporary
  // object.
  CIndirectObject(CFile* pFile, int nObjNumber, int nGenNumber, std::int64_t nOffset);

  // When the count falls to 1 only the table holds the object, and it unloads.
  void Release() override;

  BSE::CErrorHandler* OnGetErrorHandler() override;
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;
  void OnReport(unsigned nCode, const BSE::CErrorProperties* pProperties) override;

  // Adds "Object No." unless the number is 0.
  void OnAddContextInfo(BSE::IError& error) override;

  TObjectType GetType() override { return eIndirect; }
  bool IsDirty() override { return m_nOffset == -1; }

  // true: the value lives only in memory from now on. false: back to the offset of the table.
  void SetDirty(bool bDirty) override;
  CObject* Clone() override { return this; }

  // Identity: equal numbers in the same file; an unknown generation equals only itself.
  bool Equals(CObject& other) override;

  bool IsBoolean() override { return Value() && m_pValue->IsBoolean(); }
  bool IsInteger() override { return Value() && m_pValue->IsInteger(); }
  bool IsReal() override { return Value() && m_pValue->IsReal(); }
  bool IsString() override { return Value() && m_pValue->IsString(); }
  bool IsName() override { return Value() && m_pValue->IsName(); }
  bool IsArray() override { return Value() && m_pValue->IsArray(); }
  bool IsDictionary() override { return Value() && m_pValue->IsDictionary(); }
  bool IsStream() override { return Load() && m_pStream; }
  bool IsIndirect() override { return true; }
  bool IsPlaceholder() override { return Value() && m_pValue->IsPlaceholder(); }
  bool GetBooleanValue() override { return Value() && m_pValue->GetBooleanValue(); }
  std::int64_t GetIntegerValue() override { return Value() ? m_pValue->GetIntegerValue() : 0; }
  double GetRealValue() override { return Value() ? m_pValue->GetRealValue() : 0.0; }
  int GetLength() override { return Value() ? m_pValue->GetLength() : 0; }
  const CString& GetStringValue() override;
  const char* GetNameValue() override { return Value() ? m_pValue->GetNameValue() : nullptr; }
  CObjectPtr GetEntry(const char* szKey) override
  {
    return Value() ? m_pValue->GetEntry(szKey) : CObjectPtr();
  }
  int GetIndex(const char* szKey) override { return Value() ? m_pValue->GetIndex(szKey) : -1; }
  int GetBegin() override { return Value() ? m_pValue->GetBegin() : 0; }
  int GetNext(int nPos) override { return Value() ? m_pValue->GetNext(nPos) : 0; }
  int GetEnd() override { return Value() ? m_pValue->GetEnd() : 0; }
  const char* GetKey(int nPos) override { return Value() ? m_pValue->GetKey(nPos) : nullptr; }
  CObjectPtr GetValue(int nPos) override { return Value() ? m_pValue->GetValue(nPos) : CObjectPtr(); }
  bool AddEntry(const char* szKey, const CObjectPtr& value) override
  {
    return PrepareEdit() && m_pValue->AddEntry(szKey, value);
  }
  void DeleteEntry(const char* szKey) override;
  int GetSize() override { return Value() ? m_pValue->GetSize() : 0; }
  CObjectPtr GetElement(int nIndex) override { return Value() ? m_pValue->GetElement(nIndex) : CObjectPtr(); }
  void SetAt(int nIndex, const CObjectPtr& value) override;
  void Add(const CObjectPtr& value) override;
  void SetSize(int nSize) override;
  void Insert(int nIndex, const CObjectPtr& value) override;
  void Delete(int nIndex) override;

  BSE::CObjectPtr<BSE::IByteStream> GetStream() override;
  BSE::CObjectPtr<BSE::IByteStream> OnGetDecodedStream() override;
  BSE::CObjectPtr<BSE::IByteStream> OnGetEncodeFilter(BSE::IByteStream* pSink) override;
  bool Encode() override;

  int GetObjNumber() override { return m_nObjNumber; }
  int GetGenNumber() override { return m_nGenNumber; }
  CFile* GetFile() override { return m_pFile; }
  std::int64_t Tell() override { return m_nOffset; }
  void Seek(std::int64_t nOffset) override { m_nOffset = nOffset; }

  CObjectPtr GetStreamObject() override;
  void SetStreamObject(const CObjectPtr& stream) override;
  CObjectPtr GetValueObject() override;

  // Stores the value and marks the object dirty if it has a file. A null value is allowed.
  void SetValueObject(const CObjectPtr& value) override;

  // False for a locked object or a failed write.
  bool Flush(bool bFreeMemory) override;
  void Lock() override;
  void Unlock() override;
  bool IsLocked() override { return m_nLockCount > 0; }

  // False if the object cannot be read; it then reads as null, and no other attempt is made until it has been
  // unloaded. Where nothing can be loaded at the moment the next call tries again.
  bool Load() override { return m_nOffset == -1 || (m_bLoaded ? !m_bUnreadable : LoadFromFile()); }
  void Unload() override;

  void* GetUserData() override { return m_pUserData; }
  void SetUserData(void* pData) override { m_pUserData = pData; }
  int GetCompressedFlags() override { return m_nFlags; }
  void SetCompressedFlags(int nFlags) override { m_nFlags = static_cast<signed char>(nFlags); }

  // What the parser fills in; the state stays clean.
  void SetParsed(CObject* pValue, CObject* pStream);
  void SetNumbers(int nObjNumber, int nGenNumber);

  // Bytes that were read for the value.
  void SetCost(std::int64_t nBytes);
  int GetCost() const { return m_nCost; }

  // True once the value has been read before: what many others share is kept longer, see CFile.
  bool IsReread() const { return m_bReread; }
  void SetReread(bool bReread) { m_bReread = bReread; }

  // Makes the value null if it leads back here, or too far, through nothing but references. Loads what it
  // meets. False if it led too far.
  bool BreakCycle();

  // True once a value, null included, is in memory.
  bool IsLoaded() const { return m_bLoaded || m_nOffset == -1; }

  // The file is gone: the object reads as null from now on.
  void Orphan();

private:
  bool Value() { return Load() && m_pValue; }

  // Catches an edit in a file that is not written to: an assertion, and a trace line where these are off.
  void CheckEdit();
  bool PrepareEdit();
  bool LoadFromFile();
  void DropValue();

  std::int64_t m_nOffset;
  CFile* m_pFile;
  CObjectPtr m_pValue;
  CObjectPtr m_pStream;
  void* m_pUserData = nullptr;
  int m_nObjNumber;
  int m_nGenNumber;
  int m_nLockCount = 0;
  int m_nCost = 0;
  signed char m_nFlags = g_nGroupDirect;
  bool m_bLoaded = false;
  bool m_bLoading = false;
  bool m_bUnreadable = false;
  bool m_bReread = false;
};

}  // namespace PDF
