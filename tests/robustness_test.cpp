// Frames by chance through the whole chip, on dumps that are by chance where it does not matter: no frame and no dump
// may make a stage read or write outside its records, shift too far or hang. The sanitizers look on in their build.

#include "cmRte.h"
#include "cm_glue.h"
#include "cm_rte_wrapper.h"
#include "hmc.h"
#include "iqs.h"
#include "random_chip.h"
#include "regdec_route.h"
#include "throwing_ends.h"
#include "tsr_cmodel_util.h"

#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr uint32_t kFabricPort = 12;
constexpr uint32_t kFcsLen = 4;
constexpr size_t kRoom = 100;
constexpr uint32_t kOther = 7; // the shim's kind of a frame that is neither IP nor FCoE

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

/// What became of the frames.
struct Tally {
    size_t dropped = 0, trapped = 0, forwarded = 0, ended = 0;
    size_t routed[kOther] = {}; ///< of the forwarded ones: IPv4, IPv6, FCoE VF and VE routed, then the same switched
};

std::string hexText(const std::vector<uint8_t> &bytes) {
    std::string text;
    for (uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

/// The dump of one seed, loaded into the model.
class Chip {
public:
    explicit Chip(uint64_t seed) : maker(seed) {
        randomChip(dump, seed);
        rte_memory_init(dump.image());
        rte_mem->dbgEn = 1;
    }
    ~Chip() { rte_memory_free(); }

    /// One frame from port `port` to the backplane, on the model that is loaded already.
    void ingress(uint32_t port, int verbose, Tally &tally) {
        std::vector<uint8_t> frame = maker.frame();
        const uint32_t len = static_cast<uint32_t>(frame.size());
        frame.resize(len + kFcsLen + kRoom);
        shim_t shim{};
        bp_shim_t bpShim{};
        try {
            if (rte_ingress_proc(frame.data(), len + kFcsLen, port, &shim, &bpShim, dump.image(), verbose) != 0 ||
                bpShim.rslt_typ == 0) {
                tally.dropped++;
                return;
            }
        } catch (const ModelEnds &) {
            tally.ended++;
            return;
        }
        if (bpShim.rslt_typ == 1) {
            tally.trapped++;
            return;
        }
        tally.forwarded++;
        if (shim.routed < kOther)
            tally.routed[shim.routed]++;
        iqs_side_band_t side{};
        rte_2_iqs_side(&shim, &bpShim, &side);
        if (iqs_ingress_proc(frame.data(), len, &shim, &side, dump.image()) == 0)
            hmc_ingress_proc(frame.data(), len, &shim, &side, dump.image());
    }

    /// One frame from the fabric to a port.
    void egress(int verbose) { EXPECT_EQ(route(kFabricPort, maker.fabricFrame(dump), verbose), 0); }

    int route(uint32_t port, const std::vector<uint8_t> &frame, int verbose) {
        const std::string text = hexText(frame);
        RouteArgs args;
        args.rx_port = port;
        args.frame = text.c_str();
        args.len = text.size();
        args.verbose = verbose;
        return regdec_route(args, dump.image());
    }

    DumpBuilder dump;
    FrameMaker maker;
};

TEST(Robustness, AnyFrameFromAPortGetsAVerdict) {
    Tally tally;
    {
        const Muted muted;
        for (uint64_t seed = 1; seed <= 6; seed++) {
            Chip chip(seed);
            for (uint32_t i = 0; i < 500; i++)
                chip.ingress(chip.maker.below(12), i % 4 == 0, tally);
        }
    }
    // Frames get to the end of the road in every way, or the test would not show much.
    EXPECT_GT(tally.dropped, 300u);
    EXPECT_GT(tally.trapped, 300u);
    EXPECT_GT(tally.forwarded, 300u);
    for (uint32_t kind = 0; kind < kOther; kind++)
        EXPECT_GT(tally.routed[kind], 0u) << kind;
    EXPECT_LT(tally.ended, 600u);
}

TEST(Robustness, AnyFrameFromTheFabricGetsThrough) {
    Chip chip(7);
    const Muted muted;
    for (uint32_t i = 0; i < 1000; i++)
        chip.egress(i % 4 == 0);
}

TEST(Robustness, TheWholeRunTakesAnyFrame) {
    const Muted muted;
    for (uint64_t seed = 8; seed <= 10; seed++) {
        Chip chip(seed);
        for (uint32_t i = 0; i < 4; i++) {
            // The run loads a model of its own and frees it.
            rte_memory_free();
            try {
                EXPECT_EQ(chip.route(chip.maker.below(12), chip.maker.frame(), i % 2), 0);
                rte_memory_init(chip.dump.image());
            } catch (const ModelEnds &) {
            }
        }
    }
}

} // namespace
