#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "asic_reg_dump.h"

// A small chip: scalars, an array, a group of two with a group inside and a row that its second instance lacks, a row
// that is not dumped, and three kinds of TCAM.
inline const regdump_map_t INNER_MAP[] = {
    {"deep", nullptr, 0x0, 0x0, 4, 4, {2}, 0, 0},
    {},
};
inline const regdump_map_t QUAD_MAP[] = {
    {"cfg", nullptr, 0x0, 0x0, 4, 4, {1}, 0, 0},
    {"limited", nullptr, 0x4, 0x4, 4, 4, {1}, 1, 0},
    {"inner", INNER_MAP, 0x40, 0x8, 0x100, 0x8, {1}, 0, 0},
    {},
};
inline const regdump_map_t CHIP_MAP[] = {
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

inline int readChip(void *contextp, uint32_t offset, uint32_t *dst, uint32_t num_words) {
    FakeChip *chip = static_cast<FakeChip *>(contextp);
    chip->reads.emplace_back(offset, num_words);
    if (chip->errors.count(offset) != 0)
        return chip->errors[offset];
    for (uint32_t i = 0; i < num_words; ++i)
        dst[i] = chip->words[offset + 4 * i];
    return 0;
}

inline int writeChip(void *contextp, uint32_t offset, const uint32_t *src, uint32_t num_words,
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
inline int readShadow(void *contextp, uint32_t offset, const uint32_t **shadpp) {
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
inline bool operator==(const Outcome &a, const Outcome &b) {
    return a.rval == b.rval && a.out == b.out;
}
inline void PrintTo(const Outcome &outcome, std::ostream *os) {
    *os << outcome.rval << "\n" << outcome.out;
}

template <typename Job> Outcome outcomeOf(Job job) {
    testing::internal::CaptureStdout();
    const int rval = job();
    return {rval, testing::internal::GetCapturedStdout()};
}
