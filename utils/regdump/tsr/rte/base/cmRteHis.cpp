#include "base/cmRteHis.h"

#include "base/cmUtl.h"

#include <algorithm>

namespace {

constexpr uint32_t kSlotCnt = 4;

uint32_t hiWord(uint64_t key) {
    return static_cast<uint32_t>(key >> 32);
}

uint32_t loWord(uint64_t key) {
    return static_cast<uint32_t>(key);
}

/// Valid flag of slot 0 in a history of N words a slot: position 0 is bit 0 of the last word; what lies above the first
/// word is looked for there.
template <uint32_t N> uint32_t slotVld(const uint32_t *his, uint32_t vldPos) {
    const uint32_t up = vldPos / 32;
    return bit(his[up < N ? N - 1 - up : 0], vldPos % 32);
}

// The four slots of a history stand behind one another.
#define SLOTS(name, words)                                                                                             \
    static_assert(sizeof(CmRteHsiComReg::rte_his_##name) == kSlotCnt * (words) * sizeof(uint32_t));
#define HIS(name, range, width, vld) SLOTS(name, 1)
#define HIS_WORD(name, vld) SLOTS(name, 1)
#define HIS_KEY(name, words, vld) SLOTS(name, words)
#include "base/cmRteHis.def"
#undef SLOTS

/// Moves the slots one down and puts `words` into the last one, when the control and the valid flag of slot 0 let it.
template <uint32_t N> void push(const CmRteHisCtl &ctl, uint32_t slot0Vld, const uint32_t (&words)[N], uint32_t *his) {
    if (ctl.rte_his_clr)
        return;
    if (!bit(ctl.rte_his_en, ctl.phyPort))
        return;
    if (slot0Vld && ctl.rte_his_mode)
        return;
    for (uint32_t i = 0; i < (kSlotCnt - 1) * N; i++)
        his[i] = his[i + N];
    for (uint32_t i = 0; i < N; i++)
        his[(kSlotCnt - 1) * N + i] = words[i];
}

/// The first word of slot 0 of the history at byte `offset` of the register file.
uint32_t *slots(CmRteHsiComReg *comRegPtr, size_t offset) {
    return reinterpret_cast<uint32_t *>(comRegPtr) + offset / sizeof(uint32_t);
}

} // namespace

void CmRteHisU32NoRng(const CmRteHisCtl &ctl, uint32_t key, uint32_t vldPos, uint32_t *his) {
    // A position in the upper half of 64 has no flag: nothing is looked for and nothing set.
    const uint32_t vld = vldPos % 64 < 32 ? 1u << vldPos % 32 : 0;
    push(ctl, his[0] & vld, {key | vld}, his);
}

void CmRteHisU32(const CmRteHisCtl &ctl, uint32_t key, uint32_t rngHi, uint32_t rngLo, uint32_t rngMask,
                 uint32_t vldPos, uint32_t *his) {
    const uint32_t masked = key & rngMask;
    if (masked < rngLo || masked > rngHi)
        return;
    CmRteHisU32NoRng(ctl, key, vldPos, his);
}

void CmRteHisU64NoRng(const CmRteHisCtl &ctl, uint64_t key, uint32_t vldPos, uint32_t *his) {
    const uint64_t vld = 1ull << vldPos % 64;
    push(ctl, (his[0] & hiWord(vld)) | (his[1] & loWord(vld)), {hiWord(key | vld), loWord(key | vld)}, his);
}

void CmRteHisU64(const CmRteHisCtl &ctl, uint64_t key, uint32_t vldPos, uint32_t rngHi0, uint32_t rngHi1,
                 uint32_t rngLo0, uint32_t rngLo1, const uint64_t *rngMaskPtr, uint32_t *his) {
    const uint64_t masked = key & *rngMaskPtr;
    const uint64_t rngHi = static_cast<uint64_t>(rngHi0) << 32 | rngHi1;
    const uint64_t rngLo = static_cast<uint64_t>(rngLo0) << 32 | rngLo1;
    if (masked < rngLo || masked > rngHi)
        return;
    CmRteHisU64NoRng(ctl, key, vldPos, his);
}

void CmRteHisU96NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, uint32_t *his) {
    // The chip puts the flag into W0 whatever its position, but looks for it by position; its users pass 64 and more.
    const uint32_t vld = vldPos % 64 < 32 ? 1u << vldPos % 32 : 0;
    push(ctl, slotVld<3>(his, vldPos), {loWord(key0) | vld, hiWord(key1), loWord(key1)}, his);
}

void CmRteHisU96(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, const uint32_t (&rngHi)[3],
                 const uint32_t (&rngLo)[3], uint32_t *his) {
    const uint32_t key[3] = {loWord(key0), hiWord(key1), loWord(key1)};
    if (CmpU96(key, rngHi) > 0 || CmpU96(key, rngLo) < 0)
        return;
    CmRteHisU96NoRng(ctl, key0, key1, vldPos, his);
}

void CmRteHisU128NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint32_t vldPos, uint32_t *his) {
    const uint32_t vld = 1u << vldPos % 32;
    push(ctl, slotVld<4>(his, vldPos), {hiWord(key0) | vld, loWord(key0), hiWord(key1), loWord(key1)}, his);
}

void CmRteHisU160NoRng(const CmRteHisCtl &ctl, uint64_t key0, uint64_t key1, uint64_t key2, uint32_t vldPos,
                       uint32_t *his) {
    const uint32_t vld = 1u << vldPos % 32;
    // The slot has no room for the low word of key0: the chip drops it.
    push(ctl, slotVld<5>(his, vldPos), {hiWord(key0) | vld, hiWord(key1), loWord(key1), hiWord(key2), loWord(key2)},
         his);
}

void RteHisUL3CtlMacTcam(const CmRteHisCtl &ctl, const uint32_t (&key)[14], uint32_t vldPos, uint32_t *his) {
    uint32_t words[14];
    for (uint32_t i = 0; i < 14; i++)
        words[i] = key[i];
    words[0] |= 1u << vldPos % 32;
    push(ctl, slotVld<14>(his, vldPos), words, his);
}

void capture(const CmRteStat *statPtr, const CmRteHisAddr &his, uint32_t addr, uint32_t flags) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHisU32(hisCtl(statPtr), flags << his.width | addr, comRegPtr->*his.rngHi, comRegPtr->*his.rngLo,
                (1u << his.width) - 1, his.vldPos, slots(comRegPtr, his.offset));
}

void capture(const CmRteStat *statPtr, const CmRteHisKey &his, const uint32_t *key, uint32_t wordCnt) {
    constexpr uint32_t kKeyWordsMax = 14;
    uint32_t words[kKeyWordsMax] = {};
    for (uint32_t i = 0; i < std::min(wordCnt, his.words); i++)
        words[his.words - 1 - i] = key[wordCnt - 1 - i];

    const auto qword = [&](uint32_t first) { return uint64_t{words[first]} << 32 | words[first + 1]; };
    const CmRteHisCtl ctl = hisCtl(statPtr);
    uint32_t *first = slots(statPtr->comRegPtr, his.offset);
    switch (his.words) {
    case 1:
        return CmRteHisU32NoRng(ctl, words[0], his.vldPos, first);
    case 2:
        return CmRteHisU64NoRng(ctl, qword(0), his.vldPos, first);
    case 3:
        return CmRteHisU96NoRng(ctl, words[0], qword(1), his.vldPos, first);
    case 4:
        return CmRteHisU128NoRng(ctl, qword(0), qword(2), his.vldPos, first);
    case 5:
        return CmRteHisU160NoRng(ctl, uint64_t{words[0]} << 32, qword(1), qword(3), his.vldPos, first);
    case kKeyWordsMax:
        return RteHisUL3CtlMacTcam(ctl, words, his.vldPos, first);
    }
}

int CmpU96(const uint32_t (&a)[3], const uint32_t (&b)[3]) {
    for (uint32_t i = 0; i < 3; i++) {
        if (a[i] > b[i])
            return 1;
        if (a[i] < b[i])
            return -1;
    }
    return 0;
}
