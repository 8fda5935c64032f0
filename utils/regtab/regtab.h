#pragma once
// What the parts of regtab_tsr share: the run, its trouble, and the verbs.

#include <span>
#include <stdexcept>
#include <string>

#include "cli_dump.h"
#include "cli_out.h"

/// How the answer is wanted.
struct RtOptions {
    CliFormat format = CliFormat::TEXT;
    bool isText = false; ///< lines of the assembler in place of a table
    bool isRaw = false;  ///< words as they stand in the image, not as the load leaves them
    bool isAll = false;  ///< state too
};

/// A run on one dump.
struct RtRun {
    const RtOptions &opt;
    const CliDump &dump;

    const tsr_dmp_t *image() const { return dump.image.get(); }
};

/// Something that cannot be done as asked: the program says it and ends with the status of trouble.
struct RtError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using RtWords = std::span<const std::string>;

// The verbs. Each prints its answer and returns the exit status; the words are those behind the verb.
int rtShow(const RtRun &run, RtWords names);
int rtList(const RtRun &run, RtWords words);
int rtTables(const RtRun &run, RtWords words);
int rtReset(const RtRun &run, RtWords words);
int rtDrops(const RtRun &run, RtWords words);
int rtHistory(const RtRun &run, RtWords words);
int rtDiff(const RtRun &run, const CliDump &other);
int rtNames(const RtOptions &opt, RtWords words);

/// The first line of JSON: the schema, the verb, the dump, and `more` names with their values.
void rtSchema(const RtOptions &opt, const char *verb, const std::string &dump,
              std::span<const std::pair<std::string, std::string>> more = {});
