#include "cmPages.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <vector>

namespace {

constexpr size_t kLarge = 2 * 1024 * 1024;

} // namespace

TEST(CmPages, GivesZeroesThatCanBeWritten) {
    for (const size_t size :
         {size_t{1}, size_t{4096}, kLarge - 1, kLarge, kLarge + 1, 3 * kLarge - 4096, 20 * kLarge + 5}) {
        // Twice: what was freed must not come back as it was.
        for (int round = 0; round < 2; ++round) {
            auto *const memory = static_cast<unsigned char *>(cmAllocPages(size));
            const std::vector<unsigned char> zeroes(size);
            EXPECT_EQ(std::memcmp(memory, zeroes.data(), size), 0) << size;
            std::memset(memory, 0xa5, size);
            EXPECT_EQ(memory[size - 1], 0xa5);
            cmFreePages(memory, size);
        }
    }
    cmFreePages(nullptr, kLarge);
}

TEST(CmPages, LargeOnesBeginWithALargePage) {
    std::vector<void *> memories;
    for (int i = 0; i < 5; ++i) {
        memories.push_back(cmAllocPages(kLarge + 4096));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(memories.back()) % kLarge, 0u);
    }
    for (void *memory : memories)
        cmFreePages(memory, kLarge + 4096);
}

TEST(CmPages, SaysThatThereIsNoMemory) {
    EXPECT_THROW(cmAllocPages(SIZE_MAX / 4), std::bad_alloc);
}
