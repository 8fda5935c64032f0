#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

// AddressSanitizer's own memory leaves no room for tests that limit memory or measure it.
#if defined(__SANITIZE_ADDRESS__)
#define TEST_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TEST_HAS_ASAN 1
#endif
#endif
#ifndef TEST_HAS_ASAN
#define TEST_HAS_ASAN 0
#endif

/// How a program is run. Nothing is needed for a plain run.
struct RunOptions {
    /// Environment variables that are set on top of the test's own.
    std::map<std::string, std::string> env;
    /// A file that takes standard output instead of the result, "/dev/full" for example.
    std::string stdout_path;
    /// Gives standard output in pieces, as it comes, instead of keeping it in the result.
    std::function<void(const char *text, size_t size)> on_output;
    /// Standard output is a pipe that nobody reads.
    bool closed_pipe = false;
    /// The program starts with SIGPIPE ignored.
    bool ignore_sigpipe = false;
    /// Bytes of data that the program may allocate, 0 for no limit.
    size_t data_limit = 0;
    /// Bytes of address space that the program may have, 0 for no limit.
    size_t space_limit = 0;
};

/// What a program left.
struct RunResult {
    int status = -1; ///< exit status, or 128 plus the number of the signal that ended the program
    std::string out;
    std::string err;
    size_t peak_memory = 0; ///< bytes
};

/// Runs `program` with `args` (without the program's own name) to its end. Throws `std::runtime_error` when it cannot.
RunResult runProgram(const std::string &program, const std::vector<std::string> &args, const RunOptions &options = {});
