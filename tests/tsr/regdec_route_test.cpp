// The route job's road through the stages and everything that it prints, with a model that gives chosen verdicts.

#include "regdec_route.h"

#include "chip_image.h"
#include "cm_rte_wrapper.h"
#include "random_words.h"
#include "tsr_cmodel_util.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

/// The model of these tests, and how it was called.
struct Model {
    int rslt = 0;
    shim_t shim{};
    bp_shim_t bp{};
    uint32_t port = 0, pktLen = 0;
    int verbose = -1, loaded = 0, freed = 0, runs = 0;
} model;

} // namespace

void rte_memory_init(const tsr_dmp_t *) {
    model.loaded++;
}

void rte_memory_free(void) {
    model.freed++;
}

int rte_ingress_proc(uint8_t *frm, uint32_t pkt_len, uint32_t port, shim_t *shim, bp_shim_t *bp_shim, const tsr_dmp_t *,
                     int verbose) {
    model.runs++;
    model.pktLen = pkt_len;
    model.port = port;
    model.verbose = verbose;
    std::memset(frm + pkt_len - 1, 0, 32); // as the real one does
    if (model.rslt == 0) {
        *shim = model.shim;
        *bp_shim = model.bp;
    }
    return model.rslt;
}

namespace {

const std::string kIn = "0200000000010200000000029000aabbccdd";
const std::string kLoad = "Initializing RTE memory...\nProcessing ingress packet, without shim...\n";
// Routed 1 and egress group id 0x123.
const std::string kShim = "SHIM: 00100000-01230000-00000000-00000000-00000000-00000000-";
const std::string kDump = " Length: 18\n" + kIn + "\n\n";
// The chip is 5: word 1 is 0x01230500, whose bytes by bits are 0xa0, 0x40, 0x80 and 0, so 0x60 is the shim's CRC.
// Routed is 2, and the digits 2, 1, 2, 3 and 5 make a checksum of 0xd. The addresses come from the tables' first
// entries.
const std::string kOut = "Physical_TXport 12\nTransmit_VC 1\nVC_Credit 2\nOutput_frame "
                         "00200000-012305d0-00000000-00000000-00000000-00000060-"
                         "112233445566778800009999"
                         "9000aabbccdd\n\n";
const std::string kForwarded =
    "!!! RTE forwards packet...\nIQS finished enqueing...\n" + kShim + kDump + "HMC finished processing packet...\n";

class Route : public testing::Test {
protected:
    Route() {
        model = Model();
        model.shim.routed = 1;
        model.shim.egid = 0x123;
        chip.set(DMP(eqs_zirk_id), 0, 5);
        chip.set(DMP(iqs_mac_da_vid_mem), 0, 0x00005566).set(DMP(iqs_mac_da_vid_mem), 1, 0x11223344);
        chip.set(DMP(iqs_fcoe_sa_mac_tbl), 0, 0xaaaa9999).set(DMP(iqs_fcoe_sa_mac_tbl), 1, 0xffff7788);
    }
    std::string route(const std::string &frame, int verbose = 0, uint32_t port = 3) {
        RouteArgs args;
        args.rx_port = port;
        args.frame = frame.c_str();
        args.len = frame.size();
        args.verbose = verbose;
        testing::internal::CaptureStdout();
        EXPECT_EQ(regdec_route(args, chip.get()), 0);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    std::string said(const std::string &verdict) {
        return kDump + "Read packet done...\n" + kLoad + "RTE routed: 1\nRTE finished processing packet \n" + kShim +
               kDump + verdict;
    }
    ChipImage chip;
};

TEST_F(Route, HandsTheFrameWithItsFcsToTheModelAndFreesIt) {
    route(kIn, 0, 11);
    EXPECT_EQ(model.port, 11u);
    EXPECT_EQ(model.pktLen, 22u);
    EXPECT_EQ(model.verbose, 0);
    EXPECT_EQ(model.loaded, 1);
    EXPECT_EQ(model.freed, 1);
    route(kIn, 1);
    EXPECT_EQ(model.verbose, 1);
    EXPECT_EQ(model.freed, 2);
}

TEST_F(Route, ADropWithAReasonEndsTheRun) {
    model.rslt = 1;
    EXPECT_EQ(route(kIn), "");
    EXPECT_EQ(route(kIn, 1), kDump + "Read packet done...\n" + kLoad);
    EXPECT_EQ(model.freed, 2);
}

TEST_F(Route, PrintsADrop) {
    EXPECT_EQ(route(kIn), "DROP\n\n");
    EXPECT_EQ(route(kIn, 1), said("!!! RTE dropped packet\nDROP\n\n"));
    EXPECT_EQ(model.freed, 2);
}

TEST_F(Route, PrintsATrapInAVerboseRunOnly) {
    model.bp.rslt_typ = 1;
    model.bp.trap_queue = 15;
    model.bp.trap_rsn = 0x3f;
    EXPECT_EQ(route(kIn), "");
    EXPECT_EQ(route(kIn, 1), said("!!! RTE trapped packet to Q 15, rsn is 0x3f\n"));
    EXPECT_EQ(model.freed, 2);
}

TEST_F(Route, PrintsTheFrameThatIsForwarded) {
    model.bp.rslt_typ = 2;
    EXPECT_EQ(route(kIn), kOut);
    EXPECT_EQ(route(kIn, 1), said(kForwarded + kOut));
    EXPECT_EQ(model.freed, 2);
}

TEST_F(Route, ATrappedCopyIsForwardedAsWell) {
    model.bp.rslt_typ = 3;
    model.bp.trap_queue = 4;
    model.bp.trap_rsn = 0x12;
    EXPECT_EQ(route(kIn), kOut);
    EXPECT_EQ(route(kIn, 1), said("!!! RTE trapped packet to Q 4, rsn 0x12\n" + kForwarded + kOut));
}

TEST_F(Route, AFrameThatMustNotBeTouchedKeepsItsBytes) {
    model.bp.rslt_typ = 2;
    model.shim.dont_touch = 1;
    // Word 0 is 0x02100000: nothing in its low byte, and the digits 2, 1, 1, 2, 3 and 5.
    EXPECT_EQ(route(kIn), "Physical_TXport 12\nTransmit_VC 1\nVC_Credit 2\nOutput_frame "
                          "02100000-012305e0-00000000-00000000-00000000-00000060-" +
                              kIn + "\n\n");
}

TEST_F(Route, AnIngressSpanCopyComesFromPort33) {
    model.bp.rslt_typ = 2;
    model.bp.i_span = 1;
    model.bp.i_span_q = 2;
    model.shim.dont_touch = 1;
    chip.set(DMP(iqs_span_dest__reg), 2, 0x00030044);
    // Word 1: 0x00440500. Word 2: port 33, priority 3 and group 0x44: 0x08580044; its bytes by bits are 0x08, 0x11,
    // 0x22 and 0x44: 0x7f, with 0x60 of word 1 0x1f. Checksum: 2, 1, 4, 4 and 5.
    EXPECT_EQ(route(kIn), "Physical_TXport 12\nTransmit_VC 1\nVC_Credit 2\nOutput_frame "
                          "02100000-00440500-08580044-00000000-00000000-0000001f-" +
                              kIn + "\n\n");
}

TEST_F(Route, EveryFrameLengthHasItsRoom) {
    model.bp.rslt_typ = 2;
    for (size_t digits = 0; digits <= 500; digits += 25) {
        route(std::string(digits, '2'));
        EXPECT_EQ(model.pktLen, (digits + 1) / 2 + 4);
    }
    // The inner addresses of a TRILL header with options, behind the end of the frame.
    const std::string out = route(std::string(24, '0') + "22f3" + "ffff");
    EXPECT_NE(out.find("22f3ffff\n"), std::string::npos);
}

TEST_F(Route, PortsAbove11DoNotLoadTheModel) {
    chip.set(DMP(esm_cam_egid_tablebp), 0, 0x7ff);
    for (size_t i = 0; i < 32; i++)
        chip.set(DMP(esm_cam_egid_table), i, 0x7ff);
    const std::string shim = "00600000" + std::string(40, '0'); // egress group id 0: no entry
    for (uint32_t port : {12u, 13u, 0xffffffffu}) {
        EXPECT_EQ(route(shim + kIn, 0, port), "DROP\n\n");
        EXPECT_EQ(route(shim + kIn, 1, port), kDump + "Read packet done...\n"
                                                      "Frame comes in with shim egid 0\n"
                                                      "Frame came in discarded queue, discarded\n"
                                                      "Frame dropped by EMC\n"
                                                      "DROP\n\n");
    }
    EXPECT_EQ(model.loaded, 0);
    EXPECT_EQ(model.freed, 0);
    EXPECT_EQ(model.runs, 0);
}

TEST_F(Route, AnyDumpAnyShimAndAnyLengthEndWithAVerdict) {
    RandomWords random(3);
    chip.randomise(9);
    for (size_t i = 0; i < 8192; i++)
        chip.set(DMP(eqs_mrt_mem), i, random() % 400).set(DMP(eqs_mrt_mem), 8192 + i, random() % 400);
    const char *digits = "0123456789abcdef";
    size_t forwarded = 0;
    for (size_t bytes = 0; bytes <= 250; bytes++) {
        std::string text;
        for (size_t i = 0; i < 2 * bytes; i++)
            text += digits[random() % 16];
        if (bytes >= 8) {
            const uint32_t egid = static_cast<uint32_t>(std::stoul(text.substr(8, 4), nullptr, 16)) & 0x7ff;
            chip.set(DMP(esm_cam_egid_table), bytes % 32, egid);
        }
        const std::string out = route(text, 0, 12);
        const bool dropped = out == "DROP\n\n";
        forwarded += !dropped;
        EXPECT_TRUE(dropped || out.rfind("Physical_TXport ", 0) == 0) << out;
    }
    EXPECT_GT(forwarded, 20u);
}

} // namespace
