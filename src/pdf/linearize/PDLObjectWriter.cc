#include "pdf/linearize/PDLObjectWriter.h"

#include "base/Limits.h"
#include "pdf/linearize/PDCharacters.h"
#include "pdf/linearize/PDParser.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

// The string of a signature, which is plain in every file (ISO 32000-2, 7.6.2); -1 for none.
int FindSignature(const PDObj& object, int nNode)
{
  if (object.GetType(nNode) != ePDDictionary || object.Find(nNode, "ByteRange") < 0)
    return -1;
  const int nContents = object.Find(nNode, "Contents");
  const bool bString = object.GetType(nContents) == ePDString || object.GetType(nContents) == ePDHexString;
  return bString ? nContents : -1;
}

}  // namespace

PDLObjectWriter::PDLObjectWriter(PDFile& file, const PDLPageTree& tree, const PDLClassifier& classifier,
                                 PDCryptor* pCryptor)
    : m_file(file), m_tree(tree), m_classifier(classifier), m_pCryptor(pCryptor)
{
  // New nodes of the page tree come after the objects of the file.
  const int nNodes = static_cast<int>(tree.GetNodes().size());
  m_nFirstDirectValue = file.GetCount() + nNodes;
  m_numbers.SetSize(m_nFirstDirectValue);
  m_treePlaces.SetSize(file.GetCount() + nNodes);
  int nPlace = 0;
  for (const TPDPage& page : tree.GetPages())
    m_treePlaces[page.m_nObject] = nPlace++;
  nPlace = 0;
  for (const TPDTreeNode& node : tree.GetNodes())
    m_treePlaces[node.m_nObject] = nPlace++;
  if (pCryptor && file.HasObjectKeys())
    m_lengths.SetSize(file.GetCount());
}

void PDLObjectWriter::SetDirectValues(const PDLDirectValues& values)
{
  m_pDirectValues = &values;
  m_numbers.SetSize(m_nFirstDirectValue + values.GetCount());
}

int PDLObjectWriter::GetSource(int nObject) const
{
  if (nObject < m_file.GetCount())
    return nObject;
  if (nObject < m_nFirstDirectValue)
    return -1;
  return m_pDirectValues->GetValue(nObject - m_nFirstDirectValue).m_nOwner;
}

bool PDLObjectWriter::Read(int nObject, TPDStream& stream)
{
  const int nSource = GetSource(nObject);
  return nSource < 0 || m_file.ReadObject(nSource, m_object, stream);
}

bool PDLObjectWriter::WriteObject(int nObject, PDWriter& output)
{
  TPDStream stream;
  if (!Read(nObject, stream))
    return Fail("An object cannot be read.");
  output.PutNumber(m_numbers[nObject]);
  output.Put(" 0 obj\n");
  BeginObject(nObject, false);
  const bool bWritten = WriteBody(nObject, stream, output);
  output.Put("\nendobj\n");
  return bWritten;
}

bool PDLObjectWriter::WriteMember(int nObject, PDWriter& output)
{
  TPDStream stream;
  if (!Read(nObject, stream) || stream.m_bStream)
    return Fail("An object cannot be read.");
  BeginObject(nObject, true);
  return WriteBody(nObject, stream, output);
}

bool PDLObjectWriter::WriteBody(int nObject, const TPDStream& stream, PDWriter& output)
{
  bool bWritten = true;
  if (nObject >= m_nFirstDirectValue)
    WriteDirectValue(m_pDirectValues->GetValue(nObject - m_nFirstDirectValue), output);
  else if (nObject >= m_file.GetCount())
    WriteNewNode(nObject, output);
  else if (stream.m_bStream)
    bWritten = WriteStreamObject(nObject, m_object, stream, output);
  else if (m_object.GetType(0) == ePDDictionary && m_classifier.GetRole(nObject) == ePDRolePage)
    WritePage(nObject, m_object, output);
  else if (m_object.GetType(0) == ePDDictionary && m_classifier.GetRole(nObject) == ePDRoleNode)
    WritePageTreeNode(nObject, m_object, output);
  else if (m_pDirectValues && nObject == m_file.GetRoot() && m_object.GetType(0) == ePDDictionary)
    WriteCatalogue(m_object, output);
  else
    WriteNode(m_object, 0, output);
  if (m_pCryptor && m_pCryptor->HasFailed())
    return Fail("A string cannot be encrypted.");
  return bWritten;
}

void PDLObjectWriter::SetNewKeys(bool bPlainMetadata)
{
  m_bNewKeys = true;
  m_bNewPlainMetadata = bPlainMetadata;
  m_lengths.SetSize(m_file.GetCount());
}

void PDLObjectWriter::BeginObject(int nObject, bool bMember)
{
  m_nNewNumber = m_numbers[nObject];
  m_bMember = bMember;
  m_bRegular = false;
  const int nSource = GetSource(nObject);
  if (nSource < 0)
    return;
  const bool bMetadata = m_object.IsName(m_object.Find(0, "Type"), "Metadata");
  const bool bNewPlain = m_bNewKeys ? m_bNewPlainMetadata : m_file.HasPlainMetadata();
  m_bSourceSecure = m_pCryptor && m_file.IsEncrypted() && nSource != m_file.GetEncrypt();
  m_bSecure = (m_bNewKeys || m_bSourceSecure) && !bMember;
  // Plain metadata has plain data, not plain strings beside them.
  m_bSourceEncrypted = m_bSourceSecure && !(bMetadata && m_file.HasPlainMetadata());
  m_bEncrypted = m_bSecure && !(bMetadata && bNewPlain);
  SetSource(nSource);
}

void PDLObjectWriter::SetSource(int nObject)
{
  const TPDEntry& entry = m_file.GetEntry(nObject);
  m_nOldNumber = entry.m_nNumber;
  m_nOldGeneration = entry.m_nGeneration;
  const bool bNewKey = m_bNewKeys || m_bMember || m_file.HasObjectKeys();
  m_bDecryptStrings = m_bSourceSecure && !entry.m_bStored && bNewKey;
  m_bEncryptStrings = m_bSecure && (entry.m_bStored || bNewKey);
}

// --- Values

bool PDLObjectWriter::IsCarried(const TPDNode& node) const
{
  return !node.m_bReferences && (!node.m_bStrings || (!m_bDecryptStrings && !m_bEncryptStrings));
}

// Parts that stay as they are go out in one piece.
void PDLObjectWriter::WriteNode(const PDObj& object, int nNode, PDWriter& output)
{
  int ends[BSE::g_nMaxNesting];
  int signatures[BSE::g_nMaxNesting];
  TPDType types[BSE::g_nMaxNesting];
  int nDepth = 0;
  const int nStop = object.GetNext(nNode);
  for (int i = nNode; i < nStop;)
  {
    const TPDNode& node = object.GetNode(i);
    if (nDepth > 0 && i == signatures[nDepth - 1])
    {
      WriteText(object.GetText(i), output);
      i = object.GetNext(i);
    }
    else if (node.m_nType < ePDArray || IsCarried(node))
    {
      WriteLeaf(object, i, output);
      i = object.GetNext(i);
    }
    else
    {
      WriteText(node.m_nType == ePDArray ? "[" : "<<", output);
      ends[nDepth] = object.GetNext(i);
      signatures[nDepth] = FindSignature(object, i);
      types[nDepth++] = node.m_nType;
      ++i;
    }
    for (; nDepth > 0 && i == ends[nDepth - 1]; --nDepth)
      WriteText(types[nDepth - 1] == ePDArray ? "]" : ">>", output);
  }
}

void PDLObjectWriter::WriteLeaf(const PDObj& object, int nNode, PDWriter& output)
{
  const TPDNode& node = object.GetNode(nNode);
  if (node.m_nType == ePDReference)
    WriteReference(m_file.FindObject(node.m_nValue), output);
  else if (node.m_nType == ePDNull)
    WriteText("null", output);
  else if (IsCarried(node))
    WriteText(object.GetText(nNode), output);
  else
    WriteString(object, nNode, output);
}

void PDLObjectWriter::WriteString(const PDObj& object, int nNode, PDWriter& output)
{
  constexpr char digits[] = "0123456789ABCDEF";
  object.DecodeString(nNode, m_bytes);
  if (m_bDecryptStrings)
    m_pCryptor->DecryptString(m_bytes, m_nOldNumber, m_nOldGeneration);
  if (m_bEncryptStrings)
    m_pCryptor->EncryptString(m_bytes, m_nNewNumber, 0);
  output.PutByte('<');
  for (const unsigned char nByte : m_bytes.GetSpan())
  {
    output.PutByte(static_cast<unsigned char>(digits[nByte >> 4]));
    output.PutByte(static_cast<unsigned char>(digits[nByte & 0xF]));
  }
  output.PutByte('>');
  m_bRegular = false;
}

void PDLObjectWriter::WriteReference(int nTarget, PDWriter& output)
{
  const int nNumber = nTarget >= 0 ? m_numbers[nTarget] : 0;
  if (nNumber == 0)
  {
    WriteText("null", output);
    return;
  }
  if (m_bRegular)
    output.PutByte(' ');
  output.PutNumber(nNumber);
  output.Put(" 0 R");
  m_bRegular = true;
}

void PDLObjectWriter::WriteText(std::span<const unsigned char> text, PDWriter& output)
{
  if (text.empty())
    return;
  if (m_bRegular && IsPDRegular(text.front()))
    output.PutByte(' ');
  output.Put(text);
  // After an empty name a number would become its text.
  m_bRegular = IsPDRegular(text.back()) || text.back() == '/';
}

void PDLObjectWriter::WriteText(const char* szText, PDWriter& output)
{
  WriteText({reinterpret_cast<const unsigned char*>(szText), std::strlen(szText)}, output);
}

// --- Dictionaries

void PDLObjectWriter::WriteEntries(const PDObj& object, std::span<const char* const> skipped, CUses uses,
                                   PDWriter& output)
{
  const int nEnd = object.GetNext(0);
  for (int nKey = 1; nKey < nEnd; nKey = object.GetNext(nKey + 1))
  {
    if (std::any_of(skipped.begin(), skipped.end(),
                    [&object, nKey](const char* szKey) { return object.IsName(nKey, szKey); }))
      continue;
    WriteText(object.GetText(nKey), output);
    if (uses.empty() || uses.front().m_nNode != nKey + 1)
      WriteNode(object, nKey + 1, output);
    else
    {
      WriteReference(GetDirectValue(uses.front().m_nValue), output);
      uses = uses.subspan(1);
    }
  }
}

PDLObjectWriter::CUses PDLObjectWriter::GetPageUses(int nPage) const
{
  return m_pDirectValues ? m_pDirectValues->GetPageUses(nPage) : CUses();
}

void PDLObjectWriter::WriteCatalogue(const PDObj& object, PDWriter& output)
{
  WriteText("<<", output);
  WriteEntries(object, {}, m_pDirectValues->GetCatalogueUses(), output);
  WriteText(">>", output);
}

void PDLObjectWriter::WritePage(int nObject, const PDObj& object, PDWriter& output)
{
  constexpr const char* skipped[] = {"Parent"};
  const TPDPage& page = m_tree.GetPages()[static_cast<std::size_t>(m_treePlaces[nObject])];
  const int nPage = m_treePlaces[nObject];
  WriteText("<<", output);
  WriteEntries(object, skipped, GetPageUses(nPage), output);
  WriteText("/Parent", output);
  WriteReference(page.m_nParent, output);
  WriteInherited(nPage, page, output);
  WriteText(">>", output);
}

void PDLObjectWriter::WriteDirectValue(const PDLDirectValues::TValue& value, PDWriter& output)
{
  if (value.m_nNode >= 0)
  {
    WriteNode(m_object, value.m_nNode, output);
    return;
  }
  PDParser parser(m_tree.GetValueText(~value.m_nNode), true);
  if (parser.ParseValue(m_value) != TPDResult::Complete)
    return WriteText("null", output);
  SetSource(m_tree.GetValueNode(~value.m_nNode));
  WriteNode(m_value, 0, output);
}

// A page that is read alone has to be complete. Strings among the values are encrypted for the node.
void PDLObjectWriter::WriteInherited(int nPage, const TPDPage& page, PDWriter& output)
{
  const CUses uses = GetPageUses(nPage);
  for (int i = 0; i < ePDInheritableCount; ++i)
  {
    if (page.m_inherited[i] < 0)
      continue;
    if (!uses.empty() && uses.back().m_nNode == ~page.m_inherited[i])
    {
      WriteText("/", output);
      m_bRegular = false;
      WriteText(g_pdInheritableKeys[i], output);
      WriteReference(GetDirectValue(uses.back().m_nValue), output);
      continue;
    }
    PDParser parser(m_tree.GetValueText(page.m_inherited[i]), true);
    if (parser.ParseValue(m_value) != TPDResult::Complete)
      continue;
    SetSource(m_tree.GetValueNode(page.m_inherited[i]));
    WriteText("/", output);
    m_bRegular = false;
    WriteText(g_pdInheritableKeys[i], output);
    WriteNode(m_value, 0, output);
  }
}

// What holds below a tree node is on the pages.
void PDLObjectWriter::WritePageTreeNode(int nObject, const PDObj& object, PDWriter& output)
{
  constexpr const char* skipped[] = {"Parent", "Rotate", "CropBox", "MediaBox", "Resources", "Kids", "Count"};
  constexpr std::size_t nKept = 2;
  static_assert(std::size(skipped) == ePDInheritableCount + 1 + nKept);
  WriteText("<<", output);
  WriteEntries(object, std::span(skipped).first(std::size(skipped) - (m_tree.IsRebuilt() ? 0 : nKept)), {},
               output);
  WriteTreeEntries(m_tree.GetNodes()[static_cast<std::size_t>(m_treePlaces[nObject])], output);
  WriteText(">>", output);
}

void PDLObjectWriter::WriteNewNode(int nObject, PDWriter& output)
{
  WriteText("<</Type/Pages", output);
  WriteTreeEntries(m_tree.GetNodes()[static_cast<std::size_t>(m_treePlaces[nObject])], output);
  WriteText(">>", output);
}

void PDLObjectWriter::WriteTreeEntries(const TPDTreeNode& node, PDWriter& output)
{
  if (m_tree.IsRebuilt())
  {
    WriteText("/Count ", output);
    output.PutNumber(node.m_nPageCount);
    WriteText("/Kids[", output);
    for (const int nKid : m_tree.GetKids(node))
      WriteReference(nKid, output);
    WriteText("]", output);
  }
  if (node.m_nParent >= 0)
  {
    WriteText("/Parent", output);
    WriteReference(node.m_nParent, output);
  }
}
