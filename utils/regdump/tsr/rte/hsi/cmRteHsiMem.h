#pragma once
// The memories behind the host interface: each word is stored masked to the bits that exist, and a wide entry changes
// when its last word is written.

#include "base/cmRte.h"
#include "tae/cmTaeHsi.h"
#include "tfe/cmTfeHsi.h"

#include <cstdint>

/// Host writes of `data` to the memory word at `addr`. Words before an entry's last one wait in hold registers, and the
/// last one stores them all. Return 1, or 0 when the address names no memory.
int CmRteHsiMemWr(CmRteHsiMem *memPtr, uint32_t addr, uint32_t data);
int CmTfeHsiMemWr(CmTfeHsiMem *memPtr, uint32_t addr, uint32_t data);
int CmTaeHsiMemWr(CmTaeHsiMem *memPtr, uint32_t addr, uint32_t data);

/// Host reads of the memory word at `addr` into `*dataPtr`, which an unknown address clears. The read of an entry's
/// first word latches the entry, and reads of the others return what was latched last. Return 1, or 0 when the address
/// names no memory.
int CmRteHsiMemRd(const CmRteHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr);
int CmTfeHsiMemRd(const CmTfeHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr);
int CmTaeHsiMemRd(const CmTaeHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr);

/// Clear a block's memories.
void CmRteHsiMemInit(CmRteHsiMem *memPtr);
void CmTfeHsiMemInit(CmTfeHsiMem *memPtr);

/// Write a run of words at rising addresses from `addr` on, straight from the big-endian words `beWords`, up to the end
/// of the memory range that holds `addr`. Return the words consumed, at most `wordCnt`; 0 when the address names no
/// memory. They leave what the single writes leave, hold registers included.
uint32_t CmRteHsiMemWrRun(CmRteHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);
uint32_t CmTfeHsiMemWrRun(CmTfeHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);
uint32_t CmTaeHsiMemWrRun(CmTaeHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);
