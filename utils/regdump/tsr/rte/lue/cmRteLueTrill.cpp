#include "lue/cmRteLue.h"

#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "tbl/tsr_tbl.h"

namespace {

constexpr uint32_t kTreeCnt = 4;

using MyRbLkup = CmTcamLkup<&CmRteHsiMem::RTE_TRILL_MRB_TCAM, TrillMyRb>;

// The bits of a group word by which the chip asks for the groups off TRILL.
constexpr uint32_t kMgidMsk = 0x1ffff;
constexpr uint32_t kEgidMsk = 0x7ff;

} // namespace

void TrillMyRbLu(CmRteStat *statPtr) {
    MyRbLkup lkup;
    lkup.search(statPtr->memPtr, TrillMyRb{.nickname = statPtr->l2TrillDa});

    // The parser may have found an egress frame already.
    statPtr->l2TrillEgr |= lkup.hit();
    CM_TRACE(1, "[TRILL_MY_RB_LU] hit = %u, overal trill_egr=%u (rte_l2_trill_addr=0x%x)\n", lkup.hit(),
             statPtr->l2TrillEgr, statPtr->comRegPtr->rte_l2_trill_addr);

    lkup.captureKey(statPtr, his::trill_mrb_tcam_key);
}

void trillRpf(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t rbLst[kTreeCnt] = {comRegPtr->trill_mcast_rb[0], comRegPtr->trill_mcast_rb[1],
                                      comRegPtr->trill_mcast_rb[2], comRegPtr->trill_mcast_rb[3]};
    uint32_t tree = 0;
    while (tree < kTreeCnt && rbLst[tree] != statPtr->l2TrillDa)
        tree++;
    CM_TRACE(1, "Trill MC RPF. mc_rb0=0x%x,  mc_rb1=0x%x,  mc_rb2=0x%x,  mc_rb3=0x%x\n", rbLst[0], rbLst[1], rbLst[2],
             rbLst[3]);
    CM_TRACE(1, "Trill MC RPF. dbId=%u\n", tree);

    uint32_t rpfChkBit = comRegPtr->l2_trill_mcast_rpf_miss_rslt;
    if (tree < kTreeCnt) {
        const uint32_t rpfChkAddr = tree << 16 | (statPtr->l2TrillSa & 0xffff);
        const uint32_t rpfPort = statPtr->portRegPtr->rte_prc_trill_rpf_port;
        const uint32_t rpfDropMap = elem<&TrillRpf::rpf_drop>(statPtr->memPtr->RTE_TRILL_RPF_EDRAM, rpfChkAddr);
        if (rpfPort < TSR_PORTS)
            rpfChkBit = bit(rpfDropMap, rpfPort);
        CM_TRACE(1, "Trill MC RPF. rpfChkAddr=0x%x, trill_rpf_port=%u, rpfDropMap=0x%x\n", rpfChkAddr, rpfPort,
                 rpfDropMap);
        capture(statPtr, his::trill_rpf_rslt, statPtr->ingPhyPort << 12 | elemEntry<&TrillRpf::rpf_drop>(rpfChkAddr));
    }

    CM_TRACE(1, "Trill MC RPF. rpfChkBit=%u\n", rpfChkBit);
    if (rpfChkBit == 1)
        statPtr->l2TrillMcRpfDrop = 1;
}

void TrillTtlAndLrnEnCheck(CmRteStat *statPtr, uint32_t rslt_typ, uint32_t egid_mgid, uint32_t is_mgid) {
    if (!statPtr->l2TrillFound || rslt_typ == RSLT_DROP || rslt_typ == RSLT_TRAP)
        return;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    statPtr->l2PselEgr1Q = is_mgid ? elem<&Mgid1q::is_1q>(memPtr->RTE_L2_PSEL_MGID_1Q_RA, egid_mgid & kMgidMsk)
                                   : elem<&Egid1q::is_1q>(memPtr->RTE_L2_PSEL_EGID_1Q_RA, egid_mgid & kEgidMsk);

    // A frame that only passes through, from TRILL link to TRILL link, teaches nothing.
    if (!statPtr->l2PselEgr1Q && !statPtr->l2TrillEgr) {
        statPtr->l2PselSaLrnEn = 0;
        statPtr->l2PselDaLrnEn = 0;
    }
    CM_TRACE(1, "Post-PSel Trill TTL check. l2PselEgr1Q=%u, l2_trill_ck_ttl=%u, gid=%x\n", statPtr->l2PselEgr1Q,
             portRegPtr->rte_prc_l2_trill_ck_ttl, egid_mgid);

    const bool hopCntErr =
        !statPtr->l3RteRqd && (statPtr->l2TrillTtl == 0 || (statPtr->l2TrillTtl < 2 && !statPtr->l2PselEgr1Q));
    if (!hopCntErr || !portRegPtr->rte_prc_l2_trill_ck_ttl)
        return;
    statPtr->l2PselTrillTtlErr = 1;
    if (portRegPtr->rte_prc_l2_trill_trap_ttl_err) {
        statPtr->l2PselTrapTrillTtlErr = 1;
        CM_TRACE(1, "Trill TTL=%u & 1Q=0 err, TRAP\n", statPtr->l2TrillTtl);
    } else {
        statPtr->l2PselDropTrillTtlErr = 1;
        CM_TRACE(1, "Trill TTL=%u & 1Q=0 err, DROP\n", statPtr->l2TrillTtl);
    }
}
