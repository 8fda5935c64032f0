// Frames by chance through the whole chip, on dumps that are by chance where it does not matter: no frame and no dump
// may make a stage read or write outside its records, shift too far or hang. The sanitizers look on in their build.

#include "random_chip.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"
#include "whole_chip.h"

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// While it lives, standard output goes nowhere.
class Muted {
public:
    Muted() : kept_(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~Muted() {
        std::fflush(stdout);
        dup2(kept_, STDOUT_FILENO);
        close(kept_);
    }

private:
    int kept_;
};

/// The dump of one seed, and its frames.
struct Chip {
    explicit Chip(uint64_t seed) : maker(seed) { randomChip(dump, seed); }

    DumpBuilder dump;
    FrameMaker maker;
};

TEST(Robustness, AnyFrameFromAPortGetsAVerdict) {
    size_t count[4] = {};
    size_t routed = 0;
    {
        const Muted muted;
        for (uint64_t seed = 1; seed <= 8; seed++) {
            Chip chip(seed);
            rte_memory_init(chip.dump.image());
            for (uint32_t i = 0; i < 600; i++) {
                shim_t shim{};
                const Verdict verdict =
                    runIngress(chip.maker.frame(), chip.maker.below(TSR_PORTS), i % 4 == 0, chip.dump.image(), &shim);
                count[static_cast<size_t>(verdict)]++;
                routed += verdict == Verdict::forwarded && CmRteGetStat()->l3RteRqd;
            }
            rte_memory_free();
        }
    }
    // Frames get to the end of the road in every way, or the test would not show much.
    EXPECT_GT(count[static_cast<size_t>(Verdict::dropped)], 300u);
    EXPECT_GT(count[static_cast<size_t>(Verdict::trapped)], 300u);
    EXPECT_GT(count[static_cast<size_t>(Verdict::forwarded)], 300u);
    EXPECT_GT(routed, 20u);
    EXPECT_LT(count[static_cast<size_t>(Verdict::ended)], 600u);
}

TEST(Robustness, AnyFrameFromTheFabricGetsThrough) {
    const Muted muted;
    for (uint64_t seed = 20; seed <= 22; seed++) {
        Chip chip(seed);
        for (uint32_t i = 0; i < 500; i++)
            EXPECT_EQ(runRoute(chip.maker.fabricFrame(chip.dump), kFabricPort, i % 4 == 0, chip.dump.image()), 0);
    }
}

TEST(Robustness, TheWholeRunTakesAnyFrame) {
    const Muted muted;
    for (uint64_t seed = 30; seed <= 32; seed++) {
        Chip chip(seed);
        for (uint32_t i = 0; i < 4; i++) {
            try {
                EXPECT_EQ(runRoute(chip.maker.frame(), chip.maker.below(TSR_PORTS), i % 2, chip.dump.image()), 0);
            } catch (const ModelEnds &) {
                rte_memory_free();
            }
        }
    }
}

} // namespace
