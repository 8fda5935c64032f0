// The end-to-end cases of tests/golden: each folder is one run of the real program on an assembled dump.

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

#include "frame_words.h"
#include "regenc_tsr.h"
#include "run_program.h"
#include "shim_words.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

static const fs::path GOLDEN = fs::path(TSR_SOURCE_DIR) / "tests/golden";

static std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

/// The file `path`, or nothing when there is none.
static std::string readOptional(const fs::path &path) {
    return fs::exists(path) ? readFile(path.string()) : std::string();
}

static std::string replaced(std::string text, const std::string &what, const std::string &by) {
    for (size_t at = text.find(what); at != text.npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

static std::vector<std::string> cases() {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(GOLDEN)) {
        if (entry.is_directory())
            names.insert(entry.path().filename().string());
    }
    return {names.begin(), names.end()};
}

/// The files that are read before the case's own `dump.reg`, in order.
static std::vector<std::string> includes(const fs::path &folder) {
    std::vector<std::string> paths;
    for (const std::string &include : lines(readOptional(folder / "dump.inc")))
        paths.push_back((GOLDEN / include).string());
    return paths;
}

/// The frame of the case's file `frame` in hexadecimal digits, or nothing when there is none.
static std::string frameOf(const fs::path &folder) {
    if (!fs::exists(folder / "frame"))
        return "";
    try {
        return hexDigits(frameOfWords(readFile((folder / "frame").string())));
    } catch (const std::runtime_error &error) {
        throw std::runtime_error((folder / "frame").string() + ":" + error.what());
    }
}

/// The dump of some texts, in a file. To write the 40 MB for each case would take longer than all else, so that the
/// cases on the same texts change the few blocks that they are about and put them back.
class Ground {
public:
    Ground(const std::vector<std::string> &texts, const std::string &path) : path_(path) {
        std::string error;
        RegencAssembler assembler(base_);
        for (const std::string &text : texts)
            check(assembler.file(text, error), error);
        check(base_.write(path, error) && now_.load(path, error), error);
        fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        check(fd_ >= 0, path + ": cannot open");
    }
    ~Ground() { close(fd_); }
    Ground(const Ground &) = delete;
    Ground &operator=(const Ground &) = delete;

    const std::string &path() const { return path_; }

    /// Lays the text in the file `text` on the ground.
    void change(const std::string &text) {
        std::string error;
        check(assembler_.file(text, error), error);
        for (size_t at = 0; at < sizeof(tsr_dmp_t); at += BLOCK) {
            if (std::memcmp(bytes(base_) + at, bytes(now_) + at, blockSize(at)) != 0) {
                changed_.push_back(at);
                writeBlock(at);
            }
        }
        writeHdr();
    }

    /// The ground as it was.
    void restore() {
        for (const size_t at : changed_) {
            std::memcpy(bytes(now_) + at, bytes(base_) + at, blockSize(at));
            writeBlock(at);
        }
        changed_.clear();
        now_.hdr() = base_.hdr();
        writeHdr();
    }

private:
    static constexpr size_t BLOCK = 4096;

    static void check(bool ok, const std::string &error) {
        if (!ok)
            throw std::runtime_error(error);
    }
    static char *bytes(RegencDump &dump) { return reinterpret_cast<char *>(dump.image()); }
    static size_t blockSize(size_t at) { return std::min(BLOCK, sizeof(tsr_dmp_t) - at); }

    void writeAt(const void *from, size_t size, size_t at) {
        check(pwrite(fd_, from, size, static_cast<off_t>(at)) == static_cast<ssize_t>(size), path_ + ": cannot write");
    }
    void writeBlock(size_t at) { writeAt(bytes(now_) + at, blockSize(at), sizeof(asic_dump_hdr_t) + at); }
    void writeHdr() {
        uint32_t words[sizeof(asic_dump_hdr_t) / 4];
        std::memcpy(words, &now_.hdr(), sizeof words);
        for (uint32_t &word : words)
            word = htonl(word);
        writeAt(words, sizeof words, 0);
    }

    std::string path_;
    int fd_ = -1;
    RegencDump base_;
    RegencDump now_; // what the file holds
    RegencAssembler assembler_{now_};
    std::vector<size_t> changed_; // the blocks in which the two differ
};

class Golden : public testing::TestWithParam<std::string> {
protected:
    void TearDown() override {
        if (ground_ != nullptr)
            ground_->restore();
    }

    /// The path of the case's dump, which is there until the case ends; with no text for one there is no such file.
    std::string dumpOf(const fs::path &folder) {
        static const TempDir temp;
        if (!fs::exists(folder / "dump.reg"))
            return temp.path("none.dmp");
        static std::map<std::vector<std::string>, std::unique_ptr<Ground>> grounds;
        const std::vector<std::string> texts = includes(folder);
        std::unique_ptr<Ground> &found = grounds[texts];
        if (found == nullptr)
            found = std::make_unique<Ground>(texts, temp.path("dump" + std::to_string(grounds.size()) + ".dmp"));
        ground_ = found.get();
        ground_->change((folder / "dump.reg").string());
        return ground_->path();
    }

private:
    Ground *ground_ = nullptr;
};

TEST_P(Golden, Case) {
    const fs::path folder = GOLDEN / GetParam();
    const std::string dump = dumpOf(folder);
    const std::string frame = frameOf(folder);
    const auto filled = [&](const std::string &text) {
        return replaced(replaced(replaced(text, "@DUMP@", dump), "@PROGRAM@", REGDEC_TSR_PROGRAM), "@FRAME@", frame);
    };

    RunOptions options;
    options.env["TZ"] = "UTC";
    const RunResult result =
        runProgram(REGDEC_TSR_PROGRAM, lines(filled(readFile((folder / "args").string()))), options);
    EXPECT_EQ(result.out, filled(readFile((folder / "stdout").string())));
    EXPECT_EQ(std::to_string(result.status) + "\n", readFile((folder / "status").string()));
    EXPECT_EQ(result.err, filled(readOptional(folder / "stderr")));
    for (const std::string &difference : shimDifferences(readOptional(folder / "expect.txt"), result.out))
        ADD_FAILURE() << (folder / "expect.txt").string() << ":" << difference;
}

// A ground with the case's text on it is what the assembler makes of all the texts, also after another case.
TEST(GoldenGround, HoldsWhatTheAssemblerWrites) {
    const TempDir temp;
    const std::vector<std::string> texts{(GOLDEN / "base.reg").string(), (GOLDEN / "switch.reg").string()};
    const std::string change = temp.file("change.reg", "header.chip_ver = 1\nftc_cntl = 42\n");
    Ground ground(texts, temp.path("ground.dmp"));
    ground.change((GOLDEN / "router.reg").string());
    ground.restore();
    ground.change(change);

    const std::string whole = temp.path("whole.dmp");
    const RunResult assembled = runProgram(REGENC_TSR_PROGRAM, {whole, texts[0], texts[1], change});
    ASSERT_EQ(assembled.status, 0) << assembled.err;
    EXPECT_TRUE(readFile(ground.path()) == readFile(whole));
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<std::string> &golden) { return golden.param; });
