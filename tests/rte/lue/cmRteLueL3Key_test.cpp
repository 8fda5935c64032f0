// The keys of the layer-3 ACL: each field one bit at a time, through to its place in the TCAM.

#include "lue/cmRteLueL3.h"

#include "model_fixture.h"
#include "random_words.h"

#include <array>

namespace {

/// What a field is set in.
struct Env {
    CmRteStat &stat;
    CmRteHsiPortReg &port;
    CmRteHsiComReg &com;
};

/// Bits `lo` and up of word `word` of a key hold `width` bits of a field from its bit `srcLo` up.
struct Piece {
    uint32_t word, lo, srcLo, width;
};

/// A field of a key: how to set it, its places, and a bit that is set with it whatever its value.
struct KeyFld {
    const char *name;
    void (*set)(Env &, uint32_t value);
    std::vector<Piece> places;
    std::vector<Piece> also = {};
    bool cut = true; // wider values are cut without a trace
};

#define SET(stmt) [](Env &e, [[maybe_unused]] uint32_t v) { stmt; }

class L3Key : public ModelTest {
protected:
    static constexpr uint32_t kGuard = 0xdeadbeef;
    using Key = std::array<uint32_t, 18>;

    void frame(uint32_t ver, uint32_t fcoe = 0) {
        resetStat(2);
        std::memset(&port2, 0, sizeof port2);
        stat.l3IpVer = ver;
        stat.l2FcoeFound = fcoe;
    }

    /// Builds a key over guard words.
    Key build(const std::function<void(uint32_t *)> &fn) {
        Key key;
        key.fill(kGuard);
        fn(key.data());
        return key;
    }
    Key tcamKey() {
        return build([&](uint32_t *key) { buildL3AclTcamKey(&stat, key); });
    }
    Key flexKey(uint32_t profile = 0) {
        return build([&](uint32_t *key) { buildL3AclTcamFlexKey(&stat, key, profile); });
    }
    Key exmKey() {
        return build([&](uint32_t *key) { buildL3PSelExmKey(&stat, key); });
    }

    static Key zeroKey(uint32_t words) {
        Key key;
        key.fill(kGuard);
        std::fill_n(key.begin(), words, 0u);
        return key;
    }

    /// Walks every bit of every field through the key of `words` words that `fn` builds.
    void walk(const std::vector<KeyFld> &flds, uint32_t words, uint32_t ver, uint32_t fcoe,
              const std::function<Key()> &fn) {
        Env env{stat, port2, com};
        frame(ver, fcoe);
        EXPECT_EQ(fn(), zeroKey(words)) << "an empty frame";
        std::array<uint32_t, 18> seen{};
        for (const KeyFld &fld : flds) {
            uint32_t mask = 0;
            for (const Piece &p : fld.places) {
                for (uint32_t i = 0; i < p.width; i++) {
                    frame(ver, fcoe);
                    fld.set(env, 1u << (p.srcLo + i));
                    Key want = zeroKey(words);
                    want[p.word] |= 1u << (p.lo + i);
                    for (const Piece &a : fld.also)
                        want[a.word] |= 1u << a.lo;
                    EXPECT_EQ(fn(), want) << fld.name << " bit " << p.srcLo + i;
                    EXPECT_EQ(seen[p.word] & 1u << (p.lo + i), 0u) << fld.name << " bit " << p.srcLo + i;
                    seen[p.word] |= 1u << (p.lo + i);
                    mask |= 1u << (p.srcLo + i);
                }
            }
            if (fld.cut) {
                frame(ver, fcoe);
                fld.set(env, ~mask);
                EXPECT_EQ(fn(), zeroKey(words)) << fld.name << " beyond its width";
            }
        }
    }

    CmRteHsiPortReg &port2 = rte->portRegLst[2];
};

} // namespace

TEST_F(L3Key, Comb2DwPutsTheFirstWordHigh) {
    const uint32_t words[2] = {0x01234567, 0x89abcdef};
    EXPECT_EQ(Comb2Dw(words), 0x0123456789abcdefu);
}

TEST_F(L3Key, EachIpv4BitReachesItsCell) {
    walk(
        {
            {"l3_ip_tos", SET(e.stat.IpDscpForPsel = v), {{0, 26, 0, 6}}},
            {"l4_src_port_rng_idx", SET(e.stat.l4SrcPortRngIdx = v), {{0, 21, 0, 5}}},
            {"l4_src_port_rng_hit", SET(e.stat.l4SrcPortRngHit = v), {{0, 20, 0, 1}}},
            {"frag_flags", SET(e.stat.l3Ipv4Flag = v), {{0, 17, 0, 3}}},
            // An offset makes a fragment, one that is not the first.
            {"frag_offset", SET(e.stat.l3Ipv4FrgOffset = v), {{0, 4, 0, 13}}, {{0, 2, 0, 1}}, false},
            {"first_fragment", SET(e.stat.l3Ipv4MorFrg = v), {{0, 3, 0, 1}}, {{0, 2, 0, 1}}},
            {"l3_mcast_reg_encap", SET(e.stat.l3IpMcastRegEncap = v), {{0, 1, 0, 1}}},
            {"l3_ipv4_sa", SET(e.stat.l3IpSa0 = v), {{7, 29, 0, 1}, {1, 0, 1, 31}}},
            {"tcp_fin",
             SET(e.stat.l4TcpFlags = v),
             {{7, 1, 0, 1}, {7, 0, 1, 1}, {6, 31, 2, 1}, {2, 31, 3, 1}, {4, 12, 4, 1}, {4, 11, 5, 1}}},
            {"l3_ipv4_da", SET(e.stat.l3IpDa0 = v), {{7, 30, 0, 1}, {2, 0, 1, 31}}},
            {"vrf_id", SET(e.stat.vrfId = v), {{4, 0, 0, 11}, {3, 31, 11, 1}}},
            {"l3_acl_lgc_port", SET(e.port.rte_prc_l3_psel_port = v), {{3, 26, 0, 5}}},
            {"l4_dst_port", SET(e.stat.typL4Dst = v), {{3, 25, 0, 1}, {6, 16, 1, 15}}},
            {"iivid_cugid_mcuid", SET(e.stat.iivid = v), {{3, 12, 0, 13}}},
            {"policy_id", SET(e.stat.policyId = v), {{3, 0, 0, 12}}},
            {"ipv4_tlen", SET(e.stat.l3IpTlen = v), {{4, 16, 0, 16}}},
            {"iwprio", SET(e.stat.igPriMapIwpri = v), {{4, 13, 0, 3}}},
            {"vpn_id", SET(e.stat.vpn_id = v), {{7, 31, 0, 1}, {5, 13, 1, 19}}},
            {"mda_id", SET(e.stat.myDaId = v), {{7, 28, 0, 1}, {5, 7, 1, 6}}},
            {"my_rp_idx", SET(e.stat.l3IpDaRpIdx = v), {{5, 0, 0, 7}}},
            {"ip_protocol", SET(e.stat.l3IpUlp = v), {{6, 8, 0, 8}}},
            {"ipv4_ttl", SET(e.stat.l3IpTtl = v), {{6, 0, 0, 8}}},
            {"my_ip_addr", SET(e.stat.l3FwdIsMyIpDa = v), {{7, 27, 0, 1}}},
            {"l3_sa_gid", SET(e.stat.l3FwdIsSaGrp = v), {{7, 26, 0, 1}}},
            {"l3_da_gid", SET(e.stat.l3FwdIsDaGrp = v), {{7, 25, 0, 1}}},
            {"l4_src_port_o_icmpv4_type", SET(e.stat.typL4Src = v), {{7, 9, 0, 16}}},
            {"l4_dst_port_rng_idx", SET(e.stat.l4DstPortRngIdx = v), {{7, 4, 0, 5}}},
            {"l4_dst_port_rng_hit", SET(e.stat.l4DstPortRngHit = v), {{7, 3, 0, 1}}},
        },
        8, 4, 0, [&] { return tcamKey(); });
}

TEST_F(L3Key, Ipv4FragmentBitsTellTheFirstFromTheOthers) {
    struct Row {
        uint32_t offset, more, first, isFrag;
    };
    for (const Row &row : {Row{0, 0, 0, 0}, Row{0, 1, 1, 1}, Row{1, 0, 0, 1}, Row{1, 1, 0, 1}}) {
        frame(4);
        stat.l3Ipv4FrgOffset = row.offset;
        stat.l3Ipv4MorFrg = row.more;
        EXPECT_EQ(bits(tcamKey()[0], 3, 2), row.first << 1 | row.isFrag);
        EXPECT_EQ(bits(flexKey()[0], 4, 4), row.isFrag);
    }
    // The fragment flags of the other version do not count.
    frame(4);
    stat.l3Ipv6IsFragment = stat.l3Ipv6FirstFragment = stat.l3Ipv6FragFlag = 1;
    EXPECT_EQ(tcamKey(), zeroKey(8));
    EXPECT_EQ(flexKey(), zeroKey(8));
}

TEST_F(L3Key, HeaderOf6WordsAndMoreIsLong) {
    for (uint32_t ihl : {0u, 5u, 6u, 15u}) {
        frame(4);
        stat.l3IpIhl = ihl;
        EXPECT_EQ(bit(tcamKey()[7], 2), ihl >= 6 ? 1u : 0u) << ihl;
        EXPECT_EQ(bit(flexKey()[0], 5), ihl >= 6 ? 1u : 0u) << ihl;
        stat.l3IpVer = 6;
        EXPECT_EQ(bit(flexKey()[0], 5), 0u) << ihl;
    }
}

TEST_F(L3Key, EachIpv6BitReachesItsCell) {
    walk(
        {
            {"l4_src_port_rng_idx", SET(e.stat.l4SrcPortRngIdx = v), {{0, 27, 0, 5}}},
            {"l4_src_port_rng_hit", SET(e.stat.l4SrcPortRngHit = v), {{0, 26, 0, 1}}},
            {"sa_0", SET(e.stat.l3IpSa0 = static_cast<uint64_t>(v) << 32), {{1, 0, 0, 32}}},
            {"sa_1", SET(e.stat.l3IpSa0 = v), {{2, 0, 0, 32}}},
            {"sa_2", SET(e.stat.l3IpSa1 = static_cast<uint64_t>(v) << 32), {{5, 0, 0, 32}}},
            {"sa_3", SET(e.stat.l3IpSa1 = v), {{6, 0, 0, 32}}},
            {"da_0", SET(e.stat.l3IpDa0 = static_cast<uint64_t>(v) << 32), {{8, 0, 0, 32}}},
            {"da_1", SET(e.stat.l3IpDa0 = v), {{9, 0, 0, 32}}},
            {"da_2", SET(e.stat.l3IpDa1 = static_cast<uint64_t>(v) << 32), {{12, 0, 0, 32}}},
            {"da_3", SET(e.stat.l3IpDa1 = v), {{13, 0, 0, 32}}},
            {"iivid_cugid_mcuid",
             SET(e.stat.iivid = v),
             {{15, 30, 0, 2}, {11, 30, 2, 2}, {7, 30, 4, 2}, {3, 30, 6, 2}, {3, 13, 8, 5}}},
            {"policy_id", SET(e.stat.policyId = v), {{3, 18, 0, 12}}},
            {"my_rp_idx", SET(e.stat.l3IpDaRpIdx = v), {{4, 27, 0, 5}}},
            {"l3_mcast_reg_encap", SET(e.stat.l3IpMcastRegEncap = v), {{4, 7, 0, 1}}},
            {"mda_id", SET(e.stat.myDaId = v), {{4, 0, 0, 7}}},
            {"iwprio", SET(e.stat.igPriMapIwpri = v), {{7, 27, 0, 3}}},
            {"l3_sa_gid", SET(e.stat.l3FwdIsSaGrp = v), {{7, 26, 0, 1}}},
            {"vrf_id", SET(e.stat.vrfId = v), {{7, 14, 0, 12}}},
            {"tcp",
             SET(e.stat.l4TcpFlags = v),
             {{7, 13, 0, 1}, {7, 12, 1, 1}, {7, 11, 2, 1}, {7, 8, 3, 1}, {7, 10, 4, 1}, {7, 9, 5, 1}}},
            {"first_fragment", SET(e.stat.l3Ipv6FirstFragment = v), {{7, 7, 0, 1}}},
            {"is_fragment", SET(e.stat.l3Ipv6IsFragment = v), {{7, 6, 0, 1}}},
            {"l3_ip_tos", SET(e.stat.IpDscpForPsel = v), {{7, 0, 0, 6}}},
            {"frag_offset", SET(e.stat.l3Ipv6FragOffset = v), {{11, 0, 0, 8}, {10, 27, 8, 5}}},
            {"ip_protocol", SET(e.stat.l3IpUlp = v), {{10, 19, 0, 8}}},
            {"ip_tlen", SET(e.stat.l3IpTlen = v), {{10, 3, 0, 16}}},
            {"l3_acl_lgc_port", SET(e.port.rte_prc_l3_psel_port = v), {{11, 25, 0, 5}}},
            {"l4_src_port_o_icmpv6_type", SET(e.stat.typL4Src = v), {{11, 9, 0, 16}}},
            {"frag_flag", SET(e.stat.l3Ipv6FragFlag = v), {{11, 8, 0, 1}}},
            {"vpn_id", SET(e.stat.vpn_id = v), {{14, 12, 0, 20}}},
            {"l3_da_gid", SET(e.stat.l3FwdIsDaGrp = v), {{14, 11, 0, 1}}},
            {"ipv6_ttl", SET(e.stat.l3IpTtl = v), {{14, 0, 0, 8}}},
            {"my_ip_addr", SET(e.stat.l3FwdIsMyIpDa = v), {{15, 29, 0, 1}}},
            {"l4_dst_port", SET(e.stat.typL4Dst = v), {{15, 13, 0, 16}}},
            {"l4_dst_port_rng_idx", SET(e.stat.l4DstPortRngIdx = v), {{15, 3, 0, 5}}},
            {"l4_dst_port_rng_hit", SET(e.stat.l4DstPortRngHit = v), {{15, 2, 0, 1}}},
        },
        16, 6, 0, [&] { return tcamKey(); });
}

TEST_F(L3Key, EachFcoeBitReachesItsCell) {
    walk(
        {
            // Only two bits of F_CTL are in the key.
            {"fc_f_ctl_bits", SET(e.stat.l2FcoeFcFctl = v), {{0, 31, 21, 1}, {0, 30, 19, 1}}},
            {"fcoe_ve_routed", SET(e.stat.l2FcoeVeRouted = v), {{0, 29, 0, 1}}},
            {"fcoe_vf_routed", SET(e.stat.l2FcoeVfRouted = v), {{0, 28, 0, 1}}},
            {"fc_payload_0", SET(e.stat.l2FcoeFcPld0 = v), {{1, 24, 0, 8}}},
            {"fc_payload_35", SET(e.stat.l2FcoeFcPld35 = v), {{1, 16, 0, 8}}},
            {"fc_payload_36", SET(e.stat.l2FcoeFcPld36 = v), {{1, 8, 0, 8}}},
            {"fc_payload_41", SET(e.stat.l2FcoeFcPld41 = v), {{1, 0, 0, 8}}},
            {"vpn_id", SET(e.stat.vpn_id = v), {{2, 12, 0, 20}}},
            {"fcoe_vfid", SET(e.stat.l2FcoeClsVfid = v), {{7, 27, 0, 1}, {2, 0, 1, 11}}},
            {"l3_acl_lgc_port", SET(e.port.rte_prc_l3_psel_port = v), {{7, 26, 0, 1}, {4, 0, 1, 3}, {3, 31, 4, 1}}},
            {"fc_sid_gid", SET(e.stat.l2FcoeLuSaGrpId = v), {{3, 27, 0, 4}}},
            {"l2_rcv_prio", SET(e.stat.igPriMapIwpri = v), {{3, 24, 0, 3}}},
            {"mda_id", SET(e.stat.myDaId = v), {{3, 17, 0, 7}}},
            {"vfid_typ", SET(e.stat.l2FcoeClsVfidTyp = v), {{3, 16, 0, 1}}},
            {"fcoe_ver", SET(e.stat.l2FcoeVersion = v), {{3, 12, 0, 4}}},
            {"policy_id", SET(e.stat.policyId = v), {{3, 0, 0, 12}}},
            {"fc_oxid", SET(e.stat.l2FcoeFcOxid = v), {{4, 16, 0, 16}}},
            {"fc_cs_ctl", SET(e.stat.l2FcoeFcCsctl = v), {{4, 8, 0, 8}}},
            {"fc_sid", SET(e.stat.l2FcoeFcSid = v), {{5, 8, 0, 24}}},
            {"fc_r_ctl", SET(e.stat.l2FcoeFcRctl = v), {{5, 0, 0, 8}}},
            {"fc_did", SET(e.stat.l2FcoeFcDid = v), {{6, 8, 0, 24}}},
            {"fc_did_gid", SET(e.stat.l2FcoeLuDaGrpId = v), {{7, 28, 0, 4}}},
            {"iivid", SET(e.stat.iivid = v), {{7, 13, 0, 13}}},
            {"fc_sof", SET(e.stat.l2FcoeFcSof = v), {{7, 0, 0, 8}}},
        },
        8, 0, 1, [&] { return tcamKey(); });
}

TEST_F(L3Key, EachIpFlexBitHasItsPlace) {
    for (uint32_t ver : {4u, 6u}) {
        std::vector<KeyFld> flds = {
            {"policyId", SET(e.stat.policyId = v), {{7, 29, 0, 1}, {0, 21, 1, 11}}},
            {"port", SET(e.port.rte_prc_l3_psel_port = v), {{7, 26, 0, 2}, {0, 18, 2, 3}}},
            {"vrfId", SET(e.stat.vrfId = v), {{0, 6, 0, 12}}},
            {"l3IpMcastRegEncap", SET(e.stat.l3IpMcastRegEncap = v), {{0, 3, 0, 1}}},
            {"l2TrillMc", SET(e.stat.l2TrillMc = v), {{0, 0, 0, 1}}},
            {"l3FwdIsMyIpDa", SET(e.stat.l3FwdIsMyIpDa = v), {{7, 31, 0, 1}}},
            {"myDaId", SET(e.stat.myDaId = v), {{7, 30, 0, 1}, {7, 7, 1, 6}}},
            {"typ", SET(e.stat.typ = v), {{7, 28, 0, 1}, {7, 0, 1, 7}}},
            {"iivid", SET(e.stat.iivid = v), {{7, 13, 0, 13}}},
            {"flexKey0[0]", SET(e.stat.flexKey0[0] = v), {{1, 0, 0, 32}}},
            {"flexKey0[1]", SET(e.stat.flexKey0[1] = v), {{2, 0, 0, 32}}},
            {"flexKey0[2]", SET(e.stat.flexKey0[2] = v), {{3, 0, 0, 32}}},
            {"flexKey0[3]", SET(e.stat.flexKey0[3] = v), {{4, 0, 0, 32}}},
            {"flexKey0[4]", SET(e.stat.flexKey0[4] = v), {{5, 0, 0, 32}}},
            {"flexKey0[5]", SET(e.stat.flexKey0[5] = v), {{6, 0, 0, 32}}},
        };
        if (ver == 6)
            flds.push_back({"isFragment", SET(e.stat.l3Ipv6IsFragment = v), {{0, 4, 0, 1}}});
        // Bit 2 tells the version; the walk compares without it.
        walk(flds, 8, ver, 0, [&] {
            Key key = flexKey();
            EXPECT_EQ(bit(key[0], 2), ver == 6 ? 1u : 0u);
            key[0] &= ~4u;
            return key;
        });
    }
}

TEST_F(L3Key, EachFcoeFlexBitHasItsPlace) {
    walk(
        {
            {"myDaId", SET(e.stat.myDaId = v), {{7, 30, 0, 1}, {0, 26, 1, 6}}},
            {"policyId", SET(e.stat.policyId = v), {{7, 31, 0, 1}, {0, 12, 1, 11}}},
            {"vfid", SET(e.stat.l2FcoeClsVfid = v), {{7, 29, 0, 1}, {0, 0, 1, 11}}},
            {"port", SET(e.port.rte_prc_l3_psel_port = v), {{7, 27, 0, 2}, {7, 11, 2, 3}}},
            {"iivid", SET(e.stat.iivid = v), {{7, 14, 0, 13}}},
            {"l2FcoeVfRouted", SET(e.stat.l2FcoeVfRouted = v), {{7, 10, 0, 1}}},
            {"l2TrillFound", SET(e.stat.l2TrillFound = v), {{7, 9, 0, 1}}},
            {"l2FcoeVeRouted", SET(e.stat.l2FcoeVeRouted = v), {{7, 8, 0, 1}}},
            {"l2FcoeLuSaGrpId", SET(e.stat.l2FcoeLuSaGrpId = v), {{7, 4, 0, 4}}},
            {"l2FcoeLuDaGrpId", SET(e.stat.l2FcoeLuDaGrpId = v), {{7, 0, 0, 4}}},
            {"flexKey0[0]", SET(e.stat.flexKey0[0] = v), {{1, 0, 0, 32}}},
            {"flexKey0[5]", SET(e.stat.flexKey0[5] = v), {{6, 0, 0, 32}}},
        },
        8, 0, 1, [&] {
            // An id of zero equals a MAC of zero; the walk compares without that bit.
            Key key = flexKey();
            EXPECT_EQ(bit(key[0], 11), 1u);
            key[0] &= ~(1u << 11);
            return key;
        });
}

TEST_F(L3Key, FcoeFlexKeyTellsWhetherTheMacIsThatOfTheSourceId) {
    frame(0, 1);
    stat.l2FcoeFcSid = 0x123456;
    stat.l2Sa = 0x0efc00123456;
    EXPECT_EQ(flexKey()[0], 1u << 11);
    stat.l2Sa = 0x0efc00123457;
    EXPECT_EQ(flexKey()[0], 0u);
    stat.l2Sa = 0x0efc00923456;
    EXPECT_EQ(flexKey()[0], 0u);
}

TEST_F(L3Key, FlexProfileChoosesAmongFourKeys) {
    for (uint32_t fcoe = 0; fcoe < 2; fcoe++) {
        frame(fcoe ? 0 : 4, fcoe);
        for (uint32_t i = 0; i < 6; i++) {
            stat.flexKey0[i] = 0x100 + i;
            stat.flexKey1[i] = 0x200 + i;
            stat.flexKey2[i] = 0x300 + i;
            stat.flexKey3[i] = 0x400 + i;
        }
        for (uint32_t p = 0; p < 4; p++) {
            const Key key = flexKey(p);
            for (uint32_t i = 0; i < 6; i++)
                EXPECT_EQ(key[1 + i], 0x100 * (p + 1) + i);
            EXPECT_EQ(key[8], kGuard);
        }
    }
}

TEST_F(L3Key, OtherFramesLeaveEveryKeyAsItWas) {
    for (uint32_t ver : {0u, 5u}) {
        frame(ver);
        stat.iivid = 0x1fff;
        Key guard;
        guard.fill(kGuard);
        EXPECT_EQ(tcamKey(), guard);
        EXPECT_EQ(flexKey(), guard);
        EXPECT_EQ(exmKey(), guard);
    }
    // FCoE has no exact match.
    frame(0, 1);
    EXPECT_EQ(exmKey()[0], kGuard);
}

TEST_F(L3Key, IpComesBeforeFcoe) {
    frame(4, 1);
    stat.l3IpSa0 = 2;
    EXPECT_EQ(tcamKey()[1], 1u);
    frame(6, 1);
    stat.l3IpSa0 = 2;
    EXPECT_EQ(tcamKey()[2], 2u);
    EXPECT_EQ(bit(flexKey()[0], 2), 1u);
}

TEST_F(L3Key, TreeOfATrillFrameIsTheFirstRootOrTheOther) {
    com.trill_mcast_rb[0] = 0x1234;
    for (uint32_t da : {0x1234u, 0x1235u}) {
        const uint32_t want = da == 0x1234 ? 1 : 0;
        for (uint32_t ver : {4u, 6u}) {
            frame(ver);
            stat.l2TrillFound = 1;
            stat.l2TrillDa = da;
            std::fill_n(stat.hshVal, 8, 0xffffu); // not looked at
            EXPECT_EQ(ver == 4 ? bit(tcamKey()[0], 0) : bit(tcamKey()[4], 8), want);
            EXPECT_EQ(bit(flexKey()[0], 1), want);
            EXPECT_EQ(exmKey()[0], want << (ver == 4 ? 8 : 6));
        }
    }
}

TEST_F(L3Key, TreeOfAnyOtherFrameIsTheTopBitOfTheChosenHash) {
    com.trill_mcast_rb[0] = 0x1234;
    for (uint32_t typ = 0; typ < 8; typ++) {
        com.rte_l2_exm_mgid_hsh_typ = typ;
        for (uint32_t set = 0; set < 2; set++) {
            for (uint32_t ver : {4u, 6u}) {
                frame(ver);
                stat.l2TrillDa = 0x1234; // not looked at
                std::fill_n(stat.hshVal, 8, set ? 0x7fffu : 0x8000u);
                stat.hshVal[typ] = set ? 0x8000 : 0x7fff;
                EXPECT_EQ(ver == 4 ? bit(tcamKey()[0], 0) : bit(tcamKey()[4], 8), set);
                EXPECT_EQ(bit(flexKey()[0], 1), set);
                EXPECT_EQ(exmKey()[0], set << (ver == 4 ? 8 : 6));
            }
        }
    }
}

// The exact-match key takes the shifted hash as it is, the other keys one bit of it.
TEST_F(L3Key, ExactMatchTakesTheHashUnmasked) {
    frame(4);
    stat.hshVal[0] = 0x28000;
    EXPECT_EQ(exmKey()[0], 5u << 8);
    EXPECT_EQ(bit(tcamKey()[0], 0), 1u);
    stat.l3IpVer = 6;
    EXPECT_EQ(exmKey()[0], 5u << 6);
    EXPECT_EQ(bits(tcamKey()[4], 9, 8), 1u);
}

TEST_F(L3Key, Ipv4ExactMatchKeyHasThreeWords) {
    frame(4);
    stat.iivid = 0x1abc;
    stat.l3IpDaRpIdx = 0x55;
    stat.l3IpMcastRegEncap = 1;
    stat.hshVal[0] = 0x8000;
    stat.l3IpDa0 = 0xe0000001;
    stat.l3IpSa0 = 0x0a000002;
    stat.frmIdx = 9;
    verbose(true);
    Key key;
    const std::string out = printed([&] { key = exmKey(); });
    Key want;
    want.fill(kGuard);
    want[0] = 0x1abc << 9 | 1 << 8 | 0x55 << 1 | 1; // 0x003579ab
    want[1] = 0xe0000001;
    want[2] = 0x0a000002;
    EXPECT_EQ(key, want);
    EXPECT_EQ(out, "[lookupL3Acl] doIpv4ExmLu exmKey=0x003579ab_e0000001_0a000002\n");
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { exmKey(); }), "");
}

TEST_F(L3Key, Ipv6ExactMatchKeyHasNineWords) {
    frame(6);
    stat.iivid = 0x1abc;
    stat.l3IpDaRpIdx = 0x15;
    stat.hshVal[0] = 0x8000;
    stat.l3IpDa0 = 0x0102030405060708;
    stat.l3IpDa1 = 0x090a0b0c0d0e0f10;
    stat.l3IpSa0 = 0x1112131415161718;
    stat.l3IpSa1 = 0x191a1b1c1d1e1f20;
    verbose(true);
    Key key;
    const std::string out = printed([&] { key = exmKey(); });
    Key want;
    want.fill(kGuard);
    want[0] = 0x1abc << 7 | 1 << 6 | 0x15 << 1; // 0x000d5e6a
    want[1] = 0x01020304;
    want[2] = 0x05060708;
    want[3] = 0x090a0b0c;
    want[4] = 0x0d0e0f10;
    want[5] = 0x11121314;
    want[6] = 0x15161718;
    want[7] = 0x191a1b1c;
    want[8] = 0x1d1e1f20;
    EXPECT_EQ(key, want);
    EXPECT_EQ(out, "[lookupL3Acl] doIpv6ExmLu exmKey=0x000d5e6a_01020304_05060708_090a0b0c_0d0e0f10_11121314_15161718_"
                   "191a1b1c_1d1e1f20\n");
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { exmKey(); }), "");
}

TEST_F(L3Key, AnyFieldsStayInsideTheKey) {
    RandomWords rng(3);
    for (uint32_t round = 0; round < 100; round++) {
        frame(round % 3 == 0 ? 4 : round % 3 == 1 ? 6 : 0, 1);
        com.rte_l2_exm_mgid_hsh_typ = rng();
        stat.iivid = rng();
        stat.policyId = rng();
        stat.l3IpDaRpIdx = rng();
        port2.rte_prc_l3_psel_port = rng();
        EXPECT_EQ(tcamKey()[16], kGuard);
        EXPECT_EQ(flexKey(rng())[8], kGuard);
        EXPECT_EQ(exmKey()[9], kGuard);
    }
}
