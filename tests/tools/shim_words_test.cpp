// What a case expects of the shim, by field: it is held against the words that the program has put out.

#include "shim_words.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

static const std::string OUT = "Physical_TXport 12\n"
                               "Output_frame 002005dc-00156a93-046b0201-085c8123-00004024-054321f8-0233\n\n";

using Messages = std::vector<std::string>;

TEST(ShimWords, FieldsTileTheWords) {
    ShimWords words{};
    for (const ShimField &field : shimFields()) {
        EXPECT_EQ(field.of(words), 0u) << field.name;
        field.put(words, static_cast<uint32_t>((uint64_t{1} << field.width()) - 1));
    }
    for (const uint32_t word : words)
        EXPECT_EQ(word, 0xffffffff);
}

TEST(ShimWords, PutLeavesTheOtherBits) {
    ShimWords words;
    words.fill(0xffffffff);
    for (const ShimField &field : shimFields()) {
        if (field.name == "egid")
            field.put(words, 0x102);
    }
    EXPECT_EQ(words[1], 0xf902ffff);
}

TEST(ShimWords, OfAnOutput) {
    const ShimWords expected{0x002005dc, 0x00156a93, 0x046b0201, 0x085c8123, 0x00004024, 0x054321f8};
    EXPECT_EQ(shimOfOutput(OUT), expected);
    EXPECT_THROW(shimOfOutput("Output_frame Output_frame 0200"), std::runtime_error);
    EXPECT_THROW(shimOfOutput("DROP\n"), std::runtime_error);
}

TEST(ShimWords, ExpectationsThatHold) {
    EXPECT_EQ(shimDifferences("# none\n\n", OUT), Messages{});
    EXPECT_EQ(shimDifferences("shim.egid = 0x15\n  shim.dscp=46   # code point\nshim.vpn_id = 0x54321", OUT),
              Messages{});
}

TEST(ShimWords, ExpectationsThatDoNot) {
    EXPECT_EQ(shimDifferences("shim.egid = 0x15\nshim.egid = 0x16\nshim.dscp = 9", OUT),
              (Messages{"2: egid is 21 (0x15), not 0x16", "3: dscp is 46 (0x2e), not 9"}));
    EXPECT_EQ(shimDifferences("shim.egid = 21", "DROP\n"), Messages{"1: no frame with a shim was put out"});
}

TEST(ShimWords, WrongLines) {
    EXPECT_EQ(shimDifferences("egid = 1", OUT), Messages{"1: not of the form 'shim.<field> = <value>'"});
    EXPECT_EQ(shimDifferences("shim.egid 1", OUT), Messages{"1: not of the form 'shim.<field> = <value>'"});
    EXPECT_EQ(shimDifferences("shim.gid = 1", OUT), Messages{"1: the shim has no field 'gid'"});
    EXPECT_EQ(shimDifferences("shim.egid = x", OUT), Messages{"1: 'x' is no number of 11 bits"});
    EXPECT_EQ(shimDifferences("shim.egid = 0x800", OUT), Messages{"1: '0x800' is no number of 11 bits"});
}
