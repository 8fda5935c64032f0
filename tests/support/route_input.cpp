#include "route_input.h"

#include "random_chip.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

constexpr size_t kMaxFrame = 250;
constexpr size_t kHead = 2;
constexpr size_t kMaxChanges = 15;

} // namespace

std::vector<uint8_t> RouteInput::bytes() const {
    std::vector<uint8_t> result{static_cast<uint8_t>(chip << 5 | (verbose ? 1u : 0u) << 4 | port),
                                static_cast<uint8_t>(changes.size())};
    for (const Change &change : changes) {
        const uint8_t *raw = reinterpret_cast<const uint8_t *>(&change);
        result.insert(result.end(), raw, raw + sizeof change);
    }
    result.insert(result.end(), frame.begin(), frame.end());
    return result;
}

bool RouteInput::read(const uint8_t *data, size_t size) {
    if (size < kHead)
        return false;
    port = data[0] & 15;
    verbose = (data[0] >> 4 & 1) != 0;
    chip = data[0] >> 5 & (kRouteChips - 1);
    changes.resize(data[1] & kMaxChanges);
    data += kHead;
    size -= kHead;
    if (size < changes.size() * sizeof(Change))
        return false;
    for (Change &change : changes) {
        std::memcpy(&change, data, sizeof change);
        data += sizeof change;
        size -= sizeof change;
    }
    frame.assign(data, data + std::min(size, kMaxFrame));
    return true;
}

void fillRouteChip(DumpBuilder &dump, uint32_t chip) {
    if (chip != kConfiguredChip) {
        randomChip(dump, chip + 1);
        return;
    }
    for (const char *file : {"base.reg", "switch.reg", "router.reg", "trill.reg", "egress.reg"})
        dump.file(std::string(TSR_SOURCE_DIR "/tests/golden/") + file);
}
