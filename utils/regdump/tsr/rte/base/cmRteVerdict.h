#pragma once
// The vocabulary of verdicts: why a frame is dropped or trapped, what becomes of it, how it is routed, and what a group
// word leads to. All stages, the shim and the programs use these words; nothing here knows a frame.

#include "base/cmUtl.h"

#include <cstdint>

/// Drop reasons. The texts stand in rte_rsn_str at the same index.
enum RTE_DRP_RSN : uint32_t {
#define DRP_RSN(number, name, text) name = number,
#define DRP_RSN_NO_TEXT(number, name) name = number,
#include "base/cmRteDrpRsn.def"
};

/// Trap reasons. Reasons that ACL banks give come from registers and are plain values.
enum RTE_TRP_RSN : uint32_t {
#define TRP_RSN(number, name, use) name = number,
#include "base/cmRteTrpRsn.def"
};

/// A verdict field that holds no reason. DRP_LU and TRP_L2_HDR_VIO share the number: a layer-2 verdict has flags of its
/// own that tell whether there is a reason, and at layer 3 the parser never gives these two.
inline constexpr uint32_t kNoRsn = 0;

/// Drop reasons that have a text, and all of them.
inline constexpr uint32_t kRteRsnCnt = 0
#define DRP_RSN(number, name, text) +1
#define DRP_RSN_UNNAMED(number, text) +1
#include "base/cmRteDrpRsn.def"
    ;
inline constexpr uint32_t kDrpRsnCnt = kRteRsnCnt
#define DRP_RSN_NO_TEXT(number, name) +1
#include "base/cmRteDrpRsn.def"
    ;
inline constexpr uint32_t kTrpRsnCnt = 0
#define TRP_RSN(number, name, use) +1
#include "base/cmRteTrpRsn.def"
    ;

/// The text of each drop reason.
extern const char *const rte_rsn_str[kRteRsnCnt];

/// What becomes of a frame.
enum RTE_RSLT_TYP : uint32_t { RSLT_DROP = 0, RSLT_TRAP = 1, RSLT_FWD = 2, RSLT_FWD_A_TRAP = 3 };

/// Whether the frame goes on, with or without a copy to the CPU.
constexpr bool isFwd(uint32_t rsltTyp) {
    return rsltTyp == RSLT_FWD || rsltTyp == RSLT_FWD_A_TRAP;
}

/// Whether the CPU gets the frame or a copy of it.
constexpr bool isTrap(uint32_t rsltTyp) {
    return rsltTyp == RSLT_TRAP || rsltTyp == RSLT_FWD_A_TRAP;
}

/// The kinds of `routed`: by which header the frame is routed, or what a switched frame carries.
enum RTE_ROUTED : uint32_t {
    ROUTED_IPV4 = 0,
    ROUTED_IPV6 = 1,
    ROUTED_FCOE_VF = 2,
    ROUTED_FCOE_VE = 3,
    SWITCHED_IPV4 = 4,
    SWITCHED_IPV6 = 5,
    SWITCHED_FCOE = 6,
    SWITCHED_OTHER = 7,
};

constexpr bool isIpRouted(uint32_t routed) {
    return routed == ROUTED_IPV4 || routed == ROUTED_IPV6;
}
constexpr bool isFcoeRouted(uint32_t routed) {
    return routed == ROUTED_FCOE_VF || routed == ROUTED_FCOE_VE;
}
constexpr bool isSwitched(uint32_t routed) {
    return routed >= SWITCHED_IPV4;
}
/// Whether the frame carries IPv4 or IPv6, routed or switched.
constexpr bool carriesIpv4(uint32_t routed) {
    return routed == ROUTED_IPV4 || routed == SWITCHED_IPV4;
}
constexpr bool carriesIpv6(uint32_t routed) {
    return routed == ROUTED_IPV6 || routed == SWITCHED_IPV6;
}

/// The kind of a multicast group's frame.
enum RTE_MCAST_TYP : uint32_t {
    MCAST_UCAST_FLOOD = 0, // also where a result knows no kind
    MCAST_BCAST = 1,
    MCAST_L2 = 2,
    MCAST_L3 = 3,
};

/// What a lookup result says of TRILL.
enum RTE_TRILL_CMD : uint32_t {
    TRILL_CMD_NONE = 0,
    TRILL_CMD_MCTID = 1,    // a multicast tree, whose paths are chosen by hash
    TRILL_CMD_DEST = 2,     // a destination RBridge, which also gives the egress group
    TRILL_CMD_OVERRIDE = 3, // a destination RBridge; the egress group stays
};

// A group word has 17 bits and a multicast flag beside it. With the flag it is a multicast group; without, its upper
// bits tell what the lower ones are:
//   bit 16 set            MPID, a multipath group: paths less one in 15:13, id in 12:0
//   16:15 = 01            LGID, an aggregation group: id in 9:0
//   16:14 = 001, 13 = 0   EGID form: an egress id in 12:0, of those that mean something special
//   16:14 = 000           the plain egress id of a way out

/// Whether the word is an MPID, or an LGID.
constexpr bool isMpid(uint32_t gid) {
    return bit(gid, 16);
}
constexpr bool isLgid(uint32_t gid) {
    return bits(gid, 16, 15) == 1;
}

/// The ids in these words, and the paths less one that an MPID brings.
constexpr uint32_t mpidOf(uint32_t gid) {
    return bits(gid, 12, 0);
}
constexpr uint32_t npathOf(uint32_t gid) {
    return bits(gid, 15, 13);
}
constexpr uint32_t lgidOf(uint32_t gid) {
    return bits(gid, 9, 0);
}

/// A TRILL destination that is a multicast tree has the tree and its paths less one where an MPID has its own.
constexpr uint32_t mctIdOf(uint32_t trillDa) {
    return mpidOf(trillDa);
}
constexpr uint32_t mctNpathOf(uint32_t trillDa) {
    return npathOf(trillDa);
}

/// Whether the word has the form of a special egid.
constexpr bool isEgidForm(uint32_t gid) {
    return bits(gid, 16, 13) == 2;
}
/// The same as the layer-2 ACL engine sees it: bit 13 may be set.
constexpr bool isEgidFormOfAcl(uint32_t gid) {
    return bits(gid, 16, 14) == 1;
}
/// The same as the final checks see it: bit 14 alone counts.
constexpr bool isEgidFormAtEnd(uint32_t gid) {
    return bit(gid, 14);
}
/// Whether the word is the plain egress id of a way out.
constexpr bool isPlainEgid(uint32_t gid) {
    return bits(gid, 16, 14) == 0;
}

/// The egress id of a word in EGID form, and the word of an egress id.
constexpr uint32_t egidOf(uint32_t gid) {
    return bits(gid, 12, 0);
}
constexpr uint32_t gidOfEgid(uint32_t egid) {
    return 0x4000 | egid;
}

/// The egid that asks for routing is known by its low bits; these bits of it tell which frames it asks for.
inline constexpr unsigned kRteRqdFcoeVfBit = 12;
inline constexpr unsigned kRteRqdFcoeVeBit = 11;
inline constexpr unsigned kRteRqdIpv6Bit = 10;
inline constexpr unsigned kRteRqdIpv4Bit = 9;

/// Whether the low bits of `egid` are those of the egid that asks for routing, `rteRqdEgid`.
constexpr bool hasRteRqdId(uint32_t egid, uint32_t rteRqdEgid) {
    return bits(egid, 8, 0) == bits(rteRqdEgid, 8, 0);
}
/// The EGID form as the test for that egid sees it, which does not look above bit 14.
constexpr bool isEgidFormOfRteRqd(uint32_t egid) {
    return bits(egid, 14, 13) == 2;
}
