// Words of a dump, byte by byte.

#include "be_word.h"

#include <gtest/gtest.h>

namespace {

TEST(BeWord, TheFirstByteIsTheHighestAtAnyPlace) {
    const uint8_t image[] = {0xff, 0x12, 0x34, 0x56, 0x78, 0x9a};
    EXPECT_EQ(imageWord(image, 1), 0x12345678u);
    EXPECT_EQ(imageWord(image, 2), 0x3456789au);
    uint32_t aligned;
    std::memcpy(&aligned, image + 1, sizeof aligned);
    EXPECT_EQ(hostWord(aligned), 0x12345678u);
}

TEST(BeWord, StoresItsFourBytesAlone) {
    uint8_t image[6] = {1, 2, 3, 4, 5, 6};
    setImageWord(image, 1, 0xa1b2c3d4);
    const uint8_t expected[6] = {1, 0xa1, 0xb2, 0xc3, 0xd4, 6};
    EXPECT_EQ(std::memcmp(image, expected, sizeof image), 0);
}

TEST(BeWord, TheWayBackIsTheSame) {
    for (uint32_t word : {0u, 0x80u, 0x01020304u, 0xfffefdfcu})
        EXPECT_EQ(hostWord(hostWord(word)), word);
}

} // namespace
