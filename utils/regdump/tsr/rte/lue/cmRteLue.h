#pragma once
// The lookup stage (LUE): its sub-stages in the order in which a frame meets them, and what they share.

#include "base/cmRte.h"
#include "base/cmRteCnt.h"
#include "base/cmRteVerdict.h"
#include "lue/cmRteLueLrn.h"

// cmRteLue
void L2CtrlCls(CmRteStat *statPtr);
void TypLu(CmRteStat *statPtr);
void L2MtuCls(CmRteStat *statPtr);
/// Whether the frame's type may be routed from its port and VLAN.
void RteEnCk(CmRteStat *statPtr);

// cmRteLueL2Cls
void MacCls(CmRteStat *statPtr);
void L2VidCls(CmRteStat *statPtr);
void CloudCls(CmRteStat *statPtr);

// cmRteLueL2Exm, cmRteLueL2Egid
void L2Exm(CmRteStat *statPtr);
/// Asks whether DA and SA of the frame are addresses of this chip; `trillVld` is the TRILL flag of the DA's key.
void ChassisAddressParser(CmRteStat *statPtr, uint32_t trillVld);
/// Result index of an unknown DA; `tbl_sel` is the half of the flood tables, `keyProfile` the type of the key.
uint32_t L2ExmDfltRsltIdx(CmRteHsiComReg *comRegPtr_, uint64_t l2Da, uint32_t l2TrillFound, uint32_t l2TrillMc,
                          uint32_t l2TrillInterior, uint32_t l2TrillEgr, uint32_t l2TrillDa, uint64_t l2TrillInnerDa,
                          uint64_t tbl_sel, uint32_t keyProfile);
/// Decides how an unknown DA is flooded. The hash itself does not count, only the table that it chose.
void L2Flood(CmRteStat *statPtr, uint32_t tbl_sel, uint32_t hshVal);
void L2ExmDbgCnt(CmRteStat *statPtr);
/// The tests for the special egids; `gid` is a 17-bit group word. Each returns 1 or 0, and at most one of them 1.
uint32_t CmRteCkAclDropEgid(const CmRteStat *statPtr, uint32_t gid);
uint32_t CmRteCkTrapEgid(const CmRteStat *statPtr, uint32_t gid);
uint32_t CmRteCkNorDropEgid(const CmRteStat *statPtr, uint32_t gid);
uint32_t CmRteCkPthEgid(const CmRteStat *statPtr, uint32_t gid);
/// The tests for an egid that asks for routing: for the frame's own protocol, and (`...L2`) for any. The `Only` ones
/// look at the low bits alone, the others at the form and the special egids first.
uint32_t CkRteRqdEgidOnly(const CmRteStat *statPtr, uint32_t egid);
uint32_t CkRteRqdEgidOnlyL2(const CmRteHsiComReg *comRegPtr_, uint32_t egid);
uint32_t CmRteCkRteRqdEgid(const CmRteStat *statPtr, uint32_t gid);
uint32_t CmRteCkRteRqdEgidL2(const CmRteHsiComReg *comRegPtr_, uint32_t gid);

// cmRteLueL2Psel, cmRteLueL2Mp

/// The result of one layer-2 path selection.
struct L2PselRslt {
#define RSLT(name, label) uint32_t name;
#include "lue/cmRteL2PselRslt.def"
};

void L2Psel(CmRteStat *statPtr);
/// One path selection into the zeroed record `rsltPtr`: of the DA (`isDaLu` 1) or of the SA (0).
void L2PselLu(L2PselRslt *rsltPtr, CmRteStat *statPtr, uint32_t isDaLu);
void l2MultipathProcess(CmRteStat *statPtr, uint32_t isDaLu);
/// Choose one path of a LAG, a multipath group or a multicast tree; each returns the address in its path memory.
uint32_t L2PselLgid(uint32_t lgid, CmRteStat *statPtr);
uint32_t L2PselMpid(uint32_t mpid, CmRteStat *statPtr);
uint32_t MctMpid(uint32_t mctId, uint32_t npath, CmRteStat *statPtr);
/// Banks of the ACL counters, which the two layers share, and the counters of a bank.
inline constexpr uint32_t kAclStsBnks = 8;
inline constexpr uint32_t kAclStsBnkRows = 4096;
/// The counter that an ACL result names by its index: the id of the bank stands above the row.
struct AclStsIdx {
    uint32_t bankId;
    uint32_t row;

    constexpr explicit AclStsIdx(uint32_t idx)
        : bankId(idx / kAclStsBnkRows % kAclStsBnks), row(idx % kAclStsBnkRows) {}
    /// The place of the counter in the memories when its bank is `bank`.
    constexpr uint32_t in(uint32_t bank) const { return bank * kAclStsBnkRows + row; }
};
/// First bank of layer 2 (`owner` 0) or 3 (1) whose id is `id`; kAclStsBnks when none does.
uint32_t aclStsBank(const CmRteHsiComReg *comRegPtr, uint32_t owner, uint32_t id);
void IncL2AclSts(CmRteStat *statPtr);
/// Takes back a forward whose final egid leads nowhere.
void checkFinalEgid(CmRteStat *statPtr);

// cmRteLueTrill
void TrillMyRbLu(CmRteStat *statPtr);
void trillRpf(CmRteStat *statPtr);

// cmRteLueFcoe
void FcoeCls(CmRteStat *statPtr);
void FcoeLu(CmRteStat *statPtr);

// cmRteLueL3
void L3Ipv4(CmRteStat *statPtr);
void L3Ipv6(CmRteStat *statPtr);
void L3FeatureCtrl(CmRteStat *statPtr);
void L3Flt(CmRteStat *statPtr);
void L3Psel(CmRteStat *statPtr);
/// Reads the next-hop record of the DA (`isDa` 1) or of the SA (0).
void L3NextHopLu(CmRteStat *statPtr, uint32_t isDa);
void L3McuidLu(CmRteStat *statPtr);

// cmRteLueL3PreRoc
/// Layer-3 filters between the lookups and the layer-3 path selection.
void L3PreRoc(CmRteStat *statPtr);
