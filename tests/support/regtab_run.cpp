#include "regtab_run.h"

#include <gtest/gtest.h>
#include <sstream>

#include "temp_dir.h"

#ifdef REGTAB_TSR_PROGRAM

RunResult regtab(const std::vector<std::string> &args, const RunOptions &options) {
    return runProgram(REGTAB_TSR_PROGRAM, args, options);
}

namespace {

/// Cells come from Python one a line: the row's number, the column and the value, with tabs between them.
std::vector<RegtabRow> rowsOf(const std::string &cells) {
    std::vector<RegtabRow> rows;
    std::istringstream lines(cells);
    for (std::string line; std::getline(lines, line);) {
        const size_t first = line.find('\t');
        const size_t second = line.find('\t', first + 1);
        const size_t row = std::stoul(line.substr(0, first));
        rows.resize(std::max(rows.size(), row + 1));
        if (second != line.npos)
            rows[row][line.substr(first + 1, second - first - 1)] = line.substr(second + 1);
    }
    return rows;
}

std::vector<RegtabRow> readBy(const std::string &pipeline, const std::string &text) {
    const TempDir temp;
    const std::string file = temp.file("answer", text);
    const RunResult result =
        runProgram("/bin/bash", {"-o", "pipefail", "-c",
                                 "PYTHONIOENCODING=utf-8; export PYTHONIOENCODING; cat " + file + " | " + pipeline});
    EXPECT_EQ(result.status, 0) << result.err;
    return rowsOf(result.out);
}

} // namespace

std::vector<RegtabRow> jsonRows(const std::string &text) {
    const std::string code = "import json, sys\n"
                             "for n, line in enumerate(list(sys.stdin)[1:]):\n"
                             "    print(n)\n"
                             "    for key, value in json.loads(line).items():\n"
                             "        text = ','.join(map(str, value)) if isinstance(value, list) else str(value)\n"
                             "        print(n, key, text, sep='\\t')\n";
    return readBy("jq -c . | python3 -c \"" + code + "\"", text);
}

std::vector<RegtabRow> csvRows(const std::string &text) {
    const std::string code = "import csv, sys\n"
                             "for n, row in enumerate(csv.DictReader(sys.stdin)):\n"
                             "    print(n)\n"
                             "    for key, value in row.items():\n"
                             "        if value: print(n, key, value, sep='\\t')\n";
    return readBy("python3 -c \"" + code + "\"", text);
}

namespace {

/// The cell that a form shall have; null for none.
const std::string *wantedCell(const RegtabRow &row, const std::string &column, bool isJson) {
    auto cell = row.find(column + "@json");
    if (!isJson || cell == row.end())
        cell = row.find(column);
    return cell == row.end() ? nullptr : &cell->second;
}

void expectCells(const std::vector<RegtabRow> &rows, const std::vector<std::string> &columns,
                 const std::vector<RegtabRow> &expected, bool isJson) {
    const char *form = isJson ? "JSON" : "CSV";
    ASSERT_EQ(rows.size(), expected.size()) << form;
    for (size_t i = 0; i < rows.size(); ++i) {
        for (const std::string &column : columns) {
            const std::string *wanted = wantedCell(expected[i], column, isJson);
            const auto cell = rows[i].find(column);
            ASSERT_EQ(cell == rows[i].end() ? "" : cell->second, wanted == nullptr ? "" : *wanted)
                << form << ", row " << i << ", column " << column;
        }
    }
}

} // namespace

void expectRows(const std::vector<std::string> &args, const std::vector<std::string> &columns,
                const std::vector<RegtabRow> &expected) {
    const auto with = [&](const char *option) {
        std::vector<std::string> all{option};
        all.insert(all.end(), args.begin(), args.end());
        return regtab(all);
    };
    const RunResult json = with("--json");
    EXPECT_EQ(json.err, "");
    EXPECT_EQ(json.status, expected.empty() ? 1 : 0);
    expectCells(jsonRows(json.out), columns, expected, true);
    const RunResult csv = with("--csv");
    EXPECT_EQ(csv.status, json.status);
    expectCells(csvRows(csv.out), columns, expected, false);

    const RunResult text = regtab(args);
    EXPECT_EQ(text.status, json.status);
    std::istringstream lines(text.out);
    std::string line;
    std::getline(lines, line); // the titles
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_TRUE(std::getline(lines, line)) << "row " << i;
        size_t at = 0;
        for (const std::string &column : columns) {
            const std::string *wanted = wantedCell(expected[i], column, false);
            if (wanted == nullptr)
                continue;
            const size_t found = line.find(*wanted, at);
            ASSERT_NE(found, line.npos) << "row " << i << ", column " << column << ": " << *wanted << " in " << line;
            at = found + wanted->size();
        }
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
}

#endif
