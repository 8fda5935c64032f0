#include "tsr_route.h"

#include "base/cmOut.h"
#include "base/cmRteState.h"
#include "base/cmUtl.h"
#include "cm_glue.h"
#include "cm_rte_wrapper.h"
#include "dump_pkt.h"
#include "emc.h"
#include "eqs.h"
#include "hmc.h"
#include "iqs.h"

#include <memory>

namespace {

constexpr uint32_t kFcsLen = 4;

void tellShimAndPacket(const shim_t &shim, const Packet &packet) {
    uint32_t shim_wd[kShimWords];
    shim_fmt(&shim, shim_wd);
    cmPrintf("SHIM: ");
    dump_shim(shim_wd);
    dump_pkt(packet.pkt.data(), static_cast<int>(packet.pkt_len), 0);
}

/// Takes a frame that the RTE forwards through the ingress queue and MAC stages.
void forwardIngress(Packet &packet, shim_t &shim, const bp_shim_t &bp_shim, const tsr_dmp_t *tsr_reg, int verbose,
                    Verdict &verdict) {
    iqs_side_band_t iqs_side{};
    if (verbose)
        cmPuts("!!! RTE forwards packet...");
    rte_2_iqs_side(&shim, &bp_shim, &iqs_side);
    iqs_ingress_proc(packet.pkt.data(), packet.pkt_len, &shim, &iqs_side, tsr_reg);
    if (verbose) {
        cmPuts("IQS finished enqueing...");
        tellShimAndPacket(shim, packet);
    }

    hmc_ingress_proc(packet.pkt.data(), packet.pkt_len, &shim, &iqs_side, tsr_reg);
    shim_fmt(&shim, verdict.shim.data());
    shim.tag_cksum = static_cast<uint32_t>(shim_chksum(verdict.shim.data()));
    shim_fmt(&shim, verdict.shim.data());
    if (verbose)
        cmPuts("HMC finished processing packet...");
    verdict.frame.assign(packet.pkt.begin(), packet.pkt.begin() + packet.pkt_len);
}

/// What the result stage says of the frame.
void takeResult(const shim_t &shim, const bp_shim_t &bp_shim, Verdict &verdict) {
    verdict.rsltTyp = bp_shim.rslt_typ;
    verdict.routed = shim.routed;
    verdict.isMgid = shim.is_mgid;
    verdict.group = shim.is_mgid ? shim.w2_16_0 : shim.egid;
    if (isTrap(bp_shim.rslt_typ)) {
        verdict.trapQue = bp_shim.trap_queue;
        verdict.trapRsn = bp_shim.trap_rsn;
    }
}

/// Clears the record; the vectors keep their room.
void startVerdict(Verdict &verdict, bool fromFabric) {
    std::vector<uint8_t> frame = std::move(verdict.frame);
    verdict = Verdict();
    verdict.frame = std::move(frame);
    verdict.frame.clear();
    verdict.fromFabric = fromFabric;
}

/// The frames of EMC, freed with the scope.
struct EmcFrames {
    EmcFrames() = default;
    ~EmcFrames() {
        if (frm)
            emc_free_frames(frm, len, cnt);
    }
    EmcFrames(const EmcFrames &) = delete;
    EmcFrames &operator=(const EmcFrames &) = delete;

    uint8_t **frm = nullptr;
    uint32_t *len = nullptr;
    uint32_t cnt = 0;
};

} // namespace

bool routeIngress(Packet &packet, uint32_t rx_port, const tsr_dmp_t *tsr_reg, int verbose, Verdict &verdict) {
    startVerdict(verdict, false);
    shim_t shim{};
    bp_shim_t bp_shim{};
    cmState().dropRsn = kNoRsn;
    if (rte_ingress_proc(packet.pkt.data(), packet.pkt_len + kFcsLen, rx_port, &shim, &bp_shim, tsr_reg, verbose) !=
        0) {
        verdict.dropRsn = cmState().dropRsn;
        return false;
    }
    if (verbose) {
        cmPrintf("RTE routed: %d\n", static_cast<int>(shim.routed));
        cmPuts("RTE finished processing packet ");
        tellShimAndPacket(shim, packet);
    }
    takeResult(shim, bp_shim, verdict);
    switch (bp_shim.rslt_typ) {
    case RSLT_DROP:
        verdict.kind = VerdictKind::DROP;
        if (verbose)
            cmPuts("!!! RTE dropped packet");
        break;
    case RSLT_TRAP:
        verdict.kind = VerdictKind::TRAP;
        if (verbose)
            cmPrintf("!!! RTE trapped packet to Q %d, rsn is 0x%x\n", static_cast<int>(bp_shim.trap_queue),
                     bp_shim.trap_rsn);
        break;
    case RSLT_FWD_A_TRAP:
        // The copy is trapped, and the frame goes on as well.
        verdict.kind = VerdictKind::FORWARD_TRAP;
        if (verbose)
            cmPrintf("!!! RTE trapped packet to Q %d, rsn 0x%x\n", static_cast<int>(bp_shim.trap_queue),
                     bp_shim.trap_rsn);
        forwardIngress(packet, shim, bp_shim, tsr_reg, verbose, verdict);
        break;
    case RSLT_FWD:
        verdict.kind = VerdictKind::FORWARD;
        forwardIngress(packet, shim, bp_shim, tsr_reg, verbose, verdict);
        break;
    }
    return true;
}

void routeEgress(Packet &packet, tsr_dmp_t *tsr_reg, int verbose, Verdict &verdict) {
    startVerdict(verdict, true);
    eqs_side_band_t eqs_side{};
    emc_side_band_t emc_side{};
    shim_t shim{};
    uint32_t shim_wd[kShimWords];
    for (uint32_t i = 0; i < kShimWords; i++)
        CmGetDword(4, packet.wireShim + 4 * i, &shim_wd[i]);
    shim_str_2_struct(shim_wd, &shim);
    if (verbose)
        cmPrintf("Frame comes in with shim egid %d\n", static_cast<int>(shim.egid));

    EmcFrames out;
    shim_2_eqs_side(&shim, tsr_reg, &eqs_side);
    eqs_egress_proc(packet.pkt.data(), packet.pkt_len, &shim, &eqs_side, tsr_reg, verbose);
    eqs_2_emc_side(&shim, &eqs_side, &emc_side);
    rte_2_emc_side(&shim, tsr_reg, &emc_side);
    out.cnt = emc_side.eqs_nfrag < 2 ? 1 : emc_side.eqs_nfrag;
    emc_egress_proc(packet.pkt.data(), packet.pkt_len, &shim, &emc_side, &out.frm, &out.len, tsr_reg);
    if (emc_side.eqs_drop || emc_side.eacl_drop) {
        verdict.kind = VerdictKind::DROP;
        return;
    }
    if (verbose)
        cmPuts("Egress output:");
    verdict.kind = VerdictKind::FORWARD;
    verdict.txPort = emc_side.eqs_elp;
    for (uint32_t i = 0; i < out.cnt; i++)
        verdict.frames.emplace_back(out.frm[i], out.frm[i] + out.len[i]);
}
