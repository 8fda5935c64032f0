#include "rt_view.h"

#include <map>

static constexpr RtColumn kColumns[] = {
    {"by"},
    {"table", RtCell::VALUE, TblKind::NUM, 6},
    {"key"},
    {"vlan"},
    {"prio", RtCell::VALUE, TblKind::NUM, 3},
    {"dp", RtCell::VALUE, TblKind::NUM, 2},
    {"app", RtCell::VALUE, TblKind::HEX, 8},
    {"mtu", RtCell::VALUE, TblKind::NUM, 32},
    {"flags"},
};
const std::span<const RtColumn> kColumns_class = kColumns;

namespace {

constexpr uint32_t kRowsOfTable = 32;
constexpr uint32_t kPorts = 32;
constexpr uint32_t kVidWordsOfPort = 512;

std::string keyText(const TblDesc &desc, const uint32_t *words) {
    const std::string text = rtFieldsText(desc, words);
    return text.empty() ? "anything" : text;
}

/// The VLANs of a type: "16" where all ports have the same, else those of each port.
std::string vlansText(const RtRun &run, const TblMem &vids, uint32_t idx, RtRows &rows) {
    std::map<uint32_t, uint64_t> ports;
    for (uint32_t port = 0; port < kPorts; ++port) {
        const uint32_t place = port * kVidWordsOfPort + idx / 2;
        const uint32_t vid = rtEntry<TypVid>(run, vids, place).vid[idx % 2];
        if (vid == 0)
            continue;
        ports[vid] |= uint64_t{1} << port;
        rows.part(vids, place);
    }
    std::string text;
    for (const auto &[vid, set] : ports) {
        text.append(text.empty() ? "" : ", ").append(std::to_string(vid));
        if (set != 0xffffffff)
            text += " at " + rtBitsText(set);
    }
    return text;
}

/// Calls `show(place, key)` for each row of `tcam` that some key matches; `key` is what it asks for.
template <class Show> void forEachRowInUse(const RtRun &run, const TblMem &tcam, Show show) {
    for (uint32_t place = 0; place < tcam.places(); ++place) {
        const TblEntry entry = tcam.entryAt(run.image(), place);
        uint32_t words[TblMem::kMaxWords];
        tcam.read(run.image(), entry, run.opt.isRaw, words);
        if (tblIsNever(*entry.desc, words))
            continue;
        show(place, keyText(*entry.desc, words));
    }
}

void listMac(const RtRun &run, RtRows &rows) {
    const TblMem &tcam = rtMem("rte_l2_mac_class");
    const TblMem &vids = rtMem("rte_l2_mac_vid");
    const TblMem &prios = rtMem("rte_l2_mac_prio_ra");
    forEachRowInUse(run, tcam, [&](uint32_t place, const std::string &key) {
        rows.text("mac").value(place / kRowsOfTable).text(key);
        const uint32_t vid = rtEntry<L2MacVid>(run, vids, place).vid;
        rows.text(vid == 0 ? "" : std::to_string(vid));
        const auto prio = rtEntry<L2MacPrio>(run, prios, place / 4);
        rows.value(prio.prio[place % 4]).value(prio.dp[place % 4]);
        rows.part(tcam, place).part(vids, place).part(prios, place / 4).end();
    });
}

void listType(const RtRun &run, RtRows &rows) {
    const TblMem &tcam = rtMem("rte_typ_cls_tcam");
    const TblMem &apps = rtMem("rte_typ_cls_app_type");
    const TblMem &vids = rtMem("rte_typ_cls_vlan");
    const TblMem &mtus = rtMem("rte_typ_cls_mtu");
    const TblMem &attrs = rtMem("rte_typ_cls_attr");
    forEachRowInUse(run, tcam, [&](uint32_t place, const std::string &key) {
        rows.part(tcam, place).part(apps, place / 4).part(mtus, place).part(attrs, place / 16);
        rows.text("type").none().text(key).text(vlansText(run, vids, place, rows)).none().none();
        rows.value(rtEntry<TypApp>(run, apps, place / 4).app_typ[place % 4]);
        rows.value(rtEntry<TypMtu>(run, mtus, place).mtu);
        const auto attr = rtEntry<TypAttr>(run, attrs, place / 16);
        std::string flags = attr.pol_en[place % 16] ? "police" : "";
        if (attr.loc_mac_drp[place % 16])
            flags += flags.empty() ? "drop-local-mac" : " drop-local-mac";
        rows.text(flags).end();
    });
}

} // namespace

void list_class(const RtRun &run, RtRows &rows) {
    listMac(run, rows);
    listType(run, rows);
}
