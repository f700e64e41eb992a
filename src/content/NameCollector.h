#pragma once

#include "base/BasicMap.h"

#include <cstddef>
#include <span>

namespace PDF
{

// All names in the bytes of a content stream, wherever they are: as operands, in dictionaries, but also in
// strings and in the data of inline images. So it never misses a name that some reader takes for one, however
// damaged the operators around it are, and may find some that there are not.
class CNameCollector
{
public:
  CNameCollector() = default;
  CNameCollector(const CNameCollector&) = delete;
  CNameCollector& operator=(const CNameCollector&) = delete;

  // Bytes of the content, in order; a name may begin in one call and end in the next.
  void Add(std::span<const unsigned char> bytes);

  // The end of the content, which ends a name.
  void End();

  // The end of one of several streams of it. Readers do not agree on whether a name goes on in the next one.
  void EndPart();

  // False once a name was left out, because it or their number was too large.
  bool IsComplete() const { return m_bComplete; }

  // The names, each once: text that ends with a zero, with its "#xx" (ISO 32000-1, 7.3.5) replaced as the
  // scanner does, and as it is written where that is another. Numbers of entries are those of BSE::CBasicMap.
  int GetBegin() const { return m_names.GetBegin(); }
  int GetNext(int nPos) const { return m_names.GetNext(nPos); }
  int GetEnd() const { return m_names.GetEnd(); }
  const char* GetName(int nPos) const { return static_cast<const char*>(m_names.GetKey(nPos)); }

private:
  static constexpr int g_nMaxLength = 512;  // bytes of a name as it is written
  static constexpr int g_nMaxNames = 1 << 16;

  void EndName();
  void AddWritten();
  void AddName(const char* szName);

  BSE::CBasicMap m_names;
  char m_name[g_nMaxLength + 1] = {};
  int m_nLength = -1;  // of the name that has begun; negative outside of names
  bool m_bComplete = true;
};

}  // namespace PDF
