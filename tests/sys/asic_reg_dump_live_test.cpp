// Whole dumps of a live chip, and the comparison of two.

#include "asic_reg_dump.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "fake_chip.h"
#include "random_words.h"
#include "temp_dir.h"
#include "tsr_reg_dump.h"

namespace {

using Image = std::vector<uint8_t>;

void setWord(Image &image, uint32_t off, uint32_t value) {
    for (uint32_t i = 0; i < 4; ++i)
        image[off + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

Outcome compare(const Image &image1, const Image &image2) {
    return outcomeOf([&] {
        return regdump_compare_chips(CHIP_MAP, image1.data(), image2.data(), static_cast<uint32_t>(image1.size()));
    });
}

Image randomImage(size_t size, uint32_t seed) {
    RandomWords random(seed);
    Image image(size);
    for (uint8_t &byte : image)
        byte = static_cast<uint8_t>(random());
    return image;
}

} // namespace

// ------------------------------------------------------------------------------------------------ dump and unpack

TEST(RegdumpDumpChip, ReadsEachDumpedRowAtOnceIntoABigEndianImage) {
    FakeChip chip;
    chip.words = {{0x1000, 0x01020304}, {0x2004, 0x11}, {0x2844, 0x22}, {0x3000, 0x33}, {0x400c, 0x44}, {0x7000, 0x55}};
    Image expected(CHIP_SIZE, 0);
    setWord(expected, 0x0, 0x01020304);
    setWord(expected, 0x8, 0x11);
    setWord(expected, 0x20, 0x22);
    setWord(expected, 0x30, 0x44);
    setWord(expected, 0x54, 0x55);

    Image image(CHIP_SIZE, 0);
    const regdump_dump_optn_t options = {};
    EXPECT_EQ(
        outcomeOf([&] { return regdump_dump_chip(CHIP_MAP, image.data(), CHIP_SIZE, readChip, &chip, &options); }),
        (Outcome{0, ""}));
    EXPECT_EQ(image, expected);
    EXPECT_EQ(chip.reads, (Words{{0x1000, 1},
                                 {0x2000, 1},
                                 {0x2004, 1},
                                 {0x2040, 2},
                                 {0x2800, 1},
                                 {0x2840, 2},
                                 {0x4000, 6},
                                 {0x5000, 4},
                                 {0x6000, 2},
                                 {0x7000, 1}}));
}

TEST(RegdumpDumpChip, RefusesNoBufferAndABufferThatIsTooSmall) {
    FakeChip chip;
    Image image(CHIP_SIZE, 0);
    EXPECT_EQ(regdump_dump_chip(CHIP_MAP, nullptr, CHIP_SIZE, readChip, &chip, nullptr), -125);
    EXPECT_TRUE(chip.reads.empty());
    EXPECT_EQ(regdump_dump_chip(CHIP_MAP, image.data(), CHIP_SIZE - 1, readChip, &chip, nullptr), -30);
    EXPECT_EQ(chip.reads.size(), 9u); // all rows but the last
    // quad[1].cfg ends at 0x18: the absolute dump offset counts, not the row's own.
    chip.reads.clear();
    EXPECT_EQ(regdump_dump_chip(CHIP_MAP, image.data(), 0x17, readChip, &chip, nullptr), -30);
    EXPECT_EQ(chip.reads.size(), 4u);
}

TEST(RegdumpDumpChip, AFailedReadEndsTheDumpWithItsError) {
    FakeChip chip;
    chip.errors[0x2004] = -7;
    Image image(CHIP_SIZE, 0);
    EXPECT_EQ(regdump_dump_chip(CHIP_MAP, image.data(), CHIP_SIZE, readChip, &chip, nullptr), -7);
    EXPECT_EQ(chip.reads.size(), 3u);
}

TEST(RegdumpUnpackChip, SpreadsTheImageToTheChipsLayout) {
    Image image(CHIP_SIZE, 0);
    for (uint32_t off = 0; off < CHIP_SIZE; off += 4)
        setWord(image, off, 0xabc00000 + off);
    std::vector<uint32_t> chip(0x7004 / 4, 0x5555);
    EXPECT_EQ(outcomeOf([&] { return regdump_unpack_chip(CHIP_MAP, image.data(), CHIP_SIZE, 0, chip.data()); }),
              (Outcome{0, ""}));
    std::vector<uint32_t> expected(0x7004 / 4, 0x5555);
    for (const auto &[asic_off, dump_off] :
         Words{{0x1000, 0x0},  {0x2000, 0x4},  {0x2004, 0x8},  {0x2040, 0xc},  {0x2044, 0x10}, {0x2800, 0x14},
               {0x2840, 0x1c}, {0x2844, 0x20}, {0x4000, 0x24}, {0x4004, 0x28}, {0x4008, 0x2c}, {0x400c, 0x30},
               {0x4010, 0x34}, {0x4014, 0x38}, {0x5000, 0x3c}, {0x5004, 0x40}, {0x5008, 0x44}, {0x500c, 0x48},
               {0x6000, 0x4c}, {0x6004, 0x50}, {0x7000, 0x54}})
        expected[asic_off / 4] = 0xabc00000 + dump_off;
    EXPECT_EQ(chip, expected);
}

TEST(RegdumpUnpackChip, RefusesMissingBuffersAndAnImageThatIsTooSmall) {
    const Image image(CHIP_SIZE, 0);
    std::vector<uint32_t> chip(0x7004 / 4);
    EXPECT_EQ(regdump_unpack_chip(CHIP_MAP, nullptr, CHIP_SIZE, 0, chip.data()), -125);
    EXPECT_EQ(regdump_unpack_chip(CHIP_MAP, image.data(), CHIP_SIZE, 0, nullptr), -125);
    EXPECT_EQ(outcomeOf([&] { return regdump_unpack_chip(CHIP_MAP, image.data(), 0x3b, 0, chip.data()); }),
              (Outcome{-30, "name grid offset 0x24 dmpsize 0x18 srcsize 0x3b\n"}));
    EXPECT_EQ(outcomeOf([&] { return regdump_unpack_chip(CHIP_MAP, image.data(), 0x3c, 0, chip.data()); }),
              (Outcome{-30, "name fake_tcam offset 0x3c dmpsize 0x10 srcsize 0x3c\n"}));
}

TEST(RegdumpUnpackChip, DumpingWhatWasUnpackedGivesTheImageBack) {
    Image image = randomImage(TSR_DUMP_SIZE, 1);
    const uint32_t hmc_off = offsetof(tsr_dmp_t, ephy_reg) + offsetof(tsr_ephy_dmp_t, hmc_cfg);
    for (uint32_t port = 8; port < 12; ++port) // room that no row claims
        std::memset(&image[hmc_off + port * sizeof(tsr_ephy_dmp_t)], 0, 76);
    std::vector<uint32_t> chip(0x5580000 / 4);
    ASSERT_EQ(regdump_unpack_chip(tsr_dmp_map, image.data(), TSR_DUMP_SIZE, 0, chip.data()), 0);
    const auto readUnpacked = [](void *contextp, uint32_t offset, uint32_t *dst, uint32_t num_words) {
        std::memcpy(dst, static_cast<uint32_t *>(contextp) + offset / 4, size_t{num_words} * 4);
        return 0;
    };
    Image again(TSR_DUMP_SIZE, 0);
    ASSERT_EQ(regdump_dump_chip(tsr_dmp_map, again.data(), TSR_DUMP_SIZE, readUnpacked, chip.data(), nullptr), 0);
    EXPECT_TRUE(again == image);
}

// ------------------------------------------------------------------------------------------------------ comparison

TEST(RegdumpCompare, ShowsEachDumpedWordThatDiffers) {
    Image image1(CHIP_SIZE, 0);
    Image image2(CHIP_SIZE, 0);
    EXPECT_EQ(compare(image1, image2), (Outcome{0, ""}));
    setWord(image1, 0x0, 0x01020304);
    setWord(image2, 0x10, 0xffffffff);
    setWord(image2, HOLE, 1); // no row stands there
    setWord(image1, 0x20, 0x80);
    setWord(image2, 0x20, 0x8000);
    setWord(image2, 0x38, 1);
    setWord(image1, 0x48, 2);
    setWord(image1, 0x4c, 7); // the same in both
    setWord(image2, 0x4c, 7);
    setWord(image1, 0x54, 3);
    EXPECT_EQ(compare(image1, image2), (Outcome{6, "0x00001000:  0x01020304  0x00000000  first\n"
                                                   "0x00002044:  0x00000000  0xffffffff  quad[0].inner.deep[1]\n"
                                                   "0x00002844:  0x00000080  0x00008000  quad[1].inner.deep[1]\n"
                                                   "0x00004014:  0x00000000  0x00000001  grid[1][2]\n"
                                                   "0x0000500c:  0x00000002  0x00000000  fake_tcam[1].w1\n"
                                                   "0x00007000:  0x00000003  0x00000000  lone_tcam\n"}));
}

TEST(RegdumpCompare, FindsEveryWordOfALongRow) {
    const regdump_map_t map[] = {{"big", nullptr, 0x1000, 0, 4, 4, {3000}, 0, 0}, {}};
    const Image image1(12000, 0);
    for (uint32_t word = 0; word < 3000; ++word) {
        Image image2(12000, 0);
        image2[4 * word + word % 4] = 1;
        char expected[64];
        std::snprintf(expected, sizeof(expected), "0x%08x:  0x00000000  0x%08x  big[%u]\n", 0x1000 + 4 * word,
                      0x01000000u >> (8 * (word % 4)), word);
        ASSERT_EQ(outcomeOf([&] { return regdump_compare_chips(map, image1.data(), image2.data(), 12000); }),
                  (Outcome{1, expected}));
    }
}

TEST(RegdumpCompare, RefusesMissingAndShortImages) {
    const Image image(CHIP_SIZE, 0);
    Image other(CHIP_SIZE, 0);
    setWord(other, 0, 1);
    EXPECT_EQ(regdump_compare_chips(CHIP_MAP, nullptr, image.data(), CHIP_SIZE), -125);
    EXPECT_EQ(regdump_compare_chips(CHIP_MAP, image.data(), nullptr, CHIP_SIZE), -125);
    EXPECT_EQ(outcomeOf([&] { return regdump_compare_chips(CHIP_MAP, image.data(), other.data(), CHIP_SIZE - 1); }),
              (Outcome{-30, "0x00001000:  0x00000000  0x00000001  first\n"}));
}

TEST(RegdumpCapture, ListsWhatMustBePoked) {
    const TempDir temp;
    const std::string file = temp.path("updates");
    Image image1(CHIP_SIZE, 0);
    Image image2(CHIP_SIZE, 0);
    const auto capture = [&] {
        EXPECT_EQ(outcomeOf([&] {
                      return regdump_compare_capture_updates(CHIP_MAP, image1.data(), image2.data(), CHIP_SIZE,
                                                             file.c_str());
                  }),
                  (Outcome{0, ""}));
        return readFile(file);
    };
    // Equal images: the zero words of the TCAMs, but not of the one without a subscript.
    const std::string zeroes = "0x00005000 0x00000000\n0x00005004 0x00000000\n0x00005008 0x00000000\n"
                               "0x0000500c 0x00000000\n0x00006000 0x00000000\n0x00006004 0x00000000\n";
    EXPECT_EQ(capture(), zeroes);
    // A TCAM's words that are equal and not 0 are left out.
    setWord(image1, 0x40, 5);
    setWord(image2, 0x40, 5);
    setWord(image1, 0x50, 6);
    setWord(image2, 0x50, 6);
    setWord(image2, 0x44, 0xabcdef01);
    setWord(image1, 0x48, 7);
    setWord(image1, 0x20, 8);
    setWord(image2, 0x28, 9);
    setWord(image2, HOLE, 1);
    EXPECT_EQ(capture(), "0x00002844 0x00000000\n0x00004004 0x00000009\n0x00005000 0x00000000\n"
                         "0x00005008 0xabcdef01\n0x0000500c 0x00000000\n0x00006000 0x00000000\n");
}

TEST(RegdumpCapture, RefusesMissingAndShortImagesAndFilesThatCannotBeWritten) {
    const TempDir temp;
    const std::string file = temp.path("updates");
    const Image image(CHIP_SIZE, 0);
    EXPECT_EQ(regdump_compare_capture_updates(CHIP_MAP, nullptr, image.data(), CHIP_SIZE, file.c_str()), -125);
    EXPECT_EQ(regdump_compare_capture_updates(CHIP_MAP, image.data(), nullptr, CHIP_SIZE, file.c_str()), -125);
    EXPECT_EQ(temp.numFiles(), 0u);
    EXPECT_EQ(regdump_compare_capture_updates(CHIP_MAP, image.data(), image.data(), CHIP_SIZE - 1, file.c_str()), -30);
    const std::string no_folder = temp.path("none/updates");
    EXPECT_EQ(outcomeOf([&] {
                  return regdump_compare_capture_updates(CHIP_MAP, image.data(), image.data(), CHIP_SIZE,
                                                         no_folder.c_str());
              }),
              (Outcome{-125, "File open failed:" + no_folder + "\n"}));
    EXPECT_EQ(regdump_compare_capture_updates(CHIP_MAP, image.data(), image.data(), CHIP_SIZE, "/dev/full"), -30);
}

// ---------------------------------------------------------------------------------------------------- odds and ends

TEST(RegdumpPrintSuccess, TellsWhereTheDumpLies) {
    EXPECT_EQ(outcomeOf([] {
                  regdump_print_success(nullptr, reinterpret_cast<const void *>(uintptr_t{0x1234}), 0xabc);
                  return 0;
              }).out,
              "kernel addr: 0x0x1234 size: 0xabc\n");
}

TEST(RegdumpScanners, ReturnZeroAndLeaveTheirArgumentsAlone) {
    char word[] = "word";
    char *argv[] = {word, nullptr};
    regdump_show_recipe_t r;
    regdump_range_optn_t options;
    regdump_audit_optn_t audit_options;
    std::memset(&r, 1, sizeof(r));
    std::memset(&options, 1, sizeof(options));
    std::memset(&audit_options, 1, sizeof(audit_options));
    const auto bytes = [](const auto &record) {
        return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
    };
    EXPECT_EQ(outcomeOf([&] { return regdump_scan_peek_recipe(1, argv, &r); }), (Outcome{0, ""}));
    EXPECT_EQ(outcomeOf([&] { return regdump_scan_recipe(1, argv, &r); }), (Outcome{0, ""}));
    EXPECT_EQ(outcomeOf([&] { return regdump_scan_poke_options(1, argv, &options); }), (Outcome{0, ""}));
    EXPECT_EQ(outcomeOf([&] { return regdump_scan_audit_optn(1, argv, &audit_options); }), (Outcome{0, ""}));
    EXPECT_EQ(bytes(r), std::string(sizeof(r), '\1'));
    EXPECT_EQ(bytes(options), std::string(sizeof(options), '\1'));
    EXPECT_EQ(bytes(audit_options), std::string(sizeof(audit_options), '\1'));
    EXPECT_STREQ(word, "word");
    EXPECT_EQ(argv[0], word);
}
