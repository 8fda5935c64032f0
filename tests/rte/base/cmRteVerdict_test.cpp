#include "base/cmRteVerdict.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kGidCnt = 1 << 17;

/// Whether `holds` is true for the group words from `from` to `to`, and for no others.
void expectForm(bool (*holds)(uint32_t gid), uint32_t from, uint32_t to) {
    for (uint32_t gid = 0; gid < kGidCnt; gid++)
        ASSERT_EQ(holds(gid), from <= gid && gid <= to) << std::hex << gid;
}

/// The kinds of `routed` for which `holds` is true, as digits.
std::string kinds(bool (*holds)(uint32_t routed)) {
    std::string digits;
    for (uint32_t routed = 0; routed < 8; routed++) {
        if (holds(routed))
            digits += std::to_string(routed);
    }
    return digits;
}

TEST(CmRteVerdict, EveryDropReasonHasItsText) {
    const std::vector<std::string> texts = {
        "DRP_LU: lookup result indicates drop",
        "DRP_NOT_EN: dropped due to lookup not enabled",
        "DRP_PAUSE: PAUSE or PFC frame",
        "DRP_L2_ALL_RB_DA: non-TRILL port should not received all-rbridges outer MAC DA",
        "DRP_L2_SA: MAC SA is bcast/mcast or SA is chassis address",
        "DRP_L2_TYP: type or length error (non-ether type)",
        "DRP_TRILL_MAC_CTL_DA: non-TRILL frame without control MAC DA at TRILL enabled port",
        "DRP_TRILL_MAC_EXP: TRILL outer DA or SA or TRILL outer VLAN mismatch",
        "DRP_TRILL_HDR: TRILL version mismatch or TRILL mc flag invalid or TRILL header option field error",
        "DRP_TRILL_TTL: TRILL hop count error",
        "DRP_TRILL_LOOP: received TRILL SA matches TRILL address of the chip",
        "DRP_SRC: source filtered or Ethernet DA==SA",
        "DRP_EOF: premature EOF during header parsing",
        "DRP_IP_HDR: IPv4/IPv6 version error or IP header length error for IP routed packet",
        "DRP_IP_TTL: IPv4/IPv6 TTL<=1 for IP routed packet",
        "DRP_IP_DA_MCAST: IPv4/IPv6 IPDA multicast address mismatches MAC DA",
        "DRP_IP_SA_MCAST: IPv4/IPv6 IPSA is multicast address",
        "DRP_IP_PIM_HDR: See spec table 17-501",
        "DRP_IPV4_CKSUM: IPv4 checksum error or IPv4/IPv6 PIM checksum error",
        "DRP_IPV4_IHL_GT5: IPv4 IHL>5 for IP routed packet",
        "DRP_IP_RTE_EN: IPv4/IPv6 routing not enabled",
        "Wrong reason #1, call Ondra-x00000",
        "DRP_FCOE_HDR: FCoE header error for FCoE routed packet",
        "DRP_FCOE_TTL: FCoE VSAN hopCnt<=1 for FCoE routed packet",
        "DRP_FCOE_RTE_EN: FCoE routing not enabled for Fcoe routed packet",
        "DRP_TAIL: tail drop",
        "DRP_LOCAL_MAC: Drop due to local mac bit set",
        "Wrong reason #2, call Ondra-x00000",
        "DRP_TRILL_RPF: Trill RPF Drops",
        "Wrong reason #3, call Ondra-x00000",
        "DRP_PERR: Parity error",
        "DRP_IPV6_MLEN: IPv6 maximum length error",
        "DRP_FWN_EN_ERR:",
        "DRP_POL: Policer drops",
        "DRP_IP_RPF: IPv4/IPv6 Unicast RPF check fails for IP routed packet",
    };
    ASSERT_EQ(texts.size(), kRteRsnCnt);
    for (uint32_t i = 0; i < kRteRsnCnt; i++)
        EXPECT_EQ(rte_rsn_str[i], texts[i]) << i;
}

TEST(CmRteVerdict, OneDropReasonHasNoText) {
    EXPECT_EQ(DRP_IP_PIM_NULL, kRteRsnCnt);
    EXPECT_EQ(kDrpRsnCnt, kRteRsnCnt + 1);
    EXPECT_EQ(kTrpRsnCnt, 27u);
}

TEST(CmRteVerdict, ANamedTextBeginsWithTheName) {
    const std::string texts[] = {
#define DRP_RSN(number, name, text) #name "|" text,
#include "base/cmRteDrpRsn.def"
    };
    for (const std::string &row : texts) {
        const std::string name = row.substr(0, row.find('|'));
        const std::string text = row.substr(name.size() + 1);
        EXPECT_TRUE(text.rfind(name + ":", 0) == 0 || text.rfind("Wrong reason #", 0) == 0) << row;
    }
}

TEST(CmRteVerdict, FormsOfAGroupWord) {
    expectForm(isPlainEgid, 0, 0x3fff);
    expectForm(isEgidForm, 0x4000, 0x5fff);
    expectForm(isEgidFormOfAcl, 0x4000, 0x7fff);
    expectForm(isLgid, 0x8000, 0xffff);
    expectForm(isMpid, 0x10000, 0x1ffff);
}

TEST(CmRteVerdict, TheFinalChecksSeeBit14Alone) {
    for (uint32_t upper = 0; upper < 8; upper++)
        EXPECT_EQ(isEgidFormAtEnd(upper << 14 | 0x2fff), upper % 2 == 1) << upper;
}

TEST(CmRteVerdict, AnEgidAndItsWord) {
    EXPECT_EQ(gidOfEgid(0x1abc), 0x5abcu);
    EXPECT_EQ(egidOf(0x5abc), 0x1abcu);
    EXPECT_EQ(egidOf(0x1ffff), 0x1fffu);
    EXPECT_TRUE(hasRteRqdId(0x5f23, 0x123));
    EXPECT_TRUE(hasRteRqdId(0x5f23, 0xe00 | 0x123));
    EXPECT_FALSE(hasRteRqdId(0x5e23, 0x123));
    EXPECT_TRUE(isEgidFormOfRteRqd(0x5abc) && isEgidFormOfRteRqd(0x1dabc));
    EXPECT_FALSE(isEgidFormOfRteRqd(0x3abc) || isEgidFormOfRteRqd(0x7abc));
}

TEST(CmRteVerdict, KindsOfRouting) {
    EXPECT_EQ(kinds(isIpRouted), "01");
    EXPECT_EQ(kinds(isFcoeRouted), "23");
    EXPECT_EQ(kinds(isSwitched), "4567");
    EXPECT_EQ(kinds(carriesIpv4), "04");
    EXPECT_EQ(kinds(carriesIpv6), "15");
}

TEST(CmRteVerdict, KindsOfResults) {
    EXPECT_TRUE(isFwd(2) && isFwd(3));
    EXPECT_FALSE(isFwd(0) || isFwd(1));
    EXPECT_TRUE(isTrap(1) && isTrap(3));
    EXPECT_FALSE(isTrap(0) || isTrap(2));
}

} // namespace
