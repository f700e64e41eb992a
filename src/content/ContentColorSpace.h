#pragma once

#include "content/GraphicsState.h"
#include "images/color/ColorSpaceFactory.h"

namespace PDF
{

// A colour space of content as the colour engine knows it.
class CContentColorSpace final : public BSE::CObject, public IContentColorSpace
{
public:
  explicit CContentColorSpace(DOC::IColorSpace& space) : m_pSpace(&space) {}
  bool IsValid() const override { return true; }
  DOC::IColorSpace& GetSpace() const { return *m_pSpace; }

  bool IsPattern() const override { return m_pSpace->GetType() == DOC::ePattern; }
  int GetComponentCount() const override { return m_pSpace->GetComponentCount(); }
  void GetInitialColor(std::span<double> components) const override { m_pSpace->GetDefaultColor(components); }

private:
  BSE::CObjectPtr<DOC::IColorSpace> m_pSpace;
};

// Gives content the colour spaces of a document's factory. Fonts are left to derived classes.
class CContentColorResources : public IContentResources
{
public:
  // Borrowed.
  explicit CContentColorResources(CColorSpaceFactory& spaces) : m_spaces(spaces) {}

  CColorSpaceFactory& GetFactory() const { return m_spaces; }

  BSE::CObjectPtr<IContentColorSpace> CreateColorSpace(const CObjectPtr& space) override;

  // The space that the components of a colour are in: for a pattern that of those without colours of their
  // own, null for others. Borrowed.
  DOC::IColorSpace* GetSpace(const TColorState& state) const;

private:
  CColorSpaceFactory& m_spaces;
};

}  // namespace PDF
