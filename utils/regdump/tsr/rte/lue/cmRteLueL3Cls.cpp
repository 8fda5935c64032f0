#include "lue/cmRteLueL3.h"

#include "base/cmLu.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"

#include <cstdio>

namespace {

constexpr uint32_t kKeyWords = 14;
constexpr uint32_t kFlexWords = 6;

void buildL3CtrlKey(const CmRteStat *statPtr, uint32_t (&key)[kKeyWords]) {
    const uint32_t flags = statPtr->l4TcpFlags;
    key[0] = statPtr->typ;
    // This key has ACK before PSH.
    key[1] = static_cast<uint32_t>(bits64(statPtr->l2Da, 47, 32)) << 16 | (statPtr->l3IpUlp & 0xff) << 8 |
             bit(flags, TCP_FIN) << 7 | bit(flags, TCP_SYN) << 6 | bit(flags, TCP_RST) << 5 | bit(flags, TCP_ACK) << 4 |
             bit(flags, TCP_PSH) << 3 | bit(flags, TCP_URG) << 2 | (isIpv6(statPtr) ? 1u : 0u) << 1 |
             (statPtr->l3FwdIsMyIpDa & 1);
    key[2] = static_cast<uint32_t>(statPtr->l2Da);
    key[3] = statPtr->typL4Src << 16 | (statPtr->typL4Dst & 0xffff);
    if (isIpv6(statPtr)) {
        key[4] = static_cast<uint32_t>(statPtr->l3IpDa0 >> 32);
        key[5] = static_cast<uint32_t>(statPtr->l3IpDa0);
        key[6] = static_cast<uint32_t>(statPtr->l3IpDa1 >> 32);
        key[7] = static_cast<uint32_t>(statPtr->l3IpDa1);
    } else {
        key[4] = 0;
        key[5] = 0;
        key[6] = 0;
        key[7] = static_cast<uint32_t>(statPtr->l3IpDa0);
    }

    const uint32_t flexSel = statPtr->comRegPtr->l3_ctl_flx_key_sel;
    if (flexSel > 1) {
        std::fflush(stdout);
        std::fprintf(stderr, "Flex key has only 2 profiles in tessara, requested profile: %d\n",
                     static_cast<int>(flexSel));
    }
    CM_ASSERT(flexSel <= 1);
    for (uint32_t i = 0; i < kFlexWords; i++)
        key[8 + i] = flexSel == 0 ? statPtr->flexKey0[i] : statPtr->flexKey1[i];
}

/// Searches the control TCAM and returns the index into the result memories.
uint32_t srchL3Ctrl(CmRteStat *statPtr, const uint32_t (&key)[kKeyWords]) {
    static CmTcamTbl tcamTbl;
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 424;
    // The key is narrower than its width class and stands at the low end of it.
    tcamTbl.u64Key1 = Comb2Dw(&key[0]);
    tcamTbl.u64Key2 = Comb2Dw(&key[2]);
    tcamTbl.u64Key3 = Comb2Dw(&key[4]);
    tcamTbl.u64Key4 = Comb2Dw(&key[6]);
    tcamTbl.u64Key5 = Comb2Dw(&key[8]);
    tcamTbl.u64Key6 = Comb2Dw(&key[10]);
    tcamTbl.u64Key7 = Comb2Dw(&key[12]);
    tcamTbl.tcamSiz = 256;
    tcamTbl.tcam = statPtr->memPtr->RTE_L3_CONTROL_TCAM;
    CmTcamLu1Hot(&tcamTbl);

    const uint32_t unkRslt = statPtr->comRegPtr->l3_ctl_unk_rslt;
    statPtr->l3CtrlHit = tcamTbl.tcamHit;
    statPtr->l3CtrlHitIdx = tcamTbl.tcamHit ? tcamTbl.rsltIdx : 0;
    const uint32_t rsltIdx = tcamTbl.tcamHit ? tcamTbl.rsltIdx : unkRslt;
    CM_TRACE(1, "[L3CtrlCls] tcam rsltIdx=0x%x ,unk_rslt_reg=0x%x, tcamHit=%0d\n", rsltIdx, unkRslt,
             statPtr->l3CtrlHit);
    return rsltIdx;
}

/// Reads the result type, the trap queue and the override flag of entry `rsltIdx` for the frame's VLAN.
void readL3CtrlRslt(CmRteStat *statPtr, uint32_t rsltIdx) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t idx = statPtr->iivid << 8 | rsltIdx;
    const uint32_t rsltTyp =
        bits(memWord(memPtr->RTE_L3_CONTROL_RSLT_EDRAM, idx / 16) >> 2 * (15 - rsltIdx % 16), 1, 0);
    switch (rsltTyp) {
    case RSLT_DROP:
        statPtr->l3CtrlDrop = 1;
        break;
    case RSLT_TRAP:
        statPtr->l3CtrlTrap = 1;
        break;
    case RSLT_FWD:
        statPtr->l3CtrlFwd = 1;
        break;
    case RSLT_FWD_A_TRAP:
        statPtr->l3CtrlTrapFwd = 1;
        break;
    }

    const uint32_t iividPid =
        bits(memWord(memPtr->RTE_L3_CONTROL_PID_SRAM, statPtr->iivid / 8) >> 4 * (7 - statPtr->iivid % 8), 2, 0);
    statPtr->l3CtrlTrapQue =
        bits(memWord(memPtr->RTE_L3_CONTROL_QUEUE_NUM_SRAM, 2 * rsltIdx + 1) >> 4 * (7 - iividPid), 3, 0);
    statPtr->l3CtrlOvrd = bit(memWord(memPtr->RTE_L3_CONTROL_QUEUE_NUM_SRAM, 2 * rsltIdx), 0);
}

void recordL3Ctrl(const CmRteStat *statPtr, const uint32_t (&key)[kKeyWords], uint32_t rsltIdx) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);
    RteHisUL3CtlMacTcam(ctl, key, 432, &comRegPtr->rte_his_l3_ctl_tcam_key[0][0]);
    CmRteHisU32(ctl, statPtr->l3CtrlHit << 21 | statPtr->iivid << 8 | rsltIdx, comRegPtr->rte_lue_l3_ctl_rslt_addr_hi,
                comRegPtr->rte_lue_l3_ctl_rslt_addr_lo, 0x1fffff, 24, &comRegPtr->rte_his_l3_ctl_rslt[0]);
    CmRteHisU32(ctl, statPtr->iivid, comRegPtr->rte_lue_l3_ivid_pid_addr_hi, comRegPtr->rte_lue_l3_ivid_pid_addr_lo,
                8191, 16, &comRegPtr->rte_his_l3_pid[0]);
    CmRteHisU32(ctl, statPtr->l3CtrlHit << 8 | rsltIdx, comRegPtr->rte_lue_l3_ctl_qnum_addr_hi,
                comRegPtr->rte_lue_l3_ctl_qnum_addr_lo, 255, 16, &comRegPtr->rte_his_l3_ctl_qnum[0]);
}

void takeCtrlTrapQue(CmRteStat *statPtr) {
    if (statPtr->comRegPtr->l3_ctl_trap_prio_dis)
        return;
    statPtr->l3PselTrapQue = statPtr->l3CtrlTrapQue;
    statPtr->l3PselTrapRsn = TRP_L3_CTRL;
}

/// Whether IP multicast passes through layer 3 by both the ACL and the prefix search.
bool isMcastPth(const CmRteStat *statPtr) {
    const uint32_t passthru = statPtr->comRegPtr->rte_l3_passthru;
    return statPtr->l3RteRqd == 1 && statPtr->l3IpDaIsMcast == 1 && statPtr->l3PselNextHopRsltIdx == passthru &&
           statPtr->l3FwdNextHopRsltIdx == passthru;
}

void mergeCtrlTrapFwd(CmRteStat *statPtr) {
    if (isMcastPth(statPtr) && !statPtr->l3CtrlOvrd) {
        CM_TRACE(1, "L3 control trap+fwd forced to l3 fwd in case of IP mcast pth\n");
        statPtr->l3CtrlTrapFwd = 0;
        statPtr->l3CtrlFwd = 1;
    } else if (!statPtr->l3PselAclDrop) {
        if (statPtr->l3PselDropEn) {
            statPtr->l3PselDropEn = 0;
            statPtr->l3PselTrapEn = 1;
            statPtr->l3PselNoFwd = 1;
        } else if (!statPtr->l3PselTrapEn) {
            statPtr->l3PselTrapEn = 1;
        }
        takeCtrlTrapQue(statPtr);
    }
    if (statPtr->l3CtrlOvrd)
        statPtr->l3PselTrapL3Ovrd = 1;
}

void mergeCtrlDrop(CmRteStat *statPtr) {
    if (!statPtr->l3PselAclDrop) {
        statPtr->l3PselAclDrop = 1;
        statPtr->l3PselDropEn = 0;
        statPtr->l3PselTrapEn = 0;
        statPtr->l3PselTrapRsn = kNoRsn;
        statPtr->l3PselTrapQue = 0;
        statPtr->l3PselDropRsn = kNoRsn;
    }
    if (statPtr->l3PselEgidPth) {
        statPtr->l3PselEgidPth = 0;
        CM_TRACE(1, "L3 Gid passthrough overruled by L3 control drop\n");
    }
    if (statPtr->l3PselAclEgidPth) {
        statPtr->l3PselAclEgidPth = 0;
        CM_TRACE(1, "L3 ACL Gid passthrough overruled by L3 control drop\n");
    }
    if (statPtr->l3CtrlOvrd)
        statPtr->l3PselGidL3Ovrd = 1;
}

void mergeCtrlTrap(CmRteStat *statPtr) {
    if (!statPtr->l3PselAclDrop) {
        if (statPtr->l3PselDropEn) {
            statPtr->l3PselDropEn = 0;
            statPtr->l3PselTrapEn = 1;
        } else if (!statPtr->l3PselTrapEn) {
            statPtr->l3PselTrapEn = 1;
        }
        takeCtrlTrapQue(statPtr);
    }
    statPtr->l3PselNoFwd = 1;
    if (statPtr->l3CtrlOvrd) {
        statPtr->l3PselTrapL3Ovrd = 1;
        statPtr->l3PselGidL3Ovrd = 1;
    }
    if (statPtr->l3PselEgidPth) {
        statPtr->l3PselEgidPth = 0;
        CM_TRACE(1, "L3 Gid passthrough overruled by L3 control trap\n");
    }
    if (statPtr->l3PselAclEgidPth) {
        statPtr->l3PselAclEgidPth = 0;
        CM_TRACE(1, "L3 ACL Gid passthrough overruled by L3 control trap\n");
    }
}

} // namespace

void L3CtrlCls(CmRteStat *statPtr) {
    if (!isIp(statPtr)) {
        statPtr->l3CtrlFwd = 1;
        CM_TRACE(1, "SKIP L3 Control Cls. NON-IP\n");
        return;
    }

    uint32_t key[kKeyWords];
    buildL3CtrlKey(statPtr, key);
    const uint32_t rsltIdx = srchL3Ctrl(statPtr, key);
    readL3CtrlRslt(statPtr, rsltIdx);
    recordL3Ctrl(statPtr, key, rsltIdx);
    CM_ASSERT((statPtr->l3CtrlFwd + statPtr->l3CtrlTrap + statPtr->l3CtrlDrop + statPtr->l3CtrlTrapFwd) == 1);

    // Where an ACL decides, only an overriding control result counts.
    const uint32_t applyL3Ctrl = statPtr->l3AclAppl ? statPtr->l3CtrlOvrd : 1;
    if (applyL3Ctrl == 0) {
        CM_TRACE(1, "L3 control bypassed due to l3_acl_app=%d and l3_ctl_ovrd=%d\n", statPtr->l3AclAppl,
                 statPtr->l3CtrlOvrd);
        statPtr->l3CtrlTrap = 0;
        statPtr->l3CtrlDrop = 0;
        statPtr->l3CtrlTrapFwd = 0;
        statPtr->l3CtrlFwd = 1;
    }

    if (statPtr->l3CtrlTrapFwd)
        mergeCtrlTrapFwd(statPtr);
    if (applyL3Ctrl && statPtr->l3CtrlDrop)
        mergeCtrlDrop(statPtr);
    if (applyL3Ctrl && statPtr->l3CtrlTrap)
        mergeCtrlTrap(statPtr);
}
