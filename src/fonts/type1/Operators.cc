// An operator whose operands are missing or of the wrong type does nothing, instead of raising an error: a
// damaged program then goes on, and what it defines later is not lost.

#include "fonts/type1/Parser.h"

namespace PS
{

void CParser::DoArray()
{
  if (!Needs(1) || !Top().IsNumber())
    return;
  const int nCount = std::clamp(Pop().m_nInteger, 0, 0xFFFF);
  const TValue array = MakeArray(GetKeyBelow());
  m_arrays[array.m_nInteger]->m_nDeclared = nCount;
  Push(array);
}

void CParser::DoMark()
{
  Push({eMark, false, 0, 0, {}});
}

void CParser::DoClearToMark()
{
  while (!m_stack.IsEmpty() && Pop().m_nType != eMark)
    continue;
}

void CParser::DoArrayEnd()
{
  int nMark = m_stack.GetSize() - 1;
  while (nMark >= 0 && m_stack[nMark].m_nType != eMark)
    --nMark;
  if (nMark < 0 || !Charge(m_stack.GetSize() - nMark))
    return;
  FONT::TName name;
  if (nMark > 0 && m_stack[nMark - 1].m_nType == eName)
    name = m_stack[nMark - 1].GetName();
  const TValue array = MakeArray(name);
  m_arrays[array.m_nInteger]->m_values.Append(m_stack.GetSpan().subspan(static_cast<std::size_t>(nMark) + 1));
  m_arrays[array.m_nInteger]->m_nDeclared = m_stack.GetSize() - nMark - 1;
  m_stack.Truncate(nMark);
  Push(array);
}

void CParser::DoDictEnd()
{
  int nMark = m_stack.GetSize() - 1;
  while (nMark >= 0 && m_stack[nMark].m_nType != eMark)
    --nMark;
  if (nMark < 0)
    return;
  const TValue dictionary = MakeDictionary({});
  for (int i = nMark + 1; i + 1 < m_stack.GetSize(); i += 2)
    if (m_stack[i].m_nType == eName)
      Define(dictionary.m_nInteger, m_stack[i].GetName(), TValue(m_stack[i + 1]));
  m_stack.Truncate(nMark);
  Push(dictionary);
}

void CParser::DoDict()
{
  if (!Needs(1) || !Top().IsNumber())
    return;
  Pop();
  Push(MakeDictionary(GetKeyBelow()));
}

void CParser::DoBegin()
{
  if (!Needs(1) || m_dictionaryStack.GetSize() >= g_nMaxDictionaries)
    return;
  // Any other value opens an empty dictionary, so that the end that belongs to it does not close another one.
  const TValue value = Pop();
  m_dictionaryStack.Add(value.m_nType == eDictionary ? value.m_nInteger : MakeDictionary({}).m_nInteger);
}

void CParser::DoEnd()
{
  if (m_dictionaryStack.GetSize() > 1)
    m_dictionaryStack.Truncate(m_dictionaryStack.GetSize() - 1);
}

void CParser::DoCurrentDict()
{
  Push({eDictionary, false, m_dictionaryStack[m_dictionaryStack.GetSize() - 1], 0, {}});
}

void CParser::DoDef()
{
  if (!Needs(2) || Top(1).m_nType != eName)
    return;
  const TValue value = Pop();
  const TValue key = Pop();
  Define(m_dictionaryStack[m_dictionaryStack.GetSize() - 1], key.GetName(), value);
}

void CParser::DoPut()
{
  if (!Needs(3))
    return;
  const TValue value = Pop();
  const TValue key = Pop();
  const TValue container = Pop();
  if (container.m_nType == eDictionary && key.m_nType == eName)
    Define(container.m_nInteger, key.GetName(), value);
  if (container.m_nType != eArray || !key.IsNumber())
    return;
  TArray& array = *m_arrays[container.m_nInteger];
  if (key.m_nInteger < 0 || key.m_nInteger >= array.m_nDeclared || OnPut(array.m_name, key.m_nInteger, value))
    return;
  const int nMore = key.m_nInteger + 1 - array.m_values.GetSize();
  if (nMore > 0 && Charge(nMore))
    array.m_values.SetSize(key.m_nInteger + 1);
  array.m_values.SetAt(key.m_nInteger, value);
}

void CParser::DoGet()
{
  if (!Needs(2))
    return;
  const TValue key = Pop();
  const TValue container = Pop();
  const TValue* pFound = nullptr;
  if (container.m_nType == eDictionary && key.m_nType == eName)
    pFound = FindIn(container.m_nInteger, key.GetName());
  else if (container.m_nType == eArray && key.IsNumber() && key.m_nInteger >= 0 &&
           key.m_nInteger < m_arrays[container.m_nInteger]->m_values.GetSize())
    pFound = &m_arrays[container.m_nInteger]->m_values[key.m_nInteger];
  Push(pFound ? TValue(*pFound) : TValue());
}

void CParser::DoKnown()
{
  if (!Needs(2))
    return;
  const TValue key = Pop();
  const TValue container = Pop();
  Push(MakeBoolean(container.m_nType == eDictionary && key.m_nType == eName &&
                   FindIn(container.m_nInteger, key.GetName())));
}

void CParser::DoLength()
{
  if (!Needs(1))
    return;
  const TValue value = Pop();
  if (value.m_nType == eArray)
    Push(MakeNumber(m_arrays[value.m_nInteger]->m_nDeclared));
  else if (value.m_nType == eDictionary)
    Push(MakeNumber(m_dictionaries[value.m_nInteger]->m_values.GetSize()));
  else
    Push(MakeNumber(static_cast<double>(value.m_text.size())));
}

void CParser::DoDup()
{
  if (Needs(1))
    Push(TValue(Top()));
}

void CParser::DoPop()
{
  if (Needs(1))
    Pop();
}

void CParser::DoExch()
{
  if (!Needs(2))
    return;
  const int nTop = m_stack.GetSize() - 1;
  std::swap(m_stack[nTop], m_stack[nTop - 1]);
}

void CParser::DoIndex()
{
  if (!Needs(2) || Top().m_nInteger < 0 || Top().m_nInteger > m_stack.GetSize() - 2)
    return;
  const int nBelow = Pop().m_nInteger;
  Push(TValue(Top(nBelow)));
}

void CParser::DoEqual()
{
  if (!Needs(2))
    return;
  const TValue a = Pop();
  const TValue b = Pop();
  Push(MakeBoolean(a.IsNumber() && b.IsNumber() ? a.m_dReal == b.m_dReal
                                                : a.m_nType == b.m_nType && a.m_nInteger == b.m_nInteger &&
                                                      FONT::IsSameName(a.GetName(), b.GetName())));
}

void CParser::DoBooleanAnd()
{
  if (!Needs(2))
    return;
  const TValue a = Pop();
  const TValue b = Pop();
  Push(a.m_nType == eBoolean ? MakeBoolean((a.m_nInteger & b.m_nInteger) != 0)
                             : MakeNumber(a.m_nInteger & b.m_nInteger));
}

void CParser::DoBooleanNot()
{
  if (Needs(1))
    Push(MakeBoolean(Pop().m_nInteger == 0));
}

void CParser::DoExec()
{
  if (!Needs(1))
    return;
  const TValue value = Pop();
  if (value.m_nType == eArray && value.m_bExecutable)
    PushFrame(value);
  else
    Execute(value);
}

void CParser::DoIf()
{
  if (!Needs(2))
    return;
  const TValue procedure = Pop();
  if (Pop().m_nInteger != 0 && procedure.m_nType == eArray)
    PushFrame(procedure);
}

void CParser::DoIfElse()
{
  if (!Needs(3))
    return;
  const TValue otherwise = Pop();
  const TValue procedure = Pop();
  const TValue& chosen = Pop().m_nInteger != 0 ? procedure : otherwise;
  if (chosen.m_nType == eArray)
    PushFrame(chosen);
}

void CParser::DoFor()
{
  if (!Needs(4))
    return;
  const TValue procedure = Pop();
  const double dLimit = Pop().m_dReal;
  const double dStep = Pop().m_dReal;
  const double dFirst = Pop().m_dReal;
  if (procedure.m_nType != eArray || (dStep >= 0 ? dFirst > dLimit : dFirst < dLimit))
    return;
  const int nFrames = m_frames.GetSize();
  PushFrame(procedure);
  if (m_frames.GetSize() == nFrames)
    return;
  TFrame& frame = m_frames[nFrames];
  frame.m_bLoop = true;
  frame.m_dCounter = dFirst;
  frame.m_dStep = dStep;
  frame.m_dLimit = dLimit;
  Push(MakeNumber(dFirst));
}

void CParser::DoCurrentFile()
{
  Push({eFile, false, 0, 0, {}});
}

// The string has no bytes, only a length, since it is never used but to read into.
void CParser::DoString()
{
  if (!Needs(1) || !Top().IsNumber())
    return;
  TValue value = Pop();
  value.m_nType = eString;
  Push(value);
}

// Takes a file and a string, whose length says how much to read.
void CParser::DoReadString()
{
  if (!Needs(2))
    return;
  const int nLength = Pop().m_nInteger;
  Pop();
  Push(MakeNumber(nLength));
  DoReadData();
  Push(MakeBoolean(true));
}

void CParser::DoReadData()
{
  if (!Needs(1) || !Top().IsNumber())
    return;
  const int nLength = Pop().m_nInteger;
  const std::span<const unsigned char> data = m_scanner.TakeBinary(nLength);
  if (data.empty() && nLength != 0)
    m_bStop = m_bCut = true;
  else
    Push({eString, false, 0, 0, OnBinary(data)});
}

void CParser::DoStandardEncoding()
{
  Push({eName, true, 0, 0, FONT::GetNameBytes(FONT::MakeName("StandardEncoding"))});
}

// There are no resources here: an empty dictionary for any category and name.
void CParser::DoFindResource()
{
  if (!Needs(2))
    return;
  Pop();
  Pop();
  Push(MakeDictionary({}));
}

// Takes a name and a font, and leaves the font on the stack.
void CParser::DoDefineFont()
{
  if (!Needs(2))
    return;
  const TValue font = Pop();
  Pop();
  Push(font);
}

void CParser::DoEexec()
{
  DoPop();
  const std::span<const unsigned char> data = OnEncrypted(m_data.subspan(m_scanner.GetOffset()));
  m_data = data;
  m_scanner = CScanner(data);
  m_bStop = m_bStop || data.empty();
}

}  // namespace PS
