#pragma once

#include "fonts/pdf/CMapParser.h"
#include "fonts/pdf/CodeMap.h"
#include "fonts/pdf/Encoding.h"
#include "fonts/pdf/FontAccount.h"
#include "fonts/pdf/StandardCMaps.h"
#include "pdf/Name.h"

namespace PDF
{

// The encoding of a composite font.
class CCMapEncoding : public CEncoding
{
public:
  bool IsSimple() const override { return false; }
  const char* GetName() const override { return m_name.GetText(); }
  int CodeToCID(unsigned nCode) const override { return GetCID(nCode, 1); }
  int Code2ToCID(unsigned nCode) const override { return GetCID(nCode, 2); }
  int LongCodeToCID(unsigned nCode, int nLength) const override { return GetCID(nCode, nLength); }
  std::int64_t FindCode(int nCID, int& nLength) const override;
  int GetCodeLength(unsigned nCode) const override;

  // False where text may hold codes that this encoding does not know: then nobody knows which characters are
  // used.
  bool IsComplete() const { return m_bComplete; }
  void SetIncomplete() { m_bComplete = false; }

  // The characters that the CIDs stand for, "Japan1"; empty if that is not known.
  virtual const char* GetOrdering() const { return ""; }

  // Whether a code of nLength bytes may begin with these.
  virtual bool IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const = 0;

  // -1 for a code without a CID.
  virtual int FindCID(std::uint32_t nCode, int nLength) const = 0;

protected:
  explicit CCMapEncoding(const char* szName) : m_name(szName) {}

  // One that leads from codes to CIDs, for the way back.
  struct TCodes
  {
    std::uint32_t m_nCode = 0;
    int m_nLength = 0;
  };
  virtual void CollectCodes(BSE::CBasicArray<TCodes>& codes) const = 0;

  // Enters the codes of a range of CIDs that have none, or a higher one.
  static void EnterCodes(BSE::CBasicArray<TCodes>& codes, int nLength, std::uint32_t nFirst,
                         std::uint32_t nLast, int nCID);

  CName m_name;

private:
  int GetCID(std::uint32_t nCode, int nLength) const;

  bool m_bComplete = true;
  mutable BSE::CBasicArray<TCodes> m_codes;  // of each CID, once one was asked for
};

// Two bytes that are the CID.
class CIdentityEncoding : public CCMapEncoding
{
public:
  explicit CIdentityEncoding(const char* szName, bool bVertical)
      : CCMapEncoding(szName), m_bVertical(bVertical)
  {
  }
  int GetWMode() const override { return m_bVertical ? 1 : 0; }
  std::int64_t FindCode(int nCID, int& nLength) const override;
  bool IsInCodeSpace(std::uint32_t, int nBytes, int nLength) const override
  {
    return nLength == 2 && nBytes <= 2;
  }
  int FindCID(std::uint32_t nCode, int nLength) const override
  {
    return nLength == 2 ? static_cast<int>(nCode & 0xFFFF) : -1;
  }

protected:
  void CollectCodes(BSE::CBasicArray<TCodes>&) const override {}

private:
  bool m_bVertical;
};

class CStandardCMapEncoding : public CCMapEncoding
{
public:
  explicit CStandardCMapEncoding(const char* szName);
  bool IsKnown() const { return m_cmap.IsValid(); }
  int GetWMode() const override { return m_cmap.GetWMode(); }
  int GetSupplement() const override { return m_cmap.GetSupplement(); }
  const char* GetOrdering() const override { return m_ordering.GetText(); }
  bool IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const override
  {
    return m_cmap.IsInCodeSpace(nCode, nBytes, nLength);
  }
  int FindCID(std::uint32_t nCode, int nLength) const override { return m_cmap.FindCID(nCode, nLength); }

protected:
  void CollectCodes(BSE::CBasicArray<TCodes>& codes) const override;

private:
  DOC::CStandardCmapExtractor m_cmap;
  CName m_ordering;
};

// A CMap in the file, which may go on another one. What is wrong with it is reported.
class CEmbeddedCMapEncoding : public CCMapEncoding, private DOC::CCmapParser
{
public:
  CEmbeddedCMapEncoding(const CObjectPtr& stream, CFontAccount& account, int nDepth);
  int GetWMode() const override { return m_nWMode; }
  int GetSupplement() const override { return m_nSupplement; }
  const char* GetOrdering() const override { return m_ordering.GetText(); }
  bool IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const override;
  int FindCID(std::uint32_t nCode, int nLength) const override;

protected:
  void CollectCodes(BSE::CBasicArray<TCodes>& codes) const override;

private:
  struct TCodeSpace
  {
    std::uint32_t m_nLow;
    std::uint32_t m_nHigh;
    int m_nLength;
  };

  void OnUseCMap(const char* szName) override;
  void OnCodeSpaceRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high) override;
  void OnCIDRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID) override;
  void OnNotdefRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID) override;
  void OnNumber(const char* szKey, int nValue) override;
  void OnText(const char* szKey, const char* szText) override;
  void OnOther() override { Fault("unexpected operand"); }

  void UseCMap(const CObjectPtr& cmap, int nDepth);
  void ReadKeys(const CObjectPtr& stream);
  void CompleteCodeSpaces();
  void Fault(const char* szMessage);

  CFontAccount& m_account;
  BSE::CObjectPtr<CCMapEncoding> m_pParent;
  BSE::CBasicArray<TCodeSpace> m_spaces;
  CCodeMap m_aCIDs[g_nMaxCodeLength];
  CCodeMap m_aNotdefs[g_nMaxCodeLength];
  CName m_ordering;
  int m_nWMode = -1;
  int m_nSupplement = -1;
  bool m_bFaultReported = false;
};

// The encoding of a composite font from what its dictionary has. Never null: text of an encoding that is not
// known has codes of two bytes, which are taken for CIDs, and the encoding is incomplete.
BSE::CObjectPtr<CCMapEncoding> CreateCMapEncoding(const CObjectPtr& encoding, CFontAccount& account,
                                                  int nDepth = 0);

}  // namespace PDF
