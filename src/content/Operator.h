#pragma once

#include "pdf/Token.h"

#include <cstdint>

namespace PDF
{

// The content operators (ISO 32000-1, Annex A) as tokens, in the order of the keyword table.
enum TOperator
{
  eOpShowNextLine = eTokenFirstOperator,  // '
  eOpShowSpaced,                          // "
  eOpFillStroke,                          // B
  eOpEoFillStroke,                        // B*
  eOpBDC,
  eOpBI,
  eOpBMC,
  eOpBT,
  eOpBX,
  eOpCS,
  eOpDo,
  eOpDP,
  eOpEI,
  eOpEMC,
  eOpET,
  eOpEX,
  eOpFillOld,     // F
  eOpStrokeGray,  // G
  eOpI,
  eOpID,
  eOpLineCap,     // J
  eOpStrokeCMYK,  // K
  eOpMiterLimit,  // M
  eOpMP,
  eOpRestore,      // Q
  eOpStrokeRGB,    // RG
  eOpStroke,       // S
  eOpStrokeColor,  // SC
  eOpSCN,
  eOpNextLine,       // T*
  eOpMoveSetLead,    // TD
  eOpShowArray,      // TJ
  eOpLeading,        // TL
  eOpCharSpacing,    // Tc
  eOpMoveText,       // Td
  eOpFont,           // Tf
  eOpShow,           // Tj
  eOpTextMatrix,     // Tm
  eOpRenderMode,     // Tr
  eOpRise,           // Ts
  eOpWordSpacing,    // Tw
  eOpScaling,        // Tz
  eOpEoClip,         // W*
  eOpClip,           // W
  eOpCloseFill,      // b
  eOpEoCloseFill,    // b*
  eOpCurve,          // c
  eOpConcat,         // cm
  eOpFillSpace,      // cs
  eOpDash,           // d
  eOpGlyphWidth,     // d0
  eOpGlyphBox,       // d1
  eOpFill,           // f
  eOpEoFill,         // f*
  eOpFillGray,       // g
  eOpExtGState,      // gs
  eOpClosePath,      // h
  eOpFlatness,       // i
  eOpLineJoin,       // j
  eOpFillCMYK,       // k
  eOpLine,           // l
  eOpMove,           // m
  eOpEndPath,        // n
  eOpSave,           // q
  eOpRectangle,      // re
  eOpFillRGB,        // rg
  eOpIntent,         // ri
  eOpRl,             // a keyword that no standard defines
  eOpCloseStroke,    // s
  eOpFillColor,      // sc
  eOpFillColorN,     // scn
  eOpShading,        // sh
  eOpCurveFromHere,  // v
  eOpLineWidth,      // w
  eOpCurveToEnd,     // y
  eOpEnd
};
static_assert(eOpEnd == eTokenLastOperator + 1);

// What an operator is about decides where it may be (ISO 32000-1, 8.2).
enum TOperatorClass : unsigned char
{
  eClassGeneral = 0,
  eClassSpecial = 1,
  eClassPath = 2,
  eClassPaint = 3,
  eClassClip = 4,
  eClassTextObject = 5,
  eClassTextState = 6,
  eClassTextPosition = 7,
  eClassTextShow = 8,
  eClassType3 = 9,
  eClassColor = 10,
  eClassShading = 11,
  eClassInlineImage = 12,
  eClassXObject = 13,
  eClassMarkedContent = 14,
  eClassCompatibility = 15
};

struct TOperatorRow
{
  TOperatorClass m_nClass;
  signed char m_nNumbers;  // operands if all are numbers; -1 for others
};

// The row of an operator token.
const TOperatorRow& GetOperatorRow(int nOperator);

// The operator of up to three characters, the first in the low byte; eTokenKeyword if there is none.
int FindOperator(std::uint32_t nPacked);

}  // namespace PDF
