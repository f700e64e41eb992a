#include "document/EmbeddedFile.h"

#include "base/Tracer.h"

namespace PDF
{

namespace
{

constexpr const char* g_nameKeys[] = {"UF", "F", "DOS", "Mac", "Unix"};

void TraceFailure(const CEmbeddedFile& file, const char* szFormat)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "CFileSpec", szFormat, file.GetObjNumber());
}

}  // namespace

CTextString CEmbeddedFile::GetFileName() const
{
  if (m_object.IsString())
    return CTextString(m_object.GetStringValue());
  for (const char* szKey : g_nameKeys)
    if (const CObjectPtr name = m_object[szKey]; name.IsString())
      return CTextString(name.GetStringValue());
  TraceFailure(*this, "File specification %d has no name.");
  return {};
}

CTextString CEmbeddedFile::GetDescription() const
{
  return CTextString(m_object["Desc"].GetStringValue());
}

CObjectPtr CEmbeddedFile::GetParams() const
{
  CObjectPtr params = FindStream()["Params"];
  return params.IsDictionary() ? params : CObjectPtr();
}

BSE::CObjectPtr<BSE::IByteStream> CEmbeddedFile::GetData() const
{
  const CObjectPtr stream = FindStream();
  if (!stream)
  {
    TraceFailure(*this, "File specification %d has no embedded file.");
    return nullptr;
  }
  BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetDecodedStream();
  if (!pData)
    TraceFailure(*this, "The embedded file of file specification %d cannot be decoded.");
  return pData;
}

CObjectPtr CEmbeddedFile::FindStream() const
{
  const CObjectPtr files = m_object["EF"];
  for (const char* szKey : g_nameKeys)
    if (CObjectPtr stream = files[szKey]; stream.IsStream())
      return stream;
  return {};
}

}  // namespace PDF
