#pragma once

#include "images/color/ColorNumbers.h"

#include <span>

namespace DOC
{

// A function of a document: maps points of GetInputCount numbers to points of GetOutputCount numbers. A
// row of points is one call; its numbers follow one another point by point. Keeps buffers, so one thread uses
// it at a time. Nothing here throws but exhausted memory.
class IFunction : public virtual BSE::IObject
{
public:
  virtual int GetInputCount() const = 0;
  virtual int GetOutputCount() const = 0;

  // Inputs are clamped to the domain, outputs to the range where there is one; an output is always a finite
  // number. False, with outputs of 0, if the spans are too short for the count, and if the document has spent
  // what its functions may cost; that is reported once as a loss.
  virtual bool EvaluateRow(std::span<const double> inputs, std::span<double> outputs, int nCount) = 0;

  bool Evaluate(std::span<const double> inputs, std::span<double> outputs)
  {
    return EvaluateRow(inputs, outputs, 1);
  }

  // The same for bytes, 0 to 255 for the ends of a range each; outputs are truncated. Fewer ranges than
  // inputs or outputs: a trace line, and false.
  virtual bool EvaluateBytes(std::span<const unsigned char> inputs, std::span<const TRange> inputRanges,
                             std::span<unsigned char> outputs, std::span<const TRange> outputRanges,
                             int nCount) = 0;
};

}  // namespace DOC

namespace PDF
{

// A function object (ISO 32000-1, 7.10). Made by CFunctionFactory, which gives all functions of a document
// one account.
class CFunction : public BSE::CObject, public DOC::IFunction
{
public:
  ~CFunction() override = default;
  bool IsValid() const override { return m_nInputs > 0 && m_nOutputs > 0; }
  int GetInputCount() const override { return m_nInputs; }
  int GetOutputCount() const override { return m_nOutputs; }
  bool EvaluateRow(std::span<const double> inputs, std::span<double> outputs, int nCount) override;
  bool EvaluateBytes(std::span<const unsigned char> inputs, std::span<const TRange> inputRanges,
                     std::span<unsigned char> outputs, std::span<const TRange> outputRanges,
                     int nCount) override;

  // The functions inside each other, this one included: at least 1.
  int GetHeight() const { return m_nHeight; }

  // Units of work for one point, as CColorAccount counts them.
  std::int64_t GetPointWork() const { return m_nPointWork; }

protected:
  CFunction(const CObjectPtr& object, CColorAccount& account) : m_object(object), m_pAccount(&account) {}

  // Reads "Domain", which each function needs, and "Range".
  bool ReadDomain(bool bNeedsRange);

  // Points that lie in the domain; what it stores is clamped to the range afterwards. The work has been paid
  // for, except that of functions inside.
  virtual bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) = 0;

  // Reports once, at this object, that values are wrong.
  void ReportFailure();

  CObjectPtr m_object;
  BSE::CObjectPtr<CColorAccount> m_pAccount;
  BSE::CBasicArray<TRange> m_domain;
  BSE::CBasicArray<TRange> m_range;
  std::int64_t m_nPointWork = 1;
  int m_nInputs = 0;
  int m_nOutputs = 0;
  int m_nHeight = 1;

private:
  bool EvaluateBlock(const double* pInputs, double* pOutputs, int nCount);
  bool EvaluateByteBlock(std::span<const unsigned char> inputs, std::span<const TRange> inputRanges,
                         unsigned char* pOutputs, std::span<const TRange> outputRanges, int nCount);

  BSE::CBasicArray<double> m_clamped;
  BSE::CBasicArray<double> m_byteInputs;
  BSE::CBasicArray<double> m_byteOutputs;
  bool m_bReported = false;
};

}  // namespace PDF
