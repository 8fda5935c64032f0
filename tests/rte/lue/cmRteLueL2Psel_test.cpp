// Layer-2 path selection: the keys that it builds for the ACL, and what it makes of ACL and exact match.

#include "lue/cmRteLue.h"
#include "tae/cmTae.h"

#include "model_fixture.h"
#include "random_words.h"

#include <array>
#include <utility>

namespace {

/// What the route enable check says; the check itself is replaced by a stand-in here.
uint32_t rteEn;
uint32_t rteEnCalls;

} // namespace

void RteEnCk(CmRteStat *statPtr) {
    rteEnCalls++;
    statPtr->l2PselRteEn = rteEn;
}

namespace {

using Fields = std::vector<std::pair<const char *, uint32_t>>;

constexpr uint32_t kPort = 3;
constexpr uint32_t kAclDropGid = 0x4000 | 0x1a01;
constexpr uint32_t kTrapGid = 0x4000 | 0x1a02;
constexpr uint32_t kDropGid = 0x4000 | 0x1a03;
constexpr uint32_t kPthGid = 0x4000 | 0x1a04;
constexpr uint32_t kRteRqdEgid = 0x155;

/// The ACL block is built once; every test starts with its banks off.
CmTaeLkup &theTae() {
    static CmTaeLkup *tae = [] {
        CmTaeLkup *built = new CmTaeLkup(0, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs);
        EXPECT_EQ(built->configure(), 0);
        return built;
    }();
    return *tae;
}

class L2PselTest : public ModelTest {
protected:
    L2PselTest() : tae(theTae()) {
        rteEn = rteEnCalls = 0;
        com.rte_acl_drop_egid = 0x1a01;
        com.rte_trap_egid = 0x1a02;
        com.rte_drop_egid = 0x1a03;
        com.rte_pth_egid = 0x1a04;
        com.rte_rte_rqd_egid = kRteRqdEgid;
        com.trill_res_rb = 0xcafe;
        com.rte_l2_hit_trap_que = 6;
        com.rte_l2_miss_trap_que = 9;
        com.rte_l2_fwd_en_trap_que = 12;
        tae.BLK_REG_SET("TAE_BANK_TRAP_RSN_2_REG", 0, false, true);
        acl({});
        newFrame();
    }

    void newFrame() {
        resetStat(kPort);
        stat.frmIdx = 1;
        stat.taePtr = &tae;
        stat.l2FwdEn = 1;
        verbose(true);
    }

    /// What the ACL answers: bank 12 hits with every key, and forwards.
    void acl(const Fields &fields) {
        Fields all = fields;
        all.push_back({"fwd_en", 1});
        bank12Entry(ACLT_L2_IP, {}, {}, all);
    }

    void bank12Entry(uint32_t type, const std::array<uint32_t, 8> &x, const std::array<uint32_t, 8> &y,
                     const Fields &fields) {
        tae.BLK_REG_SET("TAE_BANK_EN_REG", 1u << 12, false, true);
        tae.BLK_REG_SET("TAE_BANK_PRTCL_SEL_3_REG", type << 16, false, true);
        uint32_t entry = 0;
        uint32_t offset = 0;
        EmbeddedTcam *tcam = tae.getL2AclTcamPtr(12, entry, offset);
        tcam->fill(1, 64 * tcam->memSize());
        tcam->writeXYRaw(0, x.data(), y.data());
        const RegMemDefinition &def = CmTaeLkup::l2AclRsltFieldDef();
        M_T line(def.numFields());
        for (const auto &[name, value] : fields)
            def.setField(name, line, value);
        tae.getAclRsltBlockPointer(12)->writeAt(0, line, false, true);
    }

    /// Turns bank 12 on for one kind of key, with entry 0 for `key` alone and its result.
    void bank12(uint32_t type, const uint32_t (&key)[8], const Fields &fields) {
        std::array<uint32_t, 8> x;
        std::array<uint32_t, 8> y;
        for (size_t w = 0; w < 8; w++) {
            x[w] = key[w];
            y[w] = ~key[w];
        }
        bank12Entry(type, x, y, fields);
    }

    std::string select(uint32_t isDaLu = 1) {
        out = {};
        return printed([&] { L2PselLu(&out, &stat, isDaLu); });
    }
    std::string run() {
        return printed([&] { L2Psel(&stat); });
    }
    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    CmTaeLkup &tae;
    L2PselRslt out = {};
    CmRteHsiPortReg &portReg = rte->portRegLst[kPort];
    const std::string pfx = "CM port=3, frameIdx=1>> ";
};

using L2PselKey = L2PselTest;
using L2PselVerdict = L2PselTest;
using L2PselLearn = L2PselTest;
using L2PselTrill = L2PselTest;

/// A key with `value` at bit `low` upwards, beside what a frame without any field gives: an unknown SA.
struct Key {
    uint32_t words[8] = {0, 0, 1u << 29, 0, 0, 0, 0, 0};
    Key &at(uint32_t low, uint32_t width, uint64_t value) {
        for (uint32_t i = 0; i < width; i++) {
            uint32_t &word = words[(low + i) / 32];
            word = (word & ~(1u << (low + i) % 32)) | static_cast<uint32_t>(value >> i & 1) << (low + i) % 32;
        }
        return *this;
    }
};

} // namespace

// Keys.

TEST_F(L2PselKey, EveryFieldStandsAtItsPlace) {
    struct Case {
        std::function<void()> setup;
        Key key;
    };
    CmRteStat &s = stat;
    const std::vector<Case> cases = {
        {[&] {}, Key()},
        {[&] { s.isSTagged = 1; }, Key().at(134, 1, 1)},
        {[&] { s.isCnTagged = 1; }, Key().at(156, 1, 1)},
        {[&] { s.l4TcpFlags = 0x08; }, Key().at(155, 1, 1)},
        {[&] { s.l4TcpFlags = 0x20; }, Key().at(92, 1, 1)},
        {[&] { s.l4TcpFlags = 0x10; }, Key().at(91, 1, 1)},
        {[&] { s.l4TcpFlags = 0x04; }, Key().at(90, 1, 1)},
        {[&] { s.l4TcpFlags = 0x02; }, Key().at(89, 1, 1)},
        {[&] { s.l4TcpFlags = 0xc1; }, Key().at(88, 1, 1)},
        {[&] { s.l2FipFound = 1, s.l4TcpFlags = 0x37; }, Key()},
        {[&] { s.l2FipFound = s.l2FipBitF = 1; }, Key().at(92, 1, 1)},
        {[&] { s.l2FipFound = s.l2FipBitA = 1; }, Key().at(91, 1, 1)},
        {[&] { s.l2FipFound = s.l2FipBitS = 1; }, Key().at(90, 1, 1)},
        {[&] { s.l2FipFound = s.l2FipBitSP = 1; }, Key().at(89, 1, 1)},
        {[&] { s.l2FipFound = s.l2FipBitFP = 1; }, Key().at(88, 1, 1)},
        {[&] { s.l2ExmDaEgidOrig = 0x4200 | kRteRqdEgid; }, Key().at(159, 1, 1)},
        {[&] { s.l2ExmDaEgidOrig = 0x4200 | kRteRqdEgid, s.l2ExmDaIsMgidOrig = 1; }, Key()},
        {[&] { s.l2ExmDaEgidOrig = 0x4000 | kRteRqdEgid; }, Key()},
        {[&] { s.l2ExmDaEgidOrig = 0xc200 | kRteRqdEgid; }, Key()},
        {[&] { s.l2ExmDaEgidOrig = 0x4201 ^ kRteRqdEgid; }, Key()},
        {[&] { s.l2ExmDaEgidOrig = 0x6200 | kRteRqdEgid; }, Key()},
        {[&] { s.l2ExmDaEgidOrig = 0x5000 | kRteRqdEgid; }, Key().at(159, 1, 1)}, // whatever the frame's protocol
        {[&] { s.l2ExmDaEgidOrig = 0x4200 | kRteRqdEgid, com.rte_drop_egid = 0x200 | kRteRqdEgid; }, Key()},
        {[&] {
             s.l2ExmDaEgidOrig = 0x4200 | kRteRqdEgid, com.rte_trap_egid = std::exchange(com.rte_drop_egid, 0x1a03);
         },
         Key()},
        {[&] {
             s.l2ExmDaEgidOrig = 0x4200 | kRteRqdEgid;
             com.rte_acl_drop_egid = std::exchange(com.rte_trap_egid, 0x1a02);
         },
         Key()},
        {[&] { com.rte_acl_drop_egid = 0x1a01, rteEn = 1; }, Key().at(99, 1, 1)},
        {[&] { rteEn = 0, s.l2LlcDet = 1; }, Key().at(95, 1, 1)},
        {[&] { s.l2TrillFound = 1; }, Key().at(96, 1, 1)},
        {[&] { s.l2ExmSaHit = 1; }, Key().at(93, 1, 0)},
        {[&] { s.ctagNz = 1; }, Key().at(133, 1, 1)},
        {[&] { s.isCTagged = 1; }, Key().at(158, 1, 1)},
        {[&] { s.isCTagged = s.ctagNz = 1; }, Key().at(133, 1, 1)},
        {[&] { s.isCTagged = s.l2QinqEn = 1; }, Key()},
        {[&] { s.isSTagged = s.l2QinqEn = 1; }, Key().at(134, 1, 1).at(158, 1, 1)},
        {[&] { s.isSTagged = s.stagNz = s.l2QinqEn = 1; }, Key().at(134, 1, 1)},
        {[&] { s.l3Ipv4MorFrg = 1; }, Key().at(157, 1, 1)},
        {[&] { s.l3Ipv4FrgOffset = 8; }, Key().at(157, 1, 1)},
        {[&] { s.policyId = 0xabc; }, Key().at(100, 11, 0x55e)},
        {[&] { s.policyId = 1; }, Key().at(0, 1, 1)},
        {[&] { s.l2ExmDaLuMiss = 1; }, Key().at(94, 1, 1)},
        {[&] { s.l2ExmDaIsPthEgid = 1; }, Key().at(94, 1, 1)},
        {[&] { portReg.rte_prc_l2_psel_port = 0x15; }, Key().at(1, 5, 0x15)},
        {[&] { portReg.rte_prc_l2_psel_port = 0, s.myDaId = 0x5a; }, Key().at(25, 7, 0x5a)},
        {[&] { s.IpDscpForPsel = 0x2e; }, Key().at(19, 6, 0x2e)},
        {[&] { s.IpDscpForPsel = 0x2e, s.l3PrcHdrUnk = 1; }, Key()},
        {[&] { s.l2Sa = 0x123456789abc; }, Key().at(208, 48, 0x123456789abc)},
        {[&] { s.l2Da = 0x123456789abc; }, Key().at(160, 48, 0x123456789abc)},
        {[&] { s.igPriMapIwpri = 5; }, Key().at(130, 3, 5)},
        {[&] { s.iivid = 0x1abc; }, Key().at(6, 13, 0x1abc)},
        {[&] { s.l2Etyp = 0x88cc; }, Key().at(114, 16, 0x88cc)},
        {[&] { s.l3IpUlp = 0x32; }, Key().at(80, 8, 0x32)},
        {[&] { s.vpn_id = 0xabcde; }, Key().at(135, 20, 0xabcde)},
        {[&] { s.vpn_id = 0xfffabcde; }, Key().at(135, 20, 0xabcde)},
        // TRILL: of the exact match, unless a plain frame's VLAN has no TRILL multicast.
        {[&] { s.l2ExmDaTrillCmd = s.l2ExmDaTrillMc = 1, s.l2ExmDaTrillDa = 0x1234; }, Key()},
        {[&] { s.l2ExmDaTrillCmd = s.l2ExmDaTrillMc = s.l2ExmVidTrillMc = 1, s.l2ExmDaTrillDa = 0x1234; },
         Key().at(97, 1, 1).at(98, 1, 1).at(32, 16, 0x1234)},
        {[&] { s.l2ExmDaTrillCmd = 2, s.l2TrillFound = 1, s.l2ExmDaTrillDa = 0x4321; },
         Key().at(96, 1, 1).at(97, 1, 1).at(32, 16, 0x4321)},
        {[&] { com.trill_res_rb = 0x7777; }, Key().at(32, 16, 0x7777)},
    };
    com.trill_res_rb = 0;
    for (size_t i = 0; i < cases.size(); i++) {
        newFrame();
        cases[i].setup();
        bank12(ACLT_L2_IP, cases[i].key.words, {{"fwd_en", 1}});
        EXPECT_TRUE(has(run(), pfx + "L2ACL lookup hit\n")) << "case " << i;
    }
    newFrame();
    bank12(ACLT_L2_IP, Key().at(0, 1, 1).words, {});
    EXPECT_TRUE(has(run(), pfx + "L2ACL lookup miss\n"));
}

TEST_F(L2PselKey, LayerFourPorts) {
    com.trill_res_rb = 0;
    com.rte_l3_ulp_tcp = 6;
    com.rte_l3_ulp_udp = 17;
    com.rte_l3_ulp_icmp = 58;
    com.rte_l3_ulp_ipv4_icmp = 1;
    struct Case {
        uint32_t ver, ulp, src, dst, hdrUnk, noDir, wantSrc, wantDst;
    };
    const std::vector<Case> cases = {
        {4, 6, 1024, 1023, 0, 0, 1023, 1},    {6, 17, 40000, 53, 0, 0, 53, 1},    {4, 6, 1023, 1024, 0, 0, 1023, 0},
        {4, 6, 1024, 1024, 0, 0, 1024, 1024}, {4, 6, 22, 23, 0, 0, 22, 23},       {4, 6, 40000, 80, 0, 1, 40000, 80},
        {4, 99, 40000, 80, 0, 0, 40000, 80},  {4, 6, 40000, 80, 1, 0, 0, 0},      {0, 6, 40000, 80, 0, 0, 0, 0},
        {6, 58, 40000, 80, 0, 0, 0x8700, 0},  {4, 1, 40000, 80, 0, 0, 0x0800, 0}, {4, 58, 40000, 80, 0, 0, 40000, 80},
        {6, 1, 40000, 80, 0, 0, 40000, 80},
    };
    for (size_t i = 0; i < cases.size(); i++) {
        const Case &c = cases[i];
        newFrame();
        stat.l3IpVer = c.ver;
        stat.l3IpUlp = stat.typL3Ulp = c.ulp;
        stat.l4Src = c.src;
        stat.l4Dst = c.dst;
        stat.l4PrcHdrUnk = c.hdrUnk;
        stat.l3Ipv6IcmpTyp = 0x8700;
        stat.l3Ipv4IcmpTyp = 0x0800;
        portReg.rte_prc_typ_no_dir = c.noDir;
        bank12(ACLT_L2_IP, Key().at(80, 8, c.ulp).at(64, 16, c.wantSrc).at(48, 16, c.wantDst).words, {});
        EXPECT_TRUE(has(select(), "L2ACL lookup hit\n")) << "case " << i;
    }
    // The direction is decided by the classified protocol, ICMP by the header's.
    for (const auto &[typUlp, ulp, wantSrc, wantDst] :
         {std::array{6u, 99u, 80u, 1u}, {99u, 6u, 40000u, 80u}, {58u, 6u, 40000u, 80u}, {6u, 58u, 0x8700u, 0u}}) {
        newFrame();
        stat.l3IpVer = 6;
        stat.typL3Ulp = typUlp;
        stat.l3IpUlp = ulp;
        stat.l4Src = 40000;
        stat.l4Dst = 80;
        stat.l3Ipv6IcmpTyp = 0x8700;
        portReg.rte_prc_typ_no_dir = 0;
        bank12(ACLT_L2_IP, Key().at(80, 8, ulp).at(64, 16, wantSrc).at(48, 16, wantDst).words, {});
        EXPECT_TRUE(has(select(), "L2ACL lookup hit\n")) << typUlp << " " << ulp;
    }
    newFrame();
    stat.l2FipFound = 1;
    stat.l2FipVer = 0xa;
    stat.l2FipSubcode = 0x12;
    stat.l2FipProtocol = 0x3456;
    bank12(ACLT_L2_IP, Key().at(64, 16, 0x0a12).at(48, 16, 0x3456).words, {});
    EXPECT_TRUE(has(select(), "L2ACL lookup hit\n"));
}

TEST_F(L2PselKey, FcoePortsTellTheRoute) {
    com.trill_res_rb = 0;
    struct Case {
        uint32_t egid, isMgid, fpma, want, l3;
    };
    for (const Case &c : {Case{0x5155, 0, 0, 0x4000, 1}, Case{0x4955, 0, 0, 0x8000, 1}, Case{0x5955, 0, 1, 0x6000, 1},
                          Case{0x5155, 1, 1, 0x2000, 0}, Case{0x4155, 0, 1, 0x2000, 0}}) {
        newFrame();
        stat.l2FcoeFound = 1;
        stat.l2ExmDaEgidOrig = c.egid;
        stat.l2ExmDaIsMgidOrig = c.isMgid;
        stat.fpmaChkOk = c.fpma;
        bank12(ACLT_L2_IP, Key().at(64, 16, c.want).at(159, 1, c.l3).words, {});
        const std::string text = select();
        EXPECT_TRUE(has(text, "L2ACL lookup hit\n")) << std::hex << c.egid;
        EXPECT_FALSE(has(text, "[FCoE]"));
    }
}

TEST_F(L2PselKey, FcoeKeyAndWhenItIsBuilt) {
    Key key;
    key.at(93, 1, 0);
    key.at(208, 48, 0x0efc00010203).at(160, 48, 0x0efc00040506).at(158, 1, 1).at(152, 6, 0x2d).at(144, 8, 0x22);
    key.at(132, 12, 0xabc).at(112, 20, 0x12345).at(96, 16, 0xbeef).at(72, 24, 0x010203).at(64, 8, 0x08);
    key.at(40, 24, 0x040506).at(32, 8, 0x77).at(20, 12, 0xfed).at(19, 1, 1).at(6, 13, 0x1555).at(5, 1, 1);
    key.at(0, 5, 0x1b);
    bank12(ACLT_L2_FCOE, key.words, {});
    struct Case {
        uint32_t found, rteEnable, zoning, aclEn, built;
    };
    for (const Case &c : {Case{1, 1, 1, 0, 1}, Case{1, 1, 0, 1, 0}, Case{1, 0, 0, 1, 1}, Case{1, 0, 1, 0, 0},
                          Case{0, 0, 1, 1, 0}, Case{1, 2, 1, 1, 0}}) {
        newFrame();
        stat.l2FcoeFound = c.found;
        stat.l2FcoeClsRteEn = c.rteEnable;
        stat.l3FwdFcoeApplZng = c.zoning;
        portReg.rte_prc_l2_fcoe_acl_en = c.aclEn;
        portReg.rte_prc_l2_psel_port = 0x1b;
        stat.l2Sa = 0x0efc00010203;
        stat.l2Da = 0x0efc00040506;
        stat.l2ExmDaEgidOrig = 0x5155;
        stat.myDaId = 0x5b;
        stat.l2FcoeFcRctl = 0x22;
        stat.policyId = 0xabc;
        stat.vpn_id = 0x12345;
        stat.l2FcoeFcOxid = 0xbeef;
        stat.l2FcoeFcDid = 0x010203;
        stat.l2FcoeFcType = 0x08;
        stat.l2FcoeFcSid = 0x040506;
        stat.l2FcoeFcPld0 = 0x77;
        stat.l2FcoeClsVfid = 0xfed;
        stat.fpmaChkOk = 1;
        stat.iivid = 0x1555;
        const std::string text = select();
        EXPECT_EQ(has(text, "L2ACL lookup hit\n"), c.built != 0) << c.rteEnable << c.zoning << c.aclEn;
        char line[160];
        std::snprintf(line, sizeof line,
                      "[L2Psel][FCoE] fcoe_found=1,  fcoe_rte_en=%u, appl_zoning=%u, l2_fcoe_acl_en=%u, "
                      "fcoe_l2_acl_lkup_en=1\n",
                      c.rteEnable, c.zoning, c.aclEn);
        EXPECT_EQ(has(text, pfx + line), c.built != 0);
        EXPECT_EQ(has(text, "[FCoE]"), c.built != 0);
    }
    // A VE-routed frame and nothing else.
    newFrame();
    stat.l2FcoeFound = 1;
    stat.l2FcoeClsRteEn = 0;
    portReg.rte_prc_l2_fcoe_acl_en = 1;
    portReg.rte_prc_l2_psel_port = 0;
    stat.l2ExmDaEgidOrig = 0x4955;
    Key ve;
    bank12(ACLT_L2_FCOE, ve.at(93, 1, 0).at(159, 1, 1).words, {});
    EXPECT_TRUE(has(select(), "L2ACL lookup hit\n"));
}

TEST_F(L2PselKey, SourceLookupExchangesTheAddresses) {
    com.trill_res_rb = 0;
    stat.l2Sa = 0x111111111111;
    stat.l2Da = 0x222222222222;
    stat.typL4Dst = 0x1234;
    stat.typL4Src = 0x5678;
    bank12(ACLT_L2_IP, Key().at(208, 48, stat.l2Da).at(160, 48, stat.l2Sa).at(64, 16, 0x1234).at(48, 16, 0x5678).words,
           {});
    EXPECT_TRUE(has(select(0), "L2ACL lookup hit\n"));
    newFrame();
    stat.l2FcoeFound = 1;
    stat.l2ExmDaIsMgidOrig = 1; // does not count here
    stat.l2ExmDaEgidOrig = 0x4955;
    portReg.rte_prc_l2_fcoe_acl_en = 1;
    bank12(ACLT_L2_IP, Key().at(48, 16, 0x8000).words, {});
    const std::string text = select(0);
    EXPECT_TRUE(has(text, "L2ACL lookup hit\n"));
    EXPECT_FALSE(has(text, "[FCoE]"));
}

TEST_F(L2PselKey, AclIsToldOfTheFrameAndTheSpecialEgids) {
    tae.dbgLvl = 4;
    EXPECT_TRUE(has(select(), pfx + "[TAE-L2LU] aclDropEgid=1a01, trapEgid=1a02, dropEgid=1a03\n"));
    tae.dbgLvl = 0;
}

// Verdicts.

TEST_F(L2PselVerdict, ForwardByTheAclsGroup) {
    acl({{"lgid_egid_mgid", 0x0123}, {"trap_que", 5}});
    stat.l2ExmDaFlooded = 1;
    select();
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_EQ(out.l2PselEgidMgid, 0x123u);
    EXPECT_EQ(out.l2PselIsL2Mgid, 0u);
    EXPECT_EQ(out.l2PselTrapQue, 0u);
    EXPECT_EQ(out.l2PselUcastFlooded, 0u);
    acl({{"lgid_egid_mgid", 0x5a01}, {"is_mgid", 1}}); // the number of the ACL drop, but a multicast group
    select();
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_EQ(out.l2PselEgidMgid, kAclDropGid);
    EXPECT_EQ(out.l2PselIsL2Mgid, 1u);
}

TEST_F(L2PselVerdict, AclDropBeatsTraps) {
    acl({{"lgid_egid_mgid", kAclDropGid}, {"trap_en", 1}, {"trap_que", 5}});
    stat.l2ExmDaTrapEn = 1;
    stat.l2ExmDaTrapQue = 8;
    stat.l2ExmDaTrapRsn = 2;
    stat.l2FwdEn = 0;
    portReg.rte_prc_l2_ck_fwd_en = portReg.rte_prc_l2_trap_fwd_en_err = 1;
    const std::string text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 0u);
    EXPECT_EQ(out.l2PselEgidMgid, 0u);
    EXPECT_EQ(out.l2PselDropRsn, 0u);
    EXPECT_EQ(out.l2PselTrapQue, 8u) << "stays";
    EXPECT_EQ(out.l2PselTrapRsn, 2u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] gidAclDrop=1. DROP\n"));
    EXPECT_FALSE(has(text, "TRAP\n"));
}

TEST_F(L2PselVerdict, TrapGroupOfTheAclTakesTheAclsQueue) {
    acl({{"lgid_egid_mgid", kTrapGid}, {"trap_que", 5}});
    stat.l2ExmDaTrapEn = 1;
    stat.l2ExmDaTrapQue = 8;
    stat.l2ExmDaTrapRsn = 2;
    const std::string text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 1u);
    EXPECT_EQ(out.l2PselEgidMgid, 0u);
    EXPECT_EQ(out.l2PselTrapQue, 5u);
    EXPECT_EQ(out.l2PselTrapRsn, 0u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] gidTrap=1, fwdTrap=0. TRAP\n"));
    EXPECT_FALSE(has(text, "l2ExmDaTrapEn=")) << text;
}

TEST_F(L2PselVerdict, TrapGroupOfTheExactMatchIsAHitOrAMiss) {
    acl({{"lgid_egid_mgid", kPthGid}});
    stat.l2ExmDaLgidEgidMgid = kTrapGid;
    select();
    EXPECT_EQ(out.l2PselRsltTyp, 1u);
    EXPECT_EQ(out.l2PselTrapRsn, 1u);
    EXPECT_EQ(out.l2PselTrapQue, 6u);
    stat.l2ExmDaLuMiss = 1;
    select();
    EXPECT_EQ(out.l2PselTrapRsn, 2u);
    EXPECT_EQ(out.l2PselTrapQue, 9u);
}

TEST_F(L2PselVerdict, DropGroup) {
    acl({{"lgid_egid_mgid", kDropGid}, {"trap_que", 5}});
    std::string text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 0u);
    EXPECT_EQ(out.l2PselDropRsn, 0u);
    EXPECT_EQ(out.l2PselEgidMgid, 0u);
    EXPECT_TRUE(has(text, "CM port=3, frameIdx=1>>gidDrop || fwdDrop. DROP\n"));
    acl({{"lgid_egid_mgid", kDropGid}, {"trap_que", 5}, {"trap_en", 1}});
    text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 1u);
    EXPECT_EQ(out.l2PselTrapQue, 5u);
    EXPECT_EQ(out.l2PselEgidMgid, 0u);
    EXPECT_TRUE(has(text, pfx + "L2 trap_en=1. TRAP\n"));
}

TEST_F(L2PselVerdict, ForwardEnable) {
    acl({{"lgid_egid_mgid", 0x0123}});
    const auto fwd = [&](uint32_t en, uint32_t ck, uint32_t trap) {
        stat.l2FwdEn = en;
        portReg.rte_prc_l2_ck_fwd_en = ck;
        portReg.rte_prc_l2_trap_fwd_en_err = trap;
        return select();
    };
    EXPECT_TRUE(has(fwd(1, 1, 1), pfx + "[L2Psel] l2FwdEn=1, fwdErr=0, fwdTrap=0, fwdDrop=0\n"));
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_TRUE(has(fwd(0, 0, 1), pfx + "[L2Psel] l2FwdEn=0, fwdErr=0, fwdTrap=0, fwdDrop=0\n"));
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_TRUE(has(fwd(0, 1, 0), pfx + "[L2Psel] l2FwdEn=0, fwdErr=1, fwdTrap=0, fwdDrop=1\n"));
    EXPECT_EQ(out.l2PselRsltTyp, 0u);
    EXPECT_EQ(out.l2PselDropRsn, 32u);
    acl({{"lgid_egid_mgid", 0x0123}, {"trap_en", 1}, {"trap_que", 5}});
    EXPECT_TRUE(has(fwd(0, 1, 0), pfx + "L2 trap_en=1. TRAP\n"));
    EXPECT_EQ(out.l2PselRsltTyp, 1u) << "an enabled trap saves the frame";
    EXPECT_EQ(out.l2PselTrapQue, 5u);
    EXPECT_EQ(out.l2PselDropRsn, 0u);
    EXPECT_EQ(out.l2PselEgidMgid, 0u);
    acl({{"lgid_egid_mgid", 0x0123}});
    const std::string text = fwd(0, 1, 1);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] l2FwdEn=0, fwdErr=1, fwdTrap=1, fwdDrop=0\n"));
    EXPECT_TRUE(has(text, pfx + "L2 per port/VLAN forwarding enable 0 (ingress filtered).fwdTrap\n" + pfx +
                              "[L2Psel] gidTrap=0, fwdTrap=1. TRAP\n"));
    EXPECT_EQ(out.l2PselRsltTyp, 1u);
    EXPECT_EQ(out.l2PselTrapRsn, 3u);
    EXPECT_EQ(out.l2PselTrapQue, 12u);
    acl({{"lgid_egid_mgid", kDropGid}, {"trap_en", 1}, {"trap_que", 5}});
    fwd(0, 1, 1);
    EXPECT_EQ(out.l2PselRsltTyp, 1u);
    EXPECT_EQ(out.l2PselTrapRsn, 3u) << "beats the drop";
    EXPECT_EQ(out.l2PselTrapQue, 12u);
    acl({{"lgid_egid_mgid", kTrapGid}, {"trap_que", 5}});
    fwd(0, 1, 1);
    EXPECT_EQ(out.l2PselTrapRsn, 3u) << "and the trap group";
}

TEST_F(L2PselVerdict, PassThroughTakesTheExactMatch) {
    acl({{"lgid_egid_mgid", kPthGid}});
    stat.l2ExmDaLgidEgidMgid = 0x0456;
    stat.l2ExmDaIsMgid = 1;
    stat.l2ExmDaFlooded = 1;
    std::string text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_EQ(out.l2PselEgidMgid, 0x456u);
    EXPECT_EQ(out.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(out.l2PselUcastFlooded, 1u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] L2 ACL Gid PassTrough\n"));
    EXPECT_FALSE(has(text, "final egid"));
    stat.l2ExmDaIsMgid = 0;
    stat.l2ExmDaLgidEgidMgid = kPthGid;
    text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 0u);
    EXPECT_EQ(out.l2PselDropRsn, 0u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] final egid is pass_thru ==> packet marked for DROP\n"));
    stat.l2ExmDaLgidEgidMgid = kDropGid;
    text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 0u);
    EXPECT_FALSE(has(text, "final egid"));
    // The multicast flag makes it an ordinary group.
    acl({{"lgid_egid_mgid", kPthGid}, {"is_mgid", 1}});
    text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 2u);
    EXPECT_FALSE(has(text, "PassTrough"));
}

TEST_F(L2PselVerdict, SourceLookupPassesThroughToTheSourcesResult) {
    acl({{"lgid_egid_mgid", kPthGid}});
    stat.l2ExmSaLgidEgidMgid = 0x0789;
    stat.l2ExmSaIsMgid = 1;
    EXPECT_TRUE(has(select(0), pfx + "[L2Psel] SaLu Gid PassTrough\n"));
    EXPECT_EQ(out.l2PselEgidMgid, 0x789u);
    EXPECT_EQ(out.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselSaRsltPthEgid, 1u);
}

TEST_F(L2PselVerdict, TrapSources) {
    acl({{"lgid_egid_mgid", 0x123}});
    stat.l2ExmDaTrapQue = 8;
    stat.l2ExmDaTrapRsn = 2;
    stat.l2ExmDaTrapEn = 1;
    std::string text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 3u);
    EXPECT_EQ(out.l2PselTrapQue, 8u);
    EXPECT_EQ(out.l2PselTrapRsn, 2u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] l2ExmDaTrapEn=1\n"));

    acl({{"lgid_egid_mgid", 0x123}, {"trap_en", 1}, {"trap_que", 5}});
    text = select();
    EXPECT_EQ(out.l2PselTrapQue, 8u);
    EXPECT_EQ(out.l2PselTrapRsn, 2u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] statPtr->l2ExmDaTrapEn=aclTrapEn=1, acl_trap_overrule=0\n"));
    com.l2_acl_trap_overrule_en = 1;
    text = select();
    EXPECT_EQ(out.l2PselTrapQue, 5u);
    EXPECT_EQ(out.l2PselTrapRsn, 0u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] statPtr->l2ExmDaTrapEn=aclTrapEn=1, acl_trap_overrule=1\n"));

    stat.l2ExmDaTrapEn = 0;
    text = select();
    EXPECT_EQ(out.l2PselRsltTyp, 3u);
    EXPECT_EQ(out.l2PselTrapQue, 5u);
    EXPECT_TRUE(has(text, pfx + "[L2Psel] aclTrapEn=1\n"));
}

TEST_F(L2PselVerdict, TrapReasonComesFromTheBank) {
    com.trill_res_rb = 0;
    bank12(ACLT_L2_IP, Key().words, {{"trap_en", 1}, {"trap_que", 3}, {"lgid_egid_mgid", 0x123}, {"fwd_en", 1}});
    tae.BLK_REG_SET("TAE_BANK_TRAP_RSN_2_REG", 0x2d << 12, false, true); // banks 10 to 14, six bits each from the top
    select();
    EXPECT_EQ(out.l2PselTrapRsn, 0x2du);
    EXPECT_EQ(out.l2PselTrapQue, 3u);
}

TEST_F(L2PselVerdict, RouteRequired) {
    stat.l3IpVer = 4;
    const uint32_t gid = 0x4200 | kRteRqdEgid;
    acl({{"lgid_egid_mgid", gid}});
    select();
    EXPECT_EQ(out.l2PselRteRqd, 1u);
    stat.l3IpVer = 6;
    select();
    EXPECT_EQ(out.l2PselRteRqd, 0u);
    stat.l3IpVer = 4;
    acl({{"lgid_egid_mgid", gid}, {"is_mgid", 1}});
    select();
    EXPECT_EQ(out.l2PselRteRqd, 0u);
    acl({{"lgid_egid_mgid", gid}});
    stat.l2FwdEn = 0;
    portReg.rte_prc_l2_ck_fwd_en = 1;
    select();
    EXPECT_EQ(out.l2PselRteRqd, 0u) << "a dropped frame needs no routing";
}

TEST_F(L2PselVerdict, Priorities) {
    stat.igPriMapDrpPrcd = 1;
    stat.igPriMapQuePri = 2;
    stat.igPriMapIwpri = 3;
    stat.macDp = 2;
    stat.macPrio = 5;
    const auto prios = [&](uint32_t mac, uint32_t dscpEn, uint32_t prioEn, uint32_t prioPth) {
        stat.macPrioHit = mac;
        acl({{"drop_prcd", 3},
             {"qmg_prio", 6},
             {"l2_ing_prio", 7},
             {"dscp_en", dscpEn},
             {"prio_en", prioEn},
             {"prio_pth", prioPth}});
        select();
        return std::vector<uint32_t>{out.l2PselDropPrcd, out.l2PselQmgPrio, out.l2PselIngPrio};
    };
    using V = std::vector<uint32_t>;
    EXPECT_EQ(prios(0, 0, 0, 0), (V{1, 2, 3}));
    EXPECT_EQ(prios(0, 1, 0, 0), (V{3, 2, 3}));
    EXPECT_EQ(prios(0, 0, 1, 0), (V{1, 6, 7}));
    EXPECT_EQ(prios(0, 0, 1, 1), (V{1, 2, 3}));
    EXPECT_EQ(prios(1, 1, 1, 0), (V{2, 5, 7}));
    EXPECT_EQ(prios(1, 1, 0, 0), (V{2, 5, 3}));
}

TEST_F(L2PselLearn, EnablesFollowTheGroup) {
    const auto lrn = [&](uint32_t gid, uint32_t dropped, uint32_t trapped) {
        com.rte_l2_sa_lrn_dropped_en = com.rte_l2_da_lrn_dropped_en = dropped;
        com.rte_l2_sa_lrn_trapped_en = com.rte_l2_da_lrn_trapped_en = trapped;
        acl({{"lgid_egid_mgid", gid}});
        select();
        return std::pair{out.l2PselSaLrnEn, out.l2PselDaLrnEn};
    };
    using P = std::pair<uint32_t, uint32_t>;
    stat.l2SaLrnEn = stat.l2DaLrnEn = 1;
    EXPECT_EQ(lrn(0x123, 0, 0), (P{1, 1}));
    EXPECT_EQ(lrn(kDropGid, 1, 0), (P{1, 1}));
    EXPECT_EQ(lrn(kDropGid, 0, 1), (P{0, 0}));
    EXPECT_EQ(lrn(kAclDropGid, 1, 0), (P{1, 1}));
    EXPECT_EQ(lrn(kAclDropGid, 0, 1), (P{0, 0}));
    EXPECT_EQ(lrn(kTrapGid, 0, 1), (P{1, 1}));
    EXPECT_EQ(lrn(kTrapGid, 1, 0), (P{0, 0}));
    stat.l2SaLrnEn = 0;
    EXPECT_EQ(lrn(0x123, 1, 1), (P{0, 1}));
    stat.l2SaLrnEn = 1;
    stat.l2DaLrnEn = 0;
    EXPECT_EQ(lrn(0x123, 1, 1), (P{1, 0}));
    stat.l2DaLrnEn = stat.l2OuterDaIsCtl = 1;
    EXPECT_EQ(lrn(0x123, 1, 1), (P{1, 0}));
}

TEST_F(L2PselLearn, TransitDropLearnsNoSourceWithoutDaLearning) {
    const std::string line = pfx + "SA learn disabled for trill interior\n";
    com.rte_l2_sa_lrn_dropped_en = 1;
    stat.l2SaLrnEn = 1;
    stat.l2TrillInterior = 1;
    for (uint32_t gid : {kDropGid, kAclDropGid}) {
        acl({{"lgid_egid_mgid", gid}});
        EXPECT_TRUE(has(select(), line));
        EXPECT_EQ(out.l2PselSaLrnEn, 0u);
    }
    portReg.rte_prc_l2_da_lrn_en = 1;
    EXPECT_FALSE(has(select(), line));
    EXPECT_EQ(out.l2PselSaLrnEn, 1u);
    portReg.rte_prc_l2_da_lrn_en = 0;
    acl({{"lgid_egid_mgid", 0x123}});
    EXPECT_FALSE(has(select(), line));
    EXPECT_EQ(out.l2PselSaLrnEn, 1u);
    stat.l2FwdEn = 0;
    portReg.rte_prc_l2_ck_fwd_en = 1;
    EXPECT_TRUE(has(select(), line));
    portReg.rte_prc_l2_trap_fwd_en_err = 1;
    EXPECT_FALSE(has(select(), line)) << "a trap is no drop";
    portReg.rte_prc_l2_trap_fwd_en_err = 0;
    stat.l2TrillInterior = 0;
    EXPECT_FALSE(has(select(), line));
}

TEST_F(L2PselTrill, AclDecides) {
    const auto cmd = [&](uint32_t command, uint32_t isMgid = 0) {
        acl({{"lgid_egid_mgid", 0x123},
             {"is_mgid", isMgid},
             {"trill_cmd", command},
             {"mctid_trill_da", 0xbedc},
             {"trill_mc", 1}});
        select();
    };
    cmd(0);
    EXPECT_EQ(out.l2PselTrillVld, 0u);
    EXPECT_EQ(out.l2PselDoTrillMP, 0u);
    EXPECT_EQ(out.l2PselTrillMc, 1u);
    EXPECT_EQ(out.l2PselTrillDa, 0xbedcu);
    cmd(2);
    EXPECT_EQ(out.l2PselTrillVld, 1u);
    EXPECT_EQ(out.l2PselDoTrillMP, 1u);
    EXPECT_EQ(out.l2PselOverrideTrillEgid, 0u);
    EXPECT_EQ(out.l2PselIsMctid, 0u);
    cmd(3);
    EXPECT_EQ(out.l2PselTrillVld, 1u);
    EXPECT_EQ(out.l2PselOverrideTrillEgid, 1u);
    EXPECT_EQ(out.l2PselDoTrillMP, 1u);
    cmd(1);
    EXPECT_EQ(out.l2PselTrillVld, 1u);
    EXPECT_EQ(out.l2PselIsMctid, 1u);
    EXPECT_EQ(out.l2PselMctId, 0x1edcu);
    EXPECT_EQ(out.l2PselMctNpath, 5u);
    EXPECT_EQ(out.l2PselDoTrillMP, 1u);
    cmd(1, 1);
    EXPECT_EQ(out.l2PselDoTrillMP, 0u);
    stat.l2TrillFound = 1;
    stat.l2TrillDa = 0x7234;
    stat.l2TrillMc = 1;
    cmd(2);
    EXPECT_EQ(out.l2PselTrillDa, 0xcafeu);
    EXPECT_EQ(out.l2PselTrillMc, 0u);
    EXPECT_EQ(out.l2PselMctId, 0x0afeu);
    EXPECT_EQ(out.l2PselMctNpath, 6u);
    EXPECT_EQ(out.l2PselTrillVld, 1u);
    stat.l2ExmVidTrillMc = 1;
    cmd(1);
    EXPECT_EQ(out.l2PselTrillDa, 0x7234u);
    EXPECT_EQ(out.l2PselTrillMc, 1u);
    EXPECT_EQ(out.l2PselMctId, 0x1234u);
    EXPECT_EQ(out.l2PselMctNpath, 3u);
    EXPECT_EQ(out.l2PselIsMctid, 1u);
}

TEST_F(L2PselTrill, ExactMatchDecides) {
    acl({{"lgid_egid_mgid", kPthGid}, {"trill_cmd", 1}, {"mctid_trill_da", 0xbedc}, {"trill_mc", 1}});
    stat.l2ExmDaLgidEgidMgid = 0x123;
    stat.l2ExmDaTrillCmd = 3;
    stat.l2ExmDaTrillMc = 1;
    stat.l2ExmDaTrillDa = 0x4321;
    stat.l2ExmDaMctId = 0x1111;
    stat.l2ExmDaMctNpath = 4;
    stat.l2ExmDaOverrideTrillEgid = 1;
    stat.l2ExmDoTrillMP = 1;
    stat.l2ExmDaIsMctid = 1;
    select();
    EXPECT_EQ(out.l2PselTrillVld, 0u);
    EXPECT_EQ(out.l2PselTrillMc, 0u);
    EXPECT_EQ(out.l2PselTrillDa, 0xcafeu);
    EXPECT_EQ(out.l2PselIsMctid, 1u) << "whatever the validity";
    EXPECT_EQ(out.l2PselMctId, 0x1111u);
    EXPECT_EQ(out.l2PselMctNpath, 4u);
    EXPECT_EQ(out.l2PselOverrideTrillEgid, 1u);
    EXPECT_EQ(out.l2PselDoTrillMP, 1u);
    stat.l2ExmVidTrillMc = 1;
    stat.l2ExmDaIsMctid = 0;
    select();
    EXPECT_EQ(out.l2PselTrillVld, 1u);
    EXPECT_EQ(out.l2PselTrillMc, 1u);
    EXPECT_EQ(out.l2PselTrillDa, 0x4321u);
    EXPECT_EQ(out.l2PselIsMctid, 0u);
    stat.l2TrillFound = 1;
    stat.l2TrillDa = 0x7234;
    stat.l2ExmDaTrillCmd = 0;
    stat.l2ExmDaIsMgid = 1;
    select();
    EXPECT_EQ(out.l2PselTrillVld, 0u);
    EXPECT_EQ(out.l2PselTrillMc, 0u);
    EXPECT_EQ(out.l2PselTrillDa, 0x7234u);
    EXPECT_EQ(out.l2PselDoTrillMP, 0u) << "a multicast group needs no path";
    // The result's flag counts: a dropped frame has none.
    stat.l2FwdEn = 0;
    portReg.rte_prc_l2_ck_fwd_en = 1;
    select();
    EXPECT_EQ(out.l2PselDoTrillMP, 1u);
}

TEST_F(L2PselTest, TheRestIsCopied) {
    acl({{"lgid_egid_mgid", 0x123},
         {"span_en", 1},
         {"span_id", 5},
         {"acl_log", 1},
         {"pol_en", 1},
         {"pol_id", 0x2345},
         {"dscp", 0x2a},
         {"mct_srbridge_vld", 1},
         {"bypass_eacl", 1},
         {"sflow_en", 1},
         {"sflow_profile", 9},
         {"sts_sflow_en", 1},
         {"sts_sflow_idx", 0x7abc}});
    stat.IpDscpForPsel = 0x11;
    select();
    EXPECT_EQ(out.l2PselSpan, 1u);
    EXPECT_EQ(out.l2PselSpanId, 5u);
    EXPECT_EQ(out.l2PselAclLog, 1u);
    EXPECT_EQ(out.l2PselPolEn, 1u);
    EXPECT_EQ(out.l2PselPolId, 0x2345u);
    EXPECT_EQ(out.l2PselDscpEn, 0u);
    EXPECT_EQ(out.l2PselDscp, 0x11u);
    EXPECT_EQ(out.l2PselMctSrbVld, 1u);
    EXPECT_EQ(out.l2PselBypassEacl, 1u);
    EXPECT_EQ(stat.l2PselSflowEn, 1u);
    EXPECT_EQ(stat.l2PselSflowProfile, 0u) << "the ACL engine never hands one over";
    EXPECT_EQ(stat.l2PselStsEn, 1u);
    EXPECT_EQ(stat.l2PselStsIdx, 0x7abcu);
    acl({{"dscp_en", 1}, {"dscp", 0x2a}});
    select();
    EXPECT_EQ(out.l2PselDscpEn, 1u);
    EXPECT_EQ(out.l2PselDscp, 0x2au);
}

// The whole selection.

TEST_F(L2PselTest, ResultBlockAndFields) {
    acl({{"lgid_egid_mgid", 0x1abc},
         {"span_en", 1},
         {"span_id", 5},
         {"trap_en", 1},
         {"trap_que", 0xd},
         {"trill_cmd", 3},
         {"mctid_trill_da", 0xbedc},
         {"trill_mc", 1},
         {"pol_en", 1},
         {"pol_id", 0x2345}});
    stat.l3IpEcn = 2;
    rteEn = 1;
    const std::string text = run();
    EXPECT_EQ(rteEnCalls, 1u);
    EXPECT_EQ(stat.l2PselEgrIpEcn, 2u);
    EXPECT_EQ(stat.l2PselRteEn, 1u);
    EXPECT_EQ(stat.l2PselTrillDaPreMP, 0xbedcu);
    EXPECT_EQ(stat.l2PselTrillMcPreMP, 1u);
    EXPECT_EQ(stat.l2PselRsltTyp, 3u);
    EXPECT_TRUE(has(text, "L2 PSEL result:\n"
                          "    l2_rslt_typ         =        3\n"
                          "    l2_trap_que         =        d\n"
                          "    l2_trap_rsn         =        0\n"
                          "    l2_sa_lrn_en        =        0\n"
                          "    l2_da_lrn_en        =        0\n"
                          "    l2_span             =        1\n"
                          "    l2_span_id          =        5\n"
                          "    l2_ing_prio         =        0\n"
                          "    l2_is_l2_mgid       =        0\n"
                          "    l2_qmg_prio         =        0\n"
                          "    l2_drop_prcd        =        0\n"
                          "    l2_egid_mgid        =     1abc\n"
                          "    l2_rte_rqd          =        0\n"
                          "    l2_trill_vld        =        1\n"
                          "    l2_do_trill_mp      =        1\n"
                          "    l2_trill_mc         =        1\n"
                          "    l2_trill_da         =     bedc\n"
                          "    l2_mct_srb_vld      =        0\n"
                          "    l2_bypass_eacl      =        0\n"
                          "    l2_acl_log          =        0\n"
                          "    l2_pol_en           =        1\n"
                          "    l2_pol_id           =     2345\n"
                          "    l2_dscp             =        0\n"
                          "    l2_dscp_en          =        0\n"
                          "    l2_is_mctid         =        0\n"
                          "    l2_mct_id           =        0\n"
                          "    l2_mct_npath        =        0\n"
                          "    l2_override_trill_egid=        1\n"
                          "    l2_ucast_flooded    =        0\n"
                          "    l2_drop_rsn         =        0\n" +
                              pfx +
                              "[L2Psel] result merging done, L2 gid=1abc, L2 is_mgid=0, trapRsn=0, dropRsn=0, "
                              "L2 rslt_typ=3, r_span=1, r_span_que=5\n"))
        << text;
    acl({{"lgid_egid_mgid", 0x1abc}, {"mctid_trill_da", 0x1234}});
    run();
    EXPECT_EQ(stat.l2PselTrillDaPreMP, 0x1234u);
    EXPECT_EQ(stat.l2PselTrillMcPreMP, 0u);
    stat.dbgLvl = 2;
    EXPECT_FALSE(has(run(), "L2 PSEL result"));
    stat.dbgLvl = 0;
    EXPECT_EQ(run(), "");
}

TEST_F(L2PselTest, FcoeRoutes) {
    struct Case {
        uint32_t fcoe, gid, isMgid, vf, ve;
    };
    for (const Case &c : {Case{1, 0x5155, 0, 1, 0}, Case{1, 0x4955, 0, 0, 1}, Case{1, 0x5955, 0, 1, 0},
                          Case{1, 0x5155, 1, 0, 0}, Case{0, 0x5155, 0, 0, 0}, Case{1, 0x5154, 0, 0, 0}}) {
        newFrame();
        stat.l2FcoeFound = c.fcoe;
        acl({{"lgid_egid_mgid", c.gid}, {"is_mgid", c.isMgid}});
        run();
        EXPECT_EQ(stat.l2PselFcoeVfRouted, c.vf);
        EXPECT_EQ(stat.l2PselFcoeVeRouted, c.ve);
    }
}

TEST_F(L2PselTest, SourceLookupIsValidForKnownTransitUnicast) {
    for (uint32_t i = 0; i < 16; i++) {
        newFrame();
        stat.l2TrillFound = i & 1;
        stat.l2TrillMc = i >> 1 & 1;
        stat.l2ExmSaHit = i >> 2 & 1;
        stat.l2ExmSaIsMgid = i >> 3 & 1;
        run();
        EXPECT_EQ(stat.l2PselSaLuVld, i == 5);
    }
}

TEST_F(L2PselTest, RandomChipAndFrame) {
    RandomWords rng(1);
    const auto fill = [&](void *to, size_t bytes) {
        uint32_t *words = static_cast<uint32_t *>(to);
        for (size_t i = 0; i < bytes / 4; i++)
            words[i] = rng();
    };
    tae.BLK_REG_SET("TAE_BANK_EN_REG", 0, false, true);
    for (uint32_t i = 0; i < 200; i++) {
        fill(&com, sizeof com);
        fill(&portReg, sizeof portReg);
        fill(&stat.l2HdrLenAdj, offsetof(CmRteStat, dbgLvl) - offsetof(CmRteStat, l2HdrLenAdj));
        stat.dbgLvl = 0;
        for (uint32_t w = 0; w < 4; w++)
            tae.BLK_REG_SET(("TAE_L2_SRCH_DEF_RSLT_" + std::to_string(w) + "_REG").c_str(), rng(), false, true);
        L2Psel(&stat);
        EXPECT_LT(stat.l2PselRsltTyp, 4u);
        l2MultipathProcess(&stat, i & 1);
        EXPECT_LT(stat.l2PselEgidMgid, 0x20000u);
    }
}
