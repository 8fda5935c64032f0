#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

/// How a program is run. Nothing is needed for a plain run.
struct RunOptions {
    /// Environment variables that are set on top of the test's own.
    std::map<std::string, std::string> env;
    /// A file that takes standard output instead of the result, "/dev/full" for example.
    std::string stdout_path;
    /// Gives standard output in pieces, as it comes, instead of keeping it in the result.
    std::function<void(const char *text, size_t size)> on_output;
    /// Standard output is a pipe that nobody reads, and the program starts with SIGPIPE ignored.
    bool closed_pipe = false;
};

/// What a program left.
struct RunResult {
    int status = -1; ///< exit status, or 128 plus the number of the signal that ended the program
    std::string out;
    std::string err;
};

/// Runs `program` with `args` (without the program's own name) to its end. Throws `std::runtime_error` when it cannot.
RunResult runProgram(const std::string &program, const std::vector<std::string> &args, const RunOptions &options = {});
