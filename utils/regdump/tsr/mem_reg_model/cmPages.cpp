#include "cmPages.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>

static constexpr size_t kPage = 4096;
static constexpr size_t kLargePage = 2 * 1024 * 1024;

static constexpr size_t roundUp(size_t size, size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// A mapping that begins with a large page. Its last part, which fills no large page, lies in small ones, so that no
/// memory is taken that nobody uses.
static void *allocMapping(size_t size) {
    const size_t room = roundUp(size, kPage) + kLargePage;
    void *const mapping = mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        throw std::bad_alloc();
    char *const begin = static_cast<char *>(mapping);
    const size_t before = roundUp(reinterpret_cast<uintptr_t>(begin), kLargePage) - reinterpret_cast<uintptr_t>(begin);
    char *const memory = begin + before;
    if (before != 0)
        munmap(begin, before);
    if (before != kLargePage)
        munmap(memory + roundUp(size, kPage), kLargePage - before);
    madvise(memory, size / kLargePage * kLargePage, MADV_HUGEPAGE);
    return memory;
}

void *cmAllocPages(size_t size) {
    if (size >= kLargePage)
        return allocMapping(size);
    void *const memory = std::calloc(1, size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void cmFreePages(void *memory, size_t size) {
    if (memory == nullptr)
        return;
    if (size >= kLargePage)
        munmap(memory, size);
    else
        std::free(memory);
}
