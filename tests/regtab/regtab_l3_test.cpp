// regtab_tsr list: the views of layer 3 and of the ACL, with rows whose words are put together here from plain bit
// positions.

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "dump_builder.h"
#include "regtab_run.h"
#include "temp_dir.h"

namespace {

using Rows = std::vector<RegtabRow>;

/// One run of bits of a key: `width` bits from bit `from` of the value upwards stand from bit `to` of `word` upwards.
struct KeyBits {
    unsigned from;
    unsigned width;
    unsigned word;
    unsigned to;
};

/// The places of an IPv4 prefix, and those of 32 bits of an IPv6 one from bit `base` on, in the words from `word` on.
std::vector<KeyBits> addrRuns(unsigned base, unsigned word) {
    return {{base + 31, 1, word, 31},    {base + 25, 6, word + 1, 0},  {base + 23, 2, word + 1, 24},
            {base + 17, 6, word + 1, 6}, {base + 15, 2, word + 1, 26}, {base + 9, 6, word + 1, 12},
            {base + 7, 2, word + 1, 28}, {base + 1, 6, word + 1, 18},  {base + 0, 1, word + 1, 30}};
}

using Wide = std::array<uint32_t, 4>; // low word first

bool bitOf(const Wide &value, unsigned bit) {
    return (value[bit / 32] >> bit % 32 & 1) != 0;
}

class RegtabL3 : public testing::Test {
protected:
    RegtabL3() {
        for (const char *tcam : {"tfe_tcam", "tae_tcam", "tae_l3_ipv4_mc_ovflow_tcam", "tae_l3_ipv6_mc_ovflow_tcam"})
            dump_.fill(std::string(tcam) + "[*]", 0xffffffff);
    }

    /// Makes a row of a TCAM, of `half` words each half, ask for the bits of `value` where `mask` is 1.
    void ask(uint32_t *row, unsigned half, const std::vector<KeyBits> &runs, const Wide &value, const Wide &mask) {
        for (const KeyBits &run : runs) {
            for (unsigned i = 0; i < run.width; ++i) {
                if (!bitOf(mask, run.from + i))
                    continue;
                uint32_t &word = row[run.word + (bitOf(value, run.from + i) ? 0 : half)];
                word = htonl(ntohl(word) | 1u << (run.to + i));
            }
        }
    }

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    uint32_t bits(unsigned n) { return static_cast<uint32_t>(random_()) & (0xffffffffu >> (32 - n)); }
    tsr_dmp_t *image() { return dump_.image(); }
    uint32_t *words(void *entry) { return static_cast<uint32_t *>(entry); }
    std::string path() {
        dump_.write(temp_.path("dump"));
        return temp_.path("dump");
    }
    static std::string print(const char *format, auto... args) {
        char text[160];
        std::snprintf(text, sizeof(text), format, args...);
        return text;
    }
    static std::string ipv4(uint32_t addr) {
        return print("%u.%u.%u.%u", addr >> 24, addr >> 16 & 0xff, addr >> 8 & 0xff, addr & 0xff);
    }
    std::vector<uint32_t> places(uint32_t count, uint32_t n) {
        std::set<uint32_t> set;
        while (set.size() < count)
            set.insert(below(n));
        return {set.begin(), set.end()};
    }

    std::mt19937_64 random_{20261123};
    TempDir temp_;
    DumpBuilder dump_;
};

} // namespace

TEST_F(RegtabL3, Ipv4RoutesAreListedAsTheModelMatchesThem) {
    image()->tfe_bank_en = htonl(1u << 0 | 1u << 9);
    image()->rte_l3_next_hop_rslt[77][1] = htonl(0x12u << 15);
    Rows loaded;
    Rows raw;
    std::vector<uint32_t> rows = places(150, 0x8000);
    for (const uint32_t place : places(50, 0x4000))
        rows.push_back(9 * 0x8000 + place);
    for (const uint32_t place : rows) {
        const uint32_t length = below(33);
        const uint32_t mask = length == 0 ? 0 : 0xffffffffu << (32 - length);
        const uint32_t addr = bits(32) & mask;
        const uint32_t vrf = bits(12);
        uint32_t *row = words(&image()->tfe_tcam[place]);
        std::fill(row, row + 4, 0u);
        ask(row, 2, addrRuns(0, 0), {addr}, {mask});
        ask(row, 2, {{1, 11, 0, 20}, {0, 1, 1, 31}}, {vrf}, {0xfff});
        const bool isTrap = below(2) == 0;
        image()->tfe_amap_data[place] = htonl(77u << 14 | (isTrap ? 1u << 9 : 0) | 1u << 12);

        RegtabRow same{{"proto", "ipv4"},
                       {"nexthop", "77"},
                       {"to", "egid 0x12"},
                       {"flags", isTrap ? "rp trap" : "rp"},
                       {"bank", place < 0x8000 ? "0" : "9"},
                       {"row", print("tfe_tcam[%u]", place)}};
        // The memory keeps 20 bits of word 0: of the VRF its lowest bit alone, and not the top bit of the address.
        RegtabRow row1 = same;
        row1["vrf"] = print("0x%x/0x1", vrf & 1);
        const uint32_t kept = mask & 0x7fffffff;
        row1["prefix"] = kept == 0 ? "*" : ipv4(addr & kept) + "/" + ipv4(kept);
        loaded.push_back(row1);
        RegtabRow row2 = same;
        row2["vrf"] = std::to_string(vrf);
        row2["prefix"] = length == 0 ? "*" : length == 32 ? ipv4(addr) : ipv4(addr) + "/" + std::to_string(length);
        raw.push_back(row2);
    }
    const std::string dump = path();
    const std::vector<std::string> columns{"proto", "vrf", "prefix", "nexthop", "to", "flags", "bank", "row"};
    expectRows({dump, "list", "routes"}, columns, loaded);
    expectRows({"--raw", dump, "list", "routes"}, columns, raw);
    // What the load drops is told of every row that has lost something: here all, by their VRF.
    for (const RegtabRow &row : jsonRows(regtab({dump, "list", "routes", "--json"}).out))
        EXPECT_NE(row.at("note").find("the load drops bit"), std::string::npos);

    // A condition on the prefix finds what may match the address.
    size_t covering = 0;
    for (const RegtabRow &row : raw) {
        const std::string &prefix = row.at("prefix");
        const size_t slash = prefix.find('/');
        const int length = prefix == "*" ? 0 : slash == prefix.npos ? 32 : std::stoi(prefix.substr(slash + 1));
        in_addr is{};
        inet_pton(AF_INET, prefix.substr(0, slash).c_str(), &is);
        const uint32_t mask = length == 0 ? 0 : 0xffffffffu << (32 - length);
        covering += ((ntohl(is.s_addr) ^ 0x0a000109) & mask) == 0 ? 1u : 0u;
    }
    EXPECT_GT(covering, 0u);
    EXPECT_EQ(jsonRows(regtab({"--raw", dump, "list", "routes", "prefix=10.0.1.9", "--json"}).out).size(), covering);
    // Banks that are off are searched by nobody.
    image()->tfe_bank_en = 0;
    EXPECT_EQ(regtab({path(), "list", "routes"}).status, 1);
    EXPECT_EQ(jsonRows(regtab({path(), "list", "routes", "--json", "-a"}).out).size(), raw.size());
}

TEST_F(RegtabL3, Ipv6AndFcoeRoutesAreListed) {
    image()->tfe_bank_en = htonl(1u << 1 | 1u << 2);
    image()->tfe_bank_prtcl_sel = htonl(2u << 2 | 1u << 4);
    Rows expected;
    std::vector<KeyBits> ipv6Runs;
    for (const unsigned part : {0u, 1u, 2u, 3u}) {
        for (const KeyBits &run : addrRuns(96 - 32 * part, 2 * part))
            ipv6Runs.push_back(run);
    }
    for (const uint32_t entry : places(60, 0x2000)) {
        const uint32_t place = 0x8000 + 4 * entry;
        const unsigned length = 32 + below(96);
        Wide addr{};
        Wide mask{};
        for (unsigned bit = 128 - length; bit < 128; ++bit) {
            mask[bit / 32] |= 1u << bit % 32;
            addr[bit / 32] |= bits(1) << bit % 32;
        }
        const uint32_t vrf = bits(12);
        uint32_t *row = words(&image()->tfe_tcam[place]);
        std::fill(row, row + 16, 0u);
        ask(row, 8, ipv6Runs, addr, mask);
        ask(row, 8, {{4, 8, 0, 23}, {3, 1, 1, 31}, {2, 1, 3, 31}, {1, 1, 5, 31}, {0, 1, 7, 31}}, {vrf}, {0xfff});
        image()->tfe_amap_data[place] = htonl(5u << 14);
        in6_addr text{};
        for (unsigned i = 0; i < 4; ++i) {
            const uint32_t word = htonl(addr[3 - i]);
            std::memcpy(text.s6_addr + 4 * i, &word, 4);
        }
        char shown[INET6_ADDRSTRLEN];
        inet_ntop(AF_INET6, &text, shown, sizeof(shown));
        expected.push_back({{"proto", "ipv6"},
                            {"vrf", std::to_string(vrf)},
                            {"prefix", std::string(shown) + "/" + std::to_string(length)},
                            {"nexthop", "5"},
                            {"bank", "1"},
                            {"row", print("tfe_tcam[%u]", place)}});
    }
    for (const uint32_t entry : places(60, 0x8000)) {
        const uint32_t place = 0x10000 + entry;
        const uint32_t vfid = bits(12);
        const uint32_t fcid = bits(24);
        uint32_t *row = words(&image()->tfe_tcam[place]);
        std::fill(row, row + 4, 0u);
        ask(row, 2, {{8, 4, 0, 28}, {0, 8, 1, 0}}, {vfid}, {0xfff});
        ask(row, 2, {{16, 8, 1, 8}, {8, 8, 1, 24}, {0, 8, 1, 16}}, {fcid}, {0xffffff});
        image()->tfe_amap_data[place] = htonl(6u << 14 | 1u << 8);
        expected.push_back({{"proto", "fcoe"},
                            {"vrf", std::to_string(vfid)},
                            {"prefix", print("%02x.%02x.%02x", fcid >> 16, fcid >> 8 & 0xff, fcid & 0xff)},
                            {"nexthop", "6"},
                            {"flags", "zoning"},
                            {"bank", "2"},
                            {"row", print("tfe_tcam[%u]", place)}});
    }
    expectRows({"--raw", path(), "list", "routes"}, {"proto", "vrf", "prefix", "nexthop", "flags", "bank", "row"},
               expected);
}

TEST_F(RegtabL3, NextHopsAreListed) {
    Rows expected;
    for (const uint32_t idx : places(150, 163840)) {
        const uint32_t egid = below(31) + 1; // the load keeps five bits of the group
        const uint32_t vlan = bits(13);
        const uint32_t daIdx = bits(12);
        const uint32_t saIdx = bits(9);
        const uint32_t cmd = below(4);
        const uint32_t trillDa = bits(16);
        const uint32_t type = below(4);
        uint32_t(&hop)[4] = image()->rte_l3_next_hop_rslt[idx];
        hop[1] = htonl(egid << 15);
        hop[2] = htonl(trillDa << 16 | cmd << 13 | 1u << 11 | saIdx);
        hop[3] = htonl(vlan << 19 | daIdx << 2 | type);
        // Its new addresses stand at words that the queue stage works out.
        const uint32_t da = 64 * daIdx + daIdx % 8;
        const uint64_t newDa = 0x020000000000 | idx;
        uint32_t *das = &image()->iqs_mac_da_vid_mem[0][0];
        das[da] = htonl(static_cast<uint32_t>(newDa & 0xffff));
        das[da + 1] = htonl(static_cast<uint32_t>(newDa >> 16));
        const uint32_t sa = 4 * saIdx + saIdx % 2;
        uint32_t *sas = &image()->iqs_fcoe_sa_mac_tbl[0][0];
        sas[sa] = htonl(0x4455);
        sas[sa + 1] = htonl(0x0211);
        RegtabRow row{{"nexthop", std::to_string(idx)},
                      {"to", print("egid 0x%x", egid)},
                      {"vlan", std::to_string(vlan)},
                      {"new_da", print("%u", daIdx)}, // which address stands there, is known at the end
                      {"new_sa", "02:11:00:00:44:55"},
                      {"fcoe", "vsan tag"},
                      {"row", print("rte_l3_next_hop_rslt[%u]", idx)}};
        if (cmd == 1)
            row["trill"] = print("tree %u of %u paths", trillDa & 0x1fff, (trillDa >> 13) + 1);
        else if (cmd != 0)
            row["trill"] = print(cmd == 2 ? "rbridge 0x%x" : "rbridge 0x%x, group kept", trillDa);
        const char *types[] = {"", "broadcast", "layer 2", "layer 3"};
        if (type != 0)
            row["mcast"] = types[type];
        if (below(2) == 0) {
            const uint32_t further = bits(4) + 1;
            image()->rte_l3_mpath_hash_type[idx / 4] |= htonl((further << 3 | 5) << (24 - 8 * (idx % 4)));
            row["spread"] = print("%u from here, hash 5", further + 1);
        }
        expected.push_back(row);
    }
    for (RegtabRow &row : expected) {
        const auto daIdx = static_cast<uint32_t>(std::stoul(row.at("new_da")));
        const uint32_t *words = &image()->iqs_mac_da_vid_mem[0][0] + 64 * daIdx + daIdx % 8;
        const uint32_t upper = ntohl(words[1]);
        row["new_da"] = print("%02x:%02x:%02x:%02x:%02x:%02x", upper >> 24, upper >> 16 & 0xff, upper >> 8 & 0xff,
                              upper & 0xff, ntohl(words[0]) >> 8 & 0xff, ntohl(words[0]) & 0xff);
    }
    expectRows({path(), "list", "nexthop"},
               {"nexthop", "to", "vlan", "new_da", "new_sa", "trill", "mcast", "fcoe", "spread", "row"}, expected);
}

TEST_F(RegtabL3, AclRowsAreListedWithTheirResults) {
    image()->rte_spcl_egid_0 = htonl(0x7f1u << 16 | 0x7f0);
    // Banks 0 (layer 2), 3 (IPv4), 4 and 5 (together IPv6) and 13 (layer 2, a small one) are on.
    image()->tae_bank_en = htonl(1u << 0 | 1u << 3 | 3u << 4 | 1u << 13);
    image()->tae_bank_prtcl_sel_0 = htonl(1u << 2);
    image()->tae_bank_prtcl_sel_4 = htonl(6u << 12);
    image()->tae_bank_grp[0] = htonl(9u << 25 | 7u << 10); // bank 0 is in group 9, bank 3 in group 7
    Rows expected;
    for (const uint32_t entry : places(40, 4096)) {
        const uint32_t dst = bits(16);
        uint32_t *row = words(&image()->tae_tcam[entry]);
        std::fill(row, row + 16, 0u);
        ask(row, 8, {{0, 8, 5, 16}}, {6}, {0xff});
        ask(row, 8, {{0, 16, 6, 16}}, {dst}, {0xffff});
        image()->tae_rslt[entry][1] = htonl(1u);           // fwd_en
        image()->tae_rslt[entry][3] = htonl(0x47f1u << 3); // to the ACL's drop group
        expected.push_back({{"layer", "2"},
                            {"bank", "0"},
                            {"type", "l2"},
                            {"group", "9"},
                            {"key", print("ip_protocol=6 l4_dst_port_o_fip_proto_codet=%u", dst)},
                            {"result", "fwd (acl drop)"},
                            {"row", print("tae_tcam[%u]", entry)}});
    }
    for (const uint32_t entry : places(40, 4096)) {
        const uint32_t place = 3 * 4096 + entry;
        const uint32_t addr = bits(32);
        uint32_t *row = words(&image()->tae_tcam[place]);
        std::fill(row, row + 16, 0u);
        ask(row, 8, {{1, 31, 2, 0}, {0, 1, 7, 30}}, {addr}, {0xffffffff});
        const uint32_t que = bits(4);
        image()->tae_rslt[place][1] = htonl(que << 24);
        image()->tae_rslt[place][3] = htonl(1u << 31); // trap_en
        expected.push_back({{"layer", "3"},
                            {"bank", "3"},
                            {"type", "ipv4"},
                            {"group", "7"},
                            {"key", "l3_ipv4_da=" + ipv4(addr)},
                            {"result", que == 0 ? "trap" : print("trap (trap_que=%u)", que)},
                            {"row", print("tae_tcam[%u]", place)}});
    }
    for (const uint32_t entry : places(40, 4096)) {
        // Two rows make one; the result is one of the even bank's.
        const uint32_t place = 4 * 4096 + 2 * entry;
        const uint32_t vpn = bits(20);
        uint32_t *row = words(&image()->tae_tcam[place]);
        std::fill(row, row + 32, 0u);
        ask(row, 16, {{0, 20, 14, 12}}, {vpn}, {0xfffff});
        image()->tae_rslt[4 * 4096 + entry][2] = htonl(1u << 1); // fwd_en
        image()->tae_rslt[4 * 4096 + entry][3] = htonl(321u << 4);
        expected.push_back({{"layer", "3"},
                            {"bank", "4+5"},
                            {"type", "ipv6"},
                            {"key", print("vpn_id=%u", vpn)},
                            {"result", "fwd (nxt_hop_rslt_idx=321)"},
                            {"row", print("tae_tcam[%u]", place)}});
    }
    {
        const uint32_t place = 12 * 4096 + 512 + 3;
        uint32_t *row = words(&image()->tae_tcam[place]);
        std::fill(row, row + 16, 0u);
        expected.push_back({{"layer", "2"},
                            {"bank", "13"},
                            {"type", "l2"},
                            {"key", "anything"},
                            {"result", "nothing"},
                            {"row", print("tae_tcam[%u]", place)}});
    }
    // A row in a bank that is off.
    std::memset(&image()->tae_tcam[2 * 4096], 0, sizeof(image()->tae_tcam[0]));
    // The exact match of IPv4, a bucket and the overflow.
    image()->tae_l3_srch_exm_cfg = htonl(1u << 19);
    image()->tae_l3_ipv4_mc_bkt[5][3][1] = htonl(16u << 9);
    image()->tae_l3_ipv4_mc_bkt[5][3][2] = htonl(0xe0000105);
    image()->tae_l3_ipv4_mc_rslt[43][2] = htonl(1u << 16 | 99u << 2); // a policer
    expected.push_back({{"layer", "3"},
                        {"bank", "exact match"},
                        {"type", "ipv4"},
                        {"key", "iivid_cugid_mcuid=16 l3_ipv4_da=224.0.1.5"},
                        {"result", "pol (pol_id=99)"},
                        {"row", "tae_l3_ipv4_mc_bkt[5][3]"}});
    tcam128_t &overflow = image()->tae_l3_ipv4_mc_ovflow_tcam[1];
    overflow = {};
    overflow.y_val[3] = htonl(0x0a000001);
    overflow.x_val[3] = htonl(~0x0a000001u);
    image()->tae_l3_ipv4_mc_rslt[32768 - 256 + 1][3] = htonl(1u << 25); // acl_log
    expected.push_back({{"layer", "3"},
                        {"bank", "exact match"},
                        {"type", "ipv4"},
                        {"key", "l3_ipv4_sa=10.0.0.1"},
                        {"result", "acl_log"},
                        {"row", "tae_l3_ipv4_mc_ovflow_tcam[1]"}});
    for (RegtabRow &row : expected) {
        if (row.count("group") == 0 && row.at("bank") != "exact match")
            row["group"] = "0";
    }
    expectRows({path(), "list", "acl"}, {"layer", "bank", "type", "group", "key", "result", "row"}, expected);
    const std::vector<RegtabRow> all = jsonRows(regtab({"-a", "--json", path(), "list", "acl", "bank=2"}).out);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].at("note"), "the bank is off");
}
