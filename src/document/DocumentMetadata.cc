// Metadata stream and information dictionary of a document (ISO 32000-1, 14.3).

#include "base/MemoryStream.h"
#include "base/Unicode.h"
#include "document/ConformanceClaim.h"
#include "document/Document.h"
#include "document/InfoDictionary.h"
#include "pdf/DictionaryObject.h"
#include "pdf/FilterFactory.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

namespace
{

// The stream's bytes compressed; null if that makes them no shorter.
BSE::CObjectPtr<BSE::CMemoryStream> Compress(BSE::CMemoryStream& data, CObject& owner)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  CObjectPtr parameters;
  const BSE::CObjectPtr<BSE::IByteStream> pFilter =
      CreateEncodeFilter(pEncoded.Get(), "FlateDecode", &owner, parameters);
  const bool bDone = pFilter && pFilter->CopyFrom(&data, -1, false) && CloseEncodeChain(pFilter.Get());
  data.Rewind();
  if (!bDone || pEncoded->GetLength() >= data.GetLength())
    return nullptr;
  return pEncoded;
}

void FillMetadata(CObject& target, const BSE::CStr8& packet, bool bCompress)
{
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary.AddEntry("Type", new CNameObject("Metadata"));
  dictionary.AddEntry("Subtype", new CNameObject("XML"));
  target.SetValueObject(dictionary.Get());
  const BSE::CObjectPtr<BSE::CMemoryStream> pData(
      new BSE::CMemoryStream(packet.GetText(), packet.GetLength()));
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded = bCompress ? Compress(*pData, target) : nullptr;
  if (pEncoded)
  {
    dictionary.AddEntry("Filter", new CNameObject("FlateDecode"));
    target.SetStreamObject(new CEmbeddedStreamObject(pEncoded.Get(), 0, pEncoded->GetLength()));
  }
  else
    target.SetStreamObject(new CStreamObject(pData.Get()));
  target.SetDirty(true);
}

CConformance ReadClaim(const CXMP& xmp)
{
  return GetClaimedConformance(xmp.GetClaimedPart().GetSpan(), xmp.GetClaimedLevel().GetSpan());
}

}  // namespace

BSE::CObjectPtr<CXMP> CDocument::GetXMP()
{
  if (m_pXmp)
    return m_pXmp;
  // Reading can change the cross-reference table, which drops the member.
  BSE::CObjectPtr<CXMP> pXmp(new CXMP);
  if (m_bOpened && !m_bCreated)
  {
    const CObjectPtr metadata = GetCatalog()["Metadata"];
    if (metadata.IsStream())
    {
      pXmp->Load(metadata.GetDecodedStream().Get());
      metadata->Unload();
    }
  }
  m_pXmp = pXmp;
  return pXmp;
}

CConformance CDocument::GetConformance()
{
  if (m_bCreated || !m_bOpened)
    return m_conformance;
  if (m_bClaimKnown)
    return m_claim;
  const BSE::CObjectPtr<CXMP> pXmp = GetXMP();
  m_claim = ReadClaim(*pXmp);
  if (m_claim.IsNone())
    m_claim = m_file.GetConformance();
  m_bClaimKnown = true;
  return m_claim;
}

bool CDocument::GetInfoEntry(const char16_t* szKey, BSE::CStr16& value)
{
  BSE::CStr8 key;
  if (!m_bOpened || !BSE::ConvertText(szKey, key, BSE::TInvalidText::Replace))
    return false;
  const BSE::CObjectPtr<CXMP> pXmp = GetXMP();
  if (!m_bCreated)
    pXmp->SetPart(GetConformance().GetPart());
  CInfoDictionary info(*this);
  return pXmp->GetInfoEntry(key.GetText(), info, value);
}

bool CDocument::SetInfoEntry(const char16_t* szKey, const char16_t* szValue)
{
  BSE::CStr8 key;
  if (!m_bOpened || !m_file.IsWritable() || !BSE::ConvertText(szKey, key, BSE::TInvalidText::Replace))
    return false;
  CInfoDictionary info(*this);
  GetXMP()->SetInfoEntry(key.GetText(), BSE::CStr16(szValue), info);
  m_bMetadataChanged = !m_bCreated;
  return true;
}

void CDocument::AddHistoryEvent(const char* szAction, const char* szParameters)
{
  GetXMP()->AddHistoryEvent(szAction, szParameters);
}

void CDocument::UpdateMetadata(const char16_t* szProducer, const CObjectPtr& target)
{
  const BSE::CObjectPtr<CXMP> pXmp = GetXMP();
  const CConformance conformance = GetConformance();
  if (!m_bCreated)
    pXmp->SetPart(conformance.GetPart());
  CInfoDictionary info(*this);
  TMetadataUpdate update;
  update.m_szProducer = szProducer;
  update.m_nMajorVersion = GetMajorVersion();
  update.m_bPacketWanted = conformance.IsArchival();
  update.m_now = XMP::GetPresentTime();
  pXmp->UpdateMetadata(update, info);
  m_bMetadataChanged = false;
  if (!pXmp->HasPacket())
    return;
  // A claim is what the output keeps of it, not what the input said.
  const CConformance claim = ReadClaim(*pXmp);
  if (m_bCreated && (claim.IsArchival() || conformance.IsArchival()) &&
      claim.GetCode() != conformance.GetCode())
    pXmp->SetClaim(GetPartText(conformance), GetLevelText(conformance));
  BSE::CStr8 packet;
  pXmp->WritePacket(packet);
  const CObjectPtr object = target ? target : m_file.NewObject(0, 0, 0);
  if (!object)
    return;
  // Metadata of archival files is left readable for programs that know nothing of PDF (ISO 19005-1, 6.7.2).
  FillMetadata(*object, packet, !conformance.IsArchival());
  const CObjectPtr catalog = GetCatalog();
  catalog.AddEntry("Metadata", object);
  catalog->SetDirty(true);
}

}  // namespace PDF
