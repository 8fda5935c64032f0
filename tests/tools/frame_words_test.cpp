// Frames in words: each layer against bytes that are written down here, and the messages about wrong words.

#include "frame_words.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

static const std::string ETH = "eth 02:00:00:00:00:fe < 02:00:00:00:00:a1 ";
static const std::string MACS = "0200000000fe0200000000a1";

static std::string frame(const std::string &text) {
    return hexDigits(frameOfWords(text));
}

/// `digits` without its blanks.
static std::string packed(std::string digits) {
    std::erase(digits, ' ');
    return digits;
}

static std::string error(const std::string &text) {
    try {
        frameOfWords(text);
    } catch (const std::runtime_error &caught) {
        return caught.what();
    }
    return "no error";
}

TEST(FrameWords, Bytes) {
    EXPECT_EQ(frame("bytes 00..0f"), "000102030405060708090a0b0c0d0e0f");
    EXPECT_EQ(frame("bytes fe..ff cc*3 0102aB 07..07 00*0"), "feffcccccc0102ab07");
    EXPECT_EQ(frame("bytes 01 | bytes 02"), "0102");
}

TEST(FrameWords, CommentsAndLines) {
    EXPECT_EQ(frame("# two layers\nbytes 01 # the first\n\n|bytes 02|\n  bytes 03 #|"), "010203");
}

TEST(FrameWords, Ethernet) {
    EXPECT_EQ(frame(ETH + "type 0x9000 | bytes 0001"), MACS + "90000001");
    EXPECT_EQ(frame("eth 02:00:00:00:00:a1 > 02:00:00:00:00:fe type 0x9000"), MACS + "9000");
}

TEST(FrameWords, Tags) {
    EXPECT_EQ(frame(ETH + "| ctag vid 0x20 pri 5 type 0x9000"), MACS + "8100a0209000");
    EXPECT_EQ(frame(ETH + "| vlan vid 0xfff dei type 0x9000"), MACS + "81001fff9000");
    EXPECT_EQ(frame(ETH + "| stag vid 5 pri 6 | ctag vid 4095 type 0x9000"), MACS + "88a8c00581000fff9000");
    EXPECT_EQ(frame(ETH + "| stag tpid 0x9100 vid 1 type 0x9000"), MACS + "910000019000");
    EXPECT_EQ(frame(ETH + "| cn flow 0x1234 type 0x9000"), MACS + "22e912349000");
    EXPECT_EQ(frame(ETH + "| cn tpid 0x22e8 flow 0x1234 type 0x9000"), MACS + "22e812349000");
}

TEST(FrameWords, LlcAndSnap) {
    EXPECT_EQ(frame(ETH + "| llc dsap 0x42 ssap 0x42 | bytes 00*5"), packed(MACS + "0008 424203 0000000000"));
    EXPECT_EQ(frame(ETH + "| snap type 0x9000 | bytes 0001"), packed(MACS + "000a aaaa03 000000 9000 0001"));
    EXPECT_EQ(frame(ETH + "len 1500 | snap oui 0x00000c type 1"), packed(MACS + "05dc aaaa03 00000c 0001"));
    EXPECT_EQ(frame(ETH + "| ctag vid 1 | llc ctl 0xf3"), packed(MACS + "8100 0001 0003 0000f3"));
}

TEST(FrameWords, Ipv4) {
    const std::string behind = " | bytes 00..0f";
    // RFC 1071 by hand: 45b9 + 0024 + 4000 + 40fe + 0a00 + 0005 + 0a00 + 0109 = dbe9, whose complement is 2416.
    EXPECT_EQ(frame(ETH + "| ipv4 10.0.0.5 > 10.0.1.9 dscp 46 ecn 1 df" + behind),
              packed(MACS + "0800 45b90024 00004000 40fe2416 0a000005 0a000109 000102030405060708090a0b0c0d0e0f"));
    EXPECT_EQ(frame("ipv4 10.0.1.9 < 10.0.0.5 ttl 1 proto 89 id 0x1234 mf frag 5 sum 0xabcd"),
              packed("45000014 12342005 0159abcd 0a000005 0a000109"));
    // 4600 + 0018 + 4006 + 0101 + 0202 + 0303 + 0404 + 9404 = 1242c, with the carry 242d, whose complement is dbd2.
    EXPECT_EQ(frame("ipv4 1.1.2.2 > 3.3.4.4 proto 6 options 94040000"),
              packed("46000018 00000000 4006dbd2 01010202 03030404 94040000"));
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 ver 5 ihl 4 len 9 proto 0 ttl 0 sum 0"),
              packed("54000009 00000000 00000000 00000000 00000000"));
}

TEST(FrameWords, Ipv6) {
    EXPECT_EQ(frame(ETH + "| ipv6 2001:db8::aa > 2001:db8::9 dscp 46 ecn 1 flow 0x54321 hop 63 next 1 | bytes 0001"),
              packed(MACS + "86dd 6b954321 0002013f 20010db80000000000000000000000aa" +
                     "20010db8000000000000000000000009 0001"));
    EXPECT_EQ(frame("ipv6 ::1 < ::2 ver 4 len 7"),
              packed("40000000 0007fe40 00000000000000000000000000000002 00000000000000000000000000000001"));
}

TEST(FrameWords, Ipv6Extensions) {
    const std::string zeroes(64, '0');
    EXPECT_EQ(
        frame("ipv6 :: > :: | hopopts | routing data 00*7 | dstopts data 0104 next 59 len 3"),
        packed("60000000 00200040" + zeroes + "2b00000000000000" + "3c01" + std::string(28, '0') + "3b03010400000000"));
    EXPECT_EQ(frame("hopopts data 010400000000 next 59"), "3b00010400000000");
    EXPECT_EQ(frame("ipv6 :: > :: | fragment frag 2 more id 0x11223344 | udp 1 > 2"),
              packed("60000000 00102c40" + zeroes + "11000011 11223344 0001000200080000"));
}

TEST(FrameWords, UpperLayers) {
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 sum 0 | tcp 0xc000 > 23 syn ack seq 1 ackno 2 win 3 sum 4"),
              packed("45000028 00000000 40060000 00000000 00000000 c0000017 00000001 00000002 50120003 00040000"));
    EXPECT_EQ(frame("tcp 1 > 2 fin rst psh urg"), packed("00010002 00000000 00000000 502d0000 00000000"));
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 sum 0 | udp 53 > 54 sum 9 | bytes 0102"),
              packed("4500001e 00000000 40110000 00000000 00000000 00350036 000a0009 0102"));
    EXPECT_EQ(frame("udp 53 > 54 len 7"), "0035003600070000");
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 sum 0 | icmp type 8 code 1 rest 0x10002"),
              packed("4500001c 00000000 40010000 00000000 00000000 08010000 00010002"));
    EXPECT_EQ(frame("ipv6 :: > :: | icmpv6 type 135 sum 0x1234").substr(8, 8), "00083a40");
    EXPECT_EQ(frame("icmpv6 type 135 sum 0x1234"), "8700123400000000");
}

TEST(FrameWords, Pim) {
    // The checksum of 2100 is deff, and with the border flag that of 2100 + 8000.
    EXPECT_EQ(frame("pim"), "2100deff00000000");
    EXPECT_EQ(frame("pim border"), "21005eff80000000");
    EXPECT_EQ(frame("pim type 3 ver 1 null sum 0"), "1300000040000000");
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 sum 0 | pim | ipv4 0.0.0.0 > 0.0.0.0 sum 0").substr(16, 8), "40670000");
    EXPECT_EQ(frame("ipv4 0.0.0.0 > 0.0.0.0 sum 0 | ipv4 0.0.0.0 > 0.0.0.0").substr(18, 2), "04");
    EXPECT_EQ(frame("ipv6 :: > :: | ipv6 :: > ::").substr(12, 2), "29");
}

TEST(FrameWords, FibreChannel) {
    EXPECT_EQ(
        frame(ETH + "| fcoe | fc 04.05.06 > 01.02.03 ox_id 0x1234"),
        packed(MACS + "8906 00000000000000000000000000 2e 06010203 00040506 08000000 00000000 1234ffff 00000000"));
    EXPECT_EQ(frame("fcoe ver 1 sof 0x28 | vsan vfid 0x64 pri 5 hop 64"),
              packed("10 000000000000000000000000 28 5000a0c8 40000000"));
    EXPECT_EQ(
        frame(
            "fc 01.02.03 < 04.05.06 r_ctl 0x22 cs_ctl 1 type 0x20 f_ctl 2 seq_id 3 df_ctl 4 seq_cnt 5 rx_id 6 param 7"),
        packed("22010203 01040506 20000002 03040005 00000006 00000007"));
}

TEST(FrameWords, Trill) {
    EXPECT_EQ(frame(ETH + "| trill 0x0c03 > 0x0c02 hop 10 | " + ETH + "type 0x9000"),
              packed(MACS + "22f3 000a 0c02 0c03" + MACS + "9000"));
    EXPECT_EQ(frame("trill 1 > 2 hop 10 mc ver 1 options 40000000000186000000abcd"),
              packed("48ca 0002 0001 400000000001 86000000abcd"));
    EXPECT_EQ(frame("trill 1 > 2 optlen 31"), packed("07c0 0002 0001"));
}

TEST(FrameWords, Shim) {
    EXPECT_EQ(frame("shim routed 6 egid 0x103 ing_port 20 ing_ivid_8_0 0x10 egr_ivid 0x10 | bytes 01"),
              packed("00600000 01030000 05000000 08000010 00000000 00000000 01"));
    EXPECT_EQ(frame("shim ing_ivid_12_9 15 version 15 w2_16_0 0x1ffff ing_ivid_8_0 0x1ff w4_13_0 0x3fff w5_7_0 255"),
              packed("f0000000 0000000f 0001ffff ff800000 00003fff 000000ff"));
}

TEST(FrameWords, ErrorsNameThePlace) {
    EXPECT_EQ(error(""), "1:1: no layer");
    EXPECT_EQ(error("| bytes 01"), "1:1: no layer stands in front of '|'");
    EXPECT_EQ(error("bytes 01 | | bytes"), "1:12: no layer stands in front of '|'");
    EXPECT_EQ(error("bytes 01\n  |"), "2:3: no layer stands behind '|'");
    EXPECT_EQ(error("bytes 01 |\n ip4 1.2.3.4"), "2:2: there is no layer 'ip4'");
    EXPECT_EQ(error("bytes 0"), "1:7: '0' is not of pairs of hexadecimal digits");
    EXPECT_EQ(error("bytes 0g"), "1:7: '0g' is not of pairs of hexadecimal digits");
    EXPECT_EQ(error("bytes 05..04"), "1:7: '05..04' is no range of bytes");
    EXPECT_EQ(error("bytes 0001..02"), "1:7: '0001..02' is no range of bytes");
    EXPECT_EQ(error("bytes 00*x"), "1:7: '00*x' is no byte and a number of times");
    EXPECT_EQ(error("eth"), "1:1: 'eth' ends where an address is wanted");
    EXPECT_EQ(error("eth 02:00"), "1:5: '02:00' is no address of 'eth'");
    EXPECT_EQ(error("ipv4 1.2.3.4 - 1.2.3.4"), "1:14: '-' stands where '<' or '>' is wanted");
    EXPECT_EQ(error(ETH + "| bytes 01"), "1:1: 'eth' needs a 'type': what follows has none of its own");
    EXPECT_EQ(error("udp 1 > 2 ttl 5"), "1:11: 'ttl' is no word of 'udp', or stands twice");
    EXPECT_EQ(error("udp 1 > 2 len 5 len 6"), "1:17: 'len' is no word of 'udp', or stands twice");
    EXPECT_EQ(error("udp 1 > 2 len"), "1:11: 'len' has no value");
    EXPECT_EQ(error("udp 1 > 2 len x"), "1:15: 'x' is no number");
    EXPECT_EQ(error("udp 1 > 2 len 65536"), "1:15: '65536' has more than 16 bits");
    EXPECT_EQ(error("udp 1 > 2 | bytes 00*65528"), "1:1: 'len' would have more than 16 bits");
    EXPECT_EQ(error("ipv4 0.0.0.0 > 0.0.0.0 options 010203"), "1:32: the bytes of 'options' are no multiple of 4");
    EXPECT_EQ(error("ipv4 0.0.0.0 > 0.0.0.0 options 00*44"), "1:1: 'ihl' would have more than 4 bits");
}

// The page that cases are written by: its table has every layer, and its example is a frame.
TEST(FrameWords, ThePageHasEveryLayer) {
    std::istringstream page(readFile(TSR_SOURCE_DIR "/tests/golden/README.md"));
    static const std::regex NAME("`(\\w+)`");
    std::set<std::string> listed;
    size_t numExamples = 0;
    for (std::string line; std::getline(page, line) && line != "## Fields of the shim";) {
        if (line.starts_with("| `")) {
            const std::string names = line.substr(0, line.find('|', 1));
            for (auto name = std::sregex_iterator(names.begin(), names.end(), NAME); name != std::sregex_iterator();
                 ++name)
                listed.insert((*name)[1]);
        }
        if (line.starts_with("    eth")) {
            EXPECT_EQ(frameOfWords(line).size(), 14u + 20 + 16);
            numExamples++;
        }
        if (line == "## Frames in words")
            listed.clear();
    }
    const std::vector<std::string> layers = frameLayers();
    EXPECT_EQ(listed, std::set<std::string>(layers.begin(), layers.end()));
    EXPECT_EQ(numExamples, 1u);
}
