#include "pdf/ObjectMap.h"

#include "base/Tracer.h"

namespace PDF
{

void CObjectMap::SetAt(int nSource, int nTarget)
{
  if (nSource < 1)
    return;
  try
  {
    m_targets.Provide(nSource) = nTarget;
  }
  catch (...)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Obj Map", "Failed to allocate object map of size %d.", nSource + 1);
    throw;
  }
}

}  // namespace PDF
