// Feeds frames and changed registers to the whole chip; route_input.h says what the bytes of an input mean. Changes to
// the common and the port's registers, or for the fabric to any word of the image, hold for one input. What a frame
// counts or learns stays. At the end the target says how many frames reached what.

#include "hsi/cmRteHsi.h"
#include "route_input.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"
#include "whole_chip.h"

#include <cstdio>
#include <map>
#include <memory>
#include <unistd.h>
#include <utility>

namespace {

constexpr uint32_t kComRegs = 0x50000, kComRegWords = 4380 / 4;
constexpr uint32_t kPortRegs = 0x402000, kPortStride = 0x10000, kPortRegWords = 52;

/// A dump and the model that holds it.
struct Chip {
    explicit Chip(uint32_t number) {
        fillRouteChip(dump, number);
        rte_memory_init(dump.image());
        model = std::exchange(rte_mem, nullptr);
    }
    ~Chip() {
        rte_mem = model;
        rte_memory_free();
    }
    Chip(const Chip &) = delete;
    Chip &operator=(const Chip &) = delete;

    DumpBuilder dump;
    CmRte *model;
};

Chip &chipOf(uint32_t number) {
    static std::unique_ptr<Chip> chips[kRouteChips];
    if (!chips[number])
        chips[number] = std::make_unique<Chip>(number);
    return *chips[number];
}

/// How many frames have reached what. The report goes to the standard error of the start: the fuzzer may close its own.
struct Reached {
    ~Reached() {
        std::FILE *to = fdopen(report, "w");
        if (to == nullptr)
            return;
        for (const auto &[what, number] : count)
            std::fprintf(to, "%9llu  %s\n", number, what.c_str());
        std::fclose(to);
    }

    int report = dup(STDERR_FILENO);
    std::map<std::string, unsigned long long> count;
};

Reached &reached() {
    static Reached instance;
    return instance;
}

/// Counts what the model has made of a frame from a port.
void countPortFrame(Verdict verdict) {
    static const char *const names[] = {"dropped", "trapped", "forwarded", "ended by the model"};
    auto &count = reached().count;
    count[names[static_cast<size_t>(verdict)]]++;
    if (verdict == Verdict::ended)
        return;
    const CmRteStat &stat = *CmRteGetStat();
    const bool routed = verdict == Verdict::forwarded && stat.l3RteRqd;
    if (stat.l2TrillFound)
        count[verdict == Verdict::forwarded ? "TRILL, forwarded" : "TRILL, dropped or trapped"]++;
    if (stat.l3IpVer == 4)
        count[routed ? "IPv4, routed" : "IPv4, not routed"]++;
    if (stat.l3IpVer == 6)
        count[routed ? "IPv6, routed" : "IPv6, not routed"]++;
    if (stat.l2FcoeFound)
        count[routed ? "FCoE, routed" : "FCoE, not routed"]++;
}

void fromPort(Chip &chip, uint32_t port, const std::vector<RouteInput::Change> &changes,
              const std::vector<uint8_t> &frame, int verbose) {
    rte_mem = chip.model;
    const auto com = std::make_unique<CmRteHsiComReg>(rte_mem->comReg);
    const auto regs = std::make_unique<CmRteHsiPortReg>(rte_mem->portRegLst[port]);
    for (const RouteInput::Change &change : changes) {
        const bool isPort = change.place & 1;
        const uint32_t at = change.place >> 1;
        CmRteHsiWr(rte_mem,
                   isPort ? kPortRegs + kPortStride * port + at % kPortRegWords * 4 : kComRegs + at % kComRegWords * 4,
                   change.value);
    }
    shim_t shim{};
    countPortFrame(runIngress(frame, port, verbose, chip.dump.image(), &shim));
    rte_mem->comReg = *com;
    rte_mem->portRegLst[port] = *regs;
}

void fromFabric(Chip &chip, const std::vector<RouteInput::Change> &changes, const std::vector<uint8_t> &frame,
                int verbose) {
    RegencDump &dump = chip.dump.dump();
    std::vector<RouteInput::Change> before;
    for (const RouteInput::Change &change : changes) {
        const uint32_t place = change.place % (TSR_DUMP_SIZE / 4) * 4;
        before.push_back({place, dump.word(place)});
        dump.setWord(place, change.value);
    }
    runRoute(frame, kFabricPort, verbose, chip.dump.image());
    reached().count["from the fabric"]++;
    for (auto change = before.rbegin(); change != before.rend(); ++change)
        dump.setWord(change->place, change->value);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    reached();
    for (uint32_t number = 0; number < kRouteChips; number++)
        chipOf(number); // no input shall pay for the load
    return std::freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    RouteInput input;
    if (!input.read(data, size))
        return 0;
    Chip &chip = chipOf(input.chip);
    if (input.port < TSR_PORTS)
        fromPort(chip, input.port, input.changes, input.frame, input.verbose);
    else
        fromFabric(chip, input.changes, input.frame, input.verbose);
    return 0;
}
