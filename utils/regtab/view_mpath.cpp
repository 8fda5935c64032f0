#include "rt_view.h"

#include "group_text.h"

static constexpr RtColumn kColumns[] = {
    {"mpid", RtCell::VALUE, TblKind::NUM, 13},
    {"hash", RtCell::VALUE, TblKind::NUM, 3},
    {"paths", RtCell::LIST},
};
const std::span<const RtColumn> kColumns_mpath = kColumns;

void list_mpath(const RtRun &run, RtRows &rows) {
    constexpr uint32_t kPaths = 8;
    const TblMem &types = rtMem("rte_l2_mpid_hash_type");
    const TblMem &paths = rtMem("rte_l2_psel_mpid");
    const GroupIds ids = groupIds(run.image());
    for (uint32_t mpid = 0; mpid < paths.places() / kPaths; ++mpid) {
        // How many of the paths count, the group word that names the multipath says.
        std::vector<std::string> to;
        size_t used = 0;
        for (uint32_t i = 0; i < kPaths; ++i) {
            const auto path = rtEntry<MpidPath>(run, paths, mpid * kPaths + i);
            to.push_back(groupText(ids, path.gid, path.is_mgid));
            if (path.gid != 0 || path.is_mgid != 0)
                used = i + 1;
        }
        if (used == 0)
            continue;
        to.resize(used);
        rows.value(mpid).value(rtEntry<MpidHshTyp>(run, types, mpid / 8).hsh_typ[mpid % 8]).list(std::move(to));
        for (uint32_t i = 0; i < used; ++i)
            rows.part(paths, mpid * kPaths + i);
        rows.part(types, mpid / 8).end();
    }
}
