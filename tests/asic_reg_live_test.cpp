#include "asic_reg_dump.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "asic_err.h"
#include "temp_dir.h"
#include "tsr_reg_dump.h"

namespace {

// A small chip: scalars, an array, a group of two with a group inside and a row that its second instance lacks, a row
// that is not dumped, and three kinds of TCAM.
const regdump_map_t INNER_MAP[] = {
    {"deep", nullptr, 0x0, 0x0, 4, 4, {2}, 0, 0},
    {},
};
const regdump_map_t QUAD_MAP[] = {
    {"cfg", nullptr, 0x0, 0x0, 4, 4, {1}, 0, 0},
    {"limited", nullptr, 0x4, 0x4, 4, 4, {1}, 1, 0},
    {"inner", INNER_MAP, 0x40, 0x8, 0x100, 0x8, {1}, 0, 0},
    {},
};
const regdump_map_t CHIP_MAP[] = {
    {"first", nullptr, 0x1000, 0x0, 4, 4, {1}, 0, 0},
    {"quad", QUAD_MAP, 0x2000, 0x4, 0x800, 0x10, {2}, 0, 0},
    {"secret", nullptr, 0x3000, 0x0, 4, 4, {2}, 0, REGDUMP_FLAGS_NO_DUMP},
    {"grid", nullptr, 0x4000, 0x24, 4, 4, {2, 3}, 0, 0},
    {"fake_tcam", nullptr, 0x5000, 0x3c, 8, 8, {2}, 0, 0},
    {"fake_tcam_key", nullptr, 0x6000, 0x4c, 4, 4, {2}, 0, 0},
    {"lone_tcam", nullptr, 0x7000, 0x54, 4, 4, {1}, 0, 0},
    {},
};
constexpr uint32_t CHIP_SIZE = 0x58;
constexpr uint32_t HOLE = 0x18; // where quad[1].limited would be

const std::string DASHES_51 = "---------------------------------------------------\n";
const std::string DASHES_61 = "-------------------------------------------------------------\n";
const std::string SHOW_HEAD = "ASIC offset  Data        Register\n" + DASHES_51;
const std::string WRITE_HEAD = "ASIC offset  Old Data  -> New Data       Register\n" + DASHES_51;
const std::string AUDIT_HEAD = "ASIC offset  ASIC Data   Shad Data   Register\n" + DASHES_61;
const std::string AUDIT_LONG_HEAD = "ASIC offset  ASIC Data   Shad Data   Register (Shadow offset)\n" + DASHES_61;

using Words = std::vector<std::pair<uint32_t, uint32_t>>;

/// A chip whose words are 0 until they are set. Accesses are recorded.
struct FakeChip {
    std::map<uint32_t, uint32_t> words;
    std::map<uint32_t, int> errors;                      ///< accesses that fail, by offset
    Words reads;                                         ///< offset and number of words
    Words writes;                                        ///< offset and value
    std::map<uint32_t, std::vector<uint32_t>> shadows;   ///< a row's shadow, by chip offset
    const regdump_range_optn_t *write_options = nullptr; ///< what the last write was given
};

int readChip(void *contextp, uint32_t offset, uint32_t *dst, uint32_t num_words) {
    FakeChip *chip = static_cast<FakeChip *>(contextp);
    chip->reads.emplace_back(offset, num_words);
    if (chip->errors.count(offset) != 0)
        return chip->errors[offset];
    for (uint32_t i = 0; i < num_words; ++i)
        dst[i] = chip->words[offset + 4 * i];
    return 0;
}

int writeChip(void *contextp, uint32_t offset, const uint32_t *src, uint32_t num_words,
              const regdump_range_optn_t *optionsp) {
    FakeChip *chip = static_cast<FakeChip *>(contextp);
    EXPECT_EQ(num_words, 1u);
    chip->write_options = optionsp;
    if (chip->errors.count(offset) != 0)
        return chip->errors[offset];
    chip->writes.emplace_back(offset, *src);
    chip->words[offset] = *src;
    return 0;
}

/// A row's shadow stands 0x100 above the row.
int readShadow(void *contextp, uint32_t offset, const uint32_t **shadpp) {
    FakeChip *chip = static_cast<FakeChip *>(contextp);
    const auto shadow = chip->shadows.find(offset);
    if (shadow == chip->shadows.end())
        return -1;
    *shadpp = shadow->second.data();
    return static_cast<int>(offset + 0x100);
}

/// A result and what was printed.
struct Outcome {
    int rval;
    std::string out;
};
bool operator==(const Outcome &a, const Outcome &b) {
    return a.rval == b.rval && a.out == b.out;
}
void PrintTo(const Outcome &outcome, std::ostream *os) {
    *os << outcome.rval << "\n" << outcome.out;
}

template <typename Job> Outcome outcomeOf(Job job) {
    testing::internal::CaptureStdout();
    const int rval = job();
    return {rval, testing::internal::GetCapturedStdout()};
}

Outcome show(FakeChip &chip, const char *pattern, int max_hits, const regdump_show_recipe_t *recipep = nullptr,
             const regdump_map_t *map = CHIP_MAP) {
    return outcomeOf([&] { return regdump_show_chip(map, nullptr, pattern, max_hits, readChip, &chip, recipep); });
}

Outcome writeRange(FakeChip &chip, const char *pattern, uint32_t value, int max_hits,
                   const regdump_range_optn_t *optionsp, const regdump_map_t *map = CHIP_MAP) {
    return outcomeOf([&] {
        return regdump_write_chip_range(map, nullptr, pattern, value, max_hits, readChip, writeChip, &chip, optionsp);
    });
}

int DBG_HANDLE;

Outcome audit(FakeChip &chip, const char *pattern, const regdump_audit_optn_t *optionsp,
              const regdump_map_t *map = CHIP_MAP, void *dbgp = &DBG_HANDLE) {
    return outcomeOf([&] { return regdump_audit_shadow(map, dbgp, pattern, readChip, readShadow, &chip, optionsp); });
}

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
    std::mt19937 random(seed);
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

// ---------------------------------------------------------------------------------------------------------- filter

namespace {

regdump_show_recipe_t recipe(regdump_recipe_type_t type, uint32_t num_entries) {
    regdump_show_recipe_t result = {};
    result.type = type;
    result.num_entries = num_entries;
    return result;
}

/// Whether the word number `word` of a row with these words passes.
bool passes(const regdump_show_recipe_t *recipep, std::vector<uint32_t> row, uint32_t word, bool is_started = false) {
    FakeChip chip;
    for (uint32_t i = 0; i < row.size(); ++i)
        chip.words[0x80 + 4 * i] = row[i];
    const regdump_row_t words = {readChip, &chip, 0x80, static_cast<uint32_t>(row.size())};
    bool pass = !is_started;
    uint32_t value = 0;
    EXPECT_EQ(regdump_check_recipe(recipep, is_started, &words, word, &pass, &value), 0);
    EXPECT_EQ(value, row[word]);
    return pass;
}

bool passes(const regdump_show_recipe_t &r, uint32_t value) {
    return passes(&r, {value}, 0);
}

} // namespace

TEST(RegdumpRecipe, TypesHaveTheirNumbers) {
    EXPECT_EQ(REGDUMP_RECIPE_NONE, 0u);
    EXPECT_EQ(REGDUMP_RECIPE_SKIP, 1u);
    EXPECT_EQ(REGDUMP_RECIPE_ONLY, 2u);
    EXPECT_EQ(REGDUMP_RECIPE_SKIP_MASK, 3u);
    EXPECT_EQ(REGDUMP_RECIPE_ONLY_MASK, 4u);
    EXPECT_EQ(REGDUMP_RECIPE_SKIP_RANGE, 5u);
    EXPECT_EQ(REGDUMP_RECIPE_ONLY_RANGE, 6u);
    EXPECT_EQ(REGDUMP_RECIPE_MATCH_ANY, 7u);
    EXPECT_EQ(REGDUMP_RECIPE_MATCH_ALL, 8u);
}

TEST(RegdumpRecipe, NoRecipeAndNonePassEveryWord) {
    EXPECT_TRUE(passes(nullptr, {0}, 0));
    EXPECT_TRUE(passes(nullptr, {1, 0xffffffff}, 1));
    const regdump_show_recipe_t none = recipe(REGDUMP_RECIPE_NONE, 9);
    EXPECT_TRUE(passes(none, 0));
    EXPECT_TRUE(passes(none, 0xffffffff));
}

TEST(RegdumpRecipe, OnceStartedEveryWordPasses) {
    const regdump_show_recipe_t only = recipe(REGDUMP_RECIPE_ONLY, 0);
    EXPECT_FALSE(passes(&only, {5}, 0, false));
    EXPECT_TRUE(passes(&only, {5}, 0, true));
}

TEST(RegdumpRecipe, SkipAndOnlyTakeUpToNineValues) {
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_SKIP, 9);
    for (uint32_t i = 0; i < 9; ++i)
        r.data.value[i] = 10 + i;
    EXPECT_TRUE(passes(r, 9));
    EXPECT_FALSE(passes(r, 10));
    EXPECT_FALSE(passes(r, 18));
    EXPECT_TRUE(passes(r, 19));
    r.num_entries = 8; // the ninth value is not in use
    EXPECT_TRUE(passes(r, 18));
    r.num_entries = 1000; // no more than the table holds
    EXPECT_FALSE(passes(r, 18));
    EXPECT_TRUE(passes(r, 19));

    r.type = REGDUMP_RECIPE_ONLY;
    EXPECT_FALSE(passes(r, 9));
    EXPECT_TRUE(passes(r, 10));
    EXPECT_TRUE(passes(r, 18));
    EXPECT_FALSE(passes(r, 19));
    r.num_entries = 8;
    EXPECT_FALSE(passes(r, 18));
    r.num_entries = 0;
    EXPECT_FALSE(passes(r, 10));
}

TEST(RegdumpRecipe, MasksTakeUpToFourEntries) {
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_SKIP_MASK, 4);
    const regdump_mask_t entries[4] = {{0xff, 0x12}, {0xff00, 0x3400}, {0, 1}, {0x80000000, 0x80000000}};
    std::copy(entries, entries + 4, r.data.mask_str);
    EXPECT_FALSE(passes(r, 0x7712)); // first entry
    EXPECT_FALSE(passes(r, 0x3477)); // second entry
    EXPECT_FALSE(passes(r, 0x80000000));
    EXPECT_TRUE(passes(r, 0x00007713)); // the third never holds: a value outside its mask
    r.num_entries = 3;
    EXPECT_TRUE(passes(r, 0x80000000));
    r.num_entries = 77;
    EXPECT_FALSE(passes(r, 0x80000000));

    r.type = REGDUMP_RECIPE_ONLY_MASK;
    EXPECT_TRUE(passes(r, 0x7712));
    EXPECT_TRUE(passes(r, 0x3477));
    EXPECT_TRUE(passes(r, 0x80000000));
    EXPECT_FALSE(passes(r, 0x7713));
    r.num_entries = 3;
    EXPECT_FALSE(passes(r, 0x80000000));
}

TEST(RegdumpRecipe, RangesHoldBothTheirEnds) {
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_SKIP_RANGE, 4);
    const regdump_range_t entries[4] = {{10, 20}, {30, 30}, {50, 40}, {0xfffffff0, 0xffffffff}};
    std::copy(entries, entries + 4, r.data.range);
    for (const uint32_t inside : {10u, 15u, 20u, 30u, 0xfffffff0u, 0xffffffffu}) {
        r.type = REGDUMP_RECIPE_SKIP_RANGE;
        EXPECT_FALSE(passes(r, inside)) << inside;
        r.type = REGDUMP_RECIPE_ONLY_RANGE;
        EXPECT_TRUE(passes(r, inside)) << inside;
    }
    for (const uint32_t outside : {9u, 21u, 29u, 31u, 40u, 45u, 50u, 0xffffffefu}) {
        r.type = REGDUMP_RECIPE_SKIP_RANGE;
        EXPECT_TRUE(passes(r, outside)) << outside;
        r.type = REGDUMP_RECIPE_ONLY_RANGE;
        EXPECT_FALSE(passes(r, outside)) << outside;
    }
    r.num_entries = 3;
    EXPECT_FALSE(passes(r, 0xffffffff));
    r.num_entries = 5;
    EXPECT_TRUE(passes(r, 0xffffffff));
}

TEST(RegdumpRecipe, MatchAnyLooksAtOtherWordsOfTheRow) {
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_MATCH_ANY, 2);
    r.data.match_data[0] = {0, 0xff, 0x11};
    r.data.match_data[1] = {2, 0xff, 0x22};
    for (uint32_t word = 0; word < 3; ++word) {
        EXPECT_TRUE(passes(&r, {0x11, 0, 0}, word));
        EXPECT_TRUE(passes(&r, {0, 0, 0x722}, word));
        EXPECT_FALSE(passes(&r, {0x12, 0x22, 0x11}, word));
    }
    EXPECT_TRUE(passes(&r, {0x11, 0}, 1));  // the row has no word 2: the first entry decides
    EXPECT_FALSE(passes(&r, {0x22, 0}, 1)); // the entry behind the row's end does not match
    r.data.match_data[1] = {2, 0, 0};
    EXPECT_FALSE(passes(&r, {0, 0}, 0));
    EXPECT_TRUE(passes(&r, {0, 0, 0}, 0));
    r.data.match_data[1] = {0xffffffff, 0, 0};
    EXPECT_FALSE(passes(&r, {0, 0, 0}, 0));
    r.num_entries = 0;
    EXPECT_FALSE(passes(&r, {0x11}, 0));
}

TEST(RegdumpRecipe, MatchAllNeedsEveryEntry) {
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_MATCH_ALL, 3);
    r.data.match_data[0] = {0, 0xff, 0x11};
    r.data.match_data[1] = {2, 0xff, 0x22};
    r.data.match_data[2] = {1, 0xff, 0x33};
    EXPECT_TRUE(passes(&r, {0x11, 0x33, 0x22}, 1));
    EXPECT_FALSE(passes(&r, {0x12, 0x33, 0x22}, 1));
    EXPECT_FALSE(passes(&r, {0x11, 0x33, 0x23}, 1));
    EXPECT_FALSE(passes(&r, {0x11, 0x34, 0x22}, 1));
    EXPECT_FALSE(passes(&r, {0x11, 0x33}, 1)); // no word 2
    r.num_entries = 2;
    EXPECT_TRUE(passes(&r, {0x11, 0x34, 0x22}, 1));
    r.num_entries = 99;
    EXPECT_TRUE(passes(&r, {0x11, 0x33, 0x22}, 1));
    EXPECT_FALSE(passes(&r, {0x11, 0x34, 0x22}, 1));
    r.num_entries = 0;
    EXPECT_TRUE(passes(&r, {0}, 0));
}

TEST(RegdumpRecipe, AFailedReadGivesItsErrorAndDoesNotPass) {
    FakeChip chip;
    chip.errors[0x84] = -9;
    const regdump_row_t words = {readChip, &chip, 0x80, 2};
    bool pass = true;
    uint32_t value = 0;
    EXPECT_EQ(regdump_check_recipe(nullptr, true, &words, 1, &pass, &value), -9);
    EXPECT_FALSE(pass);
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_MATCH_ANY, 1); // word 1, whose value nobody knows
    r.data.match_data[0] = {1, 0, 0};
    EXPECT_EQ(regdump_check_recipe(&r, false, &words, 0, &pass, &value), 0);
    EXPECT_FALSE(pass);
}

// ------------------------------------------------------------------------------------------------------------ show

TEST(RegdumpShow, ShowsEveryWordWhoseNameContainsThePattern) {
    FakeChip chip;
    chip.words = {{0x2040, 0xdeadbeef}, {0x2844, 7}};
    EXPECT_EQ(show(chip, "deep", 100), (Outcome{0, SHOW_HEAD + "0x00002040:  0xdeadbeef  quad[0].inner.deep[0]\n"
                                                               "0x00002044:  0x00000000  quad[0].inner.deep[1]\n"
                                                               "0x00002840:  0x00000000  quad[1].inner.deep[0]\n"
                                                               "0x00002844:  0x00000007  quad[1].inner.deep[1]\n"}));
    EXPECT_EQ(show(chip, "quad[1]", 100).out, SHOW_HEAD + "0x00002800:  0x00000000  quad[1].cfg\n"
                                                          "0x00002840:  0x00000000  quad[1].inner.deep[0]\n"
                                                          "0x00002844:  0x00000007  quad[1].inner.deep[1]\n");
    EXPECT_EQ(show(chip, "fake_tcam[1].w1", 9).out, SHOW_HEAD + "0x0000500c:  0x00000000  fake_tcam[1].w1\n");
    EXPECT_EQ(show(chip, "1][2", 9),
              (Outcome{-34, SHOW_HEAD + "No matches found\n"})); // "1]" is in no row's first name
    EXPECT_EQ(show(chip, "grid[1][2]", 9).out, SHOW_HEAD + "0x00004014:  0x00000000  grid[1][2]\n");
}

TEST(RegdumpShow, AnExactPatternIsAFullName) {
    FakeChip chip;
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_NONE, 0);
    EXPECT_EQ(show(chip, "fake_tcam_key[1]", 9, &r).out, SHOW_HEAD + "0x00006004:  0x00000000  fake_tcam_key[1]\n");
    r.is_exact = true;
    EXPECT_EQ(show(chip, "fake_tcam_key[1]", 9, &r),
              (Outcome{0, SHOW_HEAD + "0x00006004:  0x00000000  fake_tcam_key[1]\n"}));
    EXPECT_EQ(show(chip, "fake_tcam_key", 9, &r), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
    EXPECT_EQ(show(chip, "first", 9, &r), (Outcome{0, SHOW_HEAD + "0x00001000:  0x00000000  first\n"}));
}

TEST(RegdumpShow, ARangeStartsAtTheFirstHit) {
    FakeChip chip;
    chip.words = {{0x4000, 1}, {0x4008, 2}, {0x6004, 3}};
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_ONLY, 1);
    r.data.value[0] = 2;
    r.is_range = true;
    // grid[0][0] has the name, but not the value. Behind the start neither name nor value is asked for.
    EXPECT_EQ(show(chip, "grid", 100, &r), (Outcome{0, SHOW_HEAD + "0x00004008:  0x00000002  grid[0][2]\n"
                                                                   "0x0000400c:  0x00000000  grid[1][0]\n"
                                                                   "0x00004010:  0x00000000  grid[1][1]\n"
                                                                   "0x00004014:  0x00000000  grid[1][2]\n"
                                                                   "0x00005000:  0x00000000  fake_tcam[0].w0\n"
                                                                   "0x00005004:  0x00000000  fake_tcam[0].w1\n"
                                                                   "0x00005008:  0x00000000  fake_tcam[1].w0\n"
                                                                   "0x0000500c:  0x00000000  fake_tcam[1].w1\n"
                                                                   "0x00006000:  0x00000000  fake_tcam_key[0]\n"
                                                                   "0x00006004:  0x00000003  fake_tcam_key[1]\n"
                                                                   "0x00007000:  0x00000000  lone_tcam\n"}));
    r.is_range = false;
    EXPECT_EQ(show(chip, "grid", 100, &r), (Outcome{0, SHOW_HEAD + "0x00004008:  0x00000002  grid[0][2]\n"}));
    r.is_range = true;
    r.is_exact = true;
    r.type = REGDUMP_RECIPE_NONE;
    EXPECT_EQ(show(chip, "fake_tcam_key[1]", 100, &r),
              (Outcome{0, SHOW_HEAD + "0x00006004:  0x00000003  fake_tcam_key[1]\n"
                                      "0x00007000:  0x00000000  lone_tcam\n"}));
}

TEST(RegdumpShow, HiddenRowsAreShownOnRequestOnly) {
    FakeChip chip;
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_NONE, 0);
    EXPECT_EQ(show(chip, "secret", 9), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
    EXPECT_EQ(show(chip, "secret", 9, &r), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
    EXPECT_TRUE(chip.reads.empty());
    r.chk_if_hidden = true;
    EXPECT_EQ(show(chip, "secret", 9, &r), (Outcome{0, SHOW_HEAD + "0x00003000:  0x00000000  secret[0]\n"
                                                                   "0x00003004:  0x00000000  secret[1]\n"}));
    r.chk_if_hidden = false; // a range leaves them out too
    r.is_range = true;
    EXPECT_EQ(show(chip, "quad[1].inner.deep[1]", 2, &r),
              (Outcome{-30, SHOW_HEAD + "0x00002844:  0x00000000  quad[1].inner.deep[1]\n"
                                        "0x00004000:  0x00000000  grid[0][0]\n"
                                        "Output limit reached\n"}));
}

TEST(RegdumpShow, TheShadowIsReadAtTheDumpOffset) {
    FakeChip chip;
    chip.words = {{0x1c, 0xaa}, {0x20, 0xbb}, {0x2840, 0xcc}};
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_NONE, 0);
    r.is_shadow = true;
    EXPECT_EQ(show(chip, "quad[1].inner.deep", 9, &r),
              (Outcome{0, SHOW_HEAD + "0x00002840:  0x000000aa  quad[1].inner.deep[0]\n"
                                      "0x00002844:  0x000000bb  quad[1].inner.deep[1]\n"}));
}

TEST(RegdumpShow, ReachingTheLimitIsReportedEvenWhenNothingIsLeftOut) {
    FakeChip chip;
    const std::string both = SHOW_HEAD + "0x00006000:  0x00000000  fake_tcam_key[0]\n"
                                         "0x00006004:  0x00000000  fake_tcam_key[1]\n";
    EXPECT_EQ(show(chip, "fake_tcam_key", 3), (Outcome{0, both}));
    EXPECT_EQ(show(chip, "fake_tcam_key", 2), (Outcome{-30, both + "Output limit reached\n"}));
    EXPECT_EQ(show(chip, "fake_tcam_key", 1),
              (Outcome{-30, SHOW_HEAD + "0x00006000:  0x00000000  fake_tcam_key[0]\nOutput limit reached\n"}));
    EXPECT_EQ(show(chip, "fake_tcam_key", 0), (Outcome{-30, SHOW_HEAD + "Output limit reached\n"}));
}

TEST(RegdumpShow, OnlyWordsThatPassTheFilterCountAsHits) {
    FakeChip chip;
    chip.words = {{0x4004, 5}, {0x4010, 5}};
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_ONLY, 1);
    r.data.value[0] = 5;
    EXPECT_EQ(show(chip, "grid", 3, &r), (Outcome{0, SHOW_HEAD + "0x00004004:  0x00000005  grid[0][1]\n"
                                                                 "0x00004010:  0x00000005  grid[1][1]\n"}));
    r.data.value[0] = 6;
    EXPECT_EQ(show(chip, "grid", 3, &r), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
}

TEST(RegdumpShow, AWordThatCannotBeReadIsLeftOut) {
    FakeChip chip;
    chip.errors[0x6000] = -1;
    EXPECT_EQ(show(chip, "fake_tcam_key", 9), (Outcome{0, SHOW_HEAD + "0x00006004:  0x00000000  fake_tcam_key[1]\n"}));
}

TEST(RegdumpShow, MatchRecipesTakeTheWordsOfTheMapsRow) {
    FakeChip chip;
    chip.words[0x2044] = 9;
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_MATCH_ANY, 1);
    r.data.match_data[0] = {1, 0xffffffff, 9};
    EXPECT_EQ(show(chip, "deep", 9, &r), (Outcome{0, SHOW_HEAD + "0x00002040:  0x00000000  quad[0].inner.deep[0]\n"
                                                                 "0x00002044:  0x00000009  quad[0].inner.deep[1]\n"}));
    r.data.match_data[0] = {2, 0, 0}; // no row with that name is so long
    EXPECT_EQ(show(chip, "deep", 9, &r), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
}

TEST(RegdumpShow, ForceReadsWithoutNames) {
    FakeChip chip;
    chip.words = {{0x10, 1}, {0x18, 3}};
    chip.errors[0x14] = -1;
    regdump_show_recipe_t r = recipe(REGDUMP_RECIPE_ONLY, 0);
    r.force = true;
    r.offset = 0x10;
    const Outcome expected = {0, "Forceful read 3 words from offset 0x10\n"
                                 "0x00000010:  0x00000001\n"
                                 "0x00000018:  0x00000003\n"};
    EXPECT_EQ(show(chip, nullptr, 3, &r, nullptr), expected);
    EXPECT_EQ(show(chip, "no such name", 3, &r), expected);
    EXPECT_EQ(chip.reads, (Words{{0x10, 1}, {0x14, 1}, {0x18, 1}, {0x10, 1}, {0x14, 1}, {0x18, 1}}));
    EXPECT_EQ(show(chip, nullptr, 0, &r), (Outcome{0, "Forceful read 0 words from offset 0x10\n"}));
}

TEST(RegdumpShow, RefusesWhatIsMissingOrTooLong) {
    FakeChip chip;
    EXPECT_EQ(show(chip, nullptr, 9, nullptr, nullptr), (Outcome{-125, "Missing map\n"}));
    EXPECT_EQ(show(chip, "first", 9, nullptr, nullptr), (Outcome{-125, "Missing map\n"}));
    EXPECT_EQ(show(chip, nullptr, 9), (Outcome{-125, "Missing pattern\n"}));
    EXPECT_EQ(show(chip, std::string(156, 'x').c_str(), 9), (Outcome{-125, "Pattern too long\n"}));
    EXPECT_EQ(show(chip, std::string(155, 'x').c_str(), 9), (Outcome{-34, SHOW_HEAD + "No matches found\n"}));
    EXPECT_TRUE(chip.reads.empty());
}

// ----------------------------------------------------------------------------------------------------------- write

TEST(RegdumpWrite, WritesEveryWordWhoseNameContainsThePattern) {
    FakeChip chip;
    chip.words[0x6004] = 0x77;
    regdump_range_optn_t options = {};
    options.skip_shadow = true;
    EXPECT_EQ(writeRange(chip, "fake_tcam_key", 0x1234, 9, &options),
              (Outcome{0, WRITE_HEAD + "0x00006000:  notchecked->0x00001234  fake_tcam_key[0]\n"
                                       "0x00006004:  notchecked->0x00001234  fake_tcam_key[1]\n"}));
    EXPECT_TRUE(chip.reads.empty());
    EXPECT_EQ(chip.writes, (Words{{0x6000, 0x1234}, {0x6004, 0x1234}}));
    EXPECT_EQ(chip.write_options, &options);

    chip.words[0x6004] = 0x77;
    options.pre_read = true;
    EXPECT_EQ(writeRange(chip, "fake_tcam_key", 0x55, 9, &options),
              (Outcome{0, WRITE_HEAD + "0x00006000:  0x00001234->0x00000055  fake_tcam_key[0]\n"
                                       "0x00006004:  0x00000077->0x00000055  fake_tcam_key[1]\n"}));
    EXPECT_EQ(chip.reads, (Words{{0x6000, 1}, {0x6004, 1}}));
}

TEST(RegdumpWrite, StopsAtTheLimit) {
    FakeChip chip;
    regdump_range_optn_t options = {};
    EXPECT_EQ(writeRange(chip, "fake_tcam_key", 1, 2, &options),
              (Outcome{-30, WRITE_HEAD + "0x00006000:  notchecked->0x00000001  fake_tcam_key[0]\n"
                                         "0x00006004:  notchecked->0x00000001  fake_tcam_key[1]\n"
                                         "Output limit reached\n"}));
    chip.writes.clear();
    EXPECT_EQ(writeRange(chip, "grid", 1, 1, &options).rval, -30);
    EXPECT_EQ(chip.writes, (Words{{0x4000, 1}}));
    chip.writes.clear();
    EXPECT_EQ(writeRange(chip, "grid", 1, 0, &options), (Outcome{-30, WRITE_HEAD + "Output limit reached\n"}));
    EXPECT_TRUE(chip.writes.empty());
}

TEST(RegdumpWrite, HiddenRowsAndTheShadowOnRequestOnly) {
    FakeChip chip;
    regdump_range_optn_t options = {};
    EXPECT_EQ(writeRange(chip, "secret", 1, 9, &options), (Outcome{-34, WRITE_HEAD + "No matches found\n"}));
    EXPECT_TRUE(chip.writes.empty());
    options.chk_if_hidden = true;
    EXPECT_EQ(writeRange(chip, "secret[1]", 1, 9, &options),
              (Outcome{0, WRITE_HEAD + "0x00003004:  notchecked->0x00000001  secret[1]\n"}));
    options.is_shadow = true;
    options.pre_read = true;
    chip.words[0x20] = 5;
    chip.writes.clear();
    EXPECT_EQ(writeRange(chip, "quad[1].inner.deep[1]", 6, 9, &options),
              (Outcome{0, WRITE_HEAD + "0x00002844:  0x00000005->0x00000006  quad[1].inner.deep[1]\n"}));
    EXPECT_EQ(chip.writes, (Words{{0x20, 6}}));
}

TEST(RegdumpWrite, AFailedReadOrWriteEndsTheJobWithItsError) {
    FakeChip chip;
    chip.errors[0x4004] = -5;
    regdump_range_optn_t options = {};
    const Outcome expected = {-5, WRITE_HEAD + "0x00004000:  notchecked->0x00000001  grid[0][0]\n"};
    EXPECT_EQ(writeRange(chip, "grid", 1, 9, &options), expected);
    EXPECT_EQ(chip.writes, (Words{{0x4000, 1}}));
    options.pre_read = true;
    chip.writes.clear();
    EXPECT_EQ(writeRange(chip, "grid", 1, 9, &options).rval, -5);
    EXPECT_EQ(chip.writes, (Words{{0x4000, 1}}));
    EXPECT_EQ(chip.reads, (Words{{0x4000, 1}, {0x4004, 1}}));
}

TEST(RegdumpWrite, ForceWritesWithoutNamesUntilOneFails) {
    FakeChip chip;
    regdump_range_optn_t options = {};
    options.force = true;
    options.offset = 0x20;
    EXPECT_EQ(writeRange(chip, nullptr, 0xab, 3, &options, nullptr),
              (Outcome{0, "Forceful write 3 words from offset 0x20 : 0xab\n"}));
    EXPECT_EQ(chip.writes, (Words{{0x20, 0xab}, {0x24, 0xab}, {0x28, 0xab}}));
    EXPECT_EQ(chip.write_options, &options);
    chip.writes.clear();
    chip.errors[0x24] = -12;
    EXPECT_EQ(writeRange(chip, "grid", 0xcd, 3, &options),
              (Outcome{-12, "Forceful write 3 words from offset 0x20 : 0xcd\nFail due to error -12\n"}));
    EXPECT_EQ(chip.writes, (Words{{0x20, 0xcd}}));
}

TEST(RegdumpWrite, RefusesWhatIsMissingOrTooLong) {
    FakeChip chip;
    const regdump_range_optn_t options = {};
    EXPECT_EQ(writeRange(chip, "grid", 1, 9, &options, nullptr), (Outcome{-125, "Missing map\n"}));
    EXPECT_EQ(writeRange(chip, nullptr, 1, 9, &options), (Outcome{-125, "Missing pattern\n"}));
    EXPECT_EQ(writeRange(chip, "grid", 1, 9, nullptr), (Outcome{-125, "Missing options\n"}));
    EXPECT_EQ(writeRange(chip, std::string(156, 'x').c_str(), 1, 9, &options), (Outcome{-125, "Pattern too long\n"}));
    EXPECT_EQ(writeRange(chip, std::string(155, 'x').c_str(), 1, 9, &options),
              (Outcome{-34, WRITE_HEAD + "No matches found\n"}));
    EXPECT_TRUE(chip.writes.empty());
}

// ----------------------------------------------------------------------------------------------------------- audit

namespace {

/// Three rows with shadows: all equal, two words different, and one word different.
FakeChip shadowedChip() {
    FakeChip chip;
    chip.words = {{0x1000, 1}, {0x4000, 0x10}, {0x4004, 0x11}, {0x4008, 0x12}, {0x5004, 0x20}};
    chip.shadows[0x1000] = {1};
    chip.shadows[0x4000] = {0x10, 0xa, 0x12, 0xb, 0, 0};
    chip.shadows[0x5000] = {0, 0x21, 0, 0};
    return chip;
}

regdump_audit_optn_t auditOptions(int max_err_total = 100, int max_err_per_entry = 100) {
    regdump_audit_optn_t options = {};
    options.max_err_total = max_err_total;
    options.max_err_per_entry = max_err_per_entry;
    return options;
}

const std::string GRID_1 = "0x00004004:  0x00000011  0x0000000a  grid[0][1]\n";
const std::string GRID_3 = "0x0000400c:  0x00000000  0x0000000b  grid[1][0]\n";
const std::string TCAM_1 = "0x00005004:  0x00000020  0x00000021  fake_tcam[0].w1\n";

} // namespace

TEST(RegdumpAudit, ShowsEachWordThatDiffersFromItsShadow) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions();
    const Outcome expected = {0, "Checking all\n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                     "3 errors, 8 words successfully checked\n"};
    EXPECT_EQ(audit(chip, nullptr, &options), expected);
    EXPECT_EQ(audit(chip, "ignored", &options), expected);
    options.incl_shad_offset = true;
    EXPECT_EQ(audit(chip, nullptr, &options),
              (Outcome{0, "Checking all\n" + AUDIT_LONG_HEAD +
                              "0x00004004:  0x00000011  0x0000000a  grid[0][1] (0x00004104)\n"
                              "0x0000400c:  0x00000000  0x0000000b  grid[1][0] (0x0000410c)\n"
                              "0x00005004:  0x00000020  0x00000021  fake_tcam[0].w1 (0x00005104)\n"
                              "3 errors, 8 words successfully checked\n"}));
}

TEST(RegdumpAudit, VerboseNamesEachRowWithAShadow) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions();
    options.verbose = true;
    EXPECT_EQ(audit(chip, nullptr, &options),
              (Outcome{0, "Checking all\n" + AUDIT_HEAD + "0x00001000:  Checking    Checking    first \n" +
                              "0x00004000:  Checking    Checking    grid[0][0] \n" + GRID_1 + GRID_3 +
                              "0x00005000:  Checking    Checking    fake_tcam[0].w0 \n" + TCAM_1 +
                              "3 errors, 8 words successfully checked\n"}));
    options.incl_shad_offset = true;
    options.is_filter_name = true;
    EXPECT_EQ(audit(chip, "first", &options),
              (Outcome{0, "Filter name: first\n" + AUDIT_LONG_HEAD +
                              "0x00001000:  Checking    Checking    first (0x00001100)\n"
                              "0 errors, 1 words successfully checked\n"}));
}

TEST(RegdumpAudit, AFilterNameChecksTheRowsThatMatch) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions();
    options.is_filter_name = true;
    EXPECT_EQ(audit(chip, "grid", &options), (Outcome{0, "Filter name: grid\n" + AUDIT_HEAD + GRID_1 + GRID_3 +
                                                             "2 errors, 4 words successfully checked\n"}));
    EXPECT_EQ(audit(chip, "nothing", &options),
              (Outcome{0, "Filter name: nothing\n" + AUDIT_HEAD + "0 errors, 0 words successfully checked\n"}));
    EXPECT_EQ(audit(chip, nullptr, &options), (Outcome{0, "Filter name: \n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                                              "3 errors, 8 words successfully checked\n"}));
}

TEST(RegdumpAudit, AStartNameChecksFromTheFirstRowThatMatches) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions();
    options.is_start_name = true;
    EXPECT_EQ(audit(chip, "grid", &options), (Outcome{0, "Start name: grid\n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                                             "3 errors, 7 words successfully checked\n"}));
    EXPECT_EQ(audit(chip, "fake", &options),
              (Outcome{0, "Start name: fake\n" + AUDIT_HEAD + TCAM_1 + "1 errors, 3 words successfully checked\n"}));
    // A row without a shadow can be the start, and the start name goes before the filter name.
    options.is_filter_name = true;
    EXPECT_EQ(audit(chip, "quad", &options), (Outcome{0, "Start name: quad\n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                                             "3 errors, 7 words successfully checked\n"}));
    EXPECT_EQ(audit(chip, nullptr, &options).out.substr(0, 13), "Start name: \n");
}

TEST(RegdumpAudit, StopsAtTheTotalLimit) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions(3);
    EXPECT_EQ(audit(chip, nullptr, &options),
              (Outcome{-30, "Checking all\n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                "Output limit reached\n3 errors, 6 words successfully checked\n"}));
    options = auditOptions(1);
    EXPECT_EQ(audit(chip, nullptr, &options),
              (Outcome{-30, "Checking all\n" + AUDIT_HEAD + GRID_1 +
                                "Output limit reached\n1 errors, 2 words successfully checked\n"}));
}

TEST(RegdumpAudit, LeavesARowAtItsLimit) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions(100, 1);
    EXPECT_EQ(audit(chip, nullptr, &options), (Outcome{0, "Checking all\n" + AUDIT_HEAD + GRID_1 + TCAM_1 +
                                                              "2 errors, 3 words successfully checked\n"}));
    options = auditOptions(100, 2);
    EXPECT_EQ(audit(chip, nullptr, &options), (Outcome{0, "Checking all\n" + AUDIT_HEAD + GRID_1 + GRID_3 + TCAM_1 +
                                                              "3 errors, 6 words successfully checked\n"}));
}

TEST(RegdumpAudit, AWordThatCannotBeReadIsLeftOut) {
    FakeChip chip = shadowedChip();
    chip.errors[0x4004] = -1;
    const regdump_audit_optn_t options = auditOptions();
    EXPECT_EQ(audit(chip, nullptr, &options), (Outcome{0, "Checking all\n" + AUDIT_HEAD + GRID_3 + TCAM_1 +
                                                              "2 errors, 8 words successfully checked\n"}));
}

TEST(RegdumpAudit, HiddenRowsAreNotChecked) {
    FakeChip chip;
    chip.shadows[0x3000] = {1, 2};
    const regdump_audit_optn_t options = auditOptions();
    EXPECT_EQ(audit(chip, nullptr, &options),
              (Outcome{0, "Checking all\n" + AUDIT_HEAD + "0 errors, 0 words successfully checked\n"}));
}

TEST(RegdumpAudit, RefusesWhatIsMissingOrTooLong) {
    FakeChip chip = shadowedChip();
    regdump_audit_optn_t options = auditOptions();
    EXPECT_EQ(audit(chip, "grid", &options, CHIP_MAP, nullptr), (Outcome{-125, ""}));
    EXPECT_EQ(audit(chip, "grid", nullptr, nullptr), (Outcome{-125, "Missing map\n"}));
    EXPECT_EQ(audit(chip, std::string(156, 'x').c_str(), nullptr), (Outcome{-125, "Missing options\n"}));
    EXPECT_EQ(audit(chip, std::string(156, 'x').c_str(), &options), (Outcome{-125, "Pattern too long\n"}));
    options.is_filter_name = true;
    const std::string longest(155, 'x');
    EXPECT_EQ(audit(chip, longest.c_str(), &options),
              (Outcome{0, "Filter name: " + longest + "\n" + AUDIT_HEAD + "0 errors, 0 words successfully checked\n"}));
    EXPECT_TRUE(chip.reads.empty());
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
