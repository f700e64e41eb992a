#pragma once

#include "engine/DecodedStreams.h"
#include "engine/StandIns.h"
#include "pdf/File.h"

namespace PDF
{

// Finds equal indirect objects of every kind in one walk over all that the trailer leads to, children before
// parents, so that a parent is compared with its references already replaced: equal fonts merge with all that
// belongs to them. Objects with an identity of their own (HasIdentity), arrays that list such objects or
// nothing, borders of annotations and their appearances but those of states, what the catalogue and the
// trailer refer to themselves, and whatever leads back to itself without meeting one of these, stay apart.
// Time is linear in the bytes of the file, memory in the number of its objects; equality is that of 128-bit
// digests of a strong hash.
//
// Adds what it finds to the stand-ins; what these redirect already counts as one object. With bDecode streams
// are equal if their decoded data are, for a copy that encodes them anew, and what was decoded is added to
// the collection. The last argument, which may be null, is told whether NamesDefaultSpaces holds for any
// object.
void MergeEqualObjects(CFile& file, bool bDecode, CStandIns& standIns, CDecodedStreams& decoded,
                       bool* pDefaultSpaces = nullptr);

}  // namespace PDF
