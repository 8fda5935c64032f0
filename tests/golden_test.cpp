// The end-to-end cases of tests/golden: each folder is one run of the real program on an assembled dump.

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "run_program.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

static const fs::path GOLDEN = fs::path(TSR_SOURCE_DIR) / "tests/golden";

static std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

/// The file `path`, or nothing when there is none.
static std::string readOptional(const fs::path &path) {
    return fs::exists(path) ? readFile(path.string()) : std::string();
}

static std::string replaced(std::string text, const std::string &what, const std::string &by) {
    for (size_t at = text.find(what); at != text.npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

static std::vector<std::string> cases() {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(GOLDEN)) {
        if (entry.is_directory())
            names.insert(entry.path().filename().string());
    }
    return {names.begin(), names.end()};
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, Case) {
    const fs::path folder = GOLDEN / GetParam();
    const TempDir temp;
    const std::string dump = temp.path("dump.dmp");
    const auto filled = [&](const std::string &text) {
        return replaced(replaced(text, "@DUMP@", dump), "@PROGRAM@", REGDEC_TSR_PROGRAM);
    };

    if (fs::exists(folder / "dump.reg")) {
        std::vector<std::string> args{dump};
        for (const std::string &include : lines(readOptional(folder / "dump.inc")))
            args.push_back((GOLDEN / include).string());
        args.push_back((folder / "dump.reg").string());
        const RunResult assembled = runProgram(REGENC_TSR_PROGRAM, args);
        ASSERT_EQ(assembled.status, 0) << assembled.err;
    }

    RunOptions options;
    options.env["TZ"] = "UTC";
    const RunResult result =
        runProgram(REGDEC_TSR_PROGRAM, lines(filled(readFile((folder / "args").string()))), options);
    EXPECT_EQ(result.out, filled(readFile((folder / "stdout").string())));
    EXPECT_EQ(std::to_string(result.status) + "\n", readFile((folder / "status").string()));
    EXPECT_EQ(result.err, filled(readOptional(folder / "stderr")));
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<std::string> &golden) { return golden.param; });
