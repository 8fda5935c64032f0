// IPv6 header parsing: the error rows, the walk over the extension headers, the PIM register packet, frames that end
// early.

#include "cmRtePrc.h"
#include "frame_builder.h"
#include "model_fixture.h"

#include <sstream>
#include <unistd.h>

namespace {

using PortFld = uint32_t CmRteHsiPortReg::*;

constexpr uint32_t kHbh = 0;
constexpr uint32_t kTcp = 6;
constexpr uint32_t kUdp = 17;
constexpr uint32_t kRouting = 43;
constexpr uint32_t kFrag = 44;
constexpr uint32_t kIcmp = 58;
constexpr uint32_t kNoNext = 59; // in the set of protocols that end the walk
constexpr uint32_t kDstOpt = 60;
constexpr uint32_t kPim = 103;
constexpr uint64_t kMacUc = 0x020000000001;

// One queue for each kind of trap, all different.
constexpr uint32_t kQueHdrVio = 1;
constexpr uint32_t kQueHbh = 2;
constexpr uint32_t kQuePimHdr = 3;
constexpr uint32_t kQueSaMcast = 4;
constexpr uint32_t kQueDaMcast = 5;
constexpr uint32_t kQueTtl = 6;
constexpr uint32_t kQueCksum = 7;
constexpr uint32_t kQuePimNull = 8;

constexpr uint32_t kL3 = 14; // offset of the IP header behind the addresses and the EtherType

const std::string kPre = "CM port=3, frameIdx=7>> ";

class PrcL3Ipv6Test : public ModelTest {
protected:
    PrcL3Ipv6Test() {
        com.rte_l3_ulp_hbh = kHbh;
        com.rte_l3_ulp_tcp = kTcp;
        com.rte_l3_ulp_udp = kUdp;
        com.rte_l3_ulp_icmp = kIcmp;
        com.rte_l3_ulp_pim = kPim;
        com.rte_l3_ipv6_frag_ext = kFrag;
        com.rte_l3_ipv6_ulp_msk_6 = 1u << 27; // 59 = 32 + 27
        com.rte_l3_pim_ver_typ = 0x21;
        com.rte_l3_ipv6_max_len = 0xfff;
        com.rte_l3_ipv6_mcast_prefix = 0xff;
        com.rte_l3_ipv6_mcast_mac_prefix = 0x3333;
        com.rte_l3_ip_hdr_vio_trap_que = kQueHdrVio;
        com.rte_l3_ipv6_hbh_trap_que = kQueHbh;
        com.rte_l3_ip_pim_hdr_trap_que = kQuePimHdr;
        com.rte_l3_ip_sa_mcast_trap_que = kQueSaMcast;
        com.rte_l3_ip_da_mcast_trap_que = kQueDaMcast;
        com.rte_l3_ip_ttl_trap_que = kQueTtl;
        com.rte_l3_ipv4_cksum_trap_que = kQueCksum;
        com.rte_l3_ip_pim_null_reg_trap_que = kQuePimNull;
        // The rendezvous point 2001:db8::2, which is the frame builder's DA.
        com.rte_ipv6_pim_rp_addr_5_w0 = 0x20010db8;
        com.rte_ipv6_pim_rp_addr_5_w3 = 2;
        com.rte_l3_ipv6_idx_5 = 21;
    }

    static Frame head(Frame::Ipv6 h) { return Frame().mac(kMacUc, 0x020000000002).etyp(0x86dd).ipv6(h); }

    /// A fixed header and `payload` zero bytes.
    static std::vector<uint8_t> plain(Frame::Ipv6 h, size_t payload = 60) { return head(h).fill(payload).bytes; }

    /// A fixed header, an extension header of 8 + 8 * `len` bytes, and `payload` zero bytes.
    static std::vector<uint8_t> ext(uint32_t kind, uint32_t nxtHdr, uint32_t len = 0, size_t payload = 60) {
        return head({.nxtHdr = kind}).num(nxtHdr, 1).num(len, 1).fill(6 + 8 * len).fill(payload).bytes;
    }

    /// A fragment header with its offset and M flag, then an ICMP header.
    static std::vector<uint8_t> frag(uint32_t offset, uint32_t flagM, uint32_t nxtHdr = kIcmp) {
        Frame f = head({.nxtHdr = kFrag});
        f.num(nxtHdr, 1).num(9, 1).num(offset << 3 | flagM, 2).num(0x55555555, 4); // its second byte is no length
        return f.num(0x8001, 2).fill(60).bytes;
    }

    /// A PIM register message from 2001:db8::1 to 2001:db8::2 with the packet `inner`. The checksum's words: twice
    /// 0x2001 + 0x0db8, 1 and 2, 8 and 103, 0x2100: 0x7ce4 together, complement 0x831b. The null-register bit adds
    /// 0x4000: complement 0x431b.
    static std::vector<uint8_t> pimReg(Frame::Ipv6 outer, Frame::Ipv6 inner, bool nullReg = false) {
        outer.nxtHdr = kPim;
        Frame f = head(outer);
        f.num(0x2100, 2).num(nullReg ? 0x431b : 0x831b, 2).num(nullReg ? 0x40000000 : 0, 4);
        return f.ipv6(inner).fill(60).bytes;
    }

    /// Places `bytes` as the parser's driver leaves them: the FCS and 28 bytes behind it zero, nothing more.
    void place(std::vector<uint8_t> bytes, size_t frmLen) {
        bytes.resize(frmLen > 3 ? frmLen - 4 : frmLen);
        bytes.resize(frmLen + 28);
        frameBuf = bytes;
        frameBuf.shrink_to_fit();
        resetStat();
        stat.frm = frameBuf.data();
        setFrameLen(static_cast<uint32_t>(frmLen));
        stat.ingPhyPort = 3;
        stat.frmIdx = 7;
        stat.l3IpVer = 6;
        stat.l3Offset = kL3;
        stat.l2Da = kMacUc;
    }
    void place(const std::vector<uint8_t> &bytes) { place(bytes, bytes.size() + 4); }

    void parse() { PrcL3Ipv6(&stat, 0, 0); }

    /// The parser's own lines at debug level `dbgLvl`; those of the flex keys are left out.
    std::string lines(const std::function<void()> &fn, uint32_t dbgLvl) {
        stat.dbgLvl = dbgLvl;
        std::istringstream all(printed(fn));
        std::string own, line;
        while (std::getline(all, line))
            if (line.find("Flex key") == std::string::npos)
                own += line + '\n';
        return own;
    }
    std::string parseLines(uint32_t dbgLvl = 4) {
        return lines([this] { parse(); }, dbgLvl);
    }

    void expectVerdict(uint32_t que, uint32_t trapRsn, uint32_t dropRsn) {
        EXPECT_EQ(stat.l3PrcTrapQue, que);
        EXPECT_EQ(stat.l3PrcTrapRsn, trapRsn);
        EXPECT_EQ(stat.l3PrcDropRsn, dropRsn);
    }

    void eraseChecks() { port = CmRteHsiPortReg{}; }
};

/// One error of the header, the frame that has it and no other, and what it leaves.
struct Row {
    const char *name;
    PortFld ck;
    PortFld trap; // null: always a trap
    uint32_t que;
    uint32_t trapRsn;
    uint32_t dropRsn;
    bool inner; // an inner header can have it
    uint64_t l2Da;
    std::function<void(std::vector<uint8_t> &, size_t)> damage; // of the header at an offset
};

const Row kRows[] = {
    {"version", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_ver, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_ver_err, kQueHdrVio, 4,
     13, true, kMacUc, [](auto &b, size_t o) { b[o] = 0x40; }},
    {"hbh", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_hbh, nullptr, kQueHbh, 12, 0, true, kMacUc,
     [](auto &b, size_t o) {
         b[o + 6] = kHbh;
         b[o + 40] = kNoNext;
     }},
    {"saMcast", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_sa_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_sa_mcast_err,
     kQueSaMcast, 8, 16, true, kMacUc, [](auto &b, size_t o) { b[o + 8] = 0xff; }},
    {"daMcast", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_da_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_da_mcast_err,
     kQueDaMcast, 7, 15, false, 0x333300000002, [](auto &b, size_t o) { b[o + 24] = 0x21; }},
    {"ttl", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_ttl, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_ttl_err, kQueTtl, 5, 14,
     true, kMacUc, [](auto &b, size_t o) { b[o + 7] = 1; }},
    {"pimExt", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_pim_ext, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_pim_ext_err,
     kQuePimHdr, 9, 17, false, kMacUc,
     [](auto &b, size_t o) {
         b[o + 6] = kDstOpt;
         b[o + 40] = kPim;
     }},
};

TEST_F(PrcL3Ipv6Test, EachErrorOfTheOuterHeaderIsNothingTrapOrDrop) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            expectVerdict(0, 0, 0);

            port.*row.ck = 1;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            const bool isTrap = trap || !row.trap;
            expectVerdict(isTrap ? row.que : 0, isTrap ? row.trapRsn : 0, isTrap ? 0 : row.dropRsn);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
            EXPECT_EQ(stat.l3PrcHdrUnk, 0u) << "parsing goes on behind an error";
            EXPECT_NE(stat.l4Offset, 0u);
        }
    }
}

TEST_F(PrcL3Ipv6Test, AnEarlierReasonBlocksEachError) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        eraseChecks();
        port.*row.ck = 1;
        for (uint32_t trap = 0; trap < 2; trap++) {
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            stat.l2Da = row.l2Da;
            stat.l3PrcTrapRsn = 6;
            parse();
            expectVerdict(0, 6, 0);

            place(bytes);
            stat.l2Da = row.l2Da;
            stat.l3PrcDropRsn = 20;
            parse();
            expectVerdict(0, 0, 20);
        }
    }
}

TEST_F(PrcL3Ipv6Test, OfTheInnerErrorsOnlyTheVersionIsLatched) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = pimReg({}, {});
        row.damage(bytes, kL3 + 48);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*row.ck = 1;
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            parse();
            EXPECT_EQ(stat.l3Offset, kL3 + 48);
            const bool isTrap = trap || !row.trap;
            if (row.inner)
                expectVerdict(isTrap ? row.que : 0, isTrap ? row.trapRsn : 0, isTrap ? 0 : row.dropRsn);
            else
                expectVerdict(0, 0, 0);
            const bool latched = row.name == std::string("version");
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, latched ? (trap ? 4 : 13) : 0);
        }
    }
}

TEST_F(PrcL3Ipv6Test, TheFirstErrorInTheOrderOfTheHeaderWins) {
    auto bytes = plain({.hopLimit = 1});
    bytes[kL3] = 0x50;
    bytes[kL3 + 6] = kHbh;
    bytes[kL3 + 40] = kPim;
    bytes[kL3 + 8] = 0xff;
    port.rte_prc_l3_ipv6_ck_ver = 1;
    port.rte_prc_l3_ipv6_ck_hbh = 1;
    port.rte_prc_l3_ipv6_ck_sa_mcast = 1;
    port.rte_prc_l3_ipv6_ck_da_mcast = 1;
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    port.rte_prc_l3_ipv6_ck_pim_ext = 1;
    auto run = [&] {
        place(bytes);
        stat.l2Da = 0x333300000002;
        parse();
    };
    run();
    expectVerdict(0, 0, 13);
    port.rte_prc_l3_ipv6_ck_ver = 0;
    run();
    expectVerdict(kQueHbh, 12, 0);
    port.rte_prc_l3_ipv6_ck_hbh = 0;
    run();
    expectVerdict(0, 0, 16);
    port.rte_prc_l3_ipv6_ck_sa_mcast = 0;
    run();
    expectVerdict(0, 0, 15);
    port.rte_prc_l3_ipv6_ck_da_mcast = 0;
    run();
    expectVerdict(0, 0, 14);
    port.rte_prc_l3_ipv6_ck_ttl = 0;
    run();
    expectVerdict(0, 0, 17);
}

TEST_F(PrcL3Ipv6Test, ReadsEveryField) {
    port.rte_prc_typ_mode = 2;
    place(plain({.saHi = 0x20010db8aaaa0001,
                 .saLo = 0x1111222233334444,
                 .daHi = 0x20010db8bbbb0002,
                 .daLo = 0x5555666677778888,
                 .nxtHdr = kTcp,
                 .hopLimit = 33,
                 .tclass = 0xbd,
                 .flow = 0xfffff,
                 .plen = 100}));
    stat.l2PselDscp = 0x55;
    parse();
    EXPECT_EQ(stat.l3IpDscp, 0x2fu);
    EXPECT_EQ(stat.l3IpDscpOuter, 0x2fu);
    EXPECT_EQ(stat.IpDscpForPsel, 0x2fu);
    EXPECT_EQ(stat.l2PselDscp, 0x55u) << "not written for IPv6";
    EXPECT_EQ(stat.l3IpEcn, 1u);
    EXPECT_EQ(stat.l3IpTlen, 140u);
    EXPECT_EQ(stat.l3IpHbh, 0u);
    EXPECT_EQ(stat.l3IpTtl, 33u);
    EXPECT_EQ(stat.l3IpSa0, 0x20010db8aaaa0001u);
    EXPECT_EQ(stat.l3IpSa1, 0x1111222233334444u);
    EXPECT_EQ(stat.l3IpDa0, 0x20010db8bbbb0002u);
    EXPECT_EQ(stat.l3IpDa1, 0x5555666677778888u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    EXPECT_EQ(stat.l3IpUlp, kTcp);
    EXPECT_EQ(stat.l4Offset, 54u);
    EXPECT_EQ(stat.l3Offset, 14u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 0u);
    EXPECT_EQ(stat.l3Ipv6IsFragment, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV6], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV6], 0u);
}

TEST_F(PrcL3Ipv6Test, AWrongVersionLeavesTheTrafficClass) {
    auto bytes = plain({.tclass = 0x04});
    bytes[kL3] = 0xf0;
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpDscp, 1u);
}

TEST_F(PrcL3Ipv6Test, TheTotalLengthWrapsAt16Bits) {
    place(plain({.plen = 65500}));
    parse();
    EXPECT_EQ(stat.l3IpTlen, 4u); // 65540 - 65536
}

TEST_F(PrcL3Ipv6Test, DscpGoesToPathSelectionByTypeModeOrAllowance) {
    const auto bytes = plain({.tclass = 0x28});
    auto run = [&](uint32_t mode, uint32_t allow) {
        port.rte_prc_typ_mode = mode;
        port.rte_prc_typ_alw_l3_dscp = allow;
        place(bytes);
        parse();
        EXPECT_EQ(stat.l2PselDscp, 0u);
        return stat.IpDscpForPsel;
    };
    EXPECT_EQ(run(0, 0), 0u);
    EXPECT_EQ(run(1, 0), 0u);
    EXPECT_EQ(run(2, 0), 10u);
    EXPECT_EQ(run(0, 1), 10u);
}

TEST_F(PrcL3Ipv6Test, LinesOfAPlainHeader) {
    port.rte_prc_typ_mode = 3;
    port.rte_prc_typ_alw_l3_dscp = 1;
    place(plain({.nxtHdr = kNoNext, .tclass = 0xb9}));
    EXPECT_EQ(parseLines(3), kPre + "Ipv6 DSCP = 2e, typ_mode=3, typ_alw_l3_dscp=1 ecn=1\n" + kPre +
                                 "IPv6 First NextHeader = 3b\n" + kPre +
                                 "IPv6 ULP=3b, isUlp=1, l3IpUlpIsPim=0, myRpPim=0\n");
    place(plain({}));
    EXPECT_EQ(parseLines(2), "");
}

TEST_F(PrcL3Ipv6Test, MulticastNeedsPrefixMacPrefixAndTheLow32BitsToAgree) {
    struct Case {
        uint64_t daHi, daLo;
        uint64_t mac;
        bool err;
        uint32_t ipMcast, macMcast;
        const char *lo;
    };
    const Case cases[] = {
        {0xff02000000000000, 0x0000000012345678, 0x333312345678, false, 1, 1, ""},
        {0xff02000000000000, 0x0000000012345678, 0x333302345678, true, 1, 1, "12345678_2345678"},
        {0xff02000000000000, 0x0000000012345678, 0x333212345678, true, 1, 0, "12345678_12345678"},
        {0xfe02000000000000, 0x0000000012345678, 0x333312345678, true, 0, 1, "12345678_12345678"},
        {0x2001000000000000, 0x0000000012345678, 0x020012345678, false, 0, 0, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.daHi << " " << c.mac);
        const auto bytes = plain({.daHi = c.daHi, .daLo = c.daLo});
        port.rte_prc_l3_ipv6_ck_da_mcast = 1;
        for (uint32_t off = 0; off < 2; off++) {
            port.rte_prc_l3_ipv6_mcast_off = off;
            place(bytes);
            stat.l2Da = c.mac;
            const std::string out = parseLines(2);
            const bool err = c.err && !off;
            expectVerdict(0, 0, err ? 15 : 0);
            EXPECT_EQ(stat.l3IpDaIsMcast, off || c.err ? 0 : c.ipMcast);
            std::ostringstream line;
            line << kPre << "IPv6 IP mcast DA check ip_da_mcast=" << c.ipMcast << " mac_da_mcast=" << c.macMcast
                 << " lo_32b=" << c.lo << " trap_rsn=0 drop_rsn=15\n";
            EXPECT_EQ(out, err ? line.str() : "");
        }
        port.rte_prc_l3_ipv6_mcast_off = 0;
        port.rte_prc_l3_ipv6_ck_da_mcast = 0;
        place(bytes);
        stat.l2Da = c.mac;
        EXPECT_EQ(parseLines(2), "");
        EXPECT_EQ(stat.l3IpDaIsMcast, c.ipMcast);
    }
    // The line stands even when an earlier reason blocks the error, and not at level 1.
    port.rte_prc_l3_ipv6_ck_da_mcast = 1;
    place(plain({.daHi = 0xff02000000000000}));
    stat.l3PrcTrapRsn = 8;
    EXPECT_EQ(parseLines(2),
              kPre + "IPv6 IP mcast DA check ip_da_mcast=1 mac_da_mcast=0 lo_32b=2_1 trap_rsn=8 drop_rsn=0\n");
    expectVerdict(0, 8, 0);
    place(plain({.daHi = 0xff02000000000000}));
    EXPECT_EQ(parseLines(1), "");
}

TEST_F(PrcL3Ipv6Test, TtlAppliesToWhatDoesNotCountAsMulticast) {
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    for (uint32_t hopLimit = 0; hopLimit < 3; hopLimit++) {
        place(plain({.hopLimit = hopLimit}));
        parse();
        expectVerdict(0, 0, hopLimit < 2 ? 14 : 0);
        place(plain({.daHi = 0xff02000000000000, .hopLimit = hopLimit}));
        parse();
        expectVerdict(0, 0, 0);
    }
}

TEST_F(PrcL3Ipv6Test, LengthTest) {
    struct Case {
        uint32_t frmLen, exp, maxLen, ret;
        const char *kind; // null: no line
        uint32_t dropRsn;
    };
    const Case cases[] = {
        // The read must end before the frame's last word begins: (exp + 3) without its low bits below the length.
        {65, 64, 100, 1, nullptr, 0},
        {64, 64, 100, 0, "EOF", 12},
        {64, 60, 100, 1, nullptr, 0},
        {64, 61, 100, 0, "EOF", 12}, // 61 + 3 = 64
        {1, 0, 0, 1, nullptr, 0},
        // The limit counts words: 16 of them are 64 bytes.
        {100, 64, 16, 1, nullptr, 0},
        {100, 65, 16, 0, "MAXLEN", 31},
        // Both: the shorter one stands.
        {100, 200, 25, 0, "EOF", 12},        // 25 words of frame, limit 25
        {100, 200, 24, 0, "EOF/MAXLEN", 12}, // the frame ends one word behind the limit
        {97, 200, 24, 0, "EOF/MAXLEN", 12},  // 25 words, too
        {100, 200, 23, 0, "MAXLEN", 31},
        {96, 200, 24, 0, "EOF", 12},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.frmLen << " " << c.exp << " " << c.maxLen);
        com.rte_l3_ipv6_max_len = c.maxLen;
        place(plain({}));
        uint32_t ret = 9;
        std::ostringstream line;
        if (c.kind)
            line << kPre << "IPv6 " << c.kind << " err detected, expected byte=" << c.exp << " frm len=" << c.frmLen
                 << " ipv6_max_len=" << c.maxLen << "\n";
        EXPECT_EQ(lines([&] { ret = CkIpv6Len(c.frmLen, c.exp, &stat); }, 2), line.str());
        EXPECT_EQ(ret, c.ret);
        EXPECT_EQ(lines([&] { CkIpv6Len(c.frmLen, c.exp, &stat); }, 1), "");
        if (c.kind) {
            PrcL3Ipv6EofErr(&stat);
            expectVerdict(0, 0, c.dropRsn);
        }
    }
}

TEST_F(PrcL3Ipv6Test, EndOfFrameAndLengthLimitVerdicts) {
    struct Case {
        uint32_t frmLen, maxLen;
        PortFld trap;
        uint32_t trapRsn, dropRsn;
    };
    const Case cases[] = {
        {50, 0xfff, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_eof_err, 4, 12},
        {100, 16, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_max_len_err, 23, 31},
    };
    for (const Case &c : cases) {
        com.rte_l3_ipv6_max_len = c.maxLen;
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*c.trap = trap;
            place(plain({}));
            CkIpv6Len(c.frmLen, 65, &stat);
            stat.l3PrcTrapQue = 9;
            stat.l3PrcTrapRsn = trap ? 5 : 6;
            stat.l3PrcDropRsn = 14;
            stat.l3Ipv4Ihl6ErrCanWin = 3;
            std::ostringstream line;
            line << kPre << "IPv6 EOF or MaxLen err detected, trap_rsn=" << (trap ? c.trapRsn : 0)
                 << " drp_rsn=" << (trap ? 0 : c.dropRsn) << "\n";
            EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2), line.str());
            expectVerdict(trap ? kQueHdrVio : 0, trap ? c.trapRsn : 0, trap ? 0 : c.dropRsn);
            EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 3u) << "IPv6 leaves it";
            EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 1), "");
        }
    }
}

TEST_F(PrcL3Ipv6Test, AStandingChecksumVerdictOutlivesTheEndOfTheFrame) {
    place(plain({}));
    CkIpv6Len(50, 65, &stat);
    stat.l3PrcTrapRsn = 10;
    stat.l3PrcTrapQue = 9;
    stat.l3IpUlp = 6;
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2),
              kPre + "IPv6 EOF or MaxLen err ignored due to earlier chksum trap\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=10 drp_rsn=0\n");
    expectVerdict(9, 10, 0);
    EXPECT_EQ(stat.l3IpUlp, 0u);
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 1), "");
    stat.l3PrcTrapRsn = 0;
    stat.l3PrcDropRsn = 18;
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2),
              kPre + "IPv6 EOF or MaxLen err ignored due to earlier chksum drop\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=18\n");
    expectVerdict(9, 0, 18);
}

TEST_F(PrcL3Ipv6Test, HeadersBehindTheLengthLimit) {
    // The limit of 16 words is byte 64. The extension header at 54 has 8 bytes, and the read of the next one at 62
    // wants two bytes: 64 lies on the limit. One more header at 70 lies behind it.
    com.rte_l3_ipv6_max_len = 16;
    auto bytes = ext(kDstOpt, kDstOpt);
    bytes[62] = kNoNext;
    bytes.resize(96);
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 MAXLEN err detected, expected byte=70 frm len=100 ipv6_max_len=16\n" + kPre +
                                 "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=31\n");
    expectVerdict(0, 0, 31);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    port.rte_prc_l3_ipv6_trap_max_len_err = 1;
    place(bytes);
    parse();
    expectVerdict(kQueHdrVio, 23, 0);

    // A frame that ends one word behind the limit, with a read past both, counts as ended.
    place(bytes, 68);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 EOF/MAXLEN err detected, expected byte=70 frm len=68 ipv6_max_len=16\n" +
                                 kPre + "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
}

TEST_F(PrcL3Ipv6Test, EachProtocolOfTheSetEndsTheWalk) {
    EXPECT_EQ(regElem(&com, &CmRteHsiComReg::rte_l3_ipv6_ulp_msk_0, 7), com.rte_l3_ipv6_ulp_msk_7);
    for (uint32_t h = 0; h < 256; h++) {
        SCOPED_TRACE(h);
        for (uint32_t k = 0; k < 8; k++)
            regElem(&com, &CmRteHsiComReg::rte_l3_ipv6_ulp_msk_0, k) = 0;
        // The word of the highest values comes first.
        regElem(&com, &CmRteHsiComReg::rte_l3_ipv6_ulp_msk_0, (255 - h) / 32) = 1u << h % 32;
        if (h == kIcmp || h == kPim || h == kFrag)
            continue;
        place(plain({.nxtHdr = h}));
        parse();
        EXPECT_EQ(stat.l4Offset, 54u);
        EXPECT_EQ(stat.l3IpUlp, h);
        EXPECT_EQ(stat.l3PrcHdrUnk, 0u);

        // Without the bit an unknown protocol is an extension header.
        if (h == kTcp || h == kUdp)
            continue;
        for (uint32_t k = 0; k < 8; k++)
            regElem(&com, &CmRteHsiComReg::rte_l3_ipv6_ulp_msk_0, k) ^= 0xffffffff;
        auto bytes = ext(h, h ^ 1, 1);
        place(bytes);
        parse();
        EXPECT_EQ(stat.l3IpUlp, h ^ 1);
        EXPECT_EQ(stat.l4Offset, 70u);
    }
}

TEST_F(PrcL3Ipv6Test, TheWalkPassesAChainOfHeaders) {
    Frame f = head({.nxtHdr = kHbh});
    f.num(kRouting, 1).num(1, 1).fill(14);                // at 54, 16 bytes
    f.num(kFrag, 1).num(0, 1).fill(6);                    // at 70, 8 bytes
    f.num(kDstOpt, 1).num(0xff, 1).num(1, 2).num(0, 4);   // at 78, 8 bytes: the length byte is reserved
    f.num(kUdp, 1).num(2, 1).fill(22).udp(1, 2).fill(20); // at 86, 24 bytes; UDP at 110
    place(f.bytes);
    EXPECT_EQ(
        parseLines(3),
        kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 0\n" + kPre +
            "IPv6 NextHeader = 0x2b Len = 1 frm offset=54\n" + kPre + "IPv6 NextHeader = 0x2c Len = 0 frm offset=70\n" +
            kPre + "IPv6 Frag Extn Hdr. frag_offset=0x0 Mflag=1\n" + kPre +
            "IPv6 NextHeader = 0x3c Len = 0 frm offset=78\n" + kPre + "IPv6 NextHeader = 0x11 Len = 2 frm offset=86\n" +
            kPre + "IPv6 ULP=11, isUlp=1, l3IpUlpIsPim=0, myRpPim=0\n");
    EXPECT_EQ(stat.l4Offset, 110u);
    EXPECT_EQ(stat.l3IpUlp, kUdp);
    EXPECT_EQ(stat.l3IpHbh, 0u) << "the flag is that of the last header";
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, AHopByHopHeaderCountsWhereverItStands) {
    port.rte_prc_l3_ipv6_ck_hbh = 1;
    place(ext(kDstOpt, kHbh));
    auto *b = frameBuf.data();
    b[62] = kNoNext;
    parse();
    expectVerdict(kQueHbh, 12, 0);
    EXPECT_EQ(stat.l3IpHbh, 0u);

    // Hop-by-hop as the protocol that ends the walk leaves the flag set.
    com.rte_l3_ipv6_ulp_msk_7 = 1;
    place(ext(kDstOpt, kHbh));
    parse();
    EXPECT_EQ(stat.l3IpHbh, 1u);
    EXPECT_EQ(stat.l3IpUlp, kHbh);
    com.rte_l3_ipv6_ulp_msk_7 = 0;
    place(ext(kDstOpt, kNoNext));
    parse();
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, FragmentHeader) {
    place(frag(0x1234, 1, kUdp));
    EXPECT_NE(parseLines(3).find(kPre + "IPv6 Frag Extn Hdr. frag_offset=0x1234 Mflag=1\n"), std::string::npos);
    EXPECT_EQ(stat.l3Ipv6IsFragment, 1u);
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 0u);
    EXPECT_EQ(stat.l3Ipv6FragFlag, 1u);
    EXPECT_EQ(stat.l3Ipv6FragOffset, 0x1234u);
    EXPECT_EQ(stat.l4Offset, 62u);
    EXPECT_EQ(stat.l3IpUlp, kUdp);

    place(frag(0, 1, kUdp));
    parse();
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 1u);
    place(frag(0, 0, kUdp)); // a whole packet with a fragment header is no first fragment
    parse();
    EXPECT_EQ(stat.l3Ipv6IsFragment, 1u);
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 0u);
    EXPECT_EQ(stat.l3Ipv6FragFlag, 0u);
    place(frag(0x1fff, 0, kUdp));
    parse();
    EXPECT_EQ(stat.l3Ipv6FragOffset, 0x1fffu);
    place(frag(0, 1, kUdp));
    EXPECT_EQ(parseLines(2), "");
}

TEST_F(PrcL3Ipv6Test, Icmp) {
    const auto bytes = head({.nxtHdr = kIcmp}).num(0x8702, 2).fill(60).bytes;
    place(bytes);
    EXPECT_EQ(parseLines(3), kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre +
                                 "IPv6 First NextHeader = 3a\n" + kPre + "IPv6 ICMP typ_code = 0x8702 offset=54\n" +
                                 kPre + "IPv6 ULP=3a, isUlp=0, l3IpUlpIsPim=0, myRpPim=0\n");
    EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0x8702u);
    EXPECT_EQ(stat.l4Offset, 54u);
    EXPECT_EQ(stat.l3IpUlp, kIcmp);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_ICMPV6], 54u);
}

TEST_F(PrcL3Ipv6Test, IcmpInFragments) {
    place(frag(0, 1));
    parse();
    EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0x8001u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_ICMPV6], 62u);
    for (uint32_t offset : {0u, 4u}) {
        place(frag(offset, 0));
        stat.l3Ipv6IcmpTyp = 0x1111;
        EXPECT_EQ(parseLines(3).find("ICMP"), std::string::npos);
        EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 0u);
        EXPECT_EQ(stat.l4Offset, 62u);
        EXPECT_EQ(stat.l3IpUlp, kIcmp);
    }
}

TEST_F(PrcL3Ipv6Test, ACutIcmpHeaderIsRecordedAndTheWalkEndsAsIfItWereWhole) {
    // With the IP header at 16 the ICMP header stands at 56, and its two bytes need the word at 60 inside the frame
    // or a length limit of 60 bytes.
    const auto bytes =
        Frame().fill(2).mac(kMacUc, 2).etyp(0x86dd).ipv6({.nxtHdr = kIcmp}).num(0x8702, 2).fill(60).bytes;
    com.rte_l3_ipv6_max_len = 14; // 56 bytes: the fixed header and nothing else
    place(bytes);
    stat.l3Offset = 16;
    EXPECT_EQ(parseLines(3),
              kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 3a\n" +
                  kPre + "IPv6 MAXLEN err detected, expected byte=58 frm len=122 ipv6_max_len=14\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=31\n" + kPre +
                  "IPv6 ICMP typ_code = 0x0 offset=56\n" + kPre + "IPv6 ULP=3a, isUlp=0, l3IpUlpIsPim=0, myRpPim=0\n");
    expectVerdict(0, 0, 31);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    EXPECT_EQ(stat.l4Offset, 56u);
    EXPECT_EQ(stat.l3IpUlp, kIcmp);
    EXPECT_EQ(stat.l3IpDa0, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 1u);

    com.rte_l3_ipv6_max_len = 15;
    for (size_t len : {57u, 60u, 61u}) {
        place(bytes, len);
        stat.l3Offset = 16;
        parse();
        expectVerdict(0, 0, len > 60 ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, len > 60 ? 0 : 1);
        EXPECT_EQ(stat.l3IpUlp, kIcmp);
        EXPECT_EQ(stat.l4Offset, 56u);
    }
}

TEST_F(PrcL3Ipv6Test, PimRegisterToTheRpIsParsedInside) {
    place(pimReg(
        {.hopLimit = 9, .tclass = 0x20},
        {.saHi = 0x20010db800000033, .daHi = 0xff05000000000000, .nxtHdr = kTcp, .hopLimit = 5, .tclass = 0x43}));
    EXPECT_EQ(parseLines(3),
              kPre + "Ipv6 DSCP = 8, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 67\n" +
                  kPre + "IPv6 ULP=67, isUlp=0, l3IpUlpIsPim=1, myRpPim=1\n" + kPre +
                  "Ipv6 DSCP = 10, typ_mode=0, typ_alw_l3_dscp=0 ecn=3\n" + kPre + "IPv6 First NextHeader = 6\n" +
                  kPre + "IPv6 ULP=6, isUlp=1, l3IpUlpIsPim=1, myRpPim=1\n");
    expectVerdict(0, 0, 0);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 21u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpDscpOuter, 8u);
    EXPECT_EQ(stat.l3IpDscp, 0x10u);
    EXPECT_EQ(stat.l3IpTtl, 5u);
    EXPECT_EQ(stat.l3IpUlp, kTcp);
    EXPECT_EQ(stat.l3IpSa0, 0x20010db800000033u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u) << "the inner DA needs no MAC address to agree with";
    EXPECT_EQ(stat.l3Offset, 62u);
    EXPECT_EQ(stat.l4Offset, 102u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV6], 12u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_PIM], 54u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_INNER_IPV6], 62u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV6], 1u);
}

TEST_F(PrcL3Ipv6Test, PimInTheInnerHeaderEndsTheWalkAsAnUpperLayer) {
    place(pimReg({}, {.nxtHdr = kPim}));
    const std::string out = parseLines(3);
    EXPECT_NE(out.find("IPv6 ULP=67, isUlp=1, l3IpUlpIsPim=1, myRpPim=1\n"), std::string::npos) << out;
    EXPECT_EQ(stat.l3Offset, 62u);
    EXPECT_EQ(stat.l4Offset, 102u);
    EXPECT_EQ(stat.l3IpUlp, kPim);
}

TEST_F(PrcL3Ipv6Test, AMulticastRpAddressKeepsItsMulticastFlag) {
    // Unlike in IPv4.
    com.rte_ipv6_pim_rp_addr_5_w0 = 0xff020000;
    auto bytes = plain({.daHi = 0xff02000000000000, .nxtHdr = kPim});
    bytes[54] = 0x20; // no register
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3Offset, kL3);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 1u);
}

TEST_F(PrcL3Ipv6Test, PimBehindAnExtensionHeaderIsNotDecapsulated) {
    auto bytes = ext(kHbh, kPim);
    bytes[62] = 0x21;
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpUlpIsPim, 0u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 0u);
    EXPECT_EQ(stat.l3IpUlp, kPim);
    EXPECT_EQ(stat.l4Offset, 62u);
    EXPECT_EQ(stat.l3Offset, kL3);
    expectVerdict(0, 0, 0);
}

using PrcL3Ipv6DeathTest = PrcL3Ipv6Test;

TEST_F(PrcL3Ipv6DeathTest, PimBehindACutExtensionHeaderEndsTheRun) {
    // The extension header stands at 54. Its first two bytes need 57 bytes of frame, the read up to 57 needs 61. In
    // the last four bytes, the place of the FCS, there is no next header any more.
    const auto bytes = ext(kDstOpt, kPim);
    for (size_t len : {59u, 60u}) {
        place(bytes, len);
        EXPECT_EXIT(
            {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                parse();
            },
            testing::ExitedWithCode(1),
            "cmRtePrcIpv6.cpp:[0-9]+, portIdx = 3, frmIdx = 7\n"
            "PIM nxt_hdr detected in IPv6 extension header \n"
            "and at the cycle may or may not coincide with \n"
            "EOF or max_len\n");
    }
    // A byte more: the error, then the end of the frame.
    place(bytes, 61);
    parse();
    expectVerdict(0, 0, 12);
    place(bytes, 58);
    parse();
    expectVerdict(0, 0, 12);

    // With the header at 17 the read goes up to 60, and that is in the word at 60.
    auto moved = bytes;
    moved.insert(moved.begin(), 3, 0);
    place(moved);
    setFrameLen(61);
    stat.l3Offset = 17;
    parse();
    expectVerdict(0, 0, 12);

    // The length limit does it too; 14 words are 56 bytes.
    com.rte_l3_ipv6_max_len = 14;
    place(bytes);
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            parse();
        },
        testing::ExitedWithCode(1), "EOF or max_len\n");
}

TEST_F(PrcL3Ipv6Test, RpAddressTable) {
    for (uint32_t k = 0; k < 32; k++) {
        regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w0, k, 4) = 0x10 + k / 2;
        regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w1, k, 4) = 0x20;
        regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w2, k, 4) = 0x30;
        regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w3, k, 4) = 0x40;
        regElem(&com, &CmRteHsiComReg::rte_l3_ipv6_idx_0, k) = 31 - k;
    }
    EXPECT_EQ(com.rte_ipv6_pim_rp_addr_31_w0, 0x1fu);
    EXPECT_EQ(com.rte_ipv6_pim_rp_addr_31_w3, 0x40u);
    EXPECT_EQ(com.rte_l3_ipv6_idx_31, 0u);
    place(plain({}));
    auto find = [&](uint64_t hi, uint64_t lo) {
        stat.l3IpDa0 = hi;
        stat.l3IpDa1 = lo;
        stat.l3IpDaRpIdx = 99;
        return CkIpv6RpAddr(&stat);
    };
    EXPECT_EQ(find(0x0000001f00000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 1u) << "the first of the two equal entries";
    com.rte_ipv6_pim_rp_addr_31_w0 = 0x50;
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 0u);
    EXPECT_EQ(find(0x0000001000000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 31u);
    EXPECT_EQ(find(0x0000005100000020, 0x0000003000000040), 0u);
    EXPECT_EQ(find(0x0000005000000021, 0x0000003000000040), 0u);
    EXPECT_EQ(find(0x0000005000000020, 0x0000003100000040), 0u);
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000041), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
    // The four registers behind the table.
    regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w0, 32, 4) = 0x77;
    regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w1, 32, 4) = 0;
    regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w2, 32, 4) = 0;
    regElem(&com, &CmRteHsiComReg::rte_ipv6_pim_rp_addr_0_w3, 32, 4) = 0;
    EXPECT_EQ(find(0x0000007700000000, 0), 0u);
    port.rte_prc_l3_ipv6_rp_ck_off = 1;
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000040), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
}

TEST_F(PrcL3Ipv6Test, NullRegister) {
    const auto bytes = pimReg({}, {}, true);
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 0);
    port.rte_prc_l3_ck_pim_null = 1;
    place(bytes);
    stat.l3PrcTrapQue = 9; // a drop clears it
    EXPECT_EQ(parseLines(2), kPre + "Ipv6 PIM NULL DROP\n");
    expectVerdict(0, 0, 35);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    port.rte_prc_l3_trap_pim_null = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "Ipv6 PIM NULL TRAP\n");
    expectVerdict(kQuePimNull, 19, 0);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    place(bytes);
    stat.l3PrcTrapRsn = 5;
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 5, 0);
    place(bytes);
    stat.l3PrcDropRsn = 14;
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 14);
    place(pimReg({}, {}));
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumCoversThePseudoHeaderAndTheRegisterHeader) {
    const auto bytes = pimReg({}, {});
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    parse();
    expectVerdict(0, 0, 0);
    // SA at 22 to 37, register header at 55 to 61. Its type byte and the DA decide whether it is a register to the RP.
    for (size_t i = 22; i < 62; i++) {
        if (i >= 38 && i < 55)
            continue;
        auto bad = bytes;
        bad[i] ^= 1;
        place(bad);
        parse();
        expectVerdict(0, 0, 18);
    }
    // The DA counts: ::4 in place of ::2 wants a checksum that is less by 2.
    com.rte_ipv6_pim_rp_addr_5_w3 = 4;
    auto moved = bytes;
    moved[53] = 4;
    place(moved);
    parse();
    expectVerdict(0, 0, 18);
    moved[57] = 0x19;
    place(moved);
    parse();
    expectVerdict(0, 0, 0);
    com.rte_ipv6_pim_rp_addr_5_w2 = 0x00020000; // ::2:0:4 wants 2 less again
    moved[47] = 2;
    place(moved);
    parse();
    expectVerdict(0, 0, 18);
    moved[57] = 0x17;
    place(moved);
    parse();
    expectVerdict(0, 0, 0);
    // The protocol in the pseudo-header is 103, whatever the register says.
    com.rte_l3_ulp_pim = 104;
    moved[20] = 104;
    place(moved);
    parse();
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u);
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumReplacesAnyOtherVerdictButAChecksum) {
    auto bytes = pimReg({.hopLimit = 1}, {});
    bytes[57] ^= 1;
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    port.rte_prc_l3_ipv6_trap_ttl_err = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(kQueTtl, 5, 0);
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n");
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv6_trap_pim_cksum_err = 1;
    port.rte_prc_l3_ipv6_trap_ttl_err = 0;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and trapped\n");
    expectVerdict(kQueCksum, 10, 0);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    // A standing checksum verdict stays, and the line tells of the error by the verdict that stands.
    place(bytes);
    stat.l3PrcDropRsn = 18;
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n");
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv6_trap_pim_cksum_err = 0;
    place(bytes);
    stat.l3PrcTrapRsn = 10;
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and trapped\n");
    expectVerdict(0, 10, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumErrorIsLostWhenTheFrameEndsWithinTwelveBytesBehindIt) {
    auto bytes = pimReg({}, {});
    bytes[57] ^= 1;
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    // The register header lies at 54, so the checksum would be there at 74. 72 bytes of frame end before, 73 count as
    // 76. Both end inside the inner header, behind the word of its next header.
    place(bytes, 72);
    EXPECT_EQ(parseLines(2),
              kPre +
                  "C-model guessed EOF will be detected before PIM cksum err, estimated cksum available offset=74 frm "
                  "len (wrapped)=72\n" +
                  kPre + "IPv6 EOF err detected, expected byte=86 frm len=72 ipv6_max_len=4095\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
    place(bytes, 73);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n" + kPre +
                                 "IPv6 EOF err detected, expected byte=86 frm len=73 ipv6_max_len=4095\n" + kPre +
                                 "IPv6 EOF or MaxLen err ignored due to earlier chksum drop\n" + kPre +
                                 "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=18\n");
    expectVerdict(0, 0, 18);
}

// The length tests round the wanted end up to a word that must lie inside the frame. The fixed header stands at 14:
// 16 for the first byte, 20 for the first eight, 40 for the SA, 56 for the DA and the start of the next header.
TEST_F(PrcL3Ipv6Test, FixedHeaderCutAtEveryLength) {
    const auto bytes = plain({.nxtHdr = kUdp, .tclass = 4, .plen = 24});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        const bool whole = len > 56;
        expectVerdict(0, 0, whole ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, whole ? 0 : 1);
        // What lies in the last four bytes, the place of the FCS, is read as 0: the TTL stands at 21.
        EXPECT_EQ(stat.l3IpTtl, len > 25 ? 64 : 0);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], len > 40 ? 1 : 0);
        EXPECT_EQ(stat.l4Offset, whole ? 54 : 0);
        EXPECT_EQ(stat.l3IpUlp, whole ? kUdp : 0);
        EXPECT_EQ(stat.l3IpSa1, whole ? 1 : 0);
        EXPECT_EQ(stat.l3IpTlen, whole ? 64 : 0);
    }
}

// An extension header at 54 with 8 bytes: the word at 64 must lie inside for what follows at 62.
TEST_F(PrcL3Ipv6Test, EachExtensionHeaderCutAtEveryLength) {
    for (uint32_t kind : {kHbh, kRouting, kFrag, kDstOpt}) {
        const auto bytes = ext(kind, kUdp);
        for (size_t len = 1; len <= bytes.size() + 4; len++) {
            SCOPED_TRACE(testing::Message() << kind << " " << len);
            place(bytes, len);
            parse();
            expectVerdict(0, 0, len > 64 ? 0 : 12);
            EXPECT_EQ(stat.l4Offset, len > 64 ? 62 : 0);
            EXPECT_EQ(stat.l3Ipv6IsFragment, kind == kFrag && len > 56 ? 1 : 0);
        }
    }
}

TEST_F(PrcL3Ipv6Test, IcmpCutAtEveryLength) {
    const auto bytes = head({.nxtHdr = kIcmp}).num(0x8702, 2).fill(40).bytes;
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        expectVerdict(0, 0, len > 56 ? 0 : 12);
        // The type at 54 and the code at 55 come out of the FCS's place one after the other.
        EXPECT_EQ(stat.l3Ipv6IcmpTyp, len > 59 ? 0x8702 : len > 58 ? 0x8700 : 0);
    }
}

TEST_F(PrcL3Ipv6Test, PimRegisterCutAtEveryLength) {
    const auto bytes = pimReg({}, {});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        // The register header at 54 needs the word at 64, the inner header at 62 that at 104 (62 + 40 = 102).
        expectVerdict(0, 0, len > 104 ? 0 : 12);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], len > 64 ? 1 : 0);
        EXPECT_EQ(stat.l3Offset, len > 64 ? 62 : 14);
        EXPECT_EQ(stat.l3IpMcastRegEncap, len > 104 ? 1 : 0);
        EXPECT_EQ(stat.l3IpUlpIsPim, len > 56 ? 1 : 0);
    }
}

// Wherever the header stands, each field has its own length test, rounded up to a word.
TEST_F(PrcL3Ipv6Test, LengthTestsFollowTheHeaderToAnyOffset) {
    port.rte_prc_typ_mode = 2;
    for (uint32_t start = 14; start < 18; start++) {
        const auto bytes = Frame().fill(start).ipv6({.nxtHdr = kUdp}).fill(40).bytes;
        for (uint32_t len = 1; len <= bytes.size(); len++) {
            SCOPED_TRACE(testing::Message() << start << " " << len);
            place(bytes);
            setFrameLen(len);
            stat.l3Offset = start;
            auto reached = [&](uint32_t n) { return (start + n + 3) / 4 * 4 < len; };
            const std::string out = parseLines(3);
            EXPECT_EQ(out.find("Ipv6 DSCP") != std::string::npos, reached(1));
            EXPECT_EQ(stat.l3IpTtl, reached(6) ? 64 : 0);
            EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], reached(24) ? 1 : 0);
            EXPECT_EQ(out.find("First NextHeader") != std::string::npos, reached(40));
            expectVerdict(0, 0, reached(40) ? 0 : 12);
        }
    }
}

TEST_F(PrcL3Ipv6Test, PimToSomeoneElseMustHoldItsFirstEightBytes) {
    const auto bytes = plain({.daLo = 3, .nxtHdr = kPim});
    for (size_t len = 57; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        expectVerdict(0, 0, len > 64 ? 0 : 12);
        EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
        EXPECT_EQ(stat.l3IpDaIsRpAddr, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 0u);
    }
}

} // namespace
