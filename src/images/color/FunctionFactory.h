#pragma once

#include "base/BasicMap.h"
#include "images/color/Function.h"

namespace PDF
{

// Makes the functions of one document. A function object that is used in several places is read once and
// shared, also where it is inside others; one that could not be read is not tried again.
class CFunctionFactory
{
public:
  // All functions spend from the account.
  explicit CFunctionFactory(CColorAccount& account) : m_pAccount(&account) {}

  // The function of a dictionary or stream with "FunctionType" 0, 2, 3 or 4, or of an array of functions of
  // one output. Empty, with a trace line and a report (the function is invalid) at the object, for anything
  // else: unknown types, missing and wrong entries, functions inside themselves or more than
  // g_nMaxFunctionNesting deep. What is lost by that is the caller's to report.
  BSE::CObjectPtr<CFunction> Create(const CObjectPtr& object);

  // For functions inside others: reports nothing, but traces.
  BSE::CObjectPtr<CFunction> CreateInner(const CObjectPtr& object);

private:
  BSE::CObjectPtr<CFunction> Find(const CObjectPtr& object);
  BSE::CObjectPtr<CFunction> Load(const CObjectPtr& object);
  BSE::CObjectPtr<CFunction> LoadOfType(const CObjectPtr& object, std::int64_t nType);

  BSE::CObjectPtr<CColorAccount> m_pAccount;
  BSE::CValueKeyObjectMap<int, CFunction>
      m_functions;  // by object number; null while it is read, or unreadable
  int m_nDepth = 0;
};

}  // namespace PDF
