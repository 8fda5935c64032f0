#pragma once
// The plain memories of the TAE block.

#include <cstdint>

/// Exact-match memories of the layer-3 ACL: plain words, masked to the bits that exist.
struct CmTaeHsiMem {
#define MEM(first, last, name, words, ...) uint32_t name[((last) + 1 - (first)) / 4];
#include "tae/cmTaeHsiMem.def"
};
static_assert(sizeof(CmTaeHsiMem) == 473088 * sizeof(uint32_t));
