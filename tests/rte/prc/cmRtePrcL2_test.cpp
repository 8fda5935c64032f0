// Layer-2 parsing: addresses, tags, and the verdicts on them.

#include "frame_builder.h"
#include "prc_fixture.h"
#include "random_words.h"
#include "reg_name.h"

namespace {

using ComReg = CmRteHsiComReg;
using PortReg = CmRteHsiPortReg;
using PrcVlanTrans = PrcTest;

Frame eth(uint64_t da = kDa, uint64_t sa = kSa) {
    return Frame().mac(da, sa);
}

std::vector<uint8_t> padded(Frame frame) {
    return frame.fill(40, 0x5a).bytes;
}

class PrcL2Test : public PrcTest {
protected:
    void sPort() { port.rte_prc_vlan_mode = 1; }
    void trillPort() { port.rte_prc_l2_trill_en = 1; }
};

// --- entry ---

TEST_F(PrcL2Test, DisabledLookupDropsBeforeAnyByteIsRead) {
    port.rte_prc_l2_lu_en = 0;
    port.rte_prc_def_vpn_id = 0x54321;
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_NOT_EN));
    EXPECT_EQ(stat.l2OuterDa, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_MAC], 0u);
    EXPECT_EQ(stat.l2TrillRcvVpnId, 0x54321u);
    EXPECT_EQ(parseTrace(bytes), line("PRC L2, TRILL-PORT: 0, S-PORT:0") + line("PRC L2 Lookup Not Enabled. DROP"));
    EXPECT_EQ(parseTrace(bytes, 1), "");
    port.rte_prc_vlan_mode = 1;
    port.rte_prc_l2_trill_en = 1;
    EXPECT_EQ(parseTrace(bytes), line("PRC L2, TRILL-PORT: 1, S-PORT:1") + line("PRC L2 Lookup Not Enabled. DROP"));
}

TEST_F(PrcL2Test, EntryResetsWhatAnEarlierParseLeft) {
    begin(padded(eth().etyp(0x9999)));
    stat.l2TrillFound = stat.l2TrillRcvCustIdValid = stat.l2SnapEnc = stat.ctagCfi = 1;
    stat.l2CtlVlanOverride = stat.l2CtlSkipIvf = stat.xsvid = stat.xcvid = 1;
    PrcL2(&stat);
    EXPECT_EQ(stat.l2TrillFound + stat.l2TrillRcvCustIdValid + stat.l2SnapEnc + stat.ctagCfi, 0u);
    EXPECT_EQ(stat.l2CtlVlanOverride + stat.l2CtlSkipIvf + stat.xsvid + stat.xcvid, 0u);
}

TEST_F(PrcL2Test, UntaggedAndControlFramesSetTheirTagFieldsAnew) {
    begin(padded(eth().etyp(0x9999)));
    stat.ctag = 5;
    stat.isCTagged = stat.ctagNz = stat.isCnTagged = stat.l2OuterVlanTagged = stat.l2OuterDaIsCtl = 1;
    PrcL2(&stat);
    EXPECT_EQ(stat.isCTagged + stat.ctagNz + stat.isCnTagged + stat.l2OuterVlanTagged + stat.l2OuterDaIsCtl, 0u);
    trillPort();
    port.rte_prc_l2_trill_da_ctl_vld_0 = 1 << 7;
    begin(padded(eth(7, kSa).etyp(0x9999)));
    stat.l2Etyp = stat.l2OuterRcvCfi = stat.ctagCfi = 1;
    PrcL2(&stat);
    EXPECT_EQ(stat.l2OuterDaIsCtl, 1u);
    EXPECT_EQ(stat.l2Etyp + stat.l2OuterRcvCfi + stat.ctagCfi, 0u);
}

TEST_F(PrcL2Test, UntaggedIpv4) {
    port.rte_prc_def_inner_vlan_id = 0x1123;
    port.rte_prc_def_inner_vlan_prio = 5;
    port.rte_prc_def_inner_vlan_cfi = 1;
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2OuterDa, kDa);
    EXPECT_EQ(stat.l2OuterSa, kSa);
    EXPECT_EQ(stat.l2Da, kDa);
    EXPECT_EQ(stat.l2Sa, kSa);
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    EXPECT_EQ(stat.l2MacClsDa, kDa);
    EXPECT_EQ(stat.l2MacClsSa, kSa);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.l3Offset, 14u);
    EXPECT_EQ(stat.l2OuterRcvVid, 0x1123u);
    EXPECT_EQ(stat.l2OuterRcvPrio, 5u);
    EXPECT_EQ(stat.l2OuterRcvCfi, 1u);
    EXPECT_EQ(stat.ctagCfi, 1u);
    EXPECT_EQ(stat.isCTagged, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_MAC], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_MAC], 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_VLAN], 0u);
    EXPECT_EQ(parseTrace(bytes), line("PRC L2, TRILL-PORT: 0, S-PORT:0") +
                                     line("PRC L2 OuterDA=0x20102030405, OuterSA=0x21112131415, OuterDaIsCtl=0"));
}

TEST_F(PrcL2Test, UpperLayers) {
    parse(padded(eth().etyp(kIpv6Etyp)));
    EXPECT_EQ(stat.l3IpVer, 6u);
    EXPECT_EQ(stat.l3Offset, 14u);
    parse(padded(eth().etyp(kQcnEtyp)));
    EXPECT_EQ(stat.l2RcvQcn, 1u);
    EXPECT_EQ(stat.l3IpVer, 0u);
    parse(padded(eth().etyp(0x8914)));
    EXPECT_EQ(stat.l2FipFound, 1u);
    EXPECT_EQ(stat.l2FipOffset, 14u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_FIP], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FIP], 14u);
    parse(padded(eth().tag(kCtagEtyp, 5).etyp(0x8906)));
    EXPECT_EQ(stat.l2FcoeFound, 1u);
    EXPECT_EQ(stat.l2FcoeOffset, 18u);
    parse(padded(eth().etyp(0x9999)));
    EXPECT_EQ(stat.l2Etyp, 0x9999u);
    EXPECT_EQ(stat.l2RcvQcn + stat.l2FipFound + stat.l2FcoeFound + stat.l3IpVer, 0u);
}

TEST_F(PrcL2Test, TraceOfATaggedSnapFrameInItsOrder) {
    sPort();
    begin(padded(eth().tag(kStagEtyp, 0x123).tag(kCtagEtyp, 5).etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp)));
    stat.dbgLvl = 4;
    std::string out = printed([&] { PrcL2(&stat); });
    for (size_t at = 0; (at = out.find("ClsEtyp ", at)) != std::string::npos;)
        out.erase(at + 7, out.find('\n', at) - at - 7);
    EXPECT_EQ(out, line("PRC L2, TRILL-PORT: 0, S-PORT:1") +
                       line("Flex key OUTER_MAC (0) detected at offset=0 val=0x2") +
                       line("PRC L2 OuterDA=0x20102030405, OuterSA=0x21112131415, OuterDaIsCtl=0") +
                       line("Flex key SVLAN (4) detected at offset=12 val=0x88") +
                       line("Packet is QinQ tagged. S-TAG=0x123") + line("ClsEtyp") +
                       line("Flex key OUTER_VLAN (1) detected at offset=16 val=0x81") + line("ClsEtyp") +
                       line("ClsEtyp") + line("Flex key LLC (6) detected at offset=22 val=0xaa") +
                       line("Flex key SNAP (7) detected at offset=24 val=0x3") + line("ClsEtyp") +
                       line("LLC SNAP frame with Ethertype 800"));
}

// --- control addresses ---

TEST(PrcL2CkDaCtl, PrefixAndMask) {
    // Prefix 0180c200000x, addresses 0 and 14 are control ones.
    EXPECT_EQ(PrcL2CkDaCtl(0x0180c2000000, 0x4001, 0x0180, 0xc2000000), 1u);
    EXPECT_EQ(PrcL2CkDaCtl(0x0180c200000e, 0x4001, 0x0180, 0xc2000000), 1u);
    EXPECT_EQ(PrcL2CkDaCtl(0x0180c2000001, 0x4001, 0x0180, 0xc2000000), 0u);
    EXPECT_EQ(PrcL2CkDaCtl(0x0180c2000010, 0xffff, 0x0180, 0xc2000000), 0u);
    EXPECT_EQ(PrcL2CkDaCtl(0x0181c2000000, 0xffff, 0x0180, 0xc2000000), 0u);
    EXPECT_EQ(PrcL2CkDaCtl(0x0180c200000f, 0x8000, 0xf0180, 0xc2000000), 1u) << "16 bits of the first word count";
}

TEST_F(PrcL2Test, EachControlClassEndsTheParseAtATrillPort) {
    trillPort();
    com.rte_l2_da_ctl_addr_prefix_0_w0 = com.rte_l2_da_ctl_addr_prefix_1_w0 = com.rte_l2_da_ctl_addr_prefix_2_w0 =
        com.rte_l2_da_ctl_addr_prefix_3_w0 = 0x0180;
    com.rte_l2_da_ctl_addr_prefix_0_w1 = 0xc200000; // the register leaves the low four bits out
    com.rte_l2_da_ctl_addr_prefix_1_w1 = 0xc200001;
    com.rte_l2_da_ctl_addr_prefix_2_w1 = 0xc200002;
    com.rte_l2_da_ctl_addr_prefix_3_w1 = 0xc200003;
    port.rte_prc_l2_trill_da_ctl_vld_0 = 1 << 0;
    port.rte_prc_l2_trill_da_ctl_vld_1 = 1 << 1;
    port.rte_prc_l2_trill_da_ctl_vld_2 = 1 << 2;
    port.rte_prc_l2_trill_da_ctl_vld_3 = 1 << 3;
    for (uint32_t cls = 0; cls < 4; cls++)
        for (uint32_t low = 0; low < 16; low++) {
            parse(padded(eth(0x0180c2000000u + cls * 16 + low, kSa).etyp(kIpv4Etyp)));
            EXPECT_EQ(stat.l2OuterDaIsCtl, cls == low ? 1u : 0u) << cls << " " << low;
        }
}

TEST_F(PrcL2Test, ControlFrameAtATrillPort) {
    trillPort();
    com.rte_l2_da_ctl_addr_prefix_2_w0 = 0x0180;
    com.rte_l2_da_ctl_addr_prefix_2_w1 = 0xc200000;
    port.rte_prc_l2_trill_da_ctl_vld_2 = 0xffff;
    port.rte_prc_l2_trill_vlan_override = 1;
    port.rte_prc_l2_trill_ck_outer_ctl_da = 1;
    const auto bytes = padded(eth(0x0180c2000005, kSa).etyp(kNoMansLand));
    port.rte_prc_l2_ck_non_typlen = 1;
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2OuterDaIsCtl, 1u);
    EXPECT_EQ(stat.l2CtlVlanOverride, 1u);
    EXPECT_EQ(stat.l2CtlSkipIvf, 0u);
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    EXPECT_EQ(stat.l2MacClsDa, 0x0180c2000005u);
    EXPECT_EQ(stat.l2MacClsSa, kSa);
    EXPECT_EQ(stat.l2Da, 0x0180c2000005u);
    EXPECT_EQ(stat.l2Etyp, 0u);
    port.rte_prc_l2_trill_vlan_override = 0;
    port.rte_prc_l2_trill_skip_ivf = 1;
    EXPECT_TRUE(endsWith(parseTrace(bytes), line("PRC Trill port, outer DA is control. vlan_ovrd=0, skip_ivf=1")));
    port.rte_prc_l2_trill_en = 0;
    parse(bytes);
    EXPECT_EQ(stat.l2OuterDaIsCtl, 0u);
}

// --- errors ---

L2Err untagged(const char *name, uint32_t PortReg::*ck, uint32_t PortReg::*trap, uint32_t rsn, uint64_t da, uint64_t sa,
               const std::string &text) {
    return {name,
            ck,
            trap,
            rsn,
            [=](ComReg &, PortReg &) { return padded(eth(da, sa).etyp(kIpv4Etyp)); },
            text + "TRAP",
            text + "DROP",
            ""};
}

const std::string kOuterLines = "PRC Trill port, Ethertype is not TRILL and outer DA is not control MAC err. ";
const std::string kExcusedLine =
    "PRC Trill port, non-Trill ethertype and non-control packet. Excused, but stop parsing L2.";

std::vector<L2Err> l2Errs() {
    std::vector<L2Err> errs;
    errs.push_back(untagged("AllRbDa", &PortReg::rte_prc_l2_ck_da_all_rb, &PortReg::rte_prc_l2_trap_da_all_rb_err, 3,
                            kAllRbDa, kSa, "PRC no-Trill port, all_rb DA err. "));
    errs.push_back(untagged("SaGroup", &PortReg::rte_prc_l2_ck_sa_bmcast, &PortReg::rte_prc_l2_trap_sa_bmcast, 4, kDa,
                            0x010000000001, "PRC L2 SA mcast err. "));
    errs.back().trapLine = "PRC L2 SA mcast err. TRAP -- que=11";
    errs.push_back(untagged("SaIsDa", &PortReg::rte_prc_l2_ck_addr_lpbk, &PortReg::rte_prc_l2_trap_addr_lpbk_err, 11,
                            kDa, kDa, ""));
    errs.back().trapLine = "CM port=3, frameIdx=17, PRC L2 loop SA==DA. TRAP, que=11";
    errs.back().dropLine = "CM port=3, frameIdx=17, PRC L2 loop SA==DA. DROP";
    errs.push_back({"Eof", nullptr, &PortReg::rte_prc_l2_trap_eof_err, 12,
                    [](ComReg &, PortReg &) { return eth().bytes; }, "PRC L2 EOF err. TRAP", "PRC L2 EOF err. DROP",
                    ""});
    errs.push_back({"EofAtTrillPort", nullptr, &PortReg::rte_prc_l2_trill_trap_eof_err, 12,
                    [](ComReg &, PortReg &p) {
                        p.rte_prc_l2_trill_en = 1;
                        return eth().bytes;
                    },
                    "PRC L2 EOF err. TRAP", "PRC L2 EOF err. DROP", ""});

    const auto sTag = [](const char *name, std::function<Frame()> frame) {
        return L2Err{name,
                     &PortReg::rte_prc_l2_ck_multiple_s_tags,
                     &PortReg::rte_prc_l2_trap_multiple_s_tags_err,
                     0,
                     [=](ComReg &, PortReg &p) {
                         p.rte_prc_vlan_mode = 1;
                         return padded(frame());
                     },
                     "PRC multiple S-TAG. TRAP",
                     "PRC multiple S-TAG. DROP",
                     "PRC multiple S-TAG excused"};
    };
    errs.push_back(sTag("SecondSTag", [] { return eth().tag(kStagEtyp, 5).tag(kStagEtyp, 6).etyp(0x9999); }));
    errs.push_back(sTag("STagBehindBothTags",
                        [] { return eth().tag(kStagEtyp, 5).tag(kCtagEtyp, 6).tag(kStagEtyp, 7).etyp(0x9999); }));

    const auto cTag = [](const char *name, std::function<Frame()> frame) {
        return L2Err{name,
                     &PortReg::rte_prc_l2_ck_multiple_c_tags,
                     &PortReg::rte_prc_l2_trap_multiple_c_tags_err,
                     0,
                     [=](ComReg &, PortReg &) { return padded(frame()); },
                     "PRC multiple C-TAG. TRAP",
                     "PRC multiple C-TAG. DROP",
                     "PRC multiple C-TAG excused"};
    };
    errs.push_back(cTag("SecondCTag", [] { return eth().tag(kCtagEtyp, 5).tag(kCtagEtyp, 6).etyp(0x9999); }));
    errs.push_back(cTag("SecondCTagBehindSnap",
                        [] { return eth().tag(kCtagEtyp, 5).etyp(48).hex("aaaa03000000").tag(kCtagEtyp, 6); }));

    const auto cPort = [](const char *name, std::function<Frame()> frame) {
        return L2Err{name,
                     &PortReg::rte_prc_l2_ck_s_tagged_on_c_port,
                     &PortReg::rte_prc_l2_trap_s_tagged_on_c_port_err,
                     0,
                     [=](ComReg &, PortReg &) { return padded(frame()); },
                     "PRC S-TAG on a C-PORT. TRAP",
                     "PRC S-TAG on a C-PORT. DROP",
                     "S-TAG at the worng location. Treated as unknown ULP and excused"};
    };
    errs.push_back(cPort("STagOnCPort", [] { return eth().tag(kStagEtyp, 5).etyp(kIpv4Etyp); }));
    errs.push_back(
        cPort("STagBehindCTagOnCPort", [] { return eth().tag(kCtagEtyp, 5).tag(kStagEtyp, 5).etyp(kIpv4Etyp); }));

    const auto noType = [](const char *name, std::function<Frame()> frame) {
        return L2Err{name,
                     &PortReg::rte_prc_l2_ck_non_typlen,
                     &PortReg::rte_prc_l2_trap_non_typlen,
                     5,
                     [=](ComReg &, PortReg &) { return padded(frame()); },
                     "PRC L2 TypLen in no man's land err. TRAP",
                     "PRC L2 TypLen in no man's land err. DROP",
                     "CM port=3, frameIdx=17>>eTypLen is in no man's land: 5dd",
                     1};
    };
    errs.push_back(noType("NoMansLand", [] { return eth().etyp(kNoMansLand); }));
    errs.push_back(noType("NoMansLandBehindTag", [] { return eth().tag(kCtagEtyp, 5).etyp(kNoMansLand); }));
    for (size_t i = errs.size() - 2; i < errs.size(); i++) {
        // The finding is traced in front of the verdict too.
        errs[i].trapLine = errs[i].excuse + "\n" + "CM port=3, frameIdx=17>> " + errs[i].trapLine;
        errs[i].dropLine = errs[i].excuse + "\n" + "CM port=3, frameIdx=17>> " + errs[i].dropLine;
        errs[i].excuse = "";
    }

    errs.push_back({"SnapNonTyp", &PortReg::rte_prc_l2_ck_snap_non_typ, &PortReg::rte_prc_l2_trap_snap_non_typ, 5,
                    [](ComReg &, PortReg &) { return padded(eth().etyp(48).hex("aaaa03000000").etyp(48)); },
                    "LLC SNAP invalid ethertype. TRAP", "LLC SNAP invalid ethertype. DROP",
                    "LLC SNAP -- invalid Ethertype (excused but stop parsing)", 2, 2});

    const auto nonTrill = [](const char *name, std::function<Frame()> frame) {
        return L2Err{name,
                     &PortReg::rte_prc_l2_trill_ck_outer_ctl_da,
                     &PortReg::rte_prc_l2_trill_trap_outer_ctl_da_err,
                     6,
                     [=](ComReg &, PortReg &p) {
                         p.rte_prc_l2_trill_en = 1;
                         return padded(frame());
                     },
                     kOuterLines + "TRAP",
                     kOuterLines + "DROP",
                     kExcusedLine,
                     1};
    };
    errs.push_back(nonTrill("NonTrillAtTrillPort", [] { return eth().etyp(kIpv4Etyp); }));
    errs.push_back(nonTrill("NonTrillBehindOuterVlan", [] { return eth().tag(kOuterVlanEtyp, 5).etyp(kIpv4Etyp); }));
    return errs;
}

class PrcL2ErrTest : public L2ErrTest {};
TEST_P(PrcL2ErrTest, CheckOffLetsItPass) {
    checkOff();
}
TEST_P(PrcL2ErrTest, CheckOnWithTrap) {
    checkOn(1);
}
TEST_P(PrcL2ErrTest, CheckOnWithDrop) {
    checkOn(0);
}
INSTANTIATE_TEST_SUITE_P(Errors, PrcL2ErrTest, testing::ValuesIn(l2Errs()),
                         [](const auto &param) { return std::string(param.param.name); });

TEST_F(PrcL2Test, EofErrorTracesTwoLines) {
    EXPECT_EQ(parseTrace(eth().bytes, 4, 8),
              line("PRC L2, TRILL-PORT: 0, S-PORT:0") + line("PRC L2 EOF err.") + line("PRC L2 EOF err. DROP"));
}

TEST_F(PrcL2Test, PauseDrop) {
    macInf.isPauseFrm = 1;
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE));
    EXPECT_EQ(stat.l2Da, 0u);
    EXPECT_EQ(stat.l3IpVer, 0u);
    EXPECT_TRUE(endsWith(parseTrace(bytes), line("PAUSE Frame. DROP")));
}

// --- which verdict comes first ---

TEST_F(PrcL2Test, ShortestFramesEndBeforeTheAddressChecks) {
    port.rte_prc_l2_ck_da_all_rb = 1;
    port.rte_prc_l2_ck_sa_bmcast = 1;
    const auto bytes = padded(eth(kAllRbDa, 0x010000000001).etyp(kIpv4Etyp));
    for (uint32_t len = 1; len <= 8; len++) {
        parse(bytes, len);
        EXPECT_EQ(verdict(), dropOf(DRP_EOF)) << len;
    }
    for (uint32_t len = 9; len <= 12; len++) {
        parse(bytes, len);
        EXPECT_EQ(verdict(), dropOf(DRP_L2_ALL_RB_DA)) << len;
    }
    port.rte_prc_l2_ck_da_all_rb = 0;
    for (uint32_t len = 9; len <= 12; len++) {
        parse(bytes, len);
        EXPECT_EQ(verdict(), dropOf(DRP_EOF)) << len << ": the SA is not checked";
    }
    parse(bytes, 13);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_SA));
}

TEST_F(PrcL2Test, AllRbDaBeforeSaGroupBeforeLoopBeforeEof) {
    port.rte_prc_l2_ck_da_all_rb = port.rte_prc_l2_ck_sa_bmcast = port.rte_prc_l2_ck_addr_lpbk = 1;
    port.rte_prc_l2_trap_eof_err = 1;
    const auto bytes = eth(kAllRbDa, kAllRbDa).fill(2).bytes; // a group address; 14 bytes
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_ALL_RB_DA));
    port.rte_prc_l2_ck_da_all_rb = 0;
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_SA));
    EXPECT_EQ(stat.l2MacClsEn, 0u);
    port.rte_prc_l2_ck_sa_bmcast = 0;
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_SRC));
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    port.rte_prc_l2_ck_addr_lpbk = 0;
    parse(bytes);
    EXPECT_EQ(verdict(), kHdrVioTrap);
}

TEST_F(PrcL2Test, AllRbDaAndLoopPassAtATrillPort) {
    trillPort();
    port.rte_prc_l2_ck_da_all_rb = port.rte_prc_l2_ck_addr_lpbk = 1;
    parse(padded(eth(kAllRbDa, kAllRbDa).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), kNoVerdict);
    port.rte_prc_l2_ck_sa_bmcast = 1;
    parse(padded(eth(kAllRbDa, kAllRbDa).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), dropOf(DRP_L2_SA));
}

TEST_F(PrcL2Test, AllRbDaNeedsBothWords) {
    port.rte_prc_l2_ck_da_all_rb = 1;
    parse(padded(eth(kAllRbDa ^ 1, kSa).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), kNoVerdict);
    parse(padded(eth(kAllRbDa ^ 1ull << 40, kSa).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), kNoVerdict);
}

TEST_F(PrcL2Test, ShortFrameTrapBeatsPauseAndPauseBeatsItsDrop) {
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    for (uint32_t len = 13; len <= 16; len++) {
        macInf.isPauseFrm = 1;
        port.rte_prc_l2_trap_eof_err = 1;
        parse(bytes, len);
        EXPECT_EQ(verdict(), kHdrVioTrap) << len;
        port.rte_prc_l2_trap_eof_err = 0;
        parse(bytes, len);
        EXPECT_EQ(verdict(), dropOf(DRP_PAUSE)) << len;
        macInf.isPauseFrm = 0;
        parse(bytes, len);
        EXPECT_EQ(verdict(), dropOf(DRP_EOF)) << len;
    }
    macInf.isPauseFrm = 1;
    port.rte_prc_l2_trap_eof_err = 1;
    parse(bytes, 17);
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE));
}

TEST_F(PrcL2Test, ShortFrameAtATrillPortGoesByTheTrillRegister) {
    trillPort();
    macInf.isPauseFrm = 1;
    const auto bytes = padded(eth().etyp(kTrillEtyp));
    port.rte_prc_l2_trap_eof_err = 1;
    parse(bytes, 16);
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE));
    port.rte_prc_l2_trill_trap_eof_err = 1;
    for (uint32_t len : {8u, 12u, 16u}) {
        parse(bytes, len);
        EXPECT_EQ(verdict(), kHdrVioTrap) << len;
    }
}

TEST_F(PrcL2Test, LoopedPauseFrameEndsTheRun) {
    macInf.isPauseFrm = 1;
    const auto bytes = padded(eth(kDa, kDa).etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE)) << "with the check off it is a plain PAUSE frame";
    port.rte_prc_l2_ck_addr_lpbk = 1;
    begin(bytes);
    // The message goes to standard output.
    EXPECT_EXIT(
        {
            dup2(2, 1);
            PrcL2(&stat);
        },
        testing::ExitedWithCode(1),
        "portIdx = 3, frmIdx = 17\nl2_da==l2_sa loopback error potentially coincides\nwith PAUSE at same cycle\n");
    trillPort();
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_PAUSE)) << "a TRILL port has no loop check";
}

TEST_F(PrcL2Test, SecondSTagBeforeTheTypeChecks) {
    sPort();
    port.rte_prc_l2_ck_multiple_s_tags = port.rte_prc_l2_ck_non_typlen = 1;
    port.rte_prc_l2_trap_non_typlen = 1;
    parse(padded(eth().tag(kStagEtyp, 5).tag(kStagEtyp, 6).etyp(kNoMansLand)));
    EXPECT_EQ(verdict(), dropOf(0));
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
}

// --- tags ---

TEST_F(PrcL2Test, CTag) {
    setVlanTrans(0xabc, 0x1777);
    port.rte_prc_l2_keep_cfi = 1;
    const auto bytes = padded(eth().tag(kCtagEtyp, 0xabc, 5, 1).etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctag, 0xabcu);
    EXPECT_EQ(stat.ctagNz, 1u);
    EXPECT_EQ(stat.ctagPrio, 5u);
    EXPECT_EQ(stat.ctagCfi, 1u);
    EXPECT_EQ(stat.xcvid, 0x1777u);
    EXPECT_EQ(stat.xsvid, 0u);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.l3Offset, 18u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_VLAN], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_VLAN], 12u);
    port.rte_prc_l2_keep_cfi = 0;
    port.rte_prc_def_inner_vlan_cfi = 1;
    parse(bytes);
    EXPECT_EQ(stat.ctagCfi, 0u) << "the default is for frames without a tag";
}

TEST_F(PrcL2Test, PriorityTagIsNotTranslated) {
    setVlanTrans(0, 0x1777);
    parse(padded(eth().tag(kCtagEtyp, 0, 3).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctagNz, 0u);
    EXPECT_EQ(stat.xcvid, 0u);
}

TEST_F(PrcL2Test, LegacyCfiStopsTheParse) {
    port.rte_prc_l2_legacy_cfi_en = 1;
    const auto bytes = padded(eth().tag(kCtagEtyp, 5, 0, 1).etyp(kIpv4Etyp));
    for (uint32_t keep : {0u, 1u}) {
        port.rte_prc_l2_keep_cfi = keep;
        parse(bytes);
        EXPECT_EQ(verdict(), kNoVerdict);
        EXPECT_EQ(stat.ctagCfi, keep);
        EXPECT_EQ(stat.l2Etyp, 0u);
        EXPECT_EQ(stat.l3IpVer, 0u);
        EXPECT_TRUE(endsWith(
            parseTrace(bytes),
            line("CFI=1 taken as token ring or alike, stop parsing further (keep_cfi=" + std::to_string(keep) + ").")));
    }
    parse(padded(eth().tag(kCtagEtyp, 5, 0, 0).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcL2Test, STagWithCTag) {
    sPort();
    setVlanTrans(0x123, 0x1001);
    setVlanTrans(0x456, 0x1002);
    const auto bytes = padded(eth().tag(kStagEtyp, 0x123, 6, 1).tag(kCtagEtyp, 0x456, 3).etyp(kIpv6Etyp));
    parse(bytes);
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.l2QinqStag, 0x123u);
    EXPECT_EQ(stat.stagNz, 1u);
    EXPECT_EQ(stat.stagPrio, 6u);
    EXPECT_EQ(stat.stagDei, 1u);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctag, 0x456u);
    EXPECT_EQ(stat.ctagPrio, 3u);
    EXPECT_EQ(stat.xsvid, 0x1001u);
    EXPECT_EQ(stat.xcvid, 0u);
    EXPECT_EQ(stat.l3IpVer, 6u);
    EXPECT_EQ(stat.l3Offset, 22u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_SVLAN], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_SVLAN], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_VLAN], 16u);
    EXPECT_NE(parseTrace(bytes).find(line("Packet is QinQ tagged. S-TAG=0x123")), std::string::npos);
}

TEST_F(PrcL2Test, STagAlone) {
    sPort();
    parse(padded(eth().tag(kStagEtyp, 0x123).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.isCTagged, 0u);
    EXPECT_EQ(stat.l3Offset, 18u);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
}

TEST_F(PrcL2Test, STagOfVid0IsNotTranslatedNorIsTheCTagOnAnSPort) {
    sPort();
    setVlanTrans(0, 0x1001);
    setVlanTrans(0x456, 0x1002);
    parse(padded(eth().tag(kStagEtyp, 0, 6).tag(kCtagEtyp, 0x456).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.stagNz, 0u);
    EXPECT_EQ(stat.xsvid, 0u);
    EXPECT_EQ(stat.xcvid, 0u);
}

TEST_F(PrcL2Test, CTagStraightOnAnSPortIsReadButDoesNotCountAsVlan) {
    sPort();
    setVlanTrans(0x456, 0x1002);
    // A frame that ends in its final word, a length, shows what the tag left: a VLAN tag that counts clears the type.
    const auto bytes = padded(eth().tag(kCtagEtyp, 0x456).etyp(48).hex("4242030000"));
    parse(bytes, 20);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctag, 0x456u);
    EXPECT_EQ(stat.xcvid, 0u);
    EXPECT_EQ(stat.l2Etyp, kCtagEtyp);
    parse(bytes);
    EXPECT_EQ(stat.l2LlcDet, 1u);
    EXPECT_EQ(stat.l2Etyp, 0u) << "the length clears it";
    port.rte_prc_vlan_mode = 0;
    parse(bytes, 20);
    EXPECT_EQ(stat.xcvid, 0x1002u);
    EXPECT_EQ(stat.l2Etyp, 0u);
}

TEST_F(PrcL2Test, STagBehindALoneCTagOnAnSPortIsNoError) {
    sPort();
    port.rte_prc_l2_ck_multiple_s_tags = port.rte_prc_l2_ck_s_tagged_on_c_port = 1;
    const auto bytes = padded(eth().tag(kCtagEtyp, 5).tag(kStagEtyp, 6).etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
    EXPECT_EQ(stat.l3IpVer, 0u);
    port.rte_prc_l2_ck_multiple_s_tags = port.rte_prc_l2_ck_s_tagged_on_c_port = 0;
    EXPECT_EQ(parseTrace(bytes).find("excused"), std::string::npos);
}

TEST_F(PrcL2Test, AlikeTagTypesOnAnSPortReadAnSTagFirst) {
    sPort();
    port.rte_prc_stag_etyp = kCtagEtyp;
    port.rte_prc_l2_ck_multiple_s_tags = port.rte_prc_l2_ck_multiple_c_tags = 1;
    parse(padded(eth().tag(kCtagEtyp, 0x11).tag(kCtagEtyp, 0x22).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2QinqStag, 0x11u);
    EXPECT_EQ(stat.ctag, 0x22u);
    EXPECT_EQ(stat.l3IpVer, 4u);
    // A third one is a further S-tag.
    parse(padded(eth().tag(kCtagEtyp, 0x11).tag(kCtagEtyp, 0x22).tag(kCtagEtyp, 0x33).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), dropOf(0));
    EXPECT_TRUE(endsWith(
        parseTrace(padded(eth().tag(kCtagEtyp, 0x11).tag(kCtagEtyp, 0x22).tag(kCtagEtyp, 0x33).etyp(kIpv4Etyp))),
        line("PRC multiple S-TAG. DROP")));
}

TEST_F(PrcL2Test, AlikeTagTypesOnACPortAreCTags) {
    port.rte_prc_stag_etyp = kCtagEtyp;
    port.rte_prc_l2_ck_s_tagged_on_c_port = 1;
    parse(padded(eth().tag(kCtagEtyp, 0x11).etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.isSTagged, 0u);
}

TEST_F(PrcL2Test, ExcusedSTagOnACPortIsAnUnknownUpperLayer) {
    const auto bytes = padded(eth().tag(kStagEtyp, 5).etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2Etyp, kStagEtyp);
    EXPECT_EQ(stat.isSTagged, 0u);
    EXPECT_EQ(stat.l3IpVer, 0u);
    EXPECT_EQ(stat.l2Da, kDa);
}

TEST_F(PrcL2Test, CnTag) {
    parse(padded(eth().etyp(kCnEtyp).num(0xface, 2).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.cntag, 0xfaceu);
    EXPECT_EQ(stat.isCTagged, 0u);
    EXPECT_EQ(stat.l3Offset, 18u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CN_TAG], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_CN_TAG], 1u);
    parse(padded(eth().tag(kCtagEtyp, 5).etyp(kCnEtyp).num(0xface, 2).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.isCTagged, 1u);
    EXPECT_EQ(stat.ctagNz, 1u);
    EXPECT_EQ(stat.cntag, 0xfaceu);
    EXPECT_EQ(stat.l3Offset, 22u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_CN_TAG], 16u);
}

TEST_F(PrcL2Test, CnTagBehindAnSTag) {
    sPort();
    parse(padded(eth().tag(kStagEtyp, 5).etyp(kCnEtyp).num(0xface, 2).etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.cntag, 0xfaceu);
    EXPECT_EQ(stat.l3Offset, 22u);
}

TEST_F(PrcL2Test, OuterVlanAtATrillPort) {
    trillPort();
    port.rte_prc_def_outer_vlan_id = 0x1321;
    const auto frame = [](uint32_t vid) { return padded(eth().tag(kOuterVlanEtyp, vid, 6, 1).etyp(kIpv4Etyp)); };
    parse(frame(0x111));
    EXPECT_EQ(stat.l2OuterVlanTagged, 1u);
    EXPECT_EQ(stat.l2OuterRcvVid, 0x111u);
    EXPECT_EQ(stat.l2OuterRcvPrio, 6u);
    EXPECT_EQ(stat.l2OuterRcvCfi, 0u);
    EXPECT_EQ(stat.ctag, 0u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_VLAN], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_VLAN], 1u);
    port.rte_prc_l2_keep_cfi = 1;
    parse(frame(0));
    EXPECT_EQ(stat.l2OuterRcvVid, 0x1321u);
    EXPECT_EQ(stat.l2OuterRcvCfi, 1u);
}

TEST_F(PrcL2Test, NonTrillFrameKeepsOrLosesItsClassKey) {
    trillPort();
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(stat.l2MacClsEn, 1u);
    EXPECT_EQ(stat.l2MacClsDa, kDa);
    EXPECT_EQ(stat.l2MacClsSa, kSa);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    EXPECT_EQ(stat.l3IpVer, 0u);
    port.rte_prc_l2_trill_ck_outer_ctl_da = 1;
    parse(bytes);
    EXPECT_EQ(stat.l2MacClsEn, 0u);
    EXPECT_EQ(stat.l2MacClsDa, kDa);
    EXPECT_EQ(stat.l2Etyp, 0u);
}

TEST_F(PrcL2Test, TrillBehindACnTagIsNotRecognised) {
    trillPort();
    port.rte_prc_l2_trill_ck_outer_ctl_da = 1;
    const auto bytes = padded(eth().tag(kOuterVlanEtyp, 5).etyp(kCnEtyp).num(1, 2).etyp(kTrillEtyp));
    parse(bytes);
    EXPECT_EQ(stat.isCnTagged, 1u);
    EXPECT_EQ(stat.cntag, 1u);
    EXPECT_EQ(stat.l2TrillFound, 0u);
    EXPECT_EQ(verdict(), dropOf(DRP_TRILL_MAC_CTL_DA));
}

// --- frames cut at every length ---

TEST_F(PrcL2Test, CutUntagged) {
    expectCuts(padded(eth().etyp(kIpv4Etyp)), {{1, 16, dropOf(DRP_EOF)}, {17, 40, kNoVerdict}});
    EXPECT_EQ(stat.l3IpVer, 4u);
    parse(padded(eth().etyp(kIpv4Etyp)), 17);
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcL2Test, CutCTag) {
    // The type word behind the tag: 16 + 5 rounds to 20.
    const auto bytes = padded(eth().tag(kCtagEtyp, 5).etyp(kIpv4Etyp));
    expectCuts(bytes, {{1, 20, dropOf(DRP_EOF)}, {21, 40, kNoVerdict}});
    parse(bytes, 21);
    EXPECT_EQ(stat.l3IpVer, 4u);
    port.rte_prc_l2_trap_eof_err = 1;
    expectCuts(bytes, {{1, 20, kHdrVioTrap}, {21, 40, kNoVerdict}});
}

TEST_F(PrcL2Test, CutSTagWithCTag) {
    sPort();
    const auto bytes = padded(eth().tag(kStagEtyp, 5).tag(kCtagEtyp, 6).etyp(kIpv4Etyp));
    expectCuts(bytes, {{1, 24, dropOf(DRP_EOF)}, {25, 44, kNoVerdict}});
    parse(bytes, 17);
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.stagNz, 1u) << "12 + 7 rounds to 16: the control word is read";
    EXPECT_EQ(stat.isCTagged, 0u);
    parse(bytes, 21);
    EXPECT_EQ(stat.isCTagged, 1u);
    parse(bytes, 25);
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcL2Test, CutCnTag) {
    const auto bytes = padded(eth().etyp(kCnEtyp).num(7, 2).etyp(kIpv4Etyp));
    expectCuts(bytes, {{1, 20, dropOf(DRP_EOF)}, {21, 40, kNoVerdict}});
    const auto behindTag = padded(eth().tag(kCtagEtyp, 5).etyp(kCnEtyp).num(7, 2).etyp(kIpv4Etyp));
    expectCuts(behindTag, {{1, 24, dropOf(DRP_EOF)}, {25, 44, kNoVerdict}});
}

TEST_F(PrcL2Test, AnyRegistersAndAnyBytesStayInTheFrame) {
    RandomWords rng(1);
    // The FCoE parser ends the run at some cut frames; FIP's match comes first.
    com.rte_l2_fcoe_etyp = com.fip_etyp;
    for (int round = 0; round < 3000; round++) {
        for (uint32_t i = 0; i < sizeof port / sizeof(uint32_t); i++)
            regWords(port)[i] = rng() & (round & 1 ? 1 : 0xffff);
        port.rte_prc_l2_lu_en = 1;
        com.rte_l2_dix_typ_min = rng() & 0x7ff;
        com.rte_l2_ieee_len_max = rng() & 0x7ff;
        const uint32_t typs[] = {kCtagEtyp, kStagEtyp, kOuterVlanEtyp, kTrillEtyp, kCnEtyp, kIpv4Etyp, 0x8914, 0x9999};
        port.rte_prc_ctag_etyp = typs[rng() % 8];
        port.rte_prc_stag_etyp = typs[rng() % 8];
        Frame frame = eth();
        for (int i = 0; i < 8; i++)
            frame.etyp(typs[rng() % 8]).num(rng(), rng() % 3 * 2);
        parse(frame.bytes, 1 + rng() % 50);
        EXPECT_LE(stat.l2PrcTrap + stat.l2PrcDrop, 1u);
    }
}

TEST_F(PrcVlanTrans, TakesTheHalfByTheLowBitOfTheVlan) {
    // Port 2, VLAN 0x123 and its even neighbour: entry 2 * 4096 + 0x122 = 0x2122, word 0x1091.
    mem.RTE_VLAN_X_EDRAM[0x1091] = 0x1abc0def;
    EXPECT_EQ(vlanTrans(&mem, 2, 0x122), 0x1abcu);
    EXPECT_EQ(vlanTrans(&mem, 2, 0x123), 0x0defu);
}

TEST_F(PrcVlanTrans, IsThirteenBitsWide) {
    mem.RTE_VLAN_X_EDRAM[0] = 0xffffffff;
    EXPECT_EQ(vlanTrans(&mem, 0, 0), 0x1fffu);
    EXPECT_EQ(vlanTrans(&mem, 0, 1), 0x1fffu);
    mem.RTE_VLAN_X_EDRAM[0] = 0xe000e000;
    EXPECT_EQ(vlanTrans(&mem, 0, 0), 0u);
    EXPECT_EQ(vlanTrans(&mem, 0, 1), 0u);
}

TEST_F(PrcVlanTrans, TreatsVlanZeroLikeAnyOther) {
    mem.RTE_VLAN_X_EDRAM[3 * 2048] = 0x07770000;
    EXPECT_EQ(vlanTrans(&mem, 3, 0), 0x777u);
}

TEST_F(PrcVlanTrans, WrapsPortAndVlan) {
    mem.RTE_VLAN_X_EDRAM[5 * 2048 + 0x7ff] = 0x11112222 & 0x1fff1fff;
    EXPECT_EQ(vlanTrans(&mem, 5, 0xffe), 0x1111u);
    EXPECT_EQ(vlanTrans(&mem, 5 + 32, 0xffe), 0x1111u);
    EXPECT_EQ(vlanTrans(&mem, 5 + 64, 0x1ffe), 0x1111u);
    mem.RTE_VLAN_X_EDRAM[65535] = 0x1234;
    EXPECT_EQ(vlanTrans(&mem, 31, 0xfff), 0x1234u);
    EXPECT_EQ(vlanTrans(&mem, 0xffffffff, 0xffffffff), 0x1234u);
}

} // namespace
