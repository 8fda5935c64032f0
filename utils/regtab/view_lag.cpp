#include "rt_view.h"

#include <algorithm>

#include "group_text.h"

static constexpr RtColumn kColumns[] = {
    {"lag", RtCell::VALUE, TblKind::NUM, 10},
    {"hash", RtCell::VALUE, TblKind::NUM, 3},
    {"members", RtCell::VALUE, TblKind::NUM, 8},
    {"to", RtCell::LIST},
};
const std::span<const RtColumn> kColumns_lag = kColumns;

void list_lag(const RtRun &run, RtRows &rows) {
    constexpr uint32_t kRowsOfLag = 32;
    const TblMem &types = rtMem("rte_lag_hash_type");
    const TblMem &paths = rtMem("rte_lag_hash_egid");
    const GroupIds ids = groupIds(run.image());
    for (uint32_t lag = 0; lag < paths.places() / kRowsOfLag; ++lag) {
        const auto type = rtEntry<LagHshTyp>(run, types, lag / 2);
        const uint32_t members = type.npath[lag % 2] + 1;
        bool isInUse = members > 1;
        std::vector<std::string> to;
        // More members than the group has rows run on into the rows of the next one.
        for (uint32_t i = 0; i < std::max(members, kRowsOfLag); ++i) {
            const auto path = rtEntry<LagPath>(run, paths, (lag * kRowsOfLag + i) % paths.places());
            isInUse = isInUse || path.gid != 0 || path.is_mgid != 0;
            if (i < members)
                to.push_back(groupText(ids, path.gid, path.is_mgid));
        }
        if (!isInUse)
            continue;
        rows.value(lag).value(type.hsh_typ[lag % 2]).value(members).list(std::move(to));
        for (uint32_t i = 0; i < members; ++i)
            rows.part(paths, (lag * kRowsOfLag + i) % paths.places());
        rows.part(types, lag / 2).end();
    }
}
