#pragma once
// The host interface of the TAE block: its registers, its ACL TCAM and the ACL's result memory.

#include "base/cmRte.h"

#include <cstdint>

/// Host write of `data` to the chip address `addr` of a TAE register, of the ACL TCAM or of its result memory. Returns
/// 1, or 0 when the address names none of them.
int CmTaeHsiWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data);

/// Host read of a TAE register; TCAM and result memory are write-only. Returns 1, or 0 for another address.
int CmTaeHsiRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr);

/// The parts of the above: one word a named register; an entry of a TCAM bank, stored when its last word comes; an
/// entry of four words of a bank's result memory, likewise. Return 1, or 0 for an address of none.
int CmTaeHsiRegWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data);
int CmTaeHsiRegRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr);
int CmTaeHsiTcamWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data);
int CmTaeHsiRsltMemWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data);

/// Write a run of big-endian words at rising addresses from `addr` on, within one bank of the result memory or one pair
/// of TCAM banks. Return the words consumed, at most `wordCnt`, or 0 when the address names no bank. They leave what
/// the single writes leave.
uint32_t CmTaeHsiTcamWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);
uint32_t CmTaeHsiRsltMemWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);
