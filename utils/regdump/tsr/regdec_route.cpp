#include "regdec_route.h"

#include "base/cmOut.h"
#include "cm_glue.h"
#include "dump_pkt.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"
#include "tsr_route.h"

namespace {

void printOutputFrame(const std::vector<uint8_t> &frm) {
    dump_pkt(frm.data(), static_cast<int>(frm.size()), 1);
    cmPuts("\n");
}

/// Prints a verdict of the ingress; a trap prints nothing.
void printIngress(const Verdict &verdict) {
    if (verdict.kind == VerdictKind::DROP)
        cmPuts("DROP\n");
    if (verdict.kind != VerdictKind::FORWARD && verdict.kind != VerdictKind::FORWARD_TRAP)
        return;
    // The three values are constants of the chip model and do not depend on the frame.
    cmPuts("Physical_TXport 12");
    cmPuts("Transmit_VC 1");
    cmPuts("VC_Credit 2");
    cmPrintf("Output_frame ");
    dump_shim(verdict.shim.data());
    printOutputFrame(verdict.frame);
}

void printEgress(const Verdict &verdict, int verbose) {
    if (verdict.kind == VerdictKind::DROP) {
        cmPuts("DROP\n");
        return;
    }
    cmPrintf("Physical_TXport %d\n", static_cast<int>(verdict.txPort));
    cmPuts("Transmit_VC 1");
    cmPuts("VC_Credit 2");
    // The label really stands twice on the first frame's line.
    cmPrintf("Output_frame ");
    if (verdict.frames.size() > 1 && verbose)
        cmPrintf("Number of fragments: %d\n", static_cast<int>(verdict.frames.size()));
    for (const std::vector<uint8_t> &frame : verdict.frames) {
        cmPrintf("Output_frame ");
        printOutputFrame(frame);
    }
}

} // namespace

int regdec_route(const RouteArgs &args, tsr_dmp_t *tsr_reg) {
    Packet packet;
    Verdict verdict;
    const bool has_shim = args.rx_port >= TSR_PORTS;
    packet.pkt.resize(args.len + Packet::kRoom);
    frame_raw(packet.pkt.data(), has_shim, static_cast<int>(args.len), args.frame, static_cast<int>(args.len),
              &packet.pkt_len, packet.wireShim, kShimBytes);
    if (args.verbose) {
        dump_pkt(packet.pkt.data(), static_cast<int>(packet.pkt_len), 0);
        cmPuts("Read packet done...");
    }
    if (has_shim) {
        // The model is not loaded.
        routeEgress(packet, tsr_reg, args.verbose, verdict);
        printEgress(verdict, args.verbose);
        return 0;
    }
    if (args.verbose)
        cmPuts("Initializing RTE memory...");
    rte_memory_init(tsr_reg);
    if (args.verbose)
        cmPuts("Processing ingress packet, without shim...");
    if (routeIngress(packet, args.rx_port, tsr_reg, args.verbose, verdict))
        printIngress(verdict);
    rte_memory_free();
    return 0;
}
