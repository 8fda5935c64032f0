#include "asic_reg_dump.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include "asic_err.h"
#include "tsr_reg_dump.h"

namespace {

// A small chip with every kind of row: scalars, arrays, wide elements, groups of one and of many, a group in a group,
// rows that are not dumped and a row that the third instance of its parent lacks.
const regdump_map_t INNER_MAP[] = {
    {"deep", nullptr, 0x0, 0x0, 4, 4, {2}, 0, 0},
    {"wide", nullptr, 0x10, 0x8, 12, 12, {2}, 0, 0},
    {},
};
const regdump_map_t QUAD_MAP[] = {
    {"cfg", nullptr, 0x0, 0x0, 4, 4, {1}, 0, 0},
    {"limited", nullptr, 0x4, 0x4, 4, 4, {1}, 2, 0},
    {"hidden", nullptr, 0x8, 0x0, 4, 4, {3}, 0, REGDUMP_FLAGS_NO_DUMP},
    {"inner", INNER_MAP, 0x40, 0x8, 0x100, 0x20, {1}, 0, 0},
    {},
};
const regdump_map_t CHIP_MAP[] = {
    {"first", nullptr, 0x1000, 0x0, 4, 4, {1}, 0, 0},
    {"quad", QUAD_MAP, 0x2000, 0x4, 0x800, 0x28, {3}, 0, 0},
    {"secret", nullptr, 0x8000, 0x0, 4, 4, {4}, 0, REGDUMP_FLAGS_NO_DUMP},
    {"grid", nullptr, 0x9000, 0x7c, 4, 4, {2, 3}, 0, 0},
    {},
};
constexpr uint32_t CHIP_SIZE = 0x7c + 24;

regdump_stack_t at(const regdump_map_t *map, const std::string &name) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, map);
    do {
        if (name == regdump_stack_get_map(&stack)->name)
            return stack;
    } while (regdump_stack_next(&stack) == 0);
    ADD_FAILURE() << "no row " << name;
    return stack;
}

std::string nameOf(const regdump_stack_t &stack, uint32_t elem_offset, size_t size = REGDUMP_NAME_SIZE) {
    std::vector<char> buf(size);
    EXPECT_EQ(regdump_stack_name_str(&stack, buf.data(), buf.size(), elem_offset), buf.data());
    return buf.data();
}

std::string nameOf(const regdump_map_t &row, uint32_t elem_offset, size_t size = REGDUMP_NAME_SIZE) {
    const regdump_stack_t stack = {1, {{&row, 0}}};
    return nameOf(stack, elem_offset, size);
}

/// What `job` prints on standard output; its result goes to `*rval`.
template <typename Job> std::string printed(int *rval, Job job) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    std::FILE *file = std::tmpfile();
    dup2(fileno(file), STDOUT_FILENO);
    *rval = job();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::rewind(file);
    std::string text;
    for (int c; (c = std::fgetc(file)) != EOF;)
        text += static_cast<char>(c);
    std::fclose(file);
    return text;
}

/// An image whose word at byte offset k is 0xabc00000 + k.
std::vector<uint8_t> countingImage(uint32_t size) {
    std::vector<uint8_t> image(size);
    for (uint32_t k = 0; k < size; k += 4) {
        const uint32_t word = 0xabc00000 + k;
        for (uint32_t i = 0; i < 4; ++i)
            image[k + i] = static_cast<uint8_t>(word >> (24 - 8 * i));
    }
    return image;
}

__attribute__((format(printf, 1, 2))) std::string format(const char *pattern, ...) {
    char text[1024];
    va_list args;
    va_start(args, pattern);
    std::vsnprintf(text, sizeof(text), pattern, args);
    va_end(args);
    return text;
}

std::string line(uint32_t asic_off, uint32_t dump_off, const std::string &name) {
    char text[64];
    std::snprintf(text, sizeof(text), "0x%08x:  0x%08x  ", asic_off, 0xabc00000 + dump_off);
    return text + name + "\n";
}

} // namespace

// --------------------------------------------------------------------------------------------------------- walker

TEST(RegdumpWalk, SizeIsElementTimesDimensionsUpToTheFirstZero) {
    EXPECT_EQ(regdump_mapp_get_size(regdump_stack_get_map([] {
                  static regdump_stack_t stack = at(tsr_dmp_map, "rte_drp_tail_sts_frm");
                  return &stack;
              }())),
              6144u);
    const regdump_map_t scalar = {"a", nullptr, 0, 0, 4, 4, {1}, 0, 0};
    EXPECT_EQ(regdump_mapp_get_size(&scalar), 4u);
    const regdump_map_t gap = {"b", nullptr, 0, 0, 8, 8, {3, 0, 5}, 0, 0};
    EXPECT_EQ(regdump_mapp_get_size(&gap), 24u);
    const regdump_map_t full = {"c", nullptr, 0, 0, 4, 4, {2, 2, 2, 2, 2, 2}, 0, 0};
    EXPECT_EQ(regdump_mapp_get_size(&full), 256u);
    EXPECT_EQ(regdump_mapp_get_size(&CHIP_MAP[1]), 3u * 0x28);
}

TEST(RegdumpWalk, VisitsEveryLeafOfEveryInstanceInOrder) {
    struct Visit {
        std::string name;
        uint32_t asic_off;
        uint32_t dump_off;
    };
    const std::vector<Visit> expected = {
        {"first", 0x1000, 0x0},   {"cfg", 0x2000, 0x4},   {"limited", 0x2004, 0x8}, {"hidden", 0x2008, 0x4},
        {"deep", 0x2040, 0xc},    {"wide", 0x2050, 0x14}, {"cfg", 0x2800, 0x2c},    {"limited", 0x2804, 0x30},
        {"hidden", 0x2808, 0x2c}, {"deep", 0x2840, 0x34}, {"wide", 0x2850, 0x3c},   {"cfg", 0x3000, 0x54},
        {"hidden", 0x3008, 0x54}, {"deep", 0x3040, 0x5c}, {"wide", 0x3050, 0x64},   {"secret", 0x8000, 0x0},
        {"grid", 0x9000, 0x7c},
    };
    regdump_stack_t stack;
    regdump_stack_init(&stack, CHIP_MAP);
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(regdump_stack_get_map(&stack)->name, expected[i].name);
        EXPECT_EQ(regdump_stack_get_asic_off(&stack), expected[i].asic_off);
        EXPECT_EQ(regdump_stack_get_dump_off(&stack), expected[i].dump_off);
        EXPECT_EQ(regdump_stack_next(&stack), i + 1 < expected.size() ? 0 : ASIC_ENTRY_NOT_EXIST);
    }
    EXPECT_EQ(stack.depth, 0u);
}

TEST(RegdumpWalk, LeafInstancesDoNotCountInOffsets) {
    regdump_stack_t stack = {1, {{&CHIP_MAP[3], 7}}};
    EXPECT_EQ(regdump_stack_get_asic_off(&stack), 0x9000u);
    EXPECT_EQ(regdump_stack_get_dump_off(&stack), 0x7cu);
}

TEST(RegdumpWalk, UpdMapReplacesTheTopRowAtItsFirstInstance) {
    regdump_stack_t stack = {2, {{&CHIP_MAP[1], 2}, {&QUAD_MAP[3], 5}}};
    regdump_stack_upd_map(&stack, &QUAD_MAP[0]);
    EXPECT_EQ(stack.depth, 2u);
    EXPECT_EQ(stack.elem[1].mapp, &QUAD_MAP[0]);
    EXPECT_EQ(stack.elem[1].inst, 0u);
    EXPECT_EQ(stack.elem[0].inst, 2u);
}

TEST(RegdumpWalk, SkipTestLooksAtTheParentsInstance) {
    const regdump_map_t *limited = &QUAD_MAP[1];
    regdump_stack_t stack = {1, {{&CHIP_MAP[1], 1}}};
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 0), 0);
    stack.elem[0].inst = 2;
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 0), 1);
    stack.elem[0].inst = 3;
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 0), 1);
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, &QUAD_MAP[0], 0), 0) << "no limit";
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 1), 0) << "a sibling on the top level has no parent";
    stack = {2, {{&CHIP_MAP[1], 2}, {&QUAD_MAP[0], 0}}};
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 1), 1);
    EXPECT_EQ(regdump_stack_skip_due_to_depth(&stack, limited, 0), 0);
}

TEST(RegdumpWalk, DescentPassesOverRowsThatTheInstanceLacks) {
    const regdump_map_t child[] = {
        {"early", nullptr, 0, 0, 4, 4, {1}, 1, 0}, {"always", nullptr, 4, 4, 4, 4, {1}, 0, 0}, {}};
    const regdump_map_t map[] = {{"grp", child, 0, 0, 8, 8, {2}, 0, 0}, {}};
    regdump_stack_t stack;
    regdump_stack_init(&stack, map);
    EXPECT_STREQ(regdump_stack_get_map(&stack)->name, "early");
    EXPECT_EQ(regdump_stack_next(&stack), 0);
    EXPECT_STREQ(regdump_stack_get_map(&stack)->name, "always");
    EXPECT_EQ(regdump_stack_next(&stack), 0);
    EXPECT_EQ(nameOf(stack, 0), "grp[1].always");
    EXPECT_EQ(regdump_stack_next(&stack), ASIC_ENTRY_NOT_EXIST);
}

TEST(RegdumpWalk, GroupWithoutAPresentRowIsHandedOutLikeALeaf) {
    const regdump_map_t empty[] = {{}};
    const regdump_map_t absent[] = {{"never", nullptr, 0, 0, 4, 4, {1}, 1, 0}, {}};
    const regdump_map_t map[] = {
        {"void", empty, 0x10, 0, 4, 4, {2}, 0, 0}, {"late", absent, 0x20, 8, 4, 4, {2}, 0, 0}, {}};
    regdump_stack_t stack;
    regdump_stack_init(&stack, map);
    std::vector<std::string> names;
    do
        names.push_back(nameOf(stack, 0));
    while (regdump_stack_next(&stack) == 0);
    EXPECT_EQ(names, (std::vector<std::string>{"void[0].[0]", "void[1].[0]", "late[0].never", "late[1].[0]"}));
}

// ---------------------------------------------------------------------------------------------------------- names

TEST(RegdumpName, ScalarHasNoSubscript) {
    EXPECT_EQ(nameOf(regdump_map_t{"reg", nullptr, 0, 0, 4, 4, {1}, 0, 0}, 0), "reg");
    EXPECT_EQ(nameOf(regdump_map_t{"reg", nullptr, 0, 0, 4, 4, {2}, 0, 0}, 4), "reg[1]");
    EXPECT_EQ(nameOf(regdump_map_t{"reg", nullptr, 0, 0, 4, 4, {1, 2}, 0, 0}, 4), "reg[0][1]");
}

TEST(RegdumpName, OneToSixDimensionsCountInnermostFirst) {
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {9}, 0, 0}, 32), "a[8]");
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {4, 9}, 0, 0}, 4 * (2 * 9 + 5)), "a[2][5]");
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {3, 4, 5}, 0, 0}, 4 * (1 * 20 + 3 * 5 + 2)), "a[1][3][2]");
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {3, 32, 8, 2}, 0, 0}, 4 * (((2 * 32 + 31) * 8 + 7) * 2)),
              "a[2][31][7][0]");
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {2, 2, 2, 2, 2, 2}, 0, 0}, 4 * 0b101101),
              "a[1][0][1][1][0][1]");
}

TEST(RegdumpName, IndexBehindTheRowWrapsInTheOutermostDimension) {
    EXPECT_EQ(nameOf(regdump_map_t{"a", nullptr, 0, 0, 4, 4, {2, 3}, 0, 0}, 4 * 6), "a[0][0]");
}

TEST(RegdumpName, WideElementsEndInTheirWordNumber) {
    const regdump_map_t tcam = {"t", nullptr, 0, 0, 16, 16, {8}, 0, 0};
    EXPECT_EQ(nameOf(tcam, 0), "t[0].w0");
    EXPECT_EQ(nameOf(tcam, 12), "t[0].w3");
    EXPECT_EQ(nameOf(tcam, 16 * 7 + 4), "t[7].w1");
    EXPECT_EQ(nameOf(regdump_map_t{"s", nullptr, 0, 0, 256, 256, {1}, 0, 0}, 252), "s.w63");
    EXPECT_EQ(nameOf(regdump_map_t{"p", nullptr, 0, 0, 48, 48, {2, 3}, 0, 0}, 48 * 4 + 44), "p[1][1].w11");
}

TEST(RegdumpName, GroupsOfOneAndOfManyAndNestedOnes) {
    regdump_stack_t stack = {3, {{&CHIP_MAP[1], 2}, {&QUAD_MAP[3], 0}, {&INNER_MAP[1], 0}}};
    EXPECT_EQ(nameOf(stack, 12 + 8), "quad[2].inner.wide[1].w2");
}

TEST(RegdumpName, TheChipsOwnExamples) {
    EXPECT_EQ(nameOf(at(tsr_dmp_map, "ftc_cntl"), 0), "ftc_cntl");
    EXPECT_EQ(nameOf(at(tsr_dmp_map, "rte_l2_exm_bkt"), 6291456 - 4), "rte_l2_exm_bkt[12287][31][3]");
    EXPECT_EQ(nameOf(at(tsr_dmp_map, "txA"), 252), "emc_quad[0].emc_hss_reg.txA.w63");
    regdump_stack_t stack = at(tsr_dmp_map, "emc_eps_stat_ram");
    stack.elem[0].inst = 2;
    EXPECT_EQ(nameOf(stack, 4 * (4 * 128 * 2 - 1)), "emc_quad[2].emc_eps_stat_ram[3][127][1]");
    EXPECT_EQ(nameOf(at(tsr_dmp_map, "tfe_tcam"), 16 * 5 + 8), "tfe_tcam[5].w2");
}

TEST(RegdumpName, IsCutAtTheBuffersSize) {
    const regdump_stack_t stack = {3, {{&CHIP_MAP[1], 2}, {&QUAD_MAP[3], 0}, {&INNER_MAP[1], 0}}};
    const std::string full = "quad[2].inner.wide[1].w2";
    for (size_t size = 1; size <= full.size() + 3; ++size)
        EXPECT_EQ(nameOf(stack, 12 + 8, size), full.substr(0, size - 1)) << size;
}

TEST(RegdumpName, BufferOfSizeZeroIsLeftAlone) {
    const regdump_stack_t stack = {1, {{&CHIP_MAP[0], 0}}};
    char c = '#';
    regdump_stack_name_str(&stack, &c, 0, 0);
    EXPECT_EQ(c, '#');
}

// -------------------------------------------------------------------------------------------------------- listing

TEST(RegdumpList, PrintsEveryDumpedWord) {
    const std::vector<uint8_t> image = countingImage(CHIP_SIZE);
    std::string expected = line(0x1000, 0, "first");
    for (uint32_t i = 0; i < 3; ++i) {
        const uint32_t asic = 0x2000 + 0x800 * i;
        const uint32_t dump = 4 + 0x28 * i;
        const std::string quad = format("quad[%u].", i);
        expected += line(asic, dump, quad + "cfg");
        if (i < 2)
            expected += line(asic + 4, dump + 4, quad + "limited");
        expected += line(asic + 0x40, dump + 8, quad + "inner.deep[0]");
        expected += line(asic + 0x44, dump + 12, quad + "inner.deep[1]");
        for (uint32_t w = 0; w < 6; ++w)
            expected += line(asic + 0x50 + 4 * w, dump + 16 + 4 * w, quad + format("inner.wide[%u].w%u", w / 3, w % 3));
    }
    for (uint32_t w = 0; w < 6; ++w)
        expected += line(0x9000 + 4 * w, 0x7c + 4 * w, format("grid[%u][%u]", w / 3, w % 3));
    int rval = -1;
    EXPECT_EQ(printed(&rval, [&] { return regdump_decode_chip(CHIP_MAP, image.data(), CHIP_SIZE, 0); }), expected);
    EXPECT_EQ(rval, 0);
}

TEST(RegdumpList, DebugFormAddsTheDumpOffset) {
    const regdump_map_t map[] = {
        {"a", nullptr, 0x40, 0, 4, 4, {1}, 0, 0}, {"b", nullptr, 0x80, 4, 4, 4, {2}, 0, 0}, {}};
    const std::vector<uint8_t> image = countingImage(12);
    int rval = -1;
    EXPECT_EQ(printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 12, 1); }),
              "0x00000040:  0xabc00000  a (dmp 0x00000000)\n"
              "0x00000080:  0xabc00004  b[0] (dmp 0x00000004)\n"
              "0x00000084:  0xabc00008  b[1] (dmp 0x00000008)\n");
    EXPECT_EQ(rval, 0);
}

TEST(RegdumpList, CountsThroughEveryNumberOfDigits) {
    constexpr uint32_t NUM = 100012;
    const regdump_map_t map[] = {{"a", nullptr, 0, 0, 4, 4, {NUM}, 0, 0}, {}};
    const std::vector<uint8_t> image = countingImage(4 * NUM);
    std::string expected;
    for (uint32_t i = 0; i < NUM; ++i)
        expected += line(4 * i, 4 * i, format("a[%u]", i));
    int rval = -1;
    EXPECT_TRUE(expected == printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 4 * NUM, 0); }));
    EXPECT_EQ(rval, 0);
}

TEST(RegdumpList, CountsThroughEveryDimension) {
    const regdump_map_t map[] = {
        {"a", nullptr, 0, 0, 4, 4, {2, 3, 1, 11}, 0, 0}, {"b", nullptr, 0x1000, 264, 8, 8, {2, 2, 2}, 0, 0}, {}};
    const std::vector<uint8_t> image = countingImage(264 + 64);
    std::string expected;
    for (uint32_t i = 0; i < 66; ++i)
        expected += line(4 * i, 4 * i, format("a[%u][%u][0][%u]", i / 33, i / 11 % 3, i % 11));
    for (uint32_t i = 0; i < 16; ++i)
        expected += line(0x1000 + 4 * i, 264 + 4 * i, format("b[%u][%u][%u].w%u", i / 8, i / 4 % 2, i / 2 % 2, i % 2));
    int rval = -1;
    EXPECT_EQ(printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 264 + 64, 0); }), expected);
    EXPECT_EQ(rval, 0);
}

TEST(RegdumpList, ElementsOfBrokenWordsAreNamedByTheirBytes) {
    const regdump_map_t map[] = {{"odd", nullptr, 0, 0, 6, 6, {2}, 0, 0}, {}};
    const std::vector<uint8_t> image = countingImage(12);
    int rval = -1;
    EXPECT_EQ(printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 12, 0); }),
              line(0, 0, "odd[0].w0") + line(4, 4, "odd[0].w1") + line(8, 8, "odd[1].w0"));
}

TEST(RegdumpList, LongNamesAreCutAt159Characters) {
    for (const size_t length : {100u, 140u, 150u, 156u, 157u, 158u, 159u, 160u, 300u}) {
        const std::string name(length, 'n');
        const regdump_map_t map[] = {{name.c_str(), nullptr, 0, 0, 4, 4, {11}, 0, 0}, {}};
        const std::vector<uint8_t> image = countingImage(44);
        std::string expected;
        for (uint32_t i = 0; i < 11; ++i)
            expected += line(4 * i, 4 * i, format("%s[%u]", name.c_str(), i).substr(0, 159));
        int rval = -1;
        EXPECT_EQ(printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 44, 0); }), expected);
    }
}

TEST(RegdumpList, NoImageIsInvalidData) {
    int rval = 0;
    EXPECT_EQ(printed(&rval, [] { return regdump_decode_chip(CHIP_MAP, nullptr, CHIP_SIZE, 0); }), "");
    EXPECT_EQ(rval, ASIC_INV_DATA);
    EXPECT_EQ(rval, -125);
}

TEST(RegdumpList, ShortImageNamesTheRowThatDoesNotFit) {
    const std::vector<uint8_t> image = countingImage(CHIP_SIZE);
    int rval = 0;
    const std::string text =
        printed(&rval, [&] { return regdump_decode_chip(CHIP_MAP, image.data(), CHIP_SIZE - 4, 0); });
    EXPECT_EQ(rval, ASIC_RESOURCE_FULL);
    EXPECT_EQ(rval, -30);
    const std::string message = "name grid offset 0x7c dmpsize 0x18 srcsize 0x90\n";
    ASSERT_GT(text.size(), message.size());
    EXPECT_EQ(text.substr(text.size() - message.size()), message) << "behind the lines of the rows before";
    EXPECT_EQ(text.substr(0, line(0x1000, 0, "first").size()), line(0x1000, 0, "first"));
}

TEST(RegdumpList, SizeTestTakesTheRowsOffsetInItsGroup) {
    // 0x34 bytes hold the first quad and the head of the second: every row of the group passes by its own offset, and
    // the words that are not there are 0.
    const regdump_map_t map[] = {CHIP_MAP[0], CHIP_MAP[1], {}};
    const std::vector<uint8_t> image = countingImage(0x34);
    int rval = -1;
    const std::string text = printed(&rval, [&] { return regdump_decode_chip(map, image.data(), 0x34, 0); });
    EXPECT_EQ(rval, 0);
    EXPECT_NE(text.find(line(0x2804, 0x30, "quad[1].limited") + "0x00002840:  0x00000000  quad[1].inner.deep[0]\n"),
              std::string::npos)
        << text;
}

TEST(RegdumpList, FullOutputIsAFailure) {
    const std::vector<uint8_t> image(4 * 65536);
    const regdump_map_t map[] = {{"a", nullptr, 0, 0, 4, 4, {65536}, 0, 0}, {}};
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int full = open("/dev/full", O_WRONLY);
    dup2(full, STDOUT_FILENO);
    const int rval = regdump_decode_chip(map, image.data(), 4 * 65536, 0);
    std::fflush(stdout);
    std::clearerr(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    close(full);
    EXPECT_EQ(rval, ASIC_RESOURCE_FULL);
}

// ---------------------------------------------------------------------------------------------------- conversions

TEST(RegdumpConvert, BothDirectionsAgreeInsideARow) {
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x1000), 0);
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x2844), 0x38);
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x9017), 0x7c + 0x17) << "the last byte";
    EXPECT_EQ(regdump_dump_off_to_asic_off(CHIP_MAP, 0), 0x1000);
    EXPECT_EQ(regdump_dump_off_to_asic_off(CHIP_MAP, 0x38), 0x2844);
    EXPECT_EQ(regdump_dump_off_to_asic_off(CHIP_MAP, 0x7c + 0x17), 0x9017);
}

TEST(RegdumpConvert, MissesGiveEachDirectionsOwnCode) {
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0xfff), ASIC_INV_DATA);
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x1004), ASIC_INV_DATA);
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x9018), ASIC_INV_DATA);
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x8000), ASIC_INV_DATA) << "not dumped";
    EXPECT_EQ(regdump_asic_off_to_dump_off(CHIP_MAP, 0x3004), ASIC_INV_DATA) << "not in the third instance";
    EXPECT_EQ(regdump_dump_off_to_asic_off(CHIP_MAP, CHIP_SIZE), -1);
    EXPECT_EQ(regdump_dump_off_to_asic_off(CHIP_MAP, 0x58), -1) << "the hole of the third instance";
}

TEST(RegdumpConvert, ExactNameFindsRowsThatAreNotDumpedToo) {
    char name[REGDUMP_NAME_SIZE];
    EXPECT_EQ(regdump_asic_off_to_exact_name(CHIP_MAP, 0x800c, name), 0);
    EXPECT_STREQ(name, "secret[3]");
    EXPECT_EQ(regdump_asic_off_to_exact_name(CHIP_MAP, 0x2850 + 20, name), 0);
    EXPECT_STREQ(name, "quad[1].inner.wide[1].w2");
    EXPECT_EQ(regdump_asic_off_to_exact_name(CHIP_MAP, 0x8010, name), ASIC_ENTRY_NOT_EXIST);
    EXPECT_EQ(ASIC_ENTRY_NOT_EXIST, -34);
}

TEST(RegdumpConvert, HiddenRowsOfTheChipHaveNamesButNoDumpOffset) {
    char name[REGDUMP_NAME_SIZE];
    EXPECT_EQ(regdump_asic_off_to_exact_name(tsr_dmp_map, 0xc000 + 4 * 4095, name), 0);
    EXPECT_STREQ(name, "pib_softmem[4095]");
    EXPECT_EQ(regdump_asic_off_to_dump_off(tsr_dmp_map, 0xc000), ASIC_INV_DATA);
    EXPECT_EQ(regdump_asic_off_to_exact_name(tsr_dmp_map, 0x2680004, name), 0);
    EXPECT_STREQ(name, "eqs_edt_mem[1]");
    EXPECT_EQ(regdump_asic_off_to_dump_off(tsr_dmp_map, 0x2680004), ASIC_INV_DATA);
}

TEST(RegdumpConvert, NameToOffset) {
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, "first"), 0x1000);
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, "quad[1].limited"), 0x2804);
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, "quad[2].inner.wide[1].w2"), 0x3050 + 20);
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, "secret[3]"), 0x800c);
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, "grid[1][2]"), 0x9014);
    for (const char *name : {"quad[2].limited", "grid[1][3]", "grid", "limited", "quad[1]", "nothing", ""})
        EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, name), ASIC_ENTRY_NOT_EXIST) << name;
    EXPECT_EQ(regdump_exact_name_to_asic_off(CHIP_MAP, std::string(1000, 'n').c_str()), ASIC_ENTRY_NOT_EXIST);
}

TEST(RegdumpConvert, NameToOffsetOnTheChip) {
    EXPECT_EQ(regdump_exact_name_to_asic_off(tsr_dmp_map, "ftc_desc_start_addr"), 0x1000);
    EXPECT_EQ(regdump_exact_name_to_asic_off(tsr_dmp_map, "emc_quad[0].emc_hss_reg.txA.w63"), 0x10000 + 0x2000 + 252);
    EXPECT_EQ(regdump_exact_name_to_asic_off(tsr_dmp_map, "ephy_reg[7].hmc_cfg"), 0x400000 + 7 * 0x10000 + 0x1000);
    EXPECT_EQ(regdump_exact_name_to_asic_off(tsr_dmp_map, "ephy_reg[8].hmc_cfg"), ASIC_ENTRY_NOT_EXIST);
    EXPECT_EQ(regdump_exact_name_to_asic_off(tsr_dmp_map, "tfe_history.ipv4_key_hist[3][2]"), 0x4f00000 + 44);
}

TEST(RegdumpConvert, LastWord) {
    const std::map<std::string, std::string> cases = {
        {"ftc_cntl", "ftc_cntl"},
        {"rte_l2_exm_bkt[12287][31][3]", "rte_l2_exm_bkt"},
        {"tfe_tcam[5].w3", "tfe_tcam"},
        {"emc_quad[0].emc_hss_reg.txA.w63", "txA"},
        {"emc_quad[2].emc_eps_stat_ram[3][127][1]", "emc_eps_stat_ram"},
        {"tae_history.l2_key_hist[0][1]", "l2_key_hist"},
        {"grp.wide", "wide"},
        {"w3", "w3"},
        {"grp.w", "w"},
        {"grp.w9x", "grp"},
        {"grp.", ""},
        {"", ""},
    };
    for (const auto &[name, word] : cases) {
        char short_patt[REGDUMP_NAME_SIZE];
        regdump_copy_last_word(name.c_str(), short_patt);
        EXPECT_EQ(short_patt, word) << name;
    }
}
