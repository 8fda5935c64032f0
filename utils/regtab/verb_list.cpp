// list: the rows of a view, or of any memory by the name of its row.

#include <algorithm>

#include "regdump_prog.h"
#include "rt_view.h"

namespace {

std::vector<RtCond> condsOf(RtWords words) {
    std::vector<RtCond> conds;
    for (const std::string &word : words)
        conds.push_back(RtCond::of(word));
    return conds;
}

/// The layouts of an entry: the one that holds, or those of which the image does not tell whether they do.
std::vector<const TblDesc *> layoutsOf(const RtRun &run, const TblMem &mem, const TblEntry &entry) {
    if (entry.desc != nullptr)
        return {entry.desc};
    std::vector<const TblDesc *> descs;
    const uint32_t inRow = mem.imageOff(entry.place) - mem.imageOff(0);
    for (const TblDesc &desc : mem.forms()) {
        if (tblHolds(desc, {run.image(), mem.imageOff(0), inRow}) == TblHolds::UNKNOWN)
            descs.push_back(&desc);
    }
    return descs;
}

/// The rows of a memory as its layout has them.
class MemRows {
public:
    MemRows(const RtRun &run, const TblMem &mem, std::vector<RtCond> conds);

    uint64_t list();

private:
    struct Field {
        std::string_view name;
        std::vector<TblFieldRef> refs; ///< one a form that has it
    };

    void take(const TblEntry &entry, const TblDesc *desc, const uint32_t *words);
    bool fits(const TblDesc *desc, const uint32_t *words) const;
    bool fits(const RtCond &cond, const TblFieldRef &ref, const uint32_t *words) const;
    void put(const TblEntry &entry, const TblDesc *desc, const uint32_t *words);

    const RtRun &run_;
    const TblMem &mem_;
    std::vector<RtCond> conds_;
    std::vector<Field> fields_;
    std::unique_ptr<CliTable> table_;
    RtLines lines_;
    uint64_t rows_ = 0;
};

MemRows::MemRows(const RtRun &run, const TblMem &mem, std::vector<RtCond> conds)
    : run_(run), mem_(mem), conds_(std::move(conds)), lines_(run.image()) {
    std::vector<std::string_view> names;
    for (const TblDesc &desc : mem.forms()) {
        for (const TblField &field : desc.field) {
            const auto at = std::find(names.begin(), names.end(), field.name);
            if (at == names.end()) {
                names.emplace_back(field.name);
                fields_.push_back({field.name, {{&desc, &field}}});
            } else {
                fields_[static_cast<size_t>(at - names.begin())].refs.push_back({&desc, &field});
            }
        }
    }
    for (const RtCond &cond : conds_) {
        const auto at = std::find(names.begin(), names.end(), cond.field);
        if (at == names.end())
            throw RtError(names.empty()
                              ? "the layout of " + mem.name() + " is not known: it has no fields"
                              : mem.name() + " has no field " + cond.field + tblNear(cond.field, names, true));
        // What cannot be read for any form is wrong.
        const Field &field = fields_[static_cast<size_t>(at - names.begin())];
        (void)cond.match(field.refs[0].field->kind, field.refs[0].field->width);
        if (cond.elem && *cond.elem >= field.refs[0].field->count)
            throw RtError("a subscript of " + cond.field + " is at most " +
                          std::to_string(field.refs[0].field->count - 1));
    }
    if (run.opt.isText)
        return;
    std::vector<CliColumn> columns;
    rtPlaceColumns(columns);
    if (mem.forms().size() > 1)
        columns.push_back({.name = "form"});
    if (fields_.empty())
        columns.push_back({.name = "words"});
    else if (run.opt.format == CliFormat::TEXT)
        columns.push_back({.name = "fields"});
    else
        for (const Field &field : fields_)
            columns.push_back({.name = std::string(field.name)});
    table_ = CliTable::make(run.opt.format, std::move(columns));
}

bool MemRows::fits(const RtCond &cond, const TblFieldRef &ref, const uint32_t *words) const {
    const TblMatch wanted = cond.match(ref.field->kind, ref.field->width);
    for (unsigned elem = 0; elem < ref.field->count; ++elem) {
        if (cond.elem && *cond.elem != elem)
            continue;
        const TblMatch is = ref.desc->isTcam
                                ? tblMatchOf(ref, elem, words)
                                : TblMatch{tblValueOf(*ref.field, elem, words), tblAllOnes(ref.field->width)};
        if (rtMeet(is, wanted))
            return true;
    }
    return false;
}

bool MemRows::fits(const TblDesc *desc, const uint32_t *words) const {
    return std::all_of(conds_.begin(), conds_.end(), [&](const RtCond &cond) {
        for (const Field &field : fields_) {
            if (field.name != cond.field)
                continue;
            for (const TblFieldRef &ref : field.refs) {
                if (ref.desc == desc)
                    return fits(cond, ref, words);
            }
        }
        return false;
    });
}

void MemRows::put(const TblEntry &entry, const TblDesc *desc, const uint32_t *words) {
    rtPutPlace(*table_, mem_, entry.place);
    if (mem_.forms().size() > 1)
        table_->text(desc == nullptr || desc->type == nullptr ? "" : desc->type);
    if (fields_.empty()) {
        std::vector<CliItem> items;
        for (uint32_t w = 0; w < entry.words; ++w) {
            char text[16];
            std::snprintf(text, sizeof(text), "0x%08x", words[w]);
            items.push_back({text, words[w]});
        }
        table_->list(items);
    } else if (run_.opt.format == CliFormat::TEXT) {
        const std::string said = desc == nullptr ? "no layout holds" : rtFieldsText(*desc, words);
        table_->text(said.empty() ? "anything" : said);
    } else {
        for (const Field &field : fields_) {
            const auto ref = std::find_if(field.refs.begin(), field.refs.end(),
                                          [&](const TblFieldRef &r) { return r.desc == desc; });
            if (ref == field.refs.end()) {
                table_->none();
                continue;
            }
            std::vector<CliItem> items;
            for (unsigned elem = 0; elem < ref->field->count; ++elem)
                items.push_back(rtItem(*ref, elem, words));
            if (ref->field->isArr)
                table_->list(items);
            else if (items[0].text.empty())
                table_->number(items[0].number);
            else if (items[0].text.compare(0, 2, "0x") == 0 && ref->field->width <= 64 &&
                     items[0].text.find('/') == std::string::npos)
                table_->hex(items[0].number);
            else
                table_->text(items[0].text);
        }
    }
    table_->endRow();
}

void MemRows::take(const TblEntry &entry, const TblDesc *desc, const uint32_t *words) {
    if (!fits(desc, words))
        return;
    ++rows_;
    if (run_.opt.isText)
        lines_.put(mem_, entry.place);
    else
        put(entry, desc, words);
}

uint64_t MemRows::list() {
    // As lines, a whole memory includes the rows that no key matches: without them the text would not make the same.
    if (run_.opt.isText && conds_.empty()) {
        lines_.putAll(mem_);
        return lines_.lines();
    }
    uint32_t words[TblMem::kMaxWords];
    mem_.forEachEntry(run_.image(), [&](const TblEntry &entry) {
        mem_.read(run_.image(), entry, run_.opt.isRaw, words);
        const std::vector<const TblDesc *> descs = layoutsOf(run_, mem_, entry);
        for (const TblDesc *desc : descs) {
            if (TblMem::isInUse({entry.place, desc, entry.words}, words))
                take(entry, desc, words);
        }
        if (descs.empty() && TblMem::isInUse(entry, words))
            take(entry, nullptr, words);
    });
    if (table_ != nullptr)
        table_->finish();
    return rows_;
}

/// Throws for a table that does not exist, with the nearest ones.
[[noreturn]] void noSuchTable(const std::string &name) {
    std::vector<std::string_view> names;
    for (const RtView &view : rtViews())
        names.emplace_back(view.name);
    for (const TblMem &mem : tblMems()) {
        if (!mem.isReg())
            names.emplace_back(mem.name());
    }
    throw RtError("there is no table '" + regdump_shown(name) + "'" + tblNear(name, names, true));
}

} // namespace

int rtList(const RtRun &run, RtWords words) {
    if (words.empty())
        throw RtError("list needs the name of a table, see the verb tables");
    const std::string &name = words[0];
    std::vector<RtCond> conds = condsOf(words.subspan(1));
    const RtView *view = rtView(name);
    const TblMem *mem = view != nullptr ? nullptr : tblMem(name);
    if (view == nullptr && mem == nullptr)
        noSuchTable(name);
    if (!run.opt.isText) {
        const std::pair<std::string, std::string> more[] = {{"table", name},
                                                            {"words", run.opt.isRaw ? "raw" : "loaded"}};
        // A table or a condition that is wrong leaves no output.
        if (view != nullptr)
            RtRows(run, view->columns, conds, true);
        rtSchema(run.opt, "list", run.dump.path, more);
    }
    if (view != nullptr) {
        RtRows rows(run, view->columns, std::move(conds));
        view->list(run, rows);
        rows.finish();
        return rows.rows() != 0 ? 0 : 1;
    }
    return MemRows(run, *mem, std::move(conds)).list() != 0 ? 0 : 1;
}
