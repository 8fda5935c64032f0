// Names and values of table fields: reading and showing values, masks and prefixes, forms, what the load drops.

#include "tbl/tsr_tbl_name.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "dump_builder.h"

namespace {

TblWide wide(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return {a, b, c, d};
}

/// The value that the text is, which must be one.
TblWide valueOf(const char *text, TblKind kind, unsigned width) {
    TblWide value{};
    EXPECT_EQ(tblReadValue(text, kind, width, value), TblRead::OK) << text;
    return value;
}

TblRead read(const std::string &text, TblKind kind, unsigned width) {
    TblWide value{};
    return tblReadValue(text, kind, width, value);
}

TblMatch matchOf(const char *text, TblKind kind, unsigned width) {
    TblMatch match{};
    EXPECT_EQ(tblReadMatch(text, kind, width, match), TblRead::OK) << text;
    return match;
}

/// A field of which only kind and width count.
TblField fieldOf(TblKind kind, unsigned width) {
    TblField field{};
    field.kind = kind;
    field.width = static_cast<uint16_t>(width);
    return field;
}

const TblDesc &descOf(const std::string &type) {
    for (const TblDesc &desc : tblDescs()) {
        if (desc.type != nullptr && desc.type == type)
            return desc;
    }
    throw std::invalid_argument(type);
}

} // namespace

TEST(TblValues, NumbersOfAnyLengthThatFit) {
    EXPECT_EQ(valueOf("0", TblKind::NUM, 1), wide(0, 0, 0, 0));
    EXPECT_EQ(valueOf("4095", TblKind::VID, 12), wide(0, 0, 0, 0xfff));
    EXPECT_EQ(valueOf("0x0000000000000000000000000000000000000fff", TblKind::HEX, 12), wide(0, 0, 0, 0xfff));
    EXPECT_EQ(valueOf("0x123456789abc", TblKind::MAC, 48), wide(0, 0, 0x1234, 0x56789abc));
    EXPECT_EQ(valueOf("340282366920938463463374607431768211455", TblKind::IPV6, 128),
              wide(0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff));
    EXPECT_EQ(valueOf("18446744073709551617", TblKind::NUM, 128), wide(0, 1, 0, 1));
    EXPECT_EQ(read("2", TblKind::BOOL, 1), TblRead::TOO_WIDE);
    EXPECT_EQ(read("4096", TblKind::VID, 12), TblRead::TOO_WIDE);
    EXPECT_EQ(read("0x1000000000000", TblKind::MAC, 48), TblRead::TOO_WIDE);
    EXPECT_EQ(read("340282366920938463463374607431768211456", TblKind::IPV6, 128), TblRead::TOO_WIDE);
    EXPECT_EQ(read("0x" + std::string(100000, 'f'), TblKind::IPV6, 128), TblRead::TOO_WIDE);
    for (const char *bad : {"", "0x", "x", "-1", "1a", "0xg", "1 2", "1/2", "*", "never", "10.0.0.1", "1:2"})
        EXPECT_EQ(read(bad, TblKind::NUM, 32), TblRead::BAD) << bad;
}

TEST(TblValues, AddressesAsPeopleWriteThem) {
    EXPECT_EQ(valueOf("02:00:00:00:00:a1", TblKind::MAC, 48), wide(0, 0, 0x0200, 0x000000a1));
    EXPECT_EQ(valueOf("2:0:0:0:0:A1", TblKind::MAC, 48), wide(0, 0, 0x0200, 0x000000a1));
    EXPECT_EQ(valueOf("10.0.1.9", TblKind::IPV4, 32), wide(0, 0, 0, 0x0a000109));
    EXPECT_EQ(valueOf("255.255.255.255", TblKind::IPV4, 32), wide(0, 0, 0, 0xffffffff));
    EXPECT_EQ(valueOf("01.02.fE", TblKind::FCID, 24), wide(0, 0, 0, 0x0102fe));
    EXPECT_EQ(valueOf("2001:db8::1", TblKind::IPV6, 128), wide(0x20010db8, 0, 0, 1));
    EXPECT_EQ(valueOf("::", TblKind::IPV6, 128), wide(0, 0, 0, 0));
    EXPECT_EQ(valueOf("1:2:3:4:5:6:7:8", TblKind::IPV6, 128), wide(0x10002, 0x30004, 0x50006, 0x70008));
    EXPECT_EQ(valueOf("ff02::", TblKind::IPV6, 128), wide(0xff020000, 0, 0, 0));
    EXPECT_EQ(valueOf("::10.0.1.9", TblKind::IPV6, 128), wide(0, 0, 0, 0x0a000109));
    EXPECT_EQ(valueOf("1:2:3:4:5:6:10.0.1.9", TblKind::IPV6, 128), wide(0x10002, 0x30004, 0x50006, 0x0a000109));
    EXPECT_EQ(valueOf("1::3:4:5:6:7:8", TblKind::IPV6, 128), wide(0x10000, 0x30004, 0x50006, 0x70008));
    for (const char *bad : {"02:00:00:00:00", "02:00:00:00:00:a1:02", "02:00:00:00:00:", ":02:00:00:00:00",
                            "002:0:0:0:0:1", "02:00:00:00:00:g1", "::"})
        EXPECT_EQ(read(bad, TblKind::MAC, 48), TblRead::BAD) << bad;
    for (const char *bad :
         {"10.0.1", "10.0.1.9.1", "10.0.1.256", "10..1.9", "10.0.1.", ".0.1.9", "10.0.1.0x9", "10.0.0001.9"})
        EXPECT_EQ(read(bad, TblKind::IPV4, 32), TblRead::BAD) << bad;
    for (const char *bad : {"01.02", "01.02.03.04", "100.02.03", "01.02.", "01.02.0g"})
        EXPECT_EQ(read(bad, TblKind::FCID, 24), TblRead::BAD) << bad;
    for (const char *bad : {":", ":::", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9", "1::2::3", "12345::", "1:", ":1",
                            "1::2:", "g::", "1:2:3:4:5:6:7::8", "10.0.1.9::", "::10.0.1.9:1", "1:2:3:4:5:6:7:10.0.1.9"})
        EXPECT_EQ(read(bad, TblKind::IPV6, 128), TblRead::BAD) << bad;
    EXPECT_EQ(read(std::string(100000, ':'), TblKind::IPV6, 128), TblRead::BAD);
}

TEST(TblMatches, ValueMaskPrefixAndAny) {
    TblMatch match = matchOf("5", TblKind::NUM, 12);
    EXPECT_EQ(match.value, wide(0, 0, 0, 5));
    EXPECT_EQ(match.mask, wide(0, 0, 0, 0xfff));
    match = matchOf("5/0xf", TblKind::NUM, 12);
    EXPECT_EQ(match.mask, wide(0, 0, 0, 0xf));
    match = matchOf("*", TblKind::NUM, 12);
    EXPECT_EQ(match.mask, wide(0, 0, 0, 0));
    match = matchOf("01:00:5e:00:00:00/ff:ff:ff:80:00:00", TblKind::MAC, 48);
    EXPECT_EQ(match.mask, wide(0, 0, 0xffff, 0xff800000));
    // Behind a written IP address a decimal number is a prefix; otherwise, and in hexadecimal, it is a mask.
    EXPECT_EQ(matchOf("10.0.1.0/24", TblKind::IPV4, 32).mask, wide(0, 0, 0, 0xffffff00));
    EXPECT_EQ(matchOf("10.0.1.0/0", TblKind::IPV4, 32).mask, wide(0, 0, 0, 0));
    EXPECT_EQ(matchOf("10.0.1.0/32", TblKind::IPV4, 32).mask, wide(0, 0, 0, 0xffffffff));
    EXPECT_EQ(matchOf("10.0.1.0/0x18", TblKind::IPV4, 32).mask, wide(0, 0, 0, 0x18));
    EXPECT_EQ(matchOf("10.0.1.0/255.0.255.0", TblKind::IPV4, 32).mask, wide(0, 0, 0, 0xff00ff00));
    EXPECT_EQ(matchOf("0x0a000100/24", TblKind::IPV4, 32).mask, wide(0, 0, 0, 24));
    EXPECT_EQ(matchOf("2001:db8::/33", TblKind::IPV6, 128).mask, wide(0xffffffff, 0x80000000, 0, 0));
    EXPECT_EQ(matchOf("::1/ffff::ffff", TblKind::IPV6, 128).mask, wide(0xffff0000, 0, 0, 0xffff));
    EXPECT_EQ(matchOf("02:00:00:00:00:a1/8", TblKind::MAC, 48).mask, wide(0, 0, 0, 8));
    TblMatch other{};
    EXPECT_EQ(tblReadMatch("10.0.1.0/33", TblKind::IPV4, 32, other), TblRead::TOO_WIDE);
    EXPECT_EQ(tblReadMatch("::/129", TblKind::IPV6, 128, other), TblRead::TOO_WIDE);
    EXPECT_EQ(tblReadMatch("::/99999999999999999999999999999999999999", TblKind::IPV6, 128, other), TblRead::TOO_WIDE);
    EXPECT_EQ(tblReadMatch("1/0x1000", TblKind::NUM, 12, other), TblRead::TOO_WIDE);
    for (const char *bad : {"", "/", "1/", "/1", "1/2/3", "**", "*/1", "1/*", "10.0.1.0/-1", "10.0.1.0/"})
        EXPECT_EQ(tblReadMatch(bad, TblKind::IPV4, 32, other), TblRead::BAD) << bad;
}

TEST(TblMatches, AreShownAsTheyAreRead) {
    struct Row {
        const char *text;
        TblKind kind;
        unsigned width;
    };
    for (const Row &row : std::vector<Row>{{"5", TblKind::NUM, 12},
                                           {"0x5/0xf", TblKind::NUM, 12},
                                           {"*", TblKind::IPV6, 128},
                                           {"0x86dd", TblKind::ETYP, 16},
                                           {"02:00:00:00:00:a1", TblKind::MAC, 48},
                                           {"01:00:5e:00:00:00/ff:ff:ff:80:00:00", TblKind::MAC, 48},
                                           {"10.0.1.9", TblKind::IPV4, 32},
                                           {"10.0.1.0/24", TblKind::IPV4, 32},
                                           {"10.0.1.0/255.0.255.0", TblKind::IPV4, 32},
                                           {"01.02.fe", TblKind::FCID, 24},
                                           {"2001:db8::1", TblKind::IPV6, 128},
                                           {"2001:db8::/32", TblKind::IPV6, 128},
                                           {"::", TblKind::IPV6, 128},
                                           {"::1", TblKind::IPV6, 128},
                                           {"1::", TblKind::IPV6, 128},
                                           {"1:0:2::3:0", TblKind::IPV6, 128},
                                           {"1:2:3:4:5:6:7:8", TblKind::IPV6, 128},
                                           {"18446744073709551617", TblKind::NUM, 128},
                                           {"0x123456789abcdef0123456789", TblKind::HEX, 128}}) {
        const TblField field = fieldOf(row.kind, row.width);
        EXPECT_EQ(tblShowMatch(field, matchOf(row.text, row.kind, row.width)), row.text);
    }
}

TEST(TblForms, HoldByTheTypesOfTheBanks) {
    DumpBuilder dump;
    const auto holds = [&](const char *type, uint32_t off) {
        return tblHolds(descOf(type), {dump.image(), 0, off}) == TblHolds::YES;
    };
    // Bank 1 of the prefix search is FCoE, bank 9, the first of half the size, IPv6; a big bank has 0x8000 entries.
    dump.set("tfe_bank_prtcl_sel", 1u << 2 | 2u << 18);
    EXPECT_TRUE(holds("TfeIpv4", 16 * 0x7fff));
    EXPECT_TRUE(holds("TfeFcoe", 16 * 0x8000));
    EXPECT_TRUE(holds("TfeFcoe", 16 * 0xffff));
    EXPECT_TRUE(holds("TfeIpv4", 16 * 0x10000));
    EXPECT_TRUE(holds("TfeIpv6", 16 * 0x48000));
    EXPECT_TRUE(holds("TfeIpv6", 16 * 0x4bfff));
    EXPECT_TRUE(holds("TfeIpv4", 16 * 0x4c000));
    EXPECT_TRUE(holds("TfeFcoeRslt", 4 * 0x8000));
    EXPECT_TRUE(holds("TfeIpRslt", 4 * 0x48000));
    EXPECT_FALSE(holds("TfeFcoeRslt", 4 * 0x48000));
    // Banks of the ACL: 8 to a register from the last one downwards, and joined pairs in register 0.
    dump.set("tae_bank_prtcl_sel_4", 1u << 4)
        .set("tae_bank_prtcl_sel_2", 6u << 16)
        .set("tae_bank_prtcl_sel_0", 1u << 6);
    EXPECT_TRUE(holds("TaeL2Ip", 64 * 4095));
    EXPECT_TRUE(holds("TaeL2Fcoe", 64 * 4096));
    EXPECT_TRUE(holds("TaeL2Ip", 64 * 8192));
    // Bank 20 begins behind twelve banks of 4096 and eight of 512; pair 6 are the banks 12 and 13.
    EXPECT_TRUE(holds("TaeL3Ipv4", 64 * (12 * 4096 + 8 * 512)));
    EXPECT_FALSE(holds("TaeL3Ipv4", 64 * (12 * 4096 + 9 * 512)));
    EXPECT_TRUE(holds("TaeL3Ipv6", 64 * 12 * 4096));
    EXPECT_TRUE(holds("TaeL3Ipv6", 64 * (12 * 4096 + 1023)));
    EXPECT_FALSE(holds("TaeL3Ipv6", 64 * (12 * 4096 + 1024)));
    EXPECT_TRUE(holds("TaeL3Rslt", 16 * 12 * 4096));
    EXPECT_TRUE(holds("TaeL2Rslt", 0));
}

TEST(TblForms, HoldByAFieldOfTheEntry) {
    DumpBuilder dump;
    const uint32_t row = offsetof(tsr_dmp_t, rte_cloud_class_tcam);
    const auto holds = [&](const char *type) { return tblHolds(descOf(type), {dump.image(), row, 3 * 32}); };
    EXPECT_EQ(holds("CloudKey"), TblHolds::UNKNOWN);
    dump.set("rte_cloud_class_tcam[3].trill_form", 1);
    EXPECT_EQ(holds("CloudKey"), TblHolds::NO);
    EXPECT_EQ(holds("CloudTrillKey"), TblHolds::YES);
    dump.set("rte_cloud_class_tcam[3].trill_form", 0);
    EXPECT_EQ(holds("CloudKey"), TblHolds::YES);
    dump.set("rte_cloud_class_tcam[3]", "never");
    EXPECT_EQ(holds("CloudKey"), TblHolds::UNKNOWN);
    EXPECT_EQ(tblHolds(descOf("EqsPetIpv4"), {dump.image(), 0, 0}), TblHolds::UNKNOWN);
}

TEST(TblDrops, BitsThatTheLoadDoesNotBring) {
    // The load keeps the low 20 bits of word 1 of a next hop, and nothing of word 0.
    const uint32_t nextHop[4] = {0x80000001, 0xfff00001, 0xffffffff, 0xffffffff};
    EXPECT_EQ(tblDropped(descOf("NxtHop"), nextHop),
              "the load drops bit 31 of word 0, bit 0 of word 0, bits 31 to 20 of word 1");
    // The prefix search keeps the low 12 bits of the even words.
    const uint32_t prefix[4] = {0xfffff000, 0xffffffff, 0x00001fff, 0xffffffff};
    EXPECT_EQ(tblDropped(descOf("TfeIpv4"), prefix), "the load drops bits 31 to 12 of word 0, bit 12 of word 2");
    const uint32_t kept[4] = {0, 0x000fffff, 0xffffffff, 0xffffffff};
    EXPECT_EQ(tblDropped(descOf("NxtHop"), kept), "");
    const uint32_t one[1] = {1};
    EXPECT_EQ(tblDropped(descOf("TaeL2TrapActv"), one), "the load leaves tae_l2_trap_activity out");
    // What a stage reads from the image is not lost.
    EXPECT_EQ(tblDropped(descOf("EmcCfg"), one), "");
}

TEST(TblNear, NamesTheNearestFirst) {
    const std::vector<std::string_view> names = {"vrf_id", "vfid", "ipv4_addr", "ipv6_addr"};
    EXPECT_EQ(tblNear("ipv4_adr", names, false), "; near: ipv4_addr, ipv6_addr");
    EXPECT_EQ(tblNear("vrfid", names, false), "; near: vrf_id, vfid");
    EXPECT_EQ(tblNear("nothing", names, false), "");
    EXPECT_EQ(tblNear("ipv6", names, true), "; near: ipv6_addr, vfid, vrf_id");
    EXPECT_EQ(tblNear("", names, false), "");
    EXPECT_EQ(tblNear(std::string(100, 'a'), names, true), "");
}
