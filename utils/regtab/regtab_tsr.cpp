#include "regtab_tsr.h"

#include <new>
#include <optional>

#include "cli_args.h"
#include "regdump_prog.h"
#include "regtab.h"
#include "tbl/tsr_tbl_name.h"

namespace {

constexpr CliProgram kProgram = {
    "regtab_tsr",
    "Usage: regtab_tsr [option...] <dump> <verb> [argument...]\n"
    "       regtab_tsr [option...] names [word]\n"
    "\n"
    "Shows the registers and tables of a Tessara dump by field. A dump may be gzip-compressed; - is standard input.\n"
    "\n"
    "  <dump> show <name>...                  registers or rows by field; ranges and * stand for many\n"
    "  <dump> list <table> [field=value]...   the rows of a table that are in use\n"
    "  <dump> tables                          the tables, with rows, rows in use, and what they are for\n"
    "  <dump> reset [block]                   fields that differ from their reset value\n"
    "  <dump> drops                           what the chip counted of frames that it dropped, the most first\n"
    "  <dump> history                         the last keys and results that the chip captured\n"
    "  <dump> diff <dump2>                    what differs, by table and field\n"
    "  names [word]                           the names and addresses of registers, tables and fields\n"
    "\n"
    "      --json     JSON lines\n"
    "      --csv      CSV\n"
    "      --text     lines that regenc_tsr takes back (show, list, reset)\n"
    "      --loaded   words as the load of the model leaves them (default)\n"
    "      --raw      words as they stand in the dump\n"
    "  -a, --all      diff, reset: state too; list routes, list acl: banks that are off too\n"
    "  -h, --help     print this help\n"
    "      --version  print the version\n"
    "\n"
    "The exit status is 0 when something was found or nothing differs, 1 when nothing was found or something differs,\n"
    "and 2 on trouble.\n"};

struct Verb {
    const char *name;
    int (*run)(const RtRun &run, RtWords words);
    bool hasText; ///< knows --text
    bool hasAll;  ///< knows --all
};

constexpr Verb kVerbs[] = {
    {"show", rtShow, true, false},  {"list", rtList, true, true},     {"tables", rtTables, false, false},
    {"reset", rtReset, true, true}, {"drops", rtDrops, false, false}, {"history", rtHistory, false, false},
};

CliDump readDump(const std::string &path) {
    CliDump dump;
    std::string error;
    if (!cliReadDump(path, dump, error))
        throw RtError(error);
    return dump;
}

void checkOptions(const RtOptions &opt, const std::string &verb, bool hasText, bool hasAll) {
    if (opt.isText && !hasText)
        throw RtError(verb + " does not know --text");
    if (opt.isAll && !hasAll)
        throw RtError(verb + " does not know --all");
}

int runDiff(const RtOptions &opt, const std::vector<std::string> &words) {
    checkOptions(opt, "diff", false, true);
    if (words.size() != 3)
        throw RtError("diff needs one other dump behind it");
    if (words[0] == "-" && words[2] == "-")
        throw RtError("only one of the dumps can be standard input");
    const CliDump dump = readDump(words[0]);
    const CliDump other = readDump(words[2]);
    return rtDiff({opt, dump}, other);
}

int runVerb(const RtOptions &opt, const std::vector<std::string> &words) {
    if (!words.empty() && words[0] == "names") {
        checkOptions(opt, "names", false, false);
        return rtNames(opt, RtWords(words).subspan(1));
    }
    if (words.size() < 2)
        throw RtError("needs a dump and a verb, see --help");
    if (words[1] == "diff")
        return runDiff(opt, words);
    for (const Verb &verb : kVerbs) {
        if (words[1] != verb.name)
            continue;
        checkOptions(opt, verb.name, verb.hasText, verb.hasAll);
        const CliDump dump = readDump(words[0]);
        return verb.run({opt, dump}, RtWords(words).subspan(2));
    }
    std::vector<std::string_view> names{"diff"};
    for (const Verb &verb : kVerbs)
        names.emplace_back(verb.name);
    throw RtError("unknown verb '" + regdump_shown(words[1]) + "'" + tblNear(words[1], names, true));
}

} // namespace

void rtSchema(const RtOptions &opt, const char *verb, const std::string &dump,
              std::span<const std::pair<std::string, std::string>> more) {
    if (opt.format != CliFormat::JSON)
        return;
    std::vector<std::pair<std::string, CliItem>> members{{"schema", {"regtab_tsr/1", 0}}, {"verb", {verb, 0}}};
    if (!dump.empty())
        members.push_back({"dump", {dump, 0}});
    for (const auto &[name, value] : more)
        members.push_back({name, {value, 0}});
    cliJsonLine(members);
}

int regtab_tsr_main(int argc, char **argv) {
    bool isJson = false;
    bool isCsv = false;
    bool isLoaded = false;
    RtOptions opt;
    try {
        std::vector<std::string> words;
        const std::vector<CliFlag> flags{{"--json", &isJson},     {"--csv", &isCsv},     {"--text", &opt.isText},
                                         {"--loaded", &isLoaded}, {"--raw", &opt.isRaw}, {"-a,--all", &opt.isAll}};
        if (const auto answered = cliTakeArgs(kProgram, argc, argv, flags, words))
            return *answered;
        if (isJson + isCsv + opt.isText > 1)
            throw RtError("--json, --csv and --text exclude each other");
        if (isLoaded && opt.isRaw)
            throw RtError("--loaded and --raw exclude each other");
        opt.format = isJson ? CliFormat::JSON : isCsv ? CliFormat::CSV : CliFormat::TEXT;
        const int status = runVerb(opt, words);
        return cliFlush() ? status : CLI_TROUBLE;
    } catch (const RtError &error) {
        cliFlush();
        return cliComplain(kProgram, error.what());
    } catch (const std::bad_alloc &) {
        return cliComplain(kProgram, "not enough memory");
    }
}
