// regcmp_tsr through the real program.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "dump_builder.h"
#include "random_words.h"
#include "regdump_prog.h"
#include "regenc_tsr.h"
#include "run_program.h"
#include "temp_dir.h"

namespace {

const std::string COLUMNS = "ASIC offset  File 1      File 2      Name      \n"
                            "-----------  ----------  ----------  ----------\n";

std::string heading(const std::string &file1, const std::string &file2) {
    return "================ Register Diff Results ================\n\nFile 1: " + file1 + "\nFile 2: " + file2 +
           "\n\n" + COLUMNS;
}

/// Runs the program on the two files.
RunResult compare(const std::string &file1, const std::string &file2, const RunOptions &options = {}) {
    return runProgram(REGCMP_TSR_PROGRAM, {file1, file2}, options);
}

/// Two dumps, equal until they are changed.
struct Pair {
    RunResult run() {
        good.write(temp.path("good"));
        bad.write(temp.path("bad"));
        return compare(temp.path("good"), temp.path("bad"));
    }
    std::string expectedHeading() const { return heading(temp.path("good"), temp.path("bad")); }

    TempDir temp;
    DumpBuilder good;
    DumpBuilder bad;
};

/// Tells whether a word of the image belongs to no register: ports 8 to 11 lack the 19 words from `hmc_cfg` on.
bool isRoom(uint32_t dump_off) {
    for (uint32_t port = 8; port < 12; ++port) {
        const size_t start =
            offsetof(tsr_dmp_t, ephy_reg) + port * sizeof(tsr_ephy_dmp_t) + offsetof(tsr_ephy_dmp_t, hmc_cfg);
        if (dump_off >= start && dump_off < start + 19 * 4)
            return true;
    }
    return false;
}

/// Takes the program's output in pieces and compares it, line by line, with two dumps. Names are looked up by the
/// assembler.
class Checker {
public:
    Checker(const RegencDump &dump1, const RegencDump &dump2) : dump1_(dump1), dump2_(dump2), names_(tsr_dmp_map) {}

    void take(const char *text, size_t size) {
        rest_.append(text, size);
        size_t start = 0;
        for (size_t end; (end = rest_.find('\n', start)) != rest_.npos; start = end + 1)
            line(std::string_view(rest_).substr(start, end - start));
        rest_.erase(0, start);
    }

    /// How many words were listed. At the end of the output: nothing else may differ.
    size_t finish() {
        EXPECT_EQ(rest_, "");
        next();
        EXPECT_EQ(off_, TSR_DUMP_SIZE);
        return num_listed_;
    }

    const std::string &head() const { return head_; }
    bool ok() const { return ok_; }

private:
    /// Moves to the next word that must be listed.
    void next() {
        while (off_ != TSR_DUMP_SIZE && (dump1_.word(off_) == dump2_.word(off_) || isRoom(off_)))
            off_ += 4;
    }

    void line(std::string_view text) {
        if (!ok_)
            return;
        if (text.substr(0, 2) != "0x") {
            EXPECT_EQ(num_listed_, 0u);
            head_.append(text).append("\n");
            return;
        }
        ++num_listed_;
        next();
        ok_ = off_ != TSR_DUMP_SIZE && text.size() > 37;
        if (ok_) {
            RegencWords words;
            std::string error;
            char columns[64];
            ok_ = names_.find(text.substr(37), words, error) && !words.ranged && words.field.empty() &&
                  words.dumpOff == off_;
            std::snprintf(columns, sizeof(columns), "0x%08x:  0x%08x  0x%08x  ", words.chipOff, dump1_.word(off_),
                          dump2_.word(off_));
            ok_ = ok_ && text.substr(0, 37) == columns;
        }
        EXPECT_TRUE(ok_) << text << " at dump offset " << off_;
        off_ += 4;
    }

    const RegencDump &dump1_;
    const RegencDump &dump2_;
    RegencNames names_;
    std::string rest_;
    std::string head_;
    uint32_t off_ = 0;
    size_t num_listed_ = 0;
    bool ok_ = true;
};

} // namespace

// -------------------------------------------------------------------------------------------------------- comparing

TEST(RegcmpTsr, EqualDumpsHaveAHeadingOnly) {
    Pair pair;
    pair.good.randomise(1);
    pair.bad.randomise(1);
    const RunResult result = pair.run();
    EXPECT_EQ(result.out, pair.expectedHeading());
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST(RegcmpTsr, EachWordThatDiffersIsListed) {
    Pair pair;
    pair.good.set("ftc_desc_start_addr", 1).set("ephy_reg[7].hmc_cfg", 2).set("rte_scratch_pad", 5);
    pair.bad.set("ephy_reg[7].hmc_cfg", 0xfffffffe).set("tfe_tcam[360447].w3", 3).set("rte_scratch_pad", 5);
    const RunResult result = pair.run();
    EXPECT_EQ(result.out, pair.expectedHeading() + "0x00001000:  0x00000001  0x00000000  ftc_desc_start_addr\n"
                                                   "0x00471000:  0x00000002  0xfffffffe  ephy_reg[7].hmc_cfg\n"
                                                   "0x0557fffc:  0x00000000  0x00000003  tfe_tcam[360447].w3\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 1);
}

TEST(RegcmpTsr, HeadersMayDifferInWhatIsNoIdentity) {
    Pair pair;
    pair.bad.hdr().oid = 5;
    pair.bad.hdr().chip_ver = 3;
    pair.bad.hdr().chip_base_addr = 6;
    pair.bad.hdr().epoch_sec = 7;
    pair.bad.hdr().epoch_usec = 8;
    const RunResult result = pair.run();
    EXPECT_EQ(result.out, pair.expectedHeading());
    EXPECT_EQ(result.status, 0);
}

TEST(RegcmpTsr, RoomOfMissingRegistersIsNotCompared) {
    Pair pair;
    for (uint32_t port = 8; port < 12; ++port)
        std::memset(&pair.bad.image()->ephy_reg[port].hmc_cfg, 0xff, 76);
    RunResult result = pair.run();
    EXPECT_EQ(result.out, pair.expectedHeading());
    EXPECT_EQ(result.status, 0);
    // The words next to the room are.
    uint32_t *room = &pair.bad.image()->ephy_reg[11].hmc_cfg;
    room[-1] = 0xffffffff;
    room[19] = 0xffffffff;
    result = pair.run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 9);
}

TEST(RegcmpTsr, AFileComparesWithItself) {
    const TempDir temp;
    DumpBuilder().randomise(3).write(temp.path("d"));
    const RunResult result = compare(temp.path("d"), temp.path("d"));
    EXPECT_EQ(result.out, heading(temp.path("d"), temp.path("d")));
    EXPECT_EQ(result.status, 0);
}

TEST(RegcmpTsr, BytesBehindTheImageAreNotLookedAt) {
    Pair pair;
    pair.run();
    ASSERT_EQ(truncate(pair.temp.path("bad").c_str(), 32 + 39752492 + 5), 0);
    EXPECT_EQ(compare(pair.temp.path("good"), pair.temp.path("bad")).status, 0);
}

TEST(RegcmpTsr, PipesAreRead) {
    Pair pair;
    pair.good.randomise(40);
    pair.bad.randomise(40).set("rte_scratch_pad", 1);
    const RunResult files = pair.run();
    ASSERT_EQ(files.status, 1);
    const std::string list = files.out.substr(pair.expectedHeading().size());
    const auto shell = [&](const std::string &command) {
        return runProgram("/bin/bash", {"-c", "cd " + pair.temp.path("") + " && " + command});
    };
    const std::string program = REGCMP_TSR_PROGRAM;
    const auto expect = [&](const RunResult &result) {
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.status, 1);
        ASSERT_GT(result.out.size(), list.size());
        EXPECT_EQ(result.out.substr(result.out.size() - list.size()), list);
    };
    expect(shell(program + " <(cat good) <(cat bad)"));
    expect(shell(program + " good <(dd if=bad bs=1000003 status=none)"));
    expect(shell("cat good | " + program + " /dev/stdin bad"));
    expect(shell(program + " good /dev/stdin <bad"));
    expect(shell("cat bad | " + program + " <(cat good) /dev/stdin"));
    EXPECT_EQ(shell(program + " <(cat good) <(cat good)").status, 0);

    const RunResult brief = shell("head -c 39752523 bad | " + program + " good /dev/stdin");
    EXPECT_EQ(brief.err, "/dev/stdin: too short for a dump: 39752523 bytes of 39752524\n");
    EXPECT_EQ(brief.status, 2);
    const RunResult empty = shell("true | " + program + " /dev/stdin bad");
    EXPECT_EQ(empty.err, "/dev/stdin: too short for a dump: 0 bytes of 39752524\n");
    EXPECT_EQ(empty.status, 2);
}

TEST(RegcmpTsr, PipesMayBeSlowAndGiveLittleAtATime) {
    Pair pair;
    pair.bad.set("ftc_cntl", 42).set("tfe_tcam[360447].w3", 3);
    pair.run();
    const std::string fifo = pair.temp.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string bytes = readFile(pair.temp.path("bad"));
    std::thread writer([&] {
        const int fd = open(fifo.c_str(), O_WRONLY);
        // The header in pieces, then the image in odd pieces with a pause now and then.
        size_t at = 0;
        for (unsigned i = 0; at < bytes.size(); ++i) {
            const size_t size = std::min<size_t>(bytes.size() - at, i < 12 ? 3 : 65521);
            ASSERT_EQ(write(fd, bytes.data() + at, size), static_cast<ssize_t>(size));
            at += size;
            if (i < 12 || i % 100 == 0)
                usleep(2000);
        }
        close(fd);
    });
    const RunResult result = compare(pair.temp.path("good"), fifo);
    writer.join();
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, heading(pair.temp.path("good"), fifo) +
                              "0x00001008:  0x00000000  0x0000002a  ftc_cntl\n"
                              "0x0557fffc:  0x00000000  0x00000003  tfe_tcam[360447].w3\n");
    EXPECT_EQ(result.status, 1);
}

TEST(RegcmpTsr, RandomDumpsGiveEveryWord) {
    Pair pair;
    pair.good.randomise(10);
    pair.bad.randomise(11);
    pair.good.write(pair.temp.path("good"));
    pair.bad.write(pair.temp.path("bad"));
    Checker checker(pair.good.dump(), pair.bad.dump());
    RunOptions options;
    options.on_output = [&](const char *text, size_t size) { checker.take(text, size); };
    const RunResult result = compare(pair.temp.path("good"), pair.temp.path("bad"), options);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(checker.head(), pair.expectedHeading());
    EXPECT_GT(checker.finish(), 9900000u); // all but the few that are equal by chance
}

TEST(RegcmpTsr, FewDifferencesOfRandomDumpsAreFound) {
    Pair pair;
    pair.good.randomise(20);
    pair.bad.randomise(20);
    RandomWords random(21);
    std::set<uint32_t> changed;
    for (int i = 0; i < 20000; ++i) {
        const auto off = static_cast<uint32_t>(4 * (random() % (TSR_DUMP_SIZE / 4)));
        pair.bad.dump().setWord(off, pair.good.dump().word(off) ^ (1u << random() % 32));
        if (!isRoom(off))
            changed.insert(off);
    }
    pair.good.write(pair.temp.path("good"));
    pair.bad.write(pair.temp.path("bad"));
    const RunResult result = compare(pair.temp.path("good"), pair.temp.path("bad"));
    EXPECT_EQ(result.status, 1);
    Checker checker(pair.good.dump(), pair.bad.dump());
    checker.take(result.out.data(), result.out.size());
    EXPECT_EQ(checker.finish(), changed.size());
}

TEST(RegcmpTsr, TheDifferencesMakeTheSecondDumpOfTheFirst) {
    Pair pair;
    pair.good.randomise(30);
    pair.bad.randomise(30);
    pair.bad.set("rte_scratch_pad", 1).set("tae_tcam[5].w15", 2).set("ephy_reg[3].rte_prc_pri_map[7]", 3);
    const RunResult result = pair.run();
    ASSERT_EQ(result.status, 1);
    std::string text;
    for (size_t at = result.out.find("\n0x"); at != result.out.npos && at + 1 < result.out.size();
         at = result.out.find("\n0x", at + 1)) {
        const size_t end = result.out.find('\n', at + 1);
        const std::string line = result.out.substr(at + 1, end - at - 1);
        text += line.substr(0, 11) + line.substr(25) + "\n";
    }
    const std::string change = pair.temp.file("change.reg", text);
    const std::string again = pair.temp.path("again");
    const RunResult assembled = runProgram(REGENC_TSR_PROGRAM, {again, change, "from", pair.temp.path("good")});
    ASSERT_EQ(assembled.status, 0) << assembled.err;
    EXPECT_TRUE(readFile(again) == readFile(pair.temp.path("bad")));
}

// ---------------------------------------------------------------------------------------------------------- trouble

TEST(RegcmpTsr, UsageWithoutTwoFiles) {
    const std::string usage = std::string("Usage: ") + REGCMP_TSR_PROGRAM + " <dump1> <dump2>\n";
    for (const std::vector<std::string> &args :
         {std::vector<std::string>{}, std::vector<std::string>{"a"}, std::vector<std::string>{"a", "b", "c"}}) {
        const RunResult result = runProgram(REGCMP_TSR_PROGRAM, args);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, usage);
        EXPECT_EQ(result.status, 2);
    }
}

TEST(RegcmpTsr, HelpAndVersion) {
    const std::string usage = std::string("Usage: ") + REGCMP_TSR_PROGRAM + " <dump1> <dump2>\n\n";
    for (const std::vector<std::string> &args : {std::vector<std::string>{"-h"}, std::vector<std::string>{"--help"},
                                                 std::vector<std::string>{"a", "--help"}}) {
        const RunResult result = runProgram(REGCMP_TSR_PROGRAM, args);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out.substr(0, usage.size()), usage);
        for (const char *word : {"--help", "--version", "exit status"})
            EXPECT_NE(result.out.find(word, usage.size()), result.out.npos) << word;
        EXPECT_EQ(result.err, "");
    }
    const RunResult result = runProgram(REGCMP_TSR_PROGRAM, {"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, std::string("regcmp_tsr ") + REGDUMP_VERSION + "\n");
    EXPECT_EQ(result.err, "");
    RunOptions full;
    full.stdout_path = "/dev/full";
    const RunResult lost = runProgram(REGCMP_TSR_PROGRAM, {"--help"}, full);
    EXPECT_EQ(lost.status, 2);
    EXPECT_EQ(lost.err, "standard output: cannot write (No space left on device)\n");
}

TEST(RegcmpTsr, UnknownOptionsAreTrouble) {
    const TempDir temp;
    RunResult result = runProgram(REGCMP_TSR_PROGRAM, {"--quiet\x1b", "a", "b"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "regcmp_tsr: unknown option '--quiet\\x1b', see --help\n");
    EXPECT_EQ(result.status, 2);
    // A file of such a name can be given all the same.
    DumpBuilder().write(temp.path("--help"));
    for (const char *args : {"./--help ./--help", "-- --help --help"}) {
        result = runProgram("/bin/sh", {"-c", "cd " + temp.path("") + " && exec " REGCMP_TSR_PROGRAM " " + args});
        EXPECT_EQ(result.status, 0) << result.err;
    }
}

TEST(RegcmpTsr, FilesThatCannotBeReadAreTrouble) {
    const TempDir temp;
    const std::string good = temp.path("good");
    const std::string none = temp.path("none");
    DumpBuilder().write(good);
    for (const auto &[file1, file2] : {std::pair(good, none), std::pair(none, good)}) {
        const RunResult result = compare(file1, file2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, none + ": cannot open (No such file or directory)\n");
        EXPECT_EQ(result.status, 2);
    }
    const std::string brief = temp.file("brief", std::string(31, '\0'));
    RunResult result = compare(good, brief);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, brief + ": too short for a dump: 31 bytes of 39752524\n");
    EXPECT_EQ(result.status, 2);
    const std::string cut = temp.file("cut", readFile(good));
    ASSERT_EQ(truncate(cut.c_str(), 32 + 39752492 - 1), 0);
    for (const auto &[file1, file2] : {std::pair(good, cut), std::pair(cut, good)}) {
        result = compare(file1, file2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, cut + ": too short for a dump: 39752523 bytes of 39752524\n");
        EXPECT_EQ(result.status, 2);
    }
}

TEST(RegcmpTsr, BothHeadersAreChecked) {
    const TempDir temp;
    const std::string good = temp.path("good");
    DumpBuilder().write(good);
    const struct {
        const char *field;
        uint32_t value;
        const char *err;
    } cases[] = {
        {"vendor_id", 0x7e50,
         "no dump of a Tessara of revision 2 or later: vendor_id 0x7e50, chip_id 0x0020, chip_ver 2\n"},
        {"chip_id", 31, "no dump of a Tessara of revision 2 or later: vendor_id 0x7e51, chip_id 0x001f, chip_ver 2\n"},
        {"chip_ver", 1, "no dump of a Tessara of revision 2 or later: vendor_id 0x7e51, chip_id 0x0020, chip_ver 1\n"},
        {"ver", 2, "dump header ver (2) not current (1)\n"},
    };
    for (const auto &c : cases) {
        const std::string bad = temp.path("bad");
        DumpBuilder().set(std::string("header.") + c.field, c.value).write(bad);
        for (const auto &[file1, file2] : {std::pair(good, bad), std::pair(bad, good)}) {
            const RunResult result = compare(file1, file2);
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(result.err, bad + ": " + c.err);
            EXPECT_EQ(result.status, 2);
        }
    }
}

TEST(RegcmpTsr, TheChipIsCheckedBeforeTheVersionAndTheSize) {
    const TempDir temp;
    DumpBuilder().set("header.ver", 2).set("header.chip_id", 3).write(temp.path("d"));
    ASSERT_EQ(truncate(temp.path("d").c_str(), 32), 0);
    const RunResult result = compare(temp.path("d"), temp.path("d"));
    EXPECT_EQ(result.err, temp.path("d") + ": no dump of a Tessara of revision 2 or later: vendor_id 0x7e51, "
                                           "chip_id 0x0003, chip_ver 2\n");
    EXPECT_EQ(result.status, 2);
}

TEST(RegcmpTsr, OutputThatIsLostIsTrouble) {
    Pair pair;
    pair.run();
    RunOptions options;
    options.stdout_path = "/dev/full";
    RunResult result = compare(pair.temp.path("good"), pair.temp.path("bad"), options);
    EXPECT_EQ(result.err, "standard output: cannot write (No space left on device)\n");
    EXPECT_EQ(result.status, 2);
    pair.good.randomise(1); // more output than any buffer takes
    pair.run();
    result = compare(pair.temp.path("good"), pair.temp.path("bad"), options);
    EXPECT_EQ(result.err, "standard output: cannot write\n"); // the reason is gone by then
    EXPECT_EQ(result.status, 2);
}

TEST(RegcmpTsr, MissingMemoryIsTrouble) {
#if TEST_HAS_ASAN
    GTEST_SKIP() << "needs more memory than the test gives";
#endif
    Pair pair;
    pair.run();
    RunOptions options;
    options.data_limit = 60 * 1000 * 1000; // one dump, but not two
    const RunResult result = compare(pair.temp.path("good"), pair.temp.path("bad"), options);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, pair.temp.path("bad") + ": not enough memory\n");
    EXPECT_EQ(result.status, 2);
}

TEST(RegcmpTsr, NamesAreShownHarmlessly) {
    const TempDir temp;
    const std::string hostile = "a\x1b[31m\n\u00fc";
    const std::string shown = "a\\x1b[31m\\x0a\u00fc";
    DumpBuilder().write(temp.path(hostile));
    EXPECT_EQ(compare(temp.path(hostile), temp.path(hostile)).out, heading(temp.path(shown), temp.path(shown)));
    EXPECT_EQ(compare(temp.path(hostile), temp.path("no\r")).err,
              temp.path("no\\x0d") + ": cannot open (No such file or directory)\n");
    const std::string none = "/" + std::string(100000, 'n') + "/file";
    EXPECT_EQ(compare(none, none).err,
              none.substr(0, 256) + "..." + none.substr(none.size() - 256) + ": cannot open (File name too long)\n");
    EXPECT_EQ(compare(temp.path(""), temp.path("")).err, temp.path("") + ": cannot read (Is a directory)\n");
}
