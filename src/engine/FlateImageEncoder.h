#pragma once

#include "engine/Deflater.h"
#include "engine/SampleForm.h"

namespace PDF
{

// Deflates the samples of images with and without a predictor for each row, and in the forms of the same
// colours that are shorter.
class CFlateImageEncoder
{
public:
  // 1 (fast) to 9 (small); from 5 on predictors are tried.
  explicit CFlateImageEncoder(int nEffort) : m_nEffort(nEffort), m_deflater(nEffort) {}

  // The samples may be in another form afterwards. With bReduce other forms are tried. False if nothing takes
  // less than the limit in the file: data, filter, parameters and colour space. What is far beyond it in a
  // fast compression is not tried with all effort.
  bool Encode(CSamples& samples, bool bReduce, std::size_t nLimit);

  // The best, valid until the next call: its data, the parameters of "FlateDecode", which may be null, and
  // the form that it has the samples in.
  std::span<const unsigned char> GetData() const { return m_best.GetSpan(); }
  const CObjectPtr& GetParameters() const { return m_parameters; }
  const TSampleForm& GetForm() const { return m_form; }

  // Gives up what a large image has needed; nothing of it is valid any more.
  void Trim();

private:
  // Of those that choose.
  static constexpr int g_nQuickEffort = 3;

  std::size_t MeasureQuickly(std::span<const unsigned char> data, std::size_t nLimit);
  void TryForms(CSamples& samples);
  bool DeflateChosen(std::size_t nLimit);
  bool DeflateOther(const CSamples& samples, std::size_t nLimit);
  void TryForm(const CSamples& samples);
  void Try(std::span<const unsigned char> data, const CObjectPtr& parameters, const TSampleForm& form);

  int m_nEffort;
  CDeflater m_deflater;
  CDeflater m_quick{g_nQuickEffort};
  CByteBuffer m_candidate;
  CByteBuffer m_chosen;
  CByteBuffer m_best;
  CByteBuffer m_predicted;
  CObjectPtr m_parameters;
  TSampleForm m_form;
  std::size_t m_nQuickCost = 0;
  std::size_t m_nEstimate = 0;  // of the last try, also of one that was given up
};

}  // namespace PDF
