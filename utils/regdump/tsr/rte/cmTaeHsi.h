#pragma once
// The exact-match memories of the TAE block.

#include <cstdint>

/// Exact-match memories of the TAE, an entry's words one behind the other.
struct CmTaeHsiMem {
#define MEM(first, last, name, words, ...) uint32_t name[((last) + 1 - (first)) / 4];
#include "cmTaeHsiMem.def"
#undef MEM
};
