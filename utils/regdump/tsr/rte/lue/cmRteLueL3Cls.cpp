#include "lue/cmRteLueL3.h"

#include "base/cmOut.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "tbl/tsr_tbl.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

// Words of the key that the chip has: the low ones of an entry.
constexpr uint32_t kKeyWords = 14;

using L3CtrlLkup = CmTcamLkup<&CmRteHsiMem::RTE_L3_CONTROL_TCAM, L3CtrlKey>;

/// The fields of the key but for the flex key.
L3CtrlKey ctrlKeyOf(const CmRteStat *statPtr) {
    const uint32_t flags = statPtr->l4TcpFlags;
    L3CtrlKey key{};
    key.typ = statPtr->typ;
    key.l2Da = statPtr->l2Da;
    key.l3IpUlp = statPtr->l3IpUlp;
    key.tcp_fin = bit(flags, TCP_FIN);
    key.tcp_syn = bit(flags, TCP_SYN);
    key.tcp_rst = bit(flags, TCP_RST);
    key.tcp_ack = bit(flags, TCP_ACK);
    key.tcp_psh = bit(flags, TCP_PSH);
    key.tcp_urg = bit(flags, TCP_URG);
    key.isIpv6 = isIpv6(statPtr);
    key.l3FwdIsMyIpDa = statPtr->l3FwdIsMyIpDa;
    key.typL4Src = statPtr->typL4Src;
    key.typL4Dst = statPtr->typL4Dst;
    if (isIpv6(statPtr))
        key.l3IpDa = {static_cast<uint32_t>(statPtr->l3IpDa0 >> 32), static_cast<uint32_t>(statPtr->l3IpDa0),
                      static_cast<uint32_t>(statPtr->l3IpDa1 >> 32), static_cast<uint32_t>(statPtr->l3IpDa1)};
    else
        key.l3IpDa = {0, 0, 0, static_cast<uint32_t>(statPtr->l3IpDa0)};
    return key;
}

void buildL3CtrlKey(const CmRteStat *statPtr, uint32_t (&key)[kKeyWords]) {
    L3CtrlKey fields = ctrlKeyOf(statPtr);

    const uint32_t flexSel = statPtr->comRegPtr->l3_ctl_flx_key_sel;
    if (flexSel > 1) {
        std::fflush(stdout);
        cmPrintErr("Flex key has only 2 profiles in tessara, requested profile: %d\n", static_cast<int>(flexSel));
    }
    CM_ASSERT(flexSel <= 1);
    std::copy_n(flexSel == 0 ? statPtr->flexKey0 : statPtr->flexKey1, fields.flexKey.size(), fields.flexKey.begin());

    uint32_t words[L3CtrlKey::kWords] = {};
    pack(fields, words);
    std::copy(std::end(words) - kKeyWords, std::end(words), key);
}

/// Searches the control TCAM and returns the index into the result memories.
uint32_t srchL3Ctrl(CmRteStat *statPtr, const uint32_t (&key)[kKeyWords], L3CtrlLkup &lkup) {
    CmKeyWords<L3CtrlLkup::kKeyWords> words;
    std::copy(key, key + kKeyWords, std::end(words.word) - kKeyWords);
    lkup.searchFirst(statPtr->memPtr, words);

    const uint32_t unkRslt = statPtr->comRegPtr->l3_ctl_unk_rslt;
    statPtr->l3CtrlHit = lkup.hit();
    statPtr->l3CtrlHitIdx = lkup.idx();
    const uint32_t rsltIdx = lkup.hit() ? lkup.idx() : unkRslt;
    CM_TRACE(1, "[L3CtrlCls] tcam rsltIdx=0x%x ,unk_rslt_reg=0x%x, tcamHit=%0d\n", rsltIdx, unkRslt,
             statPtr->l3CtrlHit);
    return rsltIdx;
}

/// Address of the verdict of control entry `rsltIdx` in the frame's VLAN.
uint32_t ctrlRsltAddr(const CmRteStat *statPtr, uint32_t rsltIdx) {
    return statPtr->iivid << 8 | rsltIdx;
}

/// Reads the result type, the trap queue and the override flag of entry `rsltIdx` for the frame's VLAN.
void readL3CtrlRslt(CmRteStat *statPtr, uint32_t rsltIdx) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    switch (elem<&L3CtrlRslt::rsltTyp>(memPtr->RTE_L3_CONTROL_RSLT_EDRAM, ctrlRsltAddr(statPtr, rsltIdx))) {
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

    const uint32_t partn = elem<&IvidPartn::iividPid>(memPtr->RTE_L3_CONTROL_PID_SRAM, statPtr->iivid);
    const auto qnum = entry<L3CtrlQnum>(memPtr->RTE_L3_CONTROL_QUEUE_NUM_SRAM, rsltIdx);
    statPtr->l3CtrlTrapQue = qnum.l3CtrlTrapQue[partn];
    statPtr->l3CtrlOvrd = qnum.l3CtrlOvrd;
}

void recordL3Ctrl(const CmRteStat *statPtr, const L3CtrlLkup &lkup, uint32_t rsltIdx) {
    lkup.captureKey(statPtr, his::l3_ctl_tcam_key);
    capture(statPtr, his::l3_ctl_rslt, ctrlRsltAddr(statPtr, rsltIdx), statPtr->l3CtrlHit);
    capture(statPtr, his::l3_pid, statPtr->iivid);
    capture(statPtr, his::l3_ctl_qnum, rsltIdx, statPtr->l3CtrlHit);
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
    L3CtrlLkup lkup;
    const uint32_t rsltIdx = srchL3Ctrl(statPtr, key, lkup);
    readL3CtrlRslt(statPtr, rsltIdx);
    recordL3Ctrl(statPtr, lkup, rsltIdx);
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
