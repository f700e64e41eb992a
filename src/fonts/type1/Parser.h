#pragma once

#include "base/BasicMap.h"
#include "fonts/common/ByteStore.h"
#include "fonts/common/StandardNames.h"
#include "fonts/type1/Scanner.h"

#include <string_view>

namespace PS
{

enum TType : int
{
  eNull,
  eInteger,
  eReal,
  eBoolean,
  eName,
  eString,
  eArray,
  eDictionary,
  eMark,
  eFile
};

// A value of the interpreter. Its text is a part of the data, or in the store of the parser.
struct TValue
{
  TType m_nType = eNull;
  bool m_bExecutable = false;  // of a name, or an array that is a procedure
  int m_nInteger = 0;          // of a number or boolean; the number of an array or dictionary
  double m_dReal = 0;          // of a number
  std::span<const unsigned char> m_text;

  bool IsNumber() const { return m_nType == eInteger || m_nType == eReal; }
  FONT::TName GetName() const { return FONT::MakeName(m_text); }
};

// Runs PostScript as far as font programs need it: they build dictionaries and read binary data from their
// own text. Unknown operators leave the stack as it is. Stacks, steps and memory are bounded by the length of
// the data.
class CParser
{
public:
  // The data outlive the parser.
  explicit CParser(std::span<const unsigned char> data);
  CParser(const CParser&) = delete;
  CParser& operator=(const CParser&) = delete;
  virtual ~CParser();

  // Runs to the end of the data, or until the program closes its file. False if it asked for too many steps
  // or values.
  bool Run();

  // The data ended before all that the program wanted to read.
  bool IsCut() const { return m_bCut; }

protected:
  // A value that gets a key, in a dictionary that was itself made for a key of that name (empty for others).
  // True if it has been taken over and need not be kept.
  virtual bool OnDefine(FONT::TName /*dictionary*/, FONT::TName /*key*/, const TValue&) { return false; }

  // The same for an element of an array.
  virtual bool OnPut(FONT::TName /*array*/, int /*nIndex*/, const TValue&) { return false; }

  // Binary data that the program reads; what is returned becomes the string.
  virtual std::span<const unsigned char> OnBinary(std::span<const unsigned char> data) { return data; }

  // The program goes on in encrypted text, which begins there. What is returned goes on instead; empty ends
  // the run.
  virtual std::span<const unsigned char> OnEncrypted(std::span<const unsigned char>) { return {}; }

  // Elements of an array.
  std::span<const TValue> GetElements(const TValue& array) const;

private:
  static constexpr int g_nMaxStack = 1000;
  static constexpr int g_nMaxFrames = 100;
  // That of the first interpreters (PLRM, 3rd edition, appendix B.1); fonts open four. A name is sought in
  // each.
  static constexpr int g_nMaxDictionaries = 20;

  struct TArray
  {
    FONT::TName m_name;
    int m_nDeclared = 0;  // the size that it was made with
    BSE::CBasicArray<TValue> m_values;
  };
  struct TDictionary
  {
    FONT::TName m_name;
    BSE::CBasicMap m_keys;  // numbers of values plus 1
    BSE::CBasicArray<TValue> m_values;
  };
  // A procedure that runs; a loop runs it again until its counter has passed the limit.
  struct TFrame
  {
    int m_nArray;
    int m_nNext;
    bool m_bLoop;
    double m_dCounter;
    double m_dStep;
    double m_dLimit;
  };
  using TOperator = void (CParser::*)();
  struct TOperatorInfo
  {
    std::string_view m_name;
    TOperator m_pfRun;
  };
  static const TOperatorInfo g_operators[];

  bool Step();
  bool NextFrameValue(TValue& value);
  bool NextToken(TValue& value);
  void Collect(const TValue& value);
  void EndProcedure();
  void Execute(const TValue& value);
  void ExecuteName(FONT::TName name);
  const TValue* Find(FONT::TName name) const;
  const TValue* FindIn(int nDictionary, FONT::TName name) const;
  TValue MakeText(TType nType, std::span<const unsigned char> text, bool bExecutable);
  static TValue MakeNumber(double dValue);
  static TValue MakeBoolean(bool b);
  TValue MakeArray(FONT::TName name);
  TValue MakeDictionary(FONT::TName name);
  bool Charge(std::int64_t nValues);
  void Define(int nDictionary, FONT::TName key, const TValue& value);

  void Push(const TValue& value);
  bool Needs(int nCount);
  TValue Pop();
  const TValue& Top(int nBelow = 0) const { return m_stack[m_stack.GetSize() - 1 - nBelow]; }
  FONT::TName GetKeyBelow() const;
  void PushFrame(const TValue& procedure);

  void DoNothing() {}
  void DoArray();
  void DoArrayEnd();
  void DoBegin();
  void DoBooleanAnd();
  void DoBooleanNot();
  void DoCloseFile() { m_bStop = true; }
  void DoCount() { Push(MakeNumber(m_stack.GetSize())); }
  void DoCurrentDict();
  void DoCurrentFile();
  void DoDef();
  void DoDict();
  void DoDictEnd();
  void DoDup();
  void DoEexec();
  void DoEnd();
  void DoEqual();
  void DoExch();
  void DoExec();
  void DoFalse() { Push(MakeBoolean(false)); }
  void DoFindResource();
  void DoFontDirectory() { Push(MakeDictionary({})); }
  void DoFor();
  void DoGet();
  void DoIf();
  void DoIfElse();
  void DoIndex();
  void DoKnown();
  void DoLength();
  void DoMark();
  void DoClearToMark();
  void DoNull() { Push({}); }
  void DoPop();
  void DoPut();
  void DoReadData();
  void DoReadString();
  void DoStandardEncoding();
  void DoString();
  void DoTrue() { Push(MakeBoolean(true)); }
  void DoDefineFont();

  CScanner m_scanner;
  std::span<const unsigned char> m_data;
  FONT::CByteStore m_store;
  BSE::CBasicArray<TValue> m_stack;
  BSE::CBasicArray<int> m_dictionaryStack;
  BSE::CPtrArray<TArray> m_arrays;             // owned
  BSE::CPtrArray<TDictionary> m_dictionaries;  // owned
  BSE::CBasicArray<TFrame> m_frames;
  BSE::CBasicArray<int> m_open;  // procedures whose text is being read, from the outermost
  std::int64_t m_nSteps = 0;
  std::int64_t m_nValues = 0;
  bool m_bStop = false;
  bool m_bTooMuch = false;
  bool m_bCut = false;
};

}  // namespace PS
