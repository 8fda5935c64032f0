// The forwarding database: keys, results, the chip's own addresses, flooding, debug counters, and the special egids.

#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "random_words.h"
#include "tcam_image.h"

#include <array>
#include <random>

namespace {

constexpr uint32_t kPort = 3;
constexpr uint64_t kDa = 0x00aabbccddee;
constexpr uint64_t kSa = 0x001122334455;
constexpr uint64_t kMcastDa = 0x01005e010203;
constexpr uint32_t kIivid = 0x0123;
constexpr uint32_t kFid = 0x1456;

constexpr uint32_t kAclDropEgid = 0x1a01;
constexpr uint32_t kTrapEgid = 0x1a02;
constexpr uint32_t kDropEgid = 0x1a03;
constexpr uint32_t kPthEgid = 0x1a04;
constexpr uint32_t kRteRqdEgid = 0x0155;
constexpr uint32_t kPthGid = 0x4000 | kPthEgid;

class L2ExmTest : public ModelTest {
protected:
    L2ExmTest() {
        tcamOff(mem.RTE_L2_EXM_OVERFLOW_TCAM, 8);
        tcamOff(mem.RTE_MYDA_PREFIX_TCAM, 2);
        com.rte_acl_drop_egid = kAclDropEgid;
        com.rte_trap_egid = kTrapEgid;
        com.rte_drop_egid = kDropEgid;
        com.rte_pth_egid = kPthEgid;
        com.rte_rte_rqd_egid = kRteRqdEgid;
        com.dont_change_ivid = 0x1ffe;
        com.rte_l2_exm_da_uc_unk_rslt0_addr = 1000;
        com.rte_l2_exm_da_uc_unk_rslt1_addr = 1001;
        com.rte_l2_exm_da_mc_unk_rslt_addr = 1002;
        com.rte_l2_exm_da_mc_unk_rslt1_addr = 1003;
        com.rte_l2_exm_sa_unk_rslt_addr = 1004;
        com.rte_l2_exm_trill_sa_unk_rslt_addr = 1005;
        com.rte_l2_exm_trill_da_uc_itr_unk_rslt_addr = 1006;
        com.rte_l2_exm_trill_da_uc_egr_unk_rslt_addr = 1007;
        com.rte_l2_exm_trill_da_mc_egr_unk_rslt_addr = 1008;
        com.rte_l2_exm_trill_da_mc_unk_rslt0_addr = 1009;
        com.rte_l2_exm_trill_da_mc_unk_rslt1_addr = 1010;
        com.rte_l2_exm_trill_da_mc_unk_inner_mc_rslt0_addr = 1011;
        com.rte_l2_exm_trill_da_mc_unk_inner_mc_rslt1_addr = 1012;
        com.rte_l2_exm_trill_unk_da_unk_rslt_addr = 1013;
        com.rte_l2_exm_trill_mc_unk_rslt_rb0 = 0xb000;
        com.rte_l2_exm_trill_mc_unk_rslt_rb1 = 0xb111;
        com.rte_l2_exm_mgid_hsh_typ = 5;
        com.rte_l2_exm_def_myda_id = 0x55;
        com.rte_l2_hit_trap_que = 6;
        com.rte_l2_miss_trap_que = 9;
        mem.RTE_L2_FID_SRAM[kIivid] = kFid;
        newFrame();
    }

    void newFrame() {
        resetStat(kPort);
        stat.frmIdx = 1;
        stat.iivid = kIivid;
        stat.vpn_id = 0x76543;
        stat.l2OuterDa = stat.l2Da = kDa;
        stat.l2OuterSa = stat.l2Sa = kSa;
    }

    /// Makes the frame a TRILL one with inner addresses kDa and kSa.
    void trill(uint32_t mc, uint32_t egr, uint32_t da = 0xd123, uint32_t sa = 0x5a5a) {
        stat.l2TrillFound = 1;
        stat.l2TrillMc = mc;
        stat.l2TrillEgr = egr;
        stat.l2TrillDa = da;
        stat.l2TrillSa = sa;
        stat.l2TrillInnerDa = kDa;
        stat.l2TrillInnerSa = kSa;
        stat.l2OuterDa = 0x0e0e0e0e0e0e;
        stat.l2OuterSa = 0x0f0f0f0f0f0f;
    }

    static uint64_t key0(uint32_t trillVld, uint32_t fid) { return static_cast<uint64_t>(trillVld) << 13 | fid; }
    static uint64_t key1(uint32_t trillAddr, uint64_t addr) { return static_cast<uint64_t>(trillAddr) << 48 | addr; }
    static uint64_t macKey1(uint64_t addr) { return key1(0, addr); }

    void setRslt(uint32_t idx, uint64_t word) {
        mem.RTE_L2_EXM_RSLT_EDRAM[2 * idx] = static_cast<uint32_t>(word >> 32);
        mem.RTE_L2_EXM_RSLT_EDRAM[2 * idx + 1] = static_cast<uint32_t>(word);
    }

    /// The 19-bit hash of a key without swap control.
    static uint32_t hashOf(uint64_t k0, uint64_t k1) {
        uint8_t buf[10];
        for (int i = 0; i < 2; i++)
            buf[i] = static_cast<uint8_t>(k0 >> (8 - 8 * i));
        for (int i = 0; i < 8; i++)
            buf[2 + i] = static_cast<uint8_t>(k1 >> (56 - 8 * i));
        return CmEnetCrcCalc(10, buf) & 0x7ffff;
    }

    void setBucket(uint64_t k0, uint64_t k1, uint32_t bucket) {
        const uint32_t hash = hashOf(k0, k1);
        uint32_t &word = mem.RTE_L2_EXM_IDX_EDRAM[hash >> 1];
        word = hash & 1 ? (word & 0xffff0000) | bucket : (word & 0xffff) | bucket << 16;
    }

    /// Puts a key into a bucket; returns its result index.
    uint32_t putHash(uint64_t k0, uint64_t k1, uint32_t bucket, uint32_t pos, uint64_t result) {
        setBucket(k0, k1, bucket);
        const uint32_t idx = bucket * 32 + pos;
        mem.RTE_L2_EXM_BKT_EDRAM[4 * idx] = static_cast<uint32_t>(k0 >> 32);
        mem.RTE_L2_EXM_BKT_EDRAM[4 * idx + 1] = static_cast<uint32_t>(k0);
        mem.RTE_L2_EXM_BKT_EDRAM[4 * idx + 2] = static_cast<uint32_t>(k1 >> 32);
        mem.RTE_L2_EXM_BKT_EDRAM[4 * idx + 3] = static_cast<uint32_t>(k1);
        setRslt(idx, result);
        return idx;
    }

    /// Puts a key into the overflow TCAM; returns its result index.
    uint32_t putTcam(uint64_t k0, uint64_t k1, uint32_t entry, uint64_t result) {
        tcamExact(mem.RTE_L2_EXM_OVERFLOW_TCAM, entry,
                  {static_cast<uint32_t>(k0 >> 32), static_cast<uint32_t>(k0), static_cast<uint32_t>(k1 >> 32),
                   static_cast<uint32_t>(k1)});
        const uint32_t idx = 393216 - 1024 + entry;
        setRslt(idx, result);
        return idx;
    }

    uint32_t putDa(uint64_t result) { return putHash(key0(0, kFid), macKey1(kDa), 77, 5, result); }
    uint32_t putSa(uint64_t result) { return putHash(key0(0, kFid), macKey1(kSa), 78, 6, result); }

    /// Makes the addresses from `mac` to `mac` + `span` the chip's, by entry `entry`.
    void chassis(uint32_t entry, uint64_t mac, uint32_t span, uint32_t rsltIdx, uint32_t myDaId) {
        tcamExact(mem.RTE_MYDA_PREFIX_TCAM, entry, {static_cast<uint32_t>(mac >> 24) & 0xffffff});
        mem.RTE_MYDA_PREFIX_TCAM[2 * entry + 1] &= 0xffffff;
        com.rte_l2_chs_mac_lo[entry] = static_cast<uint32_t>(mac) & 0xffffff;
        com.rte_l2_chs_mac_hi[entry] = (static_cast<uint32_t>(mac) & 0xffffff) + span;
        mem.RTE_MYDA_LOOKUP_RSLT_RA[entry] = myDaId << 19 | rsltIdx;
    }

    std::string run() {
        verbose(true);
        return printed([&] { L2Exm(&stat); });
    }
    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    const std::string pfx = "CM port=3, frameIdx=1>> ";
};

using L2Egid = L2ExmTest;
using L2ExmKeys = L2ExmTest;
using L2ExmDa = L2ExmTest;
using L2ExmSa = L2ExmTest;
using L2ExmFlood = L2ExmTest;
using L2ExmChassis = L2ExmTest;
using L2ExmHis = L2ExmTest;
using L2ExmStp = L2ExmTest;
using L2ExmDbg = L2ExmTest;

// A result word from its fields.
uint64_t rsltWord(uint32_t gid, uint32_t isMgid = 0, uint32_t trapEn = 0, uint32_t trillCmd = 0, uint32_t trillFld = 0,
                  uint32_t trillMc = 0, uint32_t lrnPort = 0) {
    return static_cast<uint64_t>(trillFld) << 28 | trillCmd << 26 | trillMc << 25 | trapEn << 24 | isMgid << 23 |
           lrnPort << 17 | gid;
}

} // namespace

// The special egids.

TEST_F(L2Egid, EachTestKnowsItsEgidInEgidFormOnly) {
    using EgidTest = uint32_t (*)(const CmRteStat *, uint32_t);
    for (const auto &[test, egid] : {std::pair<EgidTest, uint32_t>{CmRteCkAclDropEgid, kAclDropEgid},
                                     {CmRteCkTrapEgid, kTrapEgid},
                                     {CmRteCkNorDropEgid, kDropEgid},
                                     {CmRteCkPthEgid, kPthEgid}}) {
        EXPECT_EQ(test(&stat, 0x4000 | egid), 1u);
        EXPECT_EQ(test(&stat, 0x4000 | (egid ^ 1)), 0u);
        EXPECT_EQ(test(&stat, egid), 0u) << "bit 14 clear";
        EXPECT_EQ(test(&stat, 0x6000 | egid), 0u) << "bit 13 set";
        EXPECT_EQ(test(&stat, 0xc000 | egid), 0u) << "bit 15 set";
        EXPECT_EQ(test(&stat, 0x14000 | egid), 0u) << "bit 16 set";
    }
}

TEST_F(L2Egid, OneNumberForAllIsTheAclDrop) {
    com.rte_trap_egid = com.rte_drop_egid = com.rte_pth_egid = kAclDropEgid;
    EXPECT_EQ(CmRteCkAclDropEgid(&stat, 0x4000 | kAclDropEgid), 1u);
    EXPECT_EQ(CmRteCkTrapEgid(&stat, 0x4000 | kAclDropEgid), 0u);
    EXPECT_EQ(CmRteCkNorDropEgid(&stat, 0x4000 | kAclDropEgid), 0u);
    EXPECT_EQ(CmRteCkPthEgid(&stat, 0x4000 | kAclDropEgid), 0u);
}

TEST_F(L2Egid, TrapComesBeforeDropAndDropBeforePassThrough) {
    com.rte_drop_egid = com.rte_pth_egid = kTrapEgid;
    EXPECT_EQ(CmRteCkTrapEgid(&stat, 0x4000 | kTrapEgid), 1u);
    EXPECT_EQ(CmRteCkNorDropEgid(&stat, 0x4000 | kTrapEgid), 0u);
    EXPECT_EQ(CmRteCkPthEgid(&stat, 0x4000 | kTrapEgid), 0u);
    com.rte_drop_egid = com.rte_pth_egid = kDropEgid;
    EXPECT_EQ(CmRteCkNorDropEgid(&stat, 0x4000 | kDropEgid), 1u);
    EXPECT_EQ(CmRteCkPthEgid(&stat, 0x4000 | kDropEgid), 0u);
}

TEST_F(L2Egid, PassThroughMustDifferFromRouteRequiredInTheLowNineBits) {
    com.rte_rte_rqd_egid = kPthEgid & 0x1ff;
    EXPECT_EQ(CmRteCkPthEgid(&stat, kPthGid), 0u);
    com.rte_rte_rqd_egid ^= 0x100;
    EXPECT_EQ(CmRteCkPthEgid(&stat, kPthGid), 1u);
}

TEST_F(L2Egid, RouteRequiredAsksForTheProtocolOfTheFrame) {
    const uint32_t base = 0x4000 | kRteRqdEgid;
    struct Case {
        uint32_t fcoe, ver, bit, want;
    };
    for (const Case &c :
         {Case{1, 0, 12, 1}, Case{1, 0, 11, 1}, Case{1, 4, 9, 0}, Case{0, 6, 10, 1}, Case{0, 6, 9, 0}, Case{0, 4, 9, 1},
          Case{0, 4, 10, 0}, Case{0, 0, 9, 0}, Case{0, 4, 12, 0}, Case{1, 6, 10, 0}}) {
        stat.l2FcoeFound = c.fcoe;
        stat.l3IpVer = c.ver;
        EXPECT_EQ(CmRteCkRteRqdEgid(&stat, base | 1u << c.bit), c.want) << c.fcoe << c.ver << " " << c.bit;
        EXPECT_EQ(CkRteRqdEgidOnly(&stat, base | 1u << c.bit), c.want);
        EXPECT_EQ(CmRteCkRteRqdEgidL2(&com, base | 1u << c.bit), 1u);
        EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, base | 1u << c.bit), 1u);
    }
    EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, base), 0u) << "none of the four bits";
    EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, (base ^ 1) | 0x200), 0u) << "another egid";
    EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, (base & ~0x4000u) | 0x200), 0u) << "bit 14 clear";
    EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, base | 0x2200), 0u) << "bit 13 set";
    EXPECT_EQ(CkRteRqdEgidOnlyL2(&com, base | 0x8200), 1u) << "the bits above do not count here";
    EXPECT_EQ(CmRteCkRteRqdEgidL2(&com, base | 0x8200), 0u);
    stat.l2FcoeFound = 0;
    stat.l3IpVer = 4;
    EXPECT_EQ(CkRteRqdEgidOnly(&stat, base | 0x8200), 1u);
    EXPECT_EQ(CmRteCkRteRqdEgid(&stat, base | 0x8200), 0u);
}

TEST_F(L2Egid, RouteRequiredYieldsToTheSpecialEgidsButNotToPassThrough) {
    const uint32_t egid = kRteRqdEgid | 0x200;
    stat.l3IpVer = 4;
    for (uint32_t CmRteHsiComReg::*reg :
         {&CmRteHsiComReg::rte_acl_drop_egid, &CmRteHsiComReg::rte_trap_egid, &CmRteHsiComReg::rte_drop_egid}) {
        const uint32_t old = com.*reg;
        com.*reg = egid;
        EXPECT_EQ(CmRteCkRteRqdEgid(&stat, 0x4000 | egid), 0u);
        EXPECT_EQ(CmRteCkRteRqdEgidL2(&com, 0x4000 | egid), 0u);
        EXPECT_EQ(CkRteRqdEgidOnly(&stat, 0x4000 | egid), 1u);
        com.*reg = old;
    }
    com.rte_pth_egid = egid;
    EXPECT_EQ(CmRteCkRteRqdEgid(&stat, 0x4000 | egid), 1u);
}

// Keys.

TEST_F(L2ExmKeys, PlainFrameUsesItsOuterAddressesInTheVlansFid) {
    run();
    EXPECT_EQ(stat.l2ExmDaKey0, kFid);
    EXPECT_EQ(stat.l2ExmDaKey1, kDa);
    EXPECT_EQ(stat.l2ExmSaKey0, kFid);
    EXPECT_EQ(stat.l2ExmSaKey1, kSa);
    EXPECT_EQ(stat.l2TrillInterior, 0u);
}

TEST_F(L2ExmKeys, TransitUnicastUsesTheRbridgesAlone) {
    trill(0, 0);
    run();
    EXPECT_EQ(stat.l2ExmDaKey0, 0x2000u);
    EXPECT_EQ(stat.l2ExmDaKey1, 0xd123000000000000u);
    EXPECT_EQ(stat.l2ExmSaKey0, 0x2000u);
    EXPECT_EQ(stat.l2ExmSaKey1, 0x5a5a000000000000u);
    EXPECT_EQ(stat.l2TrillInterior, 1u);
}

TEST_F(L2ExmKeys, TransitMulticastUsesTreeAndInnerAddress) {
    trill(1, 0);
    run();
    EXPECT_EQ(stat.l2ExmDaKey0, 0x2000u | kFid);
    EXPECT_EQ(stat.l2ExmDaKey1, 0xd123000000000000u | kDa);
    EXPECT_EQ(stat.l2ExmSaKey0, kFid);
    EXPECT_EQ(stat.l2ExmSaKey1, kSa);
    EXPECT_EQ(stat.l2TrillInterior, 1u);
}

TEST_F(L2ExmKeys, EgressFrameUsesTheInnerAddresses) {
    for (uint32_t mc : {0u, 1u}) {
        newFrame();
        trill(mc, 1);
        run();
        EXPECT_EQ(stat.l2ExmDaKey0, kFid);
        EXPECT_EQ(stat.l2ExmDaKey1, kDa);
        EXPECT_EQ(stat.l2ExmSaKey0, kFid);
        EXPECT_EQ(stat.l2ExmSaKey1, kSa);
        EXPECT_EQ(stat.l2TrillInterior, 0u);
    }
}

TEST_F(L2ExmKeys, MulticastInTheUnchangedVlanUsesTheVpnId) {
    trill(1, 1);
    com.dont_change_ivid = kIivid;
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaKey0, 0x2000u | kFid);
    EXPECT_EQ(stat.l2ExmDaKey1, 0xd123000000000000u | 0x76543);
    EXPECT_EQ(stat.l2ExmSaKey0, kFid);
    EXPECT_EQ(stat.l2ExmSaKey1, kSa);
    EXPECT_TRUE(has(text, pfx + "L2 DA EXM LU key: key_type=2,trill_addr_vld=1, fid=0x1456, trill_addr=0xd123, "
                                "mac_addr=0x0, vpn_id=0x76543, hsh_typ=5, tbl_sel=0\n"));
    EXPECT_TRUE(has(text, "DA=           76543\n")) << text;
    EXPECT_EQ(stat.l2ExmDaIdx, 1013u);
}

TEST_F(L2ExmKeys, UnicastInTheUnchangedVlanIsNoSpecialCase) {
    trill(0, 0);
    com.dont_change_ivid = kIivid;
    run();
    EXPECT_EQ(stat.l2ExmDaKey0, 0x2000u);
}

TEST_F(L2ExmKeys, TraceOfTheKeyShowsTheTableChoice) {
    stat.hshVal[5] = 0x8000;
    const std::string text = run();
    EXPECT_TRUE(has(text, pfx + "L2 DA EXM LU key: key_type=1,trill_addr_vld=0, fid=0x1456, trill_addr=0x0, "
                                "mac_addr=0xaabbccddee, vpn_id=0x76543, hsh_typ=5, tbl_sel=1\n"))
        << text;
    newFrame();
    stat.hshVal[5] = 0x17fff;
    EXPECT_TRUE(has(run(), "hsh_typ=5, tbl_sel=0\n"));
    newFrame();
    verbose(false);
    EXPECT_EQ(printed([&] { L2Exm(&stat); }), "");
}

// The DA.

TEST_F(L2ExmDa, HashHitIsTakenApart) {
    const uint32_t idx = putDa(rsltWord(0x1abcd, 1, 0, 2, 0xfedc, 1, 0x3f));
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    EXPECT_EQ(stat.l2ExmDaIdx, idx);
    EXPECT_EQ(stat.l2ExmDaLuMiss, 0u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x1abcdu);
    EXPECT_EQ(stat.l2ExmDaEgidOrig, 0x1abcdu);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 1u);
    EXPECT_EQ(stat.l2ExmDaIsMgidOrig, 1u);
    EXPECT_EQ(stat.l2ExmDaTrillCmd, 2u);
    EXPECT_EQ(stat.l2ExmDaTrillDa, 0xfedcu);
    EXPECT_EQ(stat.l2ExmDaTrillMc, 1u);
    EXPECT_EQ(stat.l2ExmDoTrillMP, 1u);
    EXPECT_EQ(stat.l2ExmDaIsMctid, 0u);
    EXPECT_EQ(stat.l2ExmDaOverrideTrillEgid, 0u);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 1u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 0u);
    EXPECT_TRUE(has(text, pfx + "L2 DA EXM hash hit at index 9a5, DA=      aabbccddee\n")) << text;
    EXPECT_TRUE(has(text, pfx + "DA EXM rsltIdx=0x9a5, result=0xfedc")) << text;
    EXPECT_TRUE(has(text, pfx + "[L2_DA_EXM] trillCmd=2, trillDa=0xfedc, trillMc=1, trillMctId=0x0, doTrillMp=1, "
                                "ovrdTrillEgid=0\n"));
    EXPECT_EQ(mem.RTE_L2_EXM_DA_ACT_SRAM[idx >> 5], 1u << (idx & 31));
}

TEST_F(L2ExmDa, TcamHitAndBothHits) {
    const uint32_t idx = putTcam(key0(0, kFid), macKey1(kDa), 1023, rsltWord(0x111));
    EXPECT_EQ(idx, 393215u);
    std::string text = run();
    EXPECT_EQ(stat.l2ExmDaIdx, idx);
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x111u);
    EXPECT_TRUE(has(text, pfx + "L2 DA EXM tcam hit at index 5ffff, DA=      aabbccddee\n")) << text;
    newFrame();
    putDa(rsltWord(0x222));
    text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x222u);
    EXPECT_TRUE(has(text, "L2 DA EXM hash hit"));
    EXPECT_FALSE(has(text, "L2 DA EXM tcam hit"));
}

TEST_F(L2ExmDa, MissTakesTheDefaultRowAndMarksItActive) {
    stat.hshVal[5] = 0x4321;
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaIdx, 1000u);
    EXPECT_EQ(stat.l2ExmDaHit, 0u);
    EXPECT_EQ(stat.l2ExmDaLuMiss, 1u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 1u);
    EXPECT_TRUE(has(text, pfx + "L2 DA EXM miss: hash_typ=5, hash_val=4321, tbl_sel=0, rslt_index=3e8, "
                                "DA=      aabbccddee\n"))
        << text;
    EXPECT_EQ(mem.RTE_L2_EXM_DA_ACT_SRAM[1000 >> 5], 1u << (1000 & 31));
}

TEST_F(L2ExmDa, BucketsBeyondTheLastOneHoldNothing) {
    putHash(key0(0, kFid), macKey1(kDa), 0x2fff - 32, 31, rsltWord(0x77)); // the last one in front of the TCAM's range
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    for (uint32_t bucket : {0x3000u, 0x3fffu}) {
        newFrame();
        setBucket(key0(0, kFid), macKey1(kDa), bucket);
        run();
        EXPECT_EQ(stat.l2ExmDaHit, 0u);
        EXPECT_EQ(stat.l2ExmDaIdx, 1000u);
    }
}

TEST_F(L2ExmDa, BucketHitInTheTcamRangeCountsOnlyWhenAllowed) {
    putHash(key0(0, kFid), macKey1(kDa), 0x2fff, 31, rsltWord(0x77));
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 0u);
    newFrame();
    com.rte_l2_exm_alw_hsh_hit_tcam_rng = 1;
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    EXPECT_EQ(stat.l2ExmDaIdx, 393215u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x77u);
}

TEST_F(L2ExmDa, DefaultIndexBeyondTheResultsReadsNothing) {
    com.rte_l2_exm_da_uc_unk_rslt0_addr = 0x7ffff;
    com.rte_l2_exm_sa_unk_rslt_addr = 0x7ffff;
    run();
    EXPECT_EQ(stat.l2ExmDaIdx, 0x7ffffu);
    EXPECT_EQ(stat.l2ExmDaEgidOrig, 0u);
    EXPECT_EQ(stat.l2ExmSaIdx, 0x7ffffu);
    for (uint32_t word : mem.RTE_L2_EXM_DA_ACT_SRAM)
        ASSERT_EQ(word, 0u);
}

TEST_F(L2ExmDa, SwapControlChangesTheBucketAndNotTheKey) {
    // Control bit 0 of the low word exchanges key bits 0 and 1: 0x...ee becomes 0x...ed.
    com.rte_l2_exm_swp_ctl_w1 = 1;
    putDa(rsltWord(0x77));
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 0u);
    newFrame();
    setBucket(key0(0, kFid), macKey1(kDa ^ 3), 77);
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    newFrame();
    // Bit 0 of the high word exchanges bits 64 and 65: FID bits 0 and 1, here 10.
    com.rte_l2_exm_swp_ctl_w1 = 0;
    com.rte_l2_exm_swp_ctl_w0 = 1;
    std::fill(std::begin(mem.RTE_L2_EXM_IDX_EDRAM), std::end(mem.RTE_L2_EXM_IDX_EDRAM), 0);
    setBucket(key0(0, kFid ^ 3), macKey1(kDa), 77);
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
}

TEST_F(L2ExmDa, TrillCommands) {
    putDa(rsltWord(5, 0, 0, 0, 0xfedc));
    stat.l2PselOverrideTrillEgid = 1;
    stat.l2ExmDoTrillMP = 1;
    stat.l2ExmDaIsMctid = 1;
    stat.l2ExmDaFlooded = 1;
    run();
    EXPECT_EQ(stat.l2ExmDoTrillMP, 0u);
    EXPECT_EQ(stat.l2ExmDaIsMctid, 0u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 0u);
    EXPECT_EQ(stat.l2PselOverrideTrillEgid, 0u);

    putDa(rsltWord(5, 0, 0, 3, 0xfedc));
    newFrame();
    std::string text = run();
    EXPECT_EQ(stat.l2ExmDaOverrideTrillEgid, 1u);
    EXPECT_EQ(stat.l2ExmDoTrillMP, 1u);
    EXPECT_EQ(stat.l2ExmDaIsMctid, 0u);
    EXPECT_TRUE(has(text, "doTrillMp=1, ovrdTrillEgid=1\n"));

    putDa(rsltWord(5, 0, 0, 1, 0xbedc));
    newFrame();
    text = run();
    EXPECT_EQ(stat.l2ExmDaIsMctid, 1u);
    EXPECT_EQ(stat.l2ExmDaMctNpath, 5u);
    EXPECT_EQ(stat.l2ExmDaMctId, 0x1edcu);
    EXPECT_EQ(stat.l2ExmDaTrillDa, 0xbedcu);
    EXPECT_EQ(stat.l2ExmDoTrillMP, 1u);
    EXPECT_EQ(stat.l2ExmDaOverrideTrillEgid, 0u);
    EXPECT_TRUE(has(text, "trillCmd=1, trillDa=0xbedc, trillMc=0, trillMctId=0x1edc, doTrillMp=1"));
}

TEST_F(L2ExmDa, TrillHeaderOverridesTheResult) {
    putDa(rsltWord(5, 0, 0, 1, 0xbedc));
    trill(1, 1, 0x6123);
    run();
    EXPECT_EQ(stat.l2ExmDaMctId, 0x0123u);
    EXPECT_EQ(stat.l2ExmDaMctNpath, 3u);
    EXPECT_EQ(stat.l2ExmDaTrillDa, 0x6123u);
    EXPECT_EQ(stat.l2ExmDaTrillMc, 1u);
    EXPECT_EQ(stat.l2ExmDaIsMctid, 1u);
}

TEST_F(L2ExmDa, TrapOfAHitAndOfAMiss) {
    putDa(rsltWord(5, 0, 1));
    std::string text = run();
    EXPECT_EQ(stat.l2ExmDaTrapEn, 1u);
    EXPECT_EQ(stat.l2ExmDaTrapRsn, 1u);
    EXPECT_EQ(stat.l2ExmDaTrapQue, 6u);
    EXPECT_TRUE(has(text, pfx + "L2 EXM lookup hit to trap (que=0x 6)\n"));

    newFrame();
    stat.l2OuterDa = stat.l2Da = kDa + 1;
    setRslt(1000, rsltWord(5, 0, 1));
    text = run();
    EXPECT_EQ(stat.l2ExmDaTrapRsn, 2u);
    EXPECT_EQ(stat.l2ExmDaTrapQue, 9u);
    EXPECT_TRUE(has(text, pfx + "L2 EXM lookup miss to trap\n"));
    // The result names a normal egid: it becomes the drop egid.
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x4000u | kDropEgid);
    EXPECT_EQ(stat.l2ExmDaEgidOrig, 5u);

    newFrame();
    putDa(rsltWord(5, 0, 0));
    stat.l2ExmDaTrapRsn = stat.l2ExmDaTrapQue = 3;
    text = run();
    EXPECT_EQ(stat.l2ExmDaTrapRsn, 0u);
    EXPECT_EQ(stat.l2ExmDaTrapQue, 0u);
    EXPECT_FALSE(has(text, "to trap"));

    newFrame();
    stat.l2OuterDa = kDa + 1;
    setRslt(1000, rsltWord(5));
    stat.l2ExmDaTrapRsn = stat.l2ExmDaTrapQue = 3;
    run();
    EXPECT_EQ(stat.l2ExmDaTrapRsn, 3u) << "a miss without trap leaves them";
}

TEST_F(L2ExmDa, DefaultRows) {
    const auto dflt = [&](uint64_t da, uint32_t mc, uint32_t itr, uint32_t egr, uint32_t trillDa, uint64_t inner,
                          uint32_t sel, uint32_t keyType) {
        const uint32_t found = mc || itr || egr;
        return L2ExmDfltRsltIdx(&com, da, found, mc, itr, egr, trillDa, inner, sel, keyType);
    };
    EXPECT_EQ(dflt(kDa, 0, 0, 0, 0, 0, 0, 1), 1000u);
    EXPECT_EQ(dflt(kDa, 0, 0, 0, 0, 0, 1, 1), 1001u);
    EXPECT_EQ(dflt(kMcastDa, 0, 0, 0, 0, 0, 0, 1), 1002u);
    EXPECT_EQ(dflt(kMcastDa, 0, 0, 0, 0, 0, 1, 1), 1003u);
    EXPECT_EQ(dflt(kDa, 0, 1, 0, 0xb000, kMcastDa, 1, 1), 1006u);
    EXPECT_EQ(dflt(kMcastDa, 0, 0, 1, 0, kDa, 1, 1), 1007u);
    EXPECT_EQ(dflt(kMcastDa, 0, 0, 1, 0, kMcastDa, 1, 2), 1007u);
    EXPECT_EQ(dflt(kDa, 0, 0, 1, 0, kMcastDa, 0, 1), 1008u);
    EXPECT_EQ(dflt(kDa, 1, 0, 1, 0xb000, kDa, 1, 1), 1009u);
    EXPECT_EQ(dflt(kDa, 1, 1, 0, 0xb000, kMcastDa, 1, 2), 1009u);
    EXPECT_EQ(dflt(kDa, 1, 1, 0, 0xb000, kMcastDa, 1, 1), 1011u);
    EXPECT_EQ(dflt(kDa, 1, 0, 1, 0xb111, kDa, 0, 1), 1010u);
    EXPECT_EQ(dflt(kDa, 1, 0, 1, 0xb111, kMcastDa, 0, 2), 1010u);
    EXPECT_EQ(dflt(kDa, 1, 0, 1, 0xb111, kMcastDa, 0, 1), 1012u);
    EXPECT_EQ(dflt(kDa, 1, 1, 0, 0xb222, kMcastDa, 0, 1), 1013u);
    com.rte_l2_exm_trill_mc_unk_rslt_rb1 = 0xb000;
    EXPECT_EQ(dflt(kDa, 1, 0, 1, 0xb000, kDa, 0, 1), 1009u) << "the first tree wins";
}

TEST_F(L2ExmDa, DefaultRowFollowsTheFrame) {
    stat.hshVal[5] = 0x8000;
    run();
    EXPECT_EQ(stat.l2ExmDaIdx, 1001u);
    newFrame();
    stat.l2OuterDa = stat.l2Da = kMcastDa;
    run();
    EXPECT_EQ(stat.l2ExmDaIdx, 1002u);
    newFrame();
    trill(0, 0);
    run();
    EXPECT_EQ(stat.l2ExmDaIdx, 1006u);
    newFrame();
    trill(1, 0, 0xb000);
    stat.l2TrillInnerDa = kMcastDa;
    run();
    EXPECT_EQ(stat.l2ExmDaIdx, 1011u);
}

// Flooding.

TEST_F(L2ExmFlood, MissWithPassThroughFloodsByTheVlansGroup) {
    setRslt(1000, rsltWord(kPthGid));
    setRslt(1001, rsltWord(kPthGid));
    mem.RTE_L2_VID_MGID_SRAM0[kIivid] = 0x1aaaa;
    mem.RTE_L2_VID_MGID_SRAM1[kIivid] = 0x0bbbb;
    std::string text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x1aaaau);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 1u);
    EXPECT_EQ(stat.l2ExmDaIsMgidOrig, 0u);
    EXPECT_EQ(stat.l2ExmDaEgidOrig, kPthGid);
    EXPECT_EQ(stat.l2ExmDaIsPthEgid, 1u);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 0u);
    EXPECT_TRUE(has(text, pfx + "L2 EXM lookup produces path_thru egid (0x5a04)\n" + pfx +
                              "L2DA LU miss ==> flooding RTE_L2_VID_MGID_SRAM0, l2ExmGid=1aaaa, iivid=0x123\n"))
        << text;

    newFrame();
    stat.hshVal[5] = 0xffff;
    mem.RTE_VID_TRILL_MC_RA[kIivid >> 5] = 1u << (kIivid & 31);
    text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x0bbbbu);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 1u);
    EXPECT_TRUE(has(text, "L2DA LU miss ==> flooding RTE_L2_VID_MGID_SRAM1, l2ExmGid=bbbb, iivid=0x123\n"));
}

TEST_F(L2ExmFlood, HitOnPassThroughFloodsAsAMissDoes) {
    putDa(rsltWord(kPthGid));
    mem.RTE_L2_VID_MGID_SRAM0[kIivid] = 0x444;
    run();
    EXPECT_EQ(stat.l2ExmDaHit, 1u);
    EXPECT_EQ(stat.l2ExmDaLuMiss, 0u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 1u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x444u);
}

TEST_F(L2ExmFlood, PassThroughNumberOfAMulticastGroupDoesNotFlood) {
    putDa(rsltWord(kPthGid, 1));
    run();
    EXPECT_EQ(stat.l2ExmDaIsPthEgid, 0u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 0u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, kPthGid);
}

TEST_F(L2ExmFlood, MissWithAnotherResultIsDropped) {
    setRslt(1000, rsltWord(0x123, 1));
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x4000u | kDropEgid);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 0u);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 1u);
    EXPECT_TRUE(has(text, "CM port=3, frameIdx=1>>L2DA LU miss, gid!=passthru_egid ==> set gid=drop_egid\n"));
}

TEST_F(L2ExmFlood, TransitMissStandsAsItIs) {
    trill(0, 0);
    setRslt(1006, rsltWord(kPthGid));
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, kPthGid);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 0u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 1u);
    EXPECT_TRUE(has(text, pfx + "L2DA LU miss (TRILL INTERIOR) ==>no flooding. Honor Trill Interior Miss result as is "
                                "==>  l2ExmGid=5a04, iivid=0x123\n"));
}

TEST_F(L2ExmFlood, EgressMissFloodsThroughTable0Always) {
    trill(0, 1);
    stat.hshVal[5] = 0x8000;
    setRslt(1007, rsltWord(kPthGid));
    mem.RTE_L2_VID_MGID_SRAM0[kIivid] = 0x666;
    mem.RTE_L2_VID_MGID_SRAM1[kIivid] = 0x777;
    mem.RTE_VID_TRILL_MC_RA[kIivid >> 5] = 0xffffffff;
    std::string text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x666u);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 1u);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 0u);
    EXPECT_TRUE(has(text, pfx + "L2DA LU miss (TRILL EGR) ==> flooding RTE_L2_VID_MGID_SRAM0, l2ExmGid=666, "
                                "iivid=0x123, VidTrillMc=0\n"));
    newFrame();
    trill(0, 1);
    setRslt(1007, rsltWord(9, 1));
    text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x4000u | kDropEgid);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 0u);
    EXPECT_TRUE(has(text, pfx + "L2DA LU miss (TRILL EGR), gid!=passthru_egid ==> l2ExmGid=5a03 (pth_egid)\n")) << text;
}

TEST_F(L2ExmFlood, TrillMulticastFloodsByItsTree) {
    mem.RTE_L2_VID_MGID_SRAM0[kIivid] = 0x666;
    mem.RTE_L2_VID_MGID_SRAM1[kIivid] = 0x777;
    setRslt(1009, rsltWord(kPthGid));
    setRslt(1010, rsltWord(kPthGid));
    setRslt(1013, rsltWord(kPthGid));
    const struct {
        uint32_t tree, gid;
        const char *text;
    } cases[] = {
        {0xb000, 0x666,
         "L2DA LU miss (TRILL MC) ==> flooding -- TrillDa==unk_rslt_rb0  ==>  l2ExmGid=666, "
         "iivid=0x123\n"},
        {0xb111, 0x777,
         "L2DA LU miss (TRILL MC) ==> flooding -- TrillDa==unk_rslt_rb1  ==>  l2ExmGid=777, "
         "iivid=0x123\n"},
        {0xb222, 0x666,
         "L2DA LU miss (TRILL MC), TrillDa doesn't match any tree rb ==> flooding -- "
         "TrillDa==unk_rslt_rb0  ==>  l2ExmGid=666, iivid=0x123\n"},
    };
    for (const auto &c : cases) {
        newFrame();
        trill(1, 0, c.tree);
        const std::string text = run();
        EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, c.gid);
        EXPECT_EQ(stat.l2ExmDaIsMgid, 1u);
        EXPECT_EQ(stat.l2ExmVidTrillMc, 0u);
        EXPECT_TRUE(has(text, pfx + c.text)) << text;
    }
    newFrame();
    mem.RTE_VID_TRILL_MC_RA[kIivid >> 5] = 1u << (kIivid & 31);
    trill(1, 0, 0xb111);
    run();
    EXPECT_EQ(stat.l2ExmVidTrillMc, 1u);
    newFrame();
    trill(1, 0, 0xb111);
    setRslt(1010, rsltWord(4, 1));
    const std::string text = run();
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x4000u | kDropEgid);
    EXPECT_EQ(stat.l2ExmDaIsMgid, 0u);
    EXPECT_EQ(stat.l2ExmVidTrillMc, 1u);
    EXPECT_TRUE(has(text, pfx + "L2DA LU miss (TRILL MC), rslt.gid!=passthru_egid ==> l2ExmGid = drop_egid\n"));
}

// The SA.

TEST_F(L2ExmSa, ResultIsTakenApart) {
    const uint32_t idx = putSa(rsltWord(0x12345, 1, 1, 3, 0x9876, 1, 0x2a));
    std::string text = run();
    EXPECT_EQ(stat.l2ExmSaHit, 1u);
    EXPECT_EQ(stat.l2ExmSaIdx, idx);
    EXPECT_EQ(stat.l2ExmSaIsMgid, 1u);
    EXPECT_EQ(stat.l2ExmSaLrnPort, 0x2au);
    EXPECT_EQ(stat.l2ExmSaLgidEgidMgid, 0x12345u);
    EXPECT_EQ(stat.l2ExmSaTrapEn, 1u);
    EXPECT_EQ(stat.l2ExmSaTrillDa, 0x9876u);
    EXPECT_EQ(stat.l2ExmSaTrillCmd, 3u);
    EXPECT_EQ(stat.l2ExmSaTrillMc, 1u);
    EXPECT_TRUE(has(text, pfx + "L2 SA EXM hash hit at index 9c6, SA=      1122334455\n")) << text;
    EXPECT_TRUE(has(text, pfx + "SA EXM rsltIdx=2502, result= 9876")) << text;

    newFrame();
    stat.l2OuterSa = kSa + 1;
    putTcam(key0(0, kFid), macKey1(kSa + 1), 0, rsltWord(7));
    text = run();
    EXPECT_EQ(stat.l2ExmSaIdx, 392192u);
    EXPECT_TRUE(has(text, pfx + "L2 SA EXM tcam hit at index 5fc00, SA=      1122334456\n")) << text;

    newFrame();
    stat.l2OuterSa = kSa + 2;
    setRslt(1004, rsltWord(8));
    text = run();
    EXPECT_EQ(stat.l2ExmSaHit, 0u);
    EXPECT_EQ(stat.l2ExmSaLgidEgidMgid, 8u);
    EXPECT_TRUE(has(text, pfx + "L2 SA EXM miss, SA=      1122334457\n" + pfx + "SA EXM rsltIdx=1004, result= 8\n"))
        << text;
}

TEST_F(L2ExmSa, DefaultRowOfATransitFrame) {
    trill(1, 0);
    run();
    EXPECT_EQ(stat.l2ExmSaIdx, 1005u);
    newFrame();
    trill(1, 1);
    run();
    EXPECT_EQ(stat.l2ExmSaIdx, 1004u);
}

TEST_F(L2ExmSa, ResultTypes) {
    const struct {
        uint32_t gid, isMgid, trapEn, typ;
    } cases[] = {{0x4000 | kAclDropEgid, 0, 1, 0},
                 {0x4000 | kTrapEgid, 0, 0, 1},
                 {0x4000 | kDropEgid, 0, 1, 0},
                 {kPthGid, 0, 1, 0},
                 {0x4123, 0, 1, 3},
                 {0x4123, 0, 0, 2},
                 {0x4000 | kTrapEgid, 1, 0, 1}};
    for (const auto &c : cases) {
        newFrame();
        putSa(rsltWord(c.gid, c.isMgid, c.trapEn));
        run();
        EXPECT_EQ(stat.l2ExmSaRsltTyp, c.typ) << std::hex << c.gid;
    }
}

TEST_F(L2ExmSa, ChassisErrorNeedsAMissAndTheCheck) {
    chassis(4, kSa, 0, 2000, 0x11);
    com.rte_l2_ck_chs_sa = 1;
    run();
    EXPECT_EQ(stat.l2SaIsChsAddr, 1u);
    EXPECT_EQ(stat.l2ExmSaChassisErr, 1u);
    EXPECT_EQ(stat.l2ExmSaIdx, 2000u);

    newFrame();
    putSa(rsltWord(1));
    run();
    EXPECT_EQ(stat.l2ExmSaChassisErr, 0u) << "known";

    newFrame();
    stat.l2OuterSa = kSa + 1;
    run();
    EXPECT_EQ(stat.l2ExmSaChassisErr, 0u) << "not the chip's";
    EXPECT_EQ(stat.l2ExmSaIdx, 1004u);

    newFrame();
    std::memset(mem.RTE_L2_EXM_BKT_EDRAM, 0, sizeof mem.RTE_L2_EXM_BKT_EDRAM);
    com.rte_l2_ck_chs_sa = 2;
    run();
    EXPECT_EQ(stat.l2ExmSaChassisErr, 1u);
    EXPECT_EQ(stat.l2ExmSaIdx, 1004u);

    newFrame();
    com.rte_l2_ck_chs_sa = 0;
    run();
    EXPECT_EQ(stat.l2ExmSaChassisErr, 0u);
    EXPECT_EQ(stat.l2ExmSaIdx, 1004u);
}

// The chip's own addresses.

TEST_F(L2ExmChassis, MissOnAChassisDaUsesItsRowAndDoesNotFlood) {
    chassis(9, kDa - 5, 5, 3000, 0x2b);
    setRslt(3000, rsltWord(0x321));
    const std::string text = run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 1u);
    EXPECT_EQ(stat.l2DaIsChsAddrIdx, 9u);
    EXPECT_EQ(stat.l2DaChsRsltIdx, 3000u);
    EXPECT_EQ(stat.myDaId, 0x2bu);
    EXPECT_EQ(stat.l2ExmDaIdx, 3000u);
    EXPECT_EQ(stat.l2ExmDaLuMiss, 0u);
    EXPECT_EQ(stat.l2ExmDaFlooded, 0u);
    EXPECT_EQ(stat.l2ExmDaHit, 0u);
    EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, 0x321u);
    EXPECT_TRUE(has(text, pfx + "[TCAM][L2_MYDA] Search with Key: 0xaabb\n" + pfx +
                              "[L2_MYDA][Hit] MYDA  TCAM & Range Match at HitIdx: 0x9, rslt=1580bb8\n" + pfx +
                              "[TCAM][L2_MYSA] Search with Key: 0x1122\n"))
        << text;
}

TEST_F(L2ExmChassis, RangeIncludesBothEnds) {
    const uint64_t base = 0x00aabb001000;
    chassis(0, base, 0x10, 3000, 1);
    for (const auto &[addr, hit] : {std::pair<uint64_t, uint32_t>{base - 1, 0},
                                    {base, 1},
                                    {base + 0x10, 1},
                                    {base + 0x11, 0},
                                    {base + 0x1000000, 0}}) {
        newFrame();
        stat.l2OuterDa = addr;
        stat.l2DaIsChsAddrIdx = 0x33;
        run();
        EXPECT_EQ(stat.l2DaIsChsAddr, hit) << std::hex << addr;
        EXPECT_EQ(stat.l2DaChsRsltIdx, hit ? 3000u : 0u);
        EXPECT_EQ(stat.myDaId, hit ? 1u : 0x55u);
        EXPECT_EQ(stat.l2DaIsChsAddrIdx, hit ? 0u : 0x33u);
    }
}

TEST_F(L2ExmChassis, LaterPrefixHitsAreTriedWhenTheRangeDoesNotFit) {
    chassis(2, kDa + 1, 0, 100, 1);
    chassis(60, kDa - 9, 8, 200, 2);
    chassis(127, kDa, 0, 300, 3);
    chassis(126, kDa + 2, 1, 400, 4);
    run();
    EXPECT_EQ(stat.l2DaIsChsAddrIdx, 127u);
    EXPECT_EQ(stat.l2DaChsRsltIdx, 300u);
    EXPECT_EQ(stat.myDaId, 3u);
    chassis(3, kDa - 1, 1, 500, 5);
    newFrame();
    run();
    EXPECT_EQ(stat.l2DaIsChsAddrIdx, 3u) << "the first fitting one ends the walk";
}

TEST_F(L2ExmChassis, SaDoesNotTouchTheDasId) {
    chassis(7, kSa, 0, 600, 6);
    const std::string text = run();
    EXPECT_EQ(stat.l2SaIsChsAddr, 1u);
    EXPECT_EQ(stat.l2SaIsChsAddrIdx, 7u);
    EXPECT_EQ(stat.l2SaChsRsltIdx, 600u);
    EXPECT_EQ(stat.myDaId, 0x55u);
    EXPECT_TRUE(has(text, pfx + "[L2_MYSA][Hit] MYSA  TCAM & Range Match at HitIdx: 0x7\n"));
    EXPECT_EQ(stat.l2ExmSaIdx, 1004u) << "the check is off";
}

TEST_F(L2ExmChassis, TransitUnicastLeavesTheFieldsAlone) {
    chassis(7, kDa, 0, 600, 6);
    trill(0, 0);
    stat.l2DaIsChsAddr = 1;
    stat.l2DaChsRsltIdx = 1234;
    stat.myDaId = 9;
    com.l2_trill_mc_chassis_parser_en = 1;
    const std::string text = run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 1u);
    EXPECT_EQ(stat.l2DaChsRsltIdx, 1234u);
    EXPECT_EQ(stat.myDaId, 0x55u);
    EXPECT_EQ(stat.l2ExmDaIdx, 1234u);
    EXPECT_FALSE(has(text, "L2_MYDA"));
}

TEST_F(L2ExmChassis, ForeignAddressesClearTheFields) {
    stat.l2DaIsChsAddr = stat.l2SaIsChsAddr = 1;
    stat.l2DaChsRsltIdx = stat.l2SaChsRsltIdx = 77;
    run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 0u);
    EXPECT_EQ(stat.l2DaChsRsltIdx, 0u);
    EXPECT_EQ(stat.l2SaIsChsAddr, 0u);
    EXPECT_EQ(stat.l2SaChsRsltIdx, 0u);
}

TEST_F(L2ExmChassis, TransitMulticastNeedsTheEnable) {
    chassis(7, kDa, 0, 600, 6);
    trill(1, 0);
    run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 0u);
    newFrame();
    trill(1, 0);
    com.l2_trill_mc_chassis_parser_en = 1;
    run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 1u);
    EXPECT_EQ(stat.l2ExmDaIdx, 600u);
}

TEST_F(L2ExmChassis, EgressFrameUsesTheInnerAddresses) {
    chassis(7, kDa, 0, 600, 6);
    trill(0, 1);
    run();
    EXPECT_EQ(stat.l2DaIsChsAddr, 1u);
}

// Histories.

TEST_F(L2ExmHis, KeysAndIndicesAreCaptured) {
    com.rte_his_en = 1u << kPort;
    com.rte_lue_l2_fid_addr_hi = com.rte_lue_l2_vid_mgid_addr_hi = 0x1fff;
    com.rte_lue_l2_exm_idx_da_addr_hi = com.rte_lue_l2_exm_idx_sa_addr_hi = 0x7ffff;
    com.rte_lue_l2_exm_bkt_da_addr_hi = com.rte_lue_l2_exm_bkt_sa_addr_hi = 0x3fff;
    com.rte_lue_l2_exm_rslt_da_addr_hi = com.rte_lue_l2_exm_rslt_sa_addr_hi = 0x7ffff;
    com.rte_lue_l2_stp_en_addr_hi = 0x3ffff;
    putDa(rsltWord(1));
    const uint32_t saIdx = putTcam(key0(0, kFid), macKey1(kSa), 3, rsltWord(1));
    run();
    EXPECT_EQ(com.rte_his_l2_fid[3], 0x10000u | kIivid);
    EXPECT_EQ(com.rte_his_l2_vid_mgid[3], 0x10000u | kIivid);
    EXPECT_EQ(com.rte_his_l2_exm_tcam_key_da[3][0], 0x10000u | kFid);
    EXPECT_EQ(com.rte_his_l2_exm_tcam_key_da[3][1], 0xaau);
    EXPECT_EQ(com.rte_his_l2_exm_tcam_key_da[3][2], 0xbbccddeeu);
    EXPECT_EQ(com.rte_his_l2_exm_tcam_key_sa[3][2], 0x22334455u);
    EXPECT_EQ(com.rte_his_l2_exm_idx_da[3], 1u << 24 | hashOf(kFid, kDa));
    EXPECT_EQ(com.rte_his_l2_exm_idx_sa[3], 1u << 24 | hashOf(kFid, kSa));
    EXPECT_EQ(com.rte_his_l2_exm_bkt_da[3], 0x10000u | 77);
    EXPECT_EQ(com.rte_his_l2_exm_bkt_sa[3], 0x10000u);
    EXPECT_EQ(com.rte_his_l2_exm_rslt_da[3], 1u << 24 | 1u << 19 | (77 * 32 + 5));
    EXPECT_EQ(com.rte_his_l2_exm_rslt_sa[3], 1u << 24 | 1u << 20 | saIdx);
    EXPECT_EQ(com.rte_his_l2_stp_en[3], 1u << 24 | kPort << 10 | kIivid >> 3);
}

TEST_F(L2ExmHis, UnchangedVlanIsTheFidKey) {
    com.rte_his_en = 1u << kPort;
    com.rte_lue_l2_fid_addr_hi = com.rte_lue_l2_fid_addr_lo = kIivid;
    com.dont_change_ivid = kIivid;
    trill(1, 0);
    run();
    EXPECT_EQ(com.rte_his_l2_fid[3], 0x10000u | kIivid);
    com.rte_lue_l2_fid_addr_hi = com.rte_lue_l2_fid_addr_lo = kIivid + 1;
    com.rte_his_l2_fid[3] = 0;
    newFrame();
    run();
    EXPECT_EQ(com.rte_his_l2_fid[3], 0u) << "out of range";
}

TEST_F(L2ExmHis, BucketsAreComparedInAllTheirBits) {
    com.rte_his_en = 1u << kPort;
    for (uint32_t bit = 0; bit < 14; bit++) {
        const uint32_t daBucket = 1u << bit;
        const uint32_t saBucket = 0x3fff ^ daBucket;
        setBucket(key0(0, kFid), macKey1(kDa), daBucket);
        setBucket(key0(0, kFid), macKey1(kSa), saBucket);
        com.rte_lue_l2_exm_bkt_da_addr_hi = com.rte_lue_l2_exm_bkt_da_addr_lo = daBucket;
        com.rte_lue_l2_exm_bkt_sa_addr_hi = com.rte_lue_l2_exm_bkt_sa_addr_lo = saBucket;
        com.rte_his_l2_exm_bkt_da[3] = com.rte_his_l2_exm_bkt_sa[3] = 0;
        newFrame();
        run();
        EXPECT_EQ(com.rte_his_l2_exm_bkt_da[3], 0x10000u | daBucket);
        EXPECT_EQ(com.rte_his_l2_exm_bkt_sa[3], 0x10000u | saBucket);
        com.rte_lue_l2_exm_bkt_da_addr_hi = com.rte_lue_l2_exm_bkt_da_addr_lo = daBucket ^ 1u << (bit + 1) % 14;
        com.rte_lue_l2_exm_bkt_sa_addr_hi = com.rte_lue_l2_exm_bkt_sa_addr_lo = saBucket ^ 1u << (bit + 1) % 14;
        com.rte_his_l2_exm_bkt_da[3] = com.rte_his_l2_exm_bkt_sa[3] = 0;
        newFrame();
        run();
        EXPECT_EQ(com.rte_his_l2_exm_bkt_da[3] | com.rte_his_l2_exm_bkt_sa[3], 0u) << "out of range";
    }
}

// Spanning tree.

TEST_F(L2ExmStp, NibbleOfPortAndVlan) {
    // VLAN 0x123 has nibble 3 of its word: bits 19 to 16.
    const uint32_t word = kPort << 10 | kIivid >> 3;
    for (uint32_t value = 0; value < 16; value++) {
        for (uint32_t tagged : {0u, 1u}) {
            newFrame();
            mem.RTE_L2_STP_EN_EDRAM[word] = value << 16 | (value ^ 15) << 20 | (value ^ 15) << 12;
            stat.ctagNz = tagged;
            const std::string text = run();
            EXPECT_EQ(stat.l2FwdEn, tagged ? value >> 1 & 1 : value & 1);
            EXPECT_EQ(stat.l2SaLrnEn, value >> 2 & 1);
            EXPECT_EQ(stat.l2DaLrnEn, value >> 3);
            char line[80];
            std::snprintf(line, sizeof line, "reading L2_STP_EN, iivid=123, value=%x\n", value);
            EXPECT_TRUE(has(text, pfx + line)) << text;
        }
    }
}

TEST_F(L2ExmStp, TrillUnicastAndSkipAlwaysForward) {
    trill(0, 1);
    stat.l2CtlSkipIvf = 1;
    std::string text = run();
    EXPECT_EQ(stat.l2FwdEn, 1u);
    EXPECT_TRUE(has(text, pfx + "fwd_en filtering ignored for TRILL Ucast frame\n"));
    EXPECT_FALSE(has(text, "l2CtlSkipIvf"));
    newFrame();
    stat.l2CtlSkipIvf = 1;
    text = run();
    EXPECT_EQ(stat.l2FwdEn, 1u);
    EXPECT_TRUE(has(text, pfx + "fwd_en filtering ignored because l2CtlSkipIvf==1\n"));
    newFrame();
    trill(1, 1);
    text = run();
    EXPECT_EQ(stat.l2FwdEn, 0u) << "multicast is filtered";
    EXPECT_FALSE(has(text, "ignored"));
    newFrame();
    trill(1, 1);
    stat.l2CtlSkipIvf = 1;
    text = run();
    EXPECT_EQ(stat.l2FwdEn, 1u) << "unless it skips the filter";
    EXPECT_TRUE(has(text, pfx + "fwd_en filtering ignored because l2CtlSkipIvf==1\n"));
}

// Debug counters.

TEST_F(L2ExmDbg, CountsEachSideThatIsEnabled) {
    stat.l2ExmDaIdx = 70;
    stat.l2ExmSaIdx = 70;
    com.rte_l2_dbg[0].port_msk = com.rte_l2_dbg[15].port_msk = 1u << kPort;
    com.rte_l2_dbg[0].idx = com.rte_l2_dbg[15].idx = 70;
    com.rte_l2_dbg[0].da_en = com.rte_l2_dbg[0].sa_en = 1;
    com.rte_l2_dbg[15].sa_en = 1;
    com.rte_l2_dbg[7].port_msk = ~(1u << kPort);
    com.rte_l2_dbg[7].idx = 70;
    com.rte_l2_dbg[7].da_en = 1;
    com.rte_l2_dbg[8].port_msk = 1u << kPort; // neither side enabled
    com.rte_l2_dbg[8].idx = 70;
    com.rte_l2_dbg[9].port_msk = 1u << kPort; // another index
    com.rte_l2_dbg[9].idx = 71;
    com.rte_l2_dbg[9].da_en = com.rte_l2_dbg[9].sa_en = 1;
    L2ExmDbgCnt(&stat);
    EXPECT_EQ(com.rte_l2_dbg_cnt[0][1], 2u);
    EXPECT_EQ(com.rte_l2_dbg_cnt[15][1], 1u);
    EXPECT_EQ(com.rte_l2_dbg_cnt[7][1], 0u);
    EXPECT_EQ(com.rte_l2_dbg_cnt[8][1], 0u);
    EXPECT_EQ(com.rte_l2_dbg_cnt[9][1], 0u);
    com.rte_l2_dbg_cnt[0][0] = 0xff;
    com.rte_l2_dbg_cnt[0][1] = 0xffffffff;
    L2ExmDbgCnt(&stat);
    EXPECT_EQ(com.rte_l2_dbg_cnt[0][0], 0u) << "40 bits wide";
    EXPECT_EQ(com.rte_l2_dbg_cnt[0][1], 1u);
}

TEST_F(L2ExmDbg, SeesTheIndicesOfTheFrame) {
    com.rte_l2_dbg[3].port_msk = 1u << kPort;
    com.rte_l2_dbg[3].da_en = 1;
    com.rte_l2_dbg[3].idx = 1000;
    run();
    EXPECT_EQ(com.rte_l2_dbg_cnt[3][1], 1u);
}

// Whatever stands in the chip, the lookup ends and stays inside it.

TEST_F(L2ExmTest, RandomChipAndFrame) {
    RandomWords rng(1);
    const auto fill = [&](void *to, size_t bytes) {
        uint32_t *words = static_cast<uint32_t *>(to);
        for (size_t i = 0; i < bytes / 4; i++)
            words[i] = rng();
    };
    fill(&com, sizeof com);
    fill(&mem, sizeof mem);
    for (uint32_t i = 0; i < 20; i++) {
        fill(&stat.l2HdrLenAdj, offsetof(CmRteStat, dbgLvl) - offsetof(CmRteStat, l2HdrLenAdj));
        stat.dbgLvl = 0;
        stat.ingPhyPort = i % 12;
        stat.iivid = i < 10 ? rng() & 0x1fff : rng();
        L2Exm(&stat);
        EXPECT_LT(stat.l2FwdEn, 2u);
    }
}
