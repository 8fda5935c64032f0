// A file whose lines follow each other as in a listing is read by foretelling them; it must give what its lines give
// one by one.

#include "regenc_tsr.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "random_words.h"
#include "temp_dir.h"

namespace {

struct Outcome {
    std::unique_ptr<RegencDump> dump = std::make_unique<RegencDump>();
    std::string message; ///< with the line's number

    bool operator==(const Outcome &other) const {
        return message == other.message && std::memcmp(dump->image(), other.dump->image(), TSR_DUMP_SIZE) == 0;
    }
};

Outcome lineByLine(const std::vector<std::string> &lines) {
    Outcome outcome;
    RegencAssembler assembler(*outcome.dump);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!assembler.line(lines[i], outcome.message)) {
            outcome.message = ":" + std::to_string(i + 1) + ": " + outcome.message;
            break;
        }
    }
    return outcome;
}

Outcome asFile(const std::vector<std::string> &lines, bool isLastEnded) {
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    if (!isLastEnded)
        text.pop_back();
    const TempDir temp;
    const std::string path = temp.file("text", text);
    Outcome outcome;
    RegencAssembler assembler(*outcome.dump);
    if (!assembler.file(path, outcome.message))
        outcome.message.erase(0, path.size());
    return outcome;
}

std::string listed(const regdump_stack_t &stack, uint32_t off, uint32_t value) {
    char name[REGDUMP_NAME_SIZE];
    regdump_stack_name_str(&stack, name, sizeof(name), off);
    char columns[32];
    std::snprintf(columns, sizeof(columns), "0x%08x:  0x%08x  ", regdump_stack_get_asic_off(&stack) + off, value);
    return std::string(columns) + name;
}

/// Up to `count` lines of the listing from a word by chance of the leaf `stack` stands on.
void addRun(const regdump_stack_t &stack, uint32_t count, RandomWords &random, std::vector<std::string> &lines) {
    const uint32_t num = regdump_mapp_get_size(regdump_stack_get_map(&stack)) / 4;
    // Often where a number gets a digit more, or a word number starts again.
    uint32_t first = random() % num;
    if (random() % 2 == 0)
        first = std::min(num - 1, random() % 12);
    for (uint32_t word = first; word < std::min(num, first + count); ++word)
        lines.push_back(listed(stack, 4 * word, random()));
}

/// Changes one place of one line.
void spoil(std::vector<std::string> &lines, RandomWords &random) {
    std::string &line = lines[random() % lines.size()];
    const size_t at = random() % line.size();
    switch (random() % 6) {
    case 0:
        line[at] = "0129afx[]. #:\rZ"[random() % 15];
        break;
    case 1:
        line.erase(at, 1);
        break;
    case 2:
        line.insert(at, 1, "09 a]"[random() % 5]);
        break;
    case 3:
        line += random() % 2 ? "\r" : "  # a remark";
        break;
    case 4:
        line.resize(at);
        break;
    default:
        lines.push_back(lines[random() % lines.size()]);
        break;
    }
}

} // namespace

TEST(RegencListing, AFileIsItsLinesOneByOne) {
    RandomWords random(11);
    size_t refused = 0;
    size_t taken = 0;
    for (int round = 0; round < 120; ++round) {
        std::vector<std::string> lines;
        const uint32_t every = 40 + random() % 200;
        regdump_stack_t stack;
        regdump_stack_init(&stack, tsr_dmp_map);
        do {
            if (random() % every == 0 && (regdump_stack_get_map(&stack)->flags & REGDUMP_FLAGS_NO_DUMP) == 0)
                addRun(stack, 1 + random() % 30, random, lines);
        } while (regdump_stack_next(&stack) == 0);
        if (lines.empty())
            continue;
        for (uint32_t i = random() % 3; i != 0; --i)
            spoil(lines, random);
        const Outcome expected = lineByLine(lines);
        const Outcome outcome = asFile(lines, random() % 2 == 0);
        ASSERT_TRUE(outcome == expected) << "round " << round << ": " << outcome.message << expected.message;
        ++(expected.message.empty() ? taken : refused);
    }
    EXPECT_GT(refused, 10u);
    EXPECT_GT(taken, 10u);
}

TEST(RegencListing, AForetoldLineContradictsLikeAnyOther) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, tsr_dmp_map);
    while (std::string(regdump_stack_get_map(&stack)->name) != "rte_typ_cls_tcam")
        ASSERT_EQ(regdump_stack_next(&stack), 0);
    const std::vector<std::string> twice = {listed(stack, 0, 1), listed(stack, 4, 2), listed(stack, 0, 1),
                                            listed(stack, 4, 3)};
    const Outcome outcome = asFile(twice, true);
    EXPECT_EQ(outcome.message, lineByLine(twice).message);
    EXPECT_EQ(outcome.message.substr(0, 4), ":4: ");
    EXPECT_NE(outcome.message.find("is set again with another value (before: 0x00000002)"), std::string::npos);
}

TEST(RegencListing, TellsTheNextLine) {
    const regdump_map_t row = {"mem", nullptr, 0, 0, 4, 4, {2, 101}, 0, 0};
    RegencListingRun run;
    RegencListingRun::Word word;
    EXPECT_FALSE(run.take("0x00000004:  0x00000000  mem[0][1]\n", word));
    run.begin("0x00000020:  0x00000000  mem[0][8]", row, 0x20, 0x100);
    EXPECT_FALSE(run.take("0x00000024:  0x00000000  mem[0][9]", word)) << "its end may be missing";
    EXPECT_FALSE(run.take("0x00000028:  0x00000000  mem[0][9]\n", word));
    EXPECT_FALSE(run.take("0x00000024:  0x0000000g  mem[0][9]\n", word));
    ASSERT_TRUE(run.take("0x00000024:  0xfedcba98  mem[0][9]\nnext", word));
    EXPECT_EQ(word.value, 0xfedcba98u);
    EXPECT_EQ(word.dumpOff, 0x104u);
    EXPECT_EQ(word.name, "mem[0][9]");
    EXPECT_EQ(word.lineSize, 34u);
    ASSERT_TRUE(run.take("0x00000028:  0x00000007  mem[0][10]\n", word));
    EXPECT_EQ(word.lineSize, 35u);
    run.begin("0x0000018c:  0x00000000  mem[0][99]", row, 0x18c, 0x200);
    ASSERT_TRUE(run.take("0x00000190:  0x00000007  mem[0][100]\n", word));
    EXPECT_FALSE(run.take("0x00000194:  0x00000007  mem[0][101]\n", word)) << "the row ends";
    run.begin("0x0000018c:  0x00000000  mem[0][099]", row, 0x18c, 0x200);
    EXPECT_FALSE(run.take("0x00000190:  0x00000007  mem[0][100]\n", word));
    run.begin("0x18c:  0x00000000  mem[0][99]", row, 0x18c, 0x200);
    EXPECT_FALSE(run.take("0x00000190:  0x00000007  mem[0][100]\n", word));
}
