#pragma once
// Runs of regtab_tsr, and its answers read by clients that know nothing of it: jq, and Python's json and csv.

#include <map>
#include <string>
#include <vector>

#include "run_program.h"

/// A test that runs the program for each table takes every so many of them: under the sanitizers it takes ten times as
/// long.
#ifdef TSR_SANITIZED
constexpr unsigned kEveryTable = 6;
#else
constexpr unsigned kEveryTable = 1;
#endif

/// A row of an answer: values as text by column. Cells without value are left out.
using RegtabRow = std::map<std::string, std::string>;

/// Runs the program.
RunResult regtab(const std::vector<std::string> &args, const RunOptions &options = {});

/// The rows of an answer in JSON lines, as Python's json reads them behind jq; lists have commas between their
/// elements. The first line, the schema, is left out. Fails the test when one of both refuses the text.
std::vector<RegtabRow> jsonRows(const std::string &text);

/// The rows of an answer in CSV, as Python's csv reads them.
std::vector<RegtabRow> csvRows(const std::string &text);

/// Runs a verb on a dump in all three forms, and holds that each has the rows `expected`, in their order: JSON and CSV
/// in their columns, of which only those that the expected rows name count, text as a line that has the row's values in
/// the order of `columns`. A value in JSON may differ from the others: it stands under the column's name with "@json"
/// behind it.
void expectRows(const std::vector<std::string> &args, const std::vector<std::string> &columns,
                const std::vector<RegtabRow> &expected);
