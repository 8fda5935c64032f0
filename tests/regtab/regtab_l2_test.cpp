// regtab_tsr list: the views of layer 2, with random rows whose words are put together here from plain bit positions.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <random>

#include "dump_builder.h"
#include "regtab_run.h"
#include "temp_dir.h"

namespace {

using Rows = std::vector<RegtabRow>;

/// A dump of zeros in which no row of a TCAM matches, and numbers by chance.
class RegtabL2 : public testing::Test {
protected:
    RegtabL2() {
        for (const char *tcam : {"rte_l2_exm_ovflw_tcam", "rte_l2_mac_class", "rte_typ_cls_tcam",
                                 "rte_cloud_class_tcam", "rte_trill_myrb_tcam", "tfe_tcam", "tae_tcam"})
            dump_.fill(std::string(tcam) + "[*]", 0xffffffff);
    }

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    uint32_t bits(unsigned n) { return static_cast<uint32_t>(random_()) & (0xffffffffu >> (32 - n)); }
    tsr_dmp_t *image() { return dump_.image(); }

    std::string path() {
        dump_.write(temp_.path("dump"));
        return temp_.path("dump");
    }

    /// Places that differ, in rising order.
    std::vector<uint32_t> places(uint32_t count, uint32_t n) {
        std::set<uint32_t> set;
        while (set.size() < count)
            set.insert(below(n));
        return {set.begin(), set.end()};
    }

    static std::string print(const char *format, auto... args) {
        char text[128];
        std::snprintf(text, sizeof(text), format, args...);
        return text;
    }
    static std::string mac(uint64_t value) {
        return print("%02x:%02x:%02x:%02x:%02x:%02x", static_cast<unsigned>(value >> 40 & 0xff),
                     static_cast<unsigned>(value >> 32 & 0xff), static_cast<unsigned>(value >> 24 & 0xff),
                     static_cast<unsigned>(value >> 16 & 0xff), static_cast<unsigned>(value >> 8 & 0xff),
                     static_cast<unsigned>(value & 0xff));
    }

    /// A group word of one of the kinds, its multicast flag, and what people say of it.
    struct Group {
        uint32_t word;
        uint32_t isMgid;
        std::string text;
    };
    Group group() {
        switch (below(5)) {
        case 0: {
            const uint32_t mgid = bits(16) + 1;
            return {mgid, 1, print("mgid 0x%x", mgid)};
        }
        case 1: {
            const uint32_t egid = bits(13) + 1;
            return {egid, 0, print("egid 0x%x", egid)};
        }
        case 2: {
            const uint32_t lgid = bits(10);
            return {1u << 15 | lgid, 0, print("lgid %u", lgid)};
        }
        case 3: {
            const uint32_t paths = below(7) + 1;
            const uint32_t mpid = bits(13);
            return {1u << 16 | paths << 13 | mpid, 0, print("mpid %u of %u paths", mpid, paths + 1)};
        }
        default:
            return {0x4000 | 0x7f0, 0, "drop"};
        }
    }
    /// The special egress ids: drop 0x7f0, ACL drop 0x7f1, trap 0x7f2, pass through 0x7f3, routing 0x1f4.
    void setSpecials() {
        image()->rte_spcl_egid_0 = htonl(0x7f1u << 16 | 0x7f0);
        image()->rte_spcl_egid_1 = htonl(0x7f2u << 16 | 0x7f3);
        image()->rte_spcl_egid_2 = htonl(0x1f4);
    }

    std::mt19937_64 random_{20261122};
    TempDir temp_;
    DumpBuilder dump_;
};

} // namespace

TEST_F(RegtabL2, StationsAreListed) {
    setSpecials();
    Rows expected;
    for (const uint32_t place : places(200, 392192)) {
        const uint32_t fid = bits(13);
        const uint64_t addr = random_() & 0xffffffffffff;
        const bool hasTrill = below(4) == 0;
        const uint32_t trillAddr = hasTrill ? bits(16) : 0;
        uint32_t(&key)[4] = image()->rte_l2_exm_bkt[place / 32][place % 32];
        key[1] = htonl((hasTrill ? 1u << 13 : 0) | fid);
        key[2] = htonl(trillAddr << 16 | static_cast<uint32_t>(addr >> 32));
        key[3] = htonl(static_cast<uint32_t>(addr));
        const Group to = group();
        const uint32_t lrnPort = bits(6);
        const uint32_t trap = below(2);
        const uint32_t cmd = below(4);
        const uint32_t trillDa = bits(16);
        image()->rte_l2_exm_rslt[place][0] = htonl(trillDa >> 4);
        image()->rte_l2_exm_rslt[place][1] =
            htonl((trillDa & 0xf) << 28 | cmd << 26 | trap << 24 | to.isMgid << 23 | lrnPort << 17 | to.word);
        const uint32_t age = bits(11);
        image()->rte_l2_exm_sa_age_tmr[place / 32][place % 32] = htonl(age);

        RegtabRow row{{"fid", std::to_string(fid)}, {"mac", mac(addr)}, {"to", to.text}};
        row["learn"] = lrnPort >= 48 ? "never" : lrnPort >= 32 ? "always" : print("port %u", lrnPort);
        if (hasTrill) {
            row["trill_addr"] = print("0x%x", trillAddr);
            row["trill_addr@json"] = std::to_string(trillAddr);
        }
        if (cmd == 1)
            row["trill"] = print("tree %u of %u paths", trillDa & 0x1fff, (trillDa >> 13) + 1);
        else if (cmd != 0)
            row["trill"] = print(cmd == 2 ? "rbridge 0x%x" : "rbridge 0x%x, group kept", trillDa);
        if (trap != 0)
            row["flags"] = "trap";
        if (age != 0)
            row["age"] = std::to_string(age);
        row["row"] = print("rte_l2_exm_bkt[%u][%u]", place / 32, place % 32);
        row["chip"] = print("0x%08x", 0x2800000 + 16 * place);
        row["chip@json"] = std::to_string(0x2800000 + 16 * place);
        const size_t offset = 32 + offsetof(tsr_dmp_t, rte_l2_exm_bkt) + size_t{16} * place;
        row["offset"] = std::to_string(offset);
        expected.push_back(row);
    }
    // A station of the overflow, any filter database: its result is one of the last 1024.
    tcam128_t &row = image()->rte_l2_exm_ovflw_tcam[7];
    row = {};
    row.y_val[2] = htonl(0x0200);
    row.x_val[2] = htonl(0xfdff);
    row.y_val[3] = htonl(0x000000c5);
    row.x_val[3] = htonl(~0x000000c5u);
    row.x_val[1] = htonl(1u << 13); // no TRILL address
    image()->rte_l2_exm_rslt[393216 - 1024 + 7][1] = htonl(33u << 17 | 0x15);
    expected.push_back({{"fid", "*"},
                        {"mac", "02:00:00:00:00:c5"},
                        {"to", "egid 0x15"},
                        {"learn", "always"},
                        {"row", "rte_l2_exm_ovflw_tcam[7]"},
                        {"chip", "0x03c800e0"},
                        {"chip@json", std::to_string(0x03c800e0)},
                        {"offset", std::to_string(32 + offsetof(tsr_dmp_t, rte_l2_exm_ovflw_tcam) + 7 * 32)}});
    expectRows({path(), "list", "fdb"},
               {"fid", "mac", "trill_addr", "to", "learn", "trill", "flags", "age", "row", "chip", "offset"}, expected);

    // Conditions: all of them must hold, a mask leaves bits open, and * meets every value.
    const std::string wanted = expected[3].at("mac");
    EXPECT_EQ(jsonRows(regtab({path(), "list", "fdb", "mac=" + wanted, "--json"}).out).size(), 1u);
    EXPECT_EQ(jsonRows(regtab({path(), "list", "fdb", "mac=" + wanted, "fid=8191", "--json"}).out).size(),
              expected[3].at("fid") == "8191" ? 1u : 0u);
    EXPECT_EQ(jsonRows(regtab({path(), "list", "fdb", "mac=02:00:00:00:00:c5", "fid=77", "--json"}).out).size(), 1u);
    size_t odd = 0;
    for (const RegtabRow &station : expected)
        odd += station.at("mac").find_last_of("13579bdf") == 16 ? 1u : 0u;
    EXPECT_EQ(jsonRows(regtab({path(), "list", "fdb", "mac=1/1", "--json"}).out).size(), odd);
}

TEST_F(RegtabL2, VlansAreListed) {
    Rows expected;
    for (const uint32_t vlan : places(60, 8192)) {
        const uint32_t fid = bits(13);
        const uint32_t mtu = bits(14);
        const uint32_t mgid = bits(16) + 1;
        const uint32_t vrf = bits(12);
        image()->rte_l2_filter_id[vlan] = htonl(fid);
        image()->rte_l2_vlan_mtu[vlan] = htonl(mtu);
        image()->rte_l2_flood_mgid[0][vlan] = image()->rte_l2_flood_mgid[1][vlan] = htonl(mgid);
        image()->rte_l3_vrf[vlan] = htonl(vrf);
        // Port 3 forwards tagged frames and learns sources, ports 5, 6 and 7 forward untagged ones.
        const auto set = [&](uint32_t port, uint32_t nibble) {
            image()->rte_l2_stp_en[port][vlan / 8] |= htonl(nibble << (28 - 4 * (vlan % 8)));
        };
        set(3, 6);
        for (const uint32_t port : {5u, 6u, 7u})
            set(port, 1);
        RegtabRow row{{"vlan", std::to_string(vlan)},
                      {"fid", std::to_string(fid)},
                      {"mtu", std::to_string(mtu)},
                      {"flood", print("mgid 0x%x", mgid)},
                      {"tagged", "3"},
                      {"untagged", "5-7"},
                      {"learn", "3"},
                      {"vrf", std::to_string(vrf)}};
        row["untagged@json"] = "5,6,7";
        if (below(2) == 0) {
            image()->rte_l2_ipv4_ucast_en[vlan / 32] |= htonl(1u << vlan % 32);
            image()->rte_l2_ipv6_mcast_en[vlan / 32] |= htonl(1u << vlan % 32);
            row["route"] = "ipv4 ipv6-mcast";
        }
        if (below(2) == 0) {
            const uint32_t vpn = bits(19) + 1;
            image()->rte_iivid_vpnid[vlan] = htonl(vpn);
            row["vpn"] = print("0x%x", vpn);
            row["vpn@json"] = std::to_string(vpn);
        }
        expected.push_back(row);
    }
    // An MTU alone makes no VLAN.
    image()->rte_l2_vlan_mtu[8191] = htonl(1500);
    expectRows({path(), "list", "vlan"},
               {"vlan", "fid", "mtu", "flood", "tagged", "untagged", "learn", "vrf", "vpn", "route"}, expected);
    const std::string vlan = expected[10].at("vlan");
    EXPECT_EQ(jsonRows(regtab({path(), "list", "vlan", "vlan=" + vlan, "untagged=6", "--json"}).out).size(), 1u);
    EXPECT_EQ(jsonRows(regtab({path(), "list", "vlan", "vlan=" + vlan, "untagged=3", "--json"}).out).size(), 0u);
}

TEST_F(RegtabL2, AggregationGroupsAreListed) {
    setSpecials();
    Rows expected;
    for (const uint32_t lag : places(40, 1024)) {
        const uint32_t members = below(8) + 2;
        const uint32_t hash = bits(3);
        const unsigned up = lag % 2 == 0 ? 16 : 0;
        image()->rte_lag_hash_type[lag / 2] |= htonl(((members - 1) << 3 | hash) << up);
        std::string to;
        for (uint32_t i = 0; i < members; ++i) {
            const Group path = group();
            image()->rte_lag_hash_egid[lag][i] = htonl(path.isMgid << 17 | path.word);
            to += (i == 0 ? "" : ", ") + path.text;
        }
        std::string json = to;
        for (size_t at; (at = json.find(", ")) != json.npos;)
            json.erase(at + 1, 1);
        expected.push_back({{"lag", std::to_string(lag)},
                            {"hash", std::to_string(hash)},
                            {"members", std::to_string(members)},
                            {"to", to},
                            {"to@json", json},
                            {"row", print("rte_lag_hash_egid[%u][0]", lag)}});
    }
    expectRows({path(), "list", "lag"}, {"lag", "hash", "members", "to", "row"}, expected);
}

TEST_F(RegtabL2, MultipathsAndTreesAreListed) {
    Rows mpaths;
    Rows trees;
    for (const uint32_t id : places(40, 8192)) {
        const uint32_t hash = bits(3);
        image()->rte_l2_mpid_hash_type[id / 8] |= htonl(hash << (28 - 4 * (id % 8)));
        image()->rte_mctid_hash_type[id / 8] |= htonl((7 - hash) << (28 - 4 * (id % 8)));
        const uint32_t egid0 = bits(13) + 1;
        const uint32_t egid1 = bits(13) + 1;
        image()->rte_l2_psel_mpid[id][0] = htonl(egid0);
        image()->rte_l2_psel_mpid[id][1] = htonl(egid1);
        const uint32_t nickname = bits(15) + 1;
        image()->rte_mctid_rbridges[id][0] = htonl(nickname);
        image()->rte_mctid_rbridges[id][2] = htonl(nickname + 1);
        mpaths.push_back({{"mpid", std::to_string(id)},
                          {"hash", std::to_string(hash)},
                          {"paths", print("egid 0x%x, egid 0x%x", egid0, egid1)},
                          {"paths@json", print("egid 0x%x,egid 0x%x", egid0, egid1)}});
        trees.push_back({{"tree", std::to_string(id)},
                         {"hash", std::to_string(7 - hash)},
                         {"rbridges", print("0x%x, 0x0, 0x%x", nickname, nickname + 1)},
                         {"rbridges@json", print("0x%x,0x0,0x%x", nickname, nickname + 1)}});
    }
    expectRows({path(), "list", "mpath"}, {"mpid", "hash", "paths"}, mpaths);
    expectRows({path(), "list", "mct"}, {"tree", "hash", "rbridges"}, trees);
}

TEST_F(RegtabL2, EgressIdsAreListed) {
    setSpecials();
    Rows expected;
    for (uint32_t port = 0; port < 32; ++port) {
        const uint32_t egid = bits(11);
        image()->esm_cam_egid_table[port] = htonl(egid);
        const bool isOff = below(2) == 0;
        const uint32_t lag = bits(10);
        const bool hasLag = below(2) == 0;
        uint32_t &word = image()->rte_l2_egid_1q[egid / 32];
        if (isOff)
            word |= htonl(1u << egid % 32);
        image()->eqs_egr_lgid[port] = htonl((hasLag ? 1u << 10 : 0) | lag);
        RegtabRow row{{"egid", print("0x%x", egid)},
                      {"egid@json", std::to_string(egid)},
                      {"what", "port"},
                      {"port", std::to_string(port)}};
        if (hasLag)
            row["lag"] = std::to_string(lag);
        expected.push_back(row);
    }
    image()->esm_cam_egid_tablebp = htonl(0x7fe);
    for (uint32_t port = 0; port < 32; ++port) {
        const uint32_t egid = ntohl(image()->esm_cam_egid_table[port]);
        expected[port]["trill"] = (ntohl(image()->rte_l2_egid_1q[egid / 32]) >> egid % 32 & 1) != 0 ? "off" : "on";
    }
    const std::pair<uint32_t, const char *> specials[] = {
        {0x7fe, "back plane"}, {0x7f1, "acl drop"},     {0x7f0, "drop"},
        {0x7f2, "trap"},       {0x7f3, "pass through"}, {0x1f4, "route required, in the low nine bits"}};
    for (const auto &[egid, what] : specials)
        expected.push_back({{"egid", print("0x%x", egid)}, {"egid@json", std::to_string(egid)}, {"what", what}});
    expectRows({path(), "list", "egid"}, {"egid", "what", "port", "trill", "lag"}, expected);
}

TEST_F(RegtabL2, RbridgesAreListed) {
    setSpecials();
    image()->rte_l2_trill_cfg_0 = htonl(0x22f3u << 16 | 0x1234);
    Rows expected{{{"nickname", "0x1234"}, {"nickname@json", std::to_string(0x1234)}, {"what", "this chip"}}};
    image()->rte_trill_myrb_tcam[9][0] = htonl(0x5500); // 0x55 in the upper byte, anything in the lower one
    image()->rte_trill_myrb_tcam[9][1] = htonl(0xaa00);
    expected.push_back({{"nickname", "0x5500/0xff00"}, {"what", "this chip's too"}, {"row", "rte_trill_myrb_tcam[9]"}});
    for (const uint32_t nickname : places(100, 65536)) {
        const Group to = group();
        image()->rte_l2_trill_dest[nickname] = htonl(to.isMgid << 17 | to.word);
        expected.push_back({{"nickname", print("0x%x", nickname)},
                            {"nickname@json", std::to_string(nickname)},
                            {"what", "destination"},
                            {"to", to.text},
                            {"row", print("rte_l2_trill_dest[%u]", nickname)}});
    }
    expected[0]["row"] = "rte_l2_trill_cfg_0";
    expectRows({path(), "list", "rbridges"}, {"nickname", "what", "to", "row"}, expected);
}

TEST_F(RegtabL2, ClassificationIsListed) {
    Rows expected;
    for (const uint32_t place : places(50, 2048)) {
        const uint32_t port = bits(5);
        const uint32_t vid = bits(12) + 1;
        const uint32_t prio = bits(3);
        const uint32_t dp = below(3);
        tcam128_t &row = image()->rte_l2_mac_class[place];
        row = {};
        row.y_val[0] = htonl(port);
        row.x_val[0] = htonl(~port & 0x1f);
        row.y_val[3] = htonl(0xa1); // the low byte of the source, the rest is open
        row.x_val[3] = htonl(0x5e);
        image()->rte_l2_mac_vid[place] = htonl(vid);
        image()->rte_l2_mac_prio_ra[place / 4] |= htonl((dp << 3 | prio) << (24 - 8 * (place % 4)));
        expected.push_back({{"by", "mac"},
                            {"table", std::to_string(place / 32)},
                            {"key", print("phy_port=%u sa=00:00:00:00:00:a1/00:00:00:00:00:ff", port)},
                            {"vlan", std::to_string(vid)},
                            {"prio", std::to_string(prio)},
                            {"dp", std::to_string(dp)}});
    }
    for (const uint32_t place : places(50, 1024)) {
        const uint32_t etyp = bits(16);
        const uint32_t app = bits(8);
        const uint32_t mtu = bits(14);
        tcam64_t &row = image()->rte_typ_cls_tcam[place];
        row = {};
        row.y_val[0] = htonl(etyp);
        row.x_val[0] = htonl(~etyp & 0xffff);
        image()->rte_typ_cls_app_type[place / 4] |= htonl(app << (24 - 8 * (place % 4)));
        image()->rte_typ_cls_mtu[place] = htonl(mtu);
        image()->rte_typ_cls_attr[place / 16] |= htonl(1u << (30 - 2 * (place % 16)));
        image()->rte_typ_cls_vlan[4][place / 2] |= htonl(77u << (place % 2 == 0 ? 16 : 0));
        expected.push_back({{"by", "type"},
                            {"key", print("l2_etyp=0x%x", etyp)},
                            {"vlan", "77 at 4"},
                            {"app", print("0x%x", app)},
                            {"app@json", std::to_string(app)},
                            {"mtu", std::to_string(mtu)},
                            {"flags", "police"}});
    }
    expectRows({path(), "list", "class"}, {"by", "table", "key", "vlan", "prio", "dp", "app", "mtu", "flags"},
               expected);
}

TEST_F(RegtabL2, CloudIsListed) {
    image()->rte_special_ivid_reg = htonl(0x1fffu << 16);
    Rows expected;
    for (const uint32_t place : places(60, 16384)) {
        const bool isTrill = below(2) == 0;
        const uint32_t vid = bits(13);
        const unsigned up = isTrill ? 5 : 6; // where the VLAN stands in word 3
        tcam128_t &row = image()->rte_cloud_class_tcam[place];
        row = {};
        (isTrill ? row.y_val : row.x_val)[1] = htonl(1u << 17);
        row.y_val[3] = htonl(vid << up);
        row.x_val[3] = htonl((~vid & 0x1fff) << up);
        const bool isKept = below(2) == 0;
        const uint32_t to = isKept ? 0x1fff : bits(12);
        const uint32_t vpn = bits(20);
        const uint32_t policy = bits(12);
        image()->rte_cloud_rslt_vpn[place][0] = htonl(to >> 12);
        image()->rte_cloud_rslt_vpn[place][1] = htonl((to & 0xfff) << 20 | vpn);
        image()->rte_cloud_rslt_policy[place] = htonl(policy);
        expected.push_back({{"for", isTrill ? "trill ports" : "other ports"},
                            {"key", print("icvid=%u", vid)},
                            {"vlan", isKept ? "as it came" : std::to_string(to)},
                            {"vpn", print("0x%x", vpn)},
                            {"vpn@json", std::to_string(vpn)},
                            {"policy", std::to_string(policy)},
                            {"row", print("rte_cloud_class_tcam[%u]", place)}});
    }
    // What a miss leads to: result 9 of the VPNs and 4 of the policies.
    image()->rte_vpn_policy_miss_addr = htonl(9u << 16 | 4);
    const uint32_t vpn = ntohl(image()->rte_cloud_rslt_vpn[9][1]) & 0xfffff;
    const uint32_t vlan =
        ntohl(image()->rte_cloud_rslt_vpn[9][0]) << 12 | ntohl(image()->rte_cloud_rslt_vpn[9][1]) >> 20;
    expected.push_back({{"for", "both"},
                        {"key", "no row matches"},
                        {"vlan", std::to_string(vlan)},
                        {"vpn", print("0x%x", vpn)},
                        {"vpn@json", std::to_string(vpn)},
                        {"policy", std::to_string(ntohl(image()->rte_cloud_rslt_policy[4]))},
                        {"row", "rte_cloud_rslt_vpn[9]"}});
    expectRows({path(), "list", "cloud"}, {"for", "key", "vlan", "vpn", "policy", "row"}, expected);
}

TEST_F(RegtabL2, PortsAreListed) {
    Rows expected;
    for (uint32_t port = 0; port < 12; ++port) {
        tsr_ephy_dmp_t &reg = image()->ephy_reg[port];
        const uint32_t lookup = below(2);
        const uint32_t lrn = bits(6);
        const uint32_t vlan = bits(13);
        const uint32_t lgc = bits(6);
        const uint32_t policer = bits(14);
        const bool isPoliced = below(2) == 0;
        const uint32_t ctag = bits(16);
        const uint32_t stag = bits(16);
        reg.rte_prc_l2_ctl = htonl(lookup << 11 | lrn);
        reg.rte_prc_cfg_1 = htonl(vlan);
        reg.rte_prc_cfg_0 = htonl(lgc << 2);
        reg.rte_prc_l3_ctl = htonl(1u << 6 | 1u << 8); // IPv6 routing, the IPv4 ACL
        reg.rte_prc_vlan_etyp = htonl(stag << 16 | ctag);
        reg.rte_prc_qos_cfg = htonl(policer << 2 | (isPoliced ? 2 : 0) | 1);
        RegtabRow row{{"port", std::to_string(port)},
                      {"lookup", std::to_string(lookup)},
                      {"vlan", std::to_string(vlan)},
                      {"lgc_port", std::to_string(lgc)},
                      {"lrn_port", std::to_string(lrn)},
                      {"layer3", "ipv6"},
                      {"acl", "ipv4"},
                      {"trill", "0"},
                      {"ctag", print("0x%x", ctag)},
                      {"ctag@json", std::to_string(ctag)},
                      {"stag", print("0x%x", stag)},
                      {"stag@json", std::to_string(stag)},
                      {"trust_dscp", "1"}};
        if (isPoliced)
            row["policer"] = std::to_string(policer);
        expected.push_back(row);
    }
    expectRows({path(), "list", "ports"},
               {"port", "lookup", "vlan", "lgc_port", "lrn_port", "layer3", "acl", "trill", "ctag", "stag",
                "trust_dscp", "policer"},
               expected);
}

TEST_F(RegtabL2, PolicersAreListed) {
    Rows expected;
    for (const uint32_t vlan : places(30, 8192)) {
        const uint32_t policer = bits(14);
        image()->rte_vlan_pol_en[vlan][0] = htonl(policer);
        image()->rte_vlan_pol_en[vlan][1] = htonl(1u << 4 | 1u << 5);
        expected.push_back(
            {{"what", "vlan"}, {"vlan", std::to_string(vlan)}, {"ports", "4,5"}, {"policer", std::to_string(policer)}});
    }
    image()->ephy_reg[6].rte_prc_qos_cfg = htonl(99u << 2 | 2);
    expected.push_back({{"what", "port"}, {"ports", "6"}, {"policer", "99"}});
    for (RegtabRow &row : expected) {
        const auto policer = static_cast<size_t>(std::stoul(row.at("policer")));
        image()->rte_pol_id_remap[policer] = htonl(static_cast<uint32_t>(policer ^ 0x155));
        row["mapped"] = std::to_string(policer ^ 0x155);
    }
    for (const uint32_t place : places(20, 6 * 4096)) {
        auto &meters = image()->pol_mem[place / 4096];
        const uint32_t rate = bits(30) + 1;
        const uint32_t high = bits(8) + 1;
        const uint32_t low = bits(32);
        meters.pol_cmtd_info_rate[place % 4096] = htonl(rate);
        meters.pol_exc_burst_size[place % 4096][0] = htonl(high);
        meters.pol_exc_burst_size[place % 4096][1] = htonl(low);
        expected.push_back({{"what", "meter"},
                            {"mapped", std::to_string(place % 4096)},
                            {"unit", std::to_string(place / 4096)},
                            {"rate", print("0x%x", rate)},
                            {"rate@json", std::to_string(rate)},
                            {"excess_burst", print("0x%x%08x", high, low)},
                            {"excess_burst@json", std::to_string(uint64_t{high} << 32 | low)}});
    }
    expectRows({path(), "list", "policers"},
               {"what", "vlan", "ports", "policer", "mapped", "unit", "rate", "excess_burst"}, expected);
}
