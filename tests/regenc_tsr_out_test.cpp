// The output of regenc_tsr through the real program: where it goes, what signals leave of it, and the messages.

#include "regenc_tsr_out.h"

#include <climits>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "dump_builder.h"
#include "regenc_tsr.h"
#include "run_program.h"
#include "temp_dir.h"

static RunResult regenc(const std::vector<std::string> &args) {
    return runProgram(REGENC_TSR_PROGRAM, args);
}

// ---------------------------------------------------------------------------------------------------- the output file

namespace {

/// What every output of the text "ftc_cntl = 1" must be.
const std::string &dumpOfOne() {
    static const std::string bytes = [] {
        const TempDir temp;
        DumpBuilder().set("ftc_cntl", 1).write(temp.path("d"));
        return readFile(temp.path("d"));
    }();
    return bytes;
}

mode_t modeOf(const std::string &path) {
    struct stat info;
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

} // namespace

TEST(RegencOutput, OlderFileGivesItsMode) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const std::string out = temp.file("out", "older");
    for (const mode_t mode : {0600u, 0604u, 0444u, 0777u}) {
        ASSERT_EQ(chmod(out.c_str(), mode), 0);
        ASSERT_EQ(regenc({out, text}).err, "");
        EXPECT_EQ(modeOf(out), mode);
        EXPECT_TRUE(readFile(out) == dumpOfOne());
    }
}

TEST(RegencOutput, OlderFileGivesItsOwner) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root may give a file away";
    const TempDir temp;
    const std::string out = temp.file("out", "older");
    ASSERT_EQ(chown(out.c_str(), 1234, 2345), 0);
    ASSERT_EQ(chmod(out.c_str(), 0640), 0);
    ASSERT_EQ(regenc({out, temp.file("a", "ftc_cntl = 1\n")}).err, "");
    struct stat info;
    ASSERT_EQ(stat(out.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 1234u);
    EXPECT_EQ(info.st_gid, 2345u);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(RegencOutput, LinksAreFollowed) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    std::filesystem::create_directories(temp.path("there/deep"));
    std::filesystem::create_directories(temp.path("links"));
    const std::string target = temp.path("there/deep/out");
    // Relative to the link's own folder, absolute, and one behind the other through a link to a folder.
    std::filesystem::create_symlink("../there/deep/out", temp.path("links/relative"));
    std::filesystem::create_symlink(target, temp.path("links/absolute"));
    std::filesystem::create_symlink("there/deep", temp.path("folder"));
    std::filesystem::create_symlink("../../links/relative", temp.path("there/deep/again"));
    std::filesystem::create_symlink("folder/again", temp.path("chain"));
    for (const char *name : {"links/relative", "links/absolute", "chain"}) {
        for (const bool exists : {true, false}) {
            if (exists) {
                temp.file("there/deep/out", "older");
                ASSERT_EQ(chmod(target.c_str(), 0606), 0);
            } else {
                std::filesystem::remove(target);
            }
            ASSERT_EQ(regenc({temp.path(name), text}).err, "") << name;
            EXPECT_TRUE(std::filesystem::is_symlink(temp.path(name))) << name;
            EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(target)));
            EXPECT_TRUE(readFile(target) == dumpOfOne());
            EXPECT_TRUE(!exists || modeOf(target) == 0606u);
        }
    }
    // From within the folder, by a name without one.
    std::filesystem::remove(target);
    EXPECT_EQ(
        runProgram("/bin/sh", {"-c", "cd " + temp.path("links") + " && exec " REGENC_TSR_PROGRAM " relative " + text})
            .err,
        "");
    EXPECT_TRUE(readFile(target) == dumpOfOne());
    EXPECT_EQ(temp.numFiles(), 5u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temp.path("links")), {}), 2);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temp.path("there/deep")), {}), 2);
}

TEST(RegencOutput, TheTemporaryFileStandsBesideTheTarget) {
    const TempDir temp;
    struct stat here;
    struct stat there;
    if (stat("/dev/shm", &there) != 0 || access("/dev/shm", W_OK) != 0 || stat(temp.path("").c_str(), &here) != 0 ||
        here.st_dev == there.st_dev)
        GTEST_SKIP() << "needs two file systems";
    // No rename leads from one file system to another.
    char folder[] = "/dev/shm/tsr_test.XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string target = std::string(folder) + "/out";
    std::filesystem::create_symlink(target, temp.path("out"));
    EXPECT_EQ(regenc({temp.path("out"), temp.file("a", "ftc_cntl = 1\n")}).err, "");
    EXPECT_TRUE(readFile(target) == dumpOfOne());
    std::filesystem::remove_all(folder);
}

TEST(RegencOutput, BadTargetsAreRefused) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    std::filesystem::create_symlink("loop", temp.path("loop"));
    std::filesystem::create_symlink("no/out", temp.path("lost"));
    std::filesystem::create_directory(temp.path("folder"));
    std::filesystem::create_symlink("folder", temp.path("to_folder"));
    const struct {
        const char *name;
        const char *message;
    } rows[] = {{"loop", "cannot create (Too many levels of symbolic links)"},
                {"lost", "cannot create (No such file or directory)"},
                {"a/out", "cannot create (Not a directory)"},
                {"folder", "cannot open (Is a directory)"},
                {"to_folder", "cannot open (Is a directory)"},
                {"folder/", "cannot open (Is a directory)"}};
    for (const auto &row : rows) {
        const RunResult result = regenc({temp.path(row.name), text});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, temp.path(row.name) + ": " + row.message + "\n");
    }
    EXPECT_EQ(temp.numFiles(), 5u);
}

TEST(RegencOutput, NameMayBeAsLongAsTheSystemAllows) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const std::string longest(NAME_MAX, 'n');
    ASSERT_EQ(regenc({temp.path(longest), text}).err, "");
    EXPECT_TRUE(readFile(temp.path(longest)) == dumpOfOne());
    EXPECT_EQ(temp.numFiles(), 2u);
    EXPECT_EQ(regenc({temp.path(longest + "n"), text}).err,
              temp.path(longest + "n") + ": cannot create (File name too long)\n");
}

TEST(RegencOutput, PipesAndDevicesAreWrittenDirectly) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    EXPECT_EQ(regenc({"/dev/null", text}).status, 0);
    RunResult result = regenc({"/dev/full", text});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "/dev/full: cannot write (No space left on device)\n");

    const std::string fifo = temp.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string got;
    std::thread reader([&] { got = readFile(fifo); });
    result = regenc({fifo, text});
    reader.join();
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(got == dumpOfOne());

    // A text that is refused leaves nothing there.
    result = regenc({"/dev/stdout", text, temp.file("bad", "no_such = 1\n")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(temp.numFiles(), 3u);
}

TEST(RegencOutput, StandardOutputIsWrittenWhereItStands) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const auto shell = [&](const std::string &command) {
        return runProgram("/bin/bash", {"-c", "cd " + temp.path("") + " && " + command});
    };
    const std::string program = REGENC_TSR_PROGRAM;
    EXPECT_TRUE(regenc({"/dev/stdout", text}).out == dumpOfOne()); // a pipe
    EXPECT_EQ(shell("{ echo before; " + program + " /dev/stdout a; echo behind; } >out").err, "");
    EXPECT_TRUE(readFile(temp.path("out")) == "before\n" + dumpOfOne() + "behind\n");
    EXPECT_EQ(shell("echo before >out; " + program + " /dev/stdout a >>out").err, "");
    EXPECT_TRUE(readFile(temp.path("out")) == "before\n" + dumpOfOne());
    EXPECT_EQ(shell(program + " /dev/fd/7 a 7>out").err, "");
    EXPECT_TRUE(readFile(temp.path("out")) == dumpOfOne());
    EXPECT_EQ(shell(program + " /proc/self/fd/1 a | cat >out").err, "");
    EXPECT_TRUE(readFile(temp.path("out")) == dumpOfOne());
    EXPECT_EQ(shell(program + " >(cat >out; echo done >&2) a; wait $!").err, "done\n");
    EXPECT_TRUE(readFile(temp.path("out")) == dumpOfOne());
    EXPECT_EQ(shell(program + " /dev/stdout a | true; exit ${PIPESTATUS[0]}").status, 128 + SIGPIPE);
    EXPECT_EQ(temp.numFiles(), 2u);
}

TEST(RegencOutput, AnInputTextIsNotOverwritten) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const std::string other = temp.file("b", "ftc_cntl = 1\n");
    std::filesystem::create_symlink("a", temp.path("link"));
    std::filesystem::create_hard_link(text, temp.path("hard"));
    std::filesystem::create_symlink("nothing", temp.path("lost"));
    const std::string dotted = temp.path("./a");
    for (const auto &[out, in] : {std::pair(text, text), std::pair(text, dotted), std::pair(temp.path("link"), text),
                                  std::pair(text, temp.path("link")), std::pair(temp.path("hard"), text)}) {
        for (const auto &args :
             std::vector<std::vector<std::string>>{{out, in}, {out, other, in}, {out, in, "from", other}}) {
            const RunResult result = regenc(args);
            EXPECT_EQ(result.status, 1);
            EXPECT_EQ(result.err, out + ": the output is the text file " + in + "\n");
        }
    }
    EXPECT_EQ(runProgram("/bin/sh", {"-c", "exec " REGENC_TSR_PROGRAM " " + text + " /dev/stdin <" + text}).err,
              text + ": the output is the text file /dev/stdin\n");
    EXPECT_EQ(readFile(text), "ftc_cntl = 1\n");
    EXPECT_EQ(temp.numFiles(), 5u);
    // What is no file can be both, and a link to nothing is no text.
    EXPECT_EQ(regenc({"/dev/null", "/dev/null"}).err, "");
    EXPECT_EQ(regenc({temp.path("lost"), temp.path("lost")}).err,
              temp.path("lost") + ": cannot open (No such file or directory)\n");
}

TEST(RegencOutput, TheBaseMayBeTheOutputBehindALinkToo) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    std::filesystem::create_symlink("base", temp.path("link"));
    for (const auto &[out, base] : {std::pair("base", "base"), std::pair("link", "base"), std::pair("base", "link")}) {
        DumpBuilder().set("ftc_cntl", 9).set("ftc_status", 7).write(temp.path("base"));
        ASSERT_EQ(chmod(temp.path("base").c_str(), 0640), 0);
        ASSERT_EQ(regenc({temp.path(out), text, "from", temp.path(base)}).err, "");
        RegencDump dump;
        std::string error;
        ASSERT_TRUE(dump.load(temp.path("base"), error)) << error;
        EXPECT_EQ(dump.word(8), 1u);
        EXPECT_EQ(dump.word(12), 7u);
        EXPECT_EQ(modeOf(temp.path("base")), 0640u);
        EXPECT_TRUE(std::filesystem::is_symlink(temp.path("link")));
    }
    EXPECT_EQ(temp.numFiles(), 3u);
}

// ------------------------------------------------------------------------------------------------------- the signals

namespace {

/// Starts the program without waiting for its end. `prepare` runs in the new process.
pid_t startRegenc(
    const std::vector<std::string> &args, const std::function<void()> &prepare = [] {}) {
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGXFSZ, SIGQUIT})
        std::signal(signal, SIG_DFL);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    prepare();
    std::vector<char *> argv{const_cast<char *>(REGENC_TSR_PROGRAM)};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    execv(REGENC_TSR_PROGRAM, argv.data());
    _exit(127);
}

/// The exit status, or 128 and the signal that ended the process.
int waitFor(pid_t pid) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Waits until the folder holds more than `count` files. Returns false when the process ends before.
bool waitForFile(const TempDir &temp, size_t count, pid_t pid) {
    siginfo_t info;
    do {
        if (temp.numFiles() > count)
            return true;
        info.si_pid = 0;
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
    } while (info.si_pid == 0);
    return false;
}

} // namespace

TEST(RegencSignals, LeaveNoTemporaryFile) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const std::string out = temp.path("out");
    std::mt19937 random(5);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ, SIGQUIT}) {
        int numHit = 0;
        for (int i = 0; i < 12; ++i) {
            const pid_t pid = startRegenc({out, text});
            const bool seen = waitForFile(temp, 1, pid);
            // From the moment that the file is there to about the end of the write.
            usleep(static_cast<useconds_t>(random() % (1 + 2400 * static_cast<unsigned>(i))));
            kill(pid, signal);
            const int status = waitFor(pid);
            EXPECT_TRUE(status == 128 + signal || status == 0) << status;
            const bool complete = std::filesystem::exists(out);
            EXPECT_TRUE(complete || status != 0);
            EXPECT_EQ(temp.numFiles(), complete ? 2u : 1u);
            EXPECT_TRUE(!complete || readFile(out) == dumpOfOne());
            numHit += seen && status != 0 && !complete ? 1 : 0;
            std::filesystem::remove(out);
        }
        EXPECT_GT(numHit, 2) << signal;
    }
}

TEST(RegencSignals, AtAnyMomentOfARunKeepAnOlderFile) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    for (int i = 0; i < 25; ++i) {
        const std::string out = temp.file("out", "older");
        const pid_t pid = startRegenc({out, text});
        usleep(static_cast<useconds_t>(i * 4000));
        kill(pid, SIGTERM);
        const int status = waitFor(pid);
        EXPECT_TRUE(status == 128 + SIGTERM || status == 0) << status;
        const std::string left = readFile(out);
        EXPECT_TRUE(left == dumpOfOne() || (left == "older" && status != 0));
        EXPECT_EQ(temp.numFiles(), 2u);
    }
}

TEST(RegencSignals, FileSizeLimitLeavesNoTemporaryFile) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    for (const rlim_t limit : {0u, 1u, 31u, 32u, 4096u, 1u << 20, 39752523u}) {
        const pid_t pid = startRegenc({temp.path("out"), text}, [&] {
            const rlimit size = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &size);
        });
        EXPECT_EQ(waitFor(pid), 128 + SIGXFSZ);
        EXPECT_EQ(temp.numFiles(), 1u);
    }
}

TEST(RegencSignals, ThatAreIgnoredStayIgnored) {
    const TempDir temp;
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    const pid_t pid = startRegenc({temp.path("out"), text}, [] { std::signal(SIGHUP, SIG_IGN); });
    waitForFile(temp, 1, pid);
    kill(pid, SIGHUP);
    EXPECT_EQ(waitFor(pid), 0);
    EXPECT_TRUE(readFile(temp.path("out")) == dumpOfOne());
}

TEST(RegencSignals, HaveTheirOldWaysAfterTheWrite) {
    const TempDir temp;
    RegencDump dump;
    std::string error;
    for (const char *name : {"out", "no/out"}) {
        dump.write(temp.path(name), error);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ}) {
            struct sigaction action;
            ASSERT_EQ(sigaction(signal, nullptr, &action), 0);
            EXPECT_TRUE(action.sa_handler == SIG_DFL) << signal;
            sigset_t blocked;
            sigprocmask(SIG_BLOCK, nullptr, &blocked);
            EXPECT_EQ(sigismember(&blocked, signal), 0);
        }
    }
}

// ------------------------------------------------------------------------------------------------------- the messages

TEST(RegencMessages, ShowHostileTextHarmlessly) {
    const TempDir temp;
    const std::string million(1000000, 'a');
    const std::string escapes = "\x1b[31mred\x07\x7f\xc2\x9b";
    const std::string reg = "ephy_reg[0].rte_prc_l2_ctl";
    std::vector<std::string> lines;
    for (const std::string &bad : {million, escapes, std::string(5, '\0'), std::string("\xff\xfe")}) {
        lines.push_back(bad);
        lines.push_back(bad + " = 1");
        lines.push_back("ftc_cntl" + bad + " = 1");
        lines.push_back("ftc_cntl = " + bad);
        lines.push_back("ftc_cntl = 0x" + bad);
        lines.push_back("glb_chip_id[" + bad + "] = 1");
        lines.push_back("glb_chip_id" + bad + "[0] = 1");
        lines.push_back("ephy_reg[0]." + bad + " = 1");
        lines.push_back(reg + "." + bad + " = 1");
        lines.push_back("header." + bad + " = 1");
        lines.push_back("0x" + bad + ":  0x00000001  ftc_cntl");
        lines.push_back("0x00001008:  " + bad + "  ftc_cntl");
        lines.push_back("0x00001008:  0x00000001  " + bad);
        lines.push_back("Chip OID: " + bad);
    }
    lines.push_back("ftc_cntl = " + std::string(1000000, '9'));
    lines.push_back("ftc_cntl = 0x" + std::string(1000000, 'f'));
    lines.push_back("ftc_cntl = x" + std::string(1000000, ' ') + "\x1b");
    for (const std::string &line : lines) {
        const std::string text = temp.file("a", "# first\n" + line + "\nftc_cntl = 1\n");
        const RunResult result = regenc({temp.path("out"), text});
        const std::string start = text + ":2: ";
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err.substr(0, start.size()), start);
        EXPECT_LT(result.err.size(), 1100u) << result.err;
        ASSERT_FALSE(result.err.empty());
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
        for (const char c : result.err)
            EXPECT_TRUE(c == '\n' || (c >= ' ' && c < 0x7f)) << static_cast<int>(c);
    }
}

TEST(RegencMessages, NameFilesHarmlessly) {
    const TempDir temp;
    const std::string text = temp.file("a\x1b[31m\n\u00fc", "x\n");
    EXPECT_EQ(regenc({temp.path("out"), text}).err, temp.path("a\\x1b[31m\\x0a\u00fc") + ":1: cannot read 'x'\n");
    EXPECT_EQ(regenc({temp.path("no\r/out"), temp.file("a", "")}).err,
              temp.path("no\\x0d/out") + ": cannot create (No such file or directory)\n");
    const std::string none = "/" + std::string(100000, 'n') + "/file";
    EXPECT_EQ(regenc({temp.path("out"), none}).err,
              none.substr(0, 256) + "..." + none.substr(none.size() - 256) + ": cannot open (File name too long)\n");
    EXPECT_LT(regenc({none, temp.path("a")}).err.size(), 700u);
    EXPECT_LT(regenc({temp.path("out"), temp.path("a"), "from", none}).err.size(), 700u);
    EXPECT_LT(regenc({"-" + none}).err.size(), 700u);
}

TEST(RegencMessages, MissingMemoryNamesTheOutput) {
#if TEST_HAS_ASAN
    GTEST_SKIP() << "needs more memory than the test gives";
#endif
    const TempDir temp;
    RunOptions options;
    options.data_limit = 20 * 1000 * 1000;
    const RunResult result =
        runProgram(REGENC_TSR_PROGRAM, {temp.path("out"), temp.file("a", "ftc_cntl = 1\n")}, options);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, temp.path("out") + ": not enough memory\n");
}
