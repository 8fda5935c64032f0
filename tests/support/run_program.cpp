#include "run_program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static void check(bool ok, const char *what) {
    if (!ok)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

/// The child's side: never returns.
[[noreturn]] static void becomeProgram(const std::string &program, const std::vector<std::string> &args,
                                       const RunOptions &options, int out_fd, int err_fd) {
    if (!options.stdout_path.empty())
        out_fd = open(options.stdout_path.c_str(), O_WRONLY);
    if (options.ignore_sigpipe)
        std::signal(SIGPIPE, SIG_IGN);
    if (out_fd < 0 || dup2(out_fd, STDOUT_FILENO) < 0 || dup2(err_fd, STDERR_FILENO) < 0)
        _exit(127);
    for (const auto &[name, value] : options.env)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    if (options.data_limit != 0) {
        const rlimit limit = {options.data_limit, options.data_limit};
        setrlimit(RLIMIT_DATA, &limit);
    }
    if (options.space_limit != 0) {
        const rlimit limit = {options.space_limit, options.space_limit};
        setrlimit(RLIMIT_AS, &limit);
    }
    execv(program.c_str(), argv.data());
    _exit(127);
}

RunResult runProgram(const std::string &program, const std::vector<std::string> &args, const RunOptions &options) {
    int out[2];
    int err[2];
    check(pipe2(out, O_CLOEXEC) == 0 && pipe2(err, O_CLOEXEC) == 0, "pipe");
    if (options.closed_pipe)
        close(out[0]);
    const pid_t pid = fork();
    check(pid >= 0, "fork");
    if (pid == 0)
        becomeProgram(program, args, options, out[1], err[1]);
    close(out[1]);
    close(err[1]);

    RunResult result;
    std::array<pollfd, 2> streams{{{options.closed_pipe ? -1 : out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
    static std::array<char, 1 << 16> buf;
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        check(poll(streams.data(), streams.size(), -1) >= 0 || errno == EINTR, "poll");
        for (size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].fd < 0 || streams[i].revents == 0)
                continue;
            const ssize_t count = read(streams[i].fd, buf.data(), buf.size());
            if (count <= 0) {
                close(streams[i].fd);
                streams[i].fd = -1;
            } else if (i == 0 && options.on_output) {
                options.on_output(buf.data(), static_cast<size_t>(count));
            } else {
                (i == 0 ? result.out : result.err).append(buf.data(), static_cast<size_t>(count));
            }
        }
    }
    int status = 0;
    rusage usage{};
    check(wait4(pid, &status, 0, &usage) == pid, "wait4");
    result.peak_memory = static_cast<size_t>(usage.ru_maxrss) * 1024;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}
