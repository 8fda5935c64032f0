// Named registers, memories and TCAMs.

#include "mem_reg_class.h"

#include "base/cmUtl.h"
#include "cmAssert.h"
#include "tae/cmTae.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string printed(const std::function<void()> &fn) {
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/// Three fields: `a` 7:0, `b` 31:16 (a gap below it), `wide` 71:32.
MemoryDefinition sampleDef() {
    MemoryDefinition def;
    def.name = "SAMPLE_MEM";
    def.memBase = 0x1000;
    def.memSize = 4;
    def.addField("b", 16, 16, 0);
    def.addField("wide", 40, 32, 1);
    def.addField("a", 8, 0, 2, 0x5a);
    return def;
}

M_T line(const RegMemDefinition &def) {
    return M_T(def.numFields());
}

// A device that remembers its accesses.
std::vector<std::pair<uint32_t, uint32_t>> dutWrites;
uint32_t dutWord = 0;
int dutReads = 0;
int dutWr(uint32_t addr, uint32_t data, bool) {
    dutWrites.emplace_back(addr, data);
    return 0;
}
int dutRd(uint32_t, uint32_t &data, bool) {
    data = dutWord;
    dutReads++;
    return 0;
}

} // namespace

// Fields.

TEST(MemRegField, MaskStandsInTheMemberOfTheWidth) {
    MemRegField fld;
    fld.bitWidth = 1;
    EXPECT_EQ(fld.getMask().u32, 1u);
    EXPECT_EQ(fld.getMask().u64, 0u);
    fld.bitWidth = 32;
    EXPECT_EQ(fld.getMask().u32, 0xffffffffu);
    EXPECT_EQ(fld.getMask().u64, 0u);
    fld.bitWidth = 33;
    EXPECT_EQ(fld.getMask().u32, 0u);
    EXPECT_EQ(fld.getMask().u64, 0x1ffffffffull);
    fld.bitWidth = 64;
    EXPECT_EQ(fld.getMask().u64, ~0ull);
}

TEST(MemRegField, MaskFldCutsBothMembers) {
    MemRegField fld;
    fld.bitWidth = 4;
    tFldVal val = {0xabcd, 0xffff};
    fld.maskFld(val);
    EXPECT_EQ(val.u32, 0xdu);
    EXPECT_EQ(val.u64, 0u);
    fld.bitWidth = 36;
    val = {0xabcd, ~0ull};
    fld.maskFld(val);
    EXPECT_EQ(val.u32, 0u);
    EXPECT_EQ(val.u64, 0xfffffffffull);
}

// Definitions.

TEST(RegMemDefinition, FieldsAreComparedByText) {
    const MemoryDefinition def = sampleDef();
    M_T ln_ = line(def);
    const std::string otherPointer = "b";
    EXPECT_TRUE(def.setField(otherPointer.c_str(), ln_, 0x12345678));
    EXPECT_EQ(ln_[0].u32, 0x12345678u); // stored whole
    EXPECT_EQ(def.getField("b", ln_), 0x5678u);
    EXPECT_EQ(def.fieldDefinitions.begin()->second.fieldName, "a");
}

TEST(RegMemDefinition, WideFieldsReadZeroAsOneWord) {
    const MemoryDefinition def = sampleDef();
    M_T ln_ = line(def);
    EXPECT_TRUE(def.setField2("wide", ln_, {0x77, 0xffff123456789aull}));
    EXPECT_EQ(def.getField("wide", ln_), 0u);
    EXPECT_EQ(def.getField2("wide", ln_).u64, 0x123456789aull);
    EXPECT_EQ(def.getField2("wide", ln_).u32, 0u);
}

TEST(RegMemDefinition, CountsFieldsAndBits) {
    const MemoryDefinition def = sampleDef();
    EXPECT_EQ(def.numFields(), 3u);
    EXPECT_EQ(def.bitWidth("b"), 16u);
    EXPECT_EQ(def.bitWidth("wide"), 40u);
    EXPECT_EQ(def.totalBitWidth(), 64u); // 72 bits reach to the top, 8 of them a gap
    EXPECT_EQ(def.keyWords(), 3u);
}

TEST(RegMemDefinition, InitEmptiesADefinition) {
    MemoryDefinition def = sampleDef();
    static_cast<RegMemDefinition &>(def).init();
    EXPECT_EQ(def.numFields(), 0u);
    EXPECT_EQ(def.memSize, 0u);
    EXPECT_EQ(def.memBase, 0u);
    EXPECT_EQ(def.name, "");
}

TEST(RegMemDefinition, PacksEachFieldAtItsBits) {
    const MemoryDefinition def = sampleDef();
    M_T ln_ = line(def);
    def.setField("a", ln_, 0xfff);
    def.setField("b", ln_, 0x1234);
    def.setField2("wide", ln_, {0, 0xab87654321ull});
    uint32_t key[3] = {~0u, ~0u, 0};
    def.packBinaryKey(ln_, key);
    EXPECT_EQ(key[0], 0x123400ffu);
    EXPECT_EQ(key[1], 0x87654321u);
    EXPECT_EQ(key[2], 0xabu);

    M_T back = {{9, 9}};
    def.unpackBinaryKey(key, back);
    ASSERT_EQ(back.size(), 3u);
    EXPECT_EQ(back[2].u32, 0xffu);
    EXPECT_EQ(back[0].u32, 0x1234u);
    EXPECT_EQ(back[1].u64, 0xab87654321ull);
    EXPECT_EQ(back[1].u32, 0u);
}

TEST(RegMemDefinition, ANarrowFieldReachesIntoTheNextWord) {
    RegMemDefinition def;
    def.addField("x", 8, 28, 0);
    def.addField("low", 28, 0, 1);
    M_T ln_ = line(def);
    def.setField("x", ln_, 0xa5);
    uint32_t key[2] = {~0u, ~0u};
    def.packBinaryKey(ln_, key);
    EXPECT_EQ(key[0], 0x50000000u);
    EXPECT_EQ(key[1], 0xau);
    M_T back;
    def.unpackBinaryKey(key, back);
    EXPECT_EQ(back[0].u32, 0xa5u);
    EXPECT_EQ(back[1].u32, 0u);
}

TEST(RegMemDefinition, AFieldOf33BitsAtOffset31ComesBackWhole) {
    RegMemDefinition def;
    def.addField("low", 31, 0, 0);
    def.addField("wide", 33, 31, 1);
    M_T ln_ = line(def);
    def.setField2("wide", ln_, {0, 0x1c0000003ull});
    uint32_t key[3] = {};
    def.packBinaryKey(ln_, key);
    EXPECT_EQ(key[0], 0x80000000u);
    EXPECT_EQ(key[1], 0xe0000001u);
    EXPECT_EQ(key[2], 0u);
    M_T back;
    def.unpackBinaryKey(key, back);
    EXPECT_EQ(back[1].u64, 0x1c0000003ull);
}

TEST(RegMemDefinition, AFieldWiderThanItsTwoWordsReachesIntoAThird) {
    RegMemDefinition def;
    def.addField("low", 31, 0, 0);
    def.addField("wide", 64, 31, 1);
    M_T ln_ = line(def);
    def.setField2("wide", ln_, {0, 0xf123456789abcdefull});
    uint32_t key[3] = {};
    def.packBinaryKey(ln_, key);
    EXPECT_EQ(key[0], 0x80000000u);
    EXPECT_EQ(key[1], 0xc4d5e6f7u);
    EXPECT_EQ(key[2], 0x7891a2b3u);
    M_T back;
    def.unpackBinaryKey(key, back);
    EXPECT_EQ(back[1].u64, 0xf123456789abcdefull);
}

TEST(RegMemDefinition, MaskFieldsToWidthCutsEveryField) {
    const MemoryDefinition def = sampleDef();
    M_T ln_(3, tFldVal{~0u, ~0ull});
    def.MaskFieldsToWidth(ln_);
    EXPECT_EQ(ln_[0].u32, 0xffffu);
    EXPECT_EQ(ln_[0].u64, 0u);
    EXPECT_EQ(ln_[1].u32, 0u);
    EXPECT_EQ(ln_[1].u64, 0xffffffffffull);
    EXPECT_EQ(ln_[2].u32, 0xffu);
}

// Messages of names that are not known.

using MemRegDeathTest = testing::Test;

TEST(MemRegDeathTest, UnknownFieldOnReading) {
    const MemoryDefinition def = sampleDef();
    const M_T ln_ = line(def);
    EXPECT_EXIT(def.getField("nope", ln_), testing::KilledBySignal(SIGABRT),
                "PANIC: getField -- field <nope> not found in memory <SAMPLE_MEM>\n.*"
                "iFld != fieldDefinitions\\.end\\(\\)");
    EXPECT_EXIT(def.getField2("nope", ln_), testing::KilledBySignal(SIGABRT),
                "PANIC: getField -- field <nope> not found in memory <SAMPLE_MEM>");
    EXPECT_EXIT(def.bitWidth("nope"), testing::KilledBySignal(SIGABRT), "iFld != fieldDefinitions\\.end\\(\\)");
}

TEST(MemRegDeathTest, FieldBeyondTheLineOnReading) {
    const MemoryDefinition def = sampleDef();
    const M_T shortLine(1);
    EXPECT_EQ(def.getField("b", shortLine), 0u);
    EXPECT_EXIT(def.getField("a", shortLine), testing::KilledBySignal(SIGABRT), "aFld\\.pos < ln_\\.size\\(\\)");
    EXPECT_EXIT(def.getField2("wide", shortLine), testing::KilledBySignal(SIGABRT), "aFld\\.pos < ln_\\.size\\(\\)");
}

TEST(MemRegDeathTest, UnknownFieldOnWriting) {
    const MemoryDefinition def = sampleDef();
    M_T ln_ = line(def);
    EXPECT_EXIT(def.setField("nope", ln_, 1), testing::KilledBySignal(SIGABRT),
                "PANIC: setField - field <nope> not found in memory <SAMPLE_MEM>\n.*"
                "found && \\(iFld != fieldDefinitions\\.end\\(\\)\\)");
    EXPECT_EXIT(def.setField2("nope", ln_, {}), testing::KilledBySignal(SIGABRT),
                "ERROR>> setField - field <nope> not found in memory <SAMPLE_MEM>\n.*"
                "found && \\(iFld != fieldDefinitions\\.end\\(\\)\\)");
}

TEST(MemRegDeathTest, FieldBeyondTheLineOnWriting) {
    const MemoryDefinition def = sampleDef();
    M_T shortLine(1);
    EXPECT_EXIT(def.setField("a", shortLine, 1), testing::KilledBySignal(SIGABRT),
                "ERROR>> .*setField.*: ln_\\.size=1 -- aFld\\.pos=2 -- fld_name_=a\n.*Assertion");
    EXPECT_EXIT(def.setField2("wide", shortLine, {}), testing::KilledBySignal(SIGABRT),
                "ERROR>> .*setField2.*: ln_\\.size=1 -- aFld\\.pos=1 -- fld_name_=wide\n.*Assertion");
}

TEST(MemRegDeathTest, AFailedAssertionAbortsInEveryBuild) {
    EXPECT_EXIT(CM_ASSERT(1 + 1 == 3), testing::KilledBySignal(SIGABRT), "Assertion `1 \\+ 1 == 3' failed");
}

TEST(MemRegDeathTest, AnArrayWiderThan512BitsIsRefused) {
    MemoryDefinition def;
    def.memSize = 1;
    static const char *const names[] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7"};
    for (unsigned f = 0; f < 8; f++)
        def.addField(names[f], 64, 64 * f, f);
    EXPECT_EQ(EmbeddedMemoryArray(&def, nullptr, nullptr).nwords, 16u);
    def.addField("top", 1, 512, 8);
    EXPECT_EXIT(EmbeddedMemoryArray(&def, nullptr, nullptr), testing::KilledBySignal(SIGABRT),
                "PANIC: TCAM memory wider than 512 bits\\. Adjust the implementation\n.*Assertion");
}

// Registers.

class RegisterTest : public testing::Test {
protected:
    RegisterTest() {
        def.name = "A_REG";
        def.memBase = 0x2000;
        def.addField("hi", 4, 8, 0);
        def.addField("lo", 4, 0, 1);
        dutWrites.clear();
        dutReads = 0;
    }
    RegisterDefinition def;
};

TEST_F(RegisterTest, StartsZeroAndKeepsItsFields) {
    Register reg(&def, nullptr, nullptr);
    ASSERT_EQ(reg.value.size(), 2u);
    EXPECT_EQ(reg.getWord(), 0u);
    EXPECT_TRUE(reg.setField("hi", 0xab, false, true));
    EXPECT_EQ(reg.getField("hi"), 0xbu);
    EXPECT_EQ(reg.getWord(), 0xb00u);
    M_T out;
    EXPECT_EQ(reg.readReg(out, false, true), 0);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].u32, 0xabu); // as stored
}

TEST_F(RegisterTest, AWordLosesBitsWithoutField) {
    Register reg(&def, nullptr, nullptr);
    reg.setWord(0xffffffff, false, true);
    EXPECT_EQ(reg.getWord(), 0xf0fu);
}

TEST_F(RegisterTest, WritesTheDeviceOnlyWhenAsked) {
    Register reg(&def, dutWr, dutRd);
    reg.setField("hi", 3, false, true);
    reg.setField("hi", 4, true, false); // not a poke
    EXPECT_TRUE(dutWrites.empty());
    reg.setField("lo", 5, true, true);
    ASSERT_EQ(dutWrites.size(), 1u);
    EXPECT_EQ(dutWrites[0].first, 0x2000u);
    EXPECT_EQ(dutWrites[0].second, 0x405u);
    Register alone(&def, nullptr, nullptr);
    alone.setField("lo", 5, true, true); // no function: nothing happens
    EXPECT_EQ(dutWrites.size(), 1u);
}

// Sparse memories.

class EmbeddedMemoryTest : public testing::Test {
protected:
    EmbeddedMemoryTest() : def(sampleDef()), mem(&def, dutWr, dutRd) {
        dutWrites.clear();
        dutReads = 0;
    }
    M_T aLine(uint32_t a, uint32_t b) {
        M_T ln_ = line(def);
        def.setField("a", ln_, a);
        def.setField("b", ln_, b);
        return ln_;
    }
    MemoryDefinition def;
    EmbeddedMemory mem;
};

TEST_F(EmbeddedMemoryTest, AnUnwrittenEntryReadsResetValAndIsNotCreated) {
    M_T out;
    EXPECT_EQ(mem.readEntry(3, out), 0);
    EXPECT_EQ(def.getField("a", out), 0x5au);
    EXPECT_EQ(mem.readEntryField(3, "a"), 0x5au);
    EXPECT_EQ(mem.readEntryField2(3, "wide").u64, 0u);
    EXPECT_TRUE(mem.memContent.empty());
    EXPECT_FALSE(mem.isWritten(3));
}

TEST_F(EmbeddedMemoryTest, AWrittenEntryIsACopyOfTheLine) {
    M_T ln_ = aLine(0x1ff, 2);
    EXPECT_EQ(mem.writeAt(1, ln_, false, true), 0);
    ln_[0].u32 = 99;
    M_T out;
    EXPECT_EQ(mem.readEntry(1, out), 0);
    EXPECT_EQ(out[2].u32, 0x1ffu); // a line is kept as it was given
    EXPECT_EQ(out[0].u32, 2u);
    EXPECT_EQ(mem.readEntryField(1, "a"), 0xffu);
    EXPECT_TRUE(mem.isWritten(1));
    EXPECT_EQ(mem.memContent.size(), 1u);
}

TEST_F(EmbeddedMemoryTest, APackedWriteReadsAsItsUnpackedLine) {
    const uint32_t words[3] = {0xabcdef12, 0x11111111, 0xffffff22};
    mem.writeRaw(2, words);
    M_T expected;
    def.unpackBinaryKey(words, expected);
    M_T out;
    ASSERT_EQ(mem.readEntry(2, out), 0);
    ASSERT_EQ(out.size(), expected.size());
    for (size_t f = 0; f < out.size(); f++) {
        EXPECT_EQ(out[f].u32, expected[f].u32);
        EXPECT_EQ(out[f].u64, expected[f].u64);
    }
    EXPECT_EQ(mem.readEntryField(2, "b"), 0xabcdu);
    EXPECT_EQ(mem.readEntryField2(2, "wide").u64, 0x2211111111ull);
    EXPECT_EQ(mem.readEntryField(1, "a"), 0x5au); // its neighbour stays unwritten
    EXPECT_TRUE(mem.isWritten(2));
    EXPECT_FALSE(mem.isWritten(1));
}

TEST_F(EmbeddedMemoryTest, APackedReadGivesTheFieldsOfTheEntry) {
    const uint32_t written[3] = {0xabcdef12, 0x11111111, 0xffffff22};
    mem.writeRaw(2, written);
    mem.writeAt(1, aLine(0x1ff, 2), false, true);
    for (const uint32_t addr : {0u, 1u, 2u}) {
        M_T ln_;
        ASSERT_EQ(mem.readEntry(addr, ln_), 0);
        uint32_t expected[3] = {};
        def.packBinaryKey(ln_, expected);
        uint32_t words[3] = {~0u, ~0u, ~0u};
        ASSERT_EQ(mem.readRaw(addr, words), 0);
        for (int w = 0; w < 3; w++)
            EXPECT_EQ(words[w], expected[w]) << addr << " word " << w;
    }
    uint32_t words[3] = {1, 2, 3};
    testing::internal::CaptureStdout();
    EXPECT_EQ(mem.readRaw(mem.memSize(), words), -1);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("smaller than read address"), std::string::npos);
    EXPECT_EQ(words[2], 3u);
}

TEST_F(EmbeddedMemoryTest, TheLaterOfTwoWritesCounts) {
    const uint32_t words[3] = {0x00070008, 0, 0};
    mem.writeAt(0, aLine(1, 2), false, true);
    mem.writeRaw(0, words);
    EXPECT_EQ(mem.readEntryField(0, "a"), 8u);
    EXPECT_EQ(mem.readEntryField(0, "b"), 7u);
    mem.writeAt(0, aLine(3, 4), false, true);
    EXPECT_EQ(mem.readEntryField(0, "a"), 3u);
    EXPECT_EQ(mem.readEntryField(0, "b"), 4u);
}

TEST_F(EmbeddedMemoryTest, AddressesBeyondTheMemoryAreRefused) {
    M_T out;
    EXPECT_EQ(printed([&] { EXPECT_LT(mem.readEntry(4, out), 0); }),
              "Error: memory 'SAMPLE_MEM', defined size (4) smaller than read address (4)\n");
    EXPECT_LT(mem.writeAt(4, aLine(1, 1), false, true), 0);
    const uint32_t words[3] = {1, 2, 3};
    mem.writeRaw(4, words);
    EXPECT_FALSE(mem.isWritten(4));
    EXPECT_TRUE(mem.memContent.empty());
}

TEST_F(EmbeddedMemoryTest, FieldReadBeyondTheMemoryFailsItsAssertion) {
    EXPECT_EXIT(mem.readEntryField(4, "a"), testing::KilledBySignal(SIGABRT), "readEntry\\(index_, ln_\\)>=0");
    EXPECT_EXIT(mem.readEntryField2(4, "a"), testing::KilledBySignal(SIGABRT), "readEntry\\(index_, ln_\\)>=0");
}

TEST_F(EmbeddedMemoryTest, RangesCountTheirEntries) {
    EXPECT_EQ(mem.writeRange(1, 3, aLine(7, 0)), 3u);
    EXPECT_FALSE(mem.isWritten(0));
    for (uint32_t i = 1; i <= 3; i++)
        EXPECT_EQ(mem.readEntryField(i, "a"), 7u);
    EXPECT_EQ(mem.writeRange(2, 1, aLine(9, 0)), 0u);
    EXPECT_EQ(mem.randomizeContent(2, 3), 2u);
    EXPECT_EQ(mem.readEntryField(1, "a"), 7u);
    EXPECT_EQ(mem.readEntryField(2, "a"), 0u); // an empty line, not the reset value
    EXPECT_EQ(mem.randomizeContent(1, 0), 0u);
}

TEST_F(EmbeddedMemoryTest, ReadingComparesWithTheDeviceWordByWord) {
    mem.writeAt(1, aLine(0x11, 0x2222), false, true);
    M_T out;
    dutWord = 0x22220012;
    EXPECT_EQ(printed([&] { EXPECT_EQ(mem.readEntry(1, out, true, true), 0); }),
              "addr: 1 -- mismatch, cm: 22220011 dut: 22220012\n"
              "addr: 1 -- mismatch, cm: 0 dut: 22220012\n"
              "addr: 1 -- mismatch, cm: 0 dut: 12\n");
    EXPECT_EQ(dutReads, 3);
    EXPECT_EQ(printed([&] { mem.readEntry(1, out, true, false); }), ""); // not a peek
    EXPECT_EQ(dutReads, 3);
    EXPECT_EQ(def.getField("a", out), 0x11u);
}

TEST_F(EmbeddedMemoryTest, WritesTheDeviceAtTheEntrysAddress) {
    mem.writeAt(1, aLine(0x11, 0x2222), true, true);
    ASSERT_EQ(dutWrites.size(), 3u);
    EXPECT_EQ(dutWrites[0], std::make_pair(0x100cu, 0x22220011u));
    EXPECT_EQ(dutWrites[2], std::make_pair(0x1014u, 0u));
}

TEST_F(EmbeddedMemoryTest, ContentHooksDoNothing) {
    mem.writeAt(1, aLine(1, 1), false, true);
    mem.copyContentToRtl();
    mem.copyContentFromRtl();
    EXPECT_EQ(mem.readEntryField(1, "a"), 1u);
    EXPECT_TRUE(dutWrites.empty());
    EXPECT_EQ(dutReads, 0);
}

// Dense memories.

TEST(EmbeddedMemoryArray, KeepsRowsCutToTheirFields) {
    const MemoryDefinition def = sampleDef();
    EmbeddedMemoryArray arr(&def, nullptr, nullptr);
    EXPECT_EQ(arr.nwords, 2u);
    EXPECT_EQ(arr.memSize, 4u);
    M_T out;
    EXPECT_EQ(arr.readEntry(3, out, false, true), 0);
    EXPECT_EQ(def.getField("a", out), 0u); // cleared, not reset
    M_T ln_(3, tFldVal{~0u, ~0ull});
    EXPECT_EQ(arr.writeAt(3, ln_, false, true), 0);
    EXPECT_EQ(arr.word(3, 0), 0xffff00ffu);
    EXPECT_EQ(arr.word(3, 1), 0xffffffffu);
    EXPECT_EQ(arr.word(2, 0), 0u);
    EXPECT_EQ(arr.readEntry(3, out, false, true), 0);
    EXPECT_EQ(out[0].u32, 0xffffu);
}

TEST(EmbeddedMemoryArray, AWriteAtMemSizeChangesNothing) {
    const MemoryDefinition def = sampleDef();
    EmbeddedMemoryArray arr(&def, dutWr, dutRd);
    dutWrites.clear();
    EXPECT_EQ(arr.writeAt(4, M_T(3, tFldVal{~0u, ~0ull}), true, true), -1);
    for (uint32_t row = 0; row < 4; row++) {
        EXPECT_EQ(arr.word(row, 0), 0u);
        EXPECT_EQ(arr.word(row, 1), 0u);
    }
    EXPECT_TRUE(dutWrites.empty());
    M_T out;
    EXPECT_EQ(arr.readEntry(4, out, false, true), -1);
    EXPECT_EQ(arr.writeAt(0, M_T(3), true, true), 0);
    EXPECT_EQ(dutWrites.size(), 3u);
}

TEST(EmbeddedMemoryArray, FillsWholeRows) {
    const MemoryDefinition def = sampleDef();
    EmbeddedMemoryArray arr(&def, nullptr, nullptr);
    arr.fill(1, 2 * 8);
    EXPECT_EQ(arr.word(1, 0), 0x01010101u);
    EXPECT_EQ(arr.word(1, 1), 0x01010101u);
    EXPECT_EQ(arr.word(2, 0), 0u);
    arr.fill(2, 1000);
    EXPECT_EQ(arr.word(3, 1), 0x02020202u);
}

// TCAMs.

class EmbeddedTcamTest : public testing::Test {
protected:
    EmbeddedTcamTest() {
        def.name = "A_TCAM";
        def.memSize = 70;
        static const char *const names[] = {"w0", "w1", "w2", "w3", "w4", "w5", "w6", "w7"};
        for (unsigned w = 0; w < 8; w++)
            def.addField(names[w], 32, 32 * w, w);
        tcam = std::make_unique<EmbeddedTcam>(&def, nullptr, nullptr);
        tcam->fill(1, 70 * 64);
    }
    void exact(uint32_t idx, const uint32_t *words) {
        uint32_t x[8];
        for (int w = 0; w < 8; w++)
            x[w] = ~words[w];
        tcam->writeXYRaw(idx, words, x);
    }
    std::vector<int> lookup(const uint32_t *words) {
        std::vector<int> hits = {77, 78};
        tcam->doLookup(words, hits);
        return hits;
    }
    MemoryDefinition def;
    std::unique_ptr<EmbeddedTcam> tcam;
    const uint32_t key[8] = {1, 2, 3, 4, 5, 6, 7, 8};
};

TEST_F(EmbeddedTcamTest, AFilledTcamMatchesNothing) {
    const uint32_t zero[8] = {};
    EXPECT_TRUE(lookup(key).empty());
    EXPECT_TRUE(lookup(zero).empty());
}

TEST_F(EmbeddedTcamTest, FindsAllHitsLowestFirst) {
    for (const uint32_t idx : {69u, 0u, 31u, 32u, 64u})
        exact(idx, key);
    EXPECT_EQ(lookup(key), (std::vector<int>{0, 31, 32, 64, 69}));
}

TEST_F(EmbeddedTcamTest, EachWordTakesPart) {
    exact(5, key);
    for (int w = 0; w < 8; w++) {
        for (const uint32_t flip : {1u, 0x80000000u}) {
            uint32_t other[8];
            std::copy_n(key, 8, other);
            other[w] ^= flip;
            EXPECT_TRUE(lookup(other).empty()) << w;
        }
    }
    EXPECT_EQ(lookup(key), std::vector<int>{5});
}

TEST_F(EmbeddedTcamTest, BitPairsMatchAsTheCellsDo) {
    for (const int w : {0, 7}) {
        uint32_t x[8] = {};
        uint32_t y[8] = {};
        const uint32_t zero[8] = {};
        uint32_t one[8] = {};
        one[w] = 4;
        tcam->writeXYRaw(9, y, x);
        EXPECT_EQ(lookup(zero).size(), 1u); // neither: anything
        EXPECT_EQ(lookup(one).size(), 1u);
        x[w] = 4;
        tcam->writeXYRaw(9, y, x);
        EXPECT_EQ(lookup(zero).size(), 1u); // X: a 0
        EXPECT_EQ(lookup(one).size(), 0u);
        x[w] = 0;
        y[w] = 4;
        tcam->writeXYRaw(9, y, x);
        EXPECT_EQ(lookup(zero).size(), 0u); // Y: a 1
        EXPECT_EQ(lookup(one).size(), 1u);
        x[w] = 4;
        tcam->writeXYRaw(9, y, x);
        EXPECT_EQ(lookup(zero).size(), 0u); // both: nothing
        EXPECT_EQ(lookup(one).size(), 0u);
        EXPECT_FALSE(tcam->compareKey(one, x, y));
        EXPECT_FALSE(tcam->compareKey(zero, x, y));
    }
}

TEST_F(EmbeddedTcamTest, LinesAndPackedWordsLeaveTheSame) {
    M_T y(8);
    M_T x(8);
    uint32_t yWords[8];
    uint32_t xWords[8];
    for (uint32_t w = 0; w < 8; w++) {
        yWords[w] = 0xf0000000u + w;
        xWords[w] = 0x0a000000u + w;
        y[w].u32 = yWords[w];
        x[w].u32 = xWords[w];
    }
    EXPECT_EQ(tcam->writeXYAt(3, y, x, false, true), 0);
    tcam->writeXYRaw(4, yWords, xWords);
    for (uint32_t w = 0; w < 8; w++) {
        EXPECT_EQ(tcam->pMemXY->word(6, w), yWords[w]);
        EXPECT_EQ(tcam->pMemXY->word(7, w), xWords[w]);
        EXPECT_EQ(tcam->pMemXY->word(8, w), yWords[w]);
        EXPECT_EQ(tcam->pMemXY->word(9, w), xWords[w]);
    }
    M_T yBack;
    M_T xBack;
    EXPECT_EQ(tcam->readXY(4, yBack, xBack, false, true), 0);
    EXPECT_EQ(yBack[5].u32, yWords[5]);
    EXPECT_EQ(xBack[0].u32, xWords[0]);
}

TEST_F(EmbeddedTcamTest, EntriesBeyondTheTcamAreRefused) {
    EXPECT_EQ(tcam->memSize(), 70u);
    EXPECT_EQ(tcam->pMemXY->memSize, 140u);
    M_T y(8);
    M_T x(8);
    EXPECT_EQ(tcam->writeXYAt(70, y, x, false, true), -1);
    EXPECT_EQ(tcam->writeXYAt(0x80000000u, y, x, false, true), -1);
    EXPECT_EQ(tcam->readXY(70, y, x, false, true), -1);
    tcam->writeXYRaw(70, key, key);
    EXPECT_TRUE(lookup(key).empty());
}

// Blocks.

namespace {
int initCalls = 0;
RegisterDefinition blkRegDef;
MemoryDefinition blkRamDef;
std::unique_ptr<Register> blkReg;
std::unique_ptr<EmbeddedMemory> blkRam;
std::unique_ptr<EmbeddedTcam> blkTcam;

void initRegs(tRegPtrMap &regs) {
    EXPECT_EQ(initCalls++, 0);
    blkRegDef = RegisterDefinition();
    blkRegDef.name = "B_REG";
    blkRegDef.addField("f", 8, 4, 0);
    blkReg = std::make_unique<Register>(&blkRegDef, dpiRegWrPoke, dpiRegRdPeek);
    regs["B_REG"] = blkReg.get();
}
void initRams(tMemPtrMap &rams) {
    EXPECT_EQ(initCalls++, 1);
    blkRamDef = sampleDef();
    blkRam = std::make_unique<EmbeddedMemory>(&blkRamDef, dpiMemWrPoke, dpiMemRdPeek);
    rams["B_RAM"] = blkRam.get();
}
void initTcams(tTcamPtrMap &tcams) {
    EXPECT_EQ(initCalls++, 2);
    const MemoryDefinition def = sampleDef();
    blkTcam = std::make_unique<EmbeddedTcam>(&def, dpiMemWrPoke, dpiMemRdPeek);
    tcams["B_TCAM"] = blkTcam.get();
}
} // namespace

class CmChipBlockTest : public testing::Test {
protected:
    CmChipBlockTest() : block(initRegs, initRams, initTcams) {
        initCalls = 0;
        EXPECT_TRUE(block.RegCollection.empty());
        EXPECT_EQ(block.configure(), 0);
        EXPECT_EQ(initCalls, 3);
    }
    CmChipBlock block;
};

TEST(CmChipBlock, ConfigureNeedsAllThreeFunctions) {
    initCalls = 0;
    CmChipBlock none;
    EXPECT_EQ(none.configure(), -1);
    EXPECT_EQ(CmChipBlock(nullptr, initRams, initTcams).configure(), -1);
    EXPECT_EQ(CmChipBlock(initRegs, nullptr, initTcams).configure(), -2);
    EXPECT_EQ(CmChipBlock(initRegs, initRams, nullptr).configure(), -3);
    EXPECT_EQ(initCalls, 0);
}

TEST_F(CmChipBlockTest, RegistersByName) {
    block.BLK_REG_SET("B_REG", 0xffffff5f, false, true);
    EXPECT_EQ(block.BLK_REG_GET("B_REG"), 0xf50u);
    EXPECT_EQ(block.BLK_REG_GET_FLD("B_REG", "f"), 0xf5u);
    block.BLK_REG_SET_FLD("B_REG", "f", 0x12, false, true);
    EXPECT_EQ(block.BLK_REG_GET("B_REG"), 0x120u);
}

TEST_F(CmChipBlockTest, TheDeviceIsRefused) {
    EXPECT_EQ(printed([&] { block.BLK_REG_SET("B_REG", 0x10, true, true); }),
              "USAGE ERROR: No DUT write allowed in Ref Model\n");
    M_T ln_;
    EXPECT_EQ(printed([&] { blkReg->readReg(ln_, true, true); }), "USAGE ERROR: No DUT read allowed in Ref Model\n");
    EXPECT_EQ(printed([&] { blkRam->readEntry(0, ln_, true, true); }),
              "USAGE ERROR: No DUT read allowed in Ref Model\n");
    uint32_t data = 5;
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(dpiRegWrPoke(0, 0, true), -1);
                  EXPECT_EQ(dpiRegRdPeek(0, data, true), -1);
                  EXPECT_EQ(dpiMemWrPoke(0, 0, true), -1);
                  EXPECT_EQ(dpiMemRdPeek(0, data, true), -1);
              }),
              "USAGE ERROR: No DUT write allowed in Ref Model\nUSAGE ERROR: No DUT read allowed in Ref Model\n"
              "USAGE ERROR: No DUT write allowed in Ref Model\nUSAGE ERROR: No DUT read allowed in Ref Model\n");
    EXPECT_EQ(data, 5u);
}

TEST_F(CmChipBlockTest, MemoryFieldsByDefinitionAndByName) {
    M_T ln_ = line(blkRamDef);
    CmChipBlock::BLK_RAM_SET_FLD(&blkRamDef, "a", ln_, 0x44);
    block.BLK_RAM_SET_FLD("B_RAM", "b", ln_, 0x55);
    EXPECT_EQ(CmChipBlock::BLK_RAM_ENTRY_GET_FLD(&blkRamDef, "a", ln_), 0x44u);
    EXPECT_EQ(CmChipBlock::BLK_RAM_ENTRY_GET_FLD(&blkRamDef, "b", ln_), 0x55u);
    CmChipBlock::BLK_RAM_SET_FLD_U64(&blkRamDef, "wide", ln_, 0x8000000001ull);
    EXPECT_EQ(blkRamDef.getField2("wide", ln_).u64, 0x8000000001ull);
    block.BLK_RAM_SET_FLD_U64("B_RAM", "wide", ln_, 0x7000000002ull);
    EXPECT_EQ(blkRamDef.getField2("wide", ln_).u64, 0x7000000002ull);
    block.BLK_RAM_SET_FLD_U64("B_RAM", "a", ln_, 0x66);
    EXPECT_EQ(blkRamDef.getField("a", ln_), 0x66u);
}

TEST_F(CmChipBlockTest, TcamFieldsBecomeBitPairs) {
    M_T y = line(blkRamDef);
    M_T x = line(blkRamDef);
    block.BLK_TCAM_SET_FLD("B_TCAM", "a", y, x, 0x0a, 0x0f);
    EXPECT_EQ(blkRamDef.getField("a", y), 0x0au);
    EXPECT_EQ(blkRamDef.getField("a", x), 0x05u);
    CmChipBlock::BLK_TCAM_SET_FLD_U64(&blkRamDef, "wide", y, x, 0xff00000000ull, 0xf0000000ffull);
    EXPECT_EQ(blkRamDef.getField2("wide", y).u64, 0xf000000000ull);
    EXPECT_EQ(blkRamDef.getField2("wide", x).u64, 0xffull);
    block.BLK_TCAM_SET_FLD_U64("B_TCAM", "wide", y, x, 1, 1);
    EXPECT_EQ(blkRamDef.getField2("wide", y).u64, 1u);
    CmChipBlock::BLK_TCAM_SET_FLD(&blkRamDef, "b", y, x, 0, 0xffff);
    EXPECT_EQ(blkRamDef.getField("b", x), 0xffffu);
}

TEST_F(CmChipBlockTest, PrintsEachFieldOfALine) {
    M_T ln_ = line(blkRamDef);
    blkRamDef.setField("a", ln_, 0x1ff);
    blkRamDef.setField2("wide", ln_, {0, 0x123456789ull});
    EXPECT_EQ(printed([&] { CmChipBlock::DBG_PRNT_MEM_FLDS(&blkRamDef, ln_, "a title"); }),
              "a title\n"
              "    a                   =       ff\n"
              "    b                   =        0\n"
              "    wide                = 123456789\n");
}

TEST_F(CmChipBlockTest, UnknownNamesEndTheRun) {
    const char *const plain = "PANIC: register not found:NO_REG\n.*Assertion `0' failed";
    EXPECT_EXIT(block.BLK_REG_GET("NO_REG"), testing::KilledBySignal(SIGABRT), plain);
    EXPECT_EXIT(block.BLK_REG_SET("NO_REG", 1, false, true), testing::KilledBySignal(SIGABRT), plain);
    const char *const found = "PANIC: register not found:NO_REG\n.*"
                              "\\(regItr = RegCollection\\.find\\(rnam\\)\\)!=RegCollection\\.end\\(\\)";
    EXPECT_EXIT(block.BLK_REG_GET_FLD("NO_REG", "f"), testing::KilledBySignal(SIGABRT), found);
    EXPECT_EXIT(block.BLK_REG_SET_FLD("NO_REG", "f", 1, false, true), testing::KilledBySignal(SIGABRT), found);
    EXPECT_EXIT(block.BLK_REG_GET_FLD("B_REG", "no"), testing::KilledBySignal(SIGABRT),
                "PANIC: getField -- field <no> not found in memory <B_REG>");
    EXPECT_EXIT(block.BLK_REG_SET_FLD("B_REG", "no", 1, false, true), testing::KilledBySignal(SIGABRT),
                "PANIC: setField - field <no> not found in memory <B_REG>");
    M_T ln_ = line(blkRamDef);
    EXPECT_EXIT(block.BLK_RAM_SET_FLD("NO_RAM", "a", ln_, 1), testing::KilledBySignal(SIGABRT),
                "PANIC: memory not found:NO_RAM");
    EXPECT_EXIT(block.BLK_TCAM_SET_FLD("NO_TCAM", "a", ln_, ln_, 1, 1), testing::KilledBySignal(SIGABRT),
                "PANIC: memory not found:NO_TCAM");
}
