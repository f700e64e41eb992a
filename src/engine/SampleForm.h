#pragma once

#include "engine/ByteBuffer.h"
#include "pdf/Object.h"

#include <cstdint>

namespace PDF
{

// What an image's dictionary says of the form of its samples.
struct TSampleForm
{
  // Bytes of a row.
  std::size_t GetRowSize() const
  {
    return (static_cast<std::size_t>(m_nWidth) * static_cast<std::size_t>(m_nComponents) *
                static_cast<std::size_t>(m_nBits) +
            7) /
           8;
  }

  // Whether there is at least one pixel, of a depth that PDF knows and a sane number of components.
  bool IsUsable() const;

  CObjectPtr m_space;  // null for a stencil mask
  int m_nWidth = 0;
  int m_nHeight = 0;
  int m_nComponents = 0;
  int m_nBits = 0;
};

// The samples of an image in memory: rows from the top, each padded to a byte. The operations bring them into
// a shorter form of the same colours, without a change of any; each is false where that is not possible.
class CSamples
{
public:
  // Rows of that form, which is usable; no more are taken than it has. False if there are fewer.
  bool Assign(const TSampleForm& form, std::span<const unsigned char> rows);

  // The same without a copy: gives its own memory away for the rows.
  bool Take(const TSampleForm& form, CByteBuffer& rows);

  const TSampleForm& GetForm() const { return m_form; }
  std::span<const unsigned char> GetRows() const { return m_rows.GetSpan(); }

  // 16 bits of which both bytes are the same to 8.
  bool ReduceDepth();

  // Gray that is RGB of a device.
  bool ReduceToGray();

  // Colours of 8 bits that are no more than 256 to a table. Not for gray, which soft masks have to be.
  bool ReduceToTable();

  // Gray and indices of 8 bits to 1, 2 or 4, as few as hold all of them.
  bool Pack();

private:
  bool IsIndexed() const;
  void Replace(CByteBuffer& rows, int nComponents, int nBits);

  TSampleForm m_form;
  CByteBuffer m_rows;
};

}  // namespace PDF
