#include "base/tbMsg.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

std::string printed(const std::function<void()> &fn) {
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/// Puts the module's switches back, so that the tests do not lean on each other.
class TbMsgTest : public testing::Test {
protected:
    ~TbMsgTest() override {
        TbMsgSetArgv0(nullptr);
        TbMsgSetDebugEna(1);
        TbMsgSetExitOnErr(1);
        TbMsgSetStopOnErr(0);
        TbMsgSetSuppressMsg(0);
    }
};

TEST_F(TbMsgTest, StartsWithDebugOnAndNoName) {
    EXPECT_EQ(TbMsgGetArgv0(), nullptr);
    EXPECT_EQ(TbMsgGetDebugEna(), 1);
    EXPECT_EQ(TbMsgGetExitOnErr(), 1);
    EXPECT_EQ(TbMsgGetStopOnErr(), 0);
    EXPECT_EQ(TbMsgGetSuppressMsg(), 0);
    EXPECT_EQ(TbMsgGetMsgEnable(), 1);
}

TEST_F(TbMsgTest, PrintHasNoPrefixAndNoLineEnd) {
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_PRINT, "fn", "file.cpp", 7, "vid %u of %s", 5u, "x"); }), "vid 5 of x");
}

TEST_F(TbMsgTest, InfoNamesFileLineAndFunction) {
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_INFO, "fn", "file.cpp", 7, "up %d\n", 3); }),
              "[file.cpp:7, fn; @xx, xxx]: up 3\n");
}

TEST_F(TbMsgTest, DebugPassesWhileEnabled) {
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_DEBUG, "fn", "f.cpp", 8, "d%d", 1); }), "[DBG@f.cpp:8, fn; @xx, xxx] d1");
    TbMsgSetDebugEna(0);
    EXPECT_EQ(TbMsgGetDebugEna(), 0);
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_DEBUG, "fn", "f.cpp", 8, "d%d", 1); }), "");
}

TEST_F(TbMsgTest, DebugSwitchStopsNoOtherType) {
    TbMsgSetDebugEna(0);
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_PRINT, "fn", "f.cpp", 8, "p"); }), "p");
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_INFO, "fn", "f.cpp", 8, "i"); }), "[f.cpp:8, fn; @xx, xxx]: i");
}

TEST_F(TbMsgTest, WarningCountsAndAddsNoLineEnd) {
    const int before = TbMsgGetWrnCnt();
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_WARN, "fn", "f.cpp", 9, "w"); }), "[WRN@f.cpp:9, fn; @xx, xxx] w");
    EXPECT_EQ(TbMsgGetWrnCnt(), before + 1);
}

TEST_F(TbMsgTest, ErrorPrintsItsRunningNumber) {
    const int before = TbMsgGetErrCnt();
    const std::string first = "[ERROR" + std::to_string(before + 1) + "@f.cpp:9, fn; @xx, xxx] e\n";
    const std::string second = "[ERROR" + std::to_string(before + 2) + "@f.cpp:9, fn; @xx, xxx] e\n";
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_ERROR, "fn", "f.cpp", 9, "e"); }), first);
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_ERROR, "fn", "f.cpp", 9, "e"); }), second);
    EXPECT_EQ(TbMsgGetErrCnt(), before + 2);
}

TEST_F(TbMsgTest, FirstErrorOfAProcessHasNumberOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a fresh process, in which nothing was counted yet
    EXPECT_EXIT(
        {
            TbMsg(TB_MSG_ERROR, "fn", "f.cpp", 9, "e");
            std::fflush(stdout);
            std::fprintf(stderr, "count=%d", TbMsgGetErrCnt());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "count=1");
}

TEST_F(TbMsgTest, PanicLeavesTheProcessRunning) {
    TbMsgSetStopOnErr(1);
    TbMsgSetExitOnErr(0);
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_PANIC, "fn", "f.cpp", 10, "p"); }), "[PANIC@f.cpp:10, fn; @xx, xxx] p\n");
    EXPECT_EQ(TbMsgGetStopOnErr(), 0);
    EXPECT_EQ(TbMsgGetExitOnErr(), 1);
}

TEST_F(TbMsgTest, EmptyFormatCountsNothing) {
    const int errors = TbMsgGetErrCnt();
    const int warnings = TbMsgGetWrnCnt();
    const char *empty = "";
    EXPECT_EQ(
        printed([&] {
            for (TB_MSG_TYPE type : {TB_MSG_PANIC, TB_MSG_ERROR, TB_MSG_WARN, TB_MSG_DEBUG, TB_MSG_INFO, TB_MSG_PRINT})
                TbMsg(type, "fn", "f.cpp", 1, empty, 0);
        }),
        "");
    EXPECT_EQ(TbMsgGetErrCnt(), errors);
    EXPECT_EQ(TbMsgGetWrnCnt(), warnings);
}

TEST_F(TbMsgTest, EmptyPanicKeepsTheSwitches) {
    TbMsgSetStopOnErr(1);
    const char *empty = "";
    TbMsg(TB_MSG_PANIC, "fn", "f.cpp", 1, empty, 0);
    EXPECT_EQ(TbMsgGetStopOnErr(), 1);
}

TEST_F(TbMsgTest, SuppressedMessagesAreStillPrinted) {
    TbMsgSetSuppressMsg(1);
    EXPECT_EQ(TbMsgGetSuppressMsg(), 1);
    EXPECT_EQ(TbMsgGetMsgEnable(), 0);
    EXPECT_EQ(printed([] { TbMsg(TB_MSG_PRINT, "fn", "f.cpp", 1, "p"); }), "p");
}

TEST_F(TbMsgTest, AccessorsKeepWhatTheyAreGiven) {
    char name[] = "prog";
    TbMsgSetArgv0(name);
    EXPECT_EQ(TbMsgGetArgv0(), name);
    TbMsgSetExitOnErr(0);
    EXPECT_EQ(TbMsgGetExitOnErr(), 0);
    TbMsgSetStopOnErr(1);
    EXPECT_EQ(TbMsgGetStopOnErr(), 1);
}

/// Runs in a fresh directory with a debugger's stand-in first on the path, which keeps what it was given.
class StackTraceTest : public TbMsgTest {
protected:
    StackTraceTest() {
        char pattern[] = "/tmp/tbMsgTestXXXXXX";
        dir = mkdtemp(pattern);
        const std::string script = "#!/bin/sh\nprintf '%s\\n' \"$*\" > args\ncp .StackTraceGdbCmd script\n";
        write("gdb", script);
        write("tool", "#!/bin/sh\n");
        EXPECT_EQ(std::system(("chmod +x " + dir + "/gdb " + dir + "/tool").c_str()), 0);
        oldPath = std::getenv("PATH");
        setenv("PATH", (dir + ":" + oldPath).c_str(), 1);
        EXPECT_NE(getcwd(oldDir, sizeof oldDir), nullptr);
        EXPECT_EQ(chdir(dir.c_str()), 0);
    }
    ~StackTraceTest() override {
        EXPECT_EQ(chdir(oldDir), 0);
        setenv("PATH", oldPath.c_str(), 1);
        EXPECT_EQ(std::system(("rm -r " + dir).c_str()), 0);
    }

    void write(const std::string &name, const std::string &text) const {
        FILE *file = std::fopen((dir + "/" + name).c_str(), "w");
        ASSERT_NE(file, nullptr);
        std::fputs(text.c_str(), file);
        std::fclose(file);
    }
    std::string read(const std::string &name) const {
        std::string text;
        if (FILE *file = std::fopen((dir + "/" + name).c_str(), "r")) {
            for (int c; (c = std::fgetc(file)) != EOF;)
                text += static_cast<char>(c);
            std::fclose(file);
        }
        return text;
    }
    bool exists(const std::string &name) const { return access((dir + "/" + name).c_str(), F_OK) == 0; }

    std::string dir, oldPath;
    char oldDir[4096];
};

TEST_F(StackTraceTest, DoesNothingWithoutAName) {
    TbStackTrace();
    Exit_(1);
    EXPECT_FALSE(exists("args"));
}

TEST_F(StackTraceTest, HandsTheProcessToTheDebugger) {
    char name[] = "tool";
    TbMsgSetArgv0(name);
    TbStackTrace();
    EXPECT_EQ(read("args"), "-batch -n -x .StackTraceGdbCmd " + dir + "/tool --pid=" + std::to_string(getpid()) + "\n");
    EXPECT_EQ(read("script"), "backtrace\ndetach\n");
    EXPECT_FALSE(exists(".StackTraceGdbCmd"));
}

TEST_F(StackTraceTest, ExitNeedsOneOfTheTwoSwitches) {
    char name[] = "tool";
    TbMsgSetArgv0(name);
    TbMsgSetExitOnErr(0);
    Exit_(1);
    EXPECT_FALSE(exists("args"));
    TbMsgSetStopOnErr(1);
    Exit_(1);
    EXPECT_TRUE(exists("args"));
}

TEST_F(StackTraceTest, PanicAsksForATrace) {
    char name[] = "tool";
    TbMsgSetArgv0(name);
    TbMsgSetExitOnErr(0);
    printed([] { TbMsg(TB_MSG_PANIC, "fn", "f.cpp", 1, "p"); });
    EXPECT_TRUE(exists("args"));
}

TEST_F(StackTraceTest, ErrorAsksForNone) {
    char name[] = "tool";
    TbMsgSetArgv0(name);
    printed([] { TbMsg(TB_MSG_ERROR, "fn", "f.cpp", 1, "e"); });
    EXPECT_FALSE(exists("args"));
}

TEST(Prt, PadsTheNameTo30Columns) {
    EXPECT_EQ(printed([] { Prt("egid", 0x1a); }), "egid                           = 0x0000001a\n");
    EXPECT_EQ(printed([] { Prt("mgid_o_copy_id_o_qcn_control_xyz", 0xffffffff); }),
              "mgid_o_copy_id_o_qcn_control_xyz = 0xffffffff\n");
}

} // namespace
