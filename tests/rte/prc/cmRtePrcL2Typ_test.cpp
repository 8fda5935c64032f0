// Layer-2 parsing: reads from the frame, the classification of type words, LLC and SNAP.

#include "frame_builder.h"
#include "prc_fixture.h"

namespace {

Frame eth(uint64_t da = kDa, uint64_t sa = kSa) {
    return Frame().mac(da, sa);
}

std::vector<uint8_t> padded(Frame frame) {
    return frame.fill(40, 0x5a).bytes;
}

class PrcL2TypTest : public PrcTest {
protected:
    void sPort() { port.rte_prc_vlan_mode = 1; }
    void trillPort() { port.rte_prc_l2_trill_en = 1; }
};

// --- frame reads ---

TEST_F(PrcL2TypTest, ReadsAreBigEndian) {
    begin(Frame().hex("0102030405060708090a").bytes);
    EXPECT_EQ(prcByte(&stat, 9), 0x0au);
    EXPECT_EQ(prcHword(&stat, 1), 0x0203u);
    EXPECT_EQ(prcDword(&stat, 2), 0x03040506u);
    EXPECT_EQ(prcQword(&stat, 0, 6), 0x010203040506u);
    EXPECT_EQ(prcQword(&stat, 1, 8), 0x0203040506070809u);
    EXPECT_EQ(prcQword(&stat, 1, 0), 0u);
}

TEST_F(PrcL2TypTest, ReadsEndBehindTheClearedTail) {
    begin(Frame().fill(10, 0xff).bytes);
    frameBuf.assign(200, 0xee);
    stat.frm = frameBuf.data();
    EXPECT_EQ(prcByte(&stat, 37), 0xeeu);
    EXPECT_EQ(prcByte(&stat, 38), 0u);
    EXPECT_EQ(prcHword(&stat, 37), 0xee00u);
    EXPECT_EQ(prcDword(&stat, 36), 0xeeee0000u);
    EXPECT_EQ(prcDword(&stat, 0xfffffff0), 0u);
}

TEST_F(PrcL2TypTest, EndTestWorksOnAlignedWords) {
    EXPECT_TRUE(insideFrame(12, 5, 17));
    EXPECT_FALSE(insideFrame(12, 5, 16));
    EXPECT_TRUE(insideFrame(16, 5, 21));
    EXPECT_FALSE(insideFrame(16, 5, 20));
    EXPECT_TRUE(insideFrame(14, 5, 17));
}

// --- classification ---

class ClsEtypTest : public PrcTest {
protected:
    // Vld, Ctag, TrillOuterVlan, Trill, CnTag, Fip, Fcoe, Ipv4, Ipv6, Qcn, Len, MoreStag
    static std::string flags() {
        std::string s;
        for (uint32_t f : {etypIsVld, etypIsCtag, etypIsTrillOuterVlan, etypIsTrill, etypIsCnTag, etypIsFip, etypIsFcoe,
                           etypIsIpv4, etypIsIpv6, etypIsQcn, etypIsLen, etypIsMoreStag})
            s += f == 0 ? '0' : f == 1 ? '1' : '?';
        return s;
    }
    std::string cls(uint32_t typLen, uint32_t trillOuter = 0) {
        ClsEtyp(&stat, typLen, trillOuter);
        return flags();
    }
};

TEST_F(ClsEtypTest, EachClass) {
    EXPECT_EQ(cls(kCtagEtyp), "110000000000");
    EXPECT_EQ(cls(kOuterVlanEtyp, 1), "101000000000");
    EXPECT_EQ(cls(kTrillEtyp), "100100000000");
    EXPECT_EQ(cls(kTrillEtyp, 1), "100100000000");
    EXPECT_EQ(cls(kCnEtyp), "100010000000");
    EXPECT_EQ(cls(0x8914), "100001000000");
    EXPECT_EQ(cls(0x8906), "100000100000");
    EXPECT_EQ(cls(kIpv4Etyp), "100000010000");
    EXPECT_EQ(cls(kIpv6Etyp), "100000001000");
    EXPECT_EQ(cls(kQcnEtyp), "100000000100");
    EXPECT_EQ(cls(kStagEtyp), "100000000001");
    EXPECT_EQ(cls(0x9999), "100000000000");
    EXPECT_EQ(stat.l2Etyp, 0x9999u);
}

TEST_F(ClsEtypTest, FlagsThatDependOnWhereTheWordStands) {
    EXPECT_EQ(cls(kCtagEtyp, 1), "100000000000");
    EXPECT_EQ(cls(kOuterVlanEtyp), "100000000000");
    EXPECT_EQ(cls(kCnEtyp, 1), "100000000000");
    stat.isCnTagged = 1;
    EXPECT_EQ(cls(kTrillEtyp), "100000000000");
    EXPECT_EQ(cls(kIpv4Etyp), "100000010000");
}

TEST_F(ClsEtypTest, LimitsOfLengthAndType) {
    EXPECT_EQ(cls(0x600), "100000000000");
    EXPECT_EQ(stat.l2Etyp, 0x600u);
    EXPECT_EQ(cls(0x5ff), "000000000000");
    EXPECT_EQ(cls(1501), "000000000000");
    EXPECT_EQ(cls(1500), "000000000010");
    EXPECT_EQ(cls(0), "000000000010");
    EXPECT_EQ(stat.l2Etyp, 0x600u) << "a length leaves the type as it was";
}

TEST_F(ClsEtypTest, FirstMatchWins) {
    com.rte_l2_vlan_etyp = com.rte_l2_trill_etyp = com.cn_etyp = com.fip_etyp = com.rte_l2_fcoe_etyp =
        com.rte_l2_ipv4_etyp = com.rte_l2_ipv6_etyp = com.rte_l2_qcn_etyp = port.rte_prc_ctag_etyp = 0x7777;
    EXPECT_EQ(cls(0x7777, 1), "101000000000");
    EXPECT_EQ(cls(0x7777), "110000000000");
    port.rte_prc_ctag_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100100000000");
    stat.isCnTagged = 1;
    EXPECT_EQ(cls(0x7777), "100010000000");
    com.cn_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100001000000");
    com.fip_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100000100000");
    com.rte_l2_fcoe_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100000010000");
    com.rte_l2_ipv4_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100000001000");
    com.rte_l2_ipv6_etyp = 0;
    EXPECT_EQ(cls(0x7777), "100000000100");
    port.rte_prc_stag_etyp = 0x7777;
    EXPECT_EQ(cls(0x7777), "100000000001") << "the S-tag is in front of the list";
}

TEST_F(ClsEtypTest, AlikeTagsAreCTagsExceptBehindACTagOnAnSPort) {
    port.rte_prc_stag_etyp = kCtagEtyp;
    EXPECT_EQ(cls(kCtagEtyp), "110000000000");
    stat.l2QinqEn = 1;
    EXPECT_EQ(cls(kCtagEtyp), "110000000000");
    stat.isCTagged = 1;
    EXPECT_EQ(cls(kCtagEtyp), "100000000001");
    stat.l2QinqEn = 0;
    EXPECT_EQ(cls(kCtagEtyp), "110000000000");
}

TEST_F(ClsEtypTest, LeavesTheStagFlagAlone) {
    etypIsStag = 1;
    cls(kIpv4Etyp);
    EXPECT_EQ(etypIsStag, 1u);
    etypIsStag = 0;
}

TEST_F(ClsEtypTest, TraceIsOneLine) {
    stat.dbgLvl = 2;
    const std::string out = printed([&] { cls(kIpv4Etyp); });
    EXPECT_EQ(out.rfind("CM port=3, frameIdx=17>> ClsEtyp", 0), 0u) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { cls(kIpv4Etyp); }), "");
}

// --- the gap between length and type ---

TEST_F(PrcL2TypTest, NoMansLandErrorTakesThePortsDefaults) {
    port.rte_prc_l2_ck_non_typlen = 1;
    port.rte_prc_def_inner_vlan_id = 0x1001;
    port.rte_prc_def_inner_vlan_prio = 2;
    port.rte_prc_def_inner_vlan_cfi = 1;
    port.rte_prc_def_outer_vlan_id = 0x1002;
    port.rte_prc_def_outer_vlan_prio = 3;
    port.rte_prc_def_outer_vlan_cfi = 1;
    const auto bytes = padded(eth().etyp(kNoMansLand));
    parse(bytes);
    EXPECT_EQ(stat.ctag, 0x1001u);
    EXPECT_EQ(stat.ctagPrio, 2u);
    EXPECT_EQ(stat.ctagCfi, 1u);
    EXPECT_EQ(stat.l2OuterRcvVid, 0u);
    trillPort();
    parse(bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_TYP));
    EXPECT_EQ(stat.l2OuterRcvVid, 0x1002u);
    EXPECT_EQ(stat.l2OuterRcvPrio, 3u);
    EXPECT_EQ(stat.l2OuterRcvCfi, 1u);
    EXPECT_EQ(stat.ctag, 0u);
}

TEST_F(PrcL2TypTest, ExcusedNoMansLandStopsSilentlyAndIsTracedAtBothTests) {
    for (uint32_t typ : {1501u, 1535u}) {
        const auto bytes = padded(eth().etyp(typ));
        parse(bytes);
        EXPECT_EQ(verdict(), kNoVerdict);
        EXPECT_EQ(stat.l2Etyp, 0u);
        EXPECT_EQ(etypIsVld, 0u);
        EXPECT_EQ(stat.l2LlcDet, 0u);
        EXPECT_EQ(stat.l2Da, kDa);
    }
    const std::string found = "CM port=3, frameIdx=17>>eTypLen is in no man's land: 5dd\n";
    EXPECT_TRUE(endsWith(parseTrace(padded(eth().etyp(kNoMansLand))), found + found));
    port.rte_prc_l2_ck_non_typlen = 1;
    parse(padded(eth().etyp(1500)));
    EXPECT_EQ(stat.l2LlcDet, 1u);
    parse(padded(eth().etyp(1536)));
    EXPECT_EQ(stat.l2Etyp, 1536u);
    EXPECT_EQ(verdict(), kNoVerdict);
}

TEST_F(PrcL2TypTest, NoMansLandErrorClearsTheTypeOfATagThatDoesNotCount) {
    sPort();
    port.rte_prc_l2_ck_non_typlen = 1;
    parse(padded(eth().tag(kCtagEtyp, 5).etyp(kNoMansLand)));
    EXPECT_EQ(verdict(), dropOf(DRP_L2_TYP));
    EXPECT_EQ(stat.l2Etyp, 0u);
    EXPECT_EQ(stat.l2Da, kDa);
    EXPECT_EQ(stat.ctag, 5u);
}

// --- what a cut frame leaves ---

/// A TRILL frame without its inner type word: the TRILL header begins at 14, the inner addresses at 20, the inner tags
/// at 32.
Frame trill() {
    return eth().etyp(kTrillEtyp).trill(0x111, 0x222, 9).mac(kDa, kSa);
}

TEST_F(PrcL2TypTest, AddressesAndNicknamesAreReadBeforeTheirEndTests) {
    const auto bytes = padded(eth().etyp(kIpv4Etyp));
    parse(bytes, 8);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2OuterDa, kDa);
    EXPECT_EQ(stat.l2OuterSa, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_MAC], 1u);
    parse(bytes, 12);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2OuterSa, kSa);
    // Nicknames: 14 + 7 rounds to 20. The inner DA at 20: 20 + 9 rounds to 28.
    trillPort();
    const auto inner = padded(trill().etyp(kIpv4Etyp));
    parse(inner, 20);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2TrillDa, 0x111u);
    EXPECT_EQ(stat.l2TrillSa, 0x222u);
    EXPECT_EQ(stat.l2HdrLenAdj, 0u);
    parse(inner, 28);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2TrillInnerDa, kDa);
    EXPECT_EQ(stat.l2TrillInnerSa, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_MAC], 1u);
    EXPECT_EQ(stat.l2HdrLenAdj, 20u);
}

TEST_F(PrcL2TypTest, TypeWordIsClassifiedBeforeItsEndTest) {
    // Behind a CN tag the word stands at 16: 16 + 5 rounds to 20.
    parse(padded(eth().etyp(kCnEtyp).num(1, 2).etyp(kIpv4Etyp)), 20);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    // The inner one behind a CN tag at 36: 36 + 5 rounds to 40.
    trillPort();
    parse(padded(trill().etyp(kCnEtyp).num(1, 2).etyp(kIpv4Etyp)), 40);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
}

// A word is classified where it stands first, once more behind a tag, and as the final type.
TEST_F(PrcL2TypTest, HowOftenWordsAreClassified) {
    const auto clsCnt = [&](const std::vector<uint8_t> &bytes) {
        begin(bytes);
        stat.dbgLvl = 4;
        const std::string out = printed([&] { PrcL2(&stat); });
        int cnt = 0;
        for (size_t at = 0; (at = out.find(">> ClsEtyp ", at)) != std::string::npos; at++)
            cnt++;
        return cnt;
    };
    EXPECT_EQ(clsCnt(padded(eth().etyp(kIpv4Etyp))), 2);
    EXPECT_EQ(clsCnt(padded(eth().tag(kCtagEtyp, 5).etyp(kIpv4Etyp))), 3);
    EXPECT_EQ(clsCnt(padded(eth().etyp(kCnEtyp).num(1, 2).etyp(kIpv4Etyp))), 2);
    trillPort();
    EXPECT_EQ(clsCnt(padded(trill().etyp(kIpv4Etyp))), 4);
    EXPECT_EQ(clsCnt(padded(trill().tag(kCtagEtyp, 5).etyp(kIpv4Etyp))), 5);
    EXPECT_EQ(clsCnt(padded(trill().etyp(kCnEtyp).num(1, 2).etyp(kIpv4Etyp))), 4);
    sPort();
    EXPECT_EQ(clsCnt(padded(trill().tag(kStagEtyp, 5).etyp(kIpv4Etyp))), 4);
}

TEST_F(PrcL2TypTest, WordBehindTheSTagIsClassifiedBeforeItsEndTestOutsideAndBehindItInside) {
    sPort();
    parse(padded(eth().tag(kStagEtyp, 5).etyp(kIpv4Etyp)), 20);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    trillPort();
    parse(padded(trill().tag(kStagEtyp, 5).etyp(kIpv4Etyp)), 40);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.isSTagged, 1u);
    EXPECT_EQ(stat.l2Etyp, 0u);
}

TEST_F(PrcL2TypTest, InnerCTagClearsTheTypeOnlyWhereItCounts) {
    trillPort();
    const auto bytes = padded(trill().tag(kCtagEtyp, 5).etyp(48));
    parse(bytes, 40);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2Etyp, 0u);
    sPort();
    parse(bytes, 40);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2Etyp, kCtagEtyp);
}

TEST_F(PrcL2TypTest, OuterHeaderOfATrillPortLeavesTheCfiOfTheInnerTagAlone) {
    trillPort();
    port.rte_prc_def_inner_vlan_cfi = 1;
    port.rte_prc_l2_trill_ck_outer_sa = 1;
    parse(padded(trill().etyp(kIpv4Etyp)));
    EXPECT_EQ(verdict(), dropOf(DRP_TRILL_MAC_EXP));
    EXPECT_EQ(stat.ctagCfi, 0u);
    port.rte_prc_l2_trill_ck_outer_sa = 0;
    parse(padded(trill().etyp(kIpv4Etyp)));
    EXPECT_EQ(stat.ctagCfi, 1u);
}

// --- LLC and SNAP ---

TEST_F(PrcL2TypTest, WordThatIsBothTypeAndLengthIsTreatedAsLength) {
    com.rte_l2_dix_typ_min = 0x100;
    parse(padded(eth().etyp(0x300).hex("4242030000")));
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2LlcDet, 1u);
    EXPECT_EQ(stat.l2Etyp, 0u);
    com.rte_l2_ieee_len_max = 0x2ff;
    parse(padded(eth().etyp(0x300).hex("4242030000")));
    EXPECT_EQ(stat.l2LlcDet, 0u);
    EXPECT_EQ(stat.l2Etyp, 0x300u);
}

TEST_F(PrcL2TypTest, LlcFrameEndGoesByThePlainRegisterAtATrillPortToo) {
    trillPort();
    struct {
        std::vector<uint8_t> bytes;
        uint32_t from, to; // lengths that end in the LLC header
    } const cuts[] = {
        // The type word at 32: + 5 rounds to 36. LLC at 34: + 8 rounds to 40; SNAP: + 7 and + 9 to 40, + 11 to 44.
        {padded(trill().etyp(48).hex("4242030000")), 37, 40},
        {padded(trill().etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp)), 37, 44},
        // Behind a CN tag the type word at 36: + 5 rounds to 40. LLC at 38: + 8 rounds to 44.
        {padded(trill().etyp(kCnEtyp).num(1, 2).etyp(48).hex("4242030000")), 41, 44},
    };
    for (const auto &cut : cuts)
        for (uint32_t trap : {0u, 1u}) {
            port.rte_prc_l2_trap_eof_err = trap;
            port.rte_prc_l2_trill_trap_eof_err = !trap;
            for (uint32_t len = cut.from; len <= cut.to; len++) {
                parse(cut.bytes, len);
                EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_LLC], 1u) << len;
                EXPECT_EQ(verdict(), trap ? kHdrVioTrap : dropOf(DRP_EOF)) << len;
            }
            parse(cut.bytes, cut.to + 1);
            EXPECT_EQ(verdict(), kNoVerdict);
        }
    // The very first end test: 19 + 5 rounds to 24.
    port.rte_prc_l2_trap_eof_err = 0;
    port.rte_prc_l2_trill_trap_eof_err = 1;
    begin(Frame().fill(24).bytes);
    stat.isTrillPort = 1;
    uint32_t typLen = 48;
    uint32_t offset = 19;
    EXPECT_EQ(PrcL2Len(&stat, typLen, offset), 0u);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
}

TEST_F(PrcL2TypTest, SnapEthertype) {
    const auto bytes = padded(eth().etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(stat.l2SnapEnc, 1u);
    EXPECT_EQ(stat.l2LlcDet, 0u);
    EXPECT_EQ(stat.l2Etyp, kIpv4Etyp);
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.l3Offset, 22u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_LLC], 14u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_SNAP], 16u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_SNAP], 1u);
    EXPECT_TRUE(endsWith(parseTrace(bytes, 3), line("LLC SNAP frame with Ethertype 800")));
    EXPECT_FALSE(endsWith(parseTrace(bytes, 2), line("LLC SNAP frame with Ethertype 800")));
}

TEST_F(PrcL2TypTest, LlcThatIsNotSnap) {
    // DSAP, SSAP; control and the byte behind; the OUI's rest
    for (const char *hdr : {"42aa030102", "aa42030102", "aaaa040002", "aaaa030102"}) {
        const auto bytes = padded(eth().etyp(48).hex(hdr));
        parse(bytes);
        EXPECT_EQ(verdict(), kNoVerdict);
        EXPECT_EQ(stat.l2LlcDet, 1u);
        const auto want = Frame().hex(hdr).bytes;
        EXPECT_EQ(stat.l2LlcDsap, want[0]);
        EXPECT_EQ(stat.l2LlcSsap, want[1]);
        EXPECT_EQ(stat.l2LlcCtl, want[2]);
        EXPECT_EQ(stat.l2LlcPld0, want[3]);
        EXPECT_EQ(stat.l2LlcPld1, want[4]);
        EXPECT_EQ(stat.l2SnapEnc, 0u);
        EXPECT_EQ(stat.l2Etyp, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_SNAP], 0u);
        EXPECT_TRUE(endsWith(parseTrace(bytes, 3), line("LLC, but not SNAP -- stop parsing")));
        EXPECT_EQ(parseTrace(bytes, 2).find("LLC"), std::string::npos);
    }
}

TEST_F(PrcL2TypTest, SnapOfAnotherProtocol) {
    for (const char *hdr : {"aaaa03000100", "aaaa03000001"}) {
        const auto bytes = padded(eth().etyp(48).hex(hdr).etyp(kIpv4Etyp));
        parse(bytes);
        EXPECT_EQ(stat.l2LlcDet, 1u);
        EXPECT_EQ(stat.l2SnapEnc, 0u);
        EXPECT_EQ(stat.l3IpVer, 0u);
        EXPECT_TRUE(endsWith(parseTrace(bytes),
                             "CM port=3, frameIdx=17>>LLC SNAP, but protocol is not Ethertype  -- stop parsing\n"));
    }
}

TEST_F(PrcL2TypTest, LengthBehindACnTagIsLlcOnly) {
    const auto bytes = padded(eth().etyp(kCnEtyp).num(1, 2).etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp));
    parse(bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2LlcDet, 1u);
    EXPECT_EQ(stat.l2LlcDsap, 0xaau);
    EXPECT_EQ(stat.l2SnapEnc, 0u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_LLC], 18u);
    const std::string llc =
        line("LLC type_len followin CN tag, considering the packet as LLC but not SNAP -- stop parsing");
    EXPECT_TRUE(endsWith(parseTrace(bytes), llc));
    // The LLC header stands at 18: 18 + 8 rounds to 24.
    parse(bytes, 24);
    EXPECT_EQ(verdict(), dropOf(DRP_EOF));
    EXPECT_EQ(stat.l2LlcDet, 1u);
    EXPECT_TRUE(endsWith(parseTrace(bytes, 4, 24), llc + line("PrcLen -- EoF Err, exp_len=23") +
                                                       line("PRC L2 EOF err.") + line("PRC L2 EOF err. DROP")));
    parse(bytes, 25);
    EXPECT_EQ(verdict(), kNoVerdict);
}

TEST_F(PrcL2TypTest, LlcFrameEndsAndTheirTraceOrder) {
    const std::string eof = line("PRC L2 EOF err.") + line("PRC L2 EOF err. DROP");
    EXPECT_TRUE(endsWith(parseTrace(padded(eth().etyp(48).hex("4242030000")), 4, 20),
                         line("LLC, but not SNAP -- stop parsing") + eof + line("PrcLen -- EoF Err, exp_len=19")));
    const auto snap = padded(eth().etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp));
    EXPECT_TRUE(endsWith(parseTrace(snap, 4, 20), line("PrcLen -- EoF Err, exp_len=18") + eof));
    EXPECT_TRUE(endsWith(parseTrace(snap, 4, 24), line("PrcLen -- EoF Err, exp_len=22") + eof));
    // Behind a C-tag the LLC header stands at 18; 18 + 9 and 18 + 7 round alike, 18 + 11 does not.
    const auto tagged = padded(eth().tag(kCtagEtyp, 5).etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp));
    EXPECT_TRUE(endsWith(parseTrace(tagged, 4, 24), line("PrcLen -- EoF Err, exp_len=22") + eof));
    EXPECT_TRUE(endsWith(parseTrace(tagged, 4, 28), line("PrcLen -- EoF Err, exp_len=26") + eof));
}

// At any offset, also those that no tag leads to: 16 + 9 is the end test that falls between the others.
TEST_F(PrcL2TypTest, SnapEndTestOfThePidAtAnEvenOffset) {
    auto bytes = Frame().fill(17).hex("aaaa03000000").etyp(kIpv4Etyp).bytes;
    const auto lenAt = [&](uint32_t frmLen) {
        begin(bytes, frmLen);
        uint32_t typLen = 48;
        uint32_t offset = 17;
        stat.dbgLvl = 4;
        uint32_t go = 7;
        const std::string out = decisions(printed([&] { go = PrcL2Len(&stat, typLen, offset); }));
        return std::make_pair(go, out.substr(0, out.find('\n') + 1));
    };
    // 17 + 5 and 17 + 7: 20 and 24; 17 + 9: 24; 17 + 11: 28
    EXPECT_EQ(lenAt(20), std::make_pair(0u, line("PRC L2 EOF err.")));
    EXPECT_EQ(lenAt(24), std::make_pair(0u, line("PrcLen -- EoF Err, exp_len=21")));
    EXPECT_EQ(lenAt(28), std::make_pair(0u, line("PrcLen -- EoF Err, exp_len=25")));
    EXPECT_EQ(lenAt(29).first, 1u);
    bytes.insert(bytes.begin(), 2, 0);
    begin(bytes, 24);
    uint32_t typLen = 48;
    uint32_t offset = 19;
    stat.dbgLvl = 4;
    // 19 + 5 rounds to 24: the very first test
    EXPECT_EQ(printed([&] { EXPECT_EQ(PrcL2Len(&stat, typLen, offset), 0u); }),
              line("PRC L2 EOF err.") + line("PRC L2 EOF err. DROP"));
    bytes.erase(bytes.begin(), bytes.begin() + 3);
    begin(bytes, 24);
    offset = 16;
    // 16 + 7 rounds to 20, 16 + 9 to 24
    stat.dbgLvl = 4;
    EXPECT_EQ(decisions(printed([&] { EXPECT_EQ(PrcL2Len(&stat, typLen, offset), 0u); })),
              line("PrcLen -- EoF Err, exp_len=22") + line("PRC L2 EOF err.") + line("PRC L2 EOF err. DROP"));
    EXPECT_EQ(offset, 16u);
    EXPECT_EQ(stat.l2SnapEnc, 0u);
}

TEST_F(PrcL2TypTest, SnapErrorsLeaveTheCallersWords) {
    begin(padded(Frame().fill(14).hex("aaaa03000000").etyp(48)));
    uint32_t typLen = 48;
    uint32_t offset = 14;
    EXPECT_EQ(PrcL2Len(&stat, typLen, offset), 0u);
    EXPECT_EQ(typLen, 48u);
    EXPECT_EQ(offset, 14u);
    EXPECT_EQ(stat.l2SnapEnc, 1u);
    begin(padded(Frame().fill(14).hex("aaaa03000000").etyp(kIpv4Etyp)));
    EXPECT_EQ(PrcL2Len(&stat, typLen, offset), 1u);
    EXPECT_EQ(typLen, kIpv4Etyp);
    EXPECT_EQ(offset, 22u);
}

TEST_F(PrcL2TypTest, CutSnap) {
    // 14 + 7 rounds to 20, 14 + 9 to 20, 14 + 11 to 24.
    const auto bytes = padded(eth().etyp(48).hex("aaaa03000000").etyp(kIpv4Etyp));
    expectCuts(bytes, {{1, 24, dropOf(DRP_EOF)}, {25, 44, kNoVerdict}});
    parse(bytes, 20);
    EXPECT_EQ(stat.l2SnapEnc, 0u);
    parse(bytes, 21);
    EXPECT_EQ(stat.l2SnapEnc, 1u);
    parse(bytes, 25);
    EXPECT_EQ(stat.l3IpVer, 4u);
}

TEST_F(PrcL2TypTest, CutLlc) {
    // 14 + 8 rounds to 20.
    const auto bytes = padded(eth().etyp(48).hex("4242030000"));
    expectCuts(bytes, {{1, 20, dropOf(DRP_EOF)}, {21, 40, kNoVerdict}});
    parse(bytes, 17);
    EXPECT_EQ(stat.l2LlcDet, 1u);
    EXPECT_EQ(stat.l2LlcDsap, 0x42u);
}

} // namespace
