#pragma once
// Both roads through the whole chip, in process, on a model that is loaded already. The model's own ends are exceptions
// in a program that includes this: only one of its sources may, since the definitions stand in for the library's.

#include "base/cmRte.h"
#include "base/cmRteAbort.h"
#include "cmAssert.h"
#include "cm_glue.h"
#include "cm_rte_wrapper.h"
#include "hmc.h"
#include "iqs.h"
#include "regdec_route.h"

#include <cstdint>
#include <string>
#include <vector>

/// The model has said that it cannot go on with this frame.
struct ModelEnds {};

void CmRteAbort_(const char *, int, const char *) {
    throw ModelEnds();
}

void CmAssertFail(const char *, const char *, int, const char *) {
    throw ModelEnds();
}

constexpr uint32_t kFabricPort = 12;

enum class Verdict { dropped, trapped, forwarded, ended };

/// Takes a frame from the front port `port` through the model and, when it goes on, through the stages behind it.
/// `*shim` is what the model makes of it.
inline Verdict runIngress(std::vector<uint8_t> frame, uint32_t port, int verbose, const tsr_dmp_t *image,
                          shim_t *shim) {
    constexpr uint32_t kFcsLen = 4;
    constexpr size_t kRoom = 100;
    const uint32_t len = static_cast<uint32_t>(frame.size());
    frame.resize(len + kRoom);
    bp_shim_t bpShim{};
    rte_mem->dbgEn = 1;
    try {
        if (rte_ingress_proc(frame.data(), len + kFcsLen, port, shim, &bpShim, image, verbose) != 0)
            return Verdict::dropped;
    } catch (const ModelEnds &) {
        return Verdict::ended;
    }
    if (bpShim.rslt_typ == 0)
        return Verdict::dropped;
    if (bpShim.rslt_typ == 1)
        return Verdict::trapped;
    iqs_side_band_t side{};
    rte_2_iqs_side(shim, &bpShim, &side);
    if (iqs_ingress_proc(frame.data(), len, shim, &side, image) == 0)
        hmc_ingress_proc(frame.data(), len, shim, &side, image);
    return Verdict::forwarded;
}

/// The route job as the program runs it; a frame from a front port loads a model of its own. Returns its exit value.
inline int runRoute(const std::vector<uint8_t> &frame, uint32_t port, int verbose, tsr_dmp_t *image) {
    std::string text;
    for (uint8_t byte : frame) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    RouteArgs args;
    args.rx_port = port;
    args.frame = text.c_str();
    args.len = text.size();
    args.verbose = verbose;
    return regdec_route(args, image);
}
