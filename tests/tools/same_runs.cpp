// Runs two builds of `regdec_tsr` on the same dumps and frames by chance and compares all that they write, and their
// exit statuses. tools/same.sh builds the two and calls this.
//
//     same_runs <base program> <program> <count> <seed> <folder for findings>
//
// Ends with status 0 when all runs are equal, 1 when some differ, 2 when it cannot do its job.

#include "dump_builder.h"
#include "frame_words.h"
#include "random_chip.h"
#include "temp_dir.h"
#include "tsr_reg.h"
#include "tsr_reg_dump.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <poll.h>
#include <regex>
#include <set>
#include <spawn.h>
#include <sstream>
#include <string_view>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

extern char **environ;

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<std::string>;

constexpr uint32_t kRunsPerChip = 25;
constexpr size_t kShim = 24;
constexpr size_t kMaxFrame = 250;

[[noreturn]] void fail(const std::string &what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

/// ---- Running a program ------------------------------------------------------------------------------------------

class Fd {
public:
    explicit Fd(int fd, const char *what) : fd_(fd) {
        if (fd < 0)
            fail(what);
    }
    ~Fd() { close(); }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    operator int() const { return fd_; }
    void close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
};

/// Starts `program` with its output on the two descriptors. Both builds get the same name, which usage lines print.
pid_t start(const std::string &program, const Words &args, int out, int err) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    std::string name = "regdec_tsr";
    std::vector<char *> argv{name.data()};
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error(program + ": " + std::strerror(error));
    return pid;
}

/// Waits for the end of a program, at most a minute. Returns its status in words.
std::string statusOf(pid_t pid) {
    constexpr int kMinute = 60 * 1000;
    const Fd watch(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)), "pidfd_open");
    pollfd ended{watch, POLLIN, 0};
    if (poll(&ended, 1, kMinute) == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return "still running after a minute";
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        fail("waitpid");
    return WIFEXITED(status) ? "exit status " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

struct Output {
    std::string out, err, status;

    bool operator==(const Output &) const = default;
};

std::string contents(int fd) {
    struct stat info;
    if (fstat(fd, &info) != 0)
        fail("fstat");
    std::string text(static_cast<size_t>(info.st_size), '\0');
    if (pread(fd, text.data(), text.size(), 0) != info.st_size)
        fail("pread");
    return text;
}

Output run(const std::string &program, const Words &args) {
    const Fd out(memfd_create("out", MFD_CLOEXEC), "memfd_create");
    const Fd err(memfd_create("err", MFD_CLOEXEC), "memfd_create");
    Output result;
    result.status = statusOf(start(program, args, out, err));
    result.out = contents(out);
    result.err = contents(err);
    return result;
}

/// Takes the line numbers out of the messages of an abort, of an error and of a failed assertion.
void maskLineNumbers(Output &output) {
    static const std::regex abortPlace(R"((^|\n)(@[\w.]+):\d+,)");
    static const std::regex assertPlace(R"((^|\n)([\w.]+\.(?:cpp|h)):\d+:)");
    static const std::regex errorPlace(R"((\[(?:PANIC|ERROR\d+|WRN|DBG)@[\w.]+):\d+,)");
    output.out = std::regex_replace(output.out, abortPlace, "$1$2:*,");
    output.out = std::regex_replace(output.out, errorPlace, "$1:*,");
    output.err = std::regex_replace(output.err, assertPlace, "$1$2:*:");
}

/// The first line in which two texts differ, in words; nothing when they are equal.
std::string textDifference(const char *stream, const std::string &base, const std::string &tree) {
    std::istringstream baseLines(base), treeLines(tree);
    std::string baseLine, treeLine;
    for (size_t number = 1;; number++) {
        const bool hasBase = static_cast<bool>(std::getline(baseLines, baseLine));
        const bool hasTree = static_cast<bool>(std::getline(treeLines, treeLine));
        if (!hasBase && !hasTree)
            return base == tree ? "" : std::string(stream) + ": the last line ends differently\n";
        if (hasBase == hasTree && baseLine == treeLine)
            continue;
        return std::string(stream) + ", line " + std::to_string(number) +
               ":\n  base: " + (hasBase ? baseLine : "(no such line)") +
               "\n  tree: " + (hasTree ? treeLine : "(no such line)") + "\n";
    }
}

/// What differs, in words; nothing when only the masked line numbers do.
std::string difference(Output base, Output tree) {
    if (base == tree)
        return "";
    maskLineNumbers(base);
    maskLineNumbers(tree);
    std::string words =
        textDifference("standard output", base.out, tree.out) + textDifference("standard error", base.err, tree.err);
    if (base.status != tree.status)
        words += "end:\n  base: " + base.status + "\n  tree: " + tree.status + "\n";
    return words;
}

/// Compares listings, of half a gigabyte each, as they come. Returns what differs, in words.
std::string listingDifference(const std::string &basePath, const std::string &treePath, const Words &args) {
    struct Side {
        explicit Side(const std::string &program, const Words &args) : err(memfd_create("err", MFD_CLOEXEC), "memfd") {
            int ends[2];
            if (pipe2(ends, O_CLOEXEC) != 0)
                fail("pipe2");
            in = ends[0];
            const Fd out(ends[1], "pipe2");
            pid = start(program, args, out, err);
        }
        ~Side() { ::close(in); }
        /// Fills the buffer, less only at the end.
        size_t read(std::vector<char> &buf) const {
            size_t size = 0;
            for (ssize_t count; (count = ::read(in, buf.data() + size, buf.size() - size)) > 0;)
                size += static_cast<size_t>(count);
            return size;
        }

        int in = -1;
        Fd err;
        pid_t pid = -1;
    };
    constexpr size_t kPiece = 1 << 20;
    Side base(basePath, args), tree(treePath, args);
    std::vector<char> baseBuf(kPiece), treeBuf(kPiece);
    std::string words;
    for (size_t at = 0;;) {
        const size_t baseSize = base.read(baseBuf);
        const size_t treeSize = tree.read(treeBuf);
        const auto [b, t] = std::mismatch(baseBuf.begin(), baseBuf.begin() + static_cast<ptrdiff_t>(baseSize),
                                          treeBuf.begin(), treeBuf.begin() + static_cast<ptrdiff_t>(treeSize));
        const size_t same = static_cast<size_t>(b - baseBuf.begin());
        if (words.empty() && (same != baseSize || same != treeSize))
            words = "listing differs at byte " + std::to_string(at + same) + "\n";
        if (baseSize == 0 && treeSize == 0)
            break;
        at += baseSize;
    }
    Output baseEnd, treeEnd;
    baseEnd.status = statusOf(base.pid);
    treeEnd.status = statusOf(tree.pid);
    baseEnd.err = contents(base.err);
    treeEnd.err = contents(tree.err);
    return words + difference(baseEnd, treeEnd);
}

/// ---- Verdicts ---------------------------------------------------------------------------------------------------

/// The frame's kind by its headers, as far as a plain look shows it.
std::string kindOf(const Bytes &frame) {
    size_t at = 12;
    std::string kind;
    while (at + 2 <= frame.size()) {
        const uint32_t type = static_cast<uint32_t>(frame[at] << 8 | frame[at + 1]);
        switch (type) {
        case 0x8100:
        case 0x88a8:
        case 0x22e9:
            at += 4;
            break;
        case 0x22f3:
            if (!kind.empty() || at + 4 > frame.size())
                return kind + "TRILL";
            kind = "TRILL, ";
            at += 8 + 4 * ((static_cast<uint32_t>(frame[at + 2] << 8 | frame[at + 3]) >> 6) & 31) + 12;
            break;
        case 0x0800:
            return kind + "IPv4";
        case 0x86dd:
            return kind + "IPv6";
        case 0x8906:
            return kind + "FCoE";
        default:
            return kind + "other";
        }
    }
    return kind + "other";
}

/// The verdict on a frame, from what a run says about it.
std::string verdictOf(const Output &run, bool fabric, const Bytes &frame) {
    const auto has = [&](const char *text) { return run.out.find(text) != std::string::npos; };
    const std::string road = fabric ? "fabric: " : "port:   ";
    const auto restOfLine = [](const std::string &text, size_t at, char end) {
        return text.substr(at, text.find(end, at) - at);
    };
    if (has("C MODEL CAN NOT PREDICT"))
        return road + "ended by the model in " + restOfLine(run.out, run.out.find("\n@") + 2, ':');
    if (run.status != "exit status 0")
        return road + run.status + ", " + restOfLine(run.err, 0, ':');
    if (const size_t at = run.out.find("\n\tDRP_"); at != std::string::npos)
        return road + "dropped, " + restOfLine(run.out, at + 2, ':');
    if (has("reason code"))
        return road + "dropped, reason without a name";
    if (has("DROP\n"))
        return road + "dropped without a reason";
    const size_t at = run.out.find("Output_frame ");
    if (at == std::string::npos)
        return road + "trapped";
    const std::string kind = kindOf(frame);
    if (fabric) {
        size_t fragments = 0;
        for (size_t next = at; next != std::string::npos; next = run.out.find("Output_frame ", next + 1))
            fragments++;
        return road + (fragments > 2 ? "sent in fragments, " : "sent, ") + kind;
    }
    const char *trapped = has("!!! RTE trapped packet") ? "trapped and " : "";
    // Only a verbose run says what the model has taken the frame for.
    const size_t said = run.out.find("RTE routed: ");
    if (said == std::string::npos)
        return road + "forwarded in a quiet run, " + kind;
    static const char *const kinds[] = {"routed, IPv4",   "routed, IPv6",   "routed, FCoE VF", "routed, FCoE VE",
                                        "switched, IPv4", "switched, IPv6", "switched, FCoE",  "switched, other"};
    const size_t number = static_cast<size_t>(run.out[said + std::strlen("RTE routed: ")] - '0') % std::size(kinds);
    return road + trapped + kinds[number] + (kind.starts_with("TRILL") ? ", in TRILL" : "");
}

/// ---- Dumps and frames -------------------------------------------------------------------------------------------

/// A frame of a configuration as its command line has it.
struct Sent {
    std::string port;
    Bytes bytes;
};

Words linesOf(const fs::path &path) {
    std::istringstream in(readFile(path.string()));
    Words lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// A written configuration, and the frame that is sent to it.
struct Config {
    Words files;
    Sent sent;

    bool fabric() const { return std::strtol(sent.port.c_str(), nullptr, 0) >= TSR_PORTS; }
};

/// The frame of an end-to-end case: `arg` is its digits, or says that the case has it in words.
Bytes frameOf(const fs::path &folder, const std::string &arg) {
    if (arg == "@FRAME@")
        return frameOfWords(readFile((folder / "frame").string()));
    Bytes bytes;
    for (size_t at = 0; at + 1 < arg.size(); at += 2)
        bytes.push_back(static_cast<uint8_t>(std::strtoul(arg.substr(at, 2).c_str(), nullptr, 16)));
    return bytes;
}

/// The configurations of the end-to-end cases that route a frame.
std::vector<Config> configs() {
    const fs::path root = TSR_SOURCE_DIR;
    std::vector<Config> result;
    std::set<fs::path> folders;
    for (const auto &entry : fs::directory_iterator(root / "tests/golden")) {
        if (fs::exists(entry.path() / "dump.reg"))
            folders.insert(entry.path());
    }
    for (const fs::path &folder : folders) {
        const Words args = linesOf(folder / "args");
        if (args.size() < 6)
            continue;
        Config config;
        config.sent.port = args[3];
        config.sent.bytes = frameOf(folder, args[5]);
        if (fs::exists(folder / "dump.inc")) {
            for (const std::string &include : linesOf(folder / "dump.inc"))
                config.files.push_back((root / "tests/golden" / include).string());
        }
        config.files.push_back((folder / "dump.reg").string());
        result.push_back(config);
    }
    return result;
}

/// The words of an image that a change may matter for.
class Places {
public:
    explicit Places(const DumpBuilder &dump) {
        const uint8_t *image = reinterpret_cast<const uint8_t *>(dump.image());
        for (uint32_t at = 0; at < TSR_DUMP_SIZE; at += 4) {
            uint32_t word;
            std::memcpy(&word, image + at, sizeof word);
            if (word != 0 && word != UINT32_MAX)
                set_.push_back(at);
        }
        constexpr uint32_t kLargestRegister = 32;
        for (const regdump_map_t *row = tsr_dmp_map; row->name != nullptr; ++row) {
            const uint32_t size = regdump_mapp_get_size(row);
            if ((row->flags & REGDUMP_FLAGS_NO_DUMP) || (row->child == nullptr && size > kLargestRegister))
                continue;
            for (uint32_t at = 0; at < size; at += 4)
                (row->child == nullptr ? registers_ : groups_).push_back(row->dump_offset + at);
        }
    }

    /// A word that is set, or a neighbour of one, or a register.
    template <typename Random> uint32_t any(Random &random) const {
        const uint64_t choice = random() % 10;
        if (choice < 3)
            return registers_[random() % registers_.size()];
        if (choice < 5 || set_.empty())
            return groups_[random() % groups_.size()];
        const uint32_t at = set_[random() % set_.size()];
        if (choice < 9)
            return at;
        return std::min<uint32_t>(at + 4 * static_cast<uint32_t>(random() % 32), TSR_DUMP_SIZE - 4);
    }

private:
    std::vector<uint32_t> set_, registers_, groups_;
};

/// A dump file that changes back.
class DumpFile {
public:
    DumpFile(DumpBuilder &dump, const std::string &path) : dump_(dump), path_(path) { dump.write(path); }

    void change(uint32_t place, uint32_t value) {
        before_.push_back({place, dump_.dump().word(place)});
        put(place, value);
    }
    void changeBack() {
        for (auto word = before_.rbegin(); word != before_.rend(); ++word)
            put(word->first, word->second);
        before_.clear();
    }
    uint32_t word(uint32_t place) const { return dump_.dump().word(place); }
    const std::string &path() const { return path_; }

private:
    void put(uint32_t place, uint32_t value) {
        dump_.dump().setWord(place, value);
        const Fd file(open(path_.c_str(), O_WRONLY | O_CLOEXEC), "open");
        const uint32_t bytes = htonl(value);
        if (pwrite(file, &bytes, sizeof bytes, static_cast<off_t>(sizeof(asic_dump_hdr_t) + place)) != sizeof bytes)
            fail("pwrite");
    }

    DumpBuilder &dump_;
    std::string path_;
    std::vector<std::pair<uint32_t, uint32_t>> before_;
};

/// The chip of one number: its dump and its frames.
class ChipRuns {
public:
    ChipRuns(const std::vector<Config> &configs, uint64_t seed, uint64_t number, const std::string &path)
        : random_(seed * 1000003 + number), maker_(random_()), configs_(configs) {
        // Three of ten chips are by chance, one has the sample's configuration, six that of an end-to-end case.
        const uint64_t kind = number % 10;
        if (kind < 3) {
            randomChip(dump_, random_());
        } else {
            config_ = &configs[(number / 10 * 7 + kind) % configs.size()];
            if (kind == 3) {
                dump_.file(TSR_SOURCE_DIR "/samples/switch.reg");
            } else {
                for (const std::string &file : config_->files)
                    dump_.file(file);
            }
            places_.emplace(dump_);
        }
        file_.emplace(dump_, path);
    }

    /// The next frame's port and bytes; the dump file is ready for it.
    Sent next() {
        file_->changeBack();
        return config_ == nullptr ? byChance() : ofConfig();
    }
    const std::string &path() const { return file_->path(); }

private:
    Sent byChance() {
        if (maker_.chance(30))
            return {std::to_string(12 + maker_.below(3)), maker_.fabricFrame(dump_)};
        return {std::to_string(maker_.below(TSR_PORTS)), maker_.frame()};
    }

    Sent ofConfig() {
        Sent sent = config_->sent;
        if (maker_.chance(25)) // another frame on the same road
            sent = otherFrame(config_->fabric());
        if (!config_->fabric() && maker_.chance(25))
            sent.port = std::to_string(maker_.below(TSR_PORTS));
        if (maker_.chance(5))
            sent.bytes = config_->fabric() ? maker_.fabricFrame(dump_) : maker_.frame();
        for (uint32_t n = maker_.chance(50) ? 0 : maker_.below(4); n > 0; n--)
            mutate(sent.bytes);
        for (uint32_t n = maker_.chance(20) ? 0 : 1 + maker_.below(maker_.chance(30) ? 60 : 6); n > 0; n--)
            changeWord();
        return sent;
    }

    Sent otherFrame(bool fabric) {
        for (;;) {
            const Config &other = configs_[random_() % configs_.size()];
            if (other.fabric() == fabric)
                return other.sent;
        }
    }

    void mutate(Bytes &bytes) {
        if (bytes.empty())
            return;
        const size_t at =
            maker_.chance(70) ? random_() % std::min<size_t>(bytes.size(), kShim + 60) : random_() % bytes.size();
        const uint32_t how = maker_.below(20);
        if (how < 9)
            bytes[at] ^= static_cast<uint8_t>(1 << maker_.below(8));
        else if (how < 15)
            bytes[at] = static_cast<uint8_t>(random_());
        else if (how < 17)
            bytes[at] = maker_.chance(50) ? 0 : 0xff;
        else if (how == 17)
            bytes.resize(at);
        else if (how == 18)
            bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(at), {0x81, 0, 0, static_cast<uint8_t>(random_())});
        else
            bytes.resize(std::min(kMaxFrame, bytes.size() + maker_.below(100)), 0x5a);
    }

    void changeWord() {
        const uint32_t place = places_->any(random_);
        const uint32_t word = file_->word(place);
        const uint32_t how = maker_.below(10);
        const uint32_t bit = uint32_t{1} << maker_.below(32);
        file_->change(place, how < 6   ? word ^ bit
                             : how < 8 ? static_cast<uint32_t>(random_())
                             : how < 9 ? 0
                                       : UINT32_MAX);
    }

    std::mt19937_64 random_;
    FrameMaker maker_;
    const std::vector<Config> &configs_;
    const Config *config_ = nullptr;
    DumpBuilder dump_;
    std::optional<Places> places_;
    std::optional<DumpFile> file_;
};

/// ---- The whole comparison ---------------------------------------------------------------------------------------

class Comparison {
public:
    Comparison(std::string base, std::string tree, uint64_t seed, std::string folder)
        : base_(std::move(base)), tree_(std::move(tree)), seed_(seed), folder_(std::move(folder)) {}

    void routes(uint64_t count) {
        std::vector<Config> all = configs();
        std::shuffle(all.begin(), all.end(), std::mt19937_64(seed_));
        const uint64_t chips = (count + kRunsPerChip - 1) / kRunsPerChip;
        std::atomic<uint64_t> nextChip = 0;
        const auto work = [&](unsigned worker) {
            try {
                const std::string path = temp_.path("chip" + std::to_string(worker) + ".dmp");
                for (uint64_t chip; (chip = nextChip++) < chips;)
                    routesOf(all, chip, std::min<uint64_t>(kRunsPerChip, count - chip * kRunsPerChip), path);
            } catch (const std::exception &error) {
                const std::lock_guard lock(mutex_);
                trouble_ = error.what();
                nextChip = chips;
            }
        };
        std::vector<std::thread> workers;
        for (unsigned worker = 0; worker < std::max(1u, std::thread::hardware_concurrency()); worker++)
            workers.emplace_back(work, worker);
        for (std::thread &worker : workers)
            worker.join();
        if (isatty(STDERR_FILENO))
            std::fputc('\n', stderr);
        if (!trouble_.empty())
            throw std::runtime_error(trouble_);
    }

    void listings() {
        for (int i = 0; i < 2; i++) {
            DumpBuilder dump;
            if (i == 0)
                dump.file(TSR_SOURCE_DIR "/samples/switch.reg");
            else
                randomChip(dump, seed_);
            dump.hdr().epoch_usec = 7;
            const std::string path = temp_.path("listing.dmp");
            dump.write(path);
            note({path}, path, 0, listingDifference(base_, tree_, {path}));
        }
    }

    /// Command lines and dumps that are wrong or unusual.
    void errorRoads() {
        DumpBuilder dump;
        dump.file(TSR_SOURCE_DIR "/samples/switch.reg");
        const std::string good = temp_.path("good.dmp");
        dump.write(good);
        const std::string all = readFile(good);
        const std::string frame = "0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f";
        const Words asked{"route", "port", "1", "frame", frame};

        Words dumps{temp_.path("none.dmp"),
                    "/",
                    "",
                    temp_.file("empty.dmp", ""),
                    temp_.file("half_header.dmp", all.substr(0, 17)),
                    temp_.file("header.dmp", all.substr(0, 32)),
                    temp_.file("cut.dmp", all.substr(0, all.size() - 1)),
                    temp_.file("long.dmp", all + "more")};
        for (size_t at = 0; at < sizeof(asic_dump_hdr_t); at += 4) {
            for (int value : {1, 0x80}) {
                std::string changed = all;
                changed[at + 3] = static_cast<char>(changed[at + 3] ^ value);
                dumps.push_back(temp_.file("header" + std::to_string(at) + "_" + std::to_string(value), changed));
            }
        }
        one({});
        for (const std::string &path : dumps) {
            Words args{path};
            if (path.empty() || fs::file_size(path, ignored_) < sizeof(asic_dump_hdr_t))
                one(args);
            args.insert(args.end(), asked.begin(), asked.end());
            one(args);
            args.push_back("topspin");
            one(args);
            args.resize(3);
            one(args);
        }
        for (size_t words = 1; words < asked.size(); words++) {
            Words args{good};
            args.insert(args.end(), asked.begin(), asked.begin() + static_cast<ptrdiff_t>(words));
            one(args);
        }
        const std::string fabric(48, '0');
        for (const char *route : {"route", "rout", "routes", ""}) {
            for (const char *port : {"port", "p", "", "ports", "x"})
                one({good, route, port, "1", "frame", frame});
        }
        for (const char *port :
             {"0", "11", "12", "13", "0xb", "0xc", "013", "-1", "4294967297", "", "x", "1x", "99999999999999999999"})
            one({good, "route", "port", port, "frame", frame});
        for (const char *word : {"frame", "f", "", "frames", "g"})
            one({good, "route", "port", "1", word, frame});
        for (const std::string &bytes : {std::string(), std::string("0"), std::string("02"), frame + "1", "0x" + frame,
                                         "zz" + frame, std::string("02:00:00:00:00:b2 0200-0000-00A1 9000"),
                                         std::string(500, 'a'), std::string(501, 'a'), std::string(499, '1'), fabric,
                                         fabric.substr(1), fabric + "00", fabric + frame, std::string("not a frame")}) {
            for (const char *port : {"1", "12"}) {
                one({good, "route", "port", port, "frame", bytes});
                one({good, "route", "port", port, "frame", bytes, "topspin"});
            }
        }
        for (const Words &rest :
             {Words{"topspin"}, Words{"topspins"}, Words{"topspi"}, Words{""}, Words{"rxvc"}, Words{"r"},
              Words{"rxvc", "1"}, Words{"rxvc", "1", "topspin"}, Words{"", "", "topspin"},
              Words{"rxvc", "1", "topspin2"}, Words{"rxvc", "1", "top"}, Words{"topspin", "more"},
              Words{"rxvc", "1", "topspin", "more"}, Words{"rxvcs", "1", "topspin"}}) {
            Words args{good};
            args.insert(args.end(), asked.begin(), asked.end());
            args.insert(args.end(), rest.begin(), rest.end());
            one(args);
        }
    }

    /// Says what was found. Returns the exit status.
    int report() const {
        std::printf("Verdicts on %llu frames:\n", static_cast<unsigned long long>(done_));
        for (const auto &[verdict, count] : verdicts_)
            std::printf("%8llu  %s\n", static_cast<unsigned long long>(count), verdict.c_str());
        std::printf("%llu runs compared, among them %llu of error roads and listings; %llu differ\n",
                    static_cast<unsigned long long>(compared_), static_cast<unsigned long long>(compared_ - done_),
                    static_cast<unsigned long long>(different_));
        if (different_ != 0)
            std::printf("The first difference:\n%s", first_.c_str());
        return different_ == 0 ? 0 : 1;
    }

private:
    void routesOf(const std::vector<Config> &all, uint64_t chip, uint64_t runs, const std::string &path) {
        ChipRuns source(all, seed_, chip, path);
        std::map<std::string, uint64_t> verdicts;
        for (uint64_t i = 0; i < runs; i++) {
            const Sent sent = source.next();
            Words args{path, "route", "port", sent.port, "frame", hexDigits(sent.bytes)};
            if (i % 2)
                args.push_back("topspin");
            const Output base = run(base_, args);
            const Output tree = run(tree_, args);
            const bool fabric = static_cast<uint32_t>(std::strtol(sent.port.c_str(), nullptr, 0)) >= TSR_PORTS;
            Bytes frame = sent.bytes;
            if (fabric)
                frame.erase(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(std::min(kShim, frame.size())));
            verdicts[verdictOf(base, fabric, frame)]++;
            note(args, path, 1 + chip * kRunsPerChip + i, difference(base, tree));
        }
        const std::lock_guard lock(mutex_);
        for (const auto &[verdict, count] : verdicts)
            verdicts_[verdict] += count;
        done_ += runs;
        if (isatty(STDERR_FILENO))
            std::fprintf(stderr, "\r%llu frames, %llu differences", static_cast<unsigned long long>(done_),
                         static_cast<unsigned long long>(different_));
    }

    void one(const Words &args) {
        const std::string words = difference(run(base_, args), run(tree_, args));
        note(args, args.empty() ? "" : args[0], 0, words);
    }

    /// Counts a comparison; of differences, the one with the lowest number is kept, with its dump.
    void note(Words args, const std::string &dump, uint64_t number, const std::string &words) {
        const std::lock_guard lock(mutex_);
        compared_++;
        if (words.empty())
            return;
        if (different_++ != 0 && number >= firstNumber_)
            return;
        firstNumber_ = number;
        const std::string kept = folder_ + "/first.dmp";
        if (fs::is_regular_file(dump, ignored_)) {
            fs::copy_file(dump, kept, fs::copy_options::overwrite_existing);
            args[0] = kept;
        }
        std::string line;
        for (const std::string &arg : args)
            line += arg.empty() || arg.find(' ') != arg.npos ? " '" + arg + "'" : " " + arg;
        first_ = base_ + line + "\n" + tree_ + line + "\n" + words;
    }

    std::string base_, tree_;
    uint64_t seed_;
    std::string folder_;
    TempDir temp_;
    std::mutex mutex_;
    std::map<std::string, uint64_t> verdicts_;
    uint64_t done_ = 0, compared_ = 0, different_ = 0, firstNumber_ = 0;
    std::string first_, trouble_;
    std::error_code ignored_;
};

} // namespace

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fprintf(stderr, "Usage: same_runs <base program> <program> <count> <seed> <folder for findings>\n");
        return 2;
    }
    // A failed assertion leaves no core file. With large pages the programs start in half the time.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    setenv("GLIBC_TUNABLES", "glibc.malloc.hugetlb=1", 1);
    setenv("TZ", "UTC", 1);
    try {
        Comparison comparison(argv[1], argv[2], std::strtoull(argv[4], nullptr, 0), argv[5]);
        comparison.errorRoads();
        comparison.listings();
        comparison.routes(std::strtoull(argv[3], nullptr, 0));
        return comparison.report();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "same_runs: %s\n", error.what());
        return 2;
    }
}
