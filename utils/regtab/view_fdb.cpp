#include "rt_view.h"

#include "base/cmRteVerdict.h"
#include "group_text.h"

static constexpr RtColumn kColumns[] = {
    {"fid", RtCell::MATCH, TblKind::NUM, 13},
    {"mac", RtCell::MATCH, TblKind::MAC, 48},
    {"trill_addr", RtCell::MATCH, TblKind::HEX, 16},
    {"to"},
    {"learn"},
    {"trill"},
    {"flags"},
    {"age", RtCell::VALUE, TblKind::NUM, 11},
};
const std::span<const RtColumn> kColumns_fdb = kColumns;

namespace {

constexpr uint32_t kAlwaysLearn = 32;
constexpr uint32_t kNeverLearn = 48;

std::string learnText(uint32_t lrnPort) {
    if (lrnPort >= kNeverLearn)
        return "never";
    return lrnPort >= kAlwaysLearn ? "always" : "port " + std::to_string(lrnPort);
}

std::string trillText(const L2ExmRslt &rslt) {
    char text[48] = "";
    if (rslt.trill_cmd == TRILL_CMD_MCTID)
        std::snprintf(text, sizeof(text), "tree %u of %u paths", rslt.mct_id, rslt.mct_npath + 1);
    else if (rslt.trill_cmd != TRILL_CMD_NONE)
        std::snprintf(text, sizeof(text),
                      rslt.trill_cmd == TRILL_CMD_DEST ? "rbridge 0x%x" : "rbridge 0x%x, group kept", rslt.trill_da);
    return text;
}

/// The memories of the stations.
struct Fdb {
    const RtRun &run;
    GroupIds ids;
    const TblMem &rslts = rtMem("rte_l2_exm_rslt");
    const TblMem &ages = rtMem("rte_l2_exm_sa_age_tmr");
    const TblMem &acts = rtMem("rte_l2_exm_da_act");

    /// Adds what the result `idx` says of a station; `age` is its age, or null.
    void putRslt(RtRows &rows, uint32_t idx, const uint32_t *age) const {
        const auto rslt = rtEntry<L2ExmRslt>(run, rslts, idx);
        rows.text(groupText(ids, rslt.gid, rslt.is_mgid), rslt.gid).text(learnText(rslt.lrn_port));
        rows.text(trillText(rslt));
        std::string flags = rslt.trap_en ? "trap" : "";
        if (rslt.trill_mc)
            flags += flags.empty() ? "trill-mc" : " trill-mc";
        if (rtEntry<L2DaAct>(run, acts, idx / 32).act[idx % 32])
            flags += flags.empty() ? "seen" : " seen";
        rows.text(flags);
        if (age != nullptr && *age != 0)
            rows.value(*age);
        else
            rows.none();
    }
};

} // namespace

void list_fdb(const RtRun &run, RtRows &rows) {
    const Fdb fdb{run, groupIds(run.image())};
    const TblMem &bkts = rtMem("rte_l2_exm_bkt");
    const auto exact = [](uint64_t value, unsigned width) {
        return TblMatch{{0, 0, static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)}, tblAllOnes(width)};
    };
    for (uint32_t place = 0; place < bkts.places(); ++place) {
        uint32_t words[L2ExmBkt::kWords];
        bkts.read(run.image(), bkts.entryAt(run.image(), place), run.opt.isRaw, words);
        if ((words[0] | words[1] | words[2] | words[3]) == 0)
            continue;
        const auto key = entryAt<L2ExmBkt>(words);
        rows.match(exact(key.fid, 13)).match(exact(key.mac_addr, 48));
        if (key.trill_addr_vld)
            rows.match(exact(key.trill_addr, 16));
        else
            rows.none();
        uint32_t age = 0;
        fdb.ages.read(run.image(), {place, &fdb.ages.forms()[0], 1}, run.opt.isRaw, &age);
        fdb.putRslt(rows, place, &age);
        rows.part(bkts, place).part(fdb.rslts, place).end();
    }

    const TblMem &tcam = rtMem("rte_l2_exm_ovflw_tcam");
    const TblDesc &desc = tcam.forms()[0];
    const TblRow &row = *tcam.layouts();
    const auto matchOf = [&](const char *name, const uint32_t *words) {
        return tblMatchOf(row.find(name)[0], 0, words);
    };
    for (uint32_t place = 0; place < tcam.places(); ++place) {
        uint32_t words[2 * L2ExmOvflw::kWords];
        tcam.read(run.image(), {place, &desc, desc.words}, run.opt.isRaw, words);
        if (tblIsNever(desc, words))
            continue;
        rows.match(matchOf("fid", words)).match(matchOf("mac_addr", words));
        const TblMatch hasTrill = matchOf("trill_addr_vld", words);
        if (hasTrill.value[3] != 0 || hasTrill.mask[3] == 0)
            rows.match(matchOf("trill_addr", words));
        else
            rows.none();
        // The last results are those of the overflow.
        const uint32_t rslt = fdb.rslts.places() - tcam.places() + place;
        fdb.putRslt(rows, rslt, nullptr);
        rows.part(tcam, place).part(fdb.rslts, rslt).end();
    }
}
