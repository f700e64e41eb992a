#include "images/color/FunctionFactory.h"

#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "images/color/PostScriptFunction.h"
#include "images/color/SampledFunction.h"
#include "images/color/SimpleFunctions.h"
#include "images/color/StatusCodes.h"

namespace PDF
{

namespace
{

BSE::CObjectPtr<CFunction> TraceMissing(const BSE::CObjectPtr<CFunction>& pFunction)
{
  if (!pFunction && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Function", "Error creating function.");
  return pFunction;
}

template <class F, class... A>
BSE::CObjectPtr<CFunction> LoadAs(const CObjectPtr& object, CColorAccount& account, A&... arguments)
{
  const BSE::CObjectPtr<F> pFunction(new F(object, account));
  return pFunction->Load(arguments...) ? pFunction : nullptr;
}

}  // namespace

BSE::CObjectPtr<CFunction> CFunctionFactory::Create(const CObjectPtr& object)
{
  BSE::CObjectPtr<CFunction> pFunction = object.IsArray() ? Load(object) : Find(object);
  if (!pFunction)
    BSE::ReportError(GetContext(object, *m_pAccount), g_nInvalidFunction);
  return TraceMissing(pFunction);
}

BSE::CObjectPtr<CFunction> CFunctionFactory::CreateInner(const CObjectPtr& object)
{
  return TraceMissing(Find(object));
}

BSE::CObjectPtr<CFunction> CFunctionFactory::Find(const CObjectPtr& object)
{
  if (!object.IsDictionary() || m_nDepth >= BSE::g_nMaxFunctionNesting)
    return nullptr;
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
    return Load(object);
  if (m_functions.Contains(nNumber))
  {
    CFunction* pKnown = m_functions.Find(nNumber);
    return pKnown && m_nDepth + pKnown->GetHeight() <= BSE::g_nMaxFunctionNesting ? pKnown : nullptr;
  }
  m_functions.SetAt(nNumber, nullptr);
  BSE::CObjectPtr<CFunction> pFunction = Load(object);
  m_functions.SetAt(nNumber, pFunction.Get());
  return pFunction;
}

BSE::CObjectPtr<CFunction> CFunctionFactory::Load(const CObjectPtr& object)
{
  const BSE::CScopedValue<int> depth(m_nDepth, m_nDepth + 1);
  if (!m_pAccount->SpendMemory(sizeof(CFunction)))
    return nullptr;
  if (object.IsArray())
    return LoadAs<CFunctionArray>(object, *m_pAccount, *this);
  const CObjectPtr type = object["FunctionType"];
  return LoadOfType(object, type.IsNumber() ? type.GetIntegerValue() : -1);
}

BSE::CObjectPtr<CFunction> CFunctionFactory::LoadOfType(const CObjectPtr& object, std::int64_t nType)
{
  switch (nType)
  {
  case 0:
    return LoadAs<CType0Function>(object, *m_pAccount);
  case 2:
    return LoadAs<CType2Function>(object, *m_pAccount);
  case 3:
    return LoadAs<CType3Function>(object, *m_pAccount, *this);
  case 4:
    return LoadAs<CType4Function>(object, *m_pAccount);
  default:
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Function", "Unknown function type %d", static_cast<int>(nType));
    return nullptr;
  }
}

}  // namespace PDF
