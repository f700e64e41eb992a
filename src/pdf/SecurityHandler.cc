#include "pdf/SecurityHandler.h"

#include "pdf/File.h"

namespace PDF
{

BSE::CObjectPtr<CSecurityHandler> CreateSecurityHandler(CFile& file, const CObjectPtr& encrypt)
{
  constexpr unsigned nProprietary = 0x80410118;
  constexpr unsigned nUnknownAlgorithm = 0x80410119;
  BSE::ReportError(&file, encrypt["Filter"].IsName("Standard") ? nUnknownAlgorithm : nProprietary);
  return nullptr;
}

}  // namespace PDF
