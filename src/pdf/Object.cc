#include "pdf/Object.h"

#include "base/Tracer.h"

namespace PDF
{

namespace
{

void TraceMismatch(const char* szMessage)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Object", "%s", szMessage);
}

const CString g_emptyString;

}  // namespace

BSE::CErrorHandler* CObject::OnGetErrorHandler()
{
  TraceMismatch("OnGetErrorHandler(): object must be indirect");
  return nullptr;
}

void CObject::OnReportError(BSE::CScopedPtr<BSE::IError>)
{
  TraceMismatch("OnReportError(): object must be indirect");
}

void CObject::OnReport(unsigned, const BSE::CErrorProperties*)
{
  TraceMismatch("OnReport(): object must be indirect");
}

void CObject::OnAddContextInfo(BSE::IError&)
{
  TraceMismatch("OnAddContextInfo(): object must be indirect");
}

bool CObject::Equals(CObject&)
{
  TraceMismatch("operator== not implemented.");
  return false;
}

bool CObject::GetBooleanValue()
{
  TraceMismatch("GetBooleanValue(): object must be boolean");
  return false;
}

std::int64_t CObject::GetIntegerValue()
{
  TraceMismatch("GetIntegerValue(): object must be integer");
  return 0;
}

double CObject::GetRealValue()
{
  TraceMismatch("GetRealValue(): object must be real");
  return 0.0;
}

int CObject::GetLength()
{
  TraceMismatch("GetLength(): object must be string");
  return 0;
}

const CString& CObject::GetStringValue()
{
  TraceMismatch("GetStringValue(): object must be string");
  return g_emptyString;
}

const char* CObject::GetNameValue()
{
  return nullptr;
}

CObjectPtr CObject::GetEntry(const char*)
{
  TraceMismatch("operator[]: object must be dictionary");
  return {};
}

int CObject::GetIndex(const char*)
{
  TraceMismatch("GetIndex(): object must be dictionary");
  return -1;
}

int CObject::GetBegin()
{
  TraceMismatch("GetBegin(): object must be dictionary");
  return 0;
}

int CObject::GetNext(int)
{
  TraceMismatch("GetNext(): object must be dictionary");
  return 0;
}

int CObject::GetEnd()
{
  TraceMismatch("GetEnd(): object must be dictionary");
  return 0;
}

const char* CObject::GetKey(int)
{
  TraceMismatch("GetKey(): object must be dictionary");
  return nullptr;
}

CObjectPtr CObject::GetValue(int)
{
  TraceMismatch("GetValue(): object must be dictionary");
  return {};
}

bool CObject::AddEntry(const char*, const CObjectPtr&)
{
  TraceMismatch("AddEntry(): object must be dictionary");
  return false;
}

void CObject::DeleteEntry(const char*)
{
  TraceMismatch("DeleteEntry(): object must be dictionary");
}

int CObject::GetSize()
{
  TraceMismatch("GetSize(): object must be array");
  return 0;
}

CObjectPtr CObject::GetElement(int)
{
  TraceMismatch("operator[]: object must be array");
  return {};
}

void CObject::SetAt(int, const CObjectPtr&)
{
  TraceMismatch("SetAt(): object must be array");
}

void CObject::Add(const CObjectPtr&)
{
  TraceMismatch("Add(): object must be array");
}

void CObject::SetSize(int)
{
  TraceMismatch("SetSize(): object must be array");
}

void CObject::Insert(int, const CObjectPtr&)
{
  TraceMismatch("Insert(): object must be array");
}

void CObject::Delete(int)
{
  TraceMismatch("Delete(): object must be array");
}

BSE::CObjectPtr<BSE::IByteStream> CObject::GetStream()
{
  TraceMismatch("GetStream(): object must be stream");
  return nullptr;
}

BSE::CObjectPtr<BSE::IByteStream> CObject::GetDecodedStream()
{
  return OnGetDecodedStream();
}

BSE::CObjectPtr<BSE::IByteStream> CObject::GetEncodeFilter(BSE::IByteStream* pSink)
{
  return OnGetEncodeFilter(pSink);
}

int CObject::GetObjNumber()
{
  TraceMismatch("GetObjNumber(): object must be indirect");
  return 0;
}

int CObject::GetGenNumber()
{
  TraceMismatch("GetGenNumber(): object must be indirect");
  return 0;
}

CFile* CObject::GetFile()
{
  TraceMismatch("GetFile(): object must be indirect");
  return nullptr;
}

std::int64_t CObject::Tell()
{
  TraceMismatch("Tell(): object must be indirect");
  return -1;
}

void CObject::Seek(std::int64_t)
{
  TraceMismatch("Seek(): object must be indirect");
}

BSE::CObjectPtr<BSE::IByteStream> CObject::OnGetDecodedStream()
{
  TraceMismatch("OnGetDecodedStream(): object must be indirect");
  return nullptr;
}

BSE::CObjectPtr<BSE::IByteStream> CObject::OnGetEncodeFilter(BSE::IByteStream*)
{
  TraceMismatch("OnGetEncodeFilter(): object must be indirect");
  return nullptr;
}

bool CObject::Encode()
{
  TraceMismatch("Encode(): object must be indirect");
  return false;
}

CObjectPtr CObject::GetStreamObject()
{
  TraceMismatch("GetStreamObject(): object must be indirect");
  return {};
}

void CObject::SetStreamObject(const CObjectPtr&)
{
  TraceMismatch("SetStreamObject(): object must be indirect");
}

CObjectPtr CObject::GetValueObject()
{
  TraceMismatch("GetValueObject(): object must be indirect");
  return {};
}

void CObject::SetValueObject(const CObjectPtr&)
{
  TraceMismatch("SetValueObject(): object must be indirect");
}

bool CObject::Flush(bool)
{
  return true;
}

const CString& CObjectPtr::GetStringValue() const
{
  return m_p ? m_p->GetStringValue() : g_emptyString;
}

std::int64_t GetIntegerOr(const CObjectPtr& object, std::int64_t nDefault)
{
  return object.IsNumber() ? object.GetIntegerValue() : nDefault;
}

}  // namespace PDF
