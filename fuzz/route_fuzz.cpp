// Feeds frames and changed registers to the whole chip. An input is
//
//     1 byte   port (low half; above 11 the fabric), verbose run (bit 4), number of the chip (bits 6 and 5)
//     1 byte   how many words are changed (low half)
//     8 bytes  for each of them: where, and the value
//     ...      the frame, or shim and frame
//
// Changes to the common and the port's registers, or for the fabric to any word of the image, hold for one input. What
// a frame counts or learns stays.

#include "hsi/cmRteHsi.h"
#include "random_chip.h"
#include "tsr_cmodel_util.h"
#include "whole_chip.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr size_t kChipCnt = 4;
constexpr size_t kMaxFrame = 250;
constexpr uint32_t kComRegs = 0x50000, kComRegWords = 4380 / 4;
constexpr uint32_t kPortRegs = 0x402000, kPortStride = 0x10000, kPortRegWords = 52;

/// A dump and the model that holds it.
struct Chip {
    explicit Chip(uint64_t seed) {
        randomChip(dump, seed);
        rte_memory_init(dump.image());
        model = std::exchange(rte_mem, nullptr);
    }

    DumpBuilder dump;
    CmRte *model;
};

Chip &chipOf(size_t number) {
    static std::unique_ptr<Chip> chips[kChipCnt];
    if (!chips[number])
        chips[number] = std::make_unique<Chip>(number + 1);
    return *chips[number];
}

struct Change {
    uint32_t place, value;
};

void fromPort(Chip &chip, uint32_t port, const std::vector<Change> &changes, const std::vector<uint8_t> &frame,
              int verbose) {
    rte_mem = chip.model;
    const auto com = std::make_unique<CmRteHsiComReg>(rte_mem->comReg);
    const auto regs = std::make_unique<CmRteHsiPortReg>(rte_mem->portRegLst[port]);
    for (const Change &change : changes) {
        const bool isPort = change.place & 1;
        const uint32_t at = change.place >> 1;
        CmRteHsiWr(rte_mem,
                   isPort ? kPortRegs + kPortStride * port + at % kPortRegWords * 4 : kComRegs + at % kComRegWords * 4,
                   change.value);
    }
    shim_t shim{};
    runIngress(frame, port, verbose, chip.dump.image(), &shim);
    rte_mem->comReg = *com;
    rte_mem->portRegLst[port] = *regs;
}

void fromFabric(Chip &chip, const std::vector<Change> &changes, const std::vector<uint8_t> &frame, int verbose) {
    RegencDump &dump = chip.dump.dump();
    std::vector<Change> before;
    for (const Change &change : changes) {
        const uint32_t place = change.place % (TSR_DUMP_SIZE / 4) * 4;
        before.push_back({place, dump.word(place)});
        dump.setWord(place, change.value);
    }
    runRoute(frame, kFabricPort, verbose, chip.dump.image());
    for (auto change = before.rbegin(); change != before.rend(); ++change)
        dump.setWord(change->place, change->value);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    return std::freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2)
        return 0;
    const uint8_t what = data[0];
    std::vector<Change> changes(data[1] & 15);
    data += 2;
    size -= 2;
    if (size < changes.size() * sizeof(Change))
        return 0;
    for (Change &change : changes) {
        std::memcpy(&change, data, sizeof change);
        data += sizeof change;
        size -= sizeof change;
    }

    const std::vector<uint8_t> frame(data, data + std::min(size, kMaxFrame));
    const uint32_t port = what & 15;
    const int verbose = what >> 4 & 1;
    Chip &chip = chipOf(what >> 5 & 3);
    if (port < TSR_PORTS)
        fromPort(chip, port, changes, frame, verbose);
    else
        fromFabric(chip, changes, frame, verbose);
    return 0;
}
