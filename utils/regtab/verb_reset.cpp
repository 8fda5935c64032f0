// reset: the fields that differ from their reset value.

#include <algorithm>
#include <set>

#include "be_word.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"
#include "regdump_prog.h"
#include "rt_entry.h"

namespace {

/// Whether the name of a row begins with `block`, with or without its groups.
bool isOf(const TblMem &mem, uint32_t place, const std::string &block) {
    const std::string_view own = std::string_view(mem.name()).substr(mem.name().rfind('.') + 1);
    return own.substr(0, block.size()) == block || mem.nameOf(place).compare(0, block.size(), block) == 0;
}

[[noreturn]] void noSuchBlock(const std::string &block) {
    std::set<std::string_view> blocks;
    for (const TblMem &mem : tblMems()) {
        const std::string_view name = mem.name();
        blocks.insert(name.substr(0, name.find_first_of("_.")));
    }
    const std::vector<std::string_view> names(blocks.begin(), blocks.end());
    throw RtError("no register begins with '" + regdump_shown(block) + "'" + tblNear(block, names, true));
}

/// What is not known: how many words, and the registers of which blocks.
struct Unknown {
    uint64_t words = 0;
    bool hasMemories = false;
    std::set<std::string> blocks;

    void add(const TblMem &mem) {
        words += mem.words();
        constexpr uint32_t kFewPlaces = 64;
        if (!mem.forms().empty() || mem.places() / mem.insts() >= kFewPlaces)
            hasMemories = true;
        else
            blocks.insert(mem.name().substr(0, mem.name().find_first_of("_.")));
    }

    /// "memories, and registers of emc eqs"
    std::string text() const {
        std::string text = hasMemories ? "memories" : "";
        if (!blocks.empty())
            text += hasMemories ? ", and registers of" : "registers of";
        for (const std::string &block : blocks)
            text.append(" ").append(block);
        return text;
    }
};

} // namespace

int rtReset(const RtRun &run, RtWords words) {
    if (words.size() > 1)
        throw RtError("reset takes one block at most");
    const std::string block = words.empty() ? "" : words[0];
    std::vector<CliColumn> columns{{.name = "field"}, {.name = "value"}, {.name = "reset"}, {.name = "meaning"}};
    rtPlaceColumns(columns);

    bool isFound = false;
    Unknown unknown;
    rtSchema(run.opt, "reset", run.dump.path);
    auto table = run.opt.isText ? nullptr : CliTable::make(run.opt.format, std::move(columns));
    uint64_t rows = 0;
    const auto put = [&](const TblMem &mem, uint32_t place, const HsiRegField &field, uint32_t word) {
        ++rows;
        if (table == nullptr) {
            cliPrint(mem.nameOf(place) + "." + field.name + " = " + std::to_string(field.of(word)) + "\n");
            return;
        }
        table->text(field.name).hex(field.of(word)).hex(*field.reset).text(hsiFieldText(field.pattern));
        rtPutPlace(*table, mem, place);
        table->endRow();
    };
    for (const TblMem &mem : tblMems()) {
        if (tblIsState(mem.use()) && !run.opt.isAll)
            continue;
        for (uint32_t place = 0; place < mem.places(); ++place) {
            if (!isOf(mem, place, block))
                continue;
            isFound = true;
            const std::optional<HsiRegInfo> info = mem.words() == 1 ? hsiRegInfo(mem.chipOff(place)) : std::nullopt;
            if (!info || info->fields.empty() || !info->fields[0].reset) {
                unknown.add(mem);
                continue;
            }
            const uint32_t word = imageWord(run.image(), mem.imageOff(place));
            for (const HsiRegField &field : info->fields) {
                if (field.of(word) != *field.reset)
                    put(mem, place, field, word);
            }
        }
    }
    if (!isFound)
        noSuchBlock(block);
    if (table != nullptr)
        table->finish();
    if (unknown.words != 0 && run.opt.format == CliFormat::JSON) {
        const std::pair<std::string, CliItem> members[] = {{"no_reset_value_known", {"", unknown.words}},
                                                           {"of", {unknown.text(), 0}}};
        cliJsonLine(members);
    } else if (unknown.words != 0 && run.opt.format == CliFormat::TEXT) {
        cliPrint(std::string(run.opt.isText ? "# " : "") + "No reset value is known of " +
                 std::to_string(unknown.words) + " words: " + unknown.text() + ".\n");
    }
    return rows != 0 ? 0 : 1;
}
