// Multipath: TRILL destinations, multipath groups, aggregation groups, and the counters of the paths taken.

#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "random_words.h"

namespace {

constexpr uint32_t kPort = 3;

class L2MpTest : public ModelTest {
protected:
    L2MpTest() {
        com.rte_his_en = 1u << kPort;
        com.rte_lue_l2_psel_mctid_addr_hi = com.rte_lue_l2_psel_mpid_addr_hi = 0xffff;
        com.rte_lue_l2_psel_trill_dest_addr_hi = 0xffff;
        com.rte_lue_l2_psel_lgid_addr_hi = 0x7fff;
        newFrame();
    }

    void newFrame() {
        resetStat(kPort);
        stat.frmIdx = 1;
        stat.frmLen = 100;
        stat.l2PselRsltTyp = 2;
        for (uint32_t i = 0; i < 8; i++)
            stat.hshVal[i] = 0xa000 + 0x111 * i;
        verbose(true);
    }

    std::string run(uint32_t isDaLu = 1) {
        return printed([&] { l2MultipathProcess(&stat, isDaLu); });
    }
    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    const std::string pfx = "CM port=3, frameIdx=1>> ";
};

using L2MpAddr = L2MpTest;
using L2MpChain = L2MpTest;
using L2MpSts = L2MpTest;
using L2AclSts = L2MpTest;
using L2FinalEgid = L2MpTest;

constexpr uint32_t kIsMgid = 1u << 17;
constexpr uint32_t kLgid = 0x8000;
constexpr uint32_t kMpid = 0x10000;

} // namespace

TEST_F(L2MpAddr, MpidWithoutPathsReadsTheFirstRow) {
    mem.RTE_L2_MPID_HASH_TYPE_SRAM[0x1abc >> 3] = 0xf000; // nibble 4: type 7, the nibble's top bit does not count
    std::string text = printed([&] { EXPECT_EQ(L2PselMpid(kMpid | 0x1abc, &stat), 0xd5e0u); });
    EXPECT_EQ(text, pfx + "[MULTI_PATH] L2PselMpid. l2Mpid: 0x1abc, HashType: 0x7,\t\t   \tnPath: 0x0, hashVal: 0x0, "
                          "RsltRamAddr: 0xd5e0\n");
}

TEST_F(L2MpAddr, MpidPicksByTheHashOfItsType) {
    mem.RTE_L2_MPID_HASH_TYPE_SRAM[0] = 0x01234567; // mpid n has type n
    // hshVal[2] = 0xa222: 0x222 = 546 = 78 * 7 + 0; hshVal[3]: 0x333 = 819 = 273 * 3 + 0.
    EXPECT_EQ(L2PselMpid(kMpid | 5 << 13 | 2, &stat), 16u + 546 % 6);
    EXPECT_EQ(L2PselMpid(kMpid | 7 << 13 | 3, &stat), 24u + 819 % 8);
    const std::string text = printed([&] { L2PselMpid(kMpid | 6 << 13 | 3, &stat); });
    EXPECT_EQ(text, pfx + "[MULTI_PATH] L2PselMpid. l2Mpid: 0x3, HashType: 0x3,\t\t   \tnPath: 0x6, hashVal: 0x333, "
                          "RsltRamAddr: 0x18\n");
}

TEST_F(L2MpAddr, TreeIdPicksTheSameWay) {
    mem.RTE_L2_MCTID_HASH_TYPE_SRAM[0x1fff >> 3] = 0x00000005;
    stat.hshVal[5] = 0xfffff;
    std::string text = printed([&] { EXPECT_EQ(MctMpid(0x1fff, 7, &stat), 0xffffu); });
    EXPECT_EQ(text, pfx + "[MULTI_PATH] MctMpid. mctId: 0x1fff, HashType: 0x5, nPath: 0x7, hashVal: 0xfff, "
                          "RsltRamAddr: 0xffff\n");
    text = printed([&] { EXPECT_EQ(MctMpid(0x1fff, 0, &stat), 0xfff8u); });
    EXPECT_TRUE(has(text, "HashType: 0x5, nPath: 0x0, hashVal: 0x0, RsltRamAddr: 0xfff8\n"));
}

TEST_F(L2MpAddr, LgidTakesHalvesAndWrapsAtItsMemory) {
    mem.RTE_L2_LGID_HASH_TYPE_RA[0x3fe >> 1] = (31u << 3 | 1) << 16 | (127u << 3 | 6);
    stat.hshVal[1] = 0xb03e; // 0x03e = 62 = 32 + 30
    stat.hshVal[6] = 0x1f7f; // 0xf7f = 127 modulo 128
    std::string text = printed([&] { EXPECT_EQ(L2PselLgid(kLgid | 0x3fe, &stat), 0x3feu * 32 + 30); });
    EXPECT_EQ(text, pfx + "L2PselLgid. LGID: 0x3fe, HashType: 0x1, nPath: 0x1f, hashVal: 0x3e, RsltRamAddr: 0x7fde\n");
    EXPECT_EQ(L2PselLgid(kLgid | 0x3ff, &stat), (0x3ffu * 32 + 127) & 0x7fff);
    mem.RTE_L2_LGID_HASH_TYPE_RA[0x3fe >> 1] = 6;
    text = printed([&] { EXPECT_EQ(L2PselLgid(kLgid | 0x5ff, &stat), 0x3ffu * 32 - 0x200 * 32); });
    EXPECT_TRUE(has(text, "LGID: 0x1ff, HashType: 0x0, nPath: 0x0, hashVal: 0x0"));
}

TEST_F(L2MpChain, PlainGroupsStay) {
    for (const auto &[isMgid, gid] :
         {std::pair{0u, 0x123u}, {0u, 0x4123u}, {1u, 0x18123u}, {1u, 0x8123u}, {0u, 0x7fffu}}) {
        newFrame();
        stat.l2PselIsL2Mgid = isMgid;
        stat.l2PselEgidMgid = gid;
        EXPECT_EQ(run(), "");
        EXPECT_EQ(stat.l2PselIsL2Mgid, isMgid);
        EXPECT_EQ(stat.l2PselEgidMgid, gid);
    }
}

TEST_F(L2MpChain, MpidThenLgid) {
    stat.l2PselEgidMgid = kMpid | 0x100;
    mem.RTE_L2_PSEL_MPID_SRAM[0x800] = kLgid | 0x20;
    mem.RTE_L2_PSEL_LGID_SRAM[0x400] = kMpid | 0x77; // is final all the same
    const std::string text = run();
    EXPECT_EQ(stat.l2PselEgidMgid, kMpid | 0x77);
    EXPECT_EQ(stat.l2PselMpIdStsEn, 1u);
    EXPECT_EQ(stat.l2PselMpIdSts, 0x800u);
    EXPECT_EQ(stat.l2PselDaRsltMpid, kLgid | 0x20);
    EXPECT_EQ(stat.l2PselDaRsltMpidIsL2Mgid, 0u);
    EXPECT_EQ(stat.l2PselLgIdStsEn, 1u);
    EXPECT_EQ(stat.l2PselLgIdSts, 0x400u);
    EXPECT_EQ(stat.l2PselDaRsltLgid, kMpid | 0x77);
    EXPECT_EQ(stat.l2PselMctIdStsEn, 0u);
    EXPECT_EQ(com.rte_his_l2_psel_mpid[3], 0x10800u);
    EXPECT_EQ(com.rte_his_l2_psel_lgid[3], 0x10400u);
    EXPECT_TRUE(has(text, pfx + "[MULTI_PATH] gid from L2_MPID: 8020, isMgid:0\n"));
    EXPECT_TRUE(has(text, pfx + "[MULTI_PATH] gid from L2_LGID: 10077, isMgid: 0\n"));
}

TEST_F(L2MpChain, MulticastRowEndsTheChain) {
    stat.l2PselEgidMgid = kMpid | 0x100;
    mem.RTE_L2_PSEL_MPID_SRAM[0x800] = kIsMgid | kLgid | 0x20;
    run();
    EXPECT_EQ(stat.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselEgidMgid, kLgid | 0x20);
    EXPECT_EQ(stat.l2PselDaRsltMpidIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselLgIdStsEn, 0u);
    newFrame();
    stat.l2PselEgidMgid = kLgid | 0x21;
    mem.RTE_L2_PSEL_LGID_SRAM[0x420] = kIsMgid | 0x55;
    run();
    EXPECT_EQ(stat.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselDaRsltLgidIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselEgidMgid, 0x55u);
}

TEST_F(L2MpChain, SourceLookupRecordsItsOwn) {
    stat.l2PselEgidMgid = kMpid | 0x100;
    mem.RTE_L2_PSEL_MPID_SRAM[0x800] = kLgid | 0x20;
    mem.RTE_L2_PSEL_LGID_SRAM[0x400] = 0x77;
    run(0);
    EXPECT_EQ(stat.l2PselEgidMgid, 0x77u);
    EXPECT_EQ(stat.l2PselSaRsltMpid, 1u) << "not the group";
    EXPECT_EQ(stat.l2PselSaRsltMpidIsL2Mgid, 0u);
    EXPECT_EQ(stat.l2PselSaRsltLgid, 0x77u);
    EXPECT_EQ(stat.l2PselSaRsltLgidIsL2Mgid, 0u);
    EXPECT_EQ(stat.l2PselMpIdStsEn, 0u);
    EXPECT_EQ(stat.l2PselLgIdStsEn, 0u);
    EXPECT_EQ(com.rte_his_l2_psel_mpid[3], 0u);
    EXPECT_EQ(com.rte_his_l2_psel_lgid[3], 0u);
    newFrame();
    stat.l2PselEgidMgid = kMpid | 0x100;
    mem.RTE_L2_PSEL_MPID_SRAM[0x800] = kIsMgid | 0x20;
    run(0);
    EXPECT_EQ(stat.l2PselSaRsltMpid, 1u);
    EXPECT_EQ(stat.l2PselSaRsltMpidIsL2Mgid, 1u);
    newFrame();
    stat.l2PselEgidMgid = kLgid | 0x20;
    mem.RTE_L2_PSEL_LGID_SRAM[0x400] = kIsMgid | 0x77;
    run(0);
    EXPECT_EQ(stat.l2PselSaRsltLgid, 0x77u);
    EXPECT_EQ(stat.l2PselSaRsltLgidIsL2Mgid, 1u);
}

TEST_F(L2MpChain, TrillDestination) {
    stat.l2PselDoTrillMP = 1;
    stat.l2PselTrillVld = 1;
    stat.l2PselTrillDa = 0xfffe;
    stat.l2PselEgidMgid = 0x999;
    mem.RTE_L2_TRILL_DEST_SRAM[0xfffe] = kLgid | 0x20;
    mem.RTE_L2_PSEL_LGID_SRAM[0x400] = 0x77;
    std::string text = run();
    EXPECT_EQ(stat.l2PselEgidMgid, 0x77u);
    EXPECT_TRUE(has(text, pfx + "[MULTI_PATH] gidVal from TRILL: 8020, isMgid: 0\n"));
    EXPECT_EQ(com.rte_his_l2_psel_trill_dest[3], 0x1fffeu);

    newFrame();
    stat.l2PselDoTrillMP = stat.l2PselTrillVld = stat.l2PselOverrideTrillEgid = 1;
    stat.l2PselEgidMgid = 0x999;
    EXPECT_EQ(run(), "");
    EXPECT_EQ(stat.l2PselEgidMgid, 0x999u);

    newFrame();
    stat.l2PselDoTrillMP = 1;
    stat.l2PselEgidMgid = 0x999;
    run();
    EXPECT_EQ(stat.l2PselEgidMgid, 0x999u) << "no valid destination";

    newFrame();
    stat.l2PselTrillVld = 1;
    stat.l2PselTrillDa = 0xfffe;
    stat.l2PselEgidMgid = 0x999;
    run();
    EXPECT_EQ(stat.l2PselEgidMgid, 0x999u) << "not asked for";

    newFrame();
    mem.RTE_L2_TRILL_DEST_SRAM[0xfffe] = kIsMgid | 0x10123;
    stat.l2PselDoTrillMP = stat.l2PselTrillVld = 1;
    stat.l2PselTrillDa = 0xfffe;
    run();
    EXPECT_EQ(stat.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselEgidMgid, 0x10123u);
}

TEST_F(L2MpChain, TreeNamesTheDestination) {
    stat.l2PselDoTrillMP = stat.l2PselIsMctid = 1;
    stat.l2PselMctId = 0x100;
    mem.RTE_L2_PSEL_MCTID_SRAM[0x800] = 0xc242;
    mem.RTE_L2_TRILL_DEST_SRAM[0xc242] = 0x66;
    std::string text = run();
    EXPECT_EQ(stat.l2PselTrillDa, 0xc242u);
    EXPECT_EQ(stat.l2PselEgidMgid, 0x66u);
    EXPECT_EQ(stat.l2PselMctIdStsEn, 1u);
    EXPECT_EQ(stat.l2PselMctIdSts, 0x800u);
    EXPECT_EQ(com.rte_his_l2_psel_mctid[3], 0x10800u);
    EXPECT_TRUE(has(text, pfx + "[MULTI_PATH] trillDa from MCTID_SRAM: 0xc242\n"));

    newFrame();
    com.rte_his_l2_psel_mctid[3] = 0;
    stat.l2PselDoTrillMP = stat.l2PselIsMctid = stat.l2PselOverrideTrillEgid = 1;
    stat.l2PselMctId = 0x100;
    stat.l2PselEgidMgid = 0x999;
    run(0);
    EXPECT_EQ(stat.l2PselTrillDa, 0xc242u);
    EXPECT_EQ(stat.l2PselEgidMgid, 0x999u);
    EXPECT_EQ(stat.l2PselMctIdStsEn, 0u);
    EXPECT_EQ(com.rte_his_l2_psel_mctid[3], 0x10800u) << "captured for the source too";
}

TEST_F(L2MpChain, DropAndTrapHaveNoMulticastGroup) {
    for (uint32_t typ = 0; typ < 4; typ++) {
        newFrame();
        stat.l2PselRsltTyp = typ;
        stat.l2PselIsL2Mgid = 1;
        stat.l2PselEgidMgid = 0x321;
        run();
        EXPECT_EQ(stat.l2PselIsL2Mgid, typ > 1);
        EXPECT_EQ(stat.l2PselEgidMgid, 0x321u);
    }
}

TEST_F(L2MpSts, Mpid) {
    com.rte_l2_psel_sts_mpid[1] = com.rte_l2_psel_sts_mpid[31] = 0x1abc;
    com.rte_l2_psel_sts_mpid[31] = 0x1abd;
    mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 13 + 1] = 0xffffffff;
    std::string text = printed([&] { L2MpidSts(0x1abc << 3 | 5, &stat); });
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_FCNT_SRAM[2 * 13 + 1], 1u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 13], 1u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 13 + 1], 99u);
    EXPECT_EQ(stat.l2psel_mpid_sts_hit, 1u);
    EXPECT_EQ(text, pfx + "L2 MPID stats, mpid=0x1abc, matched grpIdx=1, address=13, byteCnt=0x63\n");
    mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 255] = 0xffff;
    mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 255 + 1] = 0xffffff00;
    printed([&] { L2MpidSts(0x1abd << 3 | 7, &stat); });
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 255], 0xffffu) << "48 bits wide";
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * 255 + 1], 0xffffff64u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_FCNT_SRAM[511], 1u) << "the last row";
    newFrame();
    EXPECT_EQ(printed([&] { L2MpidSts(0x1abe << 3, &stat); }), "");
    EXPECT_EQ(stat.l2psel_mpid_sts_hit, 0u);
}

TEST_F(L2MpSts, TreeTakesTheFirstMatch) {
    com.rte_l2_psel_sts_mctid[3] = com.rte_l2_psel_sts_mctid[4] = 0x7;
    mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * 26] = 0xff;
    mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * 26 + 1] = 0xffffffff;
    const std::string text = printed([&] { MctMpSts(0x7 << 3 | 2, &stat); });
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * 26], 0u) << "40 bits wide";
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * 26 + 1], 0u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MCTID_BCNT_SRAM[2 * 26 + 1], 100u);
    EXPECT_EQ(stat.l2psel_mctid_sts_hit, 1u);
    EXPECT_EQ(text, pfx + "[MULTI_PATH] MctMpid stats, mctid=0x7, matched grpIdx=3, address=26\n");
    newFrame();
    MctMpSts(0x1008 << 3, &stat);
    EXPECT_EQ(stat.l2psel_mctid_sts_hit, 0u);
}

TEST_F(L2MpSts, Lag) {
    com.rte_l2_psel_sts_lgid[0] = 1;
    com.rte_l2_psel_sts_lgid[7] = 0x3ff;
    const std::string groups = "lag_id=3ff sts_lgid groupd: 0x1, 0x0, 0x0, 0x0, 0x0, 0x0, 0x0, 0x3ff\n";
    std::string text = printed([&] { LagSts(0x3ff << 5 | 31, &stat); });
    EXPECT_EQ(text, pfx + groups + pfx + "L2 LAG stats, lgid=0x3ff, matched grpIdx=7, address=255, byteCnt=0x64\n");
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_LGID_FCNT_SRAM[511], 1u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_LGID_BCNT_SRAM[511], 100u);
    EXPECT_EQ(stat.l2psel_lgid_sts_hit, 1u);
    newFrame();
    text = printed([&] { LagSts(0x2ff << 5, &stat); });
    EXPECT_EQ(text, pfx + "lag_id=2ff sts_lgid groupd: 0x1, 0x0, 0x0, 0x0, 0x0, 0x0, 0x0, 0x3ff\n");
    EXPECT_EQ(stat.l2psel_lgid_sts_hit, 0u);
}

TEST_F(L2AclSts, FirstLayer2BankOfTheId) {
    com.acl_sts_bank0_sel = com.acl_sts_bank1_sel = com.acl_sts_bank2_sel = com.acl_sts_bank4_sel = 1;
    com.acl_sts_bank0_id = com.acl_sts_bank5_id = com.acl_sts_bank6_id = 5;
    stat.l2PselStsIdx = 0x5abc;
    EXPECT_EQ(printed([&] { IncL2AclSts(&stat); }), "") << "not enabled";
    EXPECT_EQ(stat.l2psel_acl_sts_hit, 0u);
    stat.l2PselStsEn = 1;
    const std::string text = printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * 0x5abc + 1], 1u);
    EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * 0x5abc + 1], 100u);
    EXPECT_EQ(stat.l2psel_acl_sts_hit, 1u);
    EXPECT_EQ(stat.l2PselStsSflowHitIdx, 0x5abcu);
    EXPECT_EQ(text, pfx + "L2 ACL stats, statIdx=0x5abc, matched bank 5 (addr=5abc), byteCnt=0x64\n" + pfx +
                        "sFlowProfileRate=0x0, l2PselSflowEn=0, RTE_ACL_STS_FCNT_SRAM=0x0 \n" + pfx +
                        "sFlowProfileOneHot=0x0, l2AclSflwHit=0, masked FCNT=0x0, SFLOW_RA[0x2d5]=0x0 shift=3\n");
}

TEST_F(L2AclSts, BankNumberMayDifferFromTheId) {
    com.acl_sts_bank0_id = 1;
    com.acl_sts_bank7_id = 6;
    com.acl_sts_bank1_id = com.acl_sts_bank2_id = com.acl_sts_bank3_id = com.acl_sts_bank4_id = 2;
    com.acl_sts_bank5_id = com.acl_sts_bank6_id = 2;
    stat.l2PselStsEn = 1;
    stat.l2PselStsIdx = 0x6fff;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2PselStsSflowHitIdx, 0x7fffu);
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[65535], 1u);
    newFrame();
    stat.l2PselStsEn = 1;
    stat.l2PselStsIdx = 0x3000;
    EXPECT_EQ(printed([&] { IncL2AclSts(&stat); }), "") << "no bank";
    EXPECT_EQ(stat.l2psel_acl_sts_hit, 0u);
}

TEST_F(L2AclSts, SampledWhenTheOldCountEndsARound) {
    com.rte_sflow_rate[3] = 0x0b; // highest bit: 8
    for (uint32_t i = 0; i < 17; i++) {
        newFrame();
        stat.l2PselStsEn = stat.l2PselSflowEn = 1;
        stat.l2PselSflowProfile = 3;
        const std::string text = printed([&] { IncL2AclSts(&stat); });
        EXPECT_EQ(stat.l2PselSflowFlagSet, i % 8 == 7) << i;
        EXPECT_EQ(stat.l2AclSflwHit, 0u);
        if (i == 9) {
            EXPECT_TRUE(has(text, pfx + "sFlowProfileRate=0xb, l2PselSflowEn=1, RTE_ACL_STS_FCNT_SRAM=0x9 \n" + pfx +
                                      "sFlowProfileOneHot=0x8, l2AclSflwHit=0, masked FCNT=0x1, SFLOW_RA[0x0]=0x0 "
                                      "shift=31\n"))
                << text;
        }
    }
    newFrame();
    mem.RTE_ACL_STS_FCNT_SRAM[1] = 7;
    stat.l2PselStsEn = 1;
    stat.l2PselSflowProfile = 3;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2PselSflowFlagSet, 0u) << "sFlow off";
}

TEST_F(L2AclSts, RateZeroNeverSamplesButTheHitMayStand) {
    mem.RTE_ACL_STS_SFLOW_RA[2] = 1u << 30; // index 65
    mem.RTE_ACL_STS_FCNT_SRAM[2 * 65 + 1] = 0xffffffff;
    stat.l2PselStsEn = stat.l2PselSflowEn = 1;
    stat.l2PselStsIdx = 65;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2PselSflowFlagSet, 0u);
    EXPECT_EQ(stat.l2AclSflwHit, 1u);
    newFrame();
    stat.l2PselStsEn = 1;
    stat.l2PselStsIdx = 65;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2AclSflwHit, 0u);
    newFrame();
    stat.l2PselStsEn = stat.l2PselSflowEn = 1;
    stat.l2PselStsIdx = 64;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2AclSflwHit, 0u);
    // The flag stands at the counter's row, which the bank's number leads, not the id of the index.
    newFrame();
    for (uint32_t *sel :
         {&com.acl_sts_bank0_sel, &com.acl_sts_bank1_sel, &com.acl_sts_bank2_sel, &com.acl_sts_bank3_sel,
          &com.acl_sts_bank4_sel, &com.acl_sts_bank5_sel, &com.acl_sts_bank6_sel})
        *sel = 1;
    mem.RTE_ACL_STS_SFLOW_RA[0x7fff >> 5] = 1;
    stat.l2PselStsEn = stat.l2PselSflowEn = 1;
    stat.l2PselStsIdx = 0x0fff;
    printed([&] { IncL2AclSts(&stat); });
    EXPECT_EQ(stat.l2PselStsSflowHitIdx, 0x7fffu);
    EXPECT_EQ(stat.l2AclSflwHit, 1u);
}

TEST_F(L2AclSts, ProfilesAbove14AreTheLastOne) {
    com.rte_sflow_rate[14] = 0x14;
    com.rte_sflow_rate[15] = 0x15;
    for (const auto &[profile, rate] : {std::pair{14u, "0x14,"}, {15u, "0x15,"}, {99u, "0x15,"}}) {
        newFrame();
        stat.l2PselStsEn = 1;
        stat.l2PselSflowProfile = profile;
        EXPECT_TRUE(has(printed([&] { IncL2AclSts(&stat); }), std::string("sFlowProfileRate=") + rate));
    }
}

TEST_F(L2FinalEgid, ContradictedVerdicts) {
    com.rte_pth_egid = 0x11;
    com.rte_drop_egid = 0x22;
    const char *special = "is either pass_egid or drop_egid. ";
    const char *form = "has bits [16:14]!=0. ";
    struct Case {
        uint32_t egid, isMgid;
        const char *why;
    };
    for (const Case &c :
         {Case{0x4011, 0, special}, Case{0x4022, 0, special}, Case{0x14011, 0, special}, Case{0x6011, 0, special},
          Case{0x4033, 0, form}, Case{0x8011, 0, form}, Case{0x10000, 0, form}, Case{0x0011, 0, nullptr},
          Case{0x2011, 0, nullptr}, Case{0x4011, 1, nullptr}}) {
        for (uint32_t typ = 0; typ < 4; typ++) {
            newFrame();
            stat.l2PselEgidMgid = c.egid;
            stat.l2PselIsL2Mgid = c.isMgid;
            stat.l2PselRsltTyp = typ;
            stat.l2PselDropRsn = 7;
            const std::string text = printed([&] { checkFinalEgid(&stat); });
            if (!c.why || typ < 2) {
                EXPECT_EQ(text, "");
                EXPECT_EQ(stat.l2PselRsltTyp, typ);
                EXPECT_EQ(stat.l2PselDropRsn, 7u);
                continue;
            }
            char egid[20];
            std::snprintf(egid, sizeof egid, "(0x%x) ", c.egid);
            const std::string then = typ == 2           ? "DROP\n"
                                     : c.why == special ? "FWD_TRAP --> TRAP\n"
                                                        : "FWD_A_TRAP --> TRAP\n";
            EXPECT_EQ(text, pfx + "[MULTI_PATH] final egid " + egid + c.why + then);
            EXPECT_EQ(stat.l2PselRsltTyp, typ == 2 ? 0u : 1u);
            EXPECT_EQ(stat.l2PselDropRsn, typ == 2 ? 0u : 7u);
        }
    }
}

TEST_F(L2MpTest, RandomChipAndFrame) {
    RandomWords rng(1);
    const auto fill = [&](void *to, size_t bytes) {
        uint32_t *words = static_cast<uint32_t *>(to);
        for (size_t i = 0; i < bytes / 4; i++)
            words[i] = rng();
    };
    fill(&mem, sizeof mem);
    for (uint32_t i = 0; i < 500; i++) {
        fill(&com, sizeof com);
        fill(&stat.l2HdrLenAdj, offsetof(CmRteStat, dbgLvl) - offsetof(CmRteStat, l2HdrLenAdj));
        stat.dbgLvl = 0;
        l2MultipathProcess(&stat, i & 1);
        LagSts(rng(), &stat);
        L2MpidSts(rng(), &stat);
        MctMpSts(rng(), &stat);
        EXPECT_LE(MctMpid(rng(), rng(), &stat), 0xffffu);
        IncL2AclSts(&stat);
        checkFinalEgid(&stat);
    }
}
