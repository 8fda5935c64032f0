#include "random_chip.h"

#include "chip_image.h"
#include "frame_builder.h"
#include "tsr_reg.h"

namespace {

constexpr size_t kMaxFrame = 250;
constexpr size_t kShim = 24;

/// A memory of the image and the words of one of its entries.
struct Tcam {
    size_t offset, words, entryWords;
};

#define TCAM(name, entryWords)                                                                                         \
    { offsetof(tsr_dmp_t, name), sizeof(tsr_dmp_t::name) / 4, entryWords }

constexpr Tcam kTcams[] = {
    TCAM(rte_cloud_class_tcam, 8),
    TCAM(rte_l2_mac_class, 8),
    TCAM(rte_l2_exm_ovflw_tcam, 8),
    TCAM(rte_l3_ctrl_cls_tcam, 32),
    TCAM(rte_l2_ctrl_cls_tcam, 4),
    TCAM(rte_typ_cls_tcam, 4),
    TCAM(rte_l3_ipv4_mcuid_ovflw_tcam, 4),
    TCAM(rte_l3_ipv6_mcuid_ovflw_tcam, 16),
    TCAM(rte_trill_myrb_tcam, 2),
    TCAM(rte_l2_myda_prfx_tcam, 2),
    TCAM(tae_tcam, 16),
    TCAM(tae_l3_ipv4_mc_ovflow_tcam, 8),
    TCAM(tae_l3_ipv6_mc_ovflow_tcam, 32),
    TCAM(tfe_tcam, 4),
    TCAM(eacl_tcam, 16),
};
#undef TCAM

void append(std::vector<uint8_t> &to, const std::vector<uint8_t> &from) {
    to.insert(to.end(), from.begin(), from.end());
}

} // namespace

void randomChip(DumpBuilder &dump, uint64_t seed) {
    dump.randomise(seed);
    std::mt19937_64 random(seed ^ 0x5eed);
    const auto chance = [&](unsigned percent) { return random() % 100 < percent; };
    const auto few = [&] { return static_cast<uint32_t>(random() & random() & random()); };

    dump.set("rte_l2_typ_len", 0x600 << 16 | 0x5dc)
        .set("rte_l2_etyp_0", 0x080086dd)
        .set("rte_l2_etyp_1", 0x810022e9)
        .set("rte_l2_trill_cfg_0.rte_l2_trill_etyp", 0x22f3)
        .set("rte_l3_ulp_cfg_0", 0x06113a00)
        .set("rte_l3_ulp_cfg_1", 0x2c012167)
        .set("rte_l2_fcoe_cfg_0", 14 << 20 | 0x8906);
    for (uint32_t i = 0; i < 32; i++)
        dump.set("esm_cam_egid_table[" + std::to_string(i) + "]", static_cast<uint32_t>(random() & 0x7ff));
    for (uint32_t i = 0; i < 5; i++) {
        uint32_t word = 0;
        for (uint32_t field = 0; field < 6; field++)
            word |= static_cast<uint32_t>(random() % 30) << 5 * field; // there are 30 groups
        dump.set("tae_bank_grp[" + std::to_string(i) + "]", word);
    }
    for (uint32_t i = 0; i < TSR_PORTS; i++) {
        const std::string port = "ephy_reg[" + std::to_string(i) + "].";
        dump.set(port + "rte_prc_l2_ctl.rte_prc_l2_lu_en", 1)
            .set(port + "rte_prc_l2_err_ctl", few())
            .set(port + "rte_prc_vlan_etyp", 0x88a88100);
        if (chance(60))
            dump.set(port + "rte_prc_l2_trill_ctl.rte_prc_l2_trill_en", 0);
        for (const char *reg : {"rte_prc_l3_ipv4_err_ctl", "rte_prc_l3_ipv6_err_ctl", "rte_prc_fcoe_err_ctl"}) {
            if (chance(60))
                dump.set(port + reg, few());
        }
    }

    // Many stations stand behind the router: their group is the one of frames that have to be routed. Many ACL entries
    // name it too, or leave the choice to the station's group.
    constexpr uint32_t kRteRqdEgid = 0x0a5, kPthEgid = 0x1f0;
    constexpr uint32_t kEgidForm = 2 << 13;
    dump.set("rte_spcl_egid_2", kRteRqdEgid).set("rte_spcl_egid_1.rte_pth_egid", kPthEgid);
    const auto replace = [](uint32_t &word, uint32_t mask, uint32_t bits) {
        word = htonl((ntohl(word) & ~mask) | bits);
    };
    for (auto &entry : dump.image()->rte_l2_exm_rslt) {
        for (uint32_t &word : entry) {
            if (chance(50))
                replace(word, 1 << 23 | 0x1e1ff, kEgidForm | kRteRqdEgid);
        }
    }
    const auto aclGroup = [&](auto &entry) {
        const uint32_t choice = static_cast<uint32_t>(random() % 5 / 2);
        for (uint32_t &word : entry) {
            if (choice == 0)
                replace(word, (1 << 17 | 0x1e1ff) << 3, (kEgidForm | kRteRqdEgid) << 3);
            else if (choice == 1)
                replace(word, (1 << 17 | 0x1ffff) << 3, (kEgidForm | kPthEgid) << 3);
        }
    };
    for (auto &entry : dump.image()->tae_rslt)
        aclGroup(entry);
    aclGroup(dump.image()->tae_l2_srch_def_rslt);
    aclGroup(dump.image()->tae_l3_srch_def_rslt);

    // An entry of zeroes cares for no bit of the key.
    uint8_t *image = reinterpret_cast<uint8_t *>(dump.image());
    for (const Tcam &tcam : kTcams) {
        if (chance(30))
            continue;
        const size_t entries = tcam.words / tcam.entryWords;
        for (size_t n = chance(20) ? entries : 1 + random() % 300; n > 0; n--)
            std::memset(image + tcam.offset + random() % entries * tcam.entryWords * 4, 0, tcam.entryWords * 4);
    }
}

FrameMaker::Bytes FrameMaker::noise(size_t n) {
    Bytes bytes(n);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random_());
    return bytes;
}

FrameMaker::Bytes FrameMaker::mac() {
    Bytes bytes = noise(6);
    bytes[0] = static_cast<uint8_t>(oneOf({0, 2, 1, 0x33, 0xff, below(256)}));
    return bytes;
}

FrameMaker::Bytes FrameMaker::tags() {
    Frame f;
    if (chance(30))
        f.etyp(0x88a8).num(random_(), 2);
    if (chance(50))
        f.etyp(0x8100).num(random_(), 2);
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::trill(const Bytes &innerMacs) {
    Frame f;
    append(f.bytes, mac());
    append(f.bytes, mac());
    if (chance(50))
        f.etyp(0x8100).num(random_(), 2);
    const uint32_t optLen = oneOf({0, 0, 3});
    f.etyp(0x22f3).trill(below(0x10000), below(0x10000), oneOf({0, 1, 5, 63}), below(2), 0, optLen);
    append(f.bytes, noise(4 * optLen));
    append(f.bytes, innerMacs);
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::ipv4(const Bytes &payload, uint32_t ulp) {
    Frame::Ipv4 h;
    h.options = noise(4 * oneOf({0, 0, 0, 1, 2, 10}));
    h.tlen = chance(70) ? static_cast<uint32_t>(20 + h.options.size() + payload.size()) : below(0x10000);
    h.flagsFrag = oneOf({0, 0, 0x4000, 0x2000, below(0x10000)});
    h.tos = below(256);
    h.ttl = oneOf({64, 64, 1, 0, 255});
    h.ulp = ulp;
    h.sa = static_cast<uint32_t>(random_());
    h.da = oneOf({10, 224, 239, 127, below(256)}) << 24 | below(1 << 24);
    h.ver = chance(95) ? 4 : below(16);
    Frame f;
    f.ipv4(h);
    if (chance(10))
        f.bytes[0] = static_cast<uint8_t>(h.ver << 4 | below(16)); // a header length and checksum that do not fit
    append(f.bytes, payload);
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::ipv6(Bytes payload, uint32_t nxtHdr) {
    for (uint32_t ext = oneOf({0, 0, 1, 2, 4}); ext > 0; ext--) {
        const uint32_t kind = oneOf({0, 43, 44, 60, 51, 50, 135});
        const uint32_t len = oneOf({0, 0, 1, 2, below(8)});
        Frame header;
        header.num(nxtHdr, 1).num(len, 1);
        append(header.bytes, noise(6 + 8 * len));
        append(header.bytes, payload);
        payload = header.bytes;
        nxtHdr = kind;
    }
    Frame::Ipv6 h;
    h.nxtHdr = nxtHdr;
    h.hopLimit = oneOf({64, 64, 1, 0});
    h.tclass = below(256);
    h.flow = below(1 << 20);
    h.plen = chance(80) ? static_cast<uint32_t>(payload.size()) : below(0x10000);
    h.saHi = random_();
    h.saLo = random_();
    h.daHi = static_cast<uint64_t>(oneOf({0xfe, 0xff, 0x20})) << 56 | random_() >> 8;
    h.daLo = random_();
    Frame f;
    f.ipv6(h);
    append(f.bytes, payload);
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::layer4() {
    return noise(below(60));
}

FrameMaker::Bytes FrameMaker::pimRegister() {
    Frame f;
    f.num(0x21000000, 4).num(chance(20) ? random_() : 0, 4);
    append(f.bytes, chance(50) ? ipv4(layer4(), 6) : ipv6(layer4(), 6));
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::ipv4Packet() {
    const uint32_t ulp = oneOf({6, 17, 1, 103, 2, below(256)});
    return ipv4(ulp == 103 ? pimRegister() : layer4(), ulp);
}

FrameMaker::Bytes FrameMaker::ipv6Packet() {
    const uint32_t nxtHdr = oneOf({6, 17, 58, 103, below(256)});
    return ipv6(nxtHdr == 103 ? pimRegister() : layer4(), nxtHdr);
}

FrameMaker::Bytes FrameMaker::payload() {
    Frame f;
    switch (below(9)) {
    case 0:
    case 1:
    case 2:
        append(f.etyp(0x0800).bytes, ipv4Packet());
        break;
    case 3:
    case 4:
        append(f.etyp(0x86dd).bytes, ipv6Packet());
        break;
    case 5: // FCoE: start of frame, then the routing control byte
        f.etyp(0x8906).num(0, 8).num(0, 5).num(0x2e, 1).num(oneOf({0x50, 0x22, below(256)}), 1);
        append(f.bytes, noise(below(50)));
        break;
    case 6: // LLC, mostly SNAP
        f.num(below(0x5dd), 2);
        append(f.bytes, chance(70) ? Frame().hex("aaaa03 000000").bytes : noise(6));
        append(f.etyp(oneOf({0x0800, 0x86dd, 0x8906, below(0x10000)})).bytes, chance(50) ? ipv4Packet() : ipv6Packet());
        break;
    case 7: // FIP, congestion notification, pause, ARP
        append(f.etyp(oneOf({0x8914, 0x22e9, 0x8808, 0x0806})).bytes, noise(below(60)));
        break;
    default:
        append(f.bytes, noise(below(80)));
    }
    return f.bytes;
}

FrameMaker::Bytes FrameMaker::macFor(const Bytes &packet) {
    constexpr size_t kIpv4Da = 2 + 16, kIpv6Da = 2 + 24;
    if (chance(70) && packet.size() >= kIpv4Da + 4 && packet[0] == 0x08 && packet[kIpv4Da] >> 4 == 14) {
        const uint8_t *da = packet.data() + kIpv4Da;
        return {1, 0, 0x5e, static_cast<uint8_t>(da[1] & 0x7f), da[2], da[3]};
    }
    if (chance(70) && packet.size() >= kIpv6Da + 16 && packet[0] == 0x86 && packet[kIpv6Da] == 0xff) {
        const uint8_t *da = packet.data() + kIpv6Da;
        return {0x33, 0x33, da[12], da[13], da[14], da[15]};
    }
    return mac();
}

std::vector<uint8_t> FrameMaker::frame() {
    const Bytes packet = payload();
    Bytes bytes = macFor(packet);
    append(bytes, mac());
    if (chance(30))
        bytes = trill(bytes);
    append(bytes, tags());
    append(bytes, packet);
    if (chance(15))
        bytes.resize(below(static_cast<uint32_t>(bytes.size()) + 1));
    if (bytes.size() > kMaxFrame)
        bytes.resize(kMaxFrame);
    return bytes;
}

std::vector<uint8_t> FrameMaker::fabricFrame(const DumpBuilder &dump) {
    Bytes bytes = noise(kShim);
    if (chance(80)) {
        uint32_t word;
        const uint8_t *image = reinterpret_cast<const uint8_t *>(dump.image());
        std::memcpy(&word, image + offsetof(tsr_dmp_t, esm_cam_egid_table) + 4 * below(32), sizeof word);
        const uint32_t egid = ntohl(word);
        bytes[4] = static_cast<uint8_t>((bytes[4] & 0xf8) | egid >> 8);
        bytes[5] = static_cast<uint8_t>(egid);
    }
    append(bytes, frame());
    if (bytes.size() > kMaxFrame)
        bytes.resize(kMaxFrame);
    return bytes;
}
