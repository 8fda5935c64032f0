#include "regdump_prog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "be_word.h"
#include "regdump_util.h"
#include "tsr_reg_dump.h"

const char REGDUMP_VERSION[] = TSR_PROJECT_VERSION;

// -------------------------------------------------------------------------------------------------- the command line

static std::string usageLine(const RegdumpProgram &program, int argc, char **argv) {
    const std::string name = regdump_shown_file(argc > 0 ? argv[0] : program.name);
    return "Usage: " + name + " " + program.synopsis + "\n";
}

/// Prints `text` on standard output. Returns the exit status.
static int answer(const RegdumpProgram &program, const std::string &text) {
    std::fputs(text.c_str(), stdout);
    return regdump_flush_output() ? 0 : program.trouble;
}

std::optional<int> regdump_take_options(const RegdumpProgram &program, int argc, char **argv,
                                        std::vector<std::string> &operands) {
    bool atEnd = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (atEnd || arg.size() < 2 || arg[0] != '-')
            operands.push_back(arg);
        else if (arg == "--")
            atEnd = true;
        else if (arg == "-h" || arg == "--help")
            return answer(program, usageLine(program, argc, argv) + "\n" + program.help);
        else if (arg == "--version")
            return answer(program, std::string(program.name) + " " + REGDUMP_VERSION + "\n");
        else {
            std::fprintf(stderr, "%s: unknown option '%s', see --help\n", program.name, regdump_shown(arg).c_str());
            return program.trouble;
        }
    }
    return std::nullopt;
}

int regdump_bad_usage(const RegdumpProgram &program, int argc, char **argv) {
    std::fputs(usageLine(program, argc, argv).c_str(), stderr);
    return program.trouble;
}

bool regdump_flush_output() {
    errno = 0;
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    std::fprintf(stderr, "standard output: cannot write%s\n", errno == 0 ? "" : regdump_system_error().c_str());
    return false;
}

// ------------------------------------------------------------------------------------------------------ the messages

static uint8_t byteAt(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<uint8_t>(text[at]) : 0;
}

static bool isContinuation(uint8_t byte) {
    return (byte & 0xc0) == 0x80;
}

/// How many bytes from `at` on are one printable character in UTF-8; 0 when there is none.
static size_t characterAt(std::string_view text, size_t at) {
    const uint8_t first = byteAt(text, at);
    if (first < 0x80)
        return first >= 0x20 && first != 0x7f ? 1 : 0;
    const uint8_t second = byteAt(text, at + 1);
    if (!isContinuation(second))
        return 0;
    if (first >= 0xc2 && first <= 0xdf)
        return first == 0xc2 && second < 0xa0 ? 0 : 2; // the control characters U+0080 to U+009F
    if (!isContinuation(byteAt(text, at + 2)))
        return 0;
    // Neither overlong forms nor surrogates.
    if ((first & 0xf0) == 0xe0)
        return (first == 0xe0 && second < 0xa0) || (first == 0xed && second >= 0xa0) ? 0 : 3;
    // Neither overlong forms nor numbers beyond U+10FFFF.
    if (first < 0xf0 || first > 0xf4 || (first == 0xf0 && second < 0x90) || (first == 0xf4 && second >= 0x90))
        return 0;
    return isContinuation(byteAt(text, at + 3)) ? 4 : 0;
}

static std::string escaped(std::string_view text) {
    std::string shown;
    for (size_t at = 0; at < text.size();) {
        const size_t size = characterAt(text, at);
        if (size != 0) {
            shown.append(text.substr(at, size));
            at += size;
            continue;
        }
        char code[5];
        std::snprintf(code, sizeof(code), "\\x%02x", byteAt(text, at));
        shown.append(code);
        ++at;
    }
    return shown;
}

std::string regdump_shown(std::string_view text, size_t limit) {
    if (text.size() <= limit)
        return escaped(text);
    // No character is cut into pieces.
    size_t headEnd = limit - limit / 2;
    size_t tailStart = text.size() - limit / 2;
    for (int i = 0; i < 3 && isContinuation(byteAt(text, headEnd)); ++i)
        --headEnd;
    for (int i = 0; i < 3 && isContinuation(byteAt(text, tailStart)); ++i)
        ++tailStart;
    return escaped(text.substr(0, headEnd)) + "..." + escaped(text.substr(tailStart));
}

std::string regdump_shown_file(std::string_view path) {
    return regdump_shown(path, 512);
}

std::string regdump_system_error() {
    return std::string(" (") + std::strerror(errno) + ")";
}

// --------------------------------------------------------------------------------------------------------- the input

ssize_t regdump_read_all(int fd, void *buf, size_t size) {
    size_t done = 0;
    while (done != size) {
        const ssize_t count = read(fd, static_cast<char *>(buf) + done, size - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        done += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

bool regdump_check_hdr(const asic_dump_hdr_t &hdr, const std::string &shownFile, std::string &error) {
    char text[128];
    if (!regdump_is_tsr(&hdr))
        std::snprintf(text, sizeof(text),
                      "no dump of a Tessara of revision 2 or later: vendor_id 0x%04x, chip_id 0x%04x, chip_ver %d",
                      hdr.vendor_id, hdr.chip_id, static_cast<int>(hdr.chip_ver));
    else if (hdr.ver != ASIC_DUMP_HDR_VER)
        std::snprintf(text, sizeof(text), "dump header ver (%d) not current (%d)", static_cast<int>(hdr.ver),
                      static_cast<int>(ASIC_DUMP_HDR_VER));
    else
        return true;
    error = shownFile + ": " + text;
    return false;
}

RegdumpReader::~RegdumpReader() {
    if (fd_ >= 0)
        close(fd_);
}

bool RegdumpReader::take(void *buf, size_t size, std::string &error) {
    const ssize_t count = regdump_read_all(fd_, buf, size);
    if (count < 0) {
        error = regdump_shown_file(path_) + ": cannot read" + regdump_system_error();
        return false;
    }
    done_ += static_cast<size_t>(count);
    if (static_cast<size_t>(count) == size)
        return true;
    error = regdump_shown_file(path_) + ": too short for a dump: " + std::to_string(done_) + " bytes of " +
            std::to_string(sizeof(asic_dump_hdr_t) + TSR_DUMP_SIZE);
    return false;
}

bool RegdumpReader::readHdr(asic_dump_hdr_t &hdr, std::string &error) {
    fd_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) {
        error = regdump_shown_file(path_) + ": cannot open" + regdump_system_error();
        return false;
    }
    uint32_t words[sizeof(hdr) / 4];
    if (!take(words, sizeof(words), error))
        return false;
    for (uint32_t &word : words)
        word = hostWord(word);
    std::memcpy(&hdr, words, sizeof(words));
    return true;
}

bool RegdumpReader::readImage(void *image, std::string &error) {
    return take(image, TSR_DUMP_SIZE, error);
}
