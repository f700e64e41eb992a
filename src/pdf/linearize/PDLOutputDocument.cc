#include "pdf/linearize/PDLOutput.h"

#include <cstring>

// The bytes of a linearized file.

namespace
{

// Digits of a position or length. Numbers that are known only in the end are in fields of this width.
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
  WriteEncrypt(output);
  if (!WritePart(m_head, output) || output.Tell() != m_nHintOffset || !WriteHints(output))
    return false;
  if (!WritePart(m_first, output) || output.Tell() != m_nFirstPageEnd || !WritePart(m_rest, output))
    return false;
  WriteMainSection(output);
  return output.Tell() == m_nFileLength && !output.HasFailed();
}

// An object that is not as long as it was measured would put everything after it in the wrong place.
bool PDLOutput::WritePart(const TPart& part, PDWriter& output)
{
  for (int i = 0; i < part.m_objects.GetSize(); ++i)
  {
    const std::int64_t nStart = output.Tell();
    if (!WriteItem(part.m_objects[i], output) || output.HasFailed() ||
        output.Tell() - nStart != part.m_lengths[i])
      return false;
  }
  return true;
}

bool PDLOutput::WriteItem(int nItem, PDWriter& output)
{
  return PDLPacker::IsStream(nItem) ? m_pPacker->WriteStream(nItem, *m_pWriter, output)
                                    : m_pWriter->WriteObject(nItem, output);
}

void PDLOutput::WriteHeader(PDWriter& output)
{
  const char* szVersion = m_input.GetVersion();
  output.Put("%PDF-");
  output.Put(m_pSecurity && std::strcmp(szVersion, m_pSecurity->m_szVersion) < 0 ? m_pSecurity->m_szVersion
                                                                                 : szVersion);
  output.Put("\n");
  output.Put(g_szBinary);
}

// Table F.1. T leads to the white space in front of the first entry of the main table, or to the main stream.
void PDLOutput::WriteLinearization(PDWriter& output)
{
  PDWriter range;
  if (!m_pPacker)
  {
    range.Put(g_szXRef);
    range.PutNumber(m_nLinearizationNumber);
  }
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
  if (m_pPacker)
  {
    output.Put(m_firstXRef.GetSpan());
    return;
  }
  output.Put("xref\n");
  output.PutNumber(m_nLinearizationNumber);
  output.PutByte(' ');
  output.PutNumber(m_nObjectCount - m_nLinearizationNumber);
  output.PutByte('\n');
  WritePosition(m_nLinearization, output);
  if (m_pSecurity)
    WritePosition(m_nEncrypt, output);
  WritePositions(m_head, m_nHead, output);
  WritePosition(m_nHintOffset, output);
  WritePositions(m_first, m_nHintEnd, output);
  output.Put("trailer\n<<");
  WriteTrailer(output);
  output.Put(">>\nstartxref\n0\n%%EOF\n");
}

void PDLOutput::WriteTrailer(PDWriter& output)
{
  output.Put("/Size ");
  output.PutNumber(m_nObjectCount);
  output.Put("/Prev ");
  output.PutSpacePadded(m_nMainXRef, g_nPositionWidth);
  WriteTrailerReference("/Root ", m_input.GetRoot(), output);
  WriteTrailerReference("/Info ", m_input.GetInfo(), output);
  WriteSecurity(output);
}

// The identifier is with the encryption, whose keys may depend on it.
void PDLOutput::WriteSecurity(PDWriter& output)
{
  const std::span<const unsigned char> id = m_pSecurity ? m_pSecurity->m_id.GetSpan() : m_input.GetIdText();
  if (!id.empty())
    output.Put("/ID ");
  output.Put(id);
  if (m_pSecurity)
  {
    output.Put("/Encrypt ");
    output.PutNumber(m_nEncryptNumber);
    output.Put(" 0 R");
    return;
  }
  WriteTrailerReference("/Encrypt ", m_input.GetEncrypt(), output);
  if (!m_input.GetEncryptText().empty())
    output.Put("/Encrypt ");
  output.Put(m_input.GetEncryptText());
}

void PDLOutput::WriteEncrypt(PDWriter& output)
{
  if (!m_pSecurity)
    return;
  output.PutNumber(m_nEncryptNumber);
  output.Put(" 0 obj\n");
  output.Put(m_pSecurity->m_dictionary.GetSpan());
  output.Put("\nendobj\n");
}

void PDLOutput::WriteMainSection(PDWriter& output)
{
  if (m_pPacker)
  {
    output.Put(m_mainXRef.GetSpan());
    return;
  }
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
