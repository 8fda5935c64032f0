#include "cm_rte_wrapper.h"

#include "base/cmOut.h"
#include "base/cmRte.h"
#include "base/cmRteState.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"

/// The wire shim from the result record, each field cut to its width on the wire.
static void fillShim(const CmRteRslt &rslt, shim_t *shim) {
#define SHIM(word, hi, lo, name, member) shim->name = bits(rslt.shim##word##Rslt.member, (hi) - (lo), 0);
#include "tsr_shim.def"
}

static void fillBpShim(const CmRteRslt &rslt, bp_shim_t *bp_shim) {
#define BP_SHIM(word, width, name, member) bp_shim->name = bits(rslt.hsiShim##word##Rslt.member, (width)-1, 0);
#include "tsr_shim.def"
}

int rte_ingress_proc(uint8_t *frm, uint32_t pkt_len, uint32_t port, shim_t *shim, bp_shim_t *bp_shim, const tsr_dmp_t *,
                     int verbose) {
    CmRteRslt rslt{};
    CmRteMacInf macInf{};
    macInf.seqNumVld = 0;
    macInf.seqNum = 1;
    macInf.isPauseFrm = 0;
    macInf.isCrcBadFrm = 0;
    CmRteProc(port, rte_mem, &macInf, pkt_len, frm, &rslt, verbose);
    if (rslt.dropRsnRslt != kNoRsn) {
        cmState().dropRsn = rslt.dropRsnRslt;
        cmPrintf("Pkt dropped by RTE, reason code: %d\n", static_cast<int>(rslt.dropRsnRslt));
        cmPrintf("\t%s\n", rslt.dropRsnRslt < kRteRsnCnt ? rte_rsn_str[rslt.dropRsnRslt] : "(no text)");
        return 1;
    }
    fillShim(rslt, shim);
    fillBpShim(rslt, bp_shim);
    return 0;
}
