#pragma once
// The command line as all programs of the family take it: options in GNU form, anywhere among the other words; "-"
// alone is a word and "--" ends the options; help and version on standard output with status 0; one line on standard
// error and status 2 for anything that cannot be understood.

#include <optional>
#include <string>
#include <vector>

/// The exit statuses of the family.
enum CliStatus { CLI_YES = 0, CLI_NO = 1, CLI_TROUBLE = 2 };

/// An option without a value.
struct CliFlag {
    const char *names; ///< "--json", or "-a,--all"
    bool *isSet;
};

struct CliProgram {
    const char *name;
    const char *help; ///< all of it, with the usage lines at its head
};

/// Takes the flags and the words of a command line. Returns nothing when the program shall run; otherwise the exit
/// status, after it has answered or complained.
std::optional<int> cliTakeArgs(const CliProgram &program, int argc, char **argv, const std::vector<CliFlag> &flags,
                               std::vector<std::string> &words);

/// Prints "name: message" on standard error and returns the status of trouble.
int cliComplain(const CliProgram &program, const std::string &message);
