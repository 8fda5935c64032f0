#include "regdump_util.h"

#include "run_program.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace {

asic_dump_hdr_t header(uint32_t vendor_id, uint32_t chip_id, uint32_t chip_ver) {
    asic_dump_hdr_t hdr;
    regdump_init_hdr(&hdr, vendor_id, chip_id, chip_ver, 0, 0);
    return hdr;
}

asic_dump_hdr_t header(uint32_t chip_id, uint32_t chip_ver) {
    return header(32337, chip_id, chip_ver);
}

/// A file that is gone at the end of the test.
class TempFile {
public:
    explicit TempFile(const std::string &contents) {
        const int fd = mkstemp(name_);
        EXPECT_EQ(write(fd, contents.data(), contents.size()), static_cast<ssize_t>(contents.size()));
        close(fd);
    }
    ~TempFile() { unlink(name_); }
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;
    char *name() { return name_; }

private:
    char name_[32] = "/tmp/regdump_util_test.XXXXXX";
};

/// Sets the time zone for one test.
class TimeZone {
public:
    explicit TimeZone(const char *zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        unsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone &) = delete;
    TimeZone &operator=(const TimeZone &) = delete;
};

template <typename Job> std::string printedOut(Job job) {
    testing::internal::CaptureStdout();
    job();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

template <typename Job> std::string printedErr(Job job) {
    testing::internal::CaptureStderr();
    job();
    return testing::internal::GetCapturedStderr();
}

const std::string HEADER("\0\0\0\1\x11\x22\x33\x44\0\0\x7e\x51\0\0\0\x20\0\0\0\3\xf0\0\0\x10\x5f\x5e\x10\0\0\0\3\xe8",
                         32);

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

std::string dumpTime(int32_t sec, int32_t usec) {
    asic_dump_hdr_t hdr = header(32, 2);
    hdr.epoch_sec = sec;
    hdr.epoch_usec = usec;
    const std::string text = printedOut([&] { EXPECT_EQ(regdec_pr_hdr(&hdr), 0); });
    const std::string label = "\tDump time:        ";
    const size_t start = text.find(label) + label.size();
    return text.substr(start, text.size() - start);
}

} // namespace

TEST(RegdumpHeader, InitSetsTheCurrentVersionAndNoTime) {
    asic_dump_hdr_t hdr;
    std::memset(&hdr, 0xff, sizeof(hdr));
    regdump_init_hdr(&hdr, 1, 2, 3, 4, 5);
    EXPECT_EQ(hdr.ver, 1u);
    EXPECT_EQ(hdr.vendor_id, 1u);
    EXPECT_EQ(hdr.chip_id, 2u);
    EXPECT_EQ(hdr.chip_ver, 3u);
    EXPECT_EQ(hdr.oid, 4u);
    EXPECT_EQ(hdr.chip_base_addr, 5u);
    EXPECT_EQ(hdr.epoch_sec, 0);
    EXPECT_EQ(hdr.epoch_usec, 0);
}

TEST(RegdumpChip, EachPredicateTakesItsChipAndRevisions) {
    struct Case {
        int (*is_chip)(const asic_dump_hdr_t *);
        uint32_t chip_id, chip_ver;
        int expected;
    };
    const Case cases[] = {
        {regdump_is_kobar, 18, 31, 0},
        {regdump_is_kobar, 18, 32, 1},
        {regdump_is_kobar, 18, 0xffffffff, 1},
        {regdump_is_kobar, 19, 32, 0},
        {regdump_is_kobar_pass1, 18, 31, 1},
        {regdump_is_kobar_pass1, 18, 0, 1},
        {regdump_is_kobar_pass1, 18, 32, 0},
        {regdump_is_kobar_pass1, 17, 31, 0},
        {regdump_is_kobar_pass1, 18, 0xffffffff, 0},
        {regdump_is_vekor, 26, 16, 0},
        {regdump_is_vekor, 26, 17, 1},
        {regdump_is_vekor, 26, 0x80000000, 1},
        {regdump_is_vekor, 18, 17, 0},
        {regdump_is_vekor_a, 26, 15, 0},
        {regdump_is_vekor_a, 26, 16, 1},
        {regdump_is_vekor_a, 26, 17, 0},
        {regdump_is_vekor_a, 18, 16, 0},
        {regdump_is_tsr, 32, 1, 0},
        {regdump_is_tsr, 32, 2, 1},
        {regdump_is_tsr, 32, 3, 1},
        {regdump_is_tsr, 32, 0xffffffff, 1},
        {regdump_is_tsr, 31, 2, 0},
        {regdump_is_tsr, 32, 0, 0},
        {regdump_is_zirk, 31, 1, 0},
        {regdump_is_zirk, 31, 2, 1},
        {regdump_is_zirk, 32, 2, 0},
        {regdump_is_zirk2, 41, 1, 0},
        {regdump_is_zirk2, 41, 2, 1},
        {regdump_is_zirk2, 31, 2, 0},
        {regdump_is_dzt_a, 42, 17, 1},
        {regdump_is_dzt_a, 42, 0, 1},
        {regdump_is_dzt_a, 42, 18, 0},
        {regdump_is_dzt_a, 46, 17, 0},
        {regdump_is_dzt_b, 42, 31, 0},
        {regdump_is_dzt_b, 42, 32, 1},
        {regdump_is_dzt_b, 42, 33, 1},
        {regdump_is_dzt_b, 42, 34, 0},
        {regdump_is_dzt_b, 41, 32, 0},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        asic_dump_hdr_t hdr = header(cases[i].chip_id, cases[i].chip_ver);
        EXPECT_EQ(cases[i].is_chip(&hdr), cases[i].expected);
        hdr.vendor_id = 32336;
        EXPECT_EQ(cases[i].is_chip(&hdr), 0) << "another vendor";
    }
}

TEST(RegdumpChip, TheLastOneNeverRefuses) {
    const asic_dump_hdr_t its_own = header(46, 0);
    const asic_dump_hdr_t other_chip = header(45, 0);
    const asic_dump_hdr_t other_vendor = header(1, 46, 0);
    const std::string note = "Vendor ID mismatch. Bypassed for now\n";
    EXPECT_EQ(printedOut([&] { EXPECT_EQ(regdump_is_dzt2_a(&its_own), 1); }), "");
    EXPECT_EQ(printedOut([&] { EXPECT_EQ(regdump_is_dzt2_a(&other_chip), 1); }), note);
    EXPECT_EQ(printedOut([&] { EXPECT_EQ(regdump_is_dzt2_a(&other_vendor), 1); }), note);
}

TEST(RegdecGetHdr, ConvertsTheHeaderAndStaysAtTheData) {
    TempFile file(HEADER + "data");
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    ASSERT_EQ(regdec_get_hdr(file.name(), &fd, &hdr), 0);
    EXPECT_EQ(hdr->ver, 1u);
    EXPECT_EQ(hdr->oid, 0x11223344u);
    EXPECT_EQ(hdr->vendor_id, 0x7e51u);
    EXPECT_EQ(hdr->chip_id, 32u);
    EXPECT_EQ(hdr->chip_ver, 3u);
    EXPECT_EQ(hdr->chip_base_addr, 0xf0000010u);
    EXPECT_EQ(hdr->epoch_sec, 0x5f5e1000);
    EXPECT_EQ(hdr->epoch_usec, 1000);
    char data[5] = {};
    EXPECT_EQ(read(fd, data, 4), 4);
    EXPECT_STREQ(data, "data");
    std::free(hdr);
    close(fd);
}

TEST(RegdecGetHdr, MissingFile) {
    char name[] = "/nonexistent/dump";
    int fd = 0;
    asic_dump_hdr_t *const before = reinterpret_cast<asic_dump_hdr_t *>(&fd);
    asic_dump_hdr_t *hdr = before;
    EXPECT_EQ(printedErr([&] { EXPECT_EQ(regdec_get_hdr(name, &fd, &hdr), -1); }),
              "Cannot open file /nonexistent/dump (No such file or directory)\n");
    EXPECT_EQ(hdr, before);
}

TEST(RegdecGetHdr, ShortHeaderIsRefusedAndTheFileClosed) {
    for (const size_t size : {0u, 1u, 31u}) {
        TempFile file(HEADER.substr(0, size));
        int fd = -1;
        asic_dump_hdr_t *hdr = nullptr;
        char message[64];
        std::snprintf(message, sizeof(message), "Cannot read header: count 0x%zx\n", size);
        EXPECT_EQ(printedErr([&] { EXPECT_EQ(regdec_get_hdr(file.name(), &fd, &hdr), -1); }), message);
        EXPECT_EQ(hdr, nullptr);
        EXPECT_GE(fd, 0) << "keeps the closed descriptor's number";
        EXPECT_FALSE(isOpen(fd));
    }
}

TEST(RegdecGetHdr, FailedReadCountsAsAllOnes) {
    char name[] = "/tmp";
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    EXPECT_EQ(printedErr([&] { EXPECT_EQ(regdec_get_hdr(name, &fd, &hdr), -1); }),
              "Cannot read header: count 0xffffffff\n");
    EXPECT_FALSE(isOpen(fd));
}

TEST(RegdecGetData, KeepsTheHeaderInFrontAndTheFilesByteOrder) {
    TempFile file(HEADER + "\x01\x02\x03\x04rest");
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    ASSERT_EQ(regdec_get_hdr(file.name(), &fd, &hdr), 0);
    ASSERT_EQ(regdec_get_data(fd, &hdr, 4), 0) << "bytes behind the data are not looked at";
    EXPECT_EQ(hdr->chip_ver, 3u);
    EXPECT_EQ(std::memcmp(hdr + 1, "\x01\x02\x03\x04", 4), 0);
    std::free(hdr);
    close(fd);
}

TEST(RegdecGetData, ShortFile) {
    for (const std::string data : {"", "abc"}) {
        TempFile file(HEADER + data);
        int fd = -1;
        asic_dump_hdr_t *hdr = nullptr;
        ASSERT_EQ(regdec_get_hdr(file.name(), &fd, &hdr), 0);
        EXPECT_EQ(printedErr([&] { EXPECT_EQ(regdec_get_data(fd, &hdr, 4), -1); }),
                  "Unexpected file size: expected 0x4, actual 0x" + std::to_string(data.size()) + "\n");
        EXPECT_NE(hdr, nullptr);
        EXPECT_TRUE(isOpen(fd));
        std::free(hdr);
        close(fd);
    }
}

TEST(RegdecGetData, FailedReadCountsAsAllOnes) {
    asic_dump_hdr_t *hdr = static_cast<asic_dump_hdr_t *>(std::malloc(sizeof(asic_dump_hdr_t)));
    EXPECT_EQ(printedErr([&] { EXPECT_EQ(regdec_get_data(-1, &hdr, 8), -1); }),
              "Unexpected file size: expected 0x8, actual 0xffffffff\n");
    std::free(hdr);
}

#if !TEST_HAS_ASAN
TEST(RegdecGetData, BufferThatCannotGrow) {
    asic_dump_hdr_t *const before = static_cast<asic_dump_hdr_t *>(std::malloc(sizeof(asic_dump_hdr_t)));
    asic_dump_hdr_t *hdr = before;
    rlimit old_limit;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old_limit), 0);
    const rlimit small = {size_t{256} << 20, old_limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small), 0);
    const std::string message = printedErr([&] { EXPECT_EQ(regdec_get_data(-1, &hdr, 0x40000000), -1); });
    setrlimit(RLIMIT_AS, &old_limit);
    EXPECT_EQ(message, "Cannot resize buffer: size: 0x40000020\n");
    EXPECT_EQ(hdr, nullptr);
    std::free(before);
}
#endif

TEST(RegdecPrHdr, PrintsEveryField) {
    TimeZone zone("UTC0");
    asic_dump_hdr_t hdr = {1, 0xabc, 0x7e51, 0x20, 2, 0x12345678, 1600000000, 42};
    EXPECT_EQ(printedOut([&] { EXPECT_EQ(regdec_pr_hdr(&hdr), 0); }),
              "================ Register Dump Header ================\n"
              "\n"
              "\tHeader version:   1\n"
              "\tChip OID:         0x00000abc\n"
              "\tPCI vendor ID:    0x7e51\n"
              "\tPCI device ID:    0x0020\n"
              "\tChip version:     0x02\n"
              "\tDump time:        2020-09-13 12:26:40.000042 UTC\n"
              "\n");
}

TEST(RegdecPrHdr, WideValuesAreNotCut) {
    TimeZone zone("UTC0");
    asic_dump_hdr_t hdr = {1, 0xdeadbeef, 0x12345678, 0x9abcdef0, 0x1ff, 0, 0, 0};
    const std::string text = printedOut([&] { regdec_pr_hdr(&hdr); });
    EXPECT_NE(text.find("0xdeadbeef\n\tPCI vendor ID:    0x12345678\n\tPCI device ID:    0x9abcdef0\n"
                        "\tChip version:     0x1ff\n"),
              std::string::npos)
        << text;
}

TEST(RegdecPrHdr, TimeIsTheReadersLocalTime) {
    {
        TimeZone zone("CET-1");
        EXPECT_EQ(dumpTime(0, 0), "1970-01-01 01:00:00.000000 CET\n\n");
    }
    {
        TimeZone zone("EST5");
        EXPECT_EQ(dumpTime(3600 * 5 + 61, 999999), "1970-01-01 00:01:01.999999 EST\n\n");
    }
}

TEST(RegdecPrHdr, ZoneNameOfMoreThanThreeCharactersLeavesItsFieldEmpty) {
    TimeZone zone("ABCD0");
    EXPECT_EQ(dumpTime(0, 5), "1970-01-01 00:00:00.000005 \n\n");
}

TEST(RegdecPrHdr, TimeFieldsAreSignedAndWidened) {
    TimeZone zone("UTC0");
    EXPECT_EQ(dumpTime(INT32_MAX, 1234567), "2038-01-19 03:14:07.1234567 UTC\n\n");
    EXPECT_EQ(dumpTime(-1, -1), "1969-12-31 23:59:59.-00001 UTC\n\n");
}

TEST(RegdecPrHdr, OtherVersionIsRefused) {
    for (const uint32_t ver : {0u, 2u, 0xffffffffu}) {
        asic_dump_hdr_t hdr = header(32, 2);
        hdr.ver = ver;
        std::string out;
        const std::string err = printedErr([&] { out = printedOut([&] { EXPECT_EQ(regdec_pr_hdr(&hdr), -1); }); });
        EXPECT_EQ(out, "");
        EXPECT_EQ(err, "Dump header ver (" + std::to_string(static_cast<int>(ver)) + ") not current (1)\n");
    }
}

TEST(RegdecPrIntro, PrintsTheColumnHeading) {
    EXPECT_EQ(printedOut([] { EXPECT_EQ(regdec_pr_intro(), 0); }),
              "================ Register Dump Data ================\n"
              "\n"
              "ASIC offset  Data        Name      \n"
              "-----------  ----------  ----------\n");
}

TEST(RegcmpPrHdr, PrintsBothFilesAndTheColumnHeading) {
    char file1[] = "a.dmp";
    char file2[] = "b.dmp";
    EXPECT_EQ(printedOut([&] { EXPECT_EQ(regcmp_pr_hdr(file1, file2), 0); }),
              "================ Register Diff Results ================\n"
              "\n"
              "File 1: a.dmp\n"
              "File 2: b.dmp\n"
              "\n"
              "ASIC offset  File 1      File 2      Name      \n"
              "-----------  ----------  ----------  ----------\n");
}
