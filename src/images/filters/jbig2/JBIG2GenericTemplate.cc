#include "images/filters/jbig2/JBIG2GenericTemplate.h"

namespace BSE
{

TJBIG2GenericForm TJBIG2GenericForm::Make(int nTemplate, bool bExtended)
{
  TJBIG2GenericForm form;
  form.m_nTemplate = nTemplate;
  form.m_bExtended = bExtended;
  for (int i = 0; i < form.GetMovableCount(); ++i)
    form.m_movable[static_cast<unsigned>(i)] = form.GetDefault(i);
  return form;
}

TJBIG2Offset TJBIG2GenericForm::GetDefault(int i) const
{
  const auto nIndex = static_cast<unsigned>(i);
  return m_bExtended ? g_jbig2ExtendedMovable[nIndex] : GetTemplate().m_movable[nIndex];
}

int TJBIG2GenericForm::GetMovableBit(int i) const
{
  const auto nIndex = static_cast<unsigned>(i);
  return m_bExtended ? g_jbig2ExtendedBits[nIndex] : GetTemplate().m_movableBits[nIndex];
}

}  // namespace BSE
