#include "engine/DefaultSpaces.h"

#include "document/PostOrderWalk.h"

namespace PDF
{

namespace
{

CObjectPtr GetDirect(const CObjectPtr& holder, const char* szKey)
{
  CObjectPtr value = holder[szKey];
  return value.IsIndirect() ? CObjectPtr() : value;
}

bool HasDefault(const CObjectPtr& spaces)
{
  return spaces["DefaultGray"] || spaces["DefaultRGB"] || spaces["DefaultCMYK"];
}

class CDefaultSpaceWalk : public CPostOrderWalk
{
public:
  using CPostOrderWalk::CPostOrderWalk;

  bool IsFound() const { return m_bFound; }

protected:
  bool Enter(const CObjectPtr& object) override
  {
    m_bFound = m_bFound || NamesDefaultSpaces(object);
    return !m_bFound;
  }

  void Leave(const CObjectPtr& /*object*/) override {}

private:
  bool m_bFound = false;
};

}  // namespace

bool NamesDefaultSpaces(const CObjectPtr& object)
{
  const CObjectPtr value = object.GetValueObject();
  if (!value.IsDictionary())
    return false;
  for (const CObjectPtr& holder : {value, GetDirect(value, "Resources"), GetDirect(value, "DR"),
                                   GetDirect(GetDirect(value, "AcroForm"), "DR")})
    if (holder && (HasDefault(holder) || HasDefault(GetDirect(holder, "ColorSpace"))))
      return true;
  return false;
}

bool HasDefaultColorSpaces(CFile& file)
{
  CDefaultSpaceWalk walk(file);
  walk.Walk(file.GetRoot());
  return walk.IsFound();
}

}  // namespace PDF
