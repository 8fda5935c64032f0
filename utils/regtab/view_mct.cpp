#include "rt_view.h"

static constexpr RtColumn kColumns[] = {
    {"tree", RtCell::VALUE, TblKind::NUM, 13},
    {"hash", RtCell::VALUE, TblKind::NUM, 3},
    {"rbridges", RtCell::LIST},
};
const std::span<const RtColumn> kColumns_mct = kColumns;

void list_mct(const RtRun &run, RtRows &rows) {
    constexpr uint32_t kPaths = 8;
    const TblMem &types = rtMem("rte_mctid_hash_type");
    const TblMem &paths = rtMem("rte_mctid_rbridges");
    for (uint32_t tree = 0; tree < paths.places() / kPaths; ++tree) {
        // How many of the paths count, the result that names the tree says.
        std::vector<std::string> to;
        size_t used = 0;
        for (uint32_t i = 0; i < kPaths; ++i) {
            char text[16];
            const uint32_t nickname = rtEntry<MctidPath>(run, paths, tree * kPaths + i).trill_da;
            std::snprintf(text, sizeof(text), "0x%x", nickname);
            to.emplace_back(text);
            if (nickname != 0)
                used = i + 1;
        }
        if (used == 0)
            continue;
        to.resize(used);
        rows.value(tree).value(rtEntry<MctidHshTyp>(run, types, tree / 8).hsh_typ[tree % 8]).list(std::move(to));
        for (uint32_t i = 0; i < used; ++i)
            rows.part(paths, tree * kPaths + i);
        rows.part(types, tree / 8).end();
    }
}
