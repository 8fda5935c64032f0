#pragma once
// The TFE block: the longest-prefix-match engine with its registers and memories.

#include "cmTfeHsi.h"

#include <cstdint>

class CmTfeLue {
public:
    CmTfeLue() : comRegPtr(&comReg), memPtr(&mem), dbgLvl(0) {}

    CmTfeHsiComReg *comRegPtr;
    CmTfeHsiMem *memPtr;
    uint32_t dbgLvl; // not 0: print the search trace
    CmTfeHsiComReg comReg;
    CmTfeHsiMem mem;
};
