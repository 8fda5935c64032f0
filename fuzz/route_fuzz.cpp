// Feeds frames and changed words to a chip that is loaded once; route_input.h says what the bytes of an input mean.
// Changes to the common and the port's registers, or for the fabric to any word of the dump, hold for one input, and
// what a frame writes is taken back: each frame is run twice, and the two verdicts must be equal. At the end the target
// says how many frames reached what.

#include "base/cmRte.h"
#include "model.h"
#include "route_input.h"
#include "tsr_load.h"
#include "tsr_reg.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <unistd.h>

namespace {

constexpr uint32_t kComRegs = 0x50000, kComRegWords = 4380 / 4;
constexpr uint32_t kPortRegs = 0x402000, kPortStride = 0x10000, kPortRegWords = 52;

/// A dump and the model that holds it.
struct Chip {
    explicit Chip(uint32_t number) {
        fillRouteChip(dump, number);
        model = std::make_unique<Model>(dump.image());
    }

    DumpBuilder dump;
    std::unique_ptr<Model> model;
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

/// Counts what the model has made of a frame.
void countFrame(const Verdict &verdict, const CmRteStat &stat) {
    static const char *const names[] = {"dropped", "trapped", "forwarded", "forwarded and trapped", "undecided"};
    auto &count = reached().count;
    const std::string kind = names[static_cast<size_t>(verdict.kind)];
    if (verdict.fromFabric) {
        count["from the fabric, " + kind]++;
        return;
    }
    count[kind]++;
    if (verdict.kind == VerdictKind::UNDECIDED)
        return;
    const bool forwarded = isFwd(verdict.rsltTyp);
    const bool routed = forwarded && stat.l3RteRqd;
    if (stat.l2TrillFound)
        count[forwarded ? "TRILL, forwarded" : "TRILL, dropped or trapped"]++;
    if (stat.l3IpVer == 4)
        count[routed ? "IPv4, routed" : "IPv4, not routed"]++;
    if (stat.l3IpVer == 6)
        count[routed ? "IPv6, routed" : "IPv6, not routed"]++;
    if (stat.l2FcoeFound)
        count[routed ? "FCoE, routed" : "FCoE, not routed"]++;
}

/// Where in the dump an input changes a word; kNotDumped for a register that is not loaded.
uint32_t placeOf(const RouteInput &input, uint32_t place) {
    if (input.port >= TSR_PORTS)
        return place % (TSR_DUMP_SIZE / 4) * 4;
    const uint32_t at = place >> 1;
    return loadedFrom(place & 1 ? kPortRegs + kPortStride * input.port + at % kPortRegWords * 4
                                : kComRegs + at % kComRegWords * 4);
}

/// Takes a trace and forgets it.
class Nowhere : public CmSink {
public:
    void text(std::string_view) override {}
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    reached();
    for (uint32_t number = 0; number < kRouteChips; number++)
        chipOf(number); // no input shall pay for the load
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    RouteInput input;
    if (!input.read(data, size))
        return 0;
    Model &model = *chipOf(input.chip).model;
    std::vector<DumpWord> words;
    for (const RouteInput::Change &change : input.changes)
        words.push_back({placeOf(input, change.place), change.value});
    if (!words.empty())
        model.change(words);

    Nowhere nowhere;
    const Verdict verdict = model.route(input.port, input.frame, {.trace = input.verbose ? &nowhere : nullptr});
    countFrame(verdict, model.stat());
    if (model.route(input.port, input.frame) != verdict)
        std::abort();
    if (!words.empty())
        model.revert();
    return 0;
}
