#include "hsi/tae_pci_decode.h"

#include "base/cmRteState.h"
#include "base/cmUtl.h"
#include "be_word.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr uint32_t kRegBase = 0xf0000;
constexpr uint32_t kRegHighest = 996;

/// The name of the register at each word offset of the block, null where there is none.
constexpr auto kRegNames = [] {
    std::array<const char *, kRegHighest / 4 + 1> names{};
#define REG(offset, name, ...) names[(offset) / 4] = #name;
#include "tae/cmTaeHsiReg.def"
    return names;
}();

/// The name of the register at `addr`, or null.
const char *regName(uint32_t addr) {
    const uint32_t offset = addr - kRegBase;
    if (offset > kRegHighest || offset % 4 != 0)
        return nullptr;
    return kRegNames[offset / 4];
}

// ACL TCAM: an entry has its Y words first and its X words behind them, highest word first.

constexpr uint32_t kKeyWords = 8;
constexpr uint32_t kNarrowWords = 2 * kKeyWords; // an entry of one bank
constexpr uint32_t kWideWords = 4 * kKeyWords;   // an entry of two joined banks: Y of the even one, Y of the odd one, X

/// Where an address of the ACL TCAM lands.
struct TcamPlace {
    bool wide;
    uint32_t bank;
    uint32_t half;
    uint32_t entry;
    uint32_t word;
};

/// Bit n: the banks 2n and 2n + 1 are joined.
uint32_t joinedPairs(const CmTaeLkup *taePtr) {
    return taePtr->regs.bank_prtcl_sel_0();
}

/// Decodes `addr` by the layout of the bank `bank`. The result's bank is the one that the address names in that layout,
/// which need not be `bank`.
TcamPlace decodeAs(uint32_t addr, uint32_t bank, bool wide) {
    TcamPlace place{.wide = wide, .bank = TAE_BANKS, .half = 0, .entry = 0, .word = 0};
    if (bank < TAE_FIRST_SMALL_BANK) {
        if (wide) {
            place.bank = bits(addr, 21, 19) * 2 + bit(addr, 5);
            place.half = bit(addr, 18);
            place.entry = bits(addr, 17, 7);
        } else {
            place.bank = bits(addr, 21, 18);
            place.half = bit(addr, 17);
            place.entry = bits(addr, 16, 6);
        }
    } else if (bits(addr, 21, 20) == 3) {
        if (wide) {
            place.bank = TAE_FIRST_SMALL_BANK + bits(addr, 19, 16) * 2 + bit(addr, 5);
            place.entry = bits(addr, 15, 7);
        } else {
            place.bank = TAE_FIRST_SMALL_BANK + bits(addr, 19, 15);
            place.entry = bits(addr, 14, 6);
        }
    }
    place.word = wide ? bits(addr, 6, 2) : bits(addr, 5, 2);
    return place;
}

/// The place of the first bank that `addr` decodes to; its `bank` is TAE_BANKS when there is none.
TcamPlace decodeTcam(uint32_t addr, uint32_t joined) {
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        const TcamPlace place = decodeAs(addr, bank, bit(joined, bank >> 1));
        if (place.bank == bank)
            return place;
    }
    return {.wide = false, .bank = TAE_BANKS, .half = 0, .entry = 0, .word = 0};
}

/// The blocks of the pair of banks to which a bank belongs: by bank of the pair, then by half.
struct PairBlocks {
    EmbeddedTcam *block[2][2];

    PairBlocks(const CmTaeLkup *taePtr, uint32_t bank) {
        for (uint32_t b = 0; b < 2; b++) {
            for (uint32_t half = 0; half < 2; half++)
                block[b][half] = taePtr->getAclTcamBlockPointer(static_cast<int>((bank & ~1u) + b), //
                                                                static_cast<int>(half));
        }
    }
};

/// Stores an entry whose Y and X words are given in the order of their addresses.
void storeEntry(EmbeddedTcam *tcam, uint32_t entry, const uint32_t *y, const uint32_t *x) {
    uint32_t yKey[kKeyWords], xKey[kKeyWords];
    std::copy_n(y, kKeyWords, yKey);
    std::copy_n(x, kKeyWords, xKey);
    reverseKey(yKey, kKeyWords);
    reverseKey(xKey, kKeyWords);
    if (tcam)
        tcam->writeXYRaw(entry, yKey, xKey);
}

/// Stores the entry in the hold registers, the last word of which came to `place`.
void storeHeld(const PairBlocks &pair, const TcamPlace &place) {
    const uint32_t *tcamHold = cmState().hold.taeTcam;
    if (place.wide) {
        storeEntry(pair.block[0][place.half], place.entry, tcamHold, tcamHold + 16);
        storeEntry(pair.block[1][place.half], place.entry, tcamHold + 8, tcamHold + 24);
    } else {
        storeEntry(pair.block[place.bank & 1][place.half], place.entry, tcamHold, tcamHold + 8);
    }
}

constexpr uint32_t entryWords(const TcamPlace &place) {
    return place.wide ? kWideWords : kNarrowWords;
}

// Result memory of the ACL.

constexpr uint32_t kRsltWords = 4;

/// Where the banks' result memories start; the last entry is the end of them all.
constexpr auto kRsltBankStart = [] {
    std::array<uint32_t, TAE_BANKS + 1> start{};
    for (uint32_t bank = 0; bank <= TAE_BANKS; bank++) {
        start[bank] = bank < TAE_FIRST_SMALL_BANK ? 0x4800000 + 0x10000 * bank
                                                  : 0x48c0000 + 0x2000 * (bank - TAE_FIRST_SMALL_BANK);
    }
    return start;
}();

/// The bank whose result memory holds `addr`, or TAE_BANKS.
uint32_t rsltBank(uint32_t addr) {
    const auto behind = std::upper_bound(kRsltBankStart.begin(), kRsltBankStart.end(), addr);
    if (behind == kRsltBankStart.begin() || behind == kRsltBankStart.end())
        return TAE_BANKS;
    return static_cast<uint32_t>(behind - kRsltBankStart.begin()) - 1;
}

/// Takes word `w` of a bank's result memory; the last one of an entry stores it.
void writeRsltWord(EmbeddedMemory *rslt, uint32_t w, uint32_t data) {
    uint32_t *rsltHold = cmState().hold.taeRslt;
    rsltHold[w & 3] = data;
    if ((w & 3) != 3)
        return;
    reverseKey(rsltHold, kRsltWords);
    if (rslt)
        rslt->writeRaw(w / 4, rsltHold);
}

} // namespace

int CmTaeHsiRegWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data) {
    const char *name = regName(addr);
    if (!name)
        return 0;
    cmRtePtr->taePtr->BLK_REG_SET(name, data, false, true);
    return 1;
}

int CmTaeHsiRegRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr) {
    const char *name = regName(addr);
    if (!name)
        return 0;
    *dataPtr = cmRtePtr->taePtr->BLK_REG_GET(name);
    return 1;
}

int CmTaeHsiTcamWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data) {
    const TcamPlace place = decodeTcam(addr, joinedPairs(cmRtePtr->taePtr));
    if (place.bank == TAE_BANKS)
        return 0;
    cmState().hold.taeTcam[place.word] = data;
    if (place.word == entryWords(place) - 1)
        storeHeld(PairBlocks(cmRtePtr->taePtr, place.bank), place);
    return 1;
}

int CmTaeHsiRsltMemWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data) {
    const uint32_t bank = rsltBank(addr);
    if (bank == TAE_BANKS)
        return 0;
    writeRsltWord(cmRtePtr->taePtr->getAclRsltBlockPointer(static_cast<int>(bank)), (addr - kRsltBankStart[bank]) / 4,
                  data);
    return 1;
}

int CmTaeHsiWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data) {
    if (addr >= 0xf0000 && addr <= 0xf03e4)
        return CmTaeHsiRegWr(cmRtePtr, addr, data);
    if (addr >= 0x4400000 && addr <= 0x478ffff)
        return CmTaeHsiTcamWr(cmRtePtr, addr, data);
    if (addr >= 0x4800000 && addr <= 0x48e3fff)
        return CmTaeHsiRsltMemWr(cmRtePtr, addr, data);
    return 0;
}

int CmTaeHsiRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr) {
    if (addr >= 0xf0000 && addr <= 0xf03e4)
        return CmTaeHsiRegRd(cmRtePtr, addr, dataPtr);
    return 0;
}

uint32_t CmTaeHsiTcamWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    CmTaeLkup *taePtr = cmRtePtr->taePtr;
    const TcamPlace start = decodeTcam(addr, joinedPairs(taePtr));
    if (start.bank == TAE_BANKS)
        return 0;
    // Within a pair of banks only the entry, the half and the bank's lowest bit change.
    const uint32_t pairBytes = start.bank < TAE_FIRST_SMALL_BANK ? 0x80000 : 0x10000;
    const uint32_t cnt = std::min(wordCnt, (pairBytes - addr % pairBytes + 3) / 4);
    const PairBlocks pair(taePtr, start.bank);
    uint32_t *tcamHold = cmState().hold.taeTcam;
    for (uint32_t i = 0; i < cnt;) {
        // The words up to the end of the entry, or to the end of the run.
        const TcamPlace place = decodeAs(addr + 4 * i, start.bank, start.wide);
        const uint32_t words = std::min(cnt - i, entryWords(place) - place.word);
        for (uint32_t w = 0; w < words; w++)
            tcamHold[place.word + w] = hostWord(beWords[i + w]);
        if (place.word + words == entryWords(place))
            storeHeld(pair, place);
        i += words;
    }
    return cnt;
}

uint32_t CmTaeHsiRsltMemWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    const uint32_t bank = rsltBank(addr);
    if (bank == TAE_BANKS)
        return 0;
    EmbeddedMemory *rslt = cmRtePtr->taePtr->getAclRsltBlockPointer(static_cast<int>(bank));
    const uint32_t w = (addr - kRsltBankStart[bank]) / 4;
    const uint32_t cnt = std::min(wordCnt, (kRsltBankStart[bank + 1] - addr + 3) / 4);
    for (uint32_t i = 0; i < cnt; i++)
        writeRsltWord(rslt, w + i, hostWord(beWords[i]));
    return cnt;
}
