// drops: what the chip counted of frames that it dropped, the most first.

#include <algorithm>

#include "base/cmRteVerdict.h"
#include "be_word.h"
#include "rt_entry.h"

namespace {

/// A counter that is not 0.
struct Drop {
    std::string kind;
    std::string port;
    std::string what;
    uint64_t count;
    std::string text;
    const TblMem *mem;
    uint32_t place;
};

/// One memory of counters of 40 bits.
struct DropMem {
    const char *row;
    const char *kind;
    uint32_t inner; ///< counters of one port
    const char *text;
};

constexpr DropMem kDropMems[] = {
    {"rte_drp_rsn_sts_frm", "reason", 64, ""},
    {"rte_drp_tail_sts_frm", "tail", 8, "frames lost to a full queue"},
    {"rte_drp_bpq_sts_frm", "cpu queue", 16, "frames and copies for the CPU lost to back-pressure"},
    {"rte_drp_spanq_sts_frm", "span queue", 8, "copies of received frames lost to a full span queue"},
};
constexpr uint32_t kPorts = 32;

std::string reasonName(uint32_t reason) {
    switch (reason) {
#define DRP_RSN(number, name, text)                                                                                    \
    case number:                                                                                                       \
        return #number " " #name;
#define DRP_RSN_NO_TEXT(number, name) DRP_RSN(number, name, "")
#include "base/cmRteDrpRsn.def"
    default:
        return std::to_string(reason);
    }
}

/// The text of a reason without its name in front.
std::string reasonText(uint32_t reason) {
    if (reason >= kRteRsnCnt)
        return "";
    const std::string_view text = rte_rsn_str[reason];
    const size_t colon = text.find(": ");
    return std::string(text.substr(0, 4) == "DRP_" && colon != text.npos ? text.substr(colon + 2) : text);
}

const char *precedence(uint32_t dp) {
    constexpr const char *names[] = {"green", "yellow", "red"};
    return names[std::min(dp, 2u)];
}

void addPaired(const RtRun &run, const DropMem &drops, std::vector<Drop> &list) {
    const TblMem &mem = *tblMem(drops.row);
    for (uint32_t place = 0; place < mem.places(); ++place) {
        uint32_t words[2];
        mem.read(run.image(), mem.entryAt(run.image(), place), run.opt.isRaw, words);
        const uint64_t count = uint64_t{words[0]} << 32 | words[1];
        if (count == 0)
            continue;
        const uint32_t port = place / drops.inner % kPorts;
        const uint32_t inner = place % drops.inner;
        Drop drop{drops.kind, std::to_string(port), "", count, drops.text, &mem, place};
        if (drops.inner == 64) {
            drop.what = reasonName(inner);
            drop.text = reasonText(inner);
        } else if (drops.inner == 8 && mem.places() > kPorts * 8) {
            drop.what = "priority " + std::to_string(inner) + " " + precedence(place / (kPorts * 8));
        } else {
            drop.what = "queue " + std::to_string(inner);
        }
        list.push_back(std::move(drop));
    }
}

/// Registers that count drops: each word by itself, or each pair of words, of which the upper one has eight bits.
struct DropReg {
    const char *row;
    bool isPair;
    bool isByPort; ///< the registers, or their groups, are those of ports
    const char *text;
};

constexpr DropReg kDropRegs[] = {
    {"ephy_reg.rte_prc_sflw_drp_cnt", true, true, "samples lost"},
    {"ephy_reg.rte_prc_acl_log_drp_cnt", true, true, "copies for the ACL's log lost"},
    {"rte_l2_sa_lrn_inf_drp_cnt", false, false, "requests to learn a source lost"},
    {"rte_l2_da_lrn_inf_drp_cnt", false, false, "requests to learn a destination lost"},
    {"rte_l2_sa_age_inf_drp_cnt", false, false, "messages of aged stations lost"},
    {"ephy_reg.rxf_port_rtedrop_cnt", false, true, ""},
    {"ephy_reg.rxf_port_mtuerr_cnt", false, true, ""},
    {"ephy_reg.rxf_port_total_drop_cnt", false, true, ""},
    {"eacl_per_port_drop_cnt", false, true, ""},
    {"elb_cl2f_drp_cnt_q", false, false, ""},
    {"elb_trph_drp_cnt_q", false, false, ""},
    {"elb_trpl_drp_cnt_q", false, false, ""},
    {"elb_span_drp_cnt_q", false, false, ""},
    {"elb_tx_trph_drp_cnt_q", false, false, ""},
    {"elb_tx_trpl_drp_cnt_q", false, false, ""},
    {"elb_tx_span_drp_cnt_q", false, false, ""},
    {"tsq_pkt_drop_cntr", false, false, ""},
    {"hsq_pkt_drop_cntr", false, false, ""},
};

void addRegs(const RtRun &run, const DropReg &drops, std::vector<Drop> &list) {
    const TblMem &mem = *tblMem(drops.row);
    const uint32_t step = drops.isPair ? 2 : 1;
    const std::string own = mem.name().substr(mem.name().rfind('.') + 1);
    for (uint32_t place = 0; place < mem.places(); place += step) {
        uint64_t count = imageWord(run.image(), mem.imageOff(place));
        if (drops.isPair)
            count = (count & 0xff) << 32 | imageWord(run.image(), mem.imageOff(place + 1));
        if (count != 0)
            list.push_back(
                {"register", drops.isByPort ? std::to_string(place / step) : "", own, count, drops.text, &mem, place});
    }
}

} // namespace

int rtDrops(const RtRun &run, RtWords words) {
    if (!words.empty())
        throw RtError("drops takes nothing behind it");
    std::vector<Drop> list;
    for (const DropMem &drops : kDropMems)
        addPaired(run, drops, list);
    for (const DropReg &drops : kDropRegs)
        addRegs(run, drops, list);
    std::stable_sort(list.begin(), list.end(), [](const Drop &a, const Drop &b) { return a.count > b.count; });

    rtSchema(run.opt, "drops", run.dump.path);
    std::vector<CliColumn> columns{{.name = "count", .isRight = true},
                                   {.name = "kind"},
                                   {.name = "port", .isRight = true},
                                   {.name = "what"},
                                   {.name = "text"}};
    rtPlaceColumns(columns);
    const auto table = CliTable::make(run.opt.format, std::move(columns));
    for (const Drop &drop : list) {
        table->number(drop.count).text(drop.kind);
        if (drop.port.empty())
            table->none();
        else
            table->number(std::stoul(drop.port));
        table->text(drop.what).text(drop.text);
        rtPutPlace(*table, *drop.mem, drop.place);
        table->endRow();
    }
    table->finish();
    return list.empty() ? 1 : 0;
}
