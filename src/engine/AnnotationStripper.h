#pragma once

#include "document/NumberSet.h"
#include "engine/OptimizerOptions.h"
#include "engine/SignatureFields.h"
#include "engine/StatusCodes.h"
#include "pdf/Object.h"

namespace PDF
{

// What becomes of an annotation.
enum class TAnnotationFate
{
  Keep,
  Drop,
  Flatten  // its look becomes part of the page, the annotation goes
};

// Decides which annotations of a page the options take away. An annotation that is to be flattened and shows
// nothing (it is not visible, or is a link without a border and without an appearance, or a signature without
// an appearance) is simply dropped.
class CAnnotationStripper
{
public:
  // The options must outlive the stripper. Reports go to the context where the annotation has none.
  CAnnotationStripper(const TOptimizerOptions& options, BSE::IErrorContext* pErrorContext)
      : m_options(options), m_pErrorContext(pErrorContext)
  {
  }

  // Null and what is no dictionary is dropped. A signed signature field that is dropped is reported.
  TAnnotationFate Decide(const CObjectPtr& annotation);

  // True for a form field that the output does not have any more: one of the type signature, which an
  // ancestor may tell, with a value of its own; where signatures are flattened, with or without one.
  bool IsLostField(const CObjectPtr& field);

  // True for the widget of a signature that is to be flattened.
  bool IsFlattenedSignature(const CObjectPtr& annotation);

  // Reports that a signature goes with this object, once for each one with a number.
  void TellSignature(const CObjectPtr& object);

  // The same where nothing has reported a signature yet.
  void TellSignatureOnce();

  // Forgets what is known of fields, which belongs to one document.
  void Reset()
  {
    m_fields.RemoveAll();
    m_told.RemoveAll();
    m_bTold = false;
  }

  // As shown on a screen (ISO 32000-1, 12.5.3).
  static bool IsVisible(const CObjectPtr& annotation);

private:
  bool IsFlattened(const TSignatureField& field) const;
  TAnnotationFate DecideWidget(const CObjectPtr& widget);
  bool Has(TStripFlag flag) const { return (m_options.m_nStrip & flag) != 0; }

  const TOptimizerOptions& m_options;
  BSE::IErrorContext* m_pErrorContext;
  CSignatureFields m_fields;
  CNumberSet m_told;
  bool m_bTold = false;
};

// True for the name of a type of annotations that the standard knows.
bool IsAnnotationSubtype(const CObjectPtr& subtype);

}  // namespace PDF
