#include "route_corpus.h"

#include "frame_builder.h"
#include "route_input.h"

namespace {

// Addresses of the configured chip: a station behind port 1 and one behind port 2, the router, and two RBridges.
constexpr uint64_t kStationA = 0x0200000000a1, kStationB = 0x0200000000b2, kRouter = 0x0200000000fe;
constexpr uint64_t kRbridgeMac = 0x02000000dd01, kOtherRbridgeMac = 0x02000000dd02;
constexpr uint32_t kNearRbridge = 0x0c02, kFarRbridge = 0x0c03;
constexpr uint32_t kPlainPort = 1, kTrillPort = 2, kFabricPort = 12;

constexpr uint32_t kTcp = 6, kUdp = 17, kIcmp = 1, kIcmpV6 = 58, kPim = 103;
constexpr uint32_t kHopByHop = 0, kRouting = 43, kFragment = 44, kEsp = 50, kAuth = 51, kDstOptions = 60;

Frame stations() {
    return Frame().mac(kStationB, kStationA);
}

Frame toRouter() {
    return Frame().mac(kRouter, kStationA);
}

Frame &append(Frame &frame, const Frame &more) {
    frame.bytes.insert(frame.bytes.end(), more.bytes.begin(), more.bytes.end());
    return frame;
}

/// An IPv4 packet with its EtherType, to a network that the configured chip knows.
Frame ipv4(uint32_t ulp, const Frame &payload, Frame::Ipv4 header = {.sa = 0x0a000005, .da = 0x0a000109}) {
    header.ulp = ulp;
    header.tlen = static_cast<uint32_t>(20 + header.options.size() + payload.bytes.size());
    Frame packet;
    packet.etyp(0x0800).ipv4(header);
    return append(packet, payload);
}

/// An IPv6 packet with its EtherType, to a network that the configured chip knows.
Frame ipv6(uint32_t nxtHdr, const Frame &payload, uint64_t daHi = 0x20010db800000000) {
    Frame packet;
    packet.etyp(0x86dd).ipv6(
        {.daHi = daHi, .daLo = 9, .nxtHdr = nxtHdr, .plen = static_cast<uint32_t>(payload.bytes.size())});
    return append(packet, payload);
}

/// An IPv6 extension header of `words` times 8 bytes.
Frame extension(uint32_t nxtHdr, uint32_t words, const Frame &payload) {
    Frame header;
    header.num(nxtHdr, 1).num(words - 1, 1).fill(8 * words - 2);
    return append(header, payload);
}

/// An authentication header of 24 bytes; it counts words of 4 bytes, less two.
Frame authentication(uint32_t nxtHdr, const Frame &payload) {
    Frame header;
    header.num(nxtHdr, 1).num(4, 1).fill(22);
    return append(header, payload);
}

Frame tcp() {
    return Frame().tcp(1024, 80, 2).fill(8);
}

Frame udp() {
    return Frame().udp(1024, 53, 16).fill(8);
}

Frame icmp() {
    return Frame().num(0x08000000, 4).fill(12);
}

/// A PIM register message: its header, then the packet in it.
Frame pimRegister(const Frame &packetWithType) {
    Frame message;
    message.num(0x2100deff, 4).num(0, 4);
    message.bytes.insert(message.bytes.end(), packetWithType.bytes.begin() + 2, packetWithType.bytes.end());
    return message;
}

/// An FC frame in FCoE; its first byte is `rCtl`.
Frame fcoe(uint32_t rCtl) {
    Frame frame;
    frame.etyp(0x8906).fill(13).num(0x2e, 1);
    if (rCtl == 0x50)
        frame.hex("5000 00c84000 0000"); // the virtual fabric's header stands in front
    return frame.num(rCtl == 0x50 ? 6 : rCtl, 1).hex("010203 00040506 08000000 00000000 1234ffff 00000000").fill(16);
}

/// The outer part of a TRILL frame.
Frame trill(uint32_t hopCnt, uint32_t da, uint32_t mc = 0, uint32_t optLen = 0) {
    return Frame().mac(kRbridgeMac, kOtherRbridgeMac).etyp(0x22f3).trill(da, kFarRbridge, hopCnt, mc, 0, optLen);
}

Frame inTrill(const Frame &outer, const Frame &inner) {
    Frame frame = outer;
    return append(frame, inner);
}

Frame with(const Frame &macs, const Frame &packet) {
    Frame frame = macs;
    return append(frame, packet);
}

/// The frames as they come in at a front port, by name.
std::map<std::string, Frame> portFrames() {
    const Frame::Ipv4 multicast{.sa = 0x0a000005, .da = 0xef010101};
    const Frame multicastMacs = Frame().mac(0x01005e010101, kStationA);
    std::map<std::string, Frame> frames{
        {"ethernet", stations().etyp(0x9000).fill(16)},
        {"broadcast_arp", Frame().mac(0xffffffffffff, kStationA).etyp(0x0806).fill(28)},
        {"pause", Frame().mac(0x0180c2000001, kStationA).etyp(0x8808).num(1, 2).fill(44)},
        {"fip", toRouter().etyp(0x8914).fill(32)},
        {"c_tag", stations().tag(0x8100, 0x20, 5).etyp(0x9000).fill(16)},
        {"priority_tag", stations().tag(0x8100, 0, 5).etyp(0x9000).fill(16)},
        {"s_and_c_tag", stations().tag(0x88a8, 0x30, 3).tag(0x8100, 0x20, 5).etyp(0x9000).fill(16)},
        {"cn_tag", stations().num(0x22e9abcd, 4).etyp(0x9000).fill(16)},
        {"llc", stations().num(32, 2).hex("424203").fill(29)},
        {"snap", with(stations().num(48, 2).hex("aaaa03 000000"), ipv4(kUdp, udp()))},
        {"switched_ipv4", with(stations(), ipv4(kTcp, tcp()))},
        {"switched_ipv6", with(stations(), ipv6(kTcp, tcp()))},
        {"switched_fcoe", with(stations(), fcoe(6))},
        {"ipv4_tcp", with(toRouter(), ipv4(kTcp, tcp()))},
        {"ipv4_udp", with(toRouter(), ipv4(kUdp, udp()))},
        {"ipv4_icmp", with(toRouter(), ipv4(kIcmp, icmp()))},
        {"ipv4_options",
         with(toRouter(), ipv4(kUdp, udp(), {.sa = 0x0a000005, .da = 0x0a000109, .options = {148, 4, 0, 0}}))},
        {"ipv4_fragment",
         with(toRouter(), ipv4(kUdp, udp(), {.sa = 0x0a000005, .da = 0x0a000109, .flagsFrag = 0x2003}))},
        {"ipv4_ttl_1", with(toRouter(), ipv4(kUdp, udp(), {.sa = 0x0a000005, .da = 0x0a000109, .ttl = 1}))},
        {"ipv4_tagged", with(toRouter().tag(0x8100, 0x10, 2), ipv4(kUdp, udp()))},
        {"ipv4_multicast", with(multicastMacs, ipv4(kUdp, udp(), multicast))},
        {"ipv4_pim_register", with(toRouter(), ipv4(kPim, pimRegister(ipv4(kUdp, udp(), multicast))))},
        {"ipv6_tcp", with(toRouter(), ipv6(kTcp, tcp()))},
        {"ipv6_udp", with(toRouter(), ipv6(kUdp, udp()))},
        {"ipv6_icmp", with(toRouter(), ipv6(kIcmpV6, icmp()))},
        {"ipv6_hop_by_hop", with(toRouter(), ipv6(kHopByHop, extension(kTcp, 1, tcp())))},
        {"ipv6_routing", with(toRouter(), ipv6(kRouting, extension(kUdp, 3, udp())))},
        {"ipv6_fragment", with(toRouter(), ipv6(kFragment, extension(kUdp, 1, udp())))},
        {"ipv6_esp", with(toRouter(), ipv6(kEsp, Frame().fill(24)))},
        {"ipv6_auth", with(toRouter(), ipv6(kAuth, authentication(kTcp, tcp())))},
        {"ipv6_all_extensions",
         with(toRouter(),
              ipv6(kHopByHop, extension(kDstOptions, 1, extension(kFragment, 1, extension(kIcmpV6, 1, icmp())))))},
        {"ipv6_multicast", with(Frame().mac(0x333300000009, kStationA), ipv6(kUdp, udp(), 0xff0e000000000000))},
        {"ipv6_pim_register", with(toRouter(), ipv6(kPim, pimRegister(ipv6(kUdp, udp(), 0xff0e000000000000))))},
        {"fcoe", with(toRouter(), fcoe(6))},
        {"fcoe_vsan_header", with(toRouter(), fcoe(0x50))},
        {"trill_transit", inTrill(trill(10, kNearRbridge), stations().etyp(0x9000).fill(16))},
        {"trill_last_hop", inTrill(trill(1, kNearRbridge), stations().etyp(0x9000).fill(16))},
        {"trill_tagged", inTrill(trill(10, kNearRbridge), stations().tag(0x8100, 0x20, 5).etyp(0x9000).fill(16))},
        {"trill_multicast",
         inTrill(trill(10, 0x100c, 1), Frame().mac(0x01005e000005, kStationA).etyp(0x9000).fill(16))},
        {"trill_options",
         inTrill(trill(10, kNearRbridge, 0, 3).hex("40000000 01860000 0000abcd"), stations().etyp(0x9000).fill(16))},
        {"trill_ipv4", inTrill(trill(10, kNearRbridge), with(toRouter(), ipv4(kTcp, tcp())))},
        {"trill_ipv6", inTrill(trill(10, kNearRbridge), with(toRouter(), ipv6(kTcp, tcp())))},
        {"trill_fcoe", inTrill(trill(10, kNearRbridge), with(toRouter(), fcoe(6)))},
    };
    return frames;
}

/// A shim of six words; its egress group is a port of the configured chip. The routed kind is `routed`.
Frame shim(uint32_t routed, uint32_t word1Bits = 0, uint32_t word5Bits = 0) {
    return Frame()
        .num(routed << 20, 4)
        .num(0x01030000 | word1Bits, 4)
        .num(0x05000000, 4)
        .num(0x08000010, 4)
        .num(0x00008000, 4)
        .num(word5Bits, 4);
}

/// The frames as they come from the fabric, by name.
std::map<std::string, Frame> fabricFrames() {
    constexpr uint32_t kSwitchedOther = 6;
    constexpr uint32_t kRcvTrill = 0x40000000, kRcvInnerTag = 0x10000000, kRcvBothTags = 0x30000000;
    std::map<std::string, Frame> frames{
        {"fabric_untagged", with(shim(kSwitchedOther), stations().etyp(0x9000).fill(16))},
        {"fabric_tagged",
         with(shim(kSwitchedOther, 0, kRcvInnerTag), stations().tag(0x8100, 0x10).etyp(0x9000).fill(16))},
        {"fabric_s_and_c_tag", with(shim(kSwitchedOther, 0, kRcvBothTags),
                                    stations().tag(0x88a8, 0x30).tag(0x8100, 0x10).etyp(0x9000).fill(16))},
        {"fabric_cn_tag", with(shim(kSwitchedOther, 1 << 27), stations().num(0x22e9abcd, 4).etyp(0x9000).fill(16))},
        {"fabric_trill",
         with(shim(kSwitchedOther, 0, kRcvTrill), inTrill(trill(10, kNearRbridge), stations().etyp(0x9000).fill(16)))},
        {"fabric_routed_ipv4", with(shim(0), with(toRouter(), ipv4(kUdp, udp())))},
        {"fabric_routed_ipv6", with(shim(1), with(toRouter(), ipv6(kUdp, udp())))},
        {"fabric_routed_fcoe", with(shim(2), with(toRouter(), fcoe(6)))},
        {"fabric_routed_fcoe_vsan", with(shim(2), with(toRouter(), fcoe(0x50)))},
        {"fabric_pim_register", with(shim(0), with(toRouter(), ipv4(kPim, pimRegister(ipv4(kUdp, udp())))))},
    };
    return frames;
}

} // namespace

std::map<std::string, std::vector<uint8_t>> routeCorpus() {
    std::map<std::string, std::vector<uint8_t>> corpus;
    uint32_t number = 0;
    const auto add = [&](const std::string &name, uint32_t port, const Frame &frame) {
        RouteInput input{.port = port, .chip = kConfiguredChip, .frame = frame.bytes};
        corpus[name] = input.bytes();
        input.chip = number++ % kConfiguredChip;
        input.verbose = true;
        corpus[name + "_by_chance"] = input.bytes();
    };
    for (const auto &[name, frame] : portFrames())
        add(name, name.starts_with("trill") ? kTrillPort : kPlainPort, frame);
    for (const auto &[name, frame] : fabricFrames())
        add(name, kFabricPort, frame);
    return corpus;
}
