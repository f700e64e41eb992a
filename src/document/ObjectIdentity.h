#pragma once

#include "pdf/Object.h"

namespace PDF
{

// True for an object that is more than its value: two of them with equal contents are still two things to a
// reader, or something finds its way back to them. Those are pages and nodes of trees (page, outline, field,
// name, number and structure trees), annotations, fields, optional content groups and memberships,
// signatures, threads and beads, file specifications, media, destinations, Type 3 fonts and patterns that use
// the resources of their page, and whatever names its parent or is an item of the structure. Judged by the
// object itself, from keys that such objects must have; nothing that a reference leads to is loaded, but for
// the value.
bool HasIdentity(const CObjectPtr& object);

}  // namespace PDF
