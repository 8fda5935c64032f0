#include "log/cmRteDump.h"

#include "exit_run.h"
#include "log/cmRteLog.h"
#include "temp_dir.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr uint32_t kStateSiz = 20117860;

std::string wordBytes(const std::vector<uint32_t> &words) {
    return {reinterpret_cast<const char *>(words.data()), words.size() * sizeof(uint32_t)};
}

uint32_t wordAt(const std::string &bytes, size_t offset) {
    uint32_t word = 0;
    std::memcpy(&word, bytes.data() + offset, sizeof word);
    return word;
}

void expectExit(const ExitRun &run, const std::string &err) {
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, err);
}

const std::string kCause = ", could be caused by either file corruption or version mismatch";
const std::string kPanic = "\n\nPANIC: file cmRteDump.cpp, line L, ";

class DumpTest : public testing::Test {
protected:
    DumpTest() {
        rte->logFd = 7;
        rte->taePtr = reinterpret_cast<CmTaeLkup *>(&engines[0]);
        rte->tfePtr = reinterpret_cast<CmTfeLue *>(&engines[1]);
    }

    /// Runs `fn` here; returns what it prints.
    static std::string printed(const std::function<void()> &fn) {
        testing::internal::CaptureStdout();
        fn();
        std::fflush(stdout);
        return noLines(testing::internal::GetCapturedStdout());
    }

    uint32_t engines[2] = {};
    TempDir dir;
    std::string name = dir.path("file");
    std::unique_ptr<CmRte> rte = std::make_unique<CmRte>();
};

TEST_F(DumpTest, StateFileIsSizeAndRecord) {
    rte->portRegLst[0] = {};
    *reinterpret_cast<uint32_t *>(rte.get()) = 0x11111111;
    rte->comReg.rte_l2_ieee_len_max = 0x22222222;
    rte->mem.RTE_L2_EXM_BKT_EDRAM[0] = 0x33333333;
    rte->extCfg.spanFul = 0x44444444;
    rte->frmCntLst[31] = 0x55555555;
    rte->logFrmMaxLen = 0x66666666;
    rte->logFileSiz = 0x77777777;
    std::strcpy(rte->logFileName, "the log");
    EXPECT_EQ(printed([&] { CmRteDump(rte.get(), name.c_str()); }), "");

    const std::string bytes = readFile(name);
    ASSERT_EQ(bytes.size(), 4u + kStateSiz);
    EXPECT_EQ(wordAt(bytes, 0), 0x132f964u);
    EXPECT_EQ(wordAt(bytes, 4), 0x11111111u);
    // Behind the 32 port register files of 481 words, 2342 common words and 5011584 memory words.
    const size_t mem = 4 + 4 * (32 * 481 + 2342), extCfg = mem + 4 * 5011584, dbgEn = extCfg + 4 * 76;
    EXPECT_EQ(wordAt(bytes, mem), 0x33333333u);
    EXPECT_EQ(wordAt(bytes, extCfg), 0x44444444u);
    EXPECT_EQ(wordAt(bytes, dbgEn + 4 * (2 + 31)), 0x55555555u);
    const size_t logFd = dbgEn + 4 * 34;
    EXPECT_EQ(wordAt(bytes, logFd), 0u) << "the stored logFd is 0";
    EXPECT_EQ(wordAt(bytes, logFd + 4), 0x66666666u);
    EXPECT_EQ(wordAt(bytes, logFd + 8), 0x77777777u);
    EXPECT_STREQ(bytes.data() + logFd + 12, "the log");
    EXPECT_EQ(bytes.substr(logFd + 12 + 128), std::string(8, '\0')) << "the engine pointers, 32 bits each";
}

TEST_F(DumpTest, DumpLeavesTheModelAsItWas) {
    const std::string before(reinterpret_cast<const char *>(rte.get()), sizeof *rte);
    CmRteDump(rte.get(), name.c_str());
    EXPECT_EQ(rte->logFd, 7);
    EXPECT_EQ(std::memcmp(before.data(), rte.get(), sizeof *rte), 0);
}

TEST_F(DumpTest, FilesAreCreatedWithMode0744) {
    const mode_t mask = umask(0);
    CmRteRslt rslt{};
    CmRteMacInf macInf{};
    CmRteDump(rte.get(), dir.path("s").c_str());
    CmRteRsltDump(&rslt, dir.path("r").c_str());
    CmRteFrmDump(1, &macInf, 0, nullptr, dir.path("f").c_str());
    umask(mask);
    for (const char *file : {"s", "r", "f"}) {
        struct stat fileStat;
        ASSERT_EQ(stat(dir.path(file).c_str(), &fileStat), 0);
        EXPECT_EQ(fileStat.st_mode & 07777, 0744u) << file;
    }
}

TEST_F(DumpTest, DumpOverAFileDeletesItFirst) {
    dir.file("file", std::string(100, 'x'));
    std::filesystem::create_hard_link(name, dir.path("other"));
    EXPECT_EQ(printed([&] { CmRteDump(rte.get(), name.c_str()); }),
              "INF: file cmRteDump.cpp, function CmRteDump, line L, file " + name + " exists -- delete it\n");
    EXPECT_EQ(readFile(name).size(), 4u + kStateSiz);
    EXPECT_EQ(readFile(dir.path("other")), std::string(100, 'x')) << "a fresh file is written";
}

TEST_F(DumpTest, DumpOverALinkToNothingDeletesTheLink) {
    std::filesystem::create_symlink(dir.path("nothing"), name);
    EXPECT_NE(printed([&] { CmRteDump(rte.get(), name.c_str()); }), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(name)));
    EXPECT_FALSE(std::filesystem::exists(dir.path("nothing")));
}

TEST_F(DumpTest, DumpOverAFolderIsFatal) {
    std::filesystem::create_directory(name);
    const ExitRun run = runToExit([&] { CmRteDump(rte.get(), name.c_str()); });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "INF: file cmRteDump.cpp, function CmRteDump, line L, file " + name + " exists -- delete it\n");
    EXPECT_EQ(run.err, "\n\nPANIC, file cmRteDump.cpp, function CmRteDump, line L, failed to delete file " + name +
                           ": Is a directory\n");
}

TEST_F(DumpTest, DumpToNowhereIsFatal) {
    const std::string path = dir.path("none/file");
    const std::string tail = "failed to open file " + path + " for write: No such file or directory\n";
    CmRteRslt rslt{};
    CmRteMacInf macInf{};
    expectExit(runToExit([&] { CmRteDump(rte.get(), path.c_str()); }),
               "\n\nPANIC, file cmRteDump.cpp, line L, " + tail);
    expectExit(runToExit([&] { CmRteRsltDump(&rslt, path.c_str()); }), kPanic + tail);
    expectExit(runToExit([&] { CmRteFrmDump(1, &macInf, 0, nullptr, path.c_str()); }), kPanic + tail);
}

TEST_F(DumpTest, LoadOfNoFileIsFatal) {
    const std::string path = dir.path("none");
    const std::string text = kPanic + "failed to open file " + path + " for read";
    CmRteRslt rslt{};
    uint32_t port = 0, frmLen = 0;
    uint8_t frm[4];
    expectExit(runToExit([&] { CmRteLoad(rte.get(), path.c_str()); }), text + ": No such file or directory\n");
    expectExit(runToExit([&] { CmRteRsltLoad(&rslt, path.c_str()); }), text + "\n\n: No such file or directory\n");
    expectExit(runToExit([&] { CmRteFrmLoad(path.c_str(), &port, &frmLen, frm); }),
               text + ": No such file or directory\n");
}

TEST_F(DumpTest, LoadGivesTheModelBackAndKeepsTheEngines) {
    rte->comReg.rte_l2_ieee_len_max = 5;
    rte->mem.RTE_L2_EXM_BKT_EDRAM[1234] = 6;
    rte->frmCntLst[3] = 7;
    std::strcpy(rte->logFileName, "the log");
    CmRteDump(rte.get(), name.c_str());

    uint32_t otherEngines[2] = {};
    auto other = std::make_unique<CmRte>();
    std::memset(static_cast<void *>(other.get()), 0x5a, sizeof *other);
    other->taePtr = reinterpret_cast<CmTaeLkup *>(&otherEngines[0]);
    other->tfePtr = reinterpret_cast<CmTfeLue *>(&otherEngines[1]);
    EXPECT_EQ(printed([&] { CmRteLoad(other.get(), name.c_str()); }), "INF: CmRteLoad " + name + " succeeded\n\n");
    EXPECT_EQ(other->taePtr, reinterpret_cast<CmTaeLkup *>(&otherEngines[0]));
    EXPECT_EQ(other->tfePtr, reinterpret_cast<CmTfeLue *>(&otherEngines[1]));
    EXPECT_EQ(other->logFd, 0) << "as stored";
    other->logFd = 7;
    EXPECT_EQ(std::memcmp(rte.get(), other.get(), offsetof(CmRte, logFileName) + sizeof rte->logFileName), 0);
}

TEST_F(DumpTest, StateOfAnotherSizeIsRefusedBeforeAnythingIsOverwritten) {
    dir.file("file", wordBytes({20117864}) + std::string(100, 'x'));
    const std::string before(reinterpret_cast<const char *>(rte.get()), sizeof *rte);
    const ExitRun run = runToExit([&] {
        // The exit leaves the model as it was when no byte of it has changed.
        static CmRte *model = rte.get();
        static const std::string *was = &before;
        std::atexit([] {
            if (std::memcmp(model, was->data(), sizeof *model) != 0)
                std::printf("overwritten\n");
        });
        CmRteLoad(rte.get(), name.c_str());
    });
    expectExit(run, kPanic + "read from file " + name + std::string(13, ' ') +
                        "cmRteSiz=20117864 different from expected value of 20117860," + std::string(13, ' ') +
                        "could be caused by either file corruption or version mismatch: Success\n");
}

TEST_F(DumpTest, StateFileWithoutItsSizeIsFatal) {
    for (size_t len : {0u, 3u}) {
        dir.file("file", std::string(len, 'x'));
        expectExit(runToExit([&] { CmRteLoad(rte.get(), name.c_str()); }),
                   kPanic + "failed to read cmRteSiz from file " + name + kCause + ": Success\n");
    }
}

TEST_F(DumpTest, StateFileThatIsAFolderIsFatal) {
    std::filesystem::create_directory(name);
    expectExit(runToExit([&] { CmRteLoad(rte.get(), name.c_str()); }),
               kPanic + "failed to read cmRteSiz from file " + name + kCause + ": Is a directory\n");
}

TEST_F(DumpTest, ShortStateIsFatal) {
    for (uint32_t len : {0u, 10u, kStateSiz - 8, kStateSiz - 1}) {
        dir.file("file", wordBytes({kStateSiz}) + std::string(len, 'x'));
        expectExit(runToExit([&] { CmRteLoad(rte.get(), name.c_str()); }),
                   kPanic + "read CmRte from file " + name + ", get " + std::to_string(len) +
                       " bytes different from sizeof(CmRte)=20117860" + kCause + ": Success\n");
    }
}

TEST_F(DumpTest, ResultFile) {
    CmRteRslt rslt{}, got{};
    rslt.shim0Rslt.ing_vid_12_to_9 = 5;
    rslt.saLrnRslt = 6;
    CmRteRsltDump(&rslt, name.c_str());
    std::vector<uint32_t> expected(72);
    expected[0] = 284;
    expected[1] = 5;
    expected[71] = 6;
    EXPECT_EQ(readFile(name), wordBytes(expected));
    EXPECT_EQ(printed([&] { CmRteRsltLoad(&got, name.c_str()); }), "");
    EXPECT_EQ(std::memcmp(&got, &rslt, sizeof got), 0);
}

TEST_F(DumpTest, DumpsOfResultAndFrameTruncateWithoutAWord) {
    CmRteRslt rslt{};
    CmRteMacInf macInf{};
    dir.file("file", std::string(1000, 'x'));
    EXPECT_EQ(printed([&] { CmRteRsltDump(&rslt, name.c_str()); }), "");
    EXPECT_EQ(readFile(name).size(), 288u);
    EXPECT_EQ(printed([&] { CmRteFrmDump(1, &macInf, 0, nullptr, name.c_str()); }), "");
    EXPECT_EQ(readFile(name).size(), 20u);
}

TEST_F(DumpTest, BadResultFileIsFatal) {
    CmRteRslt rslt{};
    const auto load = [&] { CmRteRsltLoad(&rslt, name.c_str()); };
    for (size_t len : {0u, 3u}) {
        dir.file("file", std::string(len, 'x'));
        expectExit(runToExit(load), kPanic + "failed to read cmRteRsltSiz from file " + name + kCause + ": Success\n");
    }
    dir.file("file", wordBytes({288}) + std::string(288, 'x'));
    expectExit(runToExit(load), kPanic + "read from file " + name +
                                    " cmRteRsltSiz=288 different from expected value of 284" + kCause + ": Success\n");
    for (size_t len : {0u, 283u}) {
        dir.file("file", wordBytes({284}) + std::string(len, 'x'));
        expectExit(runToExit(load), kPanic + "read CmRteRslt from file " + name + ", get " + std::to_string(len) +
                                        " bytes different from sizeof(CmRteRslt)=284" + kCause + ": Success\n");
    }
}

TEST_F(DumpTest, FrameFileHasThreeMacWords) {
    const CmRteMacInf macInf{1, 0x77, 2, 3};
    CmRteFrmDump(9, &macInf, 5, reinterpret_cast<const uint8_t *>("abcdefgh"), name.c_str());
    EXPECT_EQ(readFile(name), wordBytes({9, 1, 0x77, 2, 5}) + "abcde");
}

class FrmLoadTest : public DumpTest {
protected:
    void load() { CmRteFrmLoad(name.c_str(), &port, &frmLen, frm.data()); }

    uint32_t port = 99, frmLen = 99;
    std::vector<uint8_t> frm = std::vector<uint8_t>(10241, 0x55);
};

TEST_F(FrmLoadTest, TakesPortLengthAndBytes) {
    dir.file("file", wordBytes({9, 5}) + "abcdefgh");
    EXPECT_EQ(printed([&] { load(); }), "");
    EXPECT_EQ(port, 9u);
    EXPECT_EQ(frmLen, 5u);
    EXPECT_EQ(std::string(frm.begin(), frm.begin() + 6), "abcde\x55");
}

TEST_F(FrmLoadTest, DumpedFrameReadsWithItsFirstMacWordAsLength) {
    const CmRteMacInf macInf{6, 0x64636261, 0x68676665, 0};
    CmRteFrmDump(9, &macInf, 8, reinterpret_cast<const uint8_t *>("12345678"), name.c_str());
    load();
    EXPECT_EQ(port, 9u);
    EXPECT_EQ(frmLen, 6u);
    EXPECT_EQ(std::string(frm.begin(), frm.begin() + 7), "abcdef\x55");
}

TEST_F(FrmLoadTest, LengthsUpTo10240) {
    dir.file("file", wordBytes({9, 10240}) + std::string(10240, 'x'));
    load();
    EXPECT_EQ(frmLen, 10240u);
    EXPECT_EQ(frm[10239], 'x');
    EXPECT_EQ(frm[10240], 0x55);
    dir.file("file", wordBytes({9, 10241}) + std::string(10241, 'x'));
    expectExit(runToExit([&] { load(); }),
               kPanic + "read from file " + name + " frmLen=10241 is out of range" + kCause + ": Success\n");
}

TEST_F(FrmLoadTest, ShortFileIsFatal) {
    const std::string whole = wordBytes({9, 5}) + "abcde";
    for (size_t len : {0u, 3u, 4u, 7u, 8u, 12u}) {
        dir.file("file", whole.substr(0, len));
        expectExit(runToExit([&] { load(); }),
                   kPanic + "failed to read port from file " + name + kCause + ": Success\n");
    }
}

} // namespace
