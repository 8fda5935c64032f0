#include "rt_view.h"

#include "base/cmRteVerdict.h"
#include "dmp_entry.h"
#include "group_text.h"

static constexpr RtColumn kColumns[] = {
    {"nexthop", RtCell::VALUE, TblKind::NUM, 18},
    {"to"},
    {"vlan", RtCell::VALUE, TblKind::VID, 13},
    {"new_da", RtCell::VALUE, TblKind::MAC, 48},
    {"new_sa", RtCell::VALUE, TblKind::MAC, 48},
    {"trill"},
    {"mcast"},
    {"fcoe"},
    {"spread"},
};
const std::span<const RtColumn> kColumns_nexthop = kColumns;

namespace {

std::string trillText(const NxtHop &hop) {
    char text[64] = "";
    if (hop.trill_cmd == TRILL_CMD_MCTID)
        std::snprintf(text, sizeof(text), "tree %u of %u paths", hop.mct_id, hop.mct_npath + 1);
    else if (hop.trill_cmd != TRILL_CMD_NONE)
        std::snprintf(text, sizeof(text), hop.trill_cmd == TRILL_CMD_DEST ? "rbridge 0x%x" : "rbridge 0x%x, group kept",
                      hop.mctid_trill_da);
    return text;
}

std::string fcoeText(const NxtHop &hop) {
    std::string text;
    if (hop.fcoe_prio_pth)
        text = "priority kept";
    else if (hop.l2_prio)
        text = "priority " + std::to_string(hop.l2_prio);
    if (hop.vsan_tagged)
        text += text.empty() ? "vsan tag" : ", vsan tag";
    return text;
}

const char *mcastText(uint32_t type) {
    constexpr const char *names[] = {"", "broadcast", "layer 2", "layer 3"};
    return names[type];
}

/// The new source address: its last four bytes are those of one word, its first two the low half of the other.
uint64_t newSa(const IqsMacSa &sa) {
    return uint64_t{sa.mac_sa & 0xffff} << 32 | sa.mac_sa1;
}

} // namespace

void list_nexthop(const RtRun &run, RtRows &rows) {
    const TblMem &hops = rtMem("rte_l3_next_hop_rslt");
    const TblMem &spreads = rtMem("rte_l3_mpath_hash_type");
    const TblMem &das = rtMem("iqs_mac_da_vid_mem");
    const TblMem &sas = rtMem("iqs_fcoe_sa_mac_tbl");
    const GroupIds ids = groupIds(run.image());
    for (uint32_t idx = 0; idx < hops.places(); ++idx) {
        uint32_t words[NxtHop::kWords];
        const TblEntry entry{idx, &hops.forms()[0], NxtHop::kWords};
        hops.read(run.image(), entry, run.opt.isRaw, words);
        if (!TblMem::isInUse(entry, words))
            continue;
        const auto hop = entryAt<NxtHop>(words);
        rows.value(idx).text(groupText(ids, hop.mpid_lgid_egid_mgid, hop.is_mgid), hop.mpid_lgid_egid_mgid);
        // The queue stage finds its rows by words that it works out from the index.
        rows.value(hop.eivid);
        rows.value(dmpEntryAtWord<IqsMacDa>(run.image(), uint64_t{64} * hop.da_idx + hop.da_idx % 8).mac_da);
        rows.value(newSa(dmpEntryAtWord<IqsMacSa>(run.image(), uint64_t{4} * hop.sa_idx + hop.sa_idx % 2)));
        rows.text(trillText(hop)).text(mcastText(hop.mcast_typ)).text(fcoeText(hop));
        rows.part(hops, idx);
        if (hop.da_idx < das.places())
            rows.part(das, hop.da_idx);
        if (hop.sa_idx < sas.places())
            rows.part(sas, hop.sa_idx);
        const auto spread = rtEntry<MpathHash>(run, spreads, idx / 4);
        if (const uint32_t further = spread.npath[idx % 4]) {
            rows.text(std::to_string(further + 1) + " from here, hash " + std::to_string(spread.hashNum[idx % 4]));
            rows.part(spreads, idx / 4);
        }
        rows.end();
    }
}
