#include "pdf/linearize/PDBase.h"

#include "base/Tracer.h"

bool PDBase::Fail(const char* szMessage)
{
  if (*m_szMessage)
    return false;
  m_szMessage = szMessage;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Linearizer", "%s", szMessage);
  return false;
}

void PDBase::Note(const char* szMessage)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("W", "PDF Linearizer", "%s", szMessage);
}
