#pragma once
// The registers and memories of the TFE block.

#include <cstdint>

/// Register file of the TFE: one word a register field, in the order of the chip.
struct CmTfeHsiComReg {
#define FLD(name, hi, lo) uint32_t name;
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#define REG_NO_HOST(name, ...) __VA_ARGS__
#include "tfe/cmTfeHsiComReg.def"
    uint32_t pad[13]; // the chip's register file has 95 words in all
};
static_assert(sizeof(CmTfeHsiComReg) == 95 * sizeof(uint32_t));

/// Memories of the TFE: the TCAM of 13 banks and the address map, an entry's words one behind the other.
struct CmTfeHsiMem {
#define MEM(first, last, name, words, ...) uint32_t name[((last) + 1 - (first)) / 4];
#include "tfe/cmTfeHsiMem.def"
};
