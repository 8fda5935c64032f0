#include "log/cmRteLog.h"

#include "exit_run.h"
#include "temp_dir.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <string>
#include <sys/stat.h>
#include <vector>

// The stages, replaced by ones whose result tells what the model was given.

namespace {

uint32_t dbgLvlSeen;

} // namespace

void CmRtePrc(CmRteStat *statPtr) {
    dbgLvlSeen = statPtr->dbgLvl;
}

void CmRteLue(CmRteStat *) {}

void CmRteRoc(CmRteStat *statPtr) {
    CmRteRslt &rslt = *statPtr->rsltPtr;
    rslt = {};
    rslt.hsiShim0Rslt.rslt_typ = 2;
    rslt.shim0Rslt.fseq_num_14_to_0 = statPtr->macInfPtr->seqNumVld ? statPtr->macInfPtr->seqNum : 0;
    rslt.shim0Rslt.timed_out = statPtr->macInfPtr->isPauseFrm;
    rslt.shim1Rslt.egid = statPtr->frmLen ? statPtr->frm[0] : 0;
    rslt.shim1Rslt.version = statPtr->frmLen;
    rslt.shim2Rslt.ing_port = statPtr->ingPhyPort;
    rslt.shim2Rslt.q_priority = statPtr->comRegPtr->rte_l2_ieee_len_max;
    rslt.macStsRslt = statPtr->macStat;
    rslt.saLrnRslt = statPtr->frmIdx;
}

namespace {

constexpr uint32_t kTypLenAddr = 0x50000; // rte_l2_ieee_len_max is its bits 10 to 0
constexpr uint32_t kNoAddr = 0x60000;     // names nothing

using Words = std::vector<uint32_t>;

/// A log put together word by word, frames in the form with the MAC words.
class LogText {
public:
    LogText &words(const Words &values) {
        bytes.append(reinterpret_cast<const char *>(values.data()), values.size() * sizeof(uint32_t));
        return *this;
    }
    LogText &wr(uint32_t addr, uint32_t data, uint32_t ret) { return words({1, addr, data, ret}); }
    LogText &rd(uint32_t addr, uint32_t data, uint32_t ret) { return words({2, addr, data, ret}); }
    LogText &frm(uint32_t port, const Words &mac, uint32_t frmLen, const std::string &saved) {
        words({3, port}).words(mac).words({frmLen, static_cast<uint32_t>(saved.size())});
        bytes += saved;
        return *this;
    }
    LogText &rslt(const CmRteRslt &value, uint32_t ret, uint32_t siz = 284) {
        words({4, siz});
        bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
        return words({ret});
    }
    LogText &end() { return words({0}); }

    std::string bytes;
};

/// What the stand-in stages make of a frame on a model whose rte_l2_ieee_len_max is `lenMax`.
CmRteRslt rsltOf(uint32_t port, uint32_t frmIdx, const std::string &frm, uint32_t lenMax = 0) {
    CmRteRslt rslt{};
    rslt.hsiShim0Rslt.rslt_typ = 2;
    rslt.shim1Rslt.egid = static_cast<uint8_t>(frm[0]);
    rslt.shim1Rslt.version = static_cast<uint32_t>(frm.size());
    rslt.shim2Rslt.ing_port = port;
    rslt.shim2Rslt.q_priority = lenMax;
    rslt.macStsRslt = static_cast<uint8_t>(frm.back());
    rslt.saLrnRslt = frmIdx;
    return rslt;
}

std::string someFrame(size_t len, uint8_t first) {
    std::string frm(len, '\0');
    std::iota(frm.begin(), frm.end(), static_cast<char>(first));
    return frm;
}

class LogTest : public testing::Test {
protected:
    LogTest() : name(dir.path("log")) {
        CmRteInit(rte.get());
        rte->comReg.rte_l2_ieee_len_max = 0;
    }

    /// Opens a log of these bytes to read.
    int opened(const std::string &bytes) {
        dir.file("log", bytes);
        return CmRteLogOpen(0, name.c_str());
    }

    /// Replays a log in a process of its own.
    ExitRun rerun(const LogText &log, int ckRslt = 1, int prtCmd = 0) {
        dir.file("log", log.bytes);
        return runToExit([&] { CmRteLogRerun(rte.get(), name.c_str(), prtCmd, ckRslt); });
    }

    void expectSuccess(const ExitRun &run) const {
        EXPECT_EQ(run.status, ExitRun::kReturned);
        EXPECT_EQ(run.out, "INF: rerun log dump " + name + " succeeded\n\n");
        EXPECT_EQ(run.err, "");
    }
    static void expectExit(const ExitRun &run, const std::string &err) {
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, err);
    }

    TempDir dir;
    std::string name;
    std::unique_ptr<CmRte> rte = std::make_unique<CmRte>();
};

std::string pending(const std::string &name) {
    return "PANIC: failed to extract expected CMD_RSLT, log file " + name + " is corrupted\n";
}
std::string noCommand(const std::string &name) {
    return "\n\nPANIC: @cmRteLog.cpp:L, failed to get log command from " + name + ", log file corrupted: Success\n";
}
std::string corrupted(const std::string &what, const std::string &name) {
    return "\n\nPANIC: @cmRteLog.cpp:L, failed to extract " + what + ", log file " + name + " is corrupted: Success\n";
}

// Saving.

class LogSaveTest : public LogTest {
protected:
    LogSaveTest() { rte->logFd = CmRteLogOpen(1, name.c_str()); }
    ~LogSaveTest() override { close(rte->logFd); }

    Words savedWords() const {
        const std::string bytes = readFile(name);
        Words words(bytes.size() / 4);
        std::memcpy(words.data(), bytes.data(), words.size() * 4);
        return words;
    }
};

TEST_F(LogSaveTest, HostAccesses) {
    CmRteLogSaveWr(rte.get(), 0x11, 0x22, 1);
    CmRteLogSaveRd(rte.get(), 0x33, 0x44, 0);
    EXPECT_EQ(savedWords(), (Words{1, 0x11, 0x22, 1, 2, 0x33, 0x44, 0}));
    EXPECT_EQ(rte->logFileSiz, 32u);
}

TEST_F(LogSaveTest, FrameOf61BytesIsSavedAs64WithTheBytesBehindIt) {
    const std::string frm = someFrame(80, 1);
    CmRteLogSaveFrm(rte.get(), 7, 61, 10240, reinterpret_cast<const uint8_t *>(frm.data()));
    const std::string bytes = readFile(name);
    EXPECT_EQ(bytes.substr(0, 16), LogText().words({3, 7, 61, 64}).bytes);
    EXPECT_EQ(bytes.substr(16), frm.substr(0, 64));
    EXPECT_EQ(rte->logFileSiz, 80u);
}

TEST_F(LogSaveTest, WholeWordsAreNotRoundedUp) {
    const std::string frm = someFrame(80, 1);
    CmRteLogSaveFrm(rte.get(), 7, 60, 10240, reinterpret_cast<const uint8_t *>(frm.data()));
    EXPECT_EQ(readFile(name), LogText().words({3, 7, 60, 60}).bytes + frm.substr(0, 60));
}

TEST_F(LogSaveTest, LongFrameKeepsItsLengthAndLosesItsEnd) {
    const std::string frm = someFrame(80, 1);
    CmRteLogSaveFrm(rte.get(), 0, 61, 13, reinterpret_cast<const uint8_t *>(frm.data()));
    EXPECT_EQ(readFile(name), LogText().words({3, 0, 61, 16}).bytes + frm.substr(0, 16));
    EXPECT_EQ(rte->logFileSiz, 32u);
}

TEST_F(LogSaveTest, Result) {
    CmRteRslt rslt{};
    rslt.shim0Rslt.ing_vid_12_to_9 = 5;
    rslt.saLrnRslt = 6;
    CmRteLogSaveRslt(rte.get(), &rslt, 1);
    Words expected(74);
    expected[0] = 4;
    expected[1] = 284;
    expected[2] = 5;
    expected[72] = 6;
    expected[73] = 1;
    EXPECT_EQ(savedWords(), expected);
    EXPECT_EQ(rte->logFileSiz, 296u);
}

TEST_F(LogSaveTest, LogThatTakesNothingStillCounts) {
    close(rte->logFd);
    rte->logFd = CmRteLogOpen(0, name.c_str());
    CmRteLogSaveWr(rte.get(), 1, 2, 1);
    EXPECT_EQ(rte->logFileSiz, 16u);
    EXPECT_EQ(readFile(name), "");
}

TEST_F(LogSaveTest, LogOfTheModelIsReadBackRecordByRecord) {
    const std::string wire = someFrame(61, 0x40);
    std::vector<uint8_t> frm(wire.begin(), wire.end());
    frm.resize(61 + 40, 0xee);
    CmRteMacInf macInf{1, 77, 0, 0};
    CmRteRslt rslt{}, refused{};
    uint32_t data = 0;
    CmRteHsiWr(rte.get(), kTypLenAddr | 1u << 31, 0x12300456);
    CmRteHsiWr(rte.get(), kNoAddr, 3);
    CmRteHsiRd(rte.get(), kTypLenAddr, &data);
    CmRteHsiRd(rte.get(), kNoAddr, &data);
    CmRteProc(5, rte.get(), &macInf, 61, frm.data(), &rslt, 0);
    CmRteProc(12, rte.get(), &macInf, 8, frm.data(), &refused, 0);
    EXPECT_EQ(rte->logFileSiz, 4 * 16 + (16 + 64 + 296) + (16 + 8 + 296u));

    const int fd = CmRteLogOpen(0, name.c_str());
    const char *log = name.c_str();
    uint32_t addr = 0;
    int ret = -1;
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_WR);
    CmRteLogGetWr(fd, log, &addr, &data, &ret);
    EXPECT_EQ(addr, kTypLenAddr) << "the high bits are not logged";
    EXPECT_EQ(data, 0x12300456u);
    EXPECT_EQ(ret, 1);
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_WR);
    CmRteLogGetWr(fd, log, &addr, &data, &ret);
    EXPECT_EQ(addr, kNoAddr);
    EXPECT_EQ(data, 3u);
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_RD);
    CmRteLogGetRd(fd, log, &addr, &data, &ret);
    EXPECT_EQ(addr, kTypLenAddr);
    EXPECT_EQ(data, 0x02300456u) << "two fields, bits 26 to 16 and 10 to 0";
    EXPECT_EQ(ret, 1);
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_RD);
    CmRteLogGetRd(fd, log, &addr, &data, &ret);
    EXPECT_EQ(addr, kNoAddr);
    EXPECT_EQ(ret, 0);

    // Frames have no MAC words in such a log: they are taken word by word. The last byte, the MAC status, is cleared by
    // then, as is what stands behind it.
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_FRM);
    uint32_t head[3];
    std::string saved(64, '\0');
    ASSERT_EQ(read(fd, head, sizeof head), 12);
    EXPECT_EQ((Words{head, head + 3}), (Words{5, 61, 64}));
    ASSERT_EQ(read(fd, saved.data(), 64), 64);
    EXPECT_EQ(saved, wire.substr(0, 60) + std::string(4, '\0'));
    CmRteRslt logged{};
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_RSLT);
    CmRteLogGetRslt(fd, log, &logged, &ret);
    CmRteRslt expected = rsltOf(5, 0, wire, 0x456);
    expected.shim0Rslt.fseq_num_14_to_0 = 77;
    EXPECT_EQ(std::memcmp(&logged, &expected, sizeof logged), 0);
    EXPECT_EQ(ret, 1);

    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_FRM);
    ASSERT_EQ(read(fd, head, sizeof head), 12);
    EXPECT_EQ((Words{head, head + 3}), (Words{12, 8, 8}));
    ASSERT_EQ(read(fd, saved.data(), 8), 8);
    EXPECT_EQ(saved.substr(0, 8), wire.substr(0, 8));
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_RSLT);
    CmRteLogGetRslt(fd, log, &logged, &ret);
    EXPECT_EQ(std::memcmp(&logged, &refused, sizeof logged), 0);
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(CmRteLogGetCmd(fd, log), CM_RTE_LOG_CMD_END);
    close(fd);
}

TEST_F(LogSaveTest, SavedFrameReadsWithItsLengthsAsMacWords) {
    std::vector<uint8_t> frm(64);
    const uint32_t words[] = {0xaabbccdd, 6, 4, 0x11223344};
    std::memcpy(frm.data(), words, sizeof words);
    CmRteLogSaveFrm(rte.get(), 3, 61, 10240, frm.data());

    const int fd = CmRteLogOpen(0, name.c_str());
    ASSERT_EQ(CmRteLogGetCmd(fd, "log"), CM_RTE_LOG_CMD_FRM);
    uint32_t port = 0, frmLen = 0;
    CmRteMacInf macInf{};
    std::vector<uint8_t> got(CM_RTE_FRM_MAX_LEN);
    CmRteLogGetFrm(fd, "log", &port, &macInf, &frmLen, got.data());
    EXPECT_EQ(port, 3u);
    EXPECT_EQ(macInf.seqNumVld, 61u) << "the frame's length";
    EXPECT_EQ(macInf.seqNum, 64u) << "the saved length";
    EXPECT_EQ(macInf.isPauseFrm, 0xaabbccddu) << "the frame's first word";
    EXPECT_EQ(frmLen, 6u) << "its second word";
    EXPECT_EQ(std::memcmp(got.data(), &words[3], 4), 0) << "as many bytes as its third word says";
    close(fd);
}

TEST_F(LogSaveTest, LogOfTheModelDoesNotReplay) {
    std::vector<uint8_t> frm(64 + 40, 0xff); // the second word is no length of a frame
    CmRteMacInf macInf{};
    CmRteRslt rslt{};
    CmRteProc(5, rte.get(), &macInf, 64, frm.data(), &rslt, 0);
    rte->logFd = -1;
    expectExit(runToExit([&] { CmRteLogRerun(rte.get(), name.c_str(), 0, 1); }), corrupted("frame command", name));
}

// Opening and reading.

TEST_F(LogTest, OpenForWritingCreatesWithMode0744) {
    const mode_t mask = umask(0);
    const int fd = CmRteLogOpen(1, dir.path("new").c_str());
    umask(mask);
    struct stat fileStat;
    ASSERT_EQ(fstat(fd, &fileStat), 0);
    EXPECT_EQ(fileStat.st_mode & 07777, 0744u);
    EXPECT_EQ(write(fd, "x", 1), 1);
    close(fd);
}

TEST_F(LogTest, OpenForWritingTruncates) {
    const std::string path = dir.file("old", "something");
    close(CmRteLogOpen(1, path.c_str()));
    EXPECT_EQ(readFile(path), "");
}

TEST_F(LogTest, OpenForReadingIsReadOnly) {
    const int fd = opened("abc");
    EXPECT_EQ(write(fd, "x", 1), -1);
    close(fd);
    EXPECT_EQ(readFile(name), "abc");
}

TEST_F(LogTest, OpenThatFails) {
    const std::string path = dir.path("none/log");
    expectExit(runToExit([&] { CmRteLogOpen(1, path.c_str()); }),
               "\n\nPANIC: @cmRteLog.cpp:L, failed to open file " + path + " to write: No such file or directory\n");
    expectExit(runToExit([&] { CmRteLogOpen(0, path.c_str()); }),
               "\n\nPANIC: @cmRteLog.cpp:L, failed to open file " + path + " to read: No such file or directory\n");
}

TEST_F(LogTest, CommandWords) {
    const int fd = opened(LogText().words({4, 0, 0xfedcba98}).bytes);
    EXPECT_EQ(CmRteLogGetCmd(fd, "log"), CM_RTE_LOG_CMD_RSLT);
    EXPECT_EQ(CmRteLogGetCmd(fd, "log"), CM_RTE_LOG_CMD_END);
    EXPECT_EQ(CmRteLogGetCmd(fd, "log"), 0xfedcba98u);
    EXPECT_EQ(CmRteLogGetCmd(fd, "log"), CM_RTE_LOG_CMD_END) << "the end of the file";
    EXPECT_EQ(CmRteLogGetCmd(fd, "log"), CM_RTE_LOG_CMD_END);
    close(fd);
}

TEST_F(LogTest, PartOfACommandWordIsFatal) {
    for (size_t len : {1u, 2u, 3u}) {
        const int fd = opened(std::string(len, '\1'));
        expectExit(runToExit([&] { CmRteLogGetCmd(fd, "the log"); }), noCommand("the log"));
        close(fd);
    }
}

TEST_F(LogTest, UnreadableCommandWordIsFatal) {
    expectExit(runToExit([&] { CmRteLogGetCmd(-1, "x"); }),
               "\n\nPANIC: @cmRteLog.cpp:L, failed to get log command from x, log file corrupted: "
               "Bad file descriptor\n");
}

TEST_F(LogTest, ShortHostAccessIsFatal) {
    for (size_t len : {0u, 4u, 8u, 11u}) {
        const int fd = opened(std::string(len, '\1'));
        uint32_t addr = 0, data = 0;
        int ret = 0;
        expectExit(runToExit([&] { CmRteLogGetWr(fd, "the log", &addr, &data, &ret); }),
                   corrupted("write command", "the log"));
        lseek(fd, 0, SEEK_SET);
        expectExit(runToExit([&] { CmRteLogGetRd(fd, "the log", &addr, &data, &ret); }),
                   corrupted("read command", "the log"));
        close(fd);
    }
}

class LogGetFrmTest : public LogTest {
protected:
    void get(int fd) { CmRteLogGetFrm(fd, "the log", &port, &macInf, &frmLen, frm.data()); }

    /// Reads a frame record without its command word.
    void get(const LogText &log) {
        const int fd = opened(log.bytes.substr(4));
        get(fd);
        close(fd);
    }

    uint32_t port = 99, frmLen = 99;
    CmRteMacInf macInf{9, 9, 9, 9};
    std::vector<uint8_t> frm = std::vector<uint8_t>(CM_RTE_FRM_MAX_LEN, 0x55);
};

TEST_F(LogGetFrmTest, TakesPortMacWordsLengthsAndBytes) {
    get(LogText().frm(7, {1, 0x12345, 1}, 5, "abcdefgh"));
    EXPECT_EQ(port, 7u);
    EXPECT_EQ(macInf.seqNumVld, 1u);
    EXPECT_EQ(macInf.seqNum, 0x12345u);
    EXPECT_EQ(macInf.isPauseFrm, 1u);
    EXPECT_EQ(macInf.isCrcBadFrm, 0u) << "cleared, and not in the log";
    EXPECT_EQ(frmLen, 5u);
    EXPECT_EQ(std::string(frm.begin(), frm.begin() + 9), "abcdefgh\x55");
}

TEST_F(LogGetFrmTest, RestOfALongFrameIsCleared) {
    get(LogText().frm(0, {0, 0, 0}, 11, "abcdefgh"));
    EXPECT_EQ(frmLen, 11u);
    EXPECT_EQ(std::string(frm.begin(), frm.begin() + 12), std::string("abcdefgh\0\0\0\x55", 12));
}

TEST_F(LogGetFrmTest, LongestFrame) {
    get(LogText().frm(0, {0, 0, 0}, 10240, std::string(10240, 'x')));
    EXPECT_EQ(frmLen, 10240u);
    EXPECT_EQ(frm, std::vector<uint8_t>(10240, 'x'));
}

TEST_F(LogGetFrmTest, LongestFrameWithNothingSaved) {
    get(LogText().frm(0, {0, 0, 0}, 10240, ""));
    EXPECT_EQ(frm, std::vector<uint8_t>(10240, 0));
}

TEST_F(LogGetFrmTest, FrameBeyondTheBufferIsFatal) {
    for (const LogText &log :
         {LogText().frm(0, {0, 0, 0}, 10241, "abcd"), LogText().frm(0, {0, 0, 0}, 4, std::string(10244, 'x')),
          LogText().frm(0, {0, 0, 0}, ~0u, "abcd")}) {
        const int fd = opened(log.bytes.substr(4));
        expectExit(runToExit([&] { get(fd); }), corrupted("frame command", "the log"));
        close(fd);
    }
}

TEST_F(LogGetFrmTest, ShortRecordIsFatal) {
    const std::string whole = LogText().frm(1, {0, 0, 0}, 8, "abcdefgh").bytes.substr(4);
    ASSERT_EQ(whole.size(), 32u);
    for (size_t len : {0u, 4u, 8u, 15u, 16u, 20u, 24u, 31u}) {
        const int fd = opened(whole.substr(0, len));
        expectExit(runToExit([&] { get(fd); }), corrupted("frame command", "the log"));
        close(fd);
    }
}

TEST_F(LogTest, ResultWithAnySizeWord) {
    const CmRteRslt value = rsltOf(3, 4, "abc");
    const int fd = opened(LogText().rslt(value, 7, 0xffff).bytes.substr(4));
    CmRteRslt rslt{};
    int ret = 0;
    CmRteLogGetRslt(fd, "log", &rslt, &ret);
    EXPECT_EQ(std::memcmp(&rslt, &value, sizeof rslt), 0);
    EXPECT_EQ(ret, 7);
    close(fd);
}

TEST_F(LogTest, ShortResultIsFatal) {
    const std::string whole = LogText().rslt({}, 1).bytes.substr(4);
    ASSERT_EQ(whole.size(), 292u);
    for (size_t len : {0u, 3u, 4u, 287u, 288u, 291u}) {
        const int fd = opened(whole.substr(0, len));
        CmRteRslt rslt{};
        int ret = 0;
        expectExit(runToExit([&] { CmRteLogGetRslt(fd, "the log", &rslt, &ret); }), corrupted("result", "the log"));
        close(fd);
    }
}

// Replay.

TEST_F(LogTest, EmptyLogReplays) {
    expectSuccess(rerun(LogText()));
}

TEST_F(LogTest, ReplayOfNoFileIsFatal) {
    const std::string path = dir.path("none");
    expectExit(runToExit([&] { CmRteLogRerun(rte.get(), path.c_str(), 0, 1); }),
               "\n\nPANIC: @cmRteLog.cpp:L, failed to open file " + path + " to read: No such file or directory\n");
}

TEST_F(LogTest, EndTakesEffectBehindTheNextCommandWord) {
    expectSuccess(rerun(LogText().end()));
    expectSuccess(rerun(LogText().end().words({1}))); // a write command without its words is not looked into
    expectExit(rerun([] {
                   LogText log;
                   log.end().bytes += "xy";
                   return log;
               }()),
               noCommand(name));
}

TEST_F(LogTest, NothingBehindTheEndRuns) {
    dir.file("log", LogText().end().wr(kTypLenAddr, 5, 1).bytes);
    testing::internal::CaptureStdout();
    CmRteLogRerun(rte.get(), name.c_str(), 0, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "INF: rerun log dump " + name + " succeeded\n\n");
    EXPECT_EQ(rte->comReg.rte_l2_ieee_len_max, 0u);
}

TEST_F(LogTest, UnknownCommandIsOneWord) {
    expectSuccess(rerun(LogText().words({5, 0xffffffff}).wr(kTypLenAddr, 5, 1).words({6})));
}

TEST_F(LogTest, WholeLogReplays) {
    const std::string frm = someFrame(64, 1), frm2 = someFrame(20, 9);
    CmRteRslt third = rsltOf(3, 1, frm2, 5);
    third.shim0Rslt.fseq_num_14_to_0 = 0x77;
    third.shim0Rslt.timed_out = 1;
    LogText log;
    log.frm(3, {0, 0, 0}, 64, frm).rslt(rsltOf(3, 0, frm), 1);
    log.wr(kTypLenAddr, 5, 1).rd(kTypLenAddr, 5, 1).wr(kNoAddr, 5, 0).rd(kNoAddr, 0, 0);
    log.frm(3, {1, 0x77, 1}, 20, frm2).rslt(third, 1);
    log.frm(12, {0, 0, 0}, 20, frm2).rslt(third, 0); // a refused port leaves the result as it was
    expectSuccess(rerun(log));
    expectSuccess(rerun(log, 1, 1));
    expectSuccess(rerun(log, 0));
}

TEST_F(LogTest, ReplayIsQuiet) {
    rte->dbgEn = 4;
    dir.file("log", LogText().frm(3, {0, 0, 0}, 8, "abcdefgh").rslt({}, 1).bytes);
    dbgLvlSeen = 99;
    testing::internal::CaptureStdout();
    CmRteLogRerun(rte.get(), name.c_str(), 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "INF: rerun log dump " + name + " succeeded\n\n");
    EXPECT_EQ(dbgLvlSeen, 0u);
    EXPECT_EQ(rte->frmCntLst[3], 1u);
}

TEST_F(LogTest, FrameLongerThanItsSavedPartReplaysWithZeroes) {
    // The second frame's bytes of the first one are gone.
    const std::string frm(64, 'x');
    CmRteRslt cut = rsltOf(3, 1, "abcd");
    cut.shim1Rslt.version = 64;
    cut.macStsRslt = 0;
    expectSuccess(rerun(
        LogText().frm(3, {0, 0, 0}, 64, frm).rslt(rsltOf(3, 0, frm), 1).frm(3, {0, 0, 0}, 64, "abcd").rslt(cut, 1)));
}

TEST_F(LogTest, LongestFrameReplays) {
    const std::string frm = someFrame(10240, 3);
    expectSuccess(rerun(LogText().frm(0, {0, 0, 0}, 10240, frm).rslt(rsltOf(0, 0, frm), 1)));
}

TEST_F(LogTest, FrameOfNoBytesReplays) {
    CmRteRslt rslt{};
    rslt.hsiShim0Rslt.rslt_typ = 2;
    expectSuccess(rerun(LogText().frm(0, {0, 0, 0}, 0, "").rslt(rslt, 1)));
}

TEST_F(LogTest, WriteWithAnotherReturnValue) {
    LogText log;
    log.wr(kTypLenAddr, 0x5, 0);
    expectExit(rerun(log),
               "ERROR: HSI, WR, addr=0x50000, data=0x5, ret=0 != cmWrRet=1, log file " + name + " is corrupted\n");
    expectSuccess(rerun(log, 0));
    expectExit(rerun(LogText().wr(kNoAddr, 0xab, 1)),
               "ERROR: HSI, WR, addr=0x60000, data=0xab, ret=1 != cmWrRet=0, log file " + name + " is corrupted\n");
}

TEST_F(LogTest, ReadWithAnotherAnswer) {
    const std::string at = "ERROR: @cmRteLogRerun.cpp:L, HSI, RD, ";
    LogText log;
    log.wr(kTypLenAddr, 0x1b, 1).rd(kTypLenAddr, 0x1a, 1);
    expectExit(rerun(log),
               at + "addr=0x50000, data=0x1a, ret=1 != cmRdData=0x1b, cmRdRet=1, log file " + name + " is corrupted\n");
    expectSuccess(rerun(log, 0));
    expectExit(rerun(LogText().wr(kTypLenAddr, 0x1b, 1).rd(kTypLenAddr, 0x1b, 0)),
               at + "addr=0x50000, data=0x1b, ret=0 != cmRdData=0x1b, cmRdRet=1, log file " + name + " is corrupted\n");
    expectExit(rerun(LogText().rd(kNoAddr, 0x7, 0)),
               at + "addr=0x60000, data=0x7, ret=0 != cmRdData=0x0, cmRdRet=0, log file " + name + " is corrupted\n");
}

TEST_F(LogTest, ChangedResultEndsTheReplayWithTheTable) {
    const std::string frm = someFrame(64, 1);
    CmRteRslt changed = rsltOf(3, 0, frm);
    changed.shim1Rslt.egid = 0x99;
    LogText log;
    log.frm(3, {0, 0, 0}, 64, frm).rslt(changed, 1);
    const ExitRun run = rerun(log);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "ERROR: @cmRteLogRerun.cpp:L, cmRslt != logRslt; cmRsltRet=1, logRsltRet=1\n");
    EXPECT_EQ(run.out.find("Found mismatch in cmRslt / dutRslt\n"), 0u);
    EXPECT_NE(run.out.find("\nERR_RTE_RSLT: egid                           = 0x00000099 / 0x00000001 <==\n"),
              std::string::npos)
        << "the logged value stands first";
    EXPECT_EQ(run.out.find("<=="), run.out.rfind("<=="));
    expectSuccess(rerun(log, 0));
}

TEST_F(LogTest, ExcusedDifferenceStillEndsTheReplay) {
    const std::string frm = someFrame(64, 1);
    CmRteRslt changed = rsltOf(3, 0, frm);
    changed.hsiShim1Rslt.r_span_que = 3;
    const ExitRun run = rerun(LogText().frm(3, {0, 0, 0}, 64, frm).rslt(changed, 1));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out.find("Found match in cmRslt / dutRslt\n"), 0u);
}

TEST_F(LogTest, ChangedReturnValueEndsTheReplayWithoutATable) {
    const std::string frm = someFrame(64, 1);
    expectExit(rerun(LogText().frm(3, {0, 0, 0}, 64, frm).rslt(rsltOf(3, 0, frm), 0)),
               "ERROR: @cmRteLogRerun.cpp:L, cmRslt != logRslt; cmRsltRet=1, logRsltRet=0\n");
}

TEST_F(LogTest, ResultWithoutAFrameIsComparedWithTheLastOne) {
    expectSuccess(rerun(LogText().rslt({}, 0)));
    const std::string frm = someFrame(64, 1);
    const CmRteRslt rslt = rsltOf(3, 0, frm);
    expectSuccess(rerun(LogText().frm(3, {0, 0, 0}, 64, frm).rslt(rslt, 1).rslt(rslt, 1)));
}

TEST_F(LogTest, FrameWithoutItsResultIsFatal) {
    const LogText frm = LogText().frm(3, {0, 0, 0}, 8, "abcdefgh");
    for (int ckRslt : {0, 1}) {
        expectExit(rerun(frm, ckRslt), pending(name));
        expectExit(rerun(LogText(frm).end(), ckRslt), pending(name));
        expectExit(rerun(LogText(frm).wr(kTypLenAddr, 5, 1), ckRslt), pending(name));
        expectExit(rerun(LogText(frm).words({5}), ckRslt), pending(name));
        expectExit(rerun(LogText(frm).frm(3, {0, 0, 0}, 8, "abcdefgh"), ckRslt), pending(name));
    }
}

TEST_F(LogTest, CorruptedRecordEndsTheReplay) {
    expectExit(rerun(LogText().words({1, 2, 3})), corrupted("write command", name));
    expectExit(rerun(LogText().words({2, 2, 3})), corrupted("read command", name));
    expectExit(rerun(LogText().words({3, 2, 3})), corrupted("frame command", name));
    expectExit(rerun(LogText().words({4, 2, 3})), corrupted("result", name));
}

// Capture of one frame.

class CaptureTest : public LogTest {
protected:
    /// Captures a frame of the log in a process of its own, with the files in `dir`.
    ExitRun capture(const LogText &log, uint32_t portIdx, uint32_t frmIdx) {
        dir.file("log", log.bytes);
        return runToExit([&] {
            if (chdir(dir.path("").c_str()) == 0)
                CmRteCaptureFrm(rte.get(), &macInf, name.c_str(), portIdx, frmIdx);
        });
    }

    /// Word of the saved chip at the place of a field.
    uint32_t savedWord(const std::string &bytes, const uint32_t &field) const {
        uint32_t word = 0;
        const auto offset = reinterpret_cast<const char *>(&field) - reinterpret_cast<const char *>(rte.get());
        std::memcpy(&word, bytes.data() + 4 + offset, sizeof word);
        return word;
    }

    LogText threeFrames() const {
        LogText log;
        log.wr(kTypLenAddr, 5, 1);
        log.frm(3, {0, 0, 0}, 8, "abcdefgh").rslt(rsltOf(3, 0, "abcdefgh", 5), 1);
        log.frm(7, {0, 0, 0}, 8, "ijklmnop").rslt(rsltOf(7, 0, "ijklmnop", 5), 1);
        log.wr(kTypLenAddr, 6, 0).rd(kTypLenAddr, 99, 0); // wrong answers do not count
        CmRteRslt logged{};
        logged.shim1Rslt.egid = 0x1234;
        log.frm(3, {1, 0x77, 1}, 8, "qrstuvwx").rslt(logged, 1);
        return log;
    }

    CmRteMacInf macInf{};
};

TEST_F(CaptureTest, LeavesStateFrameAndLoggedResult) {
    LogText log = threeFrames();
    log.bytes += "xy"; // what stands behind the frame is not read
    const ExitRun run = capture(log, 3, 1);
    EXPECT_EQ(run.status, ExitRun::kReturned);
    EXPECT_EQ(run.out, "INF: portIdx=3, frmIdx=1, frame extraction succeeded\n\n");
    EXPECT_EQ(run.err, "");

    const std::string state = readFile(dir.path("s_p03_f01.sdb"));
    ASSERT_EQ(state.size(), 4 + 20117860u);
    EXPECT_EQ(savedWord(state, rte->comReg.rte_l2_ieee_len_max), 6u);
    EXPECT_EQ(savedWord(state, rte->frmCntLst[3]), 1u) << "the frame itself has not run";
    EXPECT_EQ(savedWord(state, rte->frmCntLst[7]), 1u);

    EXPECT_EQ(readFile(dir.path("f_p03_f01.fdb")), LogText().words({3, 1, 0x77, 1, 8}).bytes + "qrstuvwx");

    CmRteRslt logged{};
    logged.shim1Rslt.egid = 0x1234;
    EXPECT_EQ(readFile(dir.path("r_p03_f01.rdb")), LogText().rslt(logged, 1).bytes.substr(4, 288));
}

TEST_F(CaptureTest, FirstFrameOfAPort) {
    const ExitRun run = capture(threeFrames(), 7, 0);
    EXPECT_EQ(run.status, ExitRun::kReturned);
    EXPECT_EQ(readFile(dir.path("f_p07_f00.fdb")), LogText().words({7, 0, 0, 0, 8}).bytes + "ijklmnop");
    EXPECT_EQ(savedWord(readFile(dir.path("s_p07_f00.sdb")), rte->comReg.rte_l2_ieee_len_max), 5u);
    EXPECT_EQ(dir.numFiles(), 4u);
}

TEST_F(CaptureTest, FoundFrameRunsToo) {
    dir.file("log", threeFrames().bytes);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path(""));
    testing::internal::CaptureStdout();
    CmRteCaptureFrm(rte.get(), &macInf, name.c_str(), 3, 1);
    testing::internal::GetCapturedStdout();
    std::filesystem::current_path(before);
    EXPECT_EQ(rte->frmCntLst[3], 2u);
    EXPECT_EQ(macInf.seqNum, 0x77u);
}

TEST_F(CaptureTest, RefusedPortCountsItsFrames) {
    LogText log;
    for (const char *frm : {"abcd", "efgh"})
        log.frm(1000, {0, 0, 0}, 4, frm).rslt({}, 0);
    EXPECT_EQ(capture(log, 1000, 1).out, "INF: portIdx=1000, frmIdx=1, frame extraction succeeded\n\n");
    EXPECT_EQ(readFile(dir.path("f_p1000_f01.fdb")), LogText().words({1000, 0, 0, 0, 4}).bytes + "efgh");
}

TEST_F(CaptureTest, FrameThatIsNotThere) {
    const std::string at = "ERROR: @cmRteLogRerun.cpp:L, couldn't extract frame with ";
    expectExit(capture(threeFrames(), 3, 2), at + "portIdx=3, frmIdx=2\n\n");
    expectExit(capture(threeFrames(), 4, 0), at + "portIdx=4, frmIdx=0\n\n");
    expectExit(capture(LogText(), 0, 0), at + "portIdx=0, frmIdx=0\n\n");
    LogText early;
    early.end().bytes += threeFrames().bytes;
    expectExit(capture(early, 3, 0), at + "portIdx=3, frmIdx=0\n\n");
    EXPECT_EQ(dir.numFiles(), 1u);
}

TEST_F(CaptureTest, FrameWithoutItsResultIsFatal) {
    const LogText frm = LogText().frm(3, {0, 0, 0}, 8, "abcdefgh");
    expectExit(capture(frm, 3, 0), pending(name));
    expectExit(capture(LogText(frm).wr(1, 2, 3), 3, 1), pending(name));
}

TEST_F(CaptureTest, UnknownCommandIsOneWord) {
    LogText log;
    log.words({5, 6}).bytes += threeFrames().bytes;
    EXPECT_EQ(capture(log, 3, 0).status, ExitRun::kReturned);
}

TEST_F(CaptureTest, OldStateFileIsReplaced) {
    dir.file("s_p03_f00.sdb", "old");
    const ExitRun run = capture(threeFrames(), 3, 0);
    EXPECT_EQ(run.out, "INF: file cmRteDump.cpp, function CmRteDump, line L, file s_p03_f00.sdb exists -- delete it\n"
                       "INF: portIdx=3, frmIdx=0, frame extraction succeeded\n\n");
}

} // namespace
