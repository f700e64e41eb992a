#pragma once

#include "base/BasicArray.h"
#include "base/MemoryStream.h"
#include "pdf/Generator.h"

namespace PDF
{

class CFile;
class CFileWriter;
class CIndirectObject;
struct TFileState;

// An object stream that is being filled (ISO 32000-1, 7.5.7). Members are rendered as they come; once their
// text exceeds 15000 bytes the stream is complete, so that a reader never decodes much for one object; 250000
// bytes in a file with a deflater of its own, which is written for size.
class CPendingObjectStream
{
public:
  // Takes the file's next free number for the stream. Borrows all three.
  CPendingObjectStream(CFile& file, TFileState& state, CFileWriter& writer);
  CPendingObjectStream(const CPendingObjectStream&) = delete;
  CPendingObjectStream& operator=(const CPendingObjectStream&) = delete;
  ~CPendingObjectStream();

  int GetObjNumber() const { return m_holder.GetObjNumber(); }

  // Renders the object, which is clean afterwards and has its place in the table. An object that the stream
  // holds already moves to the end. False if nothing could be rendered.
  bool Add(CIndirectObject& object);

  // Fills an object with the value of the member at an index. False if that is another object, or its text
  // cannot be read.
  bool Read(CIndirectObject& object, int nIndex);

  bool IsFull();

  // Compresses the members and writes the stream; success without members. Nothing can be added afterwards.
  bool Flush();

private:
  struct TMember
  {
    int m_nObjNumber;
    int m_nOffset;
  };

  void RemoveMember(int nIndex);
  BSE::CObjectPtr<BSE::CMemoryStream> Compress(int& nFirst, std::int64_t& nPlainLength);

  CFile& m_file;
  TFileState& m_state;
  CFileWriter& m_writer;
  CObjectPtr m_holder;
  BSE::CBasicArray<TMember> m_members;
  BSE::CObjectPtr<BSE::CMemoryStream> m_pData;
  CGenerator m_generator;
};

}  // namespace PDF
