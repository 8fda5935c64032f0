// Next hops, from the index to the final group, and multicast user identifiers.

#include "lue/cmRteLue.h"
#include "model_fixture.h"
#include "tcam_image.h"

namespace {

/// Fields of a next-hop record and the words they make.
struct NextHop {
    uint32_t gid = 0, l2Prio = 0, trillDa = 0, trillMc = 0, trillCmd = 0, isMgid = 0, vsanTagged = 0, fcoePrioPth = 0,
             saIdx = 0, eivid = 0, daIdx = 0, mcastTyp = 0;

    uint32_t a() const { return gid << 15 | l2Prio << 12; }
    uint32_t b() const {
        return trillDa << 16 | trillMc << 15 | trillCmd << 13 | isMgid << 12 | vsanTagged << 11 | fcoePrioPth << 10 |
               saIdx;
    }
    uint32_t c() const { return eivid << 19 | daIdx << 2 | mcastTyp; }
};

class LueL3NextHop : public ModelTest {
protected:
    LueL3NextHop() { ready(); }

    void ready() {
        resetStat(2);
        stat.frmIdx = 9;
        stat.dbgLvl = 2; // without the final block
        stat.l3IpVer = 4;
        stat.l3RteRqd = 1;
    }

    void put(uint32_t idx, const NextHop &hop) {
        mem.RTE_L3_NXT_HOP_RSLT_EDRAM[4 * idx] = 0xffffffff; // not used
        mem.RTE_L3_NXT_HOP_RSLT_EDRAM[4 * idx + 1] = hop.a();
        mem.RTE_L3_NXT_HOP_RSLT_EDRAM[4 * idx + 2] = hop.b();
        mem.RTE_L3_NXT_HOP_RSLT_EDRAM[4 * idx + 3] = hop.c();
    }
    /// Sets the multipath byte of `idx`, which must be 0 before.
    void putMp(uint32_t idx, uint32_t npath, uint32_t hashNum) {
        static const unsigned shift[4] = {24, 16, 8, 0};
        mem.RTE_L3_MP_INFO_EDRAM[idx / 4] |= (npath << 3 | hashNum) << shift[idx % 4];
    }
    std::string lookUp(uint32_t isDa) {
        return printed([&] { L3NextHopLu(&stat, isDa); });
    }
    /// The DA's lookup of the record `hop` at index 0x10.
    std::string lookUpDa(const NextHop &hop) {
        put(0x10, hop);
        stat.l3PselNextHopRsltIdx = 0x10;
        return lookUp(1);
    }
    std::string line(const std::string &text) const { return "CM port=2, frameIdx=9>> " + text + "\n"; }
    /// The three lines of index 0x10 without multipath.
    std::string head(const NextHop &hop) const {
        char words[64];
        std::snprintf(words, sizeof words, "0x%08x_%08x_%08x", hop.a(), hop.b(), hop.c());
        return line("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[10]=0") + line("[L3NextHopLu] Npath = 0, Hash = 0") +
               line(std::string("[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[10]=") + words);
    }
};

} // namespace

// Multipath.

TEST_F(LueL3NextHop, MultipathBytesStandFirstOneOnTop) {
    mem.RTE_L3_MP_INFO_EDRAM[0x123] = 0x01020304; // no paths, hashes 1 to 4
    const char *const texts[4] = {"1", "2", "3", "4"};
    for (uint32_t i = 0; i < 4; i++) {
        ready();
        stat.l3PselNextHopRsltIdx = 0x48c + i;
        const std::string idx = std::string("48") + "cdef"[i];
        EXPECT_EQ(lookUp(1),
                  line("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[" + idx + "]=" + texts[i]) +
                      line(std::string("[L3NextHopLu] Npath = 0, Hash = ") + texts[i]) +
                      line("[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[" + idx + "]=0x00000000_00000000_00000000"));
    }
}

TEST_F(LueL3NextHop, WithoutPathsTheHashDoesNotCount) {
    putMp(0x10, 0, 5);
    for (uint32_t &hsh : stat.hshVal)
        hsh = 0xfff;
    stat.l3NxtHopMpOffset = 3;
    lookUpDa({.eivid = 0x77});
    EXPECT_EQ(stat.l3NxtHopMpOffset, 0u);
    EXPECT_EQ(stat.l3EividDa, 0x77u);
    EXPECT_EQ(stat.l3psel_mpid_sts_en, 1u);
}

TEST_F(LueL3NextHop, HashSpreadsOverTheExtraPathsAndTheFirst) {
    struct {
        uint32_t npath, hashNum, hsh, offset;
        const char *byte, *counts;
    } const rows[] = {
        {1, 0, 0x001, 1, "8", "Npath = 1, Hash = 0"},     {1, 7, 0x002, 0, "f", "Npath = 1, Hash = 7"},
        {2, 5, 0x005, 2, "15", "Npath = 2, Hash = 5"},    {2, 5, 0x1005, 2, "15", "Npath = 2, Hash = 5"},
        {31, 3, 0xfff, 31, "fb", "Npath = 1f, Hash = 3"},
    };
    for (const auto &row : rows) {
        for (uint32_t isDa : {0u, 1u}) {
            ready();
            std::memset(mem.RTE_L3_MP_INFO_EDRAM, 0, sizeof mem.RTE_L3_MP_INFO_EDRAM);
            putMp(0x10, row.npath, row.hashNum);
            for (uint32_t i = 0; i < 32; i++)
                put(0x10 + i, {.eivid = 0x100 + i});
            for (uint32_t i = 0; i < 8; i++)
                stat.hshVal[i] = i == row.hashNum ? row.hsh : row.hsh + 1;
            (isDa ? stat.l3PselNextHopRsltIdx : stat.l3FwdSaNextHopRsltIdx) = 0x10;
            char idx[8];
            std::snprintf(idx, sizeof idx, "%x", 0x10 + row.offset);
            const std::string out = lookUp(isDa);
            EXPECT_EQ(out.find(line(std::string("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[10]=") + row.byte) +
                               line(std::string("[L3NextHopLu] ") + row.counts) +
                               "CM port=2, frameIdx=9>> [L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[" + idx + "]="),
                      0u)
                << out;
            EXPECT_EQ(isDa ? stat.l3EividDa : stat.l3EividSa, 0x100 + row.offset);
            EXPECT_EQ(stat.l3NxtHopMpOffset, isDa ? row.offset : 0u);
            EXPECT_EQ(stat.l3psel_mpid_sts_en, isDa);
        }
    }
}

TEST_F(LueL3NextHop, IndexBeyondTheRecordsIsReportedAndWrapped) {
    put(0, {.eivid = 0x11});
    put(0x17fff, {.eivid = 0x22});
    put(0x27fff, {.eivid = 0x33});
    const std::string noPath = line("[L3NextHopLu] Npath = 0, Hash = 0");

    stat.l3PselNextHopRsltIdx = 0x27fff;
    EXPECT_EQ(lookUp(1), line("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[27fff]=0") + noPath +
                             line("[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[27fff]=0x00000000_00000000_01980000"));
    EXPECT_EQ(stat.l3EividDa, 0x33u);

    stat.l3PselNextHopRsltIdx = 0x28000;
    EXPECT_EQ(lookUp(1), line("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[28000]=0") + noPath +
                             line("Error: next hop result index 0x28000 out of range 0x28000") +
                             line("[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[0]=0x00000000_00000000_00880000"));
    EXPECT_EQ(stat.l3EividDa, 0x11u);

    // The memory behind the multipath memory does not answer for it.
    std::memset(mem.RTE_L3_MP_INFO_EDRAM, 0xff, sizeof mem.RTE_L3_MP_INFO_EDRAM);
    stat.l3FwdSaNextHopRsltIdx = 0x3ffff;
    EXPECT_EQ(lookUp(0), line("[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[3ffff]=0") + noPath +
                             line("Error: next hop result index 0x3ffff out of range 0x28000") +
                             line("[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[17fff]=0x00000000_00000000_01100000"));
    EXPECT_EQ(stat.l3EividSa, 0x22u);
}

TEST_F(LueL3NextHop, SpreadMayLeaveTheRecordsToo) {
    put(1, {.eivid = 0x44});
    putMp(0x27fff, 3, 0);
    stat.hshVal[0] = 2;
    stat.l3PselNextHopRsltIdx = 0x27fff;
    EXPECT_NE(lookUp(1).find(line("Error: next hop result index 0x28001 out of range 0x28000")), std::string::npos);
    EXPECT_EQ(stat.l3EividDa, 0x44u);
    EXPECT_EQ(stat.l3NxtHopMpOffset, 2u);
}

// The record.

TEST_F(LueL3NextHop, SaTakesOnlyItsVlan) {
    const NextHop hop{0x1ffff, 7, 0xffff, 1, 3, 1, 1, 1, 0x3ff, 0x1234, 0x1ffff, 3};
    put(0x10, hop);
    put(0x20, {.eivid = 0xabc});
    stat.l3FwdSaNextHopRsltIdx = 0x10;
    stat.l3PselNextHopRsltIdx = 0x20;
    stat.l3RteRqd = 0;
    stat.l2TrillFound = 1;
    CmRteStat before = stat;
    EXPECT_EQ(lookUp(0), head(hop));
    before.l3EividSa = 0x1234;
    EXPECT_EQ(std::memcmp(&stat, &before, sizeof stat), 0);
}

TEST_F(LueL3NextHop, EachFieldOfTheRecordHasItsOwnPlace) {
    struct {
        NextHop hop;
        uint32_t CmRteStat::*field;
        uint32_t value;
    } const rows[] = {
        {{.gid = 0x2bcd}, &CmRteStat::l3NxtHopMpidLgidEgidMgid, 0x2bcd},
        {{.l2Prio = 5}, &CmRteStat::l3NxtHopFcoeL2Prio, 5},
        {{.trillDa = 0xa5a6}, &CmRteStat::l3NxtHopTrillDa, 0xa5a6},
        {{.trillMc = 1}, &CmRteStat::l3NxtHopTrillMc, 1},
        {{.isMgid = 1}, &CmRteStat::l3PselIsMgid, 1},
        {{.vsanTagged = 1}, &CmRteStat::l3NxtHopFcoeVsanTagged, 1},
        {{.fcoePrioPth = 1}, &CmRteStat::l3NxtHopFcoeL2PrioPth, 1},
        {{.saIdx = 0x2a5}, &CmRteStat::l3NxtHopFcoeL2SaIdx, 0x2a5},
        {{.eivid = 0x15a5}, &CmRteStat::l3EividDa, 0x15a5},
        {{.daIdx = 0x1a5a6}, &CmRteStat::l3NxtHopL2DaIdx, 0x1a5a6},
        {{.mcastTyp = 2}, &CmRteStat::l3PselMcastTyp, 2},
    };
    for (const auto &row : rows) {
        ready();
        for (const auto &other : rows)
            stat.*other.field = 9; // earlier values do not survive
        EXPECT_EQ(lookUpDa(row.hop), head(row.hop));
        for (const auto &other : rows)
            EXPECT_EQ(stat.*other.field, other.field == row.field ? row.value : 0u)
                << &row - rows << " " << &other - rows;
        EXPECT_EQ(stat.l3NxtHopTrillCmd, 0u);
        EXPECT_EQ(stat.l3EividSa, 0u);
    }
}

TEST_F(LueL3NextHop, UnroutedTrillFrameKeepsItsOwnDestination) {
    const std::string force = line("Trill packet found and not routing, force trill_da/mc from packet");
    struct {
        uint32_t rteRqd, trillFound, forced;
    } const rows[] = {{0, 1, 1}, {1, 1, 0}, {0, 0, 0}};
    for (const auto &row : rows) {
        ready();
        stat.l3RteRqd = row.rteRqd;
        stat.l2TrillFound = row.trillFound;
        stat.l2PselTrillDaPreMP = 0x4321;
        stat.l2PselTrillMcPreMP = 2; // bit 0 is clear
        const NextHop hop{.trillDa = 0x1111, .trillMc = 1, .isMgid = 1};
        EXPECT_EQ(lookUpDa(hop), head(hop) + (row.forced ? force : ""));
        EXPECT_EQ(stat.l3NxtHopTrillDa, row.forced ? 0x4321u : 0x1111u);
        EXPECT_EQ(stat.l3NxtHopTrillMc, row.forced ? 0u : 1u);
    }
    // It is read as a tree like the record's own.
    ready();
    stat.l3RteRqd = 0;
    stat.l2TrillFound = 1;
    stat.l2PselTrillDaPreMP = 0xa123;
    stat.l2PselTrillMcPreMP = 3;
    lookUpDa({.trillDa = 0x1111, .trillCmd = 1, .isMgid = 1});
    EXPECT_EQ(stat.l3NxtHopMctNpath, 5u);
    EXPECT_EQ(stat.l3NxtHopMctId, 0x123u);
    EXPECT_EQ(stat.l3NxtHopTrillDa, 0xa123u);
    EXPECT_EQ(stat.l3NxtHopTrillMc, 1u);
}

TEST_F(LueL3NextHop, TrillCommandsOfTheRecord) {
    struct {
        uint32_t cmd, vld, da, npath, tree, isTree, ovrd;
    } const rows[] = {
        {0, 0, 0xb456, 0, 0, 0, 0},
        {1, 1, 0xb456, 5, 0x1456, 1, 0},
        {2, 1, 0xb456, 0, 0, 0, 0},
        {3, 1, 0xb456, 0, 0, 0, 1},
    };
    for (const auto &row : rows) {
        ready();
        stat.l3NxtHopTrillVld = 1 - row.vld;
        // A record with a multicast group reads no table.
        const NextHop hop{.gid = 0x1abcd, .trillDa = 0xb456, .trillCmd = row.cmd, .isMgid = 1, .mcastTyp = 3};
        EXPECT_EQ(lookUpDa(hop), head(hop));
        EXPECT_EQ(stat.l3NxtHopTrillCmd, row.cmd);
        EXPECT_EQ(stat.l3NxtHopTrillVld, row.vld);
        EXPECT_EQ(stat.l3NxtHopTrillDa, row.da);
        EXPECT_EQ(stat.l3NxtHopMctNpath, row.npath);
        EXPECT_EQ(stat.l3NxtHopMctId, row.tree);
        EXPECT_EQ(stat.l3NxtHopIsMctid, row.isTree);
        EXPECT_EQ(stat.l3NxtHopTrillEgidOvrd, row.ovrd);
        EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x1abcdu);
        EXPECT_EQ(stat.l3PselIsMgid, 1u);
        EXPECT_EQ(stat.l3PselMcastTyp, 3u);
        EXPECT_EQ(stat.l3PselMctIdStsEn, 0u);
        EXPECT_EQ(stat.l3PselMpIdStsEn, 0u);
        EXPECT_EQ(stat.l3PselLgIdStsEn, 0u);
    }
}

// The tables of the layer-2 path.

TEST_F(LueL3NextHop, TreeGivesTheDestinationAndTheDestinationTheGroup) {
    const uint32_t mp = 0x456 * 8 + 1; // hash 1 over two paths
    stat.hshVal[2] = 1;
    mem.RTE_L2_MCTID_HASH_TYPE_SRAM[0x456 / 8] = 0x00000020; // tree 6 of its word
    mem.RTE_L2_PSEL_MCTID_SRAM[mp] = 0xfedc;
    mem.RTE_L2_TRILL_DEST_SRAM[0xfedc] = 0x24321;
    const NextHop hop{.gid = 0x1ffff, .trillDa = 1 << 13 | 0x456, .trillCmd = 1, .mcastTyp = 2};
    EXPECT_EQ(lookUpDa(hop),
              head(hop) +
                  line("[MULTI_PATH] MctMpid. mctId: 0x456, HashType: 0x2, nPath: 0x1, hashVal: 0x1, RsltRamAddr: "
                       "0x22b1") +
                  line("[L3NextHopLu] MctMpid RTE_L2_PSEL_MCTID_SRAM[22b1]=0xfedc, trill_da=fedc, result:") +
                  line("[L3NextHopLu] trillDestLu RTE_L2_TRILL_DEST_SRAM[fedc]=0x24321, result:"));
    EXPECT_EQ(stat.l3NxtHopTrillDa, 0xfedcu);
    EXPECT_EQ(stat.l3PselMctIdStsEn, 1u);
    EXPECT_EQ(stat.l3PselMctIdSts, mp);
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4321u);
    EXPECT_EQ(stat.l3PselIsMgid, 1u);
    EXPECT_EQ(stat.l3PselMcastTyp, 0u);
    EXPECT_EQ(stat.l3PselMpIdStsEn, 0u);
}

TEST_F(LueL3NextHop, TrillDestinationKeepsTheMulticastTypeWithoutAGroup) {
    mem.RTE_L2_TRILL_DEST_SRAM[0x1234] = 0x04321; // final
    const NextHop hop{.gid = 0x1ffff, .trillDa = 0x1234, .trillCmd = 2, .mcastTyp = 2};
    EXPECT_EQ(lookUpDa(hop),
              head(hop) + line("[L3NextHopLu] trillDestLu RTE_L2_TRILL_DEST_SRAM[1234]=0x4321, result:"));
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4321u);
    EXPECT_EQ(stat.l3PselIsMgid, 0u);
    EXPECT_EQ(stat.l3PselMcastTyp, 2u);
    EXPECT_EQ(stat.l3PselMctIdStsEn, 0u);
}

TEST_F(LueL3NextHop, OverridingRecordKeepsItsGroup) {
    mem.RTE_L2_TRILL_DEST_SRAM[0x1234] = 0x24321;
    const NextHop hop{.gid = 0x4bcd, .trillDa = 0x1234, .trillCmd = 3};
    EXPECT_EQ(lookUpDa(hop), head(hop));
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4bcdu);
    EXPECT_EQ(stat.l3PselIsMgid, 0u);
}

TEST_F(LueL3NextHop, WithoutTrillNoDestinationIsRead) {
    mem.RTE_L2_TRILL_DEST_SRAM[0x1234] = 0x24321;
    const NextHop hop{.gid = 0x4bcd, .trillDa = 0x1234};
    EXPECT_EQ(lookUpDa(hop), head(hop));
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4bcdu);
}

TEST_F(LueL3NextHop, MultipathGroupAndThenTrunk) {
    // Group 0x1abc with one path; trunk 0x155 with one path.
    mem.RTE_L2_PSEL_MPID_SRAM[0x1abc * 8] = 0x08155;
    mem.RTE_L2_PSEL_LGID_SRAM[0x155 * 32] = 0x04077;
    const NextHop hop{.gid = 0x11abc, .mcastTyp = 1};
    EXPECT_EQ(lookUpDa(hop),
              head(hop) +
                  line("[MULTI_PATH] L2PselMpid. l2Mpid: 0x1abc, HashType: 0x0,\t\t   \tnPath: 0x0, hashVal: 0x0, "
                       "RsltRamAddr: 0xd5e0") +
                  line("[L3NextHopLu] L2PselMpid RTE_L2_PSEL_MPID_SRAM[d5e0]=0x8155, result:") +
                  line("L2PselLgid. LGID: 0x155, HashType: 0x0, nPath: 0x0, hashVal: 0x0, RsltRamAddr: 0x2aa0") +
                  line("[L3NextHopLu] lagId=0x155 RTE_L2_PSEL_LGID_SRAM[2aa0]=0x4077, result:"));
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4077u);
    EXPECT_EQ(stat.l3PselIsMgid, 0u);
    EXPECT_EQ(stat.l3PselMcastTyp, 1u);
    EXPECT_EQ(stat.l3PselMpIdStsEn, 1u);
    EXPECT_EQ(stat.l3PselMpIdSts, 0xd5e0u);
    EXPECT_EQ(stat.l3PselLgIdStsEn, 1u);
    EXPECT_EQ(stat.l3PselLgIdSts, 0x2aa0u);
}

TEST_F(LueL3NextHop, GroupOfAMultipathRowIsFinalWhenItIsMulticast) {
    mem.RTE_L2_PSEL_MPID_SRAM[0x1abc * 8] = 0x28155;
    lookUpDa({.gid = 0x11abc, .mcastTyp = 1});
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x8155u);
    EXPECT_EQ(stat.l3PselIsMgid, 1u);
    EXPECT_EQ(stat.l3PselMcastTyp, 0u);
    EXPECT_EQ(stat.l3PselLgIdStsEn, 0u);
}

TEST_F(LueL3NextHop, MultipathRowThatNamesAMultipathGroupIsNotFollowed) {
    mem.RTE_L2_PSEL_MPID_SRAM[0x1abc * 8] = 0x10001;
    lookUpDa({.gid = 0x11abc});
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x10001u);
    EXPECT_EQ(stat.l3PselMpIdSts, 0xd5e0u);
    EXPECT_EQ(stat.l3PselLgIdStsEn, 0u);
}

TEST_F(LueL3NextHop, TrunkRowIsFinal) {
    for (uint32_t word : {0x11abcu, 0x8001u, 0x28001u}) {
        ready();
        mem.RTE_L2_PSEL_LGID_SRAM[0x155 * 32] = word;
        // Bits 14:10 do not name the trunk.
        const NextHop hop{.gid = 0x8000 | 0x7c00 | 0x155, .mcastTyp = 3};
        EXPECT_EQ(lookUpDa(hop),
                  head(hop) +
                      line("L2PselLgid. LGID: 0x155, HashType: 0x0, nPath: 0x0, hashVal: 0x0, RsltRamAddr: 0x2aa0") +
                      line(std::string("[L3NextHopLu] lagId=0x155 RTE_L2_PSEL_LGID_SRAM[2aa0]=0x") +
                           (word == 0x11abc  ? "11abc"
                            : word == 0x8001 ? "8001"
                                             : "28001") +
                           ", result:"));
        EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, word & 0x1ffff);
        EXPECT_EQ(stat.l3PselIsMgid, word >> 17);
        // Of the path tables only the trunk's leaves the multicast type alone.
        EXPECT_EQ(stat.l3PselMcastTyp, 3u);
        EXPECT_EQ(stat.l3PselMpIdStsEn, 0u);
        EXPECT_EQ(stat.l3PselLgIdStsEn, 1u);
    }
}

TEST_F(LueL3NextHop, MulticastGroupIsNeverSpread) {
    for (uint32_t gid : {0x11abcu, 0x8155u}) {
        ready();
        lookUpDa({.gid = gid, .isMgid = 1, .mcastTyp = 2});
        EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, gid);
        EXPECT_EQ(stat.l3PselMcastTyp, 2u);
        EXPECT_EQ(stat.l3PselMpIdStsEn + stat.l3PselLgIdStsEn, 0u);
    }
}

TEST_F(LueL3NextHop, GroupOfTheTrillDestinationIsFollowed) {
    mem.RTE_L2_TRILL_DEST_SRAM[0x1234] = 0x11abc;
    mem.RTE_L2_PSEL_MPID_SRAM[0x1abc * 8] = 0x4055;
    lookUpDa({.gid = 0x4001, .trillDa = 0x1234, .trillCmd = 2});
    EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, 0x4055u);
    EXPECT_EQ(stat.l3PselMpIdStsEn, 1u);
}

// The final block.

TEST_F(LueL3NextHop, FinalResultIsPrintedFieldByField) {
    mem.RTE_L2_PSEL_MPID_SRAM[0x1abc * 8] = 0x8155;
    mem.RTE_L2_PSEL_LGID_SRAM[0x155 * 32] = 0x4077;
    const NextHop hop{.gid = 0x11abc,
                      .l2Prio = 5,
                      .trillDa = 0x1234,
                      .trillMc = 1,
                      .trillCmd = 3,
                      .vsanTagged = 1,
                      .fcoePrioPth = 1,
                      .saIdx = 0x2a5,
                      .eivid = 0x15a5,
                      .daIdx = 0x1a5a6,
                      .mcastTyp = 2};
    stat.dbgLvl = 3;
    const std::string out = lookUpDa(hop);
    const size_t at = out.find(line("L3 DA next hop final result:"));
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(out.substr(at), line("L3 DA next hop final result:") + "l3NxtHopMpidLgidEgidMgid       = 0x00004077\n"
                                                                     "l3NxtHopTrillVld               = 0x00000001\n"
                                                                     "l3NxtHopTrillDa                = 0x00001234\n"
                                                                     "l3NxtHopMctId                  = 0x00000000\n"
                                                                     "l3NxtHopIsMctid                = 0x00000000\n"
                                                                     "l3NxtHopTrillCmd               = 0x00000003\n"
                                                                     "l3NxtHopTrillMc                = 0x00000001\n"
                                                                     "l3NxtHopTrillEgidOvrd          = 0x00000001\n"
                                                                     "l3NxtHopMctNpath               = 0x00000000\n"
                                                                     "l3NxtHopL2DaIdx                = 0x0001a5a6\n"
                                                                     "l3NxtHopFcoeL2Prio             = 0x00000005\n"
                                                                     "l3NxtHopFcoeL2PrioPth          = 0x00000001\n"
                                                                     "l3NxtHopFcoeL2SaIdx            = 0x000002a5\n"
                                                                     "l3NxtHopFcoeVsanTagged         = 0x00000001\n"
                                                                     "l3EividDa                      = 0x000015a5\n"
                                                                     "l3NxtHopMpOffset               = 0x00000000\n"
                                                                     "l3psel_mpid_sts_en             = 0x00000001\n"
                                                                     "l3PselIsMgid                   = 0x00000000\n"
                                                                     "l3PselMcastTyp                 = 0x00000002\n"
                                                                     "l3PselMctIdStsEn               = 0x00000000\n"
                                                                     "l3PselMctIdSts                 = 0x00000000\n"
                                                                     "l3PselMpIdStsEn                = 0x00000001\n"
                                                                     "l3PselMpIdSts                  = 0x0000d5e0\n"
                                                                     "l3PselLgIdStsEn                = 0x00000001\n"
                                                                     "l3PselLgIdSts                  = 0x00002aa0\n");
}

TEST_F(LueL3NextHop, QuietRunPrintsNothing) {
    stat.dbgLvl = 1;
    stat.l3FwdSaNextHopRsltIdx = 0x3ffff;
    EXPECT_EQ(lookUp(0), "");
    EXPECT_EQ(lookUpDa({.gid = 0x11abc, .trillDa = 1, .trillCmd = 1}), "");
    EXPECT_EQ(printed([&] { L3McuidLu(&stat); }), "");
}

// Multicast user identifiers.

namespace {

class LueL3Mcuid : public ModelTest {
protected:
    LueL3Mcuid() {
        resetStat(2);
        stat.frmIdx = 9;
        verbose(true);
        tcamOff(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 4);
        tcamOff(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 16);
        com.l3_ipv4_mcuid_exm_miss_idx = 0x2345;
        com.l3_ipv6_mcuid_exm_miss_idx = 0x345;
        mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[0x2345] = 0x777;
        mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[0x345] = 0x666;
        com.rte_his_en = 0xffffffff;
        com.rte_lue_ipv4_mcuid_idx_addr_hi = com.rte_lue_ipv4_mcuid_rslt_addr_hi = 0x3fff;
        com.rte_lue_ipv6_mcuid_idx_addr_hi = com.rte_lue_ipv6_mcuid_rslt_addr_hi = 0xfff;
        com.rte_lue_ipv4_mcuid_bkt_addr_hi = com.rte_lue_ipv6_mcuid_bkt_addr_hi = 0x3ff;
        stat.iivid = 0x1abc;
    }

    void ipv4() {
        stat.l3IpVer = 4;
        stat.l3IpDa0 = 0xe1020304;
    }
    void ipv6() {
        stat.l3IpVer = 6;
        stat.l3IpDa0 = 0xff0e111122223333;
        stat.l3IpDa1 = 0x4444555566667777;
    }
    uint32_t lookUp() {
        stat.l3PselMcuid = 0x5555;
        out = printed([&] { L3McuidLu(&stat); });
        return stat.l3PselMcuid;
    }
    /// Puts the frame's key at entry `n` of the bucket memory.
    void ipv4Bucket(uint32_t n) {
        const std::vector<uint32_t> key = {0x1abc, 0xe1020304};
        std::copy(key.begin(), key.end(), mem.RTE_L3_IPV4_MCUID_BKT_EDRAM + 2 * n);
    }
    void ipv6Bucket(uint32_t n) { std::copy(ipv6Key.begin(), ipv6Key.end(), mem.RTE_L3_IPV6_MCUID_BKT_EDRAM + 8 * n); }

    std::string out;
    const std::string start = "CM port=2, frameIdx=9>> START L3_MCUID PROCESSING \n";
    const std::vector<uint32_t> ipv6Key = {0, 0, 0, 0x1abc, 0xff0e1111, 0x22223333, 0x44445555, 0x66667777};
};

} // namespace

TEST_F(LueL3Mcuid, OtherFramesHaveNone) {
    for (uint32_t ver : {0u, 5u}) {
        stat.l3IpVer = ver;
        EXPECT_EQ(lookUp(), 0x5555u);
        EXPECT_EQ(out, "");
    }
}

TEST_F(LueL3Mcuid, MissTakesTheWordOfTheMissIndex) {
    ipv4();
    EXPECT_EQ(lookUp(), 0x777u);
    EXPECT_EQ(out, start);
    ipv6();
    EXPECT_EQ(lookUp(), 0x666u);
    EXPECT_EQ(out, start);
}

TEST_F(LueL3Mcuid, WordIsTakenWhole) {
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[0x2345] = 0xfedcba98;
    ipv4();
    EXPECT_EQ(lookUp(), 0xfedcba98u);
}

TEST_F(LueL3Mcuid, OverflowTcamGivesTheLastResults) {
    ipv4();
    tcamExact(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 1023, {0x1abc, 0xe1020304});
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[16383] = 0x101;
    EXPECT_EQ(lookUp(), 0x101u);
    tcamExact(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 0, {0x1abc, 0xe1020304});
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[16384 - 1024] = 0x102;
    EXPECT_EQ(lookUp(), 0x102u);
    stat.iivid = 0x1abd;
    EXPECT_EQ(lookUp(), 0x777u);

    stat.iivid = 0x1abc;
    ipv6();
    tcamExact(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 255, ipv6Key);
    mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[4095] = 0x103;
    EXPECT_EQ(lookUp(), 0x103u);
    tcamExact(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 0, ipv6Key);
    mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[4096 - 256] = 0x104;
    EXPECT_EQ(lookUp(), 0x104u);
    stat.l3IpDa0 ^= 1ull << 63;
    EXPECT_EQ(lookUp(), 0x666u);
}

TEST_F(LueL3Mcuid, BucketsHold16AndFourEntries) {
    ipv4();
    std::fill(std::begin(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), 0x123);
    ipv4Bucket(0x123 * 16 + 15);
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[0x123f] = 0x201;
    EXPECT_EQ(lookUp(), 0x201u);
    ipv4Bucket(0x124 * 16); // of the next bucket
    std::fill_n(mem.RTE_L3_IPV4_MCUID_BKT_EDRAM + 2 * 0x123f, 2, 0);
    EXPECT_EQ(lookUp(), 0x777u);

    ipv6();
    std::fill(std::begin(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), 0x123);
    ipv6Bucket(0x123 * 4 + 3);
    mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[0x48f] = 0x202;
    EXPECT_EQ(lookUp(), 0x202u);
    ipv6Bucket(0x124 * 4);
    std::fill_n(mem.RTE_L3_IPV6_MCUID_BKT_EDRAM + 8 * 0x48f, 8, 0);
    EXPECT_EQ(lookUp(), 0x666u);
}

TEST_F(LueL3Mcuid, BucketHitInTheRangeOfTheTcamCountsOnlyWhenAllowed) {
    ipv4();
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[15360] = 0x301;
    std::fill(std::begin(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), 15360 / 16);
    ipv4Bucket(15360);
    EXPECT_EQ(lookUp(), 0x777u);
    com.rte_l3_ipv4_mcuid_exm_alw_hsh_hit_tcam_rng = 1;
    EXPECT_EQ(lookUp(), 0x301u);

    ipv6();
    mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[3840] = 0x302;
    std::fill(std::begin(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), 3840 / 4);
    ipv6Bucket(3840);
    EXPECT_EQ(lookUp(), 0x666u);
    com.rte_l3_ipv6_mcuid_exm_alw_hsh_hit_tcam_rng = 1;
    EXPECT_EQ(lookUp(), 0x302u);
}

TEST_F(LueL3Mcuid, HashOfIpv4IsOverSixBytesWithSwappedPairs) {
    ipv4(); // key 1abc e1020304
    ipv4Bucket(3 * 16);
    mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[3 * 16] = 0x401;
    struct {
        uint32_t swap;
        uint8_t key[6];
    } const rows[] = {
        {0, {0x1a, 0xbc, 0xe1, 0x02, 0x03, 0x04}},
        {1u << 1, {0x1a, 0xbc, 0xe1, 0x02, 0x03, 0x08}},  // bits 2 and 3
        {1u << 21, {0x16, 0xbc, 0xe1, 0x02, 0x03, 0x04}}, // bits 42 and 43: 10 becomes 01
    };
    for (const auto &row : rows) {
        std::fill(std::begin(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV4_MCUID_IDX_SRAM), 1);
        const uint32_t hsh = CmEnetCrcCalc(6, row.key) & 0x3fff;
        mem.RTE_L3_IPV4_MCUID_IDX_SRAM[hsh] = 3;
        com.rte_l3_ipv4_mcuid_exm_swp_ctl = row.swap;
        EXPECT_EQ(lookUp(), 0x401u) << row.swap;
        EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_idx[3] & 0x3fff, hsh);
        EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_bkt[3] & 0x3ff, 3u);
        EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_rslt[3] & 0x3fff, 48u);
    }
}

TEST_F(LueL3Mcuid, HashOfIpv6IsOver18BytesWithASwapWordForEachPart) {
    ipv6();
    ipv6Bucket(3 * 4);
    mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[3 * 4] = 0x402;
    struct {
        uint32_t w0, w1, w2;
        uint8_t vid, da0Top, da1Low;
    } const rows[] = {
        {0, 0, 0, 0x1a, 0xff, 0x77},
        {1u << 5, 0, 0, 0x16, 0xff, 0x77},       // bits 10 and 11 of the VLAN
        {0, 1u << 27, 0, 0x1a, 0xff, 0x77},      // equal bits stay
        {0, 0, 1u << 1, 0x1a, 0xff, 0x7b},       // bits 2 and 3 of the address: 01 becomes 10
        {1u << 5, 0, 1u << 3, 0x16, 0xff, 0xb7}, // bits 6 and 7
    };
    for (const auto &row : rows) {
        const uint8_t key[18] = {row.vid, 0xbc, row.da0Top, 0x0e, 0x11, 0x11, 0x22, 0x22, 0x33,
                                 0x33,    0x44, 0x44,       0x55, 0x55, 0x66, 0x66, 0x77, row.da1Low};
        std::fill(std::begin(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), 1);
        const uint32_t hsh = CmEnetCrcCalc(18, key) & 0xfff;
        mem.RTE_L3_IPV6_MCUID_IDX_SRAM[hsh] = 3;
        com.rte_l3_ipv6_mcuid_exm_swp_ctl_w0 = row.w0;
        com.rte_l3_ipv6_mcuid_exm_swp_ctl_w1 = row.w1;
        com.rte_l3_ipv6_mcuid_exm_swp_ctl_w2 = row.w2;
        EXPECT_EQ(lookUp(), 0x402u) << &row - rows;
        EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_idx[3] & 0xfff, hsh);
        EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_bkt[3] & 0x3ff, 3u);
        EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_rslt[3] & 0xfff, 12u);
    }
    // The first word of the address has its own control.
    stat.l3IpDa0 = 0x7f0e111122223333;
    ipv6Bucket(0);
    mem.RTE_L3_IPV6_MCUID_BKT_EDRAM[3 * 32 + 4] = 0x7f0e1111;
    const uint8_t key[18] = {0x1a, 0xbc, 0xbf, 0x0e, 0x11, 0x11, 0x22, 0x22, 0x33,
                             0x33, 0x44, 0x44, 0x55, 0x55, 0x66, 0x66, 0x77, 0x77};
    std::fill(std::begin(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), std::end(mem.RTE_L3_IPV6_MCUID_IDX_SRAM), 1);
    mem.RTE_L3_IPV6_MCUID_IDX_SRAM[CmEnetCrcCalc(18, key) & 0xfff] = 3;
    com.rte_l3_ipv6_mcuid_exm_swp_ctl_w0 = com.rte_l3_ipv6_mcuid_exm_swp_ctl_w2 = 0;
    com.rte_l3_ipv6_mcuid_exm_swp_ctl_w1 = 1u << 31;
    EXPECT_EQ(lookUp(), 0x402u);
}

TEST_F(LueL3Mcuid, KeysAreRecordedWithTheirValidBitBehindThem) {
    ipv4();
    lookUp();
    EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_tcam_key[3][0], 0x11abcu);
    EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_tcam_key[3][1], 0xe1020304u);
    EXPECT_EQ(com.rte_his_l3_ipv4_mcuid_rslt[3] & 0x3fff, 0x2345u);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][0], 0u);
    ipv6();
    lookUp();
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][0], 0x11abcu);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][1], 0xff0e1111u);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][2], 0x22223333u);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][3], 0x44445555u);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_tcam_key[3][4], 0x66667777u);
    EXPECT_EQ(com.rte_his_l3_ipv6_mcuid_rslt[3] & 0xfff, 0x345u);
}
