#include "rt_view.h"

#include "group_text.h"
#include "hsi_word.h"
#include "rt_bank.h"

static constexpr RtColumn kColumns[] = {
    {"proto"},
    {"vrf", RtCell::MATCH, TblKind::NUM, 12},
    {"prefix", RtCell::ADDR},
    {"nexthop", RtCell::VALUE, TblKind::NUM, 18},
    {"to"},
    {"flags"},
    {"bank", RtCell::VALUE, TblKind::NUM, 4},
    {"note"},
};
const std::span<const RtColumn> kColumns_routes = kColumns;

namespace {

void addFlag(std::string &flags, uint32_t isSet, const char *flag) {
    if (isSet)
        flags.append(flags.empty() ? "" : " ").append(flag);
}

/// The way out of a next hop, or nothing when the dump has no such next hop.
std::string hopText(const RtRun &run, const GroupIds &ids, uint32_t idx) {
    const TblMem &hops = rtMem("rte_l3_next_hop_rslt");
    if (idx >= hops.places())
        return "";
    const auto hop = rtEntry<NxtHop>(run, hops, idx);
    return groupText(ids, hop.mpid_lgid_egid_mgid, hop.is_mgid);
}

} // namespace

void list_routes(const RtRun &run, RtRows &rows) {
    const tsr_dmp_t *image = run.image();
    const TblMem &tcam = rtMem("tfe_tcam");
    const TblMem &amap = rtMem("tfe_amap_data");
    const GroupIds ids = groupIds(image);
    const uint32_t active = tfeActiveBanks(image);
    tcam.forEachEntry(image, [&](const TblEntry &entry) {
        const uint32_t bank = tfeBankOf(entry.place);
        const bool isActive = (active >> bank & 1) != 0;
        if (entry.desc == nullptr || (!isActive && !run.opt.isAll))
            return;
        uint32_t words[TblMem::kMaxWords];
        tcam.read(image, entry, run.opt.isRaw, words);
        if (tblIsNever(*entry.desc, words))
            return;
        const auto matchOf = [&](const char *name) {
            for (const TblFieldRef &ref : tcam.layouts()->find(name)) {
                if (ref.desc == entry.desc)
                    return tblMatchOf(ref, 0, words);
            }
            return TblMatch{};
        };
        const std::string_view type = entry.desc->type;
        const bool isFcoe = type == "TfeFcoe";
        const bool isIpv4 = type == "TfeIpv4";
        rows.text(isFcoe ? "fcoe" : isIpv4 ? "ipv4" : "ipv6").match(matchOf(isFcoe ? "vfid" : "vrf_id"));
        if (isFcoe)
            rows.addr(matchOf("fcid_lu"), TblKind::FCID, 24);
        else if (isIpv4)
            rows.addr(matchOf("ipv4_addr"), TblKind::IPV4, 32);
        else
            rows.addr(matchOf("ipv6_addr"), TblKind::IPV6, 128);

        std::string flags;
        uint32_t hop;
        if (isFcoe) {
            const auto rslt = rtEntry<TfeFcoeRslt>(run, amap, entry.place);
            hop = rslt.nxt_hop_rslt_idx;
            addFlag(flags, matchOf("vfid_typ").value[3], "vfid-type-1");
            addFlag(flags, rslt.trap_en, "trap");
            addFlag(flags, rslt.appl_zng, "zoning");
        } else {
            const auto rslt = rtEntry<TfeIpRslt>(run, amap, entry.place);
            hop = rslt.nxt_hop_rslt_idx;
            addFlag(flags, rslt.my_ip_da, "my-ip");
            addFlag(flags, rslt.rp_valid, "rp");
            addFlag(flags, rslt.default_vrf, "default-vrf");
            addFlag(flags, rslt.force_miss, "default-vrf-only");
            addFlag(flags, rslt.trap_en, "trap");
        }
        rows.value(hop).text(hopText(run, ids, hop)).text(flags).value(bank);
        uint32_t raw[TblMem::kMaxWords];
        tcam.read(image, entry, true, raw);
        std::string note = tblDropped(*entry.desc, raw);
        if (!isActive)
            note = note.empty() ? "the bank is off" : "the bank is off; " + note;
        rows.text(note).part(tcam, entry.place).part(amap, entry.place).end();
    });
}
