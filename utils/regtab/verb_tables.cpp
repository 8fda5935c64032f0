// tables: what there is to list, with the rows that are in use.

#include "cli_progress.h"
#include "rt_view.h"

namespace {

const char *useText(TblUse use) {
    constexpr const char *names[] = {"configuration", "counters", "activity", "learned", "capture", "scratch"};
    return names[static_cast<size_t>(use)];
}

struct Count {
    uint64_t rows = 0;
    uint64_t inUse = 0;
};

Count countOf(const RtRun &run, const TblMem &mem) {
    Count count;
    uint32_t words[TblMem::kMaxWords];
    mem.forEachEntry(run.image(), [&](const TblEntry &entry) {
        mem.read(run.image(), entry, run.opt.isRaw, words);
        ++count.rows;
        TblEntry known = entry;
        if (known.desc == nullptr && !mem.forms().empty())
            known.desc = &mem.forms()[0];
        if (TblMem::isInUse(known, words))
            ++count.inUse;
    });
    return count;
}

} // namespace

int rtTables(const RtRun &run, RtWords words) {
    if (!words.empty())
        throw RtError("tables takes nothing behind it");
    rtSchema(run.opt, "tables", run.dump.path);
    const auto table = CliTable::make(run.opt.format, {{.name = "table"},
                                                       {.name = "rows", .isRight = true},
                                                       {.name = "in_use", .isRight = true},
                                                       {.name = "holds"},
                                                       {.name = "for"}});
    for (const RtView &view : rtViews()) {
        RtRows rows(run, view.columns, {}, true);
        view.list(run, rows);
        table->text(view.name).none().number(rows.rows()).text("view").text(view.text).endRow();
    }
    const std::span<const TblMem> mems = tblMems();
    for (const TblMem &mem : mems) {
        cliProgress("counting", static_cast<size_t>(&mem - mems.data()) + 1, mems.size());
        // Registers are no tables, nor are short arrays of them.
        constexpr uint32_t kFewPlaces = 64;
        if (mem.isReg() || (mem.forms().empty() && mem.places() < kFewPlaces))
            continue;
        const Count count = countOf(run, mem);
        table->text(mem.name()).number(count.rows).number(count.inUse).text(useText(mem.use())).text(mem.text());
        table->endRow();
    }
    table->finish();
    return 0;
}
