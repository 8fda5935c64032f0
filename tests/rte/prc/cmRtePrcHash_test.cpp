// The eight hash values: keys, swap, sort, masks and the halves of the CRC.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"
#include "reg_name.h"

#include <utility>

namespace {

using Key = std::vector<uint8_t>;

/// The CRC-32 of Ethernet as a shift register, bit by bit in the order of the wire, its result bytes in that order too.
/// The model takes it from a table, in the mirrored form.
uint32_t wireCrc(const Key &key) {
    uint32_t reg = 0xffffffff;
    for (uint8_t byte : key)
        for (unsigned n = 0; n < 8; n++) {
            const uint32_t feed = reg >> 31 ^ (uint32_t{byte} >> n & 1u);
            reg = reg << 1 ^ (feed ? 0x04c11db7u : 0u);
        }
    reg = ~reg;
    uint32_t wire = 0;
    for (unsigned n = 0; n < 32; n++)
        wire |= (reg >> (n / 8 * 8 + 7 - n % 8) & 1u) << n;
    return wire;
}

Key keyOf(const std::string &hex) {
    return Frame().hex(hex).bytes;
}

/// Bit `n` of a key, counted from its first bit on the wire (the top of byte 0).
bool keyBit(const Key &key, uint32_t n) {
    return key[n / 8] >> (7 - n % 8) & 1;
}
void flipKeyBit(Key &key, uint32_t n) {
    key[n / 8] = static_cast<uint8_t>(key[n / 8] ^ 1u << (7 - n % 8));
}
/// Exchanges bits `n` and `n` + 1.
void swapKeyBits(Key &key, uint32_t n) {
    if (keyBit(key, n) != keyBit(key, n + 1)) {
        flipKeyBit(key, n);
        flipKeyBit(key, n + 1);
    }
}

class Hash : public ModelTest {
protected:
    void setAll(const std::string &field, uint32_t value) {
        for (uint32_t i = 0; i < 8; i++)
            comFld(com, field + std::to_string(i)) = value;
    }
    /// All eight values come from `key`: even ones the upper half, odd ones the lower half.
    void expectKey(const Key &key) {
        for (uint32_t i = 0; i < 8; i++)
            expectKeyAt(i, key);
    }
    void expectKeyAt(uint32_t i, const Key &key) {
        const uint32_t crc = wireCrc(key);
        EXPECT_EQ(stat.hshVal[i], i % 2 ? crc & 0xffff : crc >> 16) << i;
    }
};

TEST(WireCrc, IsTheFrameCheckSequence) {
    // The check value of CRC-32, 0xcbf43926 for "123456789", is sent lowest byte first.
    EXPECT_EQ(wireCrc(Key{'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0x2639f4cbu);
}

// ---- TCP/IP

class HashTcpIp : public Hash {
protected:
    HashTcpIp() {
        com.rte_l3_ulp_tcp = 6;
        com.rte_l3_ulp_udp = 17;
        setAll("rte_tcpip_hsh_msk_", 0xff);
        stat.ctag = 0x123;
        stat.l2Da = 0x001122334455;
        stat.l2Sa = 0x00aabbccddee;
        stat.l3IpVer = 4;
        stat.l3IpUlp = 6;
        stat.l3IpSa0 = 0x0a010203;
        stat.l3IpDa0 = 0xc0a80105;
        stat.l3IpSa1 = 0x0123456733445566;
        stat.l3IpDa1 = 0x89abcdef778899aa;
        stat.l4Src = 0x1234;
        stat.l4Dst = 0x0050;
    }
    const Key kFlow = keyOf("0123 001122334455 00aabbccddee 06 0a010203 c0a80105 1234 0050");
    const Key kSorted = keyOf("0123 00aabbccddee 001122334455 06 c0a80105 0a010203 1234 0050");
    const Key kNoPorts = keyOf("0123 001122334455 00aabbccddee 06 0a010203 c0a80105 0000 0000");
    const Key kNoIp = keyOf("0123 001122334455 00aabbccddee 00 00000000 00000000 0000 0000");
};

TEST_F(HashTcpIp, Ipv4FlowHasTheCrcOfItsKey) {
    // VLAN 0123, DA 001122334455, SA 00aabbccddee, protocol 06, source 0a010203, destination c0a80105, ports 1234 and
    // 0050: the CRC-32 of these 27 bytes is 0xeb4e43f4. Its bytes reversed are f4 43 4e eb: upper half 0xf443, lower
    // half 0x4eeb.
    PrcHshTcpIp(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0x4eebu : 0xf443u) << i;
    expectKey(kFlow);
}

TEST_F(HashTcpIp, SortedFlowHasTheCrcOfItsSortedKey) {
    // The greater address in the destination place of layer 2 but in the source place of layer 3, the greater port in
    // the source place: 0123 00aabbccddee 001122334455 06 c0a80105 0a010203 1234 0050, CRC-32 0x46a47287, bytes
    // reversed 87 72 a4 46.
    setAll("rte_tcpip_hsh_sort_src_dst_", 1);
    PrcHshTcpIp(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0xa446u : 0x8772u) << i;
    expectKey(kSorted);
}

TEST_F(HashTcpIp, ValuesAreTraced) {
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcHshTcpIp(&stat); }),
              "CM port=0, frameIdx=0>> TCP/IP hash values: hsh0=0xf443,  hsh1=0x4eeb,  hsh2=0xf443,  hsh3=0x4eeb,  "
              "hsh4=0xf443,  hsh5=0x4eeb,  hsh6=0xf443,  hsh7=0x4eeb\n");
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcHshTcpIp(&stat); }), "");
}

TEST_F(HashTcpIp, Ipv6EntersByItsLastWords) {
    // 0123 001122334455 00aabbccddee 11 33445566 778899aa 1234 0050: CRC-32 0x515579df, bytes reversed df 79 55 51.
    stat.l3IpVer = 6;
    stat.l3IpUlp = 17;
    PrcHshTcpIp(&stat);
    EXPECT_EQ(stat.hshVal[0], 0xdf79u);
    EXPECT_EQ(stat.hshVal[1], 0x5551u);
    stat.l3IpSa0 = ~0ull;
    stat.l3IpDa0 = ~0ull;
    stat.l3IpSa1 |= 0xffffffff00000000;
    PrcHshTcpIp(&stat);
    EXPECT_EQ(stat.hshVal[0], 0xdf79u);
}

TEST_F(HashTcpIp, OtherFramesHashOnLayerTwo) {
    // 0123 001122334455 00aabbccddee and 13 zero bytes: CRC-32 0xe22d4237, bytes reversed 37 42 2d e2.
    for (uint32_t ver : {0u, 5u, 7u}) {
        stat.l3IpVer = ver;
        PrcHshTcpIp(&stat);
        EXPECT_EQ(stat.hshVal[0], 0x3742u) << ver;
        EXPECT_EQ(stat.hshVal[1], 0x2de2u) << ver;
    }
    expectKey(kNoIp);
}

TEST_F(HashTcpIp, UnknownLayerThreeHashesOnLayerTwo) {
    stat.l3PrcHdrUnk = 1;
    PrcHshTcpIp(&stat);
    expectKey(kNoIp);
}

TEST_F(HashTcpIp, UnknownLayerFourHashesWithoutPorts) {
    stat.l4PrcHdrUnk = 1;
    PrcHshTcpIp(&stat);
    expectKey(kNoPorts);
}

TEST_F(HashTcpIp, FragmentsHashWithoutPorts) {
    stat.l3Ipv4MorFrg = 1;
    PrcHshTcpIp(&stat);
    expectKey(kNoPorts);
    stat.l3Ipv4MorFrg = 0;
    stat.l3Ipv4FrgOffset = 1;
    PrcHshTcpIp(&stat);
    expectKey(kNoPorts);
    stat.l3Ipv4FrgOffset = 0;
    stat.l3Ipv6IsFragment = 1;
    stat.l3Ipv6FirstFragment = 1;
    PrcHshTcpIp(&stat);
    expectKey(kNoPorts);
}

TEST_F(HashTcpIp, PortsAreThoseOfTcpAndUdp) {
    for (uint32_t ulp = 0; ulp < 256; ulp++) {
        stat.l3IpUlp = ulp;
        PrcHshTcpIp(&stat);
        Key key = ulp == 6 || ulp == 17 ? kFlow : kNoPorts;
        key[14] = static_cast<uint8_t>(ulp);
        expectKey(key);
    }
}

TEST_F(HashTcpIp, VlanIsTwelveBits) {
    stat.ctag = 0xf123;
    PrcHshTcpIp(&stat);
    expectKey(kFlow);
}

TEST_F(HashTcpIp, EachValueHasItsOwnSortFlag) {
    for (uint32_t flag = 0; flag < 8; flag++) {
        setAll("rte_tcpip_hsh_sort_src_dst_", 0);
        comFld(com, "rte_tcpip_hsh_sort_src_dst_" + std::to_string(flag)) = 1;
        PrcHshTcpIp(&stat);
        for (uint32_t i = 0; i < 8; i++)
            expectKeyAt(i, i == flag ? kSorted : kFlow);
    }
}

TEST_F(HashTcpIp, LayersSortEachByItself) {
    setAll("rte_tcpip_hsh_sort_src_dst_", 1);
    std::swap(stat.l2Da, stat.l2Sa); // the greater is the destination already
    PrcHshTcpIp(&stat);
    expectKey(kSorted);
    std::swap(stat.l3IpSa0, stat.l3IpDa0); // the greater is the source already
    PrcHshTcpIp(&stat);
    expectKey(kSorted);
    std::swap(stat.l4Src, stat.l4Dst); // the greater goes to the source place
    PrcHshTcpIp(&stat);
    expectKey(kSorted);
}

TEST_F(HashTcpIp, BothDirectionsOfAFlowMeetOnlyWhenSorted) {
    comFld(com, "rte_tcpip_hsh_sort_src_dst_2") = 1;
    PrcHshTcpIp(&stat);
    const uint32_t there2 = stat.hshVal[2];
    const uint32_t there3 = stat.hshVal[3];
    std::swap(stat.l2Da, stat.l2Sa);
    std::swap(stat.l3IpSa0, stat.l3IpDa0);
    std::swap(stat.l4Src, stat.l4Dst);
    PrcHshTcpIp(&stat);
    EXPECT_EQ(stat.hshVal[2], there2);
    EXPECT_NE(stat.hshVal[3], there3);
}

TEST_F(HashTcpIp, EqualAddressesAndPortsSortToThemselves) {
    stat.l2Sa = stat.l2Da;
    stat.l3IpSa0 = stat.l3IpDa0;
    stat.l4Src = stat.l4Dst;
    setAll("rte_tcpip_hsh_sort_src_dst_", 1);
    PrcHshTcpIp(&stat);
    expectKey(keyOf("0123 001122334455 001122334455 06 c0a80105 c0a80105 0050 0050"));
}

TEST_F(HashTcpIp, EachSwapControlExchangesOnePairOfTheKey) {
    // The 106 control bits, 10 of register 0 and 32 of each other from the top down, stand in the order of the key's
    // pairs, behind the four unused bits at its start.
    stat.ctag = 0x555;
    stat.l2Da = 0x555555555555;
    stat.l2Sa = 0xaaaaaaaaaaaa;
    stat.l3IpUlp = 0x69;
    com.rte_l3_ulp_tcp = 0x69; // so that the ports count
    stat.l3IpSa0 = 0x55555555;
    stat.l3IpDa0 = 0xaaaaaaaa;
    stat.l4Src = 0x5555;
    stat.l4Dst = 0xaaaa;
    const Key base = keyOf("0555 555555555555 aaaaaaaaaaaa 69 55555555 aaaaaaaa 5555 aaaa");
    uint32_t pair = 0;
    for (uint32_t reg = 0; reg < 4; reg++)
        for (int n = reg == 0 ? 9 : 31; n >= 0; n--) {
            for (uint32_t r = 0; r < 4; r++)
                comFld(com, "rte_tcpip_hsh_swp_ctl_" + std::to_string(r)) = r == reg ? 1u << n : 0;
            Key key = base;
            swapKeyBits(key, 4 + 2 * pair);
            ASSERT_NE(key, base);
            PrcHshTcpIp(&stat);
            expectKey(key);
            pair++;
        }
    EXPECT_EQ(pair, 106u);
}

TEST_F(HashTcpIp, UpperBitsOfTheFirstSwapControlAreNotRead) {
    com.rte_tcpip_hsh_swp_ctl_0 = 0xfffffc00;
    PrcHshTcpIp(&stat);
    expectKey(kFlow);
}

TEST_F(HashTcpIp, SwapFollowsTheSort) {
    // All pairs of the destination address exchanged, whichever address stands there.
    com.rte_tcpip_hsh_swp_ctl_0 = 0xf;
    com.rte_tcpip_hsh_swp_ctl_1 = 0xfffff000;
    setAll("rte_tcpip_hsh_sort_src_dst_", 1);
    PrcHshTcpIp(&stat);
    // 00aabbccddee: a (1010) becomes 5 (0101), b (1011) 7 (0111), c and f stay, d (1101) e (1110) and back.
    expectKey(keyOf("0123 005577cceedd 001122334455 06 c0a80105 0a010203 1234 0050"));
}

struct TcpIpMskRow {
    uint32_t bit, first, last; // bytes of the key that the bit keeps
};
const TcpIpMskRow kTcpIpMsk[] = {{0, 0, 1},   {1, 2, 7},   {2, 8, 13},  {3, 14, 14},
                                 {4, 15, 18}, {5, 19, 22}, {6, 23, 24}, {7, 25, 26}};

TEST_F(HashTcpIp, EachMaskBitKeepsOneField) {
    for (const TcpIpMskRow &row : kTcpIpMsk) {
        setAll("rte_tcpip_hsh_msk_", 1u << row.bit);
        Key key(27, 0);
        std::copy(kFlow.begin() + row.first, kFlow.begin() + row.last + 1, key.begin() + row.first);
        PrcHshTcpIp(&stat);
        expectKey(key);
    }
}

TEST_F(HashTcpIp, EachValueHasItsOwnMask) {
    for (uint32_t own = 0; own < 8; own++) {
        setAll("rte_tcpip_hsh_msk_", 0xff);
        comFld(com, "rte_tcpip_hsh_msk_" + std::to_string(own)) = 0xff & ~0x80u;
        Key key = kFlow;
        key[25] = key[26] = 0;
        PrcHshTcpIp(&stat);
        for (uint32_t i = 0; i < 8; i++)
            expectKeyAt(i, i == own ? key : kFlow);
    }
}

TEST_F(HashTcpIp, EmptyMasksLeaveTheCrcOfZeroBytes) {
    // The CRC-32 of 27 zero bytes is 0x1a7a52b3, bytes reversed b3 52 7a 1a.
    setAll("rte_tcpip_hsh_msk_", 0);
    PrcHshTcpIp(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0x7a1au : 0xb352u) << i;
}

TEST_F(HashTcpIp, CrcTakesAnyHalfThatTheShiftNames) {
    Key key = kFlow; // CRC bytes f4 43 4e eb
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 0), 0x4eebu);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 8), 0x434eu);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 16), 0xf443u);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 31), 1u);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 32), 0u);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 63), 0u);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 64), 0x4eebu);
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 80), 0xf443u);
    EXPECT_EQ(key, kFlow); // the key itself stays
}

TEST_F(HashTcpIp, CrcCutsTheVlanToTwelveBits) {
    Key key = kFlow;
    key[0] |= 0xf0;
    EXPECT_EQ(PrcHshTcpIpCrc(key.data(), 0xff, 0), 0x4eebu);
}

// ---- FCoE

class HashFcoe : public Hash {
protected:
    HashFcoe() {
        setAll("rte_fcoe_hsh_msk_", 0xff);
        port.rte_prc_hsh_port = 0x15;
        stat.ctag = 0x123;
        stat.l2FcoeFcVfid = 0x456;
        stat.l2Da = 0x0efc00010203;
        stat.l2Sa = 0x0efc000a0b0c;
        stat.l2FcoeFcOxid = 0xbeef;
        stat.l2FcoeFcDid = 0x010203;
        stat.l2FcoeFcSid = 0x0a0b0c;
    }
    const Key kFlow = keyOf("15 123456 0efc00010203 0efc000a0b0c beef 010203 0a0b0c");
    const Key kSorted = keyOf("15 123456 0efc000a0b0c 0efc00010203 beef 0a0b0c 010203");
};

TEST_F(HashFcoe, FlowHasTheCrcOfItsKey) {
    // Port 15, VLAN 123, VFID 456, DA 0efc00010203, SA 0efc000a0b0c, OX_ID beef, D_ID 010203, S_ID 0a0b0c: the CRC-32
    // of these 24 bytes is 0x23a5645f, bytes reversed 5f 64 a5 23.
    PrcHshFcoe(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0xa523u : 0x5f64u) << i;
    expectKey(kFlow);
}

TEST_F(HashFcoe, SortedFlowHasTheGreaterAddressesInFront) {
    // 15 123456 0efc000a0b0c 0efc00010203 beef 0a0b0c 010203: CRC-32 0x6dcd1584, bytes reversed 84 15 cd 6d.
    setAll("rte_fcoe_hsh_sort_src_dst_", 1);
    PrcHshFcoe(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0xcd6du : 0x8415u) << i;
    expectKey(kSorted);
}

TEST_F(HashFcoe, UnknownHeaderHashesOnLayerTwoAndPort) {
    // 15 123000 0efc00010203 0efc000a0b0c and 8 zero bytes: CRC-32 0x445480f2, bytes reversed f2 80 54 44.
    stat.l2FcoePrcHdrUnk = 1;
    PrcHshFcoe(&stat);
    EXPECT_EQ(stat.hshVal[0], 0xf280u);
    EXPECT_EQ(stat.hshVal[1], 0x5444u);
    expectKey(keyOf("15 123000 0efc00010203 0efc000a0b0c 0000 000000 000000"));
}

TEST_F(HashFcoe, EachValueHasItsOwnSortFlag) {
    for (uint32_t flag = 0; flag < 8; flag++) {
        setAll("rte_fcoe_hsh_sort_src_dst_", 0);
        comFld(com, "rte_fcoe_hsh_sort_src_dst_" + std::to_string(flag)) = 1;
        PrcHshFcoe(&stat);
        for (uint32_t i = 0; i < 8; i++)
            expectKeyAt(i, i == flag ? kSorted : kFlow);
    }
}

TEST_F(HashFcoe, LayersSortEachByItself) {
    setAll("rte_fcoe_hsh_sort_src_dst_", 1);
    std::swap(stat.l2Da, stat.l2Sa);
    PrcHshFcoe(&stat);
    expectKey(kSorted);
    std::swap(stat.l2FcoeFcDid, stat.l2FcoeFcSid);
    PrcHshFcoe(&stat);
    expectKey(kSorted);
    std::swap(stat.l2Da, stat.l2Sa);
    PrcHshFcoe(&stat);
    expectKey(kSorted);
}

TEST_F(HashFcoe, EqualAddressesSortToThemselves) {
    stat.l2Sa = stat.l2Da;
    stat.l2FcoeFcSid = stat.l2FcoeFcDid;
    setAll("rte_fcoe_hsh_sort_src_dst_", 1);
    PrcHshFcoe(&stat);
    expectKey(keyOf("15 123456 0efc00010203 0efc00010203 beef 010203 010203"));
}

TEST_F(HashFcoe, EachSwapControlExchangesOnePairOfTheKey) {
    // The 94 control bits, 30 of register 0 and 32 of each other from the top down, stand in the order of the key's
    // pairs; the key starts with two unused bits and the topmost pair of the port, which has no control.
    port.rte_prc_hsh_port = 0x15;
    stat.ctag = 0x555;
    stat.l2FcoeFcVfid = 0xaaa;
    stat.l2Da = 0x555555555555;
    stat.l2Sa = 0xaaaaaaaaaaaa;
    stat.l2FcoeFcOxid = 0x5555;
    stat.l2FcoeFcDid = 0xaaaaaa;
    stat.l2FcoeFcSid = 0x555555;
    const Key base = keyOf("15 555aaa 555555555555 aaaaaaaaaaaa 5555 aaaaaa 555555");
    uint32_t pair = 0;
    for (uint32_t reg = 0; reg < 3; reg++)
        for (int n = reg == 0 ? 29 : 31; n >= 0; n--) {
            for (uint32_t r = 0; r < 3; r++)
                comFld(com, "rte_fcoe_hsh_swp_ctl_" + std::to_string(r)) = r == reg ? 1u << n : 0;
            Key key = base;
            swapKeyBits(key, 4 + 2 * pair);
            ASSERT_NE(key, base);
            PrcHshFcoe(&stat);
            expectKey(key);
            pair++;
        }
    EXPECT_EQ(pair, 94u);
}

TEST_F(HashFcoe, UpperBitsOfTheFirstSwapControlAreNotRead) {
    com.rte_fcoe_hsh_swp_ctl_0 = 0xc0000000;
    PrcHshFcoe(&stat);
    expectKey(kFlow);
}

TEST_F(HashFcoe, SixthBitOfThePortIsDropped) {
    port.rte_prc_hsh_port = 0x35;
    PrcHshFcoe(&stat);
    expectKey(kFlow);
}

TEST_F(HashFcoe, EachMaskBitKeepsOneField) {
    const Key kept[] = {
        keyOf("15 000000 000000000000 000000000000 0000 000000 000000"),
        keyOf("00 123000 000000000000 000000000000 0000 000000 000000"),
        keyOf("00 000456 000000000000 000000000000 0000 000000 000000"),
        keyOf("00 000000 0efc00010203 000000000000 0000 000000 000000"),
        keyOf("00 000000 000000000000 0efc000a0b0c 0000 000000 000000"),
        keyOf("00 000000 000000000000 000000000000 beef 000000 000000"),
        keyOf("00 000000 000000000000 000000000000 0000 010203 000000"),
        keyOf("00 000000 000000000000 000000000000 0000 000000 0a0b0c"),
    };
    for (uint32_t n = 0; n < 8; n++) {
        setAll("rte_fcoe_hsh_msk_", 1u << n);
        PrcHshFcoe(&stat);
        expectKey(kept[n]);
    }
}

TEST_F(HashFcoe, EachValueHasItsOwnMask) {
    for (uint32_t own = 0; own < 8; own++) {
        setAll("rte_fcoe_hsh_msk_", 0xff);
        comFld(com, "rte_fcoe_hsh_msk_" + std::to_string(own)) = 0xfe;
        Key key = kFlow;
        key[0] = 0;
        PrcHshFcoe(&stat);
        for (uint32_t i = 0; i < 8; i++)
            expectKeyAt(i, i == own ? key : kFlow);
    }
}

TEST_F(HashFcoe, EmptyMasksLeaveTheCrcOfZeroBytes) {
    // The CRC-32 of 24 zero bytes is 0xa3c1ca20, bytes reversed 20 ca c1 a3.
    setAll("rte_fcoe_hsh_msk_", 0);
    PrcHshFcoe(&stat);
    for (uint32_t i = 0; i < 8; i++)
        EXPECT_EQ(stat.hshVal[i], i % 2 ? 0xc1a3u : 0x20cau) << i;
}

TEST_F(HashFcoe, CrcTakesAnyHalfThatTheShiftNames) {
    Key key = kFlow; // CRC bytes 5f 64 a5 23
    EXPECT_EQ(PrcHshFcoeCrc(key.data(), 0xff, 0, &stat), 0xa523u);
    EXPECT_EQ(PrcHshFcoeCrc(key.data(), 0xff, 16, &stat), 0x5f64u);
    EXPECT_EQ(PrcHshFcoeCrc(key.data(), 0xff, 32, &stat), 0u);
    EXPECT_EQ(PrcHshFcoeCrc(key.data(), 0xff, 64, &stat), 0xa523u);
    EXPECT_EQ(key, kFlow);
}

TEST_F(HashFcoe, KeyMasksAndValuesAreTraced) {
    setAll("rte_fcoe_hsh_msk_", 0x87); // port, VLAN, VFID and S_ID
    const std::string pairs = "CM key-mask: 15-1f 12-ff 34-ff 56-ff e-0 fc-0 0-0 1-0 2-0 3-0 e-0 fc-0 0-0 a-0 b-0 c-0 "
                              "be-0 ef-0 1-0 2-0 3-0 a-ff b-ff c-ff \n";
    // 15 123456, 17 zero bytes, 0a0b0c.
    const uint32_t crc = wireCrc(keyOf("15 123456 000000000000 000000000000 0000 000000 0a0b0c"));
    char half[2][8];
    std::snprintf(half[0], sizeof half[0], "0x%x", crc >> 16);
    std::snprintf(half[1], sizeof half[1], "0x%x", crc & 0xffff);
    std::string values = "CM port=0, frameIdx=0>> FCoE hash values: ";
    for (uint32_t i = 0; i < 8; i++)
        values += "hsh" + std::to_string(i) + "=" + half[i % 2] + (i < 7 ? ",  " : "\n");
    std::string all = "CM port=0, frameIdx=0>> FCoE hash key: l2Vid=0x123, l2Da=0xefc00010203, l2Sa=0xefc000a0b0c, "
                      "Oxid=0xbeef, Vfid=0x456, Did=0x10203, Sid=0xa0b0c\n";
    for (uint32_t i = 0; i < 8; i++)
        all += pairs;
    all += values;

    stat.dbgLvl = 4;
    EXPECT_EQ(printed([&] { PrcHshFcoe(&stat); }), all);
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { PrcHshFcoe(&stat); }), values);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcHshFcoe(&stat); }), "");
}

} // namespace
