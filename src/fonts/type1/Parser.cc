// An interpreter without recursion: procedures that run are frames on a stack of the parser. Values refer to
// arrays and dictionaries by number and to texts by their place, so that copying one is cheap, and nothing is
// freed before the end; instead everything that is made is charged to the length of the data, as are the
// steps, since a loop of three words could fill any memory.
//
// Fonts define short names for the procedures that read their data. The first six operators stand for those,
// and definitions of the same names do not count, whatever they contain.

#include "fonts/type1/Parser.h"

#include "base/Limits.h"
#include "base/Tracer.h"

#include <functional>

namespace PS
{

const CParser::TOperatorInfo CParser::g_operators[] = {
    {"-|", &CParser::DoReadData},
    {"RD", &CParser::DoReadData},
    {"ND", &CParser::DoDef},
    {"|-", &CParser::DoDef},
    {"NP", &CParser::DoPut},
    {"|", &CParser::DoPut},
    {"FontDirectory", &CParser::DoFontDirectory},
    {"StandardEncoding", &CParser::DoStandardEncoding},
    {"[", &CParser::DoMark},
    {"]", &CParser::DoArrayEnd},
    {"<<", &CParser::DoMark},
    {">>", &CParser::DoDictEnd},
    {"and", &CParser::DoBooleanAnd},
    {"array", &CParser::DoArray},
    {"begin", &CParser::DoBegin},
    {"bind", &CParser::DoNothing},
    {"cleartomark", &CParser::DoClearToMark},
    {"closefile", &CParser::DoCloseFile},
    {"count", &CParser::DoCount},
    {"currentdict", &CParser::DoCurrentDict},
    {"currentfile", &CParser::DoCurrentFile},
    {"currentglobal", &CParser::DoFalse},
    {"def", &CParser::DoDef},
    {"definefont", &CParser::DoDefineFont},
    {"defineresource", &CParser::DoDefineFont},
    {"dict", &CParser::DoDict},
    {"dup", &CParser::DoDup},
    {"eexec", &CParser::DoEexec},
    {"end", &CParser::DoEnd},
    {"eq", &CParser::DoEqual},
    {"errordict", &CParser::DoFontDirectory},
    {"exch", &CParser::DoExch},
    {"exec", &CParser::DoExec},
    {"executeonly", &CParser::DoNothing},
    {"false", &CParser::DoFalse},
    {"findresource", &CParser::DoFindResource},
    {"for", &CParser::DoFor},
    {"get", &CParser::DoGet},
    {"globaldict", &CParser::DoFontDirectory},
    {"if", &CParser::DoIf},
    {"ifelse", &CParser::DoIfElse},
    {"index", &CParser::DoIndex},
    {"internaldict", &CParser::DoFontDirectory},
    {"known", &CParser::DoKnown},
    {"length", &CParser::DoLength},
    {"mark", &CParser::DoMark},
    {"noaccess", &CParser::DoNothing},
    {"not", &CParser::DoBooleanNot},
    {"null", &CParser::DoNull},
    {"pop", &CParser::DoPop},
    {"put", &CParser::DoPut},
    {"readonly", &CParser::DoNothing},
    {"readstring", &CParser::DoReadString},
    {"setglobal", &CParser::DoPop},
    {"shareddict", &CParser::DoFontDirectory},
    {"statusdict", &CParser::DoFontDirectory},
    {"string", &CParser::DoString},
    {"systemdict", &CParser::DoFontDirectory},
    {"true", &CParser::DoTrue},
    {"userdict", &CParser::DoFontDirectory},
};

CParser::CParser(std::span<const unsigned char> data) : m_scanner(data), m_data(data)
{
  m_dictionaryStack.Add(MakeDictionary({}).m_nInteger);
}

CParser::~CParser()
{
  for (const TArray* pArray : m_arrays.GetSpan())
    delete pArray;
  for (const TDictionary* pDictionary : m_dictionaries.GetSpan())
    delete pDictionary;
}

bool CParser::Run()
{
  while (!m_bStop && Step())
    continue;
  return !m_bTooMuch;
}

bool CParser::Charge(std::int64_t nValues)
{
  m_nValues += nValues;
  if (!BSE::IsOutOfProportion(m_nValues, BSE::g_nFreePostScript, BSE::g_nPostScriptRatio,
                              static_cast<std::int64_t>(m_data.size())))
    return true;
  m_bStop = m_bTooMuch = true;
  return false;
}

bool CParser::Step()
{
  if (BSE::IsOutOfProportion(++m_nSteps, BSE::g_nFreePostScript, BSE::g_nPostScriptRatio,
                             static_cast<std::int64_t>(m_data.size())))
  {
    m_bTooMuch = true;
    return false;
  }
  TValue value;
  if (m_frames.GetSize() > 0)
  {
    if (NextFrameValue(value))
      Execute(value);
    return true;
  }
  switch (m_scanner.ReadToken())
  {
  case eTokenEnd:
    return false;
  case eTokenProcedureBegin:
    if (m_open.GetSize() >= BSE::g_nMaxNesting)
      return false;
    m_open.Add(MakeArray({}).m_nInteger);
    return true;
  case eTokenProcedureEnd:
    EndProcedure();
    return true;
  default:
    if (!NextToken(value))
      return true;
    if (m_open.GetSize() > 0)
      Collect(value);
    else
      Execute(value);
    return true;
  }
}

bool CParser::NextFrameValue(TValue& value)
{
  TFrame& frame = m_frames[m_frames.GetSize() - 1];
  const TArray& body = *m_arrays[frame.m_nArray];
  if (frame.m_nNext < body.m_values.GetSize())
  {
    value = body.m_values[frame.m_nNext++];
    return true;
  }
  frame.m_dCounter += frame.m_dStep;
  if (frame.m_bLoop && (frame.m_dStep > 0 ? frame.m_dCounter <= frame.m_dLimit
                                          : frame.m_dStep < 0 && frame.m_dCounter >= frame.m_dLimit))
  {
    frame.m_nNext = 0;
    const double dCounter = frame.m_dCounter;
    Push(MakeNumber(dCounter));
  }
  else
    m_frames.Truncate(m_frames.GetSize() - 1);
  return false;
}

bool CParser::NextToken(TValue& value)
{
  switch (m_scanner.GetToken())
  {
  case eTokenInteger:
  case eTokenReal:
    value = MakeNumber(m_scanner.GetReal());
    return true;
  case eTokenName:
    value = MakeText(eName, m_scanner.GetText(), true);
    return true;
  case eTokenLiteralName:
    value = MakeText(eName, m_scanner.GetText(), false);
    return true;
  case eTokenImmediateName:
    if (const TValue* pFound = Find(FONT::MakeName(m_scanner.GetText())))
      value = *pFound;
    else
      value = MakeText(eName, m_scanner.GetText(), true);
    return true;
  case eTokenString:
    value = MakeText(eString, m_scanner.GetText(), false);
    return true;
  case eTokenArrayBegin:
  case eTokenArrayEnd:
  case eTokenDictionaryBegin:
  case eTokenDictionaryEnd:
  {
    static constexpr const char* szNames[] = {"[", "]", "<<", ">>"};
    value = {eName, true, 0, 0,
             FONT::GetNameBytes(FONT::MakeName(szNames[m_scanner.GetToken() - eTokenArrayBegin]))};
    return true;
  }
  default:
    return false;
  }
}

// A text that is a part of the data stays there; others are copied to the store.
TValue CParser::MakeText(TType nType, std::span<const unsigned char> text, bool bExecutable)
{
  const std::less<const unsigned char*> less;
  if (!text.empty() &&
      (less(text.data(), m_data.data()) || !less(text.data(), m_data.data() + m_data.size())))
    text = m_store.Add(text);
  return {nType, bExecutable, 0, 0, text};
}

TValue CParser::MakeNumber(double dValue)
{
  const double dWhole = std::clamp(dValue, -2147483647.0, 2147483647.0);
  const int nValue = static_cast<int>(dWhole);
  return {nValue == dValue ? eInteger : eReal, false, nValue, dValue, {}};
}

TValue CParser::MakeBoolean(bool b)
{
  return {eBoolean, false, b ? 1 : 0, 0, {}};
}

TValue CParser::MakeArray(FONT::TName name)
{
  Charge(4);
  m_arrays.Reserve(m_arrays.GetSize() + 1);
  auto* pArray = new TArray;
  pArray->m_name = name;
  return {eArray, false, m_arrays.Add(pArray), 0, {}};
}

TValue CParser::MakeDictionary(FONT::TName name)
{
  Charge(8);
  m_dictionaries.Reserve(m_dictionaries.GetSize() + 1);
  auto* pDictionary = new TDictionary;
  pDictionary->m_name = name;
  return {eDictionary, false, m_dictionaries.Add(pDictionary), 0, {}};
}

std::span<const TValue> CParser::GetElements(const TValue& array) const
{
  return array.m_nType == eArray ? m_arrays[array.m_nInteger]->m_values.GetSpan() : std::span<const TValue>();
}

void CParser::Collect(const TValue& value)
{
  if (Charge(1))
    m_arrays[m_open[m_open.GetSize() - 1]]->m_values.Add(value);
}

void CParser::EndProcedure()
{
  if (m_open.IsEmpty())
    return;
  const TValue procedure{eArray, true, m_open[m_open.GetSize() - 1], 0, {}};
  m_open.Truncate(m_open.GetSize() - 1);
  if (m_open.IsEmpty())
    Push(procedure);
  else
    Collect(procedure);
}

void CParser::Execute(const TValue& value)
{
  if (value.m_nType == eName && value.m_bExecutable)
    ExecuteName(value.GetName());
  else
    Push(value);
}

// Definitions of the program come first, except for the reserved names under which fonts read and store their
// data.
void CParser::ExecuteName(FONT::TName name)
{
  constexpr int nReserved = 6;
  const TOperatorInfo* pFound = nullptr;
  for (const TOperatorInfo& info : g_operators)
    if (info.m_name.size() == name.size() && std::equal(name.begin(), name.end(), info.m_name.begin()))
    {
      pFound = &info;
      break;
    }
  const TValue* pValue = pFound && pFound < g_operators + nReserved ? nullptr : Find(name);
  if (pValue && pValue->m_nType == eArray && pValue->m_bExecutable)
    PushFrame(*pValue);
  else if (pValue)
    Push(*pValue);
  else if (pFound)
    (this->*pFound->m_pfRun)();
  else if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PS Parser", "Unimplemented PS operator %.*s",
                        static_cast<int>(std::min<std::size_t>(name.size(), 127)), name.data());
}

const TValue* CParser::FindIn(int nDictionary, FONT::TName name) const
{
  const TDictionary& dictionary = *m_dictionaries[nDictionary];
  const int nEntry = dictionary.m_keys.Lookup(name.data(), name.size());
  if (nEntry < 0)
    return nullptr;
  return &dictionary.m_values[static_cast<int>(
                                  reinterpret_cast<std::uintptr_t>(dictionary.m_keys.GetValue(nEntry))) -
                              1];
}

const TValue* CParser::Find(FONT::TName name) const
{
  for (int i = m_dictionaryStack.GetSize() - 1; i >= 0; --i)
    if (const TValue* pValue = FindIn(m_dictionaryStack[i], name))
      return pValue;
  return nullptr;
}

void CParser::Define(int nDictionary, FONT::TName key, const TValue& value)
{
  TDictionary& dictionary = *m_dictionaries[nDictionary];
  if (OnDefine(dictionary.m_name, key, value))
    return;
  if (const TValue* pValue = FindIn(nDictionary, key))
  {
    *const_cast<TValue*>(pValue) = value;
    return;
  }
  if (!Charge(4))
    return;
  const auto nNumber = static_cast<std::uintptr_t>(dictionary.m_values.Add(value)) + 1;
  dictionary.m_keys.SetAt(key.data(), key.size(), reinterpret_cast<void*>(nNumber));
}

void CParser::Push(const TValue& value)
{
  if (m_stack.GetSize() < g_nMaxStack)
    m_stack.Add(value);
  else
    m_bStop = m_bTooMuch = true;
}

bool CParser::Needs(int nCount)
{
  if (m_stack.GetSize() >= nCount)
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PS Parser", "Stack underflow");
  return false;
}

TValue CParser::Pop()
{
  const TValue value = m_stack[m_stack.GetSize() - 1];
  m_stack.Truncate(std::max(0, m_stack.GetSize() - 1));
  return value;
}

// The name below on the stack, as in "/Subrs 5 array": what a new array or dictionary will be defined as.
FONT::TName CParser::GetKeyBelow() const
{
  return !m_stack.IsEmpty() && Top().m_nType == eName && !Top().m_bExecutable ? Top().GetName()
                                                                              : FONT::TName();
}

void CParser::PushFrame(const TValue& procedure)
{
  if (m_frames.GetSize() < g_nMaxFrames)
    m_frames.Add({procedure.m_nInteger, 0, false, 0, 0, 0});
  else
    m_bStop = m_bTooMuch = true;
}

}  // namespace PS
