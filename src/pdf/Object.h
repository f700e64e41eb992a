#pragma once

#include "base/ErrorContext.h"
#include "base/Object.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"
#include "pdf/Name.h"
#include "pdf/String.h"

#include <cstdint>

namespace PDF
{

class CFile;
class CObjectPtr;

// Kinds of values, as CObject::GetType returns them.
enum TObjectType
{
  eNull = 0,
  eBoolean = 1,
  eInteger = 2,
  eReal = 3,
  eString = 4,
  eName = 5,
  eArray = 6,
  eDictionary = 7,
  eStream = 8,
  eIndirect = 9
};

// Group of an object that must not go into an object stream; groups 0 to 2 choose the object stream.
inline constexpr int g_nGroupDirect = 3;

// Every value in a PDF file (ISO 32000-1, 7.3). All queries and edits are virtual here, so that a caller
// works with a value without caring whether it is direct or a reference: CIndirectObject forwards to its
// value, loading it on demand. A call that does not fit the value's kind writes a trace line (severity D,
// component "PDF Object") and returns a neutral result: false, 0, -1, null or an empty pointer. There is no
// class for null: a null value is the absence of an object. Not for sharing between threads.
//
// Positions in a dictionary are entry numbers from GetBegin to GetEnd by GetNext, in the order of the file;
// entries without a value are skipped. Scalars are immutable and shared freely.
class CObject : public BSE::IErrorContext, public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  // Context of reports: an indirect object passes them to its file with its number added.
  BSE::CErrorHandler* OnGetErrorHandler() override;
  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;
  void OnReport(unsigned nCode, const BSE::CErrorProperties* pProperties) override;
  void OnAddContextInfo(BSE::IError& error) override;

  virtual TObjectType GetType() = 0;
  virtual bool IsDirty() { return false; }
  virtual void SetDirty(bool) {}

  // New object with the count 0 and equal value; containers share their elements. References clone to
  // themselves.
  virtual CObject* Clone() = 0;

  // Same kind and same value; containers and streams trace and are never equal this way.
  virtual bool Equals(CObject& other);
  friend bool operator==(CObject& a, CObject& b) { return a.Equals(b); }

  virtual bool IsBoolean() { return false; }
  virtual bool IsInteger() { return false; }
  virtual bool IsReal() { return false; }
  virtual bool IsString() { return false; }
  virtual bool IsName() { return false; }
  virtual bool IsArray() { return false; }
  virtual bool IsDictionary() { return false; }
  virtual bool IsStream() { return false; }
  virtual bool IsIndirect() { return false; }
  bool IsNumber() { return IsInteger() || IsReal(); }
  virtual bool IsPlaceholder() { return false; }

  virtual bool GetBooleanValue();

  // A real gives its truncation (clamped to 64 bits), an integer its value as a real.
  virtual std::int64_t GetIntegerValue();
  virtual double GetRealValue();

  // Strings. The reference is valid while the object lives and keeps its value.
  virtual int GetLength();
  virtual const CString& GetStringValue();

  // The name's text, or null; valid while the object lives and keeps its value.
  virtual const char* GetNameValue();

  // Dictionaries. GetIndex gives the position of a key, -1 if it is absent or has no value.
  virtual CObjectPtr GetEntry(const char* szKey);
  virtual int GetIndex(const char* szKey);
  virtual int GetBegin();
  virtual int GetNext(int nPos);
  virtual int GetEnd();
  virtual const char* GetKey(int nPos);
  virtual CObjectPtr GetValue(int nPos);

  // Replaces the value of a key, which keeps its position, or appends an entry.
  virtual bool AddEntry(const char* szKey, const CObjectPtr& value);
  virtual void DeleteEntry(const char* szKey);

  // Arrays. Elements may be null; an index out of range reads as null.
  virtual int GetSize();
  virtual CObjectPtr GetElement(int nIndex);
  virtual void SetAt(int nIndex, const CObjectPtr& value);
  virtual void Add(const CObjectPtr& value);
  virtual void SetSize(int nSize);
  virtual void Insert(int nIndex, const CObjectPtr& value);
  virtual void Delete(int nIndex);

  // The stream's data as it is held: decoded for CStreamObject, encoded (but decrypted) for the others. A new
  // reader at position 0, or null.
  virtual BSE::CObjectPtr<BSE::IByteStream> GetStream();

  // The data through all filters of the dictionary; null where a filter is unknown or the stream has no data.
  BSE::CObjectPtr<BSE::IByteStream> GetDecodedStream();

  // A stream that encodes what is written to it with the dictionary's filters into the sink; null as above.
  BSE::CObjectPtr<BSE::IByteStream> GetEncodeFilter(BSE::IByteStream* pSink);

  // References.
  virtual int GetObjNumber();
  virtual int GetGenNumber();
  virtual CFile* GetFile();

  // File position of an indirect object, -1 for a dirty one.
  virtual std::int64_t Tell();
  virtual void Seek(std::int64_t nOffset);

  virtual BSE::CObjectPtr<BSE::IByteStream> OnGetDecodedStream();
  virtual BSE::CObjectPtr<BSE::IByteStream> OnGetEncodeFilter(BSE::IByteStream* pSink);

  // Replaces decoded stream data by its encoded form, as the dictionary's filters say; false on failure.
  virtual bool Encode();

  // The stream part of an indirect object, and its value without the reference (the dictionary of a stream).
  virtual CObjectPtr GetStreamObject();
  virtual void SetStreamObject(const CObjectPtr& stream);
  virtual CObjectPtr GetValueObject();
  virtual void SetValueObject(const CObjectPtr& value);

  // Writes a dirty, unlocked object to its file; direct objects and clean ones succeed at once.
  virtual bool Flush(bool bFreeMemory);

  // Pins an indirect object in memory; nothing on direct ones.
  virtual void Lock() {}
  virtual void Unlock() {}
  virtual bool IsLocked() { return false; }
  virtual bool Load() { return true; }
  virtual void Unload() {}

  // A pointer for the owner's use, and the object-stream group.
  virtual void* GetUserData() { return nullptr; }
  virtual void SetUserData(void*) {}
  virtual int GetCompressedFlags() { return g_nGroupDirect; }
  virtual void SetCompressedFlags(int) {}
};

// Counting pointer to a value, or null. Calls through the arrow-free members below give the neutral result on
// an empty pointer, without a trace line.
class CObjectPtr : public BSE::CObjectPtr<CObject>
{
public:
  using BSE::CObjectPtr<CObject>::CObjectPtr;
  CObjectPtr() = default;

  TObjectType GetType() const { return m_p ? m_p->GetType() : eNull; }
  bool IsNull() const { return m_p == nullptr; }
  bool IsBoolean() const { return m_p && m_p->IsBoolean(); }
  bool IsInteger() const { return m_p && m_p->IsInteger(); }
  bool IsReal() const { return m_p && m_p->IsReal(); }
  bool IsNumber() const { return m_p && m_p->IsNumber(); }
  bool IsString() const { return m_p && m_p->IsString(); }
  bool IsName() const { return m_p && m_p->IsName(); }
  bool IsName(const char* szName) const
  {
    if (!IsName())
      return false;
    const char* szValue = m_p->GetNameValue();
    return szValue && std::strcmp(szValue, szName) == 0;
  }
  bool IsArray() const { return m_p && m_p->IsArray(); }
  bool IsDictionary() const { return m_p && m_p->IsDictionary(); }
  bool IsStream() const { return m_p && m_p->IsStream(); }
  bool IsIndirect() const { return m_p && m_p->IsIndirect(); }
  bool GetBooleanValue() const { return m_p && m_p->GetBooleanValue(); }
  std::int64_t GetIntegerValue() const { return m_p ? m_p->GetIntegerValue() : 0; }
  double GetRealValue() const { return m_p ? m_p->GetRealValue() : 0.0; }
  const CString& GetStringValue() const;
  const char* GetNameValue() const { return m_p ? m_p->GetNameValue() : nullptr; }
  CObjectPtr operator[](const char* szKey) const { return m_p ? m_p->GetEntry(szKey) : CObjectPtr(); }
  CObjectPtr operator[](int nIndex) const { return m_p ? m_p->GetElement(nIndex) : CObjectPtr(); }
  int GetIndex(const char* szKey) const { return m_p ? m_p->GetIndex(szKey) : -1; }
  int GetBegin() const { return m_p ? m_p->GetBegin() : 0; }
  int GetNext(int nPos) const { return m_p ? m_p->GetNext(nPos) : 0; }
  int GetEnd() const { return m_p ? m_p->GetEnd() : 0; }
  const char* GetKey(int nPos) const { return m_p ? m_p->GetKey(nPos) : nullptr; }
  CObjectPtr GetValue(int nPos) const { return m_p ? m_p->GetValue(nPos) : CObjectPtr(); }
  bool AddEntry(const char* szKey, const CObjectPtr& value) const
  {
    return m_p && m_p->AddEntry(szKey, value);
  }
  void DeleteEntry(const char* szKey) const
  {
    if (m_p)
      m_p->DeleteEntry(szKey);
  }
  int GetSize() const { return m_p ? m_p->GetSize() : 0; }
  void Add(const CObjectPtr& value) const
  {
    if (m_p)
      m_p->Add(value);
  }
  BSE::CObjectPtr<BSE::IByteStream> GetStream() const { return m_p ? m_p->GetStream() : nullptr; }
  BSE::CObjectPtr<BSE::IByteStream> GetDecodedStream() const
  {
    return m_p ? m_p->GetDecodedStream() : nullptr;
  }
  int GetObjNumber() const { return IsIndirect() ? m_p->GetObjNumber() : 0; }
  int GetGenNumber() const { return IsIndirect() ? m_p->GetGenNumber() : 0; }
  CFile* GetFile() const { return IsIndirect() ? m_p->GetFile() : nullptr; }
  CObjectPtr GetValueObject() const { return m_p ? m_p->GetValueObject() : CObjectPtr(); }
  CObjectPtr GetStreamObject() const { return m_p ? m_p->GetStreamObject() : CObjectPtr(); }
};

// Value of a number, an integer or a default where the pointer holds none.
std::int64_t GetIntegerOr(const CObjectPtr& object, std::int64_t nDefault);

// Compares the text of a name object.
inline bool KeyEquals(const char* szKey, const char* szOther)
{
  return szKey && std::strcmp(szKey, szOther) == 0;
}

}  // namespace PDF
