#include "group_text.h"

#include <cstdio>

#include "base/cmRteVerdict.h"
#include "hsi_word.h"

GroupIds groupIds(const tsr_dmp_t *tsr_reg) {
    const auto egid0 = dmpComReg<comReg::RTE_SPCL_EGID_0>(tsr_reg);
    const auto egid1 = dmpComReg<comReg::RTE_SPCL_EGID_1>(tsr_reg);
    const auto egid2 = dmpComReg<comReg::RTE_SPCL_EGID_2>(tsr_reg);
    return {egid0[comReg::RTE_SPCL_EGID_0::rte_drop_egid], egid0[comReg::RTE_SPCL_EGID_0::rte_acl_drop_egid],
            egid1[comReg::RTE_SPCL_EGID_1::rte_trap_egid], egid1[comReg::RTE_SPCL_EGID_1::rte_pth_egid],
            egid2[comReg::RTE_SPCL_EGID_2::rte_rte_rqd_egid]};
}

static std::string withId(const char *what, uint32_t id) {
    char text[48];
    std::snprintf(text, sizeof(text), "%s 0x%x", what, id);
    return text;
}

/// Which frames an egid that asks for routing asks for.
static std::string rteRqdText(uint32_t egid) {
    std::string kinds;
    const auto add = [&](unsigned at, const char *kind) {
        if (bit(egid, at))
            kinds.append(kinds.empty() ? "" : " ").append(kind);
    };
    add(kRteRqdIpv4Bit, "ipv4");
    add(kRteRqdIpv6Bit, "ipv6");
    add(kRteRqdFcoeVfBit, "fcoe vf");
    add(kRteRqdFcoeVeBit, "fcoe ve");
    return "route required (" + (kinds.empty() ? "nothing" : kinds) + ")";
}

/// A word in EGID form. The order is that of the chip's tests.
static std::string specialText(const GroupIds &ids, uint32_t gid) {
    const uint32_t egid = egidOf(gid);
    if (egid == ids.aclDrop)
        return "acl drop";
    if (egid == ids.trap)
        return "trap";
    if (egid == ids.drop)
        return "drop";
    if (hasRteRqdId(egid, ids.rteRqd))
        return rteRqdText(egid);
    if (egid == ids.passThru)
        return "pass through";
    return withId("special egid", egid);
}

std::string groupText(const GroupIds &ids, uint32_t gid, bool isMgid) {
    if (isMgid)
        return withId("mgid", gid);
    if (isMpid(gid)) {
        const uint32_t paths = npathOf(gid) + 1;
        return "mpid " + std::to_string(mpidOf(gid)) + " of " + std::to_string(paths) +
               (paths == 1 ? " path" : " paths");
    }
    if (isLgid(gid))
        return "lgid " + std::to_string(lgidOf(gid));
    if (isPlainEgid(gid))
        return withId("egid", gid);
    return isEgidForm(gid) ? specialText(ids, gid) : withId("group", gid);
}
