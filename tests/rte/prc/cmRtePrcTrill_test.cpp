// TRILL parsing: the outer checks, the TRILL header and its options, and the inner Ethernet header.

#include "frame_builder.h"
#include "prc_fixture.h"
#include "random_words.h"
#include "reg_name.h"

namespace {

using ComReg = CmRteHsiComReg;
using PortReg = CmRteHsiPortReg;

constexpr uint64_t kInDa = 0x0a0102030405;
constexpr uint64_t kInSa = 0x0a1112131415;
constexpr uint32_t kDbId = 0x0111;
constexpr uint32_t kSbId = 0x0222;

/// The fields of a TRILL frame's outer part.
struct Trill {
    uint64_t da = kDa, sa = kSa;
    int outerVid = -1; // none when negative
    uint32_t dbId = kDbId, sbId = kSbId, hopCnt = 9, mc = 0, ver = 0, opt = 0;
};

/// The frame up to its nicknames; the TRILL header begins at 14, or 18 behind an outer VLAN tag.
Frame trill(const Trill &t = {}) {
    Frame frame;
    frame.mac(t.da, t.sa);
    if (t.outerVid >= 0)
        frame.tag(kOuterVlanEtyp, static_cast<uint32_t>(t.outerVid), 5, 1);
    return frame.etyp(kTrillEtyp).trill(t.dbId, t.sbId, t.hopCnt, t.mc, t.ver, t.opt);
}

Frame inner(Frame frame, uint64_t da = kInDa, uint64_t sa = kInSa) {
    return frame.mac(da, sa);
}

std::vector<uint8_t> ipv4(Frame frame) {
    return frame.etyp(kIpv4Etyp).fill(40, 0x5a).bytes;
}

/// The customer-ID option of the port that `custId` sets up.
Frame custIdOpt(Frame frame, uint32_t vpnId) {
    return frame.num(0x40000000, 4).num(0x5286abcd, 4).num(0xfff00000 | vpnId, 4);
}

class PrcTrillTest : public PrcTest {
protected:
    PrcTrillTest() {
        port.rte_prc_l2_trill_en = 1;
        // 1 in the top two bits; 0xa5 shifted by 7 is 0x5280, and 6 below.
        com.trill_cust_id_option_word0 = 1;
        com.trill_cust_id_option_word1 = 0xa5;
    }
    void sPort() { port.rte_prc_vlan_mode = 1; }
    std::string lastLine(const std::vector<uint8_t> &bytes) {
        const std::string all = parseTrace(bytes);
        const size_t at = all.rfind('\n', all.size() - 2);
        return all.substr(at == std::string::npos ? 0 : at + 1);
    }
};

// --- a good frame ---

TEST_F(PrcTrillTest, UnicastFrame) {
    port.rte_prc_def_vpn_id = 0x12345;
    port.rte_prc_def_outer_vlan_id = 0x77;
    port.rte_prc_def_inner_vlan_cfi = 1;
    const auto bytes = ipv4(inner(trill()));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillFound, 1u);
    EXPECT_EQ(stat.l2TrillDone, 1u);
    EXPECT_EQ(stat.l2TrillEgr, 0u);
    EXPECT_EQ(stat.l2TrillVer, 0u);
    EXPECT_EQ(stat.l2TrillMc, 0u);
    EXPECT_EQ(stat.l2TrillOpt, 0u);
    EXPECT_EQ(stat.l2TrillTtl, 9u);
    EXPECT_EQ(stat.l2TrillDa, kDbId);
    EXPECT_EQ(stat.l2TrillSa, kSbId);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 0u);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 0x12345u);
    EXPECT_EQ(stat.l2HdrLenAdj, 20u);
    EXPECT_EQ(stat.l2TrillInnerDa, kInDa);
    EXPECT_EQ(stat.l2TrillInnerSa, kInSa);
    EXPECT_EQ(stat.l2Da, kInDa);
    EXPECT_EQ(stat.l2Sa, kInSa);
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    EXPECT_EQ(stat.l2MacClsDa, kInDa);
    EXPECT_EQ(stat.l2MacClsSa, kInSa);
    EXPECT_EQ(stat.l2OuterRcvVid, 0x77u);
    EXPECT_EQ(stat.ctagCfi, 1u);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.l3Offset, 34u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TRILL], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_TRILL], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_MAC], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_INNER_MAC], 20u);
}

TEST_F(PrcTrillTest, TraceInItsOrder) {
    port.rte_prc_l2_trill_exp_outer_ucast_da_w0 = kDa >> 32;
    port.rte_prc_l2_trill_exp_outer_ucast_da_w1 = static_cast<uint32_t>(kDa);
    begin(ipv4(inner(trill({.hopCnt = 1, .ver = 2})).tag(kCtagEtyp, 5)));
    stat.dbgLvl = 4;
    std::string out = printed([&] { PrcL2(&stat); });
    for (size_t at = 0; (at = out.find("ClsEtyp ", at)) != std::string::npos;)
        out.erase(at + 7, out.find('\n', at) - at - 7);
    EXPECT_EQ(
        out, line("PRC L2, TRILL-PORT: 1, S-PORT:0") + line("Flex key OUTER_MAC (0) detected at offset=0 val=0x2") +
                 line("PRC L2 OuterDA=0x20102030405, OuterSA=0x21112131415, OuterDaIsCtl=0") + line("ClsEtyp") +
                 line("ClsEtyp") + line("PRC Trill port, Ethertype is TRILL. Start PrcTrill().") +
                 line("Flex key TRILL (2) detected at offset=12 val=0x22") +
                 line("Trill header: TrillVer=2, TrillMc=0, TrillOpLen=0, TrillTtl=1, (hword=0x8001)") +
                 line("PRC Trill, trillUcastExpOuterDa=1, outerDaIsAllRbDa=0") +
                 line("PRC Trill TTL==1 but prc_l2_trill_ck_ttl1==0") +
                 line("Flex key INNER_MAC (3) detected at offset=20 val=0xa") +
                 line("PRC Trill, DbId=111, SbId=222, innerDa = a0102030405, innerSa = a1112131415") + line("ClsEtyp") +
                 line("Flex key CVLAN (5) detected at offset=32 val=0x81") + line("ClsEtyp") + line("ClsEtyp"));
}

TEST_F(PrcTrillTest, HeaderWordFields) {
    // version 1, reserved bits set, multicast, option length 0, hop count 0x2a
    parse(ipv4(inner(Frame().mac(kDa, kSa).etyp(kTrillEtyp).num(0x782a, 2).num(kDbId, 2).num(kSbId, 2))));
    EXPECT_EQ(stat.l2TrillVer, 1u);
    EXPECT_EQ(stat.l2TrillMc, 1u);
    EXPECT_EQ(stat.l2TrillOpt, 0u);
    EXPECT_EQ(stat.l2TrillTtl, 0x2au);
    // version 2, option length 21, hop count 0x15
    parse(ipv4(inner(Frame().mac(kDa, kSa).etyp(kTrillEtyp).num(0x8555, 2).num(kDbId, 2).num(kSbId, 2))));
    EXPECT_EQ(stat.l2TrillVer, 2u);
    EXPECT_EQ(stat.l2TrillMc, 0u);
    EXPECT_EQ(stat.l2TrillOpt, 21u);
    EXPECT_EQ(stat.l2TrillTtl, 0x15u);
}

TEST_F(PrcTrillTest, EgressIsOwnNicknameAndUnicast) {
    parse(ipv4(inner(trill({.dbId = 0xbeef}))));
    EXPECT_EQ(stat.l2TrillEgr, 1u);
    parse(ipv4(inner(trill({.dbId = 0xbeef, .mc = 1}))));
    EXPECT_EQ(stat.l2TrillEgr, 0u);
    parse(ipv4(inner(trill({.dbId = 0xbeee}))));
    EXPECT_EQ(stat.l2TrillEgr, 0u);
}

TEST_F(PrcTrillTest, OuterVlanAndInnerCTagHaveSeparateHomes) {
    setVlanTrans(0x222, 0x1555);
    parse(ipv4(inner(trill({.outerVid = 0x111})).tag(kCtagEtyp, 0x222, 3)));
    EXPECT_EQ(stat.l2OuterRcvVid, 0x111u);
    EXPECT_EQ(stat.l2OuterRcvPrio, 5u);
    EXPECT_EQ(stat.l2OuterVlanTagged, 1u);
    EXPECT_EQ(stat.ctag, 0x222u);
    EXPECT_EQ(stat.ctagPrio, 3u);
    EXPECT_EQ(stat.ctagNz, 1u);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.xcvid, 0u) << "the inner C-tag is not translated";
    EXPECT_EQ(stat.l3Offset, 42u);
    EXPECT_EQ(stat.l2HdrLenAdj, 24u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CVLAN], 36u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_TRILL], 16u);
}

// --- errors ---

std::vector<L2Err> trillErrs() {
    std::vector<L2Err> errs;
    const auto add = [&](const char *name, uint32_t PortReg::*ck, uint32_t PortReg::*trap, uint32_t rsn,
                         std::function<std::vector<uint8_t>(ComReg &, PortReg &)> frame, const std::string &text,
                         const std::string &excuse = "", uint32_t excuseLvl = 3) -> L2Err & {
        errs.push_back({name, ck, trap, rsn,
                        [frame](ComReg &c, PortReg &p) {
                            p.rte_prc_l2_trill_en = 1;
                            c.trill_cust_id_option_word0 = 1;
                            c.trill_cust_id_option_word1 = 0xa5;
                            return frame(c, p);
                        },
                        text + "TRAP", text + "DROP", excuse, excuseLvl});
        return errs.back();
    };

    add(
        "OuterSa", &PortReg::rte_prc_l2_trill_ck_outer_sa, &PortReg::rte_prc_l2_trill_trap_outer_sa_err, 7,
        [](ComReg &, PortReg &p) {
            p.rte_prc_l2_trill_exp_outer_sa_w0 = kSa >> 32;
            p.rte_prc_l2_trill_exp_outer_sa_w1 = static_cast<uint32_t>(kSa);
            return ipv4(inner(trill({.sa = kSa + 1})));
        },
        "PRC Trill Outer SA err. ");
    add(
        "OuterDa", &PortReg::rte_prc_l2_trill_ck_outer_ucast_da, &PortReg::rte_prc_l2_trill_trap_outer_ucast_da_err, 7,
        [](ComReg &, PortReg &p) {
            p.rte_prc_l2_trill_exp_outer_ucast_da_w0 = 0x1a;
            p.rte_prc_l2_trill_exp_outer_ucast_da_w1 = 0x2b3c;
            return ipv4(inner(trill()));
        },
        "PRC Trill, unexpected outer DA err. exp_outer_ucast_da = 0000001a-00002b3c. "
        "all_rb_da=00000180-c2000040. ");
    L2Err &vid = add(
        "OuterVid", &PortReg::rte_prc_l2_trill_ck_outer_vid, &PortReg::rte_prc_l2_trill_trap_outer_vid_err, 7,
        [](ComReg &, PortReg &p) {
            p.rte_prc_l2_trill_exp_outer_vid = 0x110;
            return ipv4(inner(trill({.outerVid = 0x111})));
        },
        "");
    const std::string prefix = "CM port=3, frameIdx=17>> ";
    vid.trapLine = prefix + "PRC Trill outer VID (0x111) mismatch.\n" + prefix + "PRC Trill outer VID err. TRAP";
    vid.dropLine = prefix + "PRC Trill outer VID (0x111) mismatch.\n" + prefix + "PRC Trill outer VID err. DROP";
    L2Err &ver = add(
        "Version", &PortReg::rte_prc_l2_trill_ck_ver, &PortReg::rte_prc_l2_trill_trap_ver_err, 8,
        [](ComReg &c, PortReg &) {
            c.rte_l2_trill_exp_ver = 1;
            return ipv4(inner(trill({.ver = 2})));
        },
        "");
    ver.trapLine = "PRC Trill version (v=2, exp=1) err. TRAP";
    ver.dropLine = "PRC Trill version (2, exp=1) err. DROP";
    add(
        "McFlag", &PortReg::rte_prc_l2_trill_ck_mc, &PortReg::rte_prc_l2_trill_trap_mc_err, 8,
        [](ComReg &, PortReg &p) {
            p.rte_prc_l2_trill_ck_outer_ucast_da = 1;
            return ipv4(inner(trill({.da = kAllRbDa})));
        },
        "PRC Trill DA-allrb, trill_mc expected err. ");
    add(
        "Ttl0", &PortReg::rte_prc_l2_trill_ck_ttl0, &PortReg::rte_prc_l2_trill_trap_ttl0_err, 9,
        [](ComReg &, PortReg &) { return ipv4(inner(trill({.hopCnt = 0}))); }, "PRC Trill TTL=0 err. ",
        "PRC Trill TTL==0 but prc_l2_trill_ck_ttl0==0", 1)
        .trapVerdict = {1, kTtlQue, 24, 0, 0};
    add(
        "Ttl1", &PortReg::rte_prc_l2_trill_ck_ttl1, &PortReg::rte_prc_l2_trill_trap_ttl1_err, 9,
        [](ComReg &, PortReg &) { return ipv4(inner(trill({.hopCnt = 1}))); }, "PRC Trill TTL=1 (trace route) err. ",
        "PRC Trill TTL==1 but prc_l2_trill_ck_ttl1==0", 1)
        .trapVerdict = {1, kTtlQue, 24, 0, 0};

    const auto custId = [&](const char *name, uint32_t expected, std::function<std::vector<uint8_t>()> frame) {
        L2Err &e = add(
            name, &PortReg::rte_prc_l2_trill_ck_cust_id_cfg, &PortReg::rte_prc_l2_trill_trap_cust_id_err, 8,
            [=](ComReg &, PortReg &p) {
                p.rte_prc_l2_trill_exp_cust_id = expected;
                return frame();
            },
            "");
        const std::string end = "omer ID Option err (exp_cust_id=" + std::to_string(expected) + "). ";
        e.trapLine = "PRC L2 Trill Cut" + end + "TRAP";
        e.dropLine = "PRC L2 Trill Cust" + end + "DROP";
    };
    custId("CustIdMissing", 1, [] { return ipv4(inner(trill())); });
    custId("CustIdOfOtherLength", 1, [] { return ipv4(inner(trill({.opt = 5}))); });
    custId("CustIdOfOtherContent", 1, [] { return ipv4(inner(trill({.opt = 3}).fill(12))); });
    custId("CustIdUnexpected", 0, [] { return ipv4(inner(custIdOpt(trill({.opt = 3}), 7))); });

    add(
        "Loop", &PortReg::rte_prc_l2_trill_ck_loop, &PortReg::rte_prc_l2_trill_trap_loop_err, 10,
        [](ComReg &, PortReg &) { return ipv4(inner(trill({.sbId = 0xbeef}))); }, "PRC Trill loop err. ");
    add(
        "UnknownOption", &PortReg::rte_prc_l2_trill_ck_opt, &PortReg::rte_prc_l2_trill_trap_opt_err, 8,
        [](ComReg &, PortReg &) { return ipv4(inner(trill({.opt = 5}).fill(20))); }, "PRC Trill option. ");
    add(
        "OptionContent", &PortReg::rte_prc_l2_trill_ck_opt, &PortReg::rte_prc_l2_trill_trap_opt_err, 8,
        [](ComReg &, PortReg &) { return ipv4(inner(trill({.opt = 3}).fill(12))); },
        "PRC Trill option word0/1 mismatch. ");
    add(
        "TrillEof", nullptr, &PortReg::rte_prc_l2_trill_trap_eof_err, 12,
        [](ComReg &, PortReg &) { return trill().bytes; }, "PRC L2 Trill EOF err. ");

    add(
        "InnerSaGroup", &PortReg::rte_prc_l2_ck_sa_bmcast, &PortReg::rte_prc_l2_trap_sa_bmcast, 4,
        [](ComReg &, PortReg &) { return ipv4(inner(trill(), kInDa, 0x010000000abc)); },
        "PRC Trill inner SA is mcast err. innerSA=10000000abc. ");
    L2Err &loop = add(
        "InnerSaIsDa", &PortReg::rte_prc_l2_ck_addr_lpbk, &PortReg::rte_prc_l2_trap_addr_lpbk_err, 11,
        [](ComReg &, PortReg &) { return ipv4(inner(trill(), kInDa, kInDa)); }, "");
    loop.trapLine = "PRC Trill inner MacSA==MacDA err. TRAP que=11";
    loop.dropLine = "PRC Trill inner MacSA==MacDA err. DROP";
    add(
        "InnerEof", nullptr, &PortReg::rte_prc_l2_trap_eof_err, 12,
        [](ComReg &, PortReg &) { return inner(trill()).bytes; }, "PRC L2 EOF err. ");

    const auto sTag = [&](const char *name, std::function<Frame()> frame) {
        add(
            name, &PortReg::rte_prc_l2_ck_multiple_s_tags, &PortReg::rte_prc_l2_trap_multiple_s_tags_err, 0,
            [=](ComReg &, PortReg &p) {
                p.rte_prc_vlan_mode = 1;
                return frame().etyp(0x9999).fill(40, 0x5a).bytes;
            },
            "PRC multiple S-TAG. ", "PRC multiple S-TAG excused");
    };
    sTag("InnerSecondSTag", [] { return inner(trill()).tag(kStagEtyp, 5).tag(kStagEtyp, 6); });
    sTag("InnerSTagBehindBothTags",
         [] { return inner(trill()).tag(kStagEtyp, 5).tag(kCtagEtyp, 6).tag(kStagEtyp, 7); });
    const auto cTag = [&](const char *name, std::function<Frame()> frame) {
        add(
            name, &PortReg::rte_prc_l2_ck_multiple_c_tags, &PortReg::rte_prc_l2_trap_multiple_c_tags_err, 0,
            [=](ComReg &, PortReg &) { return frame().etyp(0x9999).fill(40, 0x5a).bytes; }, "PRC multiple C-TAG. ",
            "PRC multiple C-TAG excused");
    };
    cTag("InnerSecondCTag", [] { return inner(trill()).tag(kCtagEtyp, 5).tag(kCtagEtyp, 6); });
    const auto cPort = [&](const char *name, const std::string &excuse, std::function<Frame()> frame) {
        add(
            name, &PortReg::rte_prc_l2_ck_s_tagged_on_c_port, &PortReg::rte_prc_l2_trap_s_tagged_on_c_port_err, 0,
            [=](ComReg &, PortReg &) { return frame().etyp(0x9999).fill(40, 0x5a).bytes; }, "PRC S-TAG on a C-PORT. ",
            excuse);
    };
    cPort("InnerSTagOnCPort", "S-TAG at the worng location. excused", [] { return inner(trill()).tag(kStagEtyp, 5); });
    cPort("InnerSTagBehindCTagOnCPort", "S-TAG at the worng location. excused",
          [] { return inner(trill()).tag(kCtagEtyp, 5).tag(kStagEtyp, 5); });
    add(
        "InnerNoMansLand", &PortReg::rte_prc_l2_ck_non_typlen, &PortReg::rte_prc_l2_trap_non_typlen, 5,
        [](ComReg &, PortReg &) { return inner(trill()).etyp(kNoMansLand).fill(40).bytes; },
        "PRC L2 TypLen in no man's land err. ");
    return errs;
}

class PrcTrillErrTest : public L2ErrTest {};
TEST_P(PrcTrillErrTest, CheckOffLetsItPass) {
    checkOff();
}
TEST_P(PrcTrillErrTest, CheckOnWithTrap) {
    checkOn(1);
}
TEST_P(PrcTrillErrTest, CheckOnWithDrop) {
    checkOn(0);
}
INSTANTIATE_TEST_SUITE_P(Errors, PrcTrillErrTest, testing::ValuesIn(trillErrs()),
                         [](const auto &param) { return std::string(param.param.name); });

TEST_F(PrcTrillTest, CriticalOptionOnlyTraps) {
    const auto bytes = ipv4(inner(trill({.opt = 5}).num(0x80000000, 4)));
    port.rte_prc_l2_trill_trap_chbh_opt = 1;
    parse(bytes);
    EXPECT_EQ(verdict(), kHdrVioTrap);
    EXPECT_EQ(stat.l2TrillRcvChbhOption, 1u);
    EXPECT_EQ(stat.l2TrillDone, 0u);
    EXPECT_EQ(lastLine(bytes), line("PRC Trill CHBH option. TRAP"));
    parse(ipv4(inner(trill({.opt = 5}).num(0x7fffffff, 4))));
    EXPECT_EQ(stat.l2TrillRcvChbhOption, 0u);
    EXPECT_EQ(verdict(), kNoVerdict);
    // Without an option the bit is the inner DA's.
    parse(ipv4(inner(trill(), 0x800000000001)));
    EXPECT_EQ(verdict(), kNoVerdict);
    port.rte_prc_l2_trill_trap_chbh_opt = 0;
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillRcvChbhOption, 0u);
}

TEST_F(PrcTrillTest, TtlErrorIsLeftForThePathSelection) {
    for (uint32_t hops : {0u, 1u}) {
        port.rte_prc_l2_trill_ck_ttl0 = hops == 0;
        port.rte_prc_l2_trill_ck_ttl1 = hops == 1;
        port.rte_prc_l2_trill_trap_ttl0_err = port.rte_prc_l2_trill_trap_ttl1_err = 1;
        const auto bytes = ipv4(inner(trill({.hopCnt = hops})));
        parse(bytes);
        EXPECT_EQ(stat.l2PselTrillTtlErr, 1u);
        EXPECT_EQ(stat.l2PselTrapTrillTtlErr, 1u);
        EXPECT_EQ(stat.l2TrillDone, 0u);
        port.rte_prc_l2_trill_trap_ttl0_err = port.rte_prc_l2_trill_trap_ttl1_err = 0;
        parse(bytes);
        EXPECT_EQ(stat.l2PselTrillTtlErr, 1u);
        EXPECT_EQ(stat.l2PselTrapTrillTtlErr, 0u);
        port.rte_prc_l2_trill_ck_ttl0 = hops == 1; // the other one's check
        port.rte_prc_l2_trill_ck_ttl1 = hops == 0;
        parse(bytes);
        EXPECT_EQ(stat.l2PselTrillTtlErr, 0u);
        EXPECT_EQ(stat.l2TrillDone, 1u);
        EXPECT_EQ(stat.l3IpVer, 4u);
    }
    parse(ipv4(inner(trill({.hopCnt = 2}))));
    EXPECT_EQ(stat.l2PselTrillTtlErr, 0u);
}

TEST_F(PrcTrillTest, WhatPassesTheOuterChecks) {
    port.rte_prc_l2_trill_ck_outer_sa = port.rte_prc_l2_trill_ck_outer_ucast_da = port.rte_prc_l2_trill_ck_outer_vid =
        port.rte_prc_l2_trill_ck_ver = port.rte_prc_l2_trill_ck_mc = 1;
    port.rte_prc_l2_trill_exp_outer_sa_w0 = kSa >> 32;
    port.rte_prc_l2_trill_exp_outer_sa_w1 = static_cast<uint32_t>(kSa);
    port.rte_prc_l2_trill_exp_outer_ucast_da_w0 = kDa >> 32;
    port.rte_prc_l2_trill_exp_outer_ucast_da_w1 = static_cast<uint32_t>(kDa);
    port.rte_prc_l2_trill_exp_outer_vid = 0x111;
    com.rte_l2_trill_exp_ver = 2;
    parse(ipv4(inner(trill({.outerVid = 0x111, .ver = 1}))));
    EXPECT_EQ(verdict(), kNoVerdict) << "a lower version passes";
    parse(ipv4(inner(trill({.outerVid = 0x111, .ver = 2}))));
    EXPECT_EQ(verdict(), kNoVerdict);
    parse(ipv4(inner(trill({.da = 0x020000000099, .outerVid = 0x112, .mc = 1}))));
    EXPECT_EQ(verdict(), kNoVerdict) << "multicast: any outer VLAN, and a unicast outer DA";
    parse(ipv4(inner(trill({.da = kAllRbDa, .outerVid = 0x111, .mc = 1}))));
    EXPECT_EQ(verdict(), kNoVerdict);
    // The port's default VLAN id has 13 bits, of which 12 count.
    port.rte_prc_def_outer_vlan_id = 0x1111;
    parse(ipv4(inner(trill())));
    EXPECT_EQ(verdict(), kNoVerdict);
    port.rte_prc_def_outer_vlan_id = 0x1112;
    EXPECT_NE(parseTrace(ipv4(inner(trill()))).find(line("PRC Trill outer VID (0x1112) mismatch.")), std::string::npos);
}

TEST_F(PrcTrillTest, UnicastFlagWithAllRbDaIsTheFlagsError) {
    port.rte_prc_l2_trill_ck_outer_ucast_da = port.rte_prc_l2_trill_ck_mc = 1;
    const auto bytes = ipv4(inner(trill({.da = kAllRbDa})));
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_TRILL_HDR));
    EXPECT_EQ(lastLine(bytes), line("PRC Trill DA-allrb, trill_mc expected err. DROP"));
}

TEST_F(PrcTrillTest, OrderOfVerdicts) {
    // Everything is wrong with this frame; each check in turn is switched off.
    port.rte_prc_l2_trill_ck_outer_sa = port.rte_prc_l2_trill_ck_outer_ucast_da = port.rte_prc_l2_trill_ck_outer_vid =
        port.rte_prc_l2_trill_ck_ver = port.rte_prc_l2_trill_ck_ttl0 = port.rte_prc_l2_trill_ck_cust_id_cfg =
            port.rte_prc_l2_trill_exp_cust_id = port.rte_prc_l2_trill_ck_loop = port.rte_prc_l2_ck_addr_lpbk =
                port.rte_prc_l2_ck_non_typlen = 1;
    port.rte_prc_l2_trill_exp_outer_vid = 0x110;
    const auto bytes =
        inner(trill({.outerVid = 0x111, .sbId = 0xbeef, .hopCnt = 0, .ver = 3}), 0x010000000001, 0x010000000001)
            .etyp(kNoMansLand)
            .fill(40)
            .bytes;
    const auto expectLast = [&](uint32_t rsn, const std::string &text) {
        parse(bytes);
        EXPECT_EQ(verdict(), dropOf(rsn));
        EXPECT_EQ(lastLine(bytes), line(text));
    };
    expectLast(7, "PRC Trill Outer SA err. DROP");
    port.rte_prc_l2_trill_ck_outer_sa = 0;
    expectLast(7, "PRC Trill, unexpected outer DA err. exp_outer_ucast_da = 00000000-00000000. "
                  "all_rb_da=00000180-c2000040. DROP");
    port.rte_prc_l2_trill_ck_outer_ucast_da = 0;
    expectLast(7, "PRC Trill outer VID err. DROP");
    port.rte_prc_l2_trill_ck_outer_vid = 0;
    expectLast(8, "PRC Trill version (3, exp=0) err. DROP");
    port.rte_prc_l2_trill_ck_ver = 0;
    expectLast(9, "PRC Trill TTL=0 err. DROP");
    port.rte_prc_l2_trill_ck_ttl0 = 0;
    expectLast(8, "PRC L2 Trill Customer ID Option err (exp_cust_id=1). DROP");
    EXPECT_EQ(stat.l2TrillSa, 0u) << "the nicknames are not read yet";
    port.rte_prc_l2_trill_ck_cust_id_cfg = 0;
    expectLast(10, "PRC Trill loop err. DROP");
    EXPECT_EQ(stat.l2TrillDone, 0u);
    port.rte_prc_l2_trill_ck_loop = 0;
    port.rte_prc_l2_ck_sa_bmcast = 1;
    expectLast(4, "PRC Trill inner SA is mcast err. innerSA=10000000001. DROP");
    EXPECT_EQ(stat.l2MacClsEn, 0u);
    EXPECT_EQ(stat.l2TrillDone, 1u);
    port.rte_prc_l2_ck_sa_bmcast = 0;
    expectLast(11, "PRC Trill inner MacSA==MacDA err. DROP");
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    port.rte_prc_l2_ck_addr_lpbk = 0;
    expectLast(5, "PRC L2 TypLen in no man's land err. DROP");
    EXPECT_EQ(stat.l2Da, 0x010000000001u);
}

TEST_F(PrcTrillTest, VersionBeforeMulticastFlagBeforeTtl) {
    port.rte_prc_l2_trill_ck_ver = port.rte_prc_l2_trill_ck_mc = port.rte_prc_l2_trill_ck_ttl1 = 1;
    const auto bytes = ipv4(inner(trill({.da = kAllRbDa, .hopCnt = 1, .ver = 1})));
    EXPECT_EQ(lastLine(bytes), line("PRC Trill version (1, exp=0) err. DROP"));
    port.rte_prc_l2_trill_ck_ver = 0;
    EXPECT_EQ(lastLine(bytes), line("PRC Trill DA-allrb, trill_mc expected err. DROP"));
    port.rte_prc_l2_trill_ck_mc = 0;
    EXPECT_EQ(lastLine(bytes), line("PRC Trill TTL=1 (trace route) err. DROP"));
}

TEST_F(PrcTrillTest, OrderOfOptionVerdicts) {
    port.rte_prc_l2_trill_exp_cust_id = port.rte_prc_l2_trill_ck_cust_id_cfg = port.rte_prc_l2_trill_trap_chbh_opt =
        port.rte_prc_l2_trill_ck_loop = port.rte_prc_l2_trill_ck_opt = 1;
    // The critical bit hides the customer-ID error and the unknown option, but not the loop.
    const auto critical = ipv4(inner(trill({.sbId = 0xbeef, .opt = 5}).num(0x80000000, 4)));
    EXPECT_EQ(lastLine(critical), line("PRC Trill loop err. DROP"));
    port.rte_prc_l2_trill_ck_loop = 0;
    EXPECT_EQ(lastLine(critical), line("PRC Trill CHBH option. TRAP"));
    port.rte_prc_l2_trill_ck_loop = 1;
    const auto plain = ipv4(inner(trill({.sbId = 0xbeef, .opt = 5}).num(0, 4)));
    EXPECT_EQ(lastLine(plain), line("PRC L2 Trill Customer ID Option err (exp_cust_id=1). DROP"));
    port.rte_prc_l2_trill_exp_cust_id = 0;
    EXPECT_EQ(lastLine(plain), line("PRC Trill loop err. DROP"));
    port.rte_prc_l2_trill_ck_loop = 0;
    EXPECT_EQ(lastLine(plain), line("PRC Trill option. DROP"));
    // Content: the customer-ID error comes first where an ID is expected.
    const auto content = ipv4(inner(trill({.opt = 3}).fill(12)));
    EXPECT_EQ(lastLine(content), line("PRC Trill option word0/1 mismatch. DROP"));
    port.rte_prc_l2_trill_exp_cust_id = 1;
    EXPECT_EQ(lastLine(content), line("PRC L2 Trill Customer ID Option err (exp_cust_id=1). DROP"));
}

TEST_F(PrcTrillTest, OwnNicknameIsTestedBehindTheOptionsFirstWord) {
    port.rte_prc_l2_trill_ck_loop = 1;
    const auto bytes = ipv4(inner(trill({.sbId = 0xbeef, .opt = 3}).fill(12)));
    // The options begin at 20: 20 + 7 rounds to 24.
    parse(bytes, 24);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    parse(bytes, 25);
    EXPECT_EQ(verdict(), dropOf(DRP_TRILL_LOOP));
}

TEST_F(PrcTrillTest, VerdictsThatClearTheTypeAndThoseThatDoNot) {
    // The type is 0 from the entry on; a verdict behind the inner type word leaves what that word set.
    port.rte_prc_l2_ck_multiple_c_tags = 1;
    parse(inner(trill()).tag(kCtagEtyp, 5).tag(kCtagEtyp, 6).fill(40).bytes);
    EXPECT_EQ(verdict(), dropOf(0));
    EXPECT_EQ(stat.l2Etyp, kCtagEtyp);
    port.rte_prc_l2_ck_s_tagged_on_c_port = 1;
    parse(inner(trill()).tag(kStagEtyp, 5).fill(40).bytes);
    EXPECT_EQ(verdict(), dropOf(0));
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
    port.rte_prc_l2_trill_ck_loop = 1;
    parse(ipv4(inner(trill({.sbId = 0xbeef}))));
    EXPECT_EQ(stat.l2Etyp, 0u);
}

// --- options ---

TEST_F(PrcTrillTest, CustomerId) {
    port.rte_prc_def_vpn_id = 0x11111;
    port.rte_prc_l2_trill_exp_cust_id = port.rte_prc_l2_trill_ck_cust_id_cfg = port.rte_prc_l2_trill_ck_opt = 1;
    const auto bytes = ipv4(inner(custIdOpt(trill({.opt = 3}), 0xabcde)));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 1u);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 0xabcdeu);
    EXPECT_EQ(stat.l2HdrLenAdj, 32u);
    EXPECT_EQ(stat.l2Da, kInDa);
    EXPECT_EQ(stat.l3Offset, 46u);
    EXPECT_NE(parseTrace(bytes).find(line("PRC Trill option: VPN_ID = 0xabcde")), std::string::npos);
    sPort();
    parse(bytes);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 1u);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 0x11111u) << "an S-port keeps its default";
    EXPECT_EQ(parseTrace(bytes).find("VPN_ID"), std::string::npos);
}

TEST_F(PrcTrillTest, CustomerIdMatchIsExact) {
    port.rte_prc_l2_trill_ck_opt = 1;
    const auto option = [](uint32_t word0, uint32_t word1) {
        return ipv4(inner(trill({.opt = 3}).num(word0, 4).num(word1, 4).num(5, 4)));
    };
    parse(option(0x40000000, 0x52860000));
    EXPECT_EQ(verdict(), kNoVerdict);
    for (uint32_t bitNum : {0u, 29u, 30u, 31u}) {
        parse(option(0x40000000 ^ 1u << bitNum, 0x52860000));
        EXPECT_EQ(verdict(), dropOf(DRP_TRILL_HDR)) << bitNum;
    }
    for (uint32_t bitNum = 16; bitNum < 32; bitNum++) {
        parse(option(0x40000000, 0x52860000 ^ 1u << bitNum));
        EXPECT_EQ(verdict(), dropOf(DRP_TRILL_HDR)) << bitNum;
    }
    // 0x1ff shifted by 7 is 0xff80; what a wider value has above is cut.
    com.trill_cust_id_option_word0 = 3;
    com.trill_cust_id_option_word1 = 0x3ff;
    parse(option(0xc0000000, 0xff861234));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 5u);
}

TEST_F(PrcTrillTest, BadOptionWithBothChecksOffStopsWithoutVerdict) {
    const auto bytes = ipv4(inner(trill({.opt = 3}).fill(12)));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillFound, 1u);
    EXPECT_EQ(stat.l2TrillDone, 0u);
    EXPECT_EQ(stat.l2TrillInnerDa, 0u);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 0u);
    EXPECT_EQ(stat.l2Da, kDa);
    EXPECT_EQ(stat.l3IpVer, 0u);
    port.rte_prc_l2_trill_exp_cust_id = 1; // without its check
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillDone, 0u);
}

TEST_F(PrcTrillTest, UnknownOptionIsReadAsTheInnerHeaderWhenExcused) {
    parse(ipv4(inner(trill({.opt = 5}))));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2HdrLenAdj, 20u);
    EXPECT_EQ(stat.l2TrillInnerDa, kInDa);
    EXPECT_EQ(stat.l3Offset, 34u);
}

TEST_F(PrcTrillTest, CustomerIdThatNobodyExpectsPassesWithoutItsCheck) {
    parse(ipv4(inner(custIdOpt(trill({.opt = 3}), 0x77))));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 0x77u);
}

TEST_F(PrcTrillTest, CustIdErrLeavesNoCustomerId) {
    port.rte_prc_l2_trill_ck_cust_id_cfg = 1;
    struct Case {
        const char *what;
        uint32_t expected;
        std::vector<uint8_t> frame;
    };
    const Case cases[] = {
        {"missing", 1, ipv4(inner(trill()))},
        {"of another length", 1, ipv4(inner(trill({.opt = 5})))},
        {"of other content", 1, ipv4(inner(trill({.opt = 3}).fill(12)))},
        {"unexpected", 0, ipv4(inner(custIdOpt(trill({.opt = 3}), 7)))},
    };
    for (const Case &c : cases) {
        port.rte_prc_l2_trill_exp_cust_id = c.expected;
        parse(c.frame);
        EXPECT_EQ(verdict(), dropOf(DRP_TRILL_HDR)) << c.what;
        EXPECT_EQ(stat.l2TrillRcvCustIdValid, 0u) << c.what;
        // Even a flag that was set is cleared.
        begin(c.frame);
        stat.l2TrillRcvCustIdValid = 1;
        uint32_t offset = 14;
        uint32_t typLen = 0;
        EXPECT_EQ(PrcTrill(&stat, offset, typLen), 0u) << c.what;
        EXPECT_EQ(stat.l2TrillRcvCustIdValid, 0u) << c.what;
    }
}

TEST_F(PrcTrillTest, CustIdErrWithItsCheckOffSaysNothing) {
    begin({});
    stat.dbgLvl = 4;
    EXPECT_EQ(printed([&] { PrcL2TrillCustIdErr(&stat); }), "");
    EXPECT_EQ(verdict(), kNoVerdict);
}

// --- the inner header ---

TEST_F(PrcTrillTest, InnerSTagAndCTagOnAnSPort) {
    sPort();
    setVlanTrans(0x123, 0x1abc);
    const auto bytes = ipv4(inner(trill()).tag(kStagEtyp, 0x123, 6, 1).tag(kCtagEtyp, 0x456, 3));
    parse(bytes);
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.l2QinqStag, 0x123u);
    EXPECT_EQ(stat.stagNz, 1u);
    EXPECT_EQ(stat.stagPrio, 6u);
    EXPECT_EQ(stat.stagDei, 1u);
    EXPECT_EQ(stat.xsvid, 0x1abcu);
    EXPECT_EQ(stat.xcvid, 0u);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctag, 0x456u);
    EXPECT_EQ(stat.l3Offset, 42u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_SVLAN], 32u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CVLAN], 36u);
    EXPECT_NE(parseTrace(bytes).find(line("eTypLen (0x88a8) is STag")), std::string::npos);
    parse(ipv4(inner(trill()).tag(kStagEtyp, 0)));
    EXPECT_EQ(stat.stagNz, 0u);
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.isCTagged, 0u);
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcTrillTest, InnerCnTag) {
    parse(ipv4(inner(trill()).etyp(kCnEtyp).num(0xface, 2)));
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.cntag, 0xfaceu);
    EXPECT_EQ(stat.l3Offset, 38u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CN_TAG], 32u);
    parse(ipv4(inner(trill()).tag(kCtagEtyp, 5).etyp(kCnEtyp).num(0xface, 2)));
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctagNz, 1u);
    EXPECT_EQ(stat.cntag, 0xfaceu);
    EXPECT_EQ(stat.l3Offset, 42u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CN_TAG], 36u);
}

TEST_F(PrcTrillTest, InnerCfi) {
    port.rte_prc_def_inner_vlan_cfi = 1;
    const auto bytes = ipv4(inner(trill()).tag(kCtagEtyp, 5, 0, 1));
    parse(bytes);
    EXPECT_EQ(stat.ctagCfi, 0u);
    EXPECT_EQ(stat.l3IpVer, 4u);
    port.rte_prc_l2_keep_cfi = 1;
    parse(bytes);
    EXPECT_EQ(stat.ctagCfi, 1u);
    port.rte_prc_l2_legacy_cfi_en = 1;
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2TrillInnerCfiDone, 1u);
    EXPECT_EQ(stat.l2Etyp, 0u);
    EXPECT_EQ(stat.l2Da, kInDa);
    EXPECT_EQ(stat.l2Sa, kInSa);
    EXPECT_EQ(stat.l3IpVer, 0u);
    EXPECT_EQ(lastLine(bytes), line("CFI=1 taken as token ring or alike, stop parsing further."));
    parse(ipv4(inner(trill()).tag(kCtagEtyp, 5, 0, 0)));
    EXPECT_EQ(stat.l2TrillInnerCfiDone, 0u);
    EXPECT_EQ(stat.ctagCfi, 0u) << "the default is for frames without a tag";
}

TEST_F(PrcTrillTest, ExcusedInnerSTagPrintsItsThreeLines) {
    const auto bytes = inner(trill()).tag(kStagEtyp, 5).etyp(kIpv4Etyp).fill(40).bytes;
    EXPECT_TRUE(endsWith(parseTrace(bytes),
                         line("PRC S-TAG on a C-PORT excused") + line("S-TAG at the worng location. excused") +
                             line("S-TAG at the worng location. Treated as unknown ULP and excused")));
    EXPECT_EQ(parseTrace(bytes, 3).find("excused"), std::string::npos);
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
    EXPECT_EQ(stat.l3IpVer, 0u);
    // The excuse of the first place stands in front of the verdict too.
    port.rte_prc_l2_ck_s_tagged_on_c_port = 1;
    EXPECT_TRUE(
        endsWith(parseTrace(bytes), line("PRC S-TAG on a C-PORT excused") + line("PRC S-TAG on a C-PORT. DROP")));
    EXPECT_EQ(parseTrace(ipv4(inner(trill()))).find("excused"), std::string::npos);
}

TEST_F(PrcTrillTest, InnerSTagBehindALoneCTagOnAnSPortIsNoError) {
    sPort();
    port.rte_prc_l2_ck_multiple_s_tags = port.rte_prc_l2_ck_s_tagged_on_c_port = 1;
    parse(ipv4(inner(trill()).tag(kCtagEtyp, 5).tag(kStagEtyp, 6)));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
    EXPECT_EQ(stat.l3IpVer, 0u);
}

TEST_F(PrcTrillTest, InnerNoMansLandErrorClearsTheTypeOfATagThatDoesNotCount) {
    sPort();
    port.rte_prc_l2_ck_non_typlen = 1;
    parse(inner(trill()).tag(kCtagEtyp, 5).etyp(kNoMansLand).fill(40).bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_TYP));
    EXPECT_EQ(stat.l2Etyp, 0u);
}

TEST_F(PrcTrillTest, TagExcusedInBothPlacesPrintsBothLines) {
    sPort();
    const std::string excuse = line("PRC multiple S-TAG excused");
    EXPECT_TRUE(endsWith(parseTrace(ipv4(inner(trill()).tag(kStagEtyp, 5).tag(kCtagEtyp, 6).tag(kStagEtyp, 7))),
                         excuse + excuse));
}

TEST_F(PrcTrillTest, ExcusedInnerNoMansLandIsTracedOnce) {
    const std::string found = "CM port=3, frameIdx=17>>eTypLen is in no man's land: 5dd\n";
    const std::string out = parseTrace(inner(trill()).etyp(kNoMansLand).fill(40).bytes);
    EXPECT_TRUE(endsWith(out, found));
    EXPECT_EQ(out.find(found), out.rfind(found));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2Etyp, 0u);
}

TEST_F(PrcTrillTest, InnerSnap) {
    parse(inner(trill()).etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp).fill(40).bytes);
    EXPECT_EQ(stat.l2SnapEnc, 1u);
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.l3Offset, 42u);
}

TEST_F(PrcTrillTest, InnerLoopHasNoPauseAbort) {
    port.rte_prc_l2_ck_addr_lpbk = 1;
    macInf.isPauseFrm = 1;
    parse(ipv4(inner(trill(), kInDa, kInDa)));
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE));
}

// --- frames cut at every length: the TRILL register traps, the plain one drops ---

TEST_F(PrcTrillTest, CutWithoutOptions) {
    port.rte_prc_l2_trill_trap_eof_err = 1;
    // Nicknames: 14 + 7 rounds to 20. Inner header at 20, its type word at 32: 32 + 5 rounds to 36.
    expectCuts(ipv4(inner(trill())), {{1, 20, kHdrVioTrap}, {21, 36, dropOf(DRP_EOF)}, {37, 60, kNoVerdict}});
    const auto bytes = ipv4(inner(trill()));
    parse(bytes, 20);
    EXPECT_EQ(stat.l2TrillDone, 0u);
    EXPECT_EQ(lastLine(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 20)), line("PRC L2 Trill EOF err. TRAP"));
    parse(bytes, 21);
    EXPECT_EQ(stat.l2TrillDone, 1u);
    EXPECT_EQ(stat.l2TrillInnerSa, 0u);
    parse(bytes, 29); // 20 + 9 rounds to 28
    EXPECT_EQ(stat.l2TrillInnerSa, kInSa & 0xffffff000000);
    EXPECT_EQ(stat.l2MacClsEn, 0u);
    parse(bytes, 33); // 20 + 15 rounds to 32
    EXPECT_EQ(stat.l2MacClsDa, kInDa);
    parse(bytes, 37);
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcTrillTest, CutBehindAnOuterVlan) {
    port.rte_prc_l2_trill_trap_eof_err = 1;
    // Nicknames: 18 + 7 rounds to 24. Inner type word at 36: 36 + 5 rounds to 40.
    expectCuts(ipv4(inner(trill({.outerVid = 5}))),
               {{1, 24, kHdrVioTrap}, {25, 40, dropOf(DRP_EOF)}, {41, 60, kNoVerdict}});
}

TEST_F(PrcTrillTest, CutInTheCustomerId) {
    port.rte_prc_l2_trill_trap_eof_err = 1;
    // The option at 20: + 7 rounds to 24, + 9 to 28, + 15 to 32. The inner header at 32, its type word at 44: to 48.
    const auto bytes = ipv4(inner(custIdOpt(trill({.opt = 3}), 0x77)));
    expectCuts(bytes, {{1, 32, kHdrVioTrap}, {33, 48, dropOf(DRP_EOF)}, {49, 70, kNoVerdict}});
    parse(bytes, 32);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 0u);
    parse(bytes, 33);
    EXPECT_EQ(stat.l2TrillRcvCustIdValid, 1u);
    // A bad option shows as soon as its second word counts as read.
    port.rte_prc_l2_trill_ck_opt = 1;
    expectCuts(ipv4(inner(trill({.opt = 3}).fill(12))), {{1, 28, kHdrVioTrap}, {29, 40, dropOf(DRP_TRILL_HDR)}});
}

TEST_F(PrcTrillTest, CutInAnUnknownOption) {
    port.rte_prc_l2_trill_trap_eof_err = 1;
    // The option's first word at 20, which is then read as the inner header: type word at 32.
    expectCuts(ipv4(inner(trill({.opt = 5}))), {{1, 24, kHdrVioTrap}, {25, 36, dropOf(DRP_EOF)}, {37, 60, kNoVerdict}});
}

TEST_F(PrcTrillTest, CutInTheInnerTags) {
    port.rte_prc_l2_trill_trap_eof_err = 1;
    // A C-tag at 32, the type word at 36: 36 + 5 rounds to 40.
    expectCuts(ipv4(inner(trill()).tag(kCtagEtyp, 5)),
               {{1, 20, kHdrVioTrap}, {21, 40, dropOf(DRP_EOF)}, {41, 60, kNoVerdict}});
    // S-tag at 32, C-tag at 36, the type word at 40.
    sPort();
    const auto bytes = ipv4(inner(trill()).tag(kStagEtyp, 5).tag(kCtagEtyp, 6));
    expectCuts(bytes, {{1, 20, kHdrVioTrap}, {21, 44, dropOf(DRP_EOF)}, {45, 60, kNoVerdict}});
    parse(bytes, 37); // 32 + 7 rounds to 36: the control word is read
    EXPECT_EQ(stat.stagNz, 1u);
    EXPECT_EQ(stat.isCTagged, 0u);
    parse(bytes, 41);
    EXPECT_EQ(stat.isCTagged, 1u);
}

TEST_F(PrcTrillTest, CutInTheFirstHeaderWordGoesByTheTrillRegister) {
    // At 16, where no tag leads: 16 + 5 rounds to 20.
    const auto bytes = ipv4(inner(Frame().fill(16).trill(kDbId, kSbId, 9)));
    for (uint32_t trap : {0u, 1u}) {
        port.rte_prc_l2_trill_trap_eof_err = trap;
        begin(bytes, 20);
        uint32_t offset = 16;
        uint32_t typLen = 0;
        stat.dbgLvl = 4;
        const std::string out = decisions(printed([&] { EXPECT_EQ(PrcTrill(&stat, offset, typLen), 0u); }));
        EXPECT_EQ(verdict(), trap ? kHdrVioTrap : dropOf(DRP_EOF));
        EXPECT_TRUE(
            endsWith(out, line("PRC L2 EOF err.") + line(std::string("PRC L2 EOF err. ") + (trap ? "TRAP" : "DROP"))));
        EXPECT_EQ(out.find("trillUcastExpOuterDa"), std::string::npos);
    }
}

TEST_F(PrcTrillTest, ReturnsTheInnerTypeAndThePlaceBehindIt) {
    begin(ipv4(inner(Frame().fill(14).trill(0xbeef, kSbId, 9))));
    stat.l2Etyp = 0x1234;
    stat.xsvid = stat.xcvid = 1;
    stat.l2TrillInnerVlanTagged = stat.l2TrillInnerDaIsCtl = 1;
    uint32_t offset = 14;
    uint32_t typLen = 0;
    EXPECT_EQ(PrcTrill(&stat, offset, typLen), 1u);
    EXPECT_EQ(offset, 34u);
    EXPECT_EQ(typLen, kIpv4Etyp);
    EXPECT_EQ(etypIsIpv4, 1u);
    EXPECT_EQ(stat.l2TrillInnerVlanTagged, 0u);
    EXPECT_EQ(stat.l2TrillInnerDaIsCtl, 0u);
    EXPECT_EQ(stat.xsvid + stat.xcvid, 0u);
    EXPECT_EQ(stat.l2TrillEgr, 0u) << "nobody found TRILL";
}

TEST_F(PrcTrillTest, AnyRegistersAndAnyBytesStayInTheFrame) {
    RandomWords rng(2);
    com.rte_l2_fcoe_etyp = com.fip_etyp;
    for (int round = 0; round < 3000; round++) {
        for (uint32_t i = 0; i < sizeof port / sizeof(uint32_t); i++)
            regWords(port)[i] = rng() & (rng() & rng() & 1);
        port.rte_prc_l2_lu_en = port.rte_prc_l2_trill_en = 1;
        port.rte_prc_ctag_etyp = kCtagEtyp;
        port.rte_prc_stag_etyp = kStagEtyp;
        const uint32_t typs[] = {kCtagEtyp, kStagEtyp, kTrillEtyp, kCnEtyp, kIpv4Etyp, 48};
        const auto pick = static_cast<uint32_t>(rng());
        Frame frame =
            trill({.sbId = pick & 1 ? kSbId : 0xbeef, .hopCnt = bits(pick, 2, 1), .opt = bits(pick, 9, 3) % 3 * 3});
        frame.fill(rng() % 13);
        inner(frame);
        frame.mac(kInDa, kInSa);
        for (int i = 0; i < 5; i++)
            frame.etyp(typs[rng() % 6]).num(rng(), rng() % 3 * 2);
        parse(frame.bytes, 17 + rng() % 60);
        EXPECT_LE(stat.l2PrcTrap + stat.l2PrcDrop, 1u);
    }
}

} // namespace
