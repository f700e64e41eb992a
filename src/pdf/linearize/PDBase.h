#pragma once

// Root of the linearizer's own classes. They share nothing with the objects of the file layer: a document
// comes in as the bytes of a finished file and leaves as the bytes of another.
class PDBase
{
public:
  virtual ~PDBase() = default;

  // Why the last operation failed, for the trace alone; empty as long as nothing has.
  const char* GetMessage() const { return m_szMessage; }

protected:
  // Keeps the first message and traces it. Always false, so that it can be returned.
  bool Fail(const char* szMessage);

  // Traces what is no failure.
  static void Note(const char* szMessage);

private:
  const char* m_szMessage = "";
};
