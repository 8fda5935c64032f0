// history: the last keys and results that the chip captured.

#include <algorithm>
#include <cstring>

#include "be_word.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"
#include "rt_entry.h"

namespace {

constexpr uint32_t kSlots = 4;

/// A history of the lookups: how a slot is laid out.
struct His {
    const char *name;
    uint32_t words;
    uint32_t width; ///< of an address; 0 for a key
    uint32_t vld;   ///< the valid flag, from the slot's lowest bit
};

constexpr His kHis[] = {
#define HIS(name, range, width, vld) {#name, 1, width, vld},
#define HIS_WORD(name, vld) {#name, 1, 0, vld},
#define HIS_KEY(name, words, vld) {#name, words, 0, vld},
#include "base/cmRteHis.def"
};

/// Whose layout a captured key has; the row of a memory that a captured address is the place of.
struct Known {
    const char *name;
    const char *row;
};

constexpr Known kKeys[] = {
    {"trill_mrb_tcam_key", "rte_trill_myrb_tcam"},
    {"l2_ctl_tcam_key", "rte_l2_ctrl_cls_tcam"},
    {"typ_tcam_key", "rte_typ_cls_tcam"},
    {"l2_mac_tcam_key", "rte_l2_mac_class"},
    {"csc_tcam_key", "rte_cloud_class_tcam"},
    {"l2_exm_tcam_key_da", "rte_l2_exm_bkt"},
    {"l2_exm_tcam_key_sa", "rte_l2_exm_bkt"},
    {"l3_ctl_tcam_key", "rte_l3_ctrl_cls_tcam"},
    {"l3_ipv4_mcuid_tcam_key", "rte_l3_ipv4_mcuid_bkt"},
    {"l3_ipv6_mcuid_tcam_key", "rte_l3_ipv6_mcuid_bkt"},
};

constexpr Known kAddrs[] = {
    {"l2_ctl_rslt", "rte_l2_ctrl_cls_rslt"},
    {"csc_vpn_rslt", "rte_cloud_rslt_vpn"},
    {"csc_policy_rslt", "rte_cloud_rslt_policy"},
    {"csc_iivid_vpn_id", "rte_iivid_vpnid"},
    {"l2_vid_mtu", "rte_l2_vlan_mtu"},
    {"l2_fid", "rte_l2_filter_id"},
    {"l2_exm_rslt_da", "rte_l2_exm_rslt"},
    {"l2_exm_rslt_sa", "rte_l2_exm_rslt"},
    {"l2_vid_mgid", "rte_l2_flood_mgid"},
    {"l2_stp_en", "rte_l2_stp_en"},
    {"l2_psel_trill_dest", "rte_l2_trill_dest"},
    {"l2_psel_mctid", "rte_mctid_rbridges"},
    {"l2_psel_mpid", "rte_l2_psel_mpid"},
    {"l2_psel_lgid", "rte_lag_hash_egid"},
    {"l3_vrf", "rte_l3_vrf"},
    {"l3_ctl_qnum", "rte_l3_ctrl_cls_qnum"},
    {"l3_ipv4_mcuid_rslt", "rte_l3_ipv4_mcuid_rslt"},
    {"l3_ipv6_mcuid_rslt", "rte_l3_ipv6_mcuid_rslt"},
};

template <size_t N> const TblMem *find(const Known (&list)[N], std::string_view name) {
    for (const Known &known : list) {
        if (name == known.name)
            return tblMem(known.row);
    }
    return nullptr;
}

/// The fields of a key that are not 0, as "name=value name=value".
std::string keyText(const TblMem &mem, const std::vector<uint32_t> &slot) {
    // The captured words are the low ones of the key.
    const TblDesc *desc = &mem.forms()[0];
    std::vector<uint32_t> key(std::max<size_t>(desc->keyWords(), slot.size()));
    std::copy(slot.begin(), slot.end(), key.end() - static_cast<ptrdiff_t>(slot.size()));
    const uint32_t *words = key.data() + (key.size() - desc->keyWords());
    for (const TblDesc &form : mem.forms()) {
        if (form.form.kind != TblForm::WHEN)
            continue;
        const TblField &field = *mem.layouts()->find(form.form.field)[0].field;
        if (tblValueOf(field, 0, words)[3] == form.form.value)
            desc = &form;
    }
    std::string text;
    for (const TblField &field : desc->field) {
        for (unsigned elem = 0; elem < field.count && !field.isAlt; ++elem) {
            const TblWide value = tblValueOf(field, elem, words);
            if (value == TblWide{})
                continue;
            text.append(text.empty() ? "" : " ").append(field.name);
            if (field.isArr)
                text.append("[").append(std::to_string(elem)).append("]");
            text.append("=").append(tblShowValue(field, value));
        }
    }
    return text.empty() ? "all fields 0" : text;
}

std::string hexWords(const std::vector<uint32_t> &words) {
    std::string text;
    for (const uint32_t word : words) {
        char hex[16];
        std::snprintf(hex, sizeof(hex), "%s0x%08x", text.empty() ? "" : " ", word);
        text += hex;
    }
    return text;
}

/// What the captures of a register are of, as its register says.
std::string meaningOf(const TblMem &mem) {
    const std::optional<HsiRegInfo> info = hsiRegInfo(mem.chipOff(0));
    return info && !info->fields.empty() ? std::string(hsiFieldText(info->fields[0].pattern)) : "";
}

std::string slotText(const His &his, std::vector<uint32_t> slot) {
    slot[his.words - 1 - std::min(his.vld / 32, his.words - 1)] &= ~(1u << his.vld % 32);
    if (his.width == 0) {
        const TblMem *mem = find(kKeys, his.name);
        return mem == nullptr ? hexWords(slot) : keyText(*mem, slot);
    }
    const uint32_t addr = slot[0] & ((1u << his.width) - 1);
    const uint32_t flags = slot[0] >> his.width;
    char text[64];
    std::snprintf(text, sizeof(text), "0x%x", addr);
    std::string said = text;
    if (const TblMem *mem = find(kAddrs, his.name); mem != nullptr && addr < mem->places())
        said = mem->nameOf(addr);
    if (flags != 0) {
        std::snprintf(text, sizeof(text), " hit=0x%x", flags);
        said += text;
    }
    return said;
}

} // namespace

int rtHistory(const RtRun &run, RtWords words) {
    if (!words.empty())
        throw RtError("history takes nothing behind it");
    rtSchema(run.opt, "history", run.dump.path);
    std::vector<CliColumn> columns{
        {.name = "history"}, {.name = "slot", .isRight = true}, {.name = "captured"}, {.name = "meaning"}};
    rtPlaceColumns(columns);
    const auto table = CliTable::make(run.opt.format, std::move(columns));
    const auto slotOf = [&](const TblMem &mem, uint32_t slot) {
        const uint32_t size = mem.places() / kSlots;
        std::vector<uint32_t> list;
        for (uint32_t i = 0; i < size; ++i)
            list.push_back(imageWord(run.image(), mem.imageOff(slot * size + i)));
        return list;
    };
    const auto put = [&](const TblMem &mem, std::string_view name, uint32_t slot, const std::string &text) {
        table->text(name).number(slot).text(text).text(meaningOf(mem));
        rtPutPlace(*table, mem, slot * (mem.places() / kSlots));
        table->endRow();
    };
    for (const TblMem &mem : tblMems()) {
        const std::string own = mem.name().substr(mem.name().rfind('.') + 1);
        if (mem.use() != TblUse::HIS || mem.places() % kSlots != 0 || own == "tbuf_mem")
            continue;
        const auto *his = std::find_if(std::begin(kHis), std::end(kHis),
                                       [&](const His &h) { return own == std::string("rte_his_") + h.name; });
        for (uint32_t slot = 0; slot < kSlots; ++slot) {
            const std::vector<uint32_t> list = slotOf(mem, slot);
            if (his != std::end(kHis)) {
                const uint32_t at = his->words - 1 - std::min(his->vld / 32, his->words - 1);
                if ((list[at] >> his->vld % 32 & 1) != 0)
                    put(mem, his->name, slot, slotText(*his, list));
            } else if (std::any_of(list.begin(), list.end(), [](uint32_t w) { return w != 0; })) {
                // No list says where the valid flag stands.
                put(mem, own, slot, hexWords(list));
            }
        }
    }
    table->finish();
    return table->rows() != 0 ? 0 : 1;
}
