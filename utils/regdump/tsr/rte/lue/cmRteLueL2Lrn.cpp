// Learning: requests to software to learn a source or a destination address, through one FIFO each. A bitmap of
// requests in progress, by a hash of the request, stands in front of each FIFO.

#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t kLipHshMsk = 0x7fff;
constexpr uint32_t kLipHshBytes = 11;

/// What differs between the two FIFOs.
struct LrnFifo {
    using Reg = uint32_t CmRteHsiComReg::*;
    using Slots = uint32_t (CmRteHsiComReg::*)[4];
    using Stat = uint32_t CmRteStat::*;

    Reg swpCtlW0;
    Reg swpCtlW1;
    Reg wrPtr;
    Reg rdPtr;
    Reg notEmp;
    Reg ful;
    Reg almostFul;
    Reg threshold;
    Reg drpCnt;
    Reg lipHisHi;
    Reg lipHisLo;
    Slots lipHis;
    Reg infHisHi;
    Reg infHisLo;
    Slots infHis;
    Stat lip;
    Stat drpInf;
    uint32_t ptrMsk;    // the entries in use, less one
    bool lipDropCounts; // a drop in front of the FIFO is counted
};

constexpr LrnFifo kSaFifo = {
    .swpCtlW0 = &CmRteHsiComReg::rte_l2_sa_lrn_lip_swp_ctl_w0,
    .swpCtlW1 = &CmRteHsiComReg::rte_l2_sa_lrn_lip_swp_ctl_w1,
    .wrPtr = &CmRteHsiComReg::rte_l2_sa_lrn_inf_wr_ptr,
    .rdPtr = &CmRteHsiComReg::rte_l2_sa_lrn_inf_rd_ptr,
    .notEmp = &CmRteHsiComReg::rte_l2_sa_lrn_inf_not_emp,
    .ful = &CmRteHsiComReg::rte_l2_sa_lrn_inf_ful,
    .almostFul = &CmRteHsiComReg::rte_l2_sa_lrn_inf_almost_ful,
    .threshold = &CmRteHsiComReg::rte_l2_sa_lrn_inf_threshold,
    .drpCnt = &CmRteHsiComReg::rte_l2_sa_lrn_inf_drp_cnt,
    .lipHisHi = &CmRteHsiComReg::rte_lue_l2_sa_lrn_lip_addr_hi,
    .lipHisLo = &CmRteHsiComReg::rte_lue_l2_sa_lrn_lip_addr_lo,
    .lipHis = &CmRteHsiComReg::rte_his_l2_sa_lrn_lip,
    .infHisHi = &CmRteHsiComReg::rte_lue_l2_sa_lrn_inf_addr_hi,
    .infHisLo = &CmRteHsiComReg::rte_lue_l2_sa_lrn_inf_addr_lo,
    .infHis = &CmRteHsiComReg::rte_his_l2_sa_lrn_inf,
    .lip = &CmRteStat::l2SaLrnLip,
    .drpInf = &CmRteStat::l2SaLrnDrpInf,
    .ptrMsk = 0xfff,
    .lipDropCounts = false, // the chip counts a lost source only at the FIFO itself
};

constexpr LrnFifo kDaFifo = {
    .swpCtlW0 = &CmRteHsiComReg::rte_l2_da_lrn_lip_swp_ctl_w0,
    .swpCtlW1 = &CmRteHsiComReg::rte_l2_da_lrn_lip_swp_ctl_w1,
    .wrPtr = &CmRteHsiComReg::rte_l2_da_lrn_inf_wr_ptr,
    .rdPtr = &CmRteHsiComReg::rte_l2_da_lrn_inf_rd_ptr,
    .notEmp = &CmRteHsiComReg::rte_l2_da_lrn_inf_not_emp,
    .ful = &CmRteHsiComReg::rte_l2_da_lrn_inf_ful,
    .almostFul = &CmRteHsiComReg::rte_l2_da_lrn_inf_almost_ful,
    .threshold = &CmRteHsiComReg::rte_l2_da_lrn_inf_threshold,
    .drpCnt = &CmRteHsiComReg::rte_l2_da_lrn_inf_drp_cnt,
    .lipHisHi = &CmRteHsiComReg::rte_lue_l2_da_lrn_lip_addr_hi,
    .lipHisLo = &CmRteHsiComReg::rte_lue_l2_da_lrn_lip_addr_lo,
    .lipHis = &CmRteHsiComReg::rte_his_l2_da_lrn_lip,
    .infHisHi = &CmRteHsiComReg::rte_lue_l2_da_lrn_inf_addr_hi,
    .infHisLo = &CmRteHsiComReg::rte_lue_l2_da_lrn_inf_addr_lo,
    .infHis = &CmRteHsiComReg::rte_his_l2_da_lrn_inf,
    .lip = &CmRteStat::l2DaLrnLip,
    .drpInf = &CmRteStat::l2DaLrnDrpInf,
    .ptrMsk = 0x3ff, // the chip wraps after a quarter of the memory
    .lipDropCounts = true,
};

/// The request-in-progress step. Returns whether the request goes on to the FIFO.
template <size_t N> bool ckLip(CmRteStat *statPtr, const LrnFifo &fifo, uint32_t (&lipSram)[N]) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    static_assert(N * 32 == kLipHshMsk + 1);

    uint64_t swp0 = 0;
    uint64_t swp1 = 0;
    CmSwpU64(64, statPtr->l2LrnInfQw0, comRegPtr->*fifo.swpCtlW0, &swp0);
    CmSwpU64(64, statPtr->l2LrnInfQw1, comRegPtr->*fifo.swpCtlW1, &swp1);
    uint8_t input[kLipHshBytes];
    CmSetQword(swp0, 3, input);
    CmSetQword(swp1, 8, input + 3);
    const uint32_t hsh = CmEnetCrcCalc(kLipHshBytes, input) & kLipHshMsk;

    uint32_t &word = lipSram[hsh >> 5];
    const uint32_t lip = bit(word, hsh & 31);
    statPtr->*fifo.lip = lip;
    CM_TRACE(1, "[L2 SA Learn] LIP addr=0x%x, bitIdx=%u, word=0x%x\n", hsh >> 5, hsh & 31, word);

    if (comRegPtr->*fifo.ful && lip) {
        statPtr->*fifo.drpInf = 1;
        if (fifo.lipDropCounts)
            comRegPtr->*fifo.drpCnt += 1;
        CM_TRACE(1, "[L2 SA Learn] INF FIFO is full -- do not learn, increment drop count\n");
        return false;
    }

    word |= 1u << (hsh & 31);
    CmRteHisU32(hisCtl(statPtr), hsh, comRegPtr->*fifo.lipHisHi, comRegPtr->*fifo.lipHisLo, kLipHshMsk, 16,
                comRegPtr->*fifo.lipHis);
    if (lip)
        CM_TRACE(1, "[L2 SA Learn] LIP is set -- do nothing\n");
    return !lip;
}

/// Writes the request into the FIFO and moves the FIFO's state on; a full FIFO loses it.
template <size_t N> void pushLrnInf(CmRteStat *statPtr, const LrnFifo &fifo, uint32_t (&infSram)[N]) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (comRegPtr->*fifo.ful) {
        statPtr->*fifo.drpInf = 1;
        comRegPtr->*fifo.drpCnt += 1;
        return;
    }

    const uint32_t wr = comRegPtr->*fifo.wrPtr;
    const uint32_t rd = comRegPtr->*fifo.rdPtr;
    const uint32_t inf[4] = {0, static_cast<uint32_t>(statPtr->l2LrnInfQw0),
                             static_cast<uint32_t>(statPtr->l2LrnInfQw1 >> 32),
                             static_cast<uint32_t>(statPtr->l2LrnInfQw1)};
    if (wr < N / 4)
        std::copy(std::begin(inf), std::end(inf), &infSram[4 * wr]);
    statPtr->l2LrnInfWr = 1;
    statPtr->l2LrnInfWrPtr = wr;
    CM_TRACE(1,
             "[L2 SA Learn] push learning info to l2_lrn_inf SRAM, wrPtr=0x%x -- LernInf: 0x "
             "%8.8x_%8.8x_%8.8x_%8.8x\n",
             wr, inf[0], inf[1], inf[2], inf[3]);
    CmRteHisU32(hisCtl(statPtr), wr, comRegPtr->*fifo.infHisHi, comRegPtr->*fifo.infHisLo, 0xfff, 16,
                comRegPtr->*fifo.infHis);

    const uint32_t next = (wr + 1) & fifo.ptrMsk;
    comRegPtr->*fifo.wrPtr = next;
    bool changed = false;
    if (!(comRegPtr->*fifo.notEmp)) {
        comRegPtr->*fifo.notEmp = 1;
        statPtr->l2LrnInfNotEmpIntr = 1;
        changed = true;
    }
    if (((next - rd) & fifo.ptrMsk) > comRegPtr->*fifo.threshold) {
        comRegPtr->*fifo.almostFul = 1;
        statPtr->l2LrnInfAlmostFulIntr = 1;
        changed = true;
    }
    if (next == rd) {
        comRegPtr->*fifo.ful = 1;
        comRegPtr->*fifo.almostFul = 1;
        statPtr->l2LrnInfFulIntr = 1;
        statPtr->l2LrnInfAlmostFulIntr = 1;
        changed = true;
    }
    if (changed)
        CmRteNorIntr(comRegPtr);
}

uint32_t ckLrnTrill(CmRteStat *statPtr) {
    const uint32_t sa = statPtr->l2TrillSa;
    const uint32_t knownSa = statPtr->l2ExmSaTrillDa;
    if (statPtr->l2ExmSaTrillCmd == TRILL_CMD_MCTID) {
        if (bits(sa, 19, 17) == 0 && sa == bits(knownSa, 12, 0) && !statPtr->l2ExmSaTrillMc) {
            CM_TRACE(1, "[L2 SA Learn] TrillMCtId,  lrnRqd=0 (l2TrillSa=0x%x, l2ExmSaTrillDa=0x%x, l2ExmTrillMc=%u) \n",
                     sa, knownSa, statPtr->l2ExmSaTrillMc);
            return 0;
        }
        CM_TRACE(1,
                 "[L2 SA Learn] TrillMCtId station move,  lrnRqd=1  (l2TrillSa=0x%x, l2ExmSaTrillDa=0x%x, "
                 "l2ExmTrillMc=%u)\n",
                 sa, knownSa, statPtr->l2ExmSaTrillMc);
        return 1;
    }
    if (statPtr->l2ExmSaTrillCmd == TRILL_CMD_NONE) {
        CM_TRACE(1, "[L2 SA Learn] Trill pkt with trillCmd=0,  lrnRqd=1, \n");
        return 1;
    }
    if (sa == knownSa && !statPtr->l2ExmSaTrillMc) {
        CM_TRACE(1, "[L2 SA Learn] Trill,  lrnRqd=0\n");
        return 0;
    }
    CM_TRACE(1, "[L2 SA Learn] Trill station move,  lrnRqd=1, \n");
    return 1;
}

/// Decides whether the frame's source is to be learned.
uint32_t ckLrnSa(CmRteStat *statPtr) {
    if (prcVerdict(statPtr))
        return 0;
    if (statPtr->l2TrillFound)
        return ckLrnTrill(statPtr);
    // Up to 31: the learn port at which the address is known; then "always" and "never".
    if (statPtr->l2ExmSaLrnPort >= 48)
        return 0;
    if (statPtr->l2ExmSaLrnPort >= 32)
        return 1;
    return statPtr->l2ExmSaLrnPort != statPtr->portRegPtr->rte_prc_l2_lrn_port;
}

/// How the frame's FCoE route shows in a source request.
uint32_t fcoeLrnCode(const CmRteStat *statPtr) {
    if (!statPtr->l2FcoeFound)
        return 0;
    const bool rteRqd = !statPtr->l2ExmDaIsMgidOrig && CmRteCkRteRqdEgid(statPtr, statPtr->l2ExmDaEgidOrig);
    if (rteRqd && bit(statPtr->l2ExmDaEgidOrig, 12))
        return 2;
    if (rteRqd && bit(statPtr->l2ExmDaEgidOrig, 11))
        return 3;
    return 1;
}

void buildSaLrnInf(CmRteStat *statPtr) {
    const uint32_t rb = statPtr->l2TrillFound ? statPtr->l2TrillSa : statPtr->comRegPtr->non_trill_lrn_trill_rb;
    const uint64_t sa = statPtr->l2TrillFound ? statPtr->l2TrillInnerSa : statPtr->l2OuterSa;
    statPtr->l2LrnInfQw0 = fcoeLrnCode(statPtr) << 18 | bits(rb, 15, 0) << 2 | bits(statPtr->ingPhyPort, 4, 3);
    statPtr->l2LrnInfQw1 = static_cast<uint64_t>(bits(statPtr->ingPhyPort, 2, 0)) << 61 |
                           static_cast<uint64_t>(bits(statPtr->iivid, 12, 0)) << 48 | bits64(sa, 47, 0);
}

void buildDaLrnInf(CmRteStat *statPtr) {
    const uint64_t da = statPtr->l2TrillFound ? statPtr->l2TrillInnerDa : statPtr->l2OuterDa;
    statPtr->l2LrnInfQw0 = statPtr->l2TrillFound ? statPtr->l2TrillDa : 0;
    // The chip leaves 12 bits to the VLAN; its thirteenth one falls onto the port.
    statPtr->l2LrnInfQw1 = static_cast<uint64_t>(bits(statPtr->ingPhyPort, 3, 0)) << 60 |
                           static_cast<uint64_t>(statPtr->iivid) << 48 | bits64(da, 47, 0);
}

} // namespace

void L2Lrn(CmRteStat *statPtr) {
    if (!statPtr->l2PselSaLrnEn) {
        CM_TRACE(1, "[L2 SA Learn] l2PselSaLrnEn=0\n");
        return;
    }
    const uint32_t lrnRqd = ckLrnSa(statPtr);
    CM_TRACE(1, "[L2 SA Learn] lrnRqd=%u, l2ExmSaLrnPort=0x%x\n", lrnRqd, statPtr->l2ExmSaLrnPort);
    statPtr->l2LrnRqd = lrnRqd;
    if (!lrnRqd)
        return;

    buildSaLrnInf(statPtr);
    if (statPtr->portRegPtr->rte_prc_l2_sa_lrn_lip_en && !ckLip(statPtr, kSaFifo, statPtr->memPtr->RTE_L2_SA_LIP_SRAM))
        return;
    pushLrnInf(statPtr, kSaFifo, statPtr->memPtr->RTE_L2_SA_LRN_INF_SRAM);
}

void L2DaLrn(CmRteStat *statPtr) {
    if (!statPtr->l2PselDaLrnEn || !statPtr->portRegPtr->rte_prc_l2_da_lrn_en)
        return;
    CM_TRACE(1, "[L2 DA Learn]\n");

    buildDaLrnInf(statPtr);
    if (statPtr->portRegPtr->rte_prc_l2_da_lrn_lip_en && !ckLip(statPtr, kDaFifo, statPtr->memPtr->RTE_L2_DA_LIP_SRAM))
        return;
    pushLrnInf(statPtr, kDaFifo, statPtr->memPtr->RTE_L2_DA_LRN_INF_SRAM);
}
