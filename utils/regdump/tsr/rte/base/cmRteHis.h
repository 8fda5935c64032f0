#pragma once
// Key history: the last four keys or indices of a lookup, as the chip's debug capture keeps them in registers.

#include "base/cmRte.h"

/// What decides on a capture: the frame's port, the stop and freeze flags and the ports that are on.
struct CmRteHisCtl {
    uint32_t phyPort;
    uint32_t rte_his_clr;  // not 0: capture nothing
    uint32_t rte_his_mode; // not 0: keep the first four captures; 0: the last four
    uint32_t rte_his_en;   // one bit a port
};

/// The control of the lookup histories for a frame.
inline CmRteHisCtl hisCtl(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return {statPtr->ingPhyPort, comRegPtr->rte_his_clr, comRegPtr->rte_his_mode, comRegPtr->rte_his_en};
}

// `his` is the first register of slot 0, the oldest; the words of the four slots stand behind one another from there,
// most significant word first, as in the register file. `vldPos` is the bit position of the slot's valid flag, counted
// from the least significant word. The operations with a range capture only what lies in it, bounds included.

/// One word a slot: captures `key`.
void CmRteHisU32NoRng(const CmRteHisCtl &ctl, uint32_t key, uint32_t vldPos, uint32_t *his);
/// The same for `rngLo` <= (`key` & `rngMask`) <= `rngHi`.
void CmRteHisU32(const CmRteHisCtl &ctl, uint32_t key, uint32_t rngHi, uint32_t rngLo, uint32_t rngMask,
                 uint32_t vldPos, uint32_t *his);

/// Two words a slot.
void CmRteHisU64NoRng(const CmRteHisCtl &ctl, uint64_t key, uint32_t vldPos, uint32_t *his);
/// The same in a 64-bit range given by word pairs, `rngHi0` and `rngLo0` the high words.
void CmRteHisU64(const CmRteHisCtl &ctl, uint64_t key, uint32_t vldPos, uint32_t rngHi0, uint32_t rngHi1,
                 uint32_t rngLo0, uint32_t rngLo1, const uint64_t *rngMaskPtr, uint32_t *his);

/// Three words a slot: the low word of `key0`, and `key1`.
void CmRteHisU96NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, uint32_t *his);
/// The same in a range; `rngHi` and `rngLo` are three words, most significant first.
void CmRteHisU96(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, const uint32_t (&rngHi)[3],
                 const uint32_t (&rngLo)[3], uint32_t *his);

/// Four words a slot: `key0` and `key1`.
void CmRteHisU128NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, uint32_t *his);
/// Five words a slot: the high word of `key0` (its low word is not kept), `key1` and `key2`.
void CmRteHisU160NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint64_t key2, uint32_t vldPos,
                       uint32_t *his);
/// Fourteen words a slot: the key of the layer-3 control TCAM, most significant word first.
void RteHisUL3CtlMacTcam(const CmRteHisCtl &ctl, const uint32_t (&key)[14], uint32_t vldPos, uint32_t *his);

/// The registers of a history of keys: the place of slot 0 in the register file, the words of a slot, the valid flag's
/// position.
struct CmRteHisKey {
    size_t offset; // in bytes
    uint32_t words;
    uint32_t vldPos;
};

/// The registers of a history of addresses of `width` bits, and the bounds of what it keeps.
struct CmRteHisAddr {
    size_t offset; // of slot 0 in the register file, in bytes
    uint32_t CmRteHsiComReg::*rngHi;
    uint32_t CmRteHsiComReg::*rngLo;
    uint32_t width;
    uint32_t vldPos;
};

/// The histories by name.
namespace his {
#define HIS(name, range, width, vld)                                                                                   \
    inline constexpr CmRteHisAddr name = {offsetof(CmRteHsiComReg, rte_his_##name),                                    \
                                          &CmRteHsiComReg::rte_lue_##range##_addr_hi,                                  \
                                          &CmRteHsiComReg::rte_lue_##range##_addr_lo, width, vld};
#define HIS_WORD(name, vld) inline constexpr CmRteHisKey name = {offsetof(CmRteHsiComReg, rte_his_##name), 1, vld};
#define HIS_KEY(name, words, vld)                                                                                      \
    inline constexpr CmRteHisKey name = {offsetof(CmRteHsiComReg, rte_his_##name), words, vld};
#include "base/cmRteHis.def"
} // namespace his

/// Captures `addr` in the history when it lies in the history's range; `flags` go right above the address.
void capture(const CmRteStat *statPtr, const CmRteHisAddr &his, uint32_t addr, uint32_t flags = 0);
/// Captures a key of `wordCnt` words, most significant first: its low words, or with zeros ahead of a shorter key.
void capture(const CmRteStat *statPtr, const CmRteHisKey &his, const uint32_t *key, uint32_t wordCnt);

/// Compares three-word numbers, most significant word first: 1, -1 or 0 as `a` is above, below or equal to `b`.
int CmpU96(const uint32_t (&a)[3], const uint32_t (&b)[3]);
