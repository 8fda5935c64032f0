#include "hsi/cmRteHsi.h"

#include "base/cmOut.h"
#include "base/cmRteJournal.h"
#include "base/cmUtl.h"
#include "be_word.h"
#include "hsi/cmRteHsiMem.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/tae_pci_decode.h"
#include "log/cmRteLog.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"

namespace {

/// The host addresses of a memory or a block, first and last byte.
struct AddrRange {
    uint32_t first;
    uint32_t last;

    constexpr bool holds(uint32_t a) const { return first <= a && a <= last; }
};

constexpr uint32_t kAddrMask = 0x7ffffff; // the bus decodes bits 26:0

constexpr AddrRange kDaActSram{0x3c60000, 0x3c6bfff};
constexpr AddrRange kSaLipSram{0x3cf6000, 0x3cf6fff};
constexpr AddrRange kDaLipSram{0x3cf8000, 0x3cf8fff};
constexpr AddrRange kRteMem{0x2800000, 0x3ffffff};
constexpr AddrRange kTfeMem{0x4c00000, 0x5ffffff};
constexpr AddrRange kTaeMem{0x4900000, 0x4b9ffff};
constexpr AddrRange kTaeReg{0xf0000, 0xf03e4};
constexpr AddrRange kTaeTcam{0x4400000, 0x478ffff};
constexpr AddrRange kTaeRslt{0x4800000, 0x48e3fff};

constexpr uint32_t kSaLrnFifoRd0 = 0x5010c;
constexpr uint32_t kDaLrnFifoRd0 = 0x50130;
constexpr uint32_t kPrcSflwCfg = 0x58; // offset in a port's block

constexpr uint32_t kLrnFifoEntries = 1024;

constexpr bool isTfeReg(uint32_t a) {
    return bits(a, 24, 20) == 0 && bits(a, 19, 15) == 20;
}
constexpr bool isComReg(uint32_t a) {
    return bits(a, 24, 20) == 0 && bits(a, 19, 15) == 10;
}
constexpr bool isPortReg(uint32_t a) {
    return bits(a, 26, 22) == 1 && bits(a, 15, 12) == 2;
}

int readAt(CmRte *cmRtePtr, uint32_t a, uint32_t *dataPtr) {
    if (kDaActSram.holds(a)) {
        uint32_t &word = cmRtePtr->mem.RTE_L2_EXM_DA_ACT_SRAM[(a - kDaActSram.first) / 4];
        *dataPtr = word;
        cmNote(&word, 1);
        word = 0; // the chip clears it on read
        return 1;
    }
    if (kRteMem.holds(a))
        return CmRteHsiMemRd(&cmRtePtr->mem, a, dataPtr);
    if (kTfeMem.holds(a))
        return CmTfeHsiMemRd(cmRtePtr->tfePtr->memPtr, a, dataPtr);
    if (isTfeReg(a))
        return CmTfeHsiComRegRd(cmRtePtr->tfePtr->comRegPtr, a, dataPtr);
    if (kTaeMem.holds(a))
        return CmTaeHsiMemRd(cmRtePtr->taePtr->memPtr, a, dataPtr);
    if (bits(a, 24, 20) != 0) {
        if (isPortReg(a))
            return CmRteHsiPortRegRd(&cmRtePtr->portRegLst[bits(a, 20, 16)], a, dataPtr);
        return 0;
    }
    if (isComReg(a)) {
        if (a == kSaLrnFifoRd0)
            SaLrnFifoRd(cmRtePtr);
        if (a == kDaLrnFifoRd0)
            DaLrnFifoRd(cmRtePtr);
        return CmRteHsiComRegRd(&cmRtePtr->comReg, a, dataPtr);
    }
    return 0;
}

int writeAt(CmRte *cmRtePtr, uint32_t addr, uint32_t a, uint32_t data) {
    const int trace = cmRtePtr->dbgEn >= 4;
    if (kSaLipSram.holds(a) && cmRtePtr->comReg.rte_l2_sa_lrn_lip_w1c_en) {
        cmRtePtr->mem.RTE_L2_SA_LIP_SRAM[(a - kSaLipSram.first) / 4] &= ~data;
        return 1;
    }
    if (kDaLipSram.holds(a) && cmRtePtr->comReg.rte_l2_da_lrn_lip_w1c_en) {
        cmRtePtr->mem.RTE_L2_DA_LIP_SRAM[(a - kDaLipSram.first) / 4] &= ~data;
        return 1;
    }
    if (kRteMem.holds(a))
        return CmRteHsiMemWr(&cmRtePtr->mem, a, data);
    if (kTfeMem.holds(a))
        return CmTfeHsiMemWr(cmRtePtr->tfePtr->memPtr, a, data);
    if (isTfeReg(a))
        return CmTfeHsiComRegWr(cmRtePtr->tfePtr->comRegPtr, a, data, trace);
    if (kTaeMem.holds(a))
        return CmTaeHsiMemWr(cmRtePtr->taePtr->memPtr, a, data);
    if (kTaeReg.holds(a) || kTaeTcam.holds(a) || kTaeRslt.holds(a))
        return CmTaeHsiWr(cmRtePtr, a, data);
    if (isComReg(a))
        return CmRteHsiComRegWr(&cmRtePtr->comReg, a, data, trace);
    if (bits(a, 24, 20) == 0)
        return 0;
    if (!isPortReg(a))
        return 0;
    const uint32_t port = bits(a, 20, 16);
    CmRteHsiPortReg *portRegPtr = &cmRtePtr->portRegLst[port];
    const int ret = CmRteHsiPortRegWr(portRegPtr, a, data, port, trace);
    if (bits(addr, 11, 0) == kPrcSflwCfg)
        portRegPtr->rte_prc_port_sflw_cnt = 0; // a new sample rate restarts the count
    return ret;
}

/// Writes the words of a run that stay in the memory range of `a`. Returns the words consumed; 0 when `a` lies in no
/// memory that takes runs, or no memory at all.
uint32_t writeMemRun(CmRte *cmRtePtr, uint32_t a, const uint32_t *beWords, uint32_t wordCnt) {
    if (kSaLipSram.holds(a) && cmRtePtr->comReg.rte_l2_sa_lrn_lip_w1c_en)
        return 0;
    if (kDaLipSram.holds(a) && cmRtePtr->comReg.rte_l2_da_lrn_lip_w1c_en)
        return 0;
    if (kRteMem.holds(a))
        return CmRteHsiMemWrRun(&cmRtePtr->mem, a, beWords, wordCnt);
    if (kTfeMem.holds(a))
        return CmTfeHsiMemWrRun(cmRtePtr->tfePtr->memPtr, a, beWords, wordCnt);
    if (kTaeMem.holds(a))
        return CmTaeHsiMemWrRun(cmRtePtr->taePtr->memPtr, a, beWords, wordCnt);
    if (kTaeTcam.holds(a))
        return CmTaeHsiTcamWrRun(cmRtePtr, a, beWords, wordCnt);
    if (kTaeRslt.holds(a))
        return CmTaeHsiRsltMemWrRun(cmRtePtr, a, beWords, wordCnt);
    return 0;
}

/// What is different in the learn FIFOs of source and destination addresses.
struct LrnFifo {
    uint32_t CmRteHsiComReg::*rdPtr;
    uint32_t CmRteHsiComReg::*wrPtr;
    uint32_t CmRteHsiComReg::*notEmp;
    uint32_t CmRteHsiComReg::*ful;
    uint32_t CmRteHsiComReg::*rd0;
    uint32_t CmRteHsiComReg::*rd1;
    uint32_t CmRteHsiComReg::*rd2;
    uint32_t CmRteHsiComReg::*hsh;
    uint32_t CmRteHsiComReg::*swpCtlW0;
    uint32_t CmRteHsiComReg::*swpCtlW1;
};

constexpr LrnFifo kSaLrnFifo{
    &CmRteHsiComReg::rte_l2_sa_lrn_inf_rd_ptr,     &CmRteHsiComReg::rte_l2_sa_lrn_inf_wr_ptr,
    &CmRteHsiComReg::rte_l2_sa_lrn_inf_not_emp,    &CmRteHsiComReg::rte_l2_sa_lrn_inf_ful,
    &CmRteHsiComReg::rte_l2_sa_lrn_fifo_rd_0,      &CmRteHsiComReg::rte_l2_sa_lrn_fifo_rd_1,
    &CmRteHsiComReg::rte_l2_sa_lrn_fifo_rd_2,      &CmRteHsiComReg::rte_l2_sa_lrn_fifo_rd_hsh,
    &CmRteHsiComReg::rte_l2_sa_lrn_lip_swp_ctl_w0, &CmRteHsiComReg::rte_l2_sa_lrn_lip_swp_ctl_w1};
constexpr LrnFifo kDaLrnFifo{
    &CmRteHsiComReg::rte_l2_da_lrn_inf_rd_ptr,     &CmRteHsiComReg::rte_l2_da_lrn_inf_wr_ptr,
    &CmRteHsiComReg::rte_l2_da_lrn_inf_not_emp,    &CmRteHsiComReg::rte_l2_da_lrn_inf_ful,
    &CmRteHsiComReg::rte_l2_da_lrn_fifo_rd_0,      &CmRteHsiComReg::rte_l2_da_lrn_fifo_rd_1,
    &CmRteHsiComReg::rte_l2_da_lrn_fifo_rd_2,      &CmRteHsiComReg::rte_l2_da_lrn_fifo_rd_hsh,
    &CmRteHsiComReg::rte_l2_da_lrn_lip_swp_ctl_w0, &CmRteHsiComReg::rte_l2_da_lrn_lip_swp_ctl_w1};

template <size_t N> void lrnFifoRd(CmRteHsiComReg *comRegPtr, const LrnFifo &fifo, const uint32_t (&infSram)[N]) {
    uint64_t inf0 = 0, inf1 = 0;
    // The chip looks at the source side's flag for both FIFOs.
    if (comRegPtr->rte_l2_sa_lrn_inf_not_emp == 0) {
        inf0 = 0xffff;
        inf1 = ~0ull;
    } else {
        uint32_t rd = comRegPtr->*fifo.rdPtr;
        inf0 = memWord(infSram, 2ull * rd);
        inf1 = memWord(infSram, 2ull * rd + 1);
        rd = (rd + 1) % kLrnFifoEntries;
        if (rd == comRegPtr->*fifo.wrPtr) {
            comRegPtr->*fifo.notEmp = 0;
            CmRteNorIntr(comRegPtr);
        }
        comRegPtr->*fifo.rdPtr = rd;
    }
    comRegPtr->*fifo.rd0 = static_cast<uint32_t>(inf0);
    comRegPtr->*fifo.rd1 = static_cast<uint32_t>(inf1 >> 32);
    comRegPtr->*fifo.rd2 = static_cast<uint32_t>(inf1);

    uint64_t swapped0 = 0, swapped1 = 0;
    CmSwpU64(64, inf0, comRegPtr->*fifo.swpCtlW0, &swapped0);
    CmSwpU64(64, inf1, comRegPtr->*fifo.swpCtlW1, &swapped1);
    uint8_t key[10];
    CmSetQword(swapped0, 2, key);
    CmSetQword(swapped1, 8, key + 2);
    comRegPtr->*fifo.hsh = CmEnetCrcCalc(sizeof key, key) & 0x3fff;
    comRegPtr->*fifo.ful = 0;
}

} // namespace

void SaLrnFifoRd(CmRte *cmRtePtr) {
    lrnFifoRd(&cmRtePtr->comReg, kSaLrnFifo, cmRtePtr->mem.RTE_L2_SA_LRN_INF_SRAM);
}

void DaLrnFifoRd(CmRte *cmRtePtr) {
    lrnFifoRd(&cmRtePtr->comReg, kDaLrnFifo, cmRtePtr->mem.RTE_L2_DA_LRN_INF_SRAM);
}

int CmRteHsiRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr) {
    const uint32_t a = addr & kAddrMask;
    uint32_t value = 0;
    const int ret = readAt(cmRtePtr, a, &value);
    if (ret)
        *dataPtr = value;
    if (cmRtePtr->logFd != -1)
        CmRteLogSaveRd(cmRtePtr, a, value, ret);
    if (cmRtePtr->dbgEn > 3)
        cmPrintf("HSI %3d, RD, addr=0x%08x, data=0x%08x, ret=%d\n", static_cast<int>(cmRtePtr->hsiCnt), a, value, ret);
    cmRtePtr->hsiCnt++;
    return ret;
}

int CmRteHsiWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data) {
    if (cmRtePtr->dbgEn > 3)
        cmPrintf("HSI %3d, WR, addr=0x%08x, data=0x%08x\n", static_cast<int>(cmRtePtr->hsiCnt), addr, data);
    const uint32_t a = addr & kAddrMask;
    const int ret = writeAt(cmRtePtr, addr, a, data);
    if (cmRtePtr->logFd != -1)
        CmRteLogSaveWr(cmRtePtr, a, data, ret);
    cmRtePtr->hsiCnt++;
    return ret;
}

int CmRteHsiWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    const bool single = cmRtePtr->dbgEn > 3 || cmRtePtr->logFd != -1; // each access shows
    int ret = 1;
    while (wordCnt > 0) {
        uint32_t done = single ? 0 : writeMemRun(cmRtePtr, addr & kAddrMask, beWords, wordCnt);
        cmRtePtr->hsiCnt += done;
        if (done == 0) {
            ret &= CmRteHsiWr(cmRtePtr, addr, hostWord(*beWords));
            done = 1;
        }
        addr += 4 * done;
        beWords += done;
        wordCnt -= done;
    }
    return ret;
}
