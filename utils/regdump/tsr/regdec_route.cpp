#include "regdec_route.h"

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "cm_glue.h"
#include "cm_rte_wrapper.h"
#include "dump_pkt.h"
#include "emc.h"
#include "eqs.h"
#include "hmc.h"
#include "iqs.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"

#include <cstdio>
#include <vector>

namespace {

/// Room behind the frame: for the FCS, the bytes that the model clears, and the addresses that HMC writes.
constexpr size_t kFrameRoom = 100;
constexpr uint32_t kFcsLen = 4;

/// The frame of a run, and the wire shim in front of it when it comes from the fabric.
struct Packet {
    std::vector<uint8_t> pkt;
    uint32_t pkt_len = 0;
    uint8_t wireShim[kShimBytes] = {};
};

void printShim(const shim_t &shim) {
    uint32_t shim_wd[kShimWords];
    shim_fmt(&shim, shim_wd);
    dump_shim(shim_wd);
}

void printShimAndPacket(const shim_t &shim, const Packet &packet) {
    std::printf("SHIM: ");
    printShim(shim);
    dump_pkt(packet.pkt.data(), static_cast<int>(packet.pkt_len), 0);
}

/// Takes a frame that the RTE forwards through the ingress queue and MAC stages and prints it.
void forwardIngress(Packet &packet, shim_t &shim, const bp_shim_t &bp_shim, const tsr_dmp_t *tsr_reg, int verbose) {
    iqs_side_band_t iqs_side{};
    if (verbose)
        std::puts("!!! RTE forwards packet...");
    rte_2_iqs_side(&shim, &bp_shim, &iqs_side);
    const int iqsRslt = iqs_ingress_proc(packet.pkt.data(), packet.pkt_len, &shim, &iqs_side, tsr_reg);
    if (verbose) {
        std::puts("IQS finished enqueing...");
        printShimAndPacket(shim, packet);
    }
    if (iqsRslt != 0)
        return;

    hmc_ingress_proc(packet.pkt.data(), packet.pkt_len, &shim, &iqs_side, tsr_reg);
    uint32_t shim_wd[kShimWords];
    shim_fmt(&shim, shim_wd);
    shim.tag_cksum = static_cast<uint32_t>(shim_chksum(shim_wd));
    if (verbose)
        std::puts("HMC finished processing packet...");
    // The three values are constants of the chip model and do not depend on the frame.
    std::puts("Physical_TXport 12");
    std::puts("Transmit_VC 1");
    std::puts("VC_Credit 2");
    std::printf("Output_frame ");
    printShim(shim);
    dump_pkt(packet.pkt.data(), static_cast<int>(packet.pkt_len), 1);
    std::puts("\n");
}

/// Runs the frame through the model and acts on the verdict.
void routeThroughModel(Packet &packet, uint32_t rx_port, const tsr_dmp_t *tsr_reg, int verbose) {
    shim_t shim{};
    bp_shim_t bp_shim{};
    if (rte_ingress_proc(packet.pkt.data(), packet.pkt_len + kFcsLen, rx_port, &shim, &bp_shim, tsr_reg, verbose) != 0)
        return;
    if (verbose) {
        std::printf("RTE routed: %d\n", static_cast<int>(shim.routed));
        std::puts("RTE finished processing packet ");
        printShimAndPacket(shim, packet);
    }
    switch (bp_shim.rslt_typ) {
    case RSLT_DROP:
        if (verbose)
            std::puts("!!! RTE dropped packet");
        std::puts("DROP\n");
        break;
    case RSLT_TRAP:
        if (verbose)
            std::printf("!!! RTE trapped packet to Q %d, rsn is 0x%x\n", static_cast<int>(bp_shim.trap_queue),
                        bp_shim.trap_rsn);
        break;
    case RSLT_FWD_A_TRAP:
        // The copy is trapped, and the frame goes on as well.
        if (verbose)
            std::printf("!!! RTE trapped packet to Q %d, rsn 0x%x\n", static_cast<int>(bp_shim.trap_queue),
                        bp_shim.trap_rsn);
        forwardIngress(packet, shim, bp_shim, tsr_reg, verbose);
        break;
    case RSLT_FWD:
        forwardIngress(packet, shim, bp_shim, tsr_reg, verbose);
        break;
    }
}

void routeIngress(Packet &packet, uint32_t rx_port, const tsr_dmp_t *tsr_reg, int verbose) {
    if (verbose)
        std::puts("Initializing RTE memory...");
    rte_memory_init(tsr_reg);
    if (verbose)
        std::puts("Processing ingress packet, without shim...");
    routeThroughModel(packet, rx_port, tsr_reg, verbose);
    rte_memory_free();
}

void printOutputFrame(const uint8_t *frm, uint32_t len) {
    std::printf("Output_frame ");
    dump_pkt(frm, static_cast<int>(len), 1);
    std::puts("\n");
}

/// The egress stages read the image directly; the model is not loaded.
void routeEgress(Packet &packet, tsr_dmp_t *tsr_reg, int verbose) {
    eqs_side_band_t eqs_side{};
    emc_side_band_t emc_side{};
    shim_t shim{};
    uint32_t shim_wd[kShimWords];
    for (uint32_t i = 0; i < kShimWords; i++)
        CmGetDword(4, packet.wireShim + 4 * i, &shim_wd[i]);
    shim_str_2_struct(shim_wd, &shim);
    if (verbose)
        std::printf("Frame comes in with shim egid %d\n", static_cast<int>(shim.egid));

    uint8_t **frm_out = nullptr;
    uint32_t *out_frm_len = nullptr;
    shim_2_eqs_side(&shim, tsr_reg, &eqs_side);
    eqs_egress_proc(packet.pkt.data(), packet.pkt_len, &shim, &eqs_side, tsr_reg, verbose);
    eqs_2_emc_side(&shim, &eqs_side, &emc_side);
    rte_2_emc_side(&shim, tsr_reg, &emc_side);
    emc_egress_proc(packet.pkt.data(), packet.pkt_len, &shim, &emc_side, &frm_out, &out_frm_len, tsr_reg);
    if (emc_side.eqs_drop || emc_side.eacl_drop) {
        std::puts("DROP\n");
        return;
    }

    if (verbose)
        std::puts("Egress output:");
    std::printf("Physical_TXport %d\n", static_cast<int>(emc_side.eqs_elp));
    std::puts("Transmit_VC 1");
    std::puts("VC_Credit 2");
    // The label really stands twice on the first frame's line.
    std::printf("Output_frame ");
    if (emc_side.eqs_nfrag < 2) {
        printOutputFrame(frm_out[0], out_frm_len[0]);
    } else {
        if (verbose)
            std::printf("Number of fragments: %d\n", static_cast<int>(emc_side.eqs_nfrag));
        for (uint32_t i = 0; i < emc_side.eqs_nfrag; i++)
            printOutputFrame(frm_out[i], out_frm_len[i]);
    }
    emc_free_frames(frm_out, out_frm_len, emc_side.eqs_nfrag < 2 ? 1 : emc_side.eqs_nfrag);
}

} // namespace

int regdec_route(const RouteArgs &args, tsr_dmp_t *tsr_reg) {
    Packet packet;
    const bool has_shim = args.rx_port >= TSR_PORTS;
    packet.pkt.resize(args.len + kFrameRoom);
    frame_raw(packet.pkt.data(), has_shim, static_cast<int>(args.len), args.frame, static_cast<int>(args.len),
              &packet.pkt_len, packet.wireShim, kShimBytes);
    if (args.verbose) {
        dump_pkt(packet.pkt.data(), static_cast<int>(packet.pkt_len), 0);
        std::puts("Read packet done...");
    }
    if (has_shim)
        routeEgress(packet, tsr_reg, args.verbose);
    else
        routeIngress(packet, args.rx_port, tsr_reg, args.verbose);
    return 0;
}
