#include "model_watch.h"

#include "base/cmRte.h"
#include "base/cmUtl.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_load.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>

namespace {

/// A memory in the record of its block.
struct Memory {
    size_t first; // its first word in the record, and the one behind its last
    size_t end;
    uint32_t words; // of an entry
    uint32_t addr;  // chip address of the first word
    std::string_view name;
};

#define MEM(firstByte, last, name, words, ...)                                                                         \
    {offsetof(Block, name) / 4, (offsetof(Block, name) + sizeof(Block::name)) / 4, words, firstByte, #name},
namespace rte {
using Block = CmRteHsiMem;
constexpr Memory memories[] = {
#include "base/cmRteHsiMem.def"
};
} // namespace rte
#define MEM(firstByte, last, name, words, ...)                                                                         \
    {offsetof(Block, name) / 4, (offsetof(Block, name) + sizeof(Block::name)) / 4, words, firstByte, #name},
namespace tfe {
using Block = CmTfeHsiMem;
constexpr Memory memories[] = {
#include "tfe/cmTfeHsiMem.def"
};
} // namespace tfe
#define MEM(firstByte, last, name, words, ...)                                                                         \
    {offsetof(Block, name) / 4, (offsetof(Block, name) + sizeof(Block::name)) / 4, words, firstByte, #name},
namespace tae {
using Block = CmTaeHsiMem;
constexpr Memory memories[] = {
#include "tae/cmTaeHsiMem.def"
};
} // namespace tae

/// The memory of a block that holds a word, and the word's number in it; null for a word of elsewhere.
template <class Block, size_t N>
const Memory *memoryOf(const Memory (&memories)[N], const Block &block, const uint32_t *word, size_t &at) {
    const auto *first = reinterpret_cast<const uint32_t *>(&block);
    if (std::less<>()(word, first) || !std::less<>()(word, first + sizeof block / 4))
        return nullptr;
    const auto idx = static_cast<size_t>(word - first);
    for (const Memory &memory : memories) {
        if (memory.first <= idx && idx < memory.end) {
            at = idx - memory.first;
            return &memory;
        }
    }
    return nullptr;
}

const Memory *memoryOf(const CmRte &chip, const uint32_t *word, size_t &at) {
    if (const Memory *memory = memoryOf(rte::memories, chip.mem, word, at))
        return memory;
    if (const Memory *memory = memoryOf(tfe::memories, chip.tfePtr->mem, word, at))
        return memory;
    return memoryOf(tae::memories, chip.taePtr->mem, word, at);
}

/// The chip address of the first word of a row of an ACL bank. Joined banks share their entries.
uint32_t aclAddr(const CmRte &chip, uint32_t bank, uint32_t block, uint32_t row) {
    constexpr uint32_t base = 0x4400000, smallBase = 0x4700000;
    const bool joined = bit(chip.taePtr->regs.bank_prtcl_sel_0(), bank / 2) != 0;
    const bool small = bank >= TAE_FIRST_SMALL_BANK;
    const uint32_t number = small ? bank - TAE_FIRST_SMALL_BANK : bank;
    if (joined)
        return small ? smallBase | number / 2 << 16 | row << 7 | (bank & 1) << 5
                     : base | number / 2 << 19 | block << 18 | row << 7 | (bank & 1) << 5;
    return small ? smallBase | number << 15 | row << 6 : base | number << 18 | block << 17 | row << 6;
}

} // namespace

RowWatch::RowWatch(const CmRte &chip, RowObserver *to) : chip_(chip), to_(to), before_(tblObserver) {
    tblObserver = to ? this : nullptr;
}

RowWatch::~RowWatch() {
    tblObserver = before_;
}

void RowWatch::read(const uint32_t *words, uint32_t cnt) {
    size_t at = 0;
    const Memory *memory = memoryOf(chip_, words, at);
    if (!memory)
        return;
    // Whole entries, of which the read may have been a part.
    const size_t into = at % memory->words;
    const uint64_t row = at / memory->words;
    to_->row({.memory = memory->name,
              .row = row,
              .dumpOffset = loadedFrom(memory->addr + static_cast<uint32_t>(row) * memory->words * 4),
              .words = {words - into, std::max<size_t>(cnt, memory->words)},
              .key = {}});
}

void RowWatch::hit(const uint32_t *words, uint32_t cnt, const uint32_t *key, uint32_t keyWords) {
    size_t at = 0;
    const Memory *memory = memoryOf(chip_, words, at);
    if (!memory)
        return;
    const uint64_t row = at / memory->words;
    to_->row({.memory = memory->name,
              .row = row,
              .dumpOffset = loadedFrom(memory->addr + static_cast<uint32_t>(row) * memory->words * 4),
              .words = {words, cnt},
              .key = {key, keyWords}});
}

void RowWatch::aclHit(uint32_t bank, uint32_t block, uint32_t row, const uint32_t *ones, const uint32_t *zeroes,
                      const uint32_t *key) {
    constexpr uint32_t half = 8;
    uint32_t words[2 * half];
    std::copy_n(ones, half, words);
    std::copy_n(zeroes, half, words + half);
    const EmbeddedTcam *tcam = chip_.taePtr->getAclTcamBlockPointer(static_cast<int>(bank), static_cast<int>(block));
    to_->row({.memory = tcam->pMemXY->pMemRegDef->name,
              .row = row,
              .dumpOffset = loadedFrom(aclAddr(chip_, bank, block, row)),
              .words = words,
              .key = {key, half}});
}

void RowWatch::aclLine(uint32_t bank, uint32_t row, const uint32_t *words) {
    constexpr uint32_t lineWords = 4;
    const RegMemDefinition &def = *chip_.taePtr->getAclRsltBlockPointer(static_cast<int>(bank))->pMemRegDef;
    to_->row({.memory = def.name,
              .row = row,
              .dumpOffset = loadedFrom(def.memBase + 4 * lineWords * row),
              .words = {words, lineWords},
              .key = {}});
}

void RowWatch::dump(size_t offset, const uint32_t *words, uint32_t cnt) {
    if (offset >= sizeof(tsr_dmp_t))
        return;
    const regdump_map_t *in = nullptr;
    for (const regdump_map_t *row = tsr_dmp_map; row->name != nullptr; ++row) {
        if (!(row->flags & REGDUMP_FLAGS_NO_DUMP) && row->dump_offset <= offset)
            in = row;
    }
    if (in == nullptr)
        return;
    to_->row({.memory = in->name,
              .row = (offset - in->dump_offset) / (4 * cnt),
              .dumpOffset = static_cast<uint32_t>(offset),
              .words = {words, cnt},
              .key = {}});
}
