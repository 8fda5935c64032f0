#pragma once
// Runs a piece of code that may end the process, in a process of its own.

#include "temp_dir.h"

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <regex>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// What a piece of code printed, and how its process ended.
struct ExitRun {
    int status = -1; // exit status; kReturned when the code came to its end; -1 for a signal
    std::string out;
    std::string err;

    static constexpr int kReturned = 99;
};

/// The text with all line numbers of sources replaced by L.
inline std::string noLines(const std::string &text) {
    const std::string plain = std::regex_replace(text, std::regex("(\\.cpp):[0-9]+"), "$1:L");
    return std::regex_replace(plain, std::regex("line [0-9]+"), "line L");
}

/// Runs `fn` in a child process. The printed text comes without line numbers.
inline ExitRun runToExit(const std::function<void()> &fn) {
    const TempDir dir;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(dir.path("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
        dup2(open(dir.path("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        fn();
        std::fflush(nullptr);
        _exit(ExitRun::kReturned);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ExitRun run;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = noLines(readFile(dir.path("out")));
    run.err = noLines(readFile(dir.path("err")));
    return run;
}
