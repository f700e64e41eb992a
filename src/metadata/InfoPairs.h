#pragma once

#include "metadata/XmpDate.h"
#include "metadata/XmpPacket.h"

// Entries of the information dictionary (ISO 32000-1, 14.3.3) and the properties that say the same.
namespace PDF
{

enum class TInfoKind
{
  LanguageText,  // language alternative, at "x-default"
  List,          // ordered list; the entry joins its items
  Text,
  Date,
  Trapped  // "True" or "False"
};

struct TInfoPair
{
  const char* m_szKey;
  const char* m_szNamespace;
  const char* m_szProperty;
  TInfoKind m_kind;
};

enum class TPairValue
{
  Missing,
  Invalid,  // there, but not a value that the entry could have
  Found
};

std::span<const TInfoPair> GetInfoPairs();

// Null for a key without a pair.
const TInfoPair* FindInfoPair(const char* szKey);

// Reads the property as the text of the entry, dates in the form of PDF.
TPairValue ReadInfoPair(const XMP::CPacket& packet, const TInfoPair& pair, BSE::CStr16& text);

// Sets the property from the text of the entry; an empty text removes it. False, and nothing changes, for a
// text that the property cannot hold.
bool WriteInfoPair(XMP::CPacket& packet, const TInfoPair& pair, const BSE::CStr16& text);

// True if two texts of the entry mean the same value.
bool IsSameInfo(TInfoKind kind, const BSE::CStr16& a, const BSE::CStr16& b);

// False for the text of an entry that is not a date.
bool ParseInfoDate(const BSE::CStr16& text, XMP::TDate& date);

}  // namespace PDF
