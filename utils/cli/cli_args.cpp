#include "cli_args.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "regdump_prog.h"

int cliComplain(const CliProgram &program, const std::string &message) {
    std::fprintf(stderr, "%s: %s\n", program.name, message.c_str());
    return CLI_TROUBLE;
}

static int answer(const std::string &text) {
    std::fputs(text.c_str(), stdout);
    return regdump_flush_output() ? CLI_YES : CLI_TROUBLE;
}

std::optional<int> cliTakeArgs(const CliProgram &program, int argc, char **argv, const std::vector<CliFlag> &flags,
                               std::vector<std::string> &words) {
    CLI::App app;
    app.set_help_flag();
    bool isHelp = false;
    bool isVersion = false;
    app.add_flag("-h,--help", isHelp)->disable_flag_override();
    app.add_flag("--version", isVersion)->disable_flag_override();
    for (const CliFlag &flag : flags)
        app.add_flag(flag.names, *flag.isSet)->disable_flag_override();
    app.allow_extras();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &) {
        return cliComplain(program, "an option is not understood, see --help");
    }
    if (isHelp)
        return answer(program.help);
    if (isVersion)
        return answer(std::string(program.name) + " " + REGDUMP_VERSION + "\n");
    // What is left over are the words, and options that are not known.
    bool isAtEnd = false;
    for (const std::string &word : app.remaining(true)) {
        if (!isAtEnd && word == "--")
            isAtEnd = true;
        else if (!isAtEnd && word.size() > 1 && word[0] == '-')
            return cliComplain(program, "unknown option '" + regdump_shown(word) + "', see --help");
        else
            words.push_back(word);
    }
    return std::nullopt;
}
