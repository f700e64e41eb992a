#pragma once

#include "images/color/Matrix.h"

#include <lcms2.h>

#include <cstddef>
#include <utility>

namespace DOC
{

class CLittleCMS;

// A profile of Little CMS.
class CLittleCMSProfile : public CColorProfile
{
public:
  // Takes the handle over. bTables: conversions go by tables of colours.
  CLittleCMSProfile(cmsHPROFILE hProfile, TProfileKind kind, TIntent intent, bool bTables)
      : CColorProfile(kind, intent), m_hProfile(hProfile), m_bTables(bTables)
  {
  }
  ~CLittleCMSProfile() override { cmsCloseProfile(m_hProfile); }

  cmsHPROFILE GetHandle() const { return m_hProfile; }
  bool HasTables() const { return m_bTables; }

  // For the profile of the built-in model of inks, whose tables are made when they are first needed: from
  // inks, and to them.
  void SetInkModel() { m_bInkModel = true; }
  bool TakeFromInks() { return m_bInkModel && !std::exchange(m_bFromInks, true); }
  bool TakeToInks() { return m_bInkModel && !std::exchange(m_bToInks, true); }

  // The white of Lab: the library takes all Lab for that under D50.
  void SetLabWhite(const TXYZ& white) { m_labWhite = white; }
  const TXYZ& GetLabWhite() const { return m_labWhite; }

private:
  cmsHPROFILE m_hProfile;
  TXYZ m_labWhite = g_d50;
  bool m_bTables;
  bool m_bInkModel = false;
  bool m_bFromInks = false;
  bool m_bToInks = false;
};

class CLittleCMSTransform : public CColorTransform
{
public:
  // Takes the handle over.
  explicit CLittleCMSTransform(cmsHTRANSFORM hTransform) : m_hTransform(hTransform) {}
  ~CLittleCMSTransform() override { cmsDeleteTransform(m_hTransform); }

  void Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount) override
  {
    cmsDoTransform(m_hTransform, pSource, pTarget, static_cast<cmsUInt32Number>(nCount));
  }

private:
  cmsHTRANSFORM m_hTransform;
};

// Of 16-bit Lab under another white than D50, to which colours are adapted first.
class CLittleCMSLabTransform : public CLittleCMSTransform
{
public:
  CLittleCMSLabTransform(cmsHTRANSFORM hTransform, const TXYZ& white, int nTargetSize)
      : CLittleCMSTransform(hTransform),
        m_white(white),
        m_adaptation(GetAdaptation(white, g_d50)),
        m_nTargetSize(nTargetSize)
  {
  }
  void Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount) override;

private:
  void Adapt(cmsUInt16Number* pLab) const;

  TXYZ m_white;
  CMatrix3 m_adaptation;
  int m_nTargetSize;  // of a pixel
};

// Links the blocks that the library has taken.
struct TLittleCMSBlock
{
  TLittleCMSBlock* m_pNext = this;
  TLittleCMSBlock* m_pPrevious = this;
};

// What the library's allocations have come to. What it has not let go of in the end, as happens where memory
// runs out inside of it, goes with this.
struct TLittleCMSMemory
{
  TLittleCMSMemory() = default;
  TLittleCMSMemory(const TLittleCMSMemory&) = delete;
  TLittleCMSMemory& operator=(const TLittleCMSMemory&) = delete;
  ~TLittleCMSMemory();

  TLittleCMSBlock m_blocks;
  bool m_bExhausted = false;  // one has failed
  std::size_t m_nReserveUsed = 0;
  alignas(std::max_align_t) unsigned char m_reserve[1 << 16];
};

// The engine Little CMS 2, in a context of its own. Messages of the library go to the trace (component
// "lcms"). Memory that runs out in it is thrown as anywhere, since whoever is told that a profile cannot be
// used converts by another one.
class CLittleCMS : public CCMS
{
public:
  // A null or empty folder is ".".
  CLittleCMS(CColorAccount& account, const char* szProfileFolder);
  ~CLittleCMS() override;

  bool IsValid() const override { return true; }

  BSE::CObjectPtr<CColorProfile> CreateGrayProfile(const TXYZ& white, double dGamma) override;
  BSE::CObjectPtr<CColorProfile> CreateRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                  std::span<const double> matrix) override;
  BSE::CObjectPtr<CColorProfile> CreateLabProfile(const TXYZ& white) override;

  // The profile of the built-in model of inks.
  BSE::CObjectPtr<CColorProfile> CreateCMYKProfile(const char* szDescription);

  bool ReadsProfiles() const override { return true; }
  BSE::CObjectPtr<CColorProfile> OpenProfile(std::span<const unsigned char> data) override;
  BSE::CObjectPtr<CColorTransform> CreateTransform(CColorProfile& source, CColorProfile& target,
                                                   TSampleForm sourceForm, TIntent intent) override;

protected:
  BSE::CObjectPtr<CColorProfile> OnCreateDefaultProfile(TProfileKind kind) override;

private:
  BSE::CObjectPtr<CColorProfile> MakeGrayProfile(const TXYZ& white, double dGamma);
  BSE::CObjectPtr<CColorProfile> MakeRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                std::span<const double> matrix);
  BSE::CObjectPtr<CColorProfile> MakeLabProfile(const TXYZ& white);
  BSE::CObjectPtr<CColorProfile> MakeCMYKProfile(const char* szDescription);
  BSE::CObjectPtr<CColorProfile> MakeDefaultProfile(TProfileKind kind);
  BSE::CObjectPtr<CColorProfile> ReadProfile(std::span<const unsigned char> data);
  BSE::CObjectPtr<CColorTransform> MakeTransform(CColorProfile& source, CColorProfile& target,
                                                 TSampleForm sourceForm, TIntent intent);

  // What was made, unless the library ran out of memory for it.
  template <class T>
  BSE::CObjectPtr<T> Check(BSE::CObjectPtr<T> pMade);

  // False if a table of the built-in model cannot be made.
  bool MakeTables(CLittleCMSProfile& source, CLittleCMSProfile& target);

  BSE::CObjectPtr<CColorProfile> OpenFile(const char* szName, TProfileKind kind);
  BSE::CObjectPtr<CColorProfile> MakeProfile(cmsHPROFILE hProfile, TProfileKind kind, bool bTables,
                                             const char* szDescription);

  TLittleCMSMemory m_memory;
  cmsContext m_context;
  BSE::CStr8 m_folder;
};

}  // namespace DOC
