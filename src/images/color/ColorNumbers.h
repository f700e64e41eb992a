#pragma once

#include "base/BasicArray.h"
#include "images/color/ColorAccount.h"
#include "images/color/ColorRange.h"
#include "pdf/Object.h"

#include <span>

namespace PDF
{

using DOC::CColorAccount;
using DOC::TRange;

// Where what is found at an object is reported: itself if it has a number, else the document.
inline BSE::IErrorContext* GetContext(const CObjectPtr& object, const CColorAccount& account)
{
  return object.IsIndirect() ? object.Get() : account.GetErrorContext();
}

// A number of a file, moved into the range of single precision: never infinite, and 0 where it is not a
// number.
double ReadNumber(const CObjectPtr& object);

// The first numbers of an array, nMax at most. False if it is not an array, has fewer than nMin elements, or
// one of those read is not a number.
bool ReadNumbers(const CObjectPtr& array, int nMin, int nMax, BSE::CBasicArray<double>& numbers);

// Pairs of numbers, in the same way.
bool ReadRanges(const CObjectPtr& array, int nMin, int nMax, BSE::CBasicArray<TRange>& ranges);

// The decoded data of a stream, nMax bytes at most. False where there is none, where it is longer, or where
// the account has no room for it; what has been read before a failure of the stream counts as its data.
bool ReadData(const CObjectPtr& stream, std::int64_t nMax, CColorAccount& account,
              BSE::CBasicArray<unsigned char>& data);

}  // namespace PDF
