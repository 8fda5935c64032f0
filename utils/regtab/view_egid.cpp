#include "rt_view.h"

#include "group_text.h"

static constexpr RtColumn kColumns[] = {
    {"egid", RtCell::VALUE, TblKind::HEX, 32}, {"what"}, {"port", RtCell::VALUE, TblKind::PORT, 6}, {"trill"},
    {"lag", RtCell::VALUE, TblKind::NUM, 10},
};
const std::span<const RtColumn> kColumns_egid = kColumns;

namespace {

/// The special egress ids, with the register that says each.
void listSpecial(const RtRun &run, RtRows &rows) {
    const GroupIds ids = groupIds(run.image());
    struct Special {
        uint32_t egid;
        const char *what;
        const char *reg;
    };
    for (const Special &special :
         {Special{ids.aclDrop, "acl drop", "rte_spcl_egid_0"}, Special{ids.drop, "drop", "rte_spcl_egid_0"},
          Special{ids.trap, "trap", "rte_spcl_egid_1"}, Special{ids.passThru, "pass through", "rte_spcl_egid_1"},
          Special{ids.rteRqd, "route required, in the low nine bits", "rte_spcl_egid_2"}}) {
        rows.value(special.egid).text(special.what).none().none().none();
        rows.part(rtMem(special.reg), 0).end();
    }
}

} // namespace

void list_egid(const RtRun &run, RtRows &rows) {
    const TblMem &egids = rtMem("esm_cam_egid_table");
    const TblMem &off = rtMem("rte_l2_egid_1q");
    const TblMem &lags = rtMem("eqs_egr_lgid");
    for (uint32_t port = 0; port < egids.places(); ++port) {
        const uint32_t egid = rtEntry<EsmEgid>(run, egids, port).egid;
        rows.value(egid).text("port").value(port);
        rows.part(egids, port).part(lags, port);
        // The memory has a bit for the low bits of an egid.
        if (egid < 32 * off.places()) {
            rows.text(rtEntry<Egid1q>(run, off, egid / 32).is_1q[egid % 32] ? "off" : "on");
            rows.part(off, egid / 32);
        } else {
            rows.none();
        }
        const auto lag = rtEntry<EqsEgrLgid>(run, lags, port);
        if (lag.lgid_vld)
            rows.value(lag.lgid);
        rows.end();
    }
    const TblMem &backPlane = rtMem("esm_cam_egid_tablebp");
    rows.value(rtEntry<EsmEgidBp>(run, backPlane, 0).egid).text("back plane").none().none().none();
    rows.part(backPlane, 0).end();
    listSpecial(run, rows);
}
