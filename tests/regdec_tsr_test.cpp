#include "regdec_tsr.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "random_words.h"
#include "run_program.h"
#include "tsr_reg_dump.h"

namespace {

constexpr size_t IMAGE_SIZE = 39752492;

using HdrWords = std::array<uint32_t, 8>;

/// Version, object, vendor, chip, revision, base address, seconds, microseconds.
constexpr HdrWords TSR_HDR = {1, 0x1234, 32337, 32, 2, 0, 1600000000, 42};

const char *const HEADER_TEXT = "================ Register Dump Header ================\n"
                                "\n"
                                "\tHeader version:   1\n"
                                "\tChip OID:         0x00001234\n"
                                "\tPCI vendor ID:    0x7e51\n"
                                "\tPCI device ID:    0x0020\n"
                                "\tChip version:     0x02\n"
                                "\tDump time:        2020-09-13 12:26:40.000042 UTC\n"
                                "\n";

const char *const INTRO_TEXT = "================ Register Dump Data ================\n"
                               "\n"
                               "ASIC offset  Data        Name      \n"
                               "-----------  ----------  ----------\n";

const std::string USAGE_TEXT = std::string("Usage: ") + REGDEC_TSR_PROGRAM +
                               " <file_name>\n"
                               "       " +
                               REGDEC_TSR_PROGRAM + " <file_name> route port <port#> frame <hex string> \n";

const char *const TOO_LONG_TEXT = "Packet too long.Maximum frame length is 500 bytes.\n";

/// The verdict on any frame at a front port of a chip whose registers are all 0: no port looks its frames up.
const char *const DROP_TEXT = "Pkt dropped by RTE, reason code: 1\n"
                              "\tDRP_NOT_EN: dropped due to lookup not enabled\n";

/// What a verbose run says before the model runs, for a frame of the byte 0.
const char *const VERBOSE_TEXT = " Length: 1\n00\n\n"
                                 "Read packet done...\n"
                                 "Initializing RTE memory...\n"
                                 "Processing ingress packet, without shim...\n";

/// A dump file that is gone at the end of the test: a header, and an image of zeroes.
class DumpFile {
public:
    explicit DumpFile(const HdrWords &hdr, size_t data_size = IMAGE_SIZE) {
        std::vector<uint8_t> bytes;
        for (const uint32_t word : hdr)
            for (int shift = 24; shift >= 0; shift -= 8)
                bytes.push_back(static_cast<uint8_t>(word >> shift));
        fd_ = mkstemp(name_);
        EXPECT_EQ(write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(ftruncate(fd_, static_cast<off_t>(bytes.size() + data_size)), 0);
    }
    ~DumpFile() {
        close(fd_);
        unlink(name_);
    }
    DumpFile(const DumpFile &) = delete;
    DumpFile &operator=(const DumpFile &) = delete;

    void setImage(const std::vector<uint8_t> &image) {
        size_t done = 0;
        while (done < image.size()) {
            const ssize_t count = pwrite(fd_, image.data() + done, image.size() - done, static_cast<off_t>(32 + done));
            ASSERT_GT(count, 0);
            done += static_cast<size_t>(count);
        }
    }

    std::string name() const { return name_; }

private:
    char name_[32] = "/tmp/regdec_tsr_test.XXXXXX";
    int fd_ = -1;
};

RunResult run(const std::vector<std::string> &args, RunOptions options = {}) {
    options.env.insert({"TZ", "UTC0"});
    return runProgram(REGDEC_TSR_PROGRAM, args, options);
}

void expectRun(const RunResult &result, int status, const std::string &out, const std::string &err) {
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.err, err);
}

/// One dump for all route commands of a test.
class RegdecRoute : public testing::Test {
protected:
    RunResult route(const std::vector<std::string> &words) {
        std::vector<std::string> args{dump_.name()};
        args.insert(args.end(), words.begin(), words.end());
        return run(args);
    }

    /// A route command with the words `optional` behind the frame.
    RunResult routeWith(const std::string &frame, const std::vector<std::string> &optional) {
        std::vector<std::string> words{"route", "port", "0", "frame", frame};
        words.insert(words.end(), optional.begin(), optional.end());
        return route(words);
    }

    DumpFile dump_{TSR_HDR};
};

/// Expects the verbose run of a frame of the byte 0 at port 0, which ends in the same verdict as the quiet one.
void expectVerboseDrop(const RunResult &result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.substr(0, std::strlen(VERBOSE_TEXT)), VERBOSE_TEXT);
    EXPECT_NE(result.out.find("CM port=0, frameIdx=0>> PRC L2 Lookup Not Enabled. DROP\n"), std::string::npos);
    EXPECT_EQ(result.out.substr(result.out.size() - std::min(result.out.size(), std::strlen(DROP_TEXT))), DROP_TEXT);
    EXPECT_EQ(result.err, "");
}

/// The lines that a listing of `image` must have, worked out from the rows alone: each word's place in the image
/// follows from the order of the rows.
class ExpectedListing {
public:
    ExpectedListing(std::FILE *listing, const std::vector<uint8_t> &image) : listing_(listing), image_(image) {}

    void expectTable(const regdump_map_t *row, const std::string &prefix, uint32_t asic_base, size_t dump_off,
                     uint32_t instance) {
        for (; row->name != nullptr && ok_; ++row) {
            if (row->flags & REGDUMP_FLAGS_NO_DUMP)
                continue;
            const uint32_t asic_off = asic_base + row->asic_offset;
            if (row->child != nullptr) {
                for (uint32_t i = 0; i < row->depth[0]; ++i)
                    expectTable(row->child, prefix + row->name + (row->depth[0] == 1 ? "" : subscript(i)) + ".",
                                asic_off + i * row->asic_size, dump_off + i * tableSize(row->child), i);
            } else if (row->parent_depth == 0 || instance < row->parent_depth) {
                asic_off_ = asic_off;
                dump_off_ = dump_off;
                expectElements(row, row->depth[0] == 1 && row->depth[1] == 0 ? 6 : 0, prefix + row->name);
            }
            dump_off += rowSize(row);
        }
    }

    bool ok() const { return ok_; }
    uint32_t lines() const { return lines_; }
    const std::string &first() const { return first_; }
    const std::string &last() const { return last_; }

private:
    static size_t rowSize(const regdump_map_t *row) {
        size_t size = row->child != nullptr ? tableSize(row->child) : row->asic_size;
        for (size_t dim = 0; dim < 6 && row->depth[dim] != 0; ++dim)
            size *= row->depth[dim];
        return size;
    }

    static size_t tableSize(const regdump_map_t *row) {
        size_t size = 0;
        for (; row->name != nullptr; ++row)
            if (!(row->flags & REGDUMP_FLAGS_NO_DUMP))
                size += rowSize(row);
        return size;
    }

    static std::string subscript(uint32_t number) {
        char text[16];
        std::snprintf(text, sizeof(text), "[%u]", number);
        return text;
    }

    void expectElements(const regdump_map_t *row, size_t dim, const std::string &name) {
        if (dim < 6 && row->depth[dim] != 0) {
            for (uint32_t i = 0; i < row->depth[dim] && ok_; ++i)
                expectElements(row, dim + 1, name + subscript(i));
        } else if (row->asic_size == 4) {
            expectWord(name);
        } else {
            for (uint32_t word = 0; word < row->asic_size / 4; ++word)
                expectWord(name + ".w" + std::to_string(word));
        }
    }

    void expectWord(const std::string &name) {
        char expected[256];
        const uint8_t *byte = image_.data() + dump_off_;
        std::snprintf(expected, sizeof(expected), "0x%08x:  0x%02x%02x%02x%02x  %s\n", asic_off_, byte[0], byte[1],
                      byte[2], byte[3], name.c_str());
        char found[256] = "";
        if (std::fgets(found, sizeof(found), listing_) == nullptr || std::strcmp(found, expected) != 0) {
            EXPECT_STREQ(found, expected) << "at line " << lines_;
            ok_ = false;
        }
        if (lines_ == 0)
            first_ = found;
        last_ = found;
        ++lines_;
        asic_off_ += 4;
        dump_off_ += 4;
    }

    std::FILE *listing_;
    const std::vector<uint8_t> &image_;
    uint32_t asic_off_ = 0;
    size_t dump_off_ = 0;
    uint32_t lines_ = 0;
    std::string first_;
    std::string last_;
    bool ok_ = true;
};

/// `run` of a listing, which keeps the first and last parts of the output only.
RunResult runListing(const std::string &file, uint64_t *lines, RunOptions options = {}) {
    std::string head;
    std::string tail;
    *lines = 0;
    options.on_output = [&](const char *text, size_t size) {
        if (head.size() < 1024)
            head.append(text, size);
        tail.append(text, size);
        if (tail.size() > 4096)
            tail.erase(0, tail.size() - 1024);
        for (size_t i = 0; i < size; ++i)
            *lines += text[i] == '\n';
    };
    RunResult result = run({file}, options);
    result.out = head.substr(0, 1024) + "..." + tail;
    return result;
}

} // namespace

// ------------------------------------------------------------------------------------------- the file and the chip

TEST(RegdecFile, NoArgumentIsAUsageFailure) {
    expectRun(run({}), 255, USAGE_TEXT, "");
}

TEST(RegdecFile, MissingFile) {
    expectRun(run({"/nonexistent/dump"}), 255, "", "Cannot open file /nonexistent/dump (No such file or directory)\n");
    expectRun(run({"/nonexistent/dump", "route", "port", "0", "frame", "00"}), 255, "",
              "Cannot open file /nonexistent/dump (No such file or directory)\n");
    expectRun(run({""}), 255, "", "Cannot open file  (No such file or directory)\n");
}

TEST(RegdecFile, ShortHeader) {
    expectRun(run({"/dev/null"}), 255, "", "Cannot read header: count 0x0\n");
    expectRun(run({"/tmp"}), 255, "", "Cannot read header: count 0xffffffff\n");
}

TEST(RegdecFile, ThirtyOneBytesAreNoHeader) {
    DumpFile dump(TSR_HDR, 0);
    ASSERT_EQ(truncate(dump.name().c_str(), 31), 0);
    expectRun(run({dump.name()}), 255, "", "Cannot read header: count 0x1f\n");
}

TEST(RegdecFile, HeaderAloneHasNoData) {
    DumpFile dump(TSR_HDR, 0);
    expectRun(run({dump.name()}), 255, HEADER_TEXT, "Unexpected file size: expected 0x25e932c, actual 0x0\n");
}

TEST(RegdecFile, OneByteTooFew) {
    DumpFile dump(TSR_HDR, IMAGE_SIZE - 1);
    const char *const message = "Unexpected file size: expected 0x25e932c, actual 0x25e932b\n";
    expectRun(run({dump.name()}), 255, HEADER_TEXT, message);
    expectRun(run({dump.name(), "x"}), 255, HEADER_TEXT, message);
    expectRun(run({dump.name(), "route", "port", "0", "frame", "00"}), 255, "", message);
    expectRun(run({dump.name(), "no route", "port", "0", "frame", "00"}), 255, "", message);
}

TEST(RegdecFile, LongerFileIsAccepted) {
    DumpFile dump(TSR_HDR, IMAGE_SIZE + 5);
    uint64_t lines = 0;
    const RunResult result = runListing(dump.name(), &lines);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(lines, 13u + 9938047);
}

TEST(RegdecFile, OtherChipsAreRefused) {
    struct Case {
        uint32_t vendor_id, chip_id, chip_ver;
        const char *actual;
    };
    const Case cases[] = {
        {32337, 32, 1, "vendor_id 0x7e51, chip_id 0x0020, chip_ver 1"},
        {32337, 32, 0, "vendor_id 0x7e51, chip_id 0x0020, chip_ver 0"},
        {32337, 31, 2, "vendor_id 0x7e51, chip_id 0x001f, chip_ver 2"},
        {1, 32, 0xffffffff, "vendor_id 0x0001, chip_id 0x0020, chip_ver -1"},
        {0x12345678, 0x9abcdef0, 7, "vendor_id 0x12345678, chip_id 0x9abcdef0, chip_ver 7"},
    };
    for (const Case &c : cases) {
        HdrWords hdr = TSR_HDR;
        hdr[2] = c.vendor_id;
        hdr[3] = c.chip_id;
        hdr[4] = c.chip_ver;
        DumpFile dump(hdr, 0);
        const std::string message = std::string("Expected: Tessara. Actual: ") + c.actual + "\n";
        expectRun(run({dump.name()}), 255, "", message);
        expectRun(run({dump.name(), "route", "port", "0", "frame", "00"}), 255, "", message);
    }
}

TEST(RegdecFile, EveryLaterRevisionIsAccepted) {
    for (const uint32_t chip_ver : {2u, 3u, 0xffffffffu}) {
        HdrWords hdr = TSR_HDR;
        hdr[4] = chip_ver;
        DumpFile dump(hdr);
        const RunResult result = run({dump.name(), "x"});
        EXPECT_EQ(result.err, "Wrong number of arguments (3)\n");
    }
}

TEST(RegdecFile, HeaderVersionCountsOnlyWhereTheHeaderIsPrinted) {
    HdrWords hdr = TSR_HDR;
    hdr[0] = 2;
    DumpFile dump(hdr);
    const char *const message = "Dump header ver (2) not current (1)\n";
    expectRun(run({dump.name()}), 255, "", message);
    expectRun(run({dump.name(), "route", "port", "0", "frame"}), 255, "", message);
    expectRun(run({dump.name(), "route", "port", "0", "frame", "00"}), 0, DROP_TEXT, "");
}

TEST(RegdecFile, WrongChipIsReportedBeforeTheHeaderVersion) {
    HdrWords hdr = TSR_HDR;
    hdr[0] = 2;
    hdr[4] = 1;
    DumpFile dump(hdr, 0);
    expectRun(run({dump.name()}), 255, "", "Expected: Tessara. Actual: vendor_id 0x7e51, chip_id 0x0020, chip_ver 1\n");
}

TEST(RegdecFile, HeaderVersionIsReportedBeforeShortData) {
    HdrWords hdr = TSR_HDR;
    hdr[0] = 0xffffffff;
    DumpFile dump(hdr, 0);
    expectRun(run({dump.name()}), 255, "", "Dump header ver (-1) not current (1)\n");
}

TEST(RegdecFile, DumpTimeIsInTheReadersZone) {
    DumpFile dump(TSR_HDR, 0);
    const auto timeIn = [&](const char *zone) {
        RunOptions options;
        options.env["TZ"] = zone;
        const std::string out = run({dump.name()}, options).out;
        const std::string label = "\tDump time:        ";
        const size_t start = out.find(label) + label.size();
        return out.substr(start, out.find('\n', start) - start);
    };
    EXPECT_EQ(timeIn("UTC0"), "2020-09-13 12:26:40.000042 UTC");
    EXPECT_EQ(timeIn("CET-1"), "2020-09-13 13:26:40.000042 CET");
    EXPECT_EQ(timeIn("CET-1CES,M3.5.0,M10.5.0"), "2020-09-13 14:26:40.000042 CES");
    EXPECT_EQ(timeIn("PST8"), "2020-09-13 04:26:40.000042 PST");
    EXPECT_EQ(timeIn("CEST-2"), "2020-09-13 14:26:40.000042 ") << "a name of four characters does not fit";
}

#if !TEST_HAS_ASAN
TEST(RegdecFile, NoMemoryForTheImage) {
    DumpFile dump(TSR_HDR);
    RunOptions options;
    options.data_limit = size_t{20} << 20;
    expectRun(run({dump.name()}, options), 255, HEADER_TEXT, "Cannot resize buffer: size: 0x25e934c\n");
    expectRun(run({dump.name(), "route", "port", "0", "frame", "00"}, options), 255, "",
              "Cannot resize buffer: size: 0x25e934c\n");
}

TEST(RegdecFile, NoMemoryForTheHeader) {
    // The whole run, in a process that has no memory left: its limit is met and every free block is taken.
    DumpFile dump(TSR_HDR, 0);
    std::string name = dump.name();
    char program[] = "regdec_tsr";
    char *argv[] = {program, name.data(), nullptr};
    const auto runWithoutMemory = [&] {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_DATA, &none);
        for (size_t size = 1 << 20; size >= 8; size /= 2) {
            void *volatile block; // volatile, so that the compiler cannot leave the allocations out
            do
                block = std::malloc(size);
            while (block != nullptr);
        }
        _exit(regdec_tsr_main(2, argv));
    };
    EXPECT_EXIT(runWithoutMemory(), testing::ExitedWithCode(255), "^Cannot allocate buffer\n$");
}

/// The least address space, in whole steps of `step`, in which the program comes as far as its own usage text.
size_t leastSpace(size_t step) {
    RunOptions options;
    for (options.space_limit = step; options.space_limit < 64u << 20; options.space_limit += step) {
        const RunResult result = run({}, options);
        if (result.status == 255 && result.out == USAGE_TEXT)
            return options.space_limit;
    }
    ADD_FAILURE() << "the program does not start";
    return options.space_limit;
}

/// Runs `args` in address spaces from `from` on, `step` apart, up to the first that is enough. Each one before ends in
/// one of the messages of missing memory. Returns which of them was seen how often.
std::map<std::string, int> missingMemory(const std::vector<std::string> &args, size_t from, size_t step) {
    const std::string whole = run(args).out;
    std::map<std::string, int> seen;
    RunOptions options;
    for (options.space_limit = from; options.space_limit < from + (128u << 20); options.space_limit += step) {
        const RunResult result = run(args, options);
        if (result.status == 0) {
            EXPECT_EQ(result.out, whole);
            EXPECT_EQ(result.err, "");
            return seen;
        }
        EXPECT_EQ(result.status, 255) << options.space_limit;
        EXPECT_EQ(whole.compare(0, result.out.size(), result.out), 0) << options.space_limit;
        seen[result.err]++;
    }
    ADD_FAILURE() << "never enough";
    return seen;
}

TEST(RegdecMemory, AnyLackOfItIsReported) {
    DumpFile dump(TSR_HDR);
    const std::string resize = "Cannot resize buffer: size: 0x25e934c\n";
    const std::string allocate = "Cannot allocate memory\n";
    const size_t least = leastSpace(size_t{64} << 10);
    const std::vector<std::string> ingress = {dump.name(), "route", "port", "0", "frame", "00", "topspin"};
    std::map<std::string, int> seen = missingMemory(ingress, least, size_t{500} << 10);
    EXPECT_GT(seen[resize], 20);
    EXPECT_GT(seen[allocate], 20) << "the model needs much more than 20 steps";
    seen.erase("Cannot allocate buffer\n");
    EXPECT_EQ(seen.size(), 2u);

    const std::vector<std::string> egress = {dump.name(), "route", "port", "12", "frame", std::string(100, '0')};
    seen = missingMemory(egress, least, size_t{500} << 10);
    EXPECT_GT(seen[resize], 20);
    for (const std::string &message : {resize, allocate, std::string("Cannot allocate buffer\n")})
        seen.erase(message);
    EXPECT_TRUE(seen.empty());
}

TEST(RegdecMemory, AListingNeedsTheImageAlone) {
    DumpFile dump(TSR_HDR);
    const size_t least = leastSpace(size_t{64} << 10);
    RunOptions options;
    options.stdout_path = "/dev/null";
    int status = 255;
    for (options.space_limit = least; status != 0 && options.space_limit < least + IMAGE_SIZE + (2u << 20);
         options.space_limit += options.space_limit < least + IMAGE_SIZE - (1u << 20) ? 1u << 20 : 16u << 10) {
        const RunResult result = run({dump.name()}, options);
        status = result.status;
        if (status == 0)
            EXPECT_EQ(result.err, "");
        else if (result.err != "Cannot allocate buffer\n")
            expectRun(result, 255, "", "Cannot resize buffer: size: 0x25e934c\n");
    }
    EXPECT_EQ(status, 0);
}
#endif

// ----------------------------------------------------------------------------------------------------- the listing

TEST(RegdecListing, EqualsTheListingWorkedOutFromTheRows) {
    std::vector<uint8_t> image(IMAGE_SIZE);
    RandomWords random(20240601);
    for (uint8_t &byte : image)
        byte = static_cast<uint8_t>(random());
    DumpFile dump(TSR_HDR);
    dump.setImage(image);

    std::FILE *listing = popen(("TZ=UTC0 '" REGDEC_TSR_PROGRAM "' " + dump.name()).c_str(), "r");
    ASSERT_NE(listing, nullptr);
    const std::string heading = std::string(HEADER_TEXT) + INTRO_TEXT;
    std::string found(heading.size(), '\0');
    EXPECT_EQ(std::fread(found.data(), 1, found.size(), listing), found.size());
    EXPECT_EQ(found, heading);

    ExpectedListing expected(listing, image);
    expected.expectTable(tsr_dmp_map, "", 0, 0, 0);
    EXPECT_TRUE(expected.ok());
    EXPECT_EQ(expected.lines(), 9938047u);
    EXPECT_EQ(std::fgetc(listing), EOF);
    EXPECT_EQ(pclose(listing), 0);
    EXPECT_EQ(expected.first().substr(0, 13), "0x00001000:  ");
    EXPECT_EQ(expected.first().substr(23), "  ftc_desc_start_addr\n");
    EXPECT_EQ(expected.last().substr(0, 13), "0x0557fffc:  ");
    EXPECT_EQ(expected.last().substr(23), "  tfe_tcam[360447].w3\n");
}

TEST(RegdecListing, PortsEightToElevenHaveNoHostRegistersAndHiddenRowsAreNotListed) {
    DumpFile dump(TSR_HDR);
    std::FILE *listing = popen(("'" REGDEC_TSR_PROGRAM "' " + dump.name()).c_str(), "r");
    ASSERT_NE(listing, nullptr);
    const std::vector<std::pair<std::string, uint32_t>> names = {
        {" ephy_reg[7].hmc_cfg\n", 1},
        {" ephy_reg[8].hmc_cfg\n", 0},
        {" ephy_reg[11].hmc_scratchpad\n", 0},
        {" ephy_reg[11].rte_prc_l2_ctl\n", 1},
        {" pib_softmem[0]\n", 0},
        {" eqs_edt_mem[0]\n", 0},
        {" lbphy_reg.rxf_port_paf_bid[4]\n", 1},
        {" rte_drp_tail_sts_frm[2][31][7][1]\n", 1},
        {" emc_quad[0].emc_hss_reg.txA.w63\n", 1},
        {" rte_l2_exm_bkt[12287][31][3]\n", 1},
        {" emc_quad[2].emc_eps_stat_ram[3][127][1]\n", 1},
        {" tae_history.l2_key_hist[3][8]\n", 1},
        {" ftc_cntl\n", 1},
    };
    std::vector<uint32_t> found(names.size());
    char line[256];
    while (std::fgets(line, sizeof(line), listing) != nullptr) {
        if (std::strlen(line) < 24)
            continue;
        for (size_t i = 0; i < names.size(); ++i)
            found[i] += names[i].first == line + 24;
    }
    EXPECT_EQ(pclose(listing), 0);
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(found[i], names[i].second) << names[i].first;
}

#if !TEST_HAS_ASAN
TEST(RegdecListing, NeedsLittleMoreThanTheImage) {
    DumpFile dump(TSR_HDR);
    uint64_t lines = 0;
    const RunResult result = runListing(dump.name(), &lines);
    EXPECT_EQ(result.status, 0);
    EXPECT_GT(result.peak_memory, IMAGE_SIZE);
    EXPECT_LT(result.peak_memory, 48000000u);
}
#endif

TEST(RegdecListing, LostOutputIsAFailure) {
    DumpFile dump(TSR_HDR);
    RunOptions full;
    full.stdout_path = "/dev/full";
    expectRun(run({dump.name()}, full), 255, "", "Cannot write output\n");

    RunOptions closed;
    closed.closed_pipe = true;
    EXPECT_EQ(run({dump.name()}, closed).status, 128 + 13) << "ended by the signal of the broken pipe";
    closed.ignore_sigpipe = true;
    expectRun(run({dump.name()}, closed), 255, "", "Cannot write output\n");
}

TEST(RegdecListing, LostUsageTextIsReported) {
    RunOptions full;
    full.stdout_path = "/dev/full";
    expectRun(run({}, full), 255, "", "Cannot write output\n");
}

// ------------------------------------------------------------------------------------------------- the command line

TEST(RegdecArguments, ThreeToSixAreRefusedBehindTheHeader) {
    DumpFile dump(TSR_HDR);
    std::vector<std::string> args{dump.name()};
    for (const char *word : {"route", "port", "0", "frame"}) {
        args.push_back(word);
        expectRun(run(args), 255, std::string(HEADER_TEXT) + INTRO_TEXT + USAGE_TEXT,
                  "Wrong number of arguments (" + std::to_string(args.size() + 1) + ")\n");
    }
}

TEST_F(RegdecRoute, RouteMustBeTheWholeWord) {
    expectRun(route({"route", "port", "0", "frame", "00"}), 0, DROP_TEXT, "");
    for (const char *word : {"", "r", "rout", "routes", "Route", "xroute"})
        expectRun(route({word, "port", "0", "frame", "00"}), 255, USAGE_TEXT, "");
}

TEST_F(RegdecRoute, PortAndFrameMayBeAbbreviatedToNothing) {
    for (const char *word : {"", "p", "po", "por", "port"})
        expectRun(route({"route", word, "0", "frame", "00"}), 0, DROP_TEXT, "");
    for (const char *word : {"", "f", "fr", "fra", "fram", "frame"})
        expectRun(route({"route", "port", "0", word, "00"}), 0, DROP_TEXT, "");
    for (const char *word : {"ports", "pt", "Port", "x", "frame"})
        expectRun(route({"route", word, "0", "frame", "00"}), 255, USAGE_TEXT, "");
    for (const char *word : {"frames", "fm", "Frame", "x", "port"})
        expectRun(route({"route", "port", "0", word, "00"}), 255, USAGE_TEXT, "");
}

TEST_F(RegdecRoute, PortsUpToElevenAreFrontPorts) {
    struct Case {
        const char *port;
        unsigned number;
    };
    // A number may have any base, only its low 32 bits count, and text that is no number is port 0.
    const Case cases[] = {{"0", 0}, {"11", 11}, {"0xb", 11}, {"0XB", 11},        {"013", 11},   {" 9", 9},
                          {"x", 0}, {"", 0},    {"port", 0}, {"4294967307", 11}, {"7eleven", 7}};
    for (const Case &c : cases) {
        expectRun(route({"route", "port", c.port, "frame", "00"}), 0, DROP_TEXT, "");
        const std::string out = route({"route", "port", c.port, "frame", "00", "topspin"}).out;
        EXPECT_EQ(out.substr(0, std::strlen(VERBOSE_TEXT)), VERBOSE_TEXT) << c.port;
        EXPECT_NE(out.find("CM port=" + std::to_string(c.number) + ", frameIdx=0>> "), std::string::npos) << c.port;
    }
}

TEST_F(RegdecRoute, HigherPortsAndNegativeOnesAreTheFabric) {
    // A shim with the egress group 0x123, and a frame of one byte behind it.
    const std::string frame = "000000000123000000000000000000000000000000000000aa";
    const std::string start = " Length: 1\naa\n\nRead packet done...\nFrame comes in with shim egid 291\n";
    const std::string ingress = "RTE";
    for (const char *port : {"12", "0xC", "014", "-1", "4294967308", "99999999999999999999"}) {
        const RunResult result = route({"route", "port", port, "frame", frame, "topspin"});
        EXPECT_EQ(result.status, 0) << port;
        EXPECT_EQ(result.out.substr(0, start.size()), start) << port;
        EXPECT_EQ(result.out.find(ingress), std::string::npos) << port;
        EXPECT_EQ(result.err, "") << port;
    }
}

TEST_F(RegdecRoute, AShimThatIsCutShortCountsAsTheFrame) {
    const auto verbose = [&](size_t digits) {
        return route({"route", "port", "12", "frame", std::string(digits, '0'), "topspin"}).out;
    };
    const auto start = [](size_t len) {
        return " Length: " + std::to_string(len) + "\n" + std::string(2 * len, '0') + "\n\nRead packet done...\n";
    };
    EXPECT_EQ(verbose(0).find(start(0)), 0u);
    EXPECT_EQ(verbose(1).find(start(1)), 0u);
    EXPECT_EQ(verbose(46).find(start(23)), 0u);
    EXPECT_EQ(verbose(47).find(start(0)), 0u) << "a lone digit fills the last byte of the shim";
    EXPECT_EQ(verbose(48).find(start(0)), 0u);
    EXPECT_EQ(verbose(50).find(start(1)), 0u);
}

TEST_F(RegdecRoute, FrameOf500CharactersIsAccepted) {
    expectRun(routeWith(std::string(500, '0'), {}), 0, DROP_TEXT, "");
    expectRun(routeWith("", {}), 0, DROP_TEXT, "");
    const std::string start = " Length: 250\n" + std::string(500, '0') + "\n\nRead packet done...\n";
    EXPECT_EQ(routeWith(std::string(500, '0'), {"topspin"}).out.find(start), 0u);
}

TEST_F(RegdecRoute, FrameOf501CharactersIsRefusedAndOnlyAVerboseRunSaysSo) {
    expectRun(routeWith(std::string(501, '0'), {}), 255, "", "");
    expectRun(routeWith(std::string(501, '0'), {"topspin"}), 255, TOO_LONG_TEXT, "");
    expectRun(routeWith(std::string(501, ' '), {"topspin"}), 255, TOO_LONG_TEXT, "");
}

TEST_F(RegdecRoute, WordsThatMakeAVerboseRun) {
    const std::vector<std::vector<std::string>> forms = {
        {"topspin"},
        {"topspinner"},
        {"topspin", "x"},
        {"topspin", "x", "y"},
        {"topspin", "x", "y", "z"},
        {"rxvc", "1", "topspin"},
        {"rxvc", "1", "topspins"},
        {"rxv", "1", "topspin"},
        {"rx", "1", "topspin"},
        {"r", "1", "topspin"},
        {"", "1", "topspin"},
        {"", "", "topspin"},
    };
    for (const auto &words : forms)
        expectRun(routeWith(std::string(501, '0'), words), 255, TOO_LONG_TEXT, "");
    for (const auto &words : forms)
        expectVerboseDrop(routeWith("00", words));
}

TEST_F(RegdecRoute, WordsThatLeaveTheRunQuiet) {
    const std::vector<std::vector<std::string>> forms = {
        {"topspi"},
        {"Topspin"},
        {"unknown"},
        {"rxvcs"},
        {"t"},
        {"unknown", "topspin"},
        {"rxvcs", "1"},
        {"rxvcs", "1", "topspin"},
        {"a", "b", "c", "d"},
    };
    for (const auto &words : forms)
        expectRun(routeWith(std::string(501, '0'), words), 255, "", "");
    for (const auto &words : forms)
        expectRun(routeWith("00", words), 0, DROP_TEXT, "");
}

TEST_F(RegdecRoute, RxvcNeedsItsValueAndTopspin) {
    const std::vector<std::vector<std::string>> forms = {
        {"rxvc"},
        {"r"},
        {""},
        {"rxvc", "1"},
        {"", "1"},
        {"rxvc", "topspin"},
        {"rxvc", "1", "topspi"},
        {"rxvc", "1", ""},
        {"rxvc", "1", "quiet"},
        {"rxvc", "1", "topspin", "x"},
        {"", "1", "topspin", "x"},
    };
    for (const auto &words : forms)
        expectRun(routeWith("00", words), 255, USAGE_TEXT, "");
}

TEST_F(RegdecRoute, WordsAreCheckedBeforeTheFrame) {
    const std::string frame(501, '0');
    expectRun(route({"rout", "port", "0", "frame", frame, "topspin"}), 255, USAGE_TEXT, "");
    expectRun(route({"route", "ports", "0", "frame", frame, "topspin"}), 255, USAGE_TEXT, "");
    expectRun(route({"route", "port", "0", "frames", frame, "topspin"}), 255, USAGE_TEXT, "");
    expectRun(route({"route", "port", "0", "frame", frame, "rxvc"}), 255, USAGE_TEXT, "");
}

TEST(RegdecArguments, WordsAreCheckedBehindTheDump) {
    DumpFile dump(TSR_HDR, 0);
    expectRun(run({dump.name(), "x", "y", "z", "a", "b", "rxvc"}), 255, "",
              "Unexpected file size: expected 0x25e932c, actual 0x0\n");
}
