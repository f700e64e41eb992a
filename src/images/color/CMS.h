#pragma once

#include "base/BasicString.h"
#include "base/Object.h"
#include "base/ObjectPtr.h"
#include "images/color/ColorAccount.h"

#include <span>

namespace DOC
{

// Tristimulus values, 1 for the luminance of white.
struct TXYZ
{
  double m_dX = 0;
  double m_dY = 0;
  double m_dZ = 0;
};

// What the components of a profile are.
enum TProfileKind
{
  eProfileGray,
  eProfileRGB,
  eProfileCMYK,
  eProfileLab,
  eProfileOther3,  // three components of any other space
  eProfileOther4
};
int GetProfileComponents(TProfileKind kind);

// Rendering intents of ICC.1; eIntentOfProfile takes that of the source's profile.
enum TIntent
{
  eIntentPerceptual = 0,
  eIntentRelative = 1,
  eIntentSaturation = 2,
  eIntentAbsolute = 3,
  eIntentOfProfile = 7
};

// Form of the samples of a pixel: bytes, 0 to 255 for the ends of each component. Lab has 0 to 100 for L*
// and -128 to 127 for a* and b*; with 16 bits, in the machine's byte order, a* is sample / 257 - 128.
enum TSampleForm
{
  eBytes,
  eLab16
};

// Description of the colours of a device or space. Belongs to the CMS that made it.
class CColorProfile : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }
  TProfileKind GetKind() const { return m_kind; }
  int GetComponentCount() const { return GetProfileComponents(m_kind); }
  TIntent GetIntent() const { return m_intent; }

protected:
  CColorProfile(TProfileKind kind, TIntent intent) : m_kind(kind), m_intent(intent) {}

  TProfileKind m_kind;
  TIntent m_intent;
};

// A conversion of rows, between two profiles of one CMS, which must outlive it.
class CColorTransform : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  // That many pixels; source and target do not overlap.
  virtual void Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount) = 0;
};

// A colour engine: makes profiles and the conversions between them. Belongs to one document and its thread;
// nothing is shared between two of them.
class CCMS : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  // The profile for colours of a device: of gray, RGB, CMYK or Lab; made on first use. Borrowed; null for
  // other kinds, and where it cannot be made.
  CColorProfile* GetDefaultProfile(TProfileKind kind);

  // Of calibrated spaces (ISO 32000-1, 8.6.5.2 to 8.6.5.4). The matrix has nine values in the order of PDF.
  // Empty for values that make no sense: a white without luminance, a gamma that is not above 0.
  virtual BSE::CObjectPtr<CColorProfile> CreateGrayProfile(const TXYZ& white, double dGamma) = 0;
  virtual BSE::CObjectPtr<CColorProfile> CreateRGBProfile(const TXYZ& white, std::span<const double> gamma,
                                                          std::span<const double> matrix) = 0;
  virtual BSE::CObjectPtr<CColorProfile> CreateLabProfile(const TXYZ& white) = 0;

  // Whether OpenProfile is of use.
  virtual bool ReadsProfiles() const = 0;

  // Of an ICC profile, of which a copy is made (ICC.1:2010). Empty if the engine reads none, if it is
  // damaged, or not a profile of one, three or four components.
  virtual BSE::CObjectPtr<CColorProfile> OpenProfile(std::span<const unsigned char> data) = 0;

  // Empty if there is no conversion from one to the other, or the document has spent what this may cost.
  virtual BSE::CObjectPtr<CColorTransform> CreateTransform(CColorProfile& source, CColorProfile& target,
                                                           TSampleForm sourceForm, TIntent intent) = 0;

  CColorAccount& GetAccount() const { return *m_pAccount; }

protected:
  explicit CCMS(CColorAccount& account) : m_pAccount(&account) {}

  virtual BSE::CObjectPtr<CColorProfile> OnCreateDefaultProfile(TProfileKind kind) = 0;

  // For an engine that ends before this class does.
  void ReleaseDefaultProfiles()
  {
    for (BSE::CObjectPtr<CColorProfile>& pProfile : m_defaults)
      pProfile.Reset();
  }

private:
  static constexpr int g_nDefaults = eProfileLab + 1;

  BSE::CObjectPtr<CColorAccount> m_pAccount;
  BSE::CObjectPtr<CColorProfile> m_defaults[g_nDefaults];
  bool m_bTried[g_nDefaults] = {};
};

// The engine of a name, without regard to case:
//   "lcms", "msicm"    Little CMS
//   "neugebauer"       the built-in engine with its table for CMYK
//   "none"             the built-in engine without a table
//   a file to be read  the built-in engine with a table of that file, see CNeugebauer::Read
//   others, empty      Little CMS where it can start, else the built-in engine without a table
// The folder, "." if it is empty, is where Little CMS looks for "sRGB.icc" and "CMYK.icc", the profiles of
// device colours; it has others built in. Never empty; nothing is reported.
BSE::CObjectPtr<CCMS> CreateCMS(const char* szEngine, const char* szProfileFolder, CColorAccount& account);

}  // namespace DOC
