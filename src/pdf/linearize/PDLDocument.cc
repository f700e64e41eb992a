#include "pdf/linearize/PDLOutput.h"

// The bytes of a linearized file.

namespace
{

// Digits of a position or length. Numbers that are known only in the end stand in fields of this width.
constexpr int g_nPositionWidth = 10;
constexpr int g_nGenerationWidth = 5;

// Marks the file as binary for programs that transfer it.
constexpr char g_szBinary[] = "%\xE2\xE3\xCF\xD3\n";

constexpr char g_szXRef[] = "xref\n0 ";

}  // namespace

bool PDLOutput::WriteDocument(PDWriter& output)
{
  WriteHeader(output);
  WriteLinearization(output);
  WriteFirstSection(output);
  if (!WritePart(m_head, output) || output.Tell() != m_nHintOffset || !WriteHints(output))
    return false;
  if (!WritePart(m_first, output) || output.Tell() != m_nFirstPageEnd || !WritePart(m_rest, output))
    return false;
  WriteMainSection(output);
  return output.Tell() == m_nFileLength && !output.HasFailed();
}

// An object that is not as long as it was measured would put everything behind it in the wrong place.
bool PDLOutput::WritePart(const TPart& part, PDWriter& output)
{
  for (int i = 0; i < part.m_objects.GetSize(); ++i)
  {
    const std::int64_t nStart = output.Tell();
    if (!m_pWriter->WriteObject(part.m_objects[i], output) || output.HasFailed() ||
        output.Tell() - nStart != part.m_lengths[i])
      return false;
  }
  return true;
}

void PDLOutput::WriteHeader(PDWriter& output)
{
  output.Put("%PDF-");
  output.Put(m_input.GetVersion());
  output.Put("\n");
  output.Put(g_szBinary);
}

// Table F.1. T leads to the white space in front of the first entry of the main table.
void PDLOutput::WriteLinearization(PDWriter& output)
{
  PDWriter range;
  range.Put(g_szXRef);
  range.PutNumber(m_nLinearizationNumber);
  output.PutNumber(m_nLinearizationNumber);
  output.Put(" 0 obj\n<</Linearized 1/L ");
  output.PutSpacePadded(m_nFileLength, g_nPositionWidth);
  output.Put("/H [");
  output.PutSpacePadded(m_nHintOffset, g_nPositionWidth);
  output.PutByte(' ');
  output.PutSpacePadded(m_nHintEnd - m_nHintOffset, g_nPositionWidth);
  output.Put("]/O ");
  output.PutNumber(m_pWriter->GetNumber(m_first.m_objects[0]));
  output.Put("/E ");
  output.PutSpacePadded(m_nFirstPageEnd, g_nPositionWidth);
  output.Put("/N ");
  output.PutNumber(static_cast<std::int64_t>(m_tree.GetPages().size()));
  output.Put("/T ");
  output.PutSpacePadded(m_nMainXRef + range.Tell(), g_nPositionWidth);
  output.Put(">>\nendobj\n");
}

void PDLOutput::WritePosition(std::int64_t nPos, PDWriter& output)
{
  output.PutZeroPadded(nPos, g_nPositionWidth);
  output.Put(" 00000 n \n");
}

void PDLOutput::WritePositions(const TPart& part, std::int64_t nPos, PDWriter& output)
{
  for (const std::int64_t nLength : part.m_lengths.GetSpan())
  {
    WritePosition(nPos, output);
    nPos += nLength;
  }
}

void PDLOutput::WriteTrailerReference(const char* szKey, int nObject, PDWriter& output)
{
  if (nObject < 0)
    return;
  output.Put(szKey);
  output.PutNumber(m_pWriter->GetNumber(nObject));
  output.Put(" 0 R");
}

void PDLOutput::WriteFirstSection(PDWriter& output)
{
  output.Put("xref\n");
  output.PutNumber(m_nLinearizationNumber);
  output.PutByte(' ');
  output.PutNumber(m_nObjectCount - m_nLinearizationNumber);
  output.PutByte('\n');
  WritePosition(m_nLinearization, output);
  WritePositions(m_head, m_nHead, output);
  WritePosition(m_nHintOffset, output);
  WritePositions(m_first, m_nHintEnd, output);
  output.Put("trailer\n<</Size ");
  output.PutNumber(m_nObjectCount);
  output.Put("/Prev ");
  output.PutSpacePadded(m_nMainXRef, g_nPositionWidth);
  WriteTrailerReference("/Root ", m_input.GetRoot(), output);
  WriteTrailerReference("/Info ", m_input.GetInfo(), output);
  if (!m_input.GetIdText().empty())
    output.Put("/ID ");
  output.Put(m_input.GetIdText());
  WriteTrailerReference("/Encrypt ", m_input.GetEncrypt(), output);
  if (!m_input.GetEncryptText().empty())
    output.Put("/Encrypt ");
  output.Put(m_input.GetEncryptText());
  output.Put(">>\nstartxref\n0\n%%EOF\n");
}

void PDLOutput::WriteMainSection(PDWriter& output)
{
  output.Put(g_szXRef);
  output.PutNumber(m_nLinearizationNumber);
  output.PutByte('\n');
  output.PutZeroPadded(0, g_nPositionWidth);
  output.PutByte(' ');
  output.PutZeroPadded(0, g_nGenerationWidth);
  output.Put(" f \n");
  WritePositions(m_rest, m_nFirstPageEnd, output);
  output.Put("trailer\n<</Size ");
  output.PutNumber(m_nLinearizationNumber);
  output.Put(">>\nstartxref\n");
  output.PutNumber(m_nFirstXRef);
  output.Put("\n%%EOF\n");
}

bool PDLOutput::WriteHints(PDWriter& output)
{
  return m_pWriter->WriteNewStream(m_nHintNumber, m_hintEntries.GetSpan(), m_hintData.GetSpan(), output);
}
