// Registers of a live chip by name: the filter, show, write and audit.

#include "asic_reg_dump.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "fake_chip.h"

namespace {

const std::string DASHES_51 = "---------------------------------------------------\n";
const std::string DASHES_61 = "-------------------------------------------------------------\n";
const std::string SHOW_HEAD = "ASIC offset  Data        Register\n" + DASHES_51;
const std::string WRITE_HEAD = "ASIC offset  Old Data  -> New Data       Register\n" + DASHES_51;
const std::string AUDIT_HEAD = "ASIC offset  ASIC Data   Shad Data   Register\n" + DASHES_61;
const std::string AUDIT_LONG_HEAD = "ASIC offset  ASIC Data   Shad Data   Register (Shadow offset)\n" + DASHES_61;

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

} // namespace

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
