#pragma once

namespace BSE
{

// Form of fax data (ISO 32000-1, table 11). Rows of less than one pixel are refused by the filters.
struct CCCITTFaxParameters
{
  // Below 0 two-dimensional (Group 4), 0 one-dimensional, above 0 mixed: each row has a tag bit that gives
  // how it is coded. Above g_nLastMixedK only the first two rows have one, and all others are
  // two-dimensional.
  int K = 0;

  int Columns = 1728;

  // Rows to decode; 0 if unknown.
  int Rows = 0;

  // Damaged rows that are taken without a report.
  int DamagedRowsBeforeError = 0;

  bool BlackIs1 = false;
  bool EncodedByteAlign = false;

  // Of TIFF, never set for PDF data. With EndOfLine each end-of-line code ends on a byte boundary where data
  // is encoded; without it each row ends on one where data is decoded.
  bool bAlignEndOfLine = false;

  bool EndOfLine = false;
  bool EndOfBlock = true;

  // The bits of each byte are read from the low end. Of TIFF too; encoders ignore it.
  bool bReverseBits = false;
};

inline constexpr int g_nLastMixedK = 1099;
inline constexpr int g_nMixedRows = 2;

}  // namespace BSE
