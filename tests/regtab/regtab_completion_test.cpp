// The completion of regtab_tsr for bash and zsh.

#include <gtest/gtest.h>
#include <sstream>

#include "dump_builder.h"
#include "regtab_run.h"
#include "temp_dir.h"

namespace {

const std::string kFolder = std::string(TSR_SOURCE_DIR) + "/completions/";

/// What bash offers for the last word of a command line.
std::set<std::string> offered(const std::vector<std::string> &line) {
    std::string words;
    for (const std::string &word : line)
        words += " '" + word + "'";
    const RunResult result =
        runProgram("/bin/bash", {"--norc", "-c",
                                 "cd /; source " + kFolder + "regtab_tsr.bash; COMP_WORDS=(regtab_tsr" + words +
                                     "); COMP_CWORD=" + std::to_string(line.size()) +
                                     "; _regtab_tsr; printf '%s\\n' \"${COMPREPLY[@]}\""});
    EXPECT_EQ(result.status, 0) << result.err;
    std::set<std::string> set;
    std::istringstream lines(result.out);
    for (std::string text; std::getline(lines, text);)
        set.insert(text);
    return set;
}

using Set = std::set<std::string>;

} // namespace

TEST(RegtabCompletion, BashOffersVerbsTablesOptionsAndFiles) {
    EXPECT_EQ(offered({"x.dmp", "d"}), (Set{"diff", "drops"}));
    EXPECT_EQ(offered({"--json", "x.dmp", "-a", "li"}), (Set{"list"}));
    EXPECT_EQ(offered({"x.dmp", "list", "m"}), (Set{"mpath", "mct"}));
    EXPECT_EQ(offered({"x.dmp", "list", "fdb", ""}), (Set{""}));
    EXPECT_EQ(offered({"--js"}), (Set{"--json"}));
    EXPECT_EQ(offered({"/etc/passw"}).count("/etc/passwd"), 1u);
    EXPECT_EQ(offered({"x.dmp", "diff", "/etc/passw"}).count("/etc/passwd"), 1u);
    EXPECT_EQ(offered({"nam"}), (Set{"names"}));
    EXPECT_EQ(offered({"names", "l"}), (Set{""}));
}

// All that is offered is known to the program, and the other way round.
TEST(RegtabCompletion, BothShellsKnowAllTablesVerbsAndOptions) {
    const TempDir temp;
    DumpBuilder().write(temp.path("zero.dmp"));
    Set tables;
    for (const RegtabRow &row : jsonRows(regtab({"--json", temp.path("zero.dmp"), "tables"}).out)) {
        if (row.at("holds") == "view")
            tables.insert(row.at("table"));
    }
    EXPECT_EQ(tables.size(), 14u);
    EXPECT_EQ(offered({"x.dmp", "list", ""}), tables);
    const std::string zsh = readFile(kFolder + "_regtab_tsr");
    std::string list;
    for (const std::string &table : offered({"x.dmp", "list", ""}))
        EXPECT_NE(zsh.find(table), zsh.npos) << table;
    const std::string help = regtab({"--help"}).out;
    for (const std::string &verb : offered({"x.dmp", ""})) {
        EXPECT_NE(zsh.find("'" + verb + ":"), zsh.npos) << verb;
        EXPECT_NE(help.find("<dump> " + verb), help.npos) << verb;
    }
    for (const std::string &option : offered({"-"})) {
        EXPECT_NE(zsh.find(option), zsh.npos) << option;
        EXPECT_NE(help.find(option), help.npos) << option;
    }
}

TEST(RegtabCompletion, ZshReadsItsFile) {
    if (runProgram("/bin/sh", {"-c", "command -v zsh"}).status != 0)
        GTEST_SKIP() << "no zsh";
    const RunResult result = runProgram("/bin/sh", {"-c", "zsh -n " + kFolder + "_regtab_tsr"});
    EXPECT_EQ(result.status, 0) << result.err;
}
