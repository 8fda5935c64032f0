#include "rt_view.h"

#include "group_text.h"
#include "hsi/cmRteHsiReg.h"
#include "rt_bank.h"

static constexpr RtColumn kColumns[] = {
    {"layer", RtCell::VALUE, TblKind::NUM, 2},
    {"bank"},
    {"type"},
    {"group", RtCell::VALUE, TblKind::NUM, 5},
    {"key"},
    {"result"},
    {"note"},
};
const std::span<const RtColumn> kColumns_acl = kColumns;

namespace {

/// The fields of a result that one enable brings.
struct RsltGrp {
    const char *enable;
    std::vector<std::string_view> l2;
    std::vector<std::string_view> l3;
};

const std::vector<RsltGrp> &rsltGrps() {
    static const std::vector<RsltGrp> grps = [] {
        std::vector<RsltGrp> list;
        const auto add = [&](const char *enable) { list.push_back({enable, {}, {}}); };
        const auto l2 = [&](const char *field) { list.back().l2.emplace_back(field); };
        const auto l3 = [&](const char *field) { list.back().l3.emplace_back(field); };
#define GRP(enable, l2Def, l3Def, ...)                                                                                 \
    add(#enable);                                                                                                      \
    __VA_ARGS__
#define BOTH(field)                                                                                                    \
    l2(#field);                                                                                                        \
    l3(#field);
#define L2(field) l2(#field);
#define L2_BANK(field) l2(#field);
#define L3(field) l3(#field);
#include "tae/cmTaeRsltGrp.def"
        return list;
    }();
    return grps;
}

/// What a result's row says, its enabled groups of fields alone.
class RsltText {
public:
    RsltText(const GroupIds &ids, const TblRow &row, const TblDesc &desc, const uint32_t *words)
        : ids_(ids), row_(row), desc_(desc), words_(words) {}

    std::string text(bool isLayer2) const;

private:
    TblFieldRef ref(std::string_view name) const {
        for (const TblFieldRef &found : row_.find(name)) {
            if (found.desc == &desc_)
                return found;
        }
        return {nullptr, nullptr};
    }
    uint32_t value(std::string_view name) const {
        const TblFieldRef found = ref(name);
        return found.field == nullptr ? 0 : tblValueOf(*found.field, 0, words_)[3];
    }
    void addValue(std::string &text, std::string_view name) const;

    const GroupIds &ids_;
    const TblRow &row_;
    const TblDesc &desc_;
    const uint32_t *words_;
};

void RsltText::addValue(std::string &text, std::string_view name) const {
    std::string said;
    if (name == "lgid_egid_mgid")
        said = groupText(ids_, value(name), value("is_mgid") != 0);
    else if (name == "is_mgid" || value(name) == 0)
        return;
    else
        said = std::string(name) + "=" + std::to_string(value(name));
    text.append(text.empty() ? "" : " ").append(said);
}

std::string RsltText::text(bool isLayer2) const {
    std::string text;
    for (const RsltGrp &grp : rsltGrps()) {
        if (value(grp.enable) == 0)
            continue;
        std::string fields;
        for (const std::string_view name : isLayer2 ? grp.l2 : grp.l3)
            addValue(fields, name);
        std::string_view what = grp.enable;
        if (what.size() > 3 && what.substr(what.size() - 3) == "_en")
            what.remove_suffix(3);
        text.append(text.empty() ? "" : "; ").append(what);
        if (!fields.empty())
            text.append(" (").append(fields).append(")");
    }
    for (const char *single : {"bypass_eacl", "ign_fcoe", "mct_srbridge_vld"}) {
        if (value(single) != 0)
            text.append(text.empty() ? "" : "; ").append(single);
    }
    return text.empty() ? "nothing" : text;
}

std::string keyText(const TblDesc &desc, const uint32_t *words) {
    const std::string text = rtFieldsText(desc, words);
    return text.empty() ? "anything" : text;
}

/// The text of the result at `place` of `mem`.
std::string rsltText(const RtRun &run, const GroupIds &ids, const TblMem &mem, uint32_t place, bool isLayer2) {
    const TblEntry entry = mem.entryAt(run.image(), place);
    if (entry.desc == nullptr)
        return "";
    uint32_t words[TblMem::kMaxWords];
    mem.read(run.image(), entry, run.opt.isRaw, words);
    return RsltText(ids, *mem.layouts(), *entry.desc, words).text(isLayer2);
}

void listBanks(const RtRun &run, const GroupIds &ids, RtRows &rows) {
    const TblMem &tcam = rtMem("tae_tcam");
    const TblMem &rslts = rtMem("tae_rslt");
    uint32_t lastBank = UINT32_MAX;
    TaeBank bank{};
    tcam.forEachEntry(run.image(), [&](const TblEntry &entry) {
        const uint32_t number = taeBankOf(entry.place);
        if (number != lastBank)
            bank = taeBank(run.image(), number);
        lastBank = number;
        if (!bank.isOn && !run.opt.isAll)
            return;
        if (entry.desc == nullptr)
            return;
        uint32_t words[TblMem::kMaxWords];
        tcam.read(run.image(), entry, run.opt.isRaw, words);
        if (tblIsNever(*entry.desc, words))
            return;
        // The rows of two joined banks alternate; their results are those of the even one.
        uint32_t rslt = entry.place;
        std::string name = std::to_string(number);
        if (bank.isWide()) {
            const uint32_t even = number & ~1u;
            rslt = taeFirstPlace(even) + (entry.place - taeFirstPlace(even)) / 2;
            name = std::to_string(even) + "+" + std::to_string(even + 1);
        }
        rows.value(bank.isLayer2() ? 2 : 3).text(name).text(bank.name()).value(bank.group);
        rows.text(keyText(*entry.desc, words)).text(rsltText(run, ids, rslts, rslt, bank.isLayer2()));
        rows.text(bank.isOn ? "" : "the bank is off");
        rows.part(tcam, entry.place).part(rslts, rslt).end();
    });
}

/// The exact match of one protocol: keys in buckets, and those that found no place there.
void listExm(const RtRun &run, const GroupIds &ids, RtRows &rows, const char *name, const std::string &row, bool isOn) {
    if (!isOn && !run.opt.isAll)
        return;
    const TblMem &rslts = rtMem(row + "_rslt");
    const TblMem &bkts = rtMem(row + "_bkt");
    const TblMem &tcam = rtMem(row + "_ovflow_tcam");
    const auto put = [&](const TblMem &mem, uint32_t place, uint32_t rslt) {
        const TblEntry entry = mem.entryAt(run.image(), place);
        uint32_t words[TblMem::kMaxWords];
        mem.read(run.image(), entry, run.opt.isRaw, words);
        if (!TblMem::isInUse(entry, words))
            return;
        rows.value(3).text("exact match").text(name).none().text(keyText(*entry.desc, words));
        rows.text(rsltText(run, ids, rslts, rslt, false)).text(isOn ? "" : "the exact match is off");
        rows.part(mem, place).part(rslts, rslt).end();
    };
    for (uint32_t place = 0; place < bkts.places(); ++place)
        put(bkts, place, place);
    for (uint32_t place = 0; place < tcam.places(); ++place)
        put(tcam, place, rslts.places() - tcam.places() + place);
}

} // namespace

void list_acl(const RtRun &run, RtRows &rows) {
    const GroupIds ids = groupIds(run.image());
    listBanks(run, ids, rows);
    const TblMem &cfg = rtMem("tae_l3_srch_exm_cfg");
    const std::optional<HsiRegInfo> info = hsiRegInfo(cfg.chipOff(0));
    uint32_t word = 0;
    cfg.read(run.image(), cfg.entryAt(run.image(), 0), true, &word);
    const auto isOn = [&](const char *field) {
        for (const HsiRegField &f : info->fields) {
            if (f.name == field)
                return f.of(word) != 0;
        }
        return false;
    };
    listExm(run, ids, rows, "ipv4", "tae_l3_ipv4_mc", isOn("ipv4_exm_en"));
    listExm(run, ids, rows, "ipv6", "tae_l3_ipv6_mc", isOn("ipv6_exm_en"));
}
