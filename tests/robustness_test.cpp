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
    size_t dropped = 0, trapped = 0, forwarded = 0, routed = 0, ended = 0;
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
        tally.routed += shim.routed == 1;
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

TEST(Robustness, AnyFrameEndsWithAVerdictOnTheIngressRoad) {
    Tally tally;
    {
        const Muted muted;
        for (uint64_t seed = 1; seed <= 6; seed++) {
            Chip chip(seed);
            for (uint32_t i = 0; i < 600; i++)
                chip.ingress(chip.maker.below(12), i % 4 == 0, tally);
        }
    }
    EXPECT_GT(tally.dropped, 100u);
    EXPECT_GT(tally.trapped, 100u);
    EXPECT_GT(tally.forwarded, 100u);
    EXPECT_GT(tally.routed, 10u);
    EXPECT_LT(tally.ended, 1000u);
    std::printf("D %zu T %zu F %zu R %zu E %zu\n", tally.dropped, tally.trapped, tally.forwarded, tally.routed,
                tally.ended);
}

} // namespace
