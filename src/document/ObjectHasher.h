#pragma once

#include "base/BasicArray.h"
#include "document/ObjectTraverser.h"

#include <array>

namespace PDF
{

// Enough of a strong hash that equal digests can be taken for equal contents.
using TObjectDigest = std::array<unsigned char, 16>;

// True for a font, an image or a form, whose "Name" repeats the name of a resource (ISO 32000-1, Tables 89,
// 95 and 111) and does not count. A font may lack its "Type".
bool HasResourceName(const CObjectPtr& dictionary);

// Brings values into a form whose bytes are equal exactly for equal values: dictionaries sorted by key,
// numbers by value and kind, references by the number that stands for their object. What a reference leads to
// is not looked at. The key "Name" of fonts and XObjects does not count.
class CObjectHasher : public CObjectTraverser
{
public:
  CObjectHasher() = default;
  virtual ~CObjectHasher() = default;

  // Empties the form.
  void Reset() { m_bytes.Truncate(0); }

  // Appends a value; of an indirect object its value object, not the object itself.
  void AddValue(const CObjectPtr& value) { Visit(value); }

  // Appends the dictionary of a stream without its length, and without what says how its data are encoded
  // unless bEncoded.
  void AddStreamDictionary(const CObjectPtr& dictionary, bool bEncoded);
  void AddBytes(std::span<const unsigned char> bytes) { m_bytes.Append(bytes); }

  // Digest of what was appended since the last reset.
  TObjectDigest GetDigest() const;

  CObjectPtr VisitNull(const CObjectPtr& object) override;
  CObjectPtr VisitBoolean(const CObjectPtr& object) override;
  CObjectPtr VisitInteger(const CObjectPtr& object) override;
  CObjectPtr VisitReal(const CObjectPtr& object) override;
  CObjectPtr VisitString(const CObjectPtr& object) override;
  CObjectPtr VisitName(const CObjectPtr& object) override;
  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitArray(const CObjectPtr& object) override;
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

protected:
  // What stands for the object of a number.
  virtual int GetTarget(int nNumber) const { return nNumber; }

private:
  void AddTag(char nTag) { m_bytes.Add(static_cast<unsigned char>(nTag)); }
  void AddNumber(std::uint64_t nValue);
  void AddText(const char* szText);
  void AddEntries(const CObjectPtr& dictionary, const BSE::CBasicArray<int>& positions);

  BSE::CBasicArray<unsigned char> m_bytes;
};

// Positions of the entries that count, sorted by key.
template <class TFilter>
void CollectEntries(const CObjectPtr& dictionary, BSE::CBasicArray<int>& positions, TFilter counts)
{
  for (int i = dictionary.GetBegin(); i != dictionary.GetEnd(); i = dictionary.GetNext(i))
    if (counts(dictionary.GetKey(i)))
      positions.Add(i);
  const std::span<int> entries = positions.GetSpan();
  std::sort(entries.begin(), entries.end(),
            [&](int nA, int nB) { return std::strcmp(dictionary.GetKey(nA), dictionary.GetKey(nB)) < 0; });
}

}  // namespace PDF
