// Layer-2 path selection: what the exact match found and what the layer-2 ACL says become one verdict.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <iterator>

namespace {

/// Ports from here on are clients' ports.
constexpr uint32_t kFirstClientPort = 1024;

/// Which way a frame is routed for FCoE.
struct FcoeRouted {
    bool vf;
    bool ve;
};

FcoeRouted fcoeRouted(const CmRteStat *statPtr, uint32_t isDaLu) {
    const uint32_t egid = statPtr->l2ExmDaEgidOrig;
    const bool rteRqd = !(isDaLu && statPtr->l2ExmDaIsMgidOrig) && CmRteCkRteRqdEgid(statPtr, egid);
    const bool vf = rteRqd && bit(egid, kRteRqdFcoeVfBit);
    return {vf, rteRqd && !vf && bit(egid, kRteRqdFcoeVeBit)};
}

/// The layer-4 fields of the ACL key.
struct AclPorts {
    uint32_t sprt;
    uint32_t dprt;
};

AclPorts pickIpPorts(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (statPtr->l3IpVer == 6 && statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_icmp)
        return {statPtr->l3Ipv6IcmpTyp, 0};
    if (statPtr->l3IpVer == 4 && statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_ipv4_icmp)
        return {statPtr->l3Ipv4IcmpTyp, 0};
    // Only the port of the service counts, with the direction beside it.
    const bool isTcpUdp =
        statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_tcp || statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_udp;
    if (isTcpUdp && !statPtr->portRegPtr->rte_prc_typ_no_dir) {
        if (statPtr->l4Src >= kFirstClientPort && statPtr->l4Dst < kFirstClientPort)
            return {statPtr->l4Dst, 1};
        if (statPtr->l4Src < kFirstClientPort && statPtr->l4Dst >= kFirstClientPort)
            return {statPtr->l4Src, 0};
    }
    return {statPtr->l4Src, statPtr->l4Dst};
}

AclPorts pickPorts(const CmRteStat *statPtr, uint32_t isDaLu, const FcoeRouted &routed) {
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): the analyzer takes a flag for -1
    const uint32_t fcoeWord = uint32_t{routed.ve} << 15 | uint32_t{routed.vf} << 14 | statPtr->fpmaChkOk << 13;
    if (!isDaLu)
        return statPtr->l2FcoeFound ? AclPorts{0, fcoeWord} : AclPorts{statPtr->typL4Dst, statPtr->typL4Src};
    if (statPtr->l2FcoeFound)
        return {fcoeWord, 0};
    if (statPtr->l2FipFound)
        return {statPtr->l2FipVer << 8 | statPtr->l2FipSubcode, statPtr->l2FipProtocol};
    if (!statPtr->l4PrcHdrUnk && isIp(statPtr))
        return pickIpPorts(statPtr);
    return {0, 0};
}

/// Whether the exact match sends the frame to routing, for any protocol.
uint32_t ckL3Configured(const CmRteStat *statPtr) {
    return !statPtr->l2ExmDaIsMgidOrig && CmRteCkRteRqdEgidL2(statPtr->comRegPtr, statPtr->l2ExmDaEgidOrig);
}

/// Writes a key as the ACL searches it, lowest bits first; fields are cut to their width.
template <class Key> void putAclKey(const Key &acl, uint32_t (&key)[8]) {
    std::fill(std::begin(key), std::end(key), 0u);
    pack(acl, key);
    reverseKey(key, Key::kWords);
}

void buildAclKey(const CmRteStat *statPtr, uint32_t isDaLu, const FcoeRouted &routed, uint32_t (&key)[8]) {
    const AclPorts ports = pickPorts(statPtr, isDaLu, routed);
    const uint32_t flags = statPtr->l4TcpFlags;
    const bool isFip = statPtr->l2FipFound != 0;
    const uint32_t isPrioTagged =
        statPtr->l2QinqEn ? statPtr->isSTagged && !statPtr->stagNz : statPtr->isCTagged && !statPtr->ctagNz;

    uint32_t trillVld = statPtr->l2ExmDaTrillCmd != TRILL_CMD_NONE;
    uint32_t trillMc = statPtr->l2ExmDaTrillMc;
    uint32_t trillDrbridge = statPtr->l2ExmDaTrillDa;
    if (!statPtr->l2TrillFound && !statPtr->l2ExmVidTrillMc) {
        trillVld = 0;
        trillMc = 0;
        trillDrbridge = statPtr->comRegPtr->trill_res_rb;
    }

    TaeL2Ip acl{};
    acl.is_stagged = statPtr->isSTagged;
    acl.is_cn_tagged = statPtr->isCnTagged;
    acl.tcp_psh = bit(flags, TCP_PSH);
    acl.tcp_urg_o_fip_f = isFip ? statPtr->l2FipBitF : bit(flags, TCP_URG);
    acl.l3_configured = ckL3Configured(statPtr);
    acl.l3_rte_en = statPtr->l2PselRteEn;
    acl.has_non_snap_llc = statPtr->l2LlcDet;
    acl.trill_encap = statPtr->l2TrillFound;
    acl.trill_vld = trillVld;
    acl.l2_unknown_sa = !statPtr->l2ExmSaHit;
    acl.is_tagged = statPtr->ctagNz;
    acl.is_priority_tagged = isPrioTagged;
    acl.ipv4_frag = statPtr->l3Ipv4MorFrg || statPtr->l3Ipv4FrgOffset != 0;
    acl.trill_drbridge = trillDrbridge;
    acl.trill_mc = trillMc;
    acl.l2_policy_id_11_1 = statPtr->policyId >> 1;
    acl.l2_policy_id_0 = statPtr->policyId & 1;
    acl.l2_unknown_da = statPtr->l2ExmDaLuMiss || statPtr->l2ExmDaIsPthEgid;
    acl.l2_acl_lgc_port = statPtr->portRegPtr->rte_prc_l2_psel_port;
    acl.l2_mda_id = statPtr->myDaId;
    acl.l2_ip_tos = statPtr->l3PrcHdrUnk ? 0 : statPtr->IpDscpForPsel;
    acl.l2_sa = isDaLu ? statPtr->l2Sa : statPtr->l2Da;
    acl.l2_da = isDaLu ? statPtr->l2Da : statPtr->l2Sa;
    acl.iwpri = statPtr->igPriMapIwpri;
    acl.l2_iivid = statPtr->iivid;
    acl.ethertype = statPtr->l2Etyp;
    acl.ip_protocol = statPtr->l3IpUlp;
    acl.vpn_id = statPtr->vpn_id;
    acl.tcp_ack_o_fip_a = isFip ? statPtr->l2FipBitA : bit(flags, TCP_ACK);
    acl.tcp_rst_o_fip_s = isFip ? statPtr->l2FipBitS : bit(flags, TCP_RST);
    acl.tcp_syn_o_fip_sp = isFip ? statPtr->l2FipBitSP : bit(flags, TCP_SYN);
    acl.tcp_fin_o_fip_fp = isFip ? statPtr->l2FipBitFP : bit(flags, TCP_FIN);
    acl.l4_src_port = ports.sprt;
    acl.l4_dst_port_o_fip_proto_codet = ports.dprt;
    putAclKey(acl, key);
}

/// Whether the frame is looked up with the FCoE key too.
bool needsFcoeKey(const CmRteStat *statPtr, uint32_t isDaLu) {
    if (!isDaLu || !statPtr->l2FcoeFound)
        return false;
    if (statPtr->l2FcoeClsRteEn == 1)
        return statPtr->l3FwdFcoeApplZng != 0;
    return statPtr->l2FcoeClsRteEn == 0 && statPtr->portRegPtr->rte_prc_l2_fcoe_acl_en;
}

void buildFcoeAclKey(const CmRteStat *statPtr, const FcoeRouted &routed, uint32_t (&key)[8]) {
    TaeL2Fcoe acl{};
    acl.l2_sa = statPtr->l2Sa;
    acl.l2_da = statPtr->l2Da;
    acl.fcoe_ve_routed = routed.ve;
    acl.fcoe_vf_routed = routed.vf;
    acl.l2_mda_id_6_1 = statPtr->myDaId >> 1;
    acl.fc_r_ctl = statPtr->l2FcoeFcRctl;
    acl.l2_policy_id = statPtr->policyId;
    acl.vpn_id = statPtr->vpn_id;
    acl.fc_oxid = statPtr->l2FcoeFcOxid;
    acl.fc_did = statPtr->l2FcoeFcDid;
    acl.fc_type = statPtr->l2FcoeFcType;
    acl.fc_sid = statPtr->l2FcoeFcSid;
    acl.fc_payload_0 = statPtr->l2FcoeFcPld0;
    acl.fc_vfid = statPtr->l2FcoeClsVfid;
    acl.fpma_chk_ok = statPtr->fpmaChkOk;
    acl.l2_iivid = statPtr->iivid;
    acl.l2_mda_id_0 = statPtr->myDaId & 1;
    acl.l2_acl_lgc_port = statPtr->portRegPtr->rte_prc_l2_psel_port;
    putAclKey(acl, key);
}

/// What the ACL says.
struct AclRslt : TaeL2Rslt {
    uint32_t trap_rsn = kNoRsn;
};

AclRslt searchAcl(CmRteStat *statPtr, uint32_t isDaLu) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const FcoeRouted routed = fcoeRouted(statPtr, isDaLu);

    tL2AclInterface intf = {};
    intf.frmIdx = statPtr->frmIdx;
    intf.aclL2Srch = 1;
    intf.isDaLkup = isDaLu;
    intf.igPort = statPtr->ingPhyPort;
    intf.dropEgid = comRegPtr->rte_drop_egid;
    intf.aclDropEgid = comRegPtr->rte_acl_drop_egid;
    intf.trapEgid = comRegPtr->rte_trap_egid;
    buildAclKey(statPtr, isDaLu, routed, intf.l2AclKey);
    if (needsFcoeKey(statPtr, isDaLu)) {
        intf.isFcoe = 1;
        CM_TRACE(1,
                 "[L2Psel][FCoE] fcoe_found=%u,  fcoe_rte_en=%u, appl_zoning=%u, l2_fcoe_acl_en=%u, "
                 "fcoe_l2_acl_lkup_en=%u\n",
                 statPtr->l2FcoeFound, statPtr->l2FcoeClsRteEn, statPtr->l3FwdFcoeApplZng,
                 statPtr->portRegPtr->rte_prc_l2_fcoe_acl_en, intf.isFcoe);
        buildFcoeAclKey(statPtr, routed, intf.l2FcoeAclKey);
    }

    AclRslt acl{};
    if (statPtr->taePtr->lookupL2Acl(intf, acl, acl.trap_rsn))
        CM_TRACE(1, "L2ACL lookup hit\n");
    else
        CM_TRACE(1, "L2ACL lookup miss\n");
    return acl;
}

/// The group that the selection stands on, and what it means.
struct PselGid {
    uint32_t isL2Mgid;
    uint32_t val;
    bool passThru; // the ACL gave way to the exact match
    bool drop;
    bool aclDrop;
    bool trap;
    bool aclTrap; // the ACL's own group is the trap egid
};

PselGid pickGid(CmRteStat *statPtr, uint32_t isDaLu, const AclRslt &acl, L2PselRslt *rsltPtr) {
    PselGid gid = {acl.is_mgid, acl.lgid_egid_mgid, false, false, false, false, false};
    gid.passThru = !acl.is_mgid && CmRteCkPthEgid(statPtr, acl.lgid_egid_mgid);
    if (gid.passThru && isDaLu) {
        CM_TRACE(1, "[L2Psel] L2 ACL Gid PassTrough\n");
        gid.isL2Mgid = statPtr->l2ExmDaIsMgid;
        gid.val = statPtr->l2ExmDaLgidEgidMgid;
        rsltPtr->l2PselUcastFlooded = statPtr->l2ExmDaFlooded;
    } else if (gid.passThru) {
        CM_TRACE(1, "[L2Psel] SaLu Gid PassTrough\n");
        statPtr->l2PselSaRsltPthEgid = 1;
        gid.isL2Mgid = statPtr->l2ExmSaIsMgid;
        gid.val = statPtr->l2ExmSaLgidEgidMgid;
    }

    if (!gid.isL2Mgid) {
        // A pass-through that is final means that nothing forwards the frame.
        const bool finalPassThru = CmRteCkPthEgid(statPtr, gid.val);
        if (finalPassThru)
            CM_TRACE(1, "[L2Psel] final egid is pass_thru ==> packet marked for DROP\n");
        gid.drop = finalPassThru || CmRteCkNorDropEgid(statPtr, gid.val);
        gid.aclDrop = CmRteCkAclDropEgid(statPtr, gid.val);
        gid.trap = CmRteCkTrapEgid(statPtr, gid.val);
        gid.aclTrap = CmRteCkTrapEgid(statPtr, acl.lgid_egid_mgid);
    }
    return gid;
}

/// A MAC priority hit beats the ACL for queue and drop precedence, not for the ingress priority.
void pickPrios(const CmRteStat *statPtr, const AclRslt &acl, L2PselRslt *rsltPtr) {
    const bool aclPrio = acl.prio_en && !acl.prio_pth;
    if (statPtr->macPrioHit)
        rsltPtr->l2PselDropPrcd = statPtr->macDp;
    else
        rsltPtr->l2PselDropPrcd = acl.dscp_en ? acl.drop_prcd : statPtr->igPriMapDrpPrcd;
    if (statPtr->macPrioHit)
        rsltPtr->l2PselQmgPrio = statPtr->macPrio;
    else
        rsltPtr->l2PselQmgPrio = aclPrio ? acl.qmg_prio : statPtr->igPriMapQuePri;
    rsltPtr->l2PselIngPrio = aclPrio ? acl.l2_ing_prio : statPtr->igPriMapIwpri;
}

void pickLrnEn(CmRteStat *statPtr, const PselGid &gid, bool fwdDrop, L2PselRslt *rsltPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;

    uint32_t saLrnEn = 1;
    if (!statPtr->l2SaLrnEn)
        saLrnEn = 0;
    else if (gid.drop || gid.aclDrop)
        saLrnEn = comRegPtr->rte_l2_sa_lrn_dropped_en;
    else if (gid.trap || gid.aclTrap)
        saLrnEn = comRegPtr->rte_l2_sa_lrn_trapped_en;
    if ((gid.drop || gid.aclDrop || fwdDrop) && statPtr->l2TrillInterior &&
        !statPtr->portRegPtr->rte_prc_l2_da_lrn_en) {
        saLrnEn = 0;
        CM_TRACE(1, "SA learn disabled for trill interior\n");
    }
    rsltPtr->l2PselSaLrnEn = saLrnEn;

    uint32_t daLrnEn = 1;
    if (statPtr->l2OuterDaIsCtl || !statPtr->l2DaLrnEn)
        daLrnEn = 0;
    else if (gid.drop || gid.aclDrop)
        daLrnEn = comRegPtr->rte_l2_da_lrn_dropped_en;
    else if (gid.trap)
        daLrnEn = comRegPtr->rte_l2_da_lrn_trapped_en;
    rsltPtr->l2PselDaLrnEn = daLrnEn;
}

/// Who traps the frame: its queue and reason. Returns whether anyone does.
bool pickTrap(CmRteStat *statPtr, const AclRslt &acl, const PselGid &gid, L2PselRslt *rsltPtr) {
    const uint32_t overrule = statPtr->comRegPtr->l2_acl_trap_overrule_en;
    bool byAcl = false;
    bool byDa = false;
    if (gid.aclTrap) {
        byAcl = true;
    } else if (acl.trap_en && statPtr->l2ExmDaTrapEn) {
        byAcl = overrule != 0;
        byDa = !byAcl;
        CM_TRACE(1, "[L2Psel] statPtr->l2ExmDaTrapEn=aclTrapEn=1, acl_trap_overrule=%u\n", overrule);
    } else if (acl.trap_en) {
        byAcl = true;
        CM_TRACE(1, "[L2Psel] aclTrapEn=1\n");
    } else if (statPtr->l2ExmDaTrapEn) {
        byDa = true;
        CM_TRACE(1, "[L2Psel] l2ExmDaTrapEn=1\n");
    }

    if (byAcl) {
        rsltPtr->l2PselTrapQue = acl.trap_que;
        rsltPtr->l2PselTrapRsn = acl.trap_rsn;
    } else if (byDa) {
        rsltPtr->l2PselTrapQue = statPtr->l2ExmDaTrapQue;
        rsltPtr->l2PselTrapRsn = statPtr->l2ExmDaTrapRsn;
    }
    return byAcl || byDa;
}

/// The verdict, in the chip's order of precedence.
void decide(CmRteStat *statPtr, const PselGid &gid, bool fwdTrap, bool fwdDrop, bool trapEn, L2PselRslt *rsltPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;

    if (gid.aclDrop) {
        rsltPtr->l2PselRsltTyp = RSLT_DROP;
        rsltPtr->l2PselEgidMgid = 0;
        rsltPtr->l2PselDropRsn = DRP_LU;
        CM_TRACE(1, "[L2Psel] gidAclDrop=%d. DROP\n", gid.aclDrop);
        return;
    }

    if (fwdTrap || gid.trap) {
        rsltPtr->l2PselRsltTyp = RSLT_TRAP;
        rsltPtr->l2PselEgidMgid = 0;
        if (fwdTrap) {
            rsltPtr->l2PselTrapRsn = TRP_L2_FWD_EN;
            rsltPtr->l2PselTrapQue = comRegPtr->rte_l2_fwd_en_trap_que;
            CM_TRACE(1, "L2 per port/VLAN forwarding enable 0 (ingress filtered).fwdTrap\n");
        } else if (!gid.aclTrap) {
            rsltPtr->l2PselTrapRsn = statPtr->l2ExmDaLuMiss ? TRP_L2_MISS : TRP_L2_HIT;
            rsltPtr->l2PselTrapQue =
                statPtr->l2ExmDaLuMiss ? comRegPtr->rte_l2_miss_trap_que : comRegPtr->rte_l2_hit_trap_que;
        }
        CM_TRACE(1, "[L2Psel] gidTrap=%d, fwdTrap=%d. TRAP\n", gid.trap, fwdTrap);
        return;
    }

    if (gid.drop || fwdDrop) {
        rsltPtr->l2PselEgidMgid = 0;
        if (trapEn) {
            rsltPtr->l2PselRsltTyp = RSLT_TRAP;
            CM_TRACE(1, "L2 trap_en=1. TRAP\n");
        } else {
            rsltPtr->l2PselRsltTyp = RSLT_DROP;
            rsltPtr->l2PselTrapQue = 0;
            rsltPtr->l2PselTrapRsn = kNoRsn;
            rsltPtr->l2PselDropRsn = fwdDrop ? DRP_FWN_EN_ERR : DRP_LU;
            CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u>>gidDrop || fwdDrop. DROP\n", statPtr->ingPhyPort,
                         statPtr->frmIdx);
        }
        return;
    }

    rsltPtr->l2PselEgidMgid = gid.val;
    rsltPtr->l2PselIsL2Mgid = gid.isL2Mgid;
    rsltPtr->l2PselRteRqd = !gid.isL2Mgid && CmRteCkRteRqdEgid(statPtr, gid.val);
    if (trapEn) {
        rsltPtr->l2PselRsltTyp = RSLT_FWD_A_TRAP;
    } else {
        rsltPtr->l2PselRsltTyp = RSLT_FWD;
        rsltPtr->l2PselTrapQue = 0;
        rsltPtr->l2PselTrapRsn = kNoRsn;
    }
}

void takeExmTrill(const CmRteStat *statPtr, L2PselRslt *rsltPtr) {
    if (!statPtr->l2ExmVidTrillMc) {
        rsltPtr->l2PselTrillVld = 0;
        rsltPtr->l2PselTrillMc = 0;
        rsltPtr->l2PselTrillDa = statPtr->comRegPtr->trill_res_rb;
    } else {
        rsltPtr->l2PselTrillVld = statPtr->l2ExmDaTrillCmd != TRILL_CMD_NONE;
        rsltPtr->l2PselTrillMc = statPtr->l2TrillFound ? statPtr->l2TrillMc : statPtr->l2ExmDaTrillMc;
        rsltPtr->l2PselTrillDa = statPtr->l2TrillFound ? statPtr->l2TrillDa : statPtr->l2ExmDaTrillDa;
    }
    rsltPtr->l2PselIsMctid = statPtr->l2ExmDaIsMctid;
    rsltPtr->l2PselMctId = statPtr->l2ExmDaMctId;
    rsltPtr->l2PselMctNpath = statPtr->l2ExmDaMctNpath;
    rsltPtr->l2PselOverrideTrillEgid = statPtr->l2ExmDaOverrideTrillEgid;
    rsltPtr->l2PselDoTrillMP = rsltPtr->l2PselIsL2Mgid ? 0 : statPtr->l2ExmDoTrillMP;
}

void takeAclTrill(const CmRteStat *statPtr, const AclRslt &acl, L2PselRslt *rsltPtr) {
    const bool valid = acl.trill_cmd != TRILL_CMD_NONE;
    rsltPtr->l2PselTrillVld = valid;
    rsltPtr->l2PselDoTrillMP = valid && !rsltPtr->l2PselIsL2Mgid;
    rsltPtr->l2PselTrillDa = acl.mctid_trill_da;
    rsltPtr->l2PselTrillMc = acl.trill_mc;
    if (acl.trill_cmd == TRILL_CMD_OVERRIDE)
        rsltPtr->l2PselOverrideTrillEgid = 1;
    if (acl.trill_cmd == TRILL_CMD_MCTID) {
        rsltPtr->l2PselIsMctid = 1;
        rsltPtr->l2PselMctId = mctIdOf(acl.mctid_trill_da);
        rsltPtr->l2PselMctNpath = mctNpathOf(acl.mctid_trill_da);
    }

    // The header of a TRILL frame has the last word on where it goes.
    if (statPtr->l2TrillFound) {
        rsltPtr->l2PselTrillMc = statPtr->l2ExmVidTrillMc ? statPtr->l2TrillMc : 0;
        rsltPtr->l2PselTrillDa = statPtr->l2ExmVidTrillMc ? statPtr->l2TrillDa : statPtr->comRegPtr->trill_res_rb;
        rsltPtr->l2PselMctId = mctIdOf(rsltPtr->l2PselTrillDa);
        rsltPtr->l2PselMctNpath = mctNpathOf(rsltPtr->l2PselTrillDa);
    }
}

} // namespace

void L2Psel(CmRteStat *statPtr) {
    statPtr->l2PselEgrIpEcn = statPtr->l3IpEcn;
    RteEnCk(statPtr);

    L2PselRslt rslt = {};
    L2PselLu(&rslt, statPtr, 1);
#define RSLT(name, label) statPtr->name = rslt.name;
#include "lue/cmRteL2PselRslt.def"
    CM_TRACE_RAW(2, "L2 PSEL result:\n");
#define RSLT(name, label) CM_TRACE_RAW(2, TB_MSG_FIELD, label, rslt.name);
#include "lue/cmRteL2PselRslt.def"

    statPtr->l2PselTrillDaPreMP = statPtr->l2PselTrillDa;
    statPtr->l2PselTrillMcPreMP = statPtr->l2PselTrillMc;

    IncL2AclSts(statPtr);
    CM_TRACE(1,
             "[L2Psel] result merging done, L2 gid=%x, L2 is_mgid=%d, trapRsn=%d, dropRsn=%d, L2 rslt_typ=%u, "
             "r_span=%u, r_span_que=%u\n",
             statPtr->l2PselEgidMgid, statPtr->l2PselIsL2Mgid, statPtr->l2PselTrapRsn, statPtr->l2PselDropRsn,
             statPtr->l2PselRsltTyp, statPtr->l2PselSpan, statPtr->l2PselSpanId);

    if (statPtr->l2FcoeFound && !statPtr->l2PselIsL2Mgid && CmRteCkRteRqdEgid(statPtr, statPtr->l2PselEgidMgid)) {
        if (bit(statPtr->l2PselEgidMgid, kRteRqdFcoeVfBit))
            statPtr->l2PselFcoeVfRouted = 1;
        else if (bit(statPtr->l2PselEgidMgid, kRteRqdFcoeVeBit))
            statPtr->l2PselFcoeVeRouted = 1;
    }
    statPtr->l2PselSaLuVld =
        statPtr->l2TrillFound && !statPtr->l2TrillMc && statPtr->l2ExmSaHit && !statPtr->l2ExmSaIsMgid;
}

void L2PselLu(L2PselRslt *rsltPtr, CmRteStat *statPtr, uint32_t isDaLu) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    const AclRslt acl = searchAcl(statPtr, isDaLu);
    const PselGid gid = pickGid(statPtr, isDaLu, acl, rsltPtr);
    pickPrios(statPtr, acl, rsltPtr);

    const bool fwdErr = !statPtr->l2FwdEn && portRegPtr->rte_prc_l2_ck_fwd_en;
    const bool fwdTrap = fwdErr && portRegPtr->rte_prc_l2_trap_fwd_en_err;
    const bool fwdDrop = fwdErr && !fwdTrap;
    CM_TRACE(1, "[L2Psel] l2FwdEn=%d, fwdErr=%d, fwdTrap=%d, fwdDrop=%d\n", statPtr->l2FwdEn, fwdErr, fwdTrap, fwdDrop);

    pickLrnEn(statPtr, gid, fwdDrop, rsltPtr);
    const bool trapEn = pickTrap(statPtr, acl, gid, rsltPtr);
    decide(statPtr, gid, fwdTrap, fwdDrop, trapEn, rsltPtr);
    if (gid.passThru && isDaLu)
        takeExmTrill(statPtr, rsltPtr);
    else
        takeAclTrill(statPtr, acl, rsltPtr);

    rsltPtr->l2PselSpan = acl.span_en;
    rsltPtr->l2PselSpanId = acl.span_id;
    rsltPtr->l2PselAclLog = acl.acl_log;
    rsltPtr->l2PselPolEn = acl.pol_en;
    rsltPtr->l2PselPolId = acl.pol_id;
    rsltPtr->l2PselDscpEn = acl.dscp_en;
    rsltPtr->l2PselDscp = acl.dscp_en ? acl.dscp : statPtr->IpDscpForPsel;
    rsltPtr->l2PselMctSrbVld = acl.mct_srbridge_vld;
    rsltPtr->l2PselBypassEacl = acl.bypass_eacl;
    statPtr->l2PselSflowEn = acl.sflow_en;
    statPtr->l2PselSflowProfile = acl.sflow_profile;
    statPtr->l2PselStsEn = acl.sts_sflow_en;
    statPtr->l2PselStsIdx = acl.sts_sflow_idx;
}
