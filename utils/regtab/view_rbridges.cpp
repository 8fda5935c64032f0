#include "rt_view.h"

#include "group_text.h"
#include "hsi_word.h"

static constexpr RtColumn kColumns[] = {
    {"nickname", RtCell::MATCH, TblKind::HEX, 16},
    {"what"},
    {"to"},
};
const std::span<const RtColumn> kColumns_rbridges = kColumns;

void list_rbridges(const RtRun &run, RtRows &rows) {
    const auto cfg = dmpComReg<comReg::RTE_L2_TRILL_CFG_0>(run.image());
    rows.value(cfg[comReg::RTE_L2_TRILL_CFG_0::rte_l2_trill_addr]).text("this chip");
    rows.part(rtMem("rte_l2_trill_cfg_0"), 0).end();

    const TblMem &mine = rtMem("rte_trill_myrb_tcam");
    for (uint32_t place = 0; place < mine.places(); ++place) {
        const TblEntry entry = mine.entryAt(run.image(), place);
        uint32_t words[2 * TrillMyRb::kWords];
        mine.read(run.image(), entry, run.opt.isRaw, words);
        if (tblIsNever(*entry.desc, words))
            continue;
        rows.match(tblMatchOf(mine.layouts()->find("nickname")[0], 0, words)).text("this chip's too");
        rows.part(mine, place).end();
    }

    const TblMem &dests = rtMem("rte_l2_trill_dest");
    const GroupIds ids = groupIds(run.image());
    for (uint32_t nickname = 0; nickname < dests.places(); ++nickname) {
        const auto dest = rtEntry<TrillDest>(run, dests, nickname);
        if (dest.gid == 0 && dest.is_mgid == 0)
            continue;
        rows.value(nickname).text("destination").text(groupText(ids, dest.gid, dest.is_mgid), dest.gid);
        rows.part(dests, nickname).end();
    }
}
