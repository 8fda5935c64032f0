#include "rt_view.h"

#include <array>

static constexpr RtColumn kColumns[] = {
    {"vlan", RtCell::VALUE, TblKind::VID, 13},
    {"fid", RtCell::VALUE, TblKind::NUM, 13},
    {"mtu", RtCell::VALUE, TblKind::NUM, 32},
    {"flood"},
    {"tagged", RtCell::BITS},
    {"untagged", RtCell::BITS},
    {"learn", RtCell::BITS},
    {"vrf", RtCell::VALUE, TblKind::NUM, 12},
    {"vpn", RtCell::VALUE, TblKind::HEX, 20},
    {"route"},
};
const std::span<const RtColumn> kColumns_vlan = kColumns;

namespace {

constexpr uint32_t kVlans = 8192;
constexpr uint32_t kPorts = 32;
constexpr uint32_t kVlansOfWord = 8;
constexpr uint32_t kWordsOfPort = kVlans / kVlansOfWord;

/// What the ports may do in the VLANs of one word of the memory: a set of ports for each.
struct PortSets {
    std::array<uint64_t, kVlansOfWord> tagged{};
    std::array<uint64_t, kVlansOfWord> untagged{};
    std::array<uint64_t, kVlansOfWord> learn{};
};

PortSets portSets(const RtRun &run, const TblMem &stp, uint32_t word) {
    PortSets sets;
    for (uint32_t port = 0; port < kPorts; ++port) {
        const auto entry = rtEntry<L2StpEn>(run, stp, port * kWordsOfPort + word);
        for (uint32_t i = 0; i < kVlansOfWord; ++i) {
            sets.tagged[i] |= uint64_t{entry.fwd_en_tag[i]} << port;
            sets.untagged[i] |= uint64_t{entry.fwd_en_untag[i]} << port;
            sets.learn[i] |= uint64_t{entry.sa_lrn_en[i]} << port;
        }
    }
    return sets;
}

struct RouteMem {
    const char *row;
    const char *text;
};
constexpr RouteMem kRouteMems[] = {{"rte_l2_ipv4_ucast_en", "ipv4"},
                                   {"rte_l2_ipv4_mcast_en", "ipv4-mcast"},
                                   {"rte_l2_ipv6_ucast_en", "ipv6"},
                                   {"rte_l2_ipv6_mcast_en", "ipv6-mcast"},
                                   {"rte_fcoe_ivid_filter", "fcoe"}};

/// For which frames of the VLAN routing is on; adds the entries that say so.
std::string routeText(const RtRun &run, uint32_t vlan, RtRows &rows) {
    std::string text;
    for (const RouteMem &mem : kRouteMems) {
        // All of them are one bit a VLAN, 32 a word.
        if (rtEntry<L2Ipv4UcastEn>(run, rtMem(mem.row), vlan / 32).rte_en[vlan % 32] == 0)
            continue;
        text.append(text.empty() ? "" : " ").append(mem.text);
        rows.part(rtMem(mem.row), vlan / 32);
    }
    return text;
}

std::string floodText(uint32_t mgid0, uint32_t mgid1) {
    if (mgid0 == 0 && mgid1 == 0)
        return "";
    char text[48];
    std::snprintf(text, sizeof(text), mgid0 == mgid1 ? "mgid 0x%x" : "mgid 0x%x or 0x%x", mgid0, mgid1);
    return text;
}

} // namespace

void list_vlan(const RtRun &run, RtRows &rows) {
    const TblMem &stp = rtMem("rte_l2_stp_en");
    const TblMem &fids = rtMem("rte_l2_filter_id");
    const TblMem &mtus = rtMem("rte_l2_vlan_mtu");
    const TblMem &floods = rtMem("rte_l2_flood_mgid");
    const TblMem &vrfs = rtMem("rte_l3_vrf");
    const TblMem &vpns = rtMem("rte_iivid_vpnid");
    PortSets sets;
    for (uint32_t vlan = 0; vlan < kVlans; ++vlan) {
        const uint32_t word = vlan / kVlansOfWord;
        const uint32_t i = vlan % kVlansOfWord;
        if (i == 0)
            sets = portSets(run, stp, word);
        const uint32_t fid = rtEntry<L2Fid>(run, fids, vlan).fid;
        const uint32_t mgid0 = rtEntry<L2FloodMgid>(run, floods, vlan).mgid;
        const uint32_t mgid1 = rtEntry<L2FloodMgid>(run, floods, kVlans + vlan).mgid;
        const auto vrf = rtEntry<Vrf>(run, vrfs, vlan);
        const uint64_t ports = sets.tagged[i] | sets.untagged[i] | sets.learn[i];
        if (ports == 0 && fid == 0 && mgid0 == 0 && mgid1 == 0 && vrf.vrfId == 0)
            continue;
        const uint32_t vpn = rtEntry<IividVpn>(run, vpns, vlan).vpn_id;
        rows.value(vlan).value(fid).value(rtEntry<VlanMtu>(run, mtus, vlan).mtu).text(floodText(mgid0, mgid1));
        rows.bits(sets.tagged[i]).bits(sets.untagged[i]).bits(sets.learn[i]).value(vrf.vrfId);
        if (vpn != 0)
            rows.value(vpn);
        else
            rows.none();
        rows.part(fids, vlan).part(mtus, vlan).part(floods, vlan).part(floods, kVlans + vlan).part(vrfs, vlan);
        rows.part(vpns, vlan);
        for (uint32_t port = 0; port < kPorts; ++port) {
            if ((ports >> port & 1) != 0)
                rows.part(stp, port * kWordsOfPort + word);
        }
        rows.text(routeText(run, vlan, rows));
        rows.end();
    }
}
