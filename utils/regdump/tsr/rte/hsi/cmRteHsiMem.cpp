#include "hsi/cmRteHsiMem.h"

#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "be_word.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace {

/// The widest entry, in words; every entry's width divides it.
constexpr uint32_t kMaxWords = CmRteHsiHold::kWords;

/// One range of a block's memory map.
struct MemRange {
    uint32_t first; // first and last byte address
    uint32_t last;
    uint32_t word;            // the memory's first word in the block's record
    uint32_t n;               // words of an entry
    uint32_t mask[kMaxWords]; // masks of the words of an entry, repeated to the end
};

/// A row of a memory map: the entry's masks are repeated until the list is full.
template <class... Masks>
constexpr MemRange memRange(uint32_t first, uint32_t last, size_t byteOffset, uint32_t n, Masks... masks) {
    MemRange range{first, last, static_cast<uint32_t>(byteOffset / 4), n, {static_cast<uint32_t>(masks)...}};
    for (uint32_t i = n; i < kMaxWords; i++)
        range.mask[i] = range.mask[i - n];
    return range;
}

template <size_t N> constexpr std::array<MemRange, N> byAddress(std::array<MemRange, N> ranges) {
    std::sort(ranges.begin(), ranges.end(), [](const MemRange &a, const MemRange &b) { return a.first < b.first; });
    return ranges;
}

// The maps of the three blocks, by rising address.
#define MEM_RANGE(first, last, name, words, ...) memRange(first, last, offsetof(Mem, name), words, __VA_ARGS__),
namespace rte {
using Mem = CmRteHsiMem;
constexpr auto map = byAddress(std::array{
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "base/cmRteHsiMem.def"
});
} // namespace rte
namespace tfe {
using Mem = CmTfeHsiMem;
constexpr auto map = byAddress(std::array{
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "tfe/cmTfeHsiMem.def"
});
} // namespace tfe
namespace tae {
using Mem = CmTaeHsiMem;
constexpr auto map = byAddress(std::array{
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "tae/cmTaeHsiMem.def"
});
} // namespace tae
#undef MEM_RANGE

template <size_t N> const MemRange *findRange(const std::array<MemRange, N> &map, uint32_t addr) {
    const auto behind = std::upper_bound(map.begin(), map.end(), addr,
                                         [](uint32_t a, const MemRange &range) { return a < range.first; });
    if (behind == map.begin() || addr > (behind - 1)->last)
        return nullptr;
    return &*(behind - 1);
}

/// Tells the indexes of the thread's model of words that are written.
void tellWritten(const uint32_t *at, size_t cnt) {
    if (CmTcamIdxs *idxs = cmState().idxs)
        idxs->written(at, cnt);
}

/// Writes word `idx` of the memory whose words start at `mem`.
void writeWord(const MemRange &range, uint32_t *mem, uint32_t *hldRegLst, uint32_t idx, uint32_t data) {
    if (range.n == 1) {
        tellWritten(mem + idx, 1);
        mem[idx] = data & range.mask[0];
        return;
    }
    const uint32_t w = idx % range.n;
    hldRegLst[w] = data & range.mask[w];
    if (w != range.n - 1)
        return;
    tellWritten(mem + idx - w, range.n);
    std::copy_n(hldRegLst, range.n, mem + idx - w);
}

/// Copies `cnt` words in host order, masked; `dst` stands at the first word of an entry.
void copyMasked(const MemRange &range, uint32_t *__restrict dst, const uint32_t *__restrict beWords, uint32_t cnt) {
    uint32_t mask[kMaxWords];
    std::copy_n(range.mask, kMaxWords, mask);
    uint32_t i = 0;
    for (; i + kMaxWords <= cnt; i += kMaxWords) {
        for (uint32_t w = 0; w < kMaxWords; w++)
            dst[i + w] = hostWord(beWords[i + w]) & mask[w];
    }
    for (; i < cnt; i++)
        dst[i] = hostWord(beWords[i]) & mask[i % kMaxWords];
}

template <size_t N>
int memWr(const std::array<MemRange, N> &map, uint32_t *words, uint32_t *hldRegLst, uint32_t addr, uint32_t data) {
    const MemRange *range = findRange(map, addr);
    if (!range)
        return 0;
    writeWord(*range, words + range->word, hldRegLst, (addr - range->first) / 4, data);
    return 1;
}

template <size_t N>
int memRd(const std::array<MemRange, N> &map, const uint32_t *words, uint32_t *hldRegLst, uint32_t addr,
          uint32_t *dataPtr) {
    *dataPtr = 0;
    const MemRange *range = findRange(map, addr);
    if (!range)
        return 0;
    const uint32_t idx = (addr - range->first) / 4;
    const uint32_t *mem = words + range->word;
    if (range->n == 1) {
        *dataPtr = mem[idx];
        return 1;
    }
    const uint32_t w = idx % range->n;
    if (w == 0) {
        for (uint32_t i = 0; i < range->n; i++)
            hldRegLst[i] = mem[idx + i] & range->mask[i];
    }
    *dataPtr = hldRegLst[w];
    return 1;
}

template <size_t N>
uint32_t memWrRun(const std::array<MemRange, N> &map, uint32_t *words, uint32_t *hldRegLst, uint32_t addr,
                  const uint32_t *beWords, uint32_t wordCnt) {
    const MemRange *range = findRange(map, addr);
    if (!range)
        return 0;
    uint32_t *mem = words + range->word;
    uint32_t idx = (addr - range->first) / 4;
    const uint32_t cnt = std::min(wordCnt, (range->last - addr) / 4 + 1);

    uint32_t done = 0;
    for (; done < cnt && idx % range->n != 0; done++, idx++)
        writeWord(*range, mem, hldRegLst, idx, hostWord(beWords[done]));
    const uint32_t whole = (cnt - done) / range->n * range->n;
    if (whole > 0) {
        tellWritten(mem + idx, whole);
        copyMasked(*range, mem + idx, beWords + done, whole);
        done += whole;
        idx += whole;
        if (range->n > 1)
            std::copy_n(mem + idx - range->n, range->n, hldRegLst);
    }
    for (; done < cnt; done++, idx++)
        writeWord(*range, mem, hldRegLst, idx, hostWord(beWords[done]));
    return cnt;
}

template <class Mem> uint32_t *wordsOf(Mem *mem) {
    return reinterpret_cast<uint32_t *>(mem);
}
template <class Mem> const uint32_t *wordsOf(const Mem *mem) {
    return reinterpret_cast<const uint32_t *>(mem);
}

} // namespace

int CmRteHsiMemWr(CmRteHsiMem *memPtr, uint32_t addr, uint32_t data) {
    return memWr(rte::map, wordsOf(memPtr), cmState().hold.rteWr, addr % 0x4000000, data);
}
int CmTfeHsiMemWr(CmTfeHsiMem *memPtr, uint32_t addr, uint32_t data) {
    return memWr(tfe::map, wordsOf(memPtr), cmState().hold.tfeWr, addr % 0x8000000, data);
}
int CmTaeHsiMemWr(CmTaeHsiMem *memPtr, uint32_t addr, uint32_t data) {
    return memWr(tae::map, wordsOf(memPtr), cmState().hold.taeWr, addr % 0x8000000, data);
}

int CmRteHsiMemRd(const CmRteHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr) {
    return memRd(rte::map, wordsOf(memPtr), cmState().hold.rteRd, addr, dataPtr);
}
int CmTfeHsiMemRd(const CmTfeHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr) {
    return memRd(tfe::map, wordsOf(memPtr), cmState().hold.tfeRd, addr, dataPtr);
}
int CmTaeHsiMemRd(const CmTaeHsiMem *memPtr, uint32_t addr, uint32_t *dataPtr) {
    return memRd(tae::map, wordsOf(memPtr), cmState().hold.taeRd, addr, dataPtr);
}

void CmRteHsiMemInit(CmRteHsiMem *memPtr) {
    std::memset(memPtr, 0, sizeof *memPtr);
}
void CmTfeHsiMemInit(CmTfeHsiMem *memPtr) {
    std::memset(memPtr, 0, sizeof *memPtr);
}

uint32_t CmRteHsiMemWrRun(CmRteHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    return memWrRun(rte::map, wordsOf(memPtr), cmState().hold.rteWr, addr % 0x4000000, beWords, wordCnt);
}
uint32_t CmTfeHsiMemWrRun(CmTfeHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    return memWrRun(tfe::map, wordsOf(memPtr), cmState().hold.tfeWr, addr % 0x8000000, beWords, wordCnt);
}
uint32_t CmTaeHsiMemWrRun(CmTaeHsiMem *memPtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt) {
    return memWrRun(tae::map, wordsOf(memPtr), cmState().hold.taeWr, addr % 0x8000000, beWords, wordCnt);
}
