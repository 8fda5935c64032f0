// Learning: requests to software to learn a source or a destination address, through one FIFO each. A bitmap of
// requests in progress, by a hash of the request, stands in front of each FIFO.

#include "base/cmRteCnt.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tbl/tsr_tbl.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t kLipHshMsk = 0x7fff;
constexpr uint32_t kLipHshBytes = 11;
constexpr uint32_t kInfWords = L2SaLrnInf::kWords;
static_assert(L2DaLrnInf::kWords == kInfWords);

/// What differs between the two FIFOs.
struct LrnFifo {
    using Reg = uint32_t CmRteHsiComReg::*;
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
    const CmRteHisAddr &lipHis;
    const CmRteHisAddr &infHis;
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
    .lipHis = his::l2_sa_lrn_lip,
    .infHis = his::l2_sa_lrn_inf,
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
    .lipHis = his::l2_da_lrn_lip,
    .infHis = his::l2_da_lrn_inf,
    .lip = &CmRteStat::l2DaLrnLip,
    .drpInf = &CmRteStat::l2DaLrnDrpInf,
    .ptrMsk = 0x3ff, // the chip wraps after a quarter of the memory
    .lipDropCounts = true,
};

/// The request-in-progress step, whose bits are `Lip`. Returns whether the request goes on to the FIFO.
template <auto Lip, size_t N> bool ckLip(CmRteStat *statPtr, const LrnFifo &fifo, uint32_t (&lipSram)[N]) {
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

    const uint32_t lip = elem<Lip>(lipSram, hsh);
    const uint32_t lipWord = elemEntry<Lip>(hsh);
    statPtr->*fifo.lip = lip;
    CM_TRACE(1, "[L2 SA Learn] LIP addr=0x%x, bitIdx=%u, word=0x%x\n", lipWord, hsh % 32, memWord(lipSram, lipWord));

    if (comRegPtr->*fifo.ful && lip) {
        statPtr->*fifo.drpInf = 1;
        if (fifo.lipDropCounts)
            comRegPtr->*fifo.drpCnt += 1;
        CM_TRACE(1, "[L2 SA Learn] INF FIFO is full -- do not learn, increment drop count\n");
        return false;
    }

    setFlagIn<Lip>(lipSram, hsh, 1);
    capture(statPtr, fifo.lipHis, hsh);
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
    const uint32_t inf[kInfWords] = {0, static_cast<uint32_t>(statPtr->l2LrnInfQw0),
                                     static_cast<uint32_t>(statPtr->l2LrnInfQw1 >> 32),
                                     static_cast<uint32_t>(statPtr->l2LrnInfQw1)};
    if (wr < N / kInfWords) {
        cmNote(&infSram[kInfWords * wr], kInfWords);
        std::copy(std::begin(inf), std::end(inf), &infSram[kInfWords * wr]);
    }
    statPtr->l2LrnInfWr = 1;
    statPtr->l2LrnInfWrPtr = wr;
    CM_TRACE(1,
             "[L2 SA Learn] push learning info to l2_lrn_inf SRAM, wrPtr=0x%x -- LernInf: 0x "
             "%8.8x_%8.8x_%8.8x_%8.8x\n",
             wr, inf[0], inf[1], inf[2], inf[3]);
    capture(statPtr, fifo.infHis, wr);

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
        if (bits(sa, 19, 17) == 0 && sa == mctIdOf(knownSa) && !statPtr->l2ExmSaTrillMc) {
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
    if (rteRqd && bit(statPtr->l2ExmDaEgidOrig, kRteRqdFcoeVfBit))
        return 2;
    if (rteRqd && bit(statPtr->l2ExmDaEgidOrig, kRteRqdFcoeVeBit))
        return 3;
    return 1;
}

/// Keeps a request of the record `Inf` as the FIFO has it; the first word of an entry is always 0.
template <class Inf> void takeLrnInf(CmRteStat *statPtr, const Inf &inf) {
    CmKeyWords<Inf::kWords> words;
    pack(inf, words.word);
    statPtr->l2LrnInfQw0 = words.qword(0);
    statPtr->l2LrnInfQw1 = words.qword(1);
}

void buildSaLrnInf(CmRteStat *statPtr) {
    takeLrnInf(statPtr, L2SaLrnInf{.fcoe_code = fcoeLrnCode(statPtr),
                                   .trill_rb = statPtr->l2TrillFound ? statPtr->l2TrillSa
                                                                     : statPtr->comRegPtr->non_trill_lrn_trill_rb,
                                   .phy_port = statPtr->ingPhyPort,
                                   .iivid = statPtr->iivid,
                                   .sa = statPtr->l2TrillFound ? statPtr->l2TrillInnerSa : statPtr->l2OuterSa});
}

void buildDaLrnInf(CmRteStat *statPtr) {
    // The chip leaves 12 bits to the VLAN; its thirteenth one falls onto the port.
    takeLrnInf(statPtr, L2DaLrnInf{.trill_da = statPtr->l2TrillFound ? statPtr->l2TrillDa : 0,
                                   .phy_port = statPtr->ingPhyPort | statPtr->iivid >> 12,
                                   .iivid = statPtr->iivid,
                                   .da = statPtr->l2TrillFound ? statPtr->l2TrillInnerDa : statPtr->l2OuterDa});
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
    if (statPtr->portRegPtr->rte_prc_l2_sa_lrn_lip_en &&
        !ckLip<&L2SaLip::lip>(statPtr, kSaFifo, statPtr->memPtr->RTE_L2_SA_LIP_SRAM))
        return;
    pushLrnInf(statPtr, kSaFifo, statPtr->memPtr->RTE_L2_SA_LRN_INF_SRAM);
}

void L2DaLrn(CmRteStat *statPtr) {
    if (!statPtr->l2PselDaLrnEn || !statPtr->portRegPtr->rte_prc_l2_da_lrn_en)
        return;
    CM_TRACE(1, "[L2 DA Learn]\n");

    buildDaLrnInf(statPtr);
    if (statPtr->portRegPtr->rte_prc_l2_da_lrn_lip_en &&
        !ckLip<&L2DaLip::lip>(statPtr, kDaFifo, statPtr->memPtr->RTE_L2_DA_LIP_SRAM))
        return;
    pushLrnInf(statPtr, kDaFifo, statPtr->memPtr->RTE_L2_DA_LRN_INF_SRAM);
}
