#pragma once

#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

// Room in the file for the Contents of a signature (ISO 32000-1, Table 252), which can be computed only once
// everything else is written. Never part of an object stream.
class CContentsObject : public CStringObject
{
public:
  // Room for that many bytes, written as zeros.
  explicit CContentsObject(int nBytes) : CStringObject(CString()), m_nBytes(nBytes) {}
  CObject* Clone() override { return new CContentsObject(m_nBytes); }
  bool IsPlaceholder() override { return true; }

  int GetRoom() const { return m_nBytes; }

  // Position of the opening bracket in the output; -1 before it is written.
  std::int64_t GetPosition() const { return m_nPosition; }
  void SetPosition(std::int64_t nPosition) { m_nPosition = nPosition; }

private:
  int m_nBytes;
  std::int64_t m_nPosition = -1;
};

// The same for the ByteRange of a signature.
class CByteRangeObject : public CArrayObject
{
public:
  // Characters between the brackets; three numbers of ten digits and a zero fit.
  static constexpr int g_nRoom = 34;

  CObject* Clone() override { return new CByteRangeObject; }
  bool IsPlaceholder() override { return true; }

  // Position of the opening bracket in the output; -1 before it is written.
  std::int64_t GetPosition() const { return m_nPosition; }
  void SetPosition(std::int64_t nPosition) { m_nPosition = nPosition; }

private:
  std::int64_t m_nPosition = -1;
};

}  // namespace PDF
