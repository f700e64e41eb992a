#pragma once

#include "base/Stream.h"
#include "metadata/InfoPairs.h"
#include "metadata/StatusCodes.h"
#include "metadata/XmpErrorContext.h"

namespace PDF
{

// What metadata needs of a document's information dictionary.
class IInfoDictionary
{
public:
  // False for a missing entry and for one that is not text.
  virtual bool GetText(const char* szKey, BSE::CStr16& text) = 0;

  // An empty text removes the entry.
  virtual void SetText(const char* szKey, const BSE::CStr16& text) = 0;

protected:
  virtual ~IInfoDictionary() = default;
};

// What an update has to know of the document.
struct TMetadataUpdate
{
  const char16_t* m_szProducer = u"";  // name and version of this library
  int m_nMajorVersion = 1;             // of the document that is written
  bool m_bPacketWanted = false;        // make a packet where there is none, whatever the version
  XMP::TDate m_now;
};

// The metadata of a document: its XMP packet, and the information dictionary that says part of the same.
// Without a readable packet everything comes from the dictionary. Belongs to one thread.
class CXMP : public BSE::CObject
{
public:
  CXMP();
  CXMP(const CXMP&) = delete;
  CXMP& operator=(const CXMP&) = delete;
  ~CXMP() override;
  bool IsValid() const override { return true; }

  // Reads the decoded Metadata stream. False, and no packet, if it cannot be read: a new packet will then be
  // made by the update, unless it is to be carried over. A null stream counts as unreadable.
  bool Load(BSE::IByteStream* pStream);

  // True for a packet that is too large to be read. It stays as it is, and the update makes no other one; of
  // what it says only the claim is known.
  bool IsCarried() const { return m_bCarried; }

  // The code of what a packet written anew will lack, all of it or a part; 0 for nothing.
  unsigned GetLossCode() const { return m_errors.GetLossCode(); }

  // Takes over packet and part of another document's metadata; pending events stay.
  void CopyFrom(const CXMP& other);

  bool HasPacket() const { return static_cast<bool>(m_pPacket); }

  // Part of PDF/A that the document this was read from claims; 0 without a claim. From part 2 on there is no
  // information dictionary to read.
  void SetPart(int nPart) { m_nPart = nPart; }

  // The PDF/A identification: values of "part" and "conformance", empty where missing.
  BSE::CStr8 GetClaimedPart() const;
  BSE::CStr8 GetClaimedLevel() const;

  // Writes the identification; an empty part removes it. Nothing happens without a packet.
  void SetClaim(const char* szPart, const char* szLevel);

  // Notes what has been done with the document, for the next update. Either text may be null.
  void AddHistoryEvent(const char* szAction, const char* szParameters);

  // The value of an entry: the packet's first, the dictionary's last. False if there is none.
  bool GetInfoEntry(const char* szKey, IInfoDictionary& info, BSE::CStr16& value) const;

  // Sets an entry in the dictionary and the packet; an empty text removes it from both.
  void SetInfoEntry(const char* szKey, const BSE::CStr16& value, IInfoDictionary& info);

  // Brings packet and dictionary in step and writes pending events into the history. Where both have a value,
  // the packet's wins.
  void UpdateMetadata(const TMetadataUpdate& update, IInfoDictionary& info);

  // Appends the packet, if there is one, in UTF-8.
  void WritePacket(BSE::CStr8& text) const;

private:
  struct TEvent;

  void FindClaim(std::span<const unsigned char> bytes);
  TPairValue ReadPacket(const TInfoPair& pair, BSE::CStr16& value) const;
  bool CanReadInfo() const { return m_nPart < 2; }
  void Synchronize(const TInfoPair& pair, bool bComplete, IInfoDictionary& info);
  void EnsureDate(const char* szKey, const XMP::TDate& now, IInfoDictionary& info);
  bool LacksCreationDate(IInfoDictionary& info) const;
  void EnsureKeywords();
  void DropEvents();
  void WriteHistory(const TMetadataUpdate& update, const char* szNow);
  void EnsureInstanceId();
  XMP::CSeq* GetHistory();

  CXMPErrorContext m_errors;
  BSE::CObjectPtr<XMP::CPacket> m_pPacket;
  BSE::CPtrArray<TEvent> m_events;
  BSE::CStr8 m_newInstanceId;  // for a document without one; the same for all its copies
  int m_nPart = 0;
  BSE::CStr8 m_carriedPart;  // claim of a packet that is carried over
  BSE::CStr8 m_carriedLevel;
  bool m_bCarried = false;
  bool m_bBroken = false;  // there was a stream that could not be read
};

}  // namespace PDF
