#include "cli_dump.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include "be_word.h"
#include "cli_progress.h"
#include "regdump_prog.h"
#include "regdump_util.h"

namespace {

/// A file, compressed or not.
class Input {
public:
    explicit Input(const std::string &path) : path_(path) {}
    Input(const Input &) = delete;
    Input &operator=(const Input &) = delete;
    ~Input() {
        if (file_ != nullptr)
            gzclose(file_);
    }

    bool open(std::string &error);

    /// Reads `size` bytes. Returns false after storing a message in `error`.
    bool take(void *buf, size_t size, std::string &error);

    /// Tells whether what was read of a compressed file is what was written to it, as far as its end shows.
    bool checkEnd(std::string &error);

    /// The input as a message names it.
    std::string shown() const { return path_ == "-" ? "standard input" : regdump_shown_file(path_); }

private:
    std::string readError() const;

    std::string path_;
    gzFile file_ = nullptr;
    size_t done_ = 0;
};

bool Input::open(std::string &error) {
    const int fd = path_ == "-" ? dup(STDIN_FILENO) : ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = shown() + ": cannot open" + regdump_system_error();
        return false;
    }
    file_ = gzdopen(fd, "rb");
    if (file_ == nullptr) {
        close(fd);
        error = shown() + ": not enough memory";
        return false;
    }
    constexpr unsigned kBuffer = 1u << 17;
    gzbuffer(file_, kBuffer);
    return true;
}

std::string Input::readError() const {
    int code = Z_OK;
    gzerror(file_, &code);
    if (code == Z_ERRNO)
        return shown() + ": cannot read" + regdump_system_error();
    return shown() + ": the compressed data is damaged";
}

bool Input::take(void *buf, size_t size, std::string &error) {
    // Piece by piece, so that the work can be shown.
    constexpr size_t kPiece = size_t{4} << 20;
    size_t got = 0;
    while (got < size) {
        const auto piece = static_cast<unsigned>(std::min(kPiece, size - got));
        const int count = gzread(file_, static_cast<char *>(buf) + got, piece);
        if (count < 0) {
            error = readError();
            return false;
        }
        got += static_cast<size_t>(count);
        if (static_cast<unsigned>(count) < piece)
            break;
        cliProgress("reading", got, size);
    }
    done_ += got;
    if (got == size)
        return true;
    int code = Z_OK;
    gzerror(file_, &code);
    if (code == Z_BUF_ERROR) {
        error = shown() + ": the compressed data ends early, after " + std::to_string(done_) + " bytes";
        return false;
    }
    error = shown() + ": too short for a dump: " + std::to_string(done_) + " bytes of " +
            std::to_string(sizeof(asic_dump_hdr_t) + TSR_DUMP_SIZE);
    return false;
}

bool Input::checkEnd(std::string &error) {
    if (gzdirect(file_) != 0)
        return true;
    char byte;
    if (gzread(file_, &byte, 1) >= 0) {
        int code = Z_OK;
        gzerror(file_, &code);
        if (code != Z_BUF_ERROR)
            return true;
        error = shown() + ": the compressed data ends early, after " + std::to_string(done_) + " bytes";
        return false;
    }
    error = readError();
    return false;
}

} // namespace

bool cliReadDump(const std::string &path, CliDump &dump, std::string &error) {
    Input input(path);
    uint32_t words[sizeof(asic_dump_hdr_t) / 4];
    if (!input.open(error) || !input.take(words, sizeof(words), error))
        return false;
    for (uint32_t &word : words)
        word = hostWord(word);
    std::memcpy(&dump.hdr, words, sizeof(words));
    if (!regdump_check_hdr(dump.hdr, input.shown(), error))
        return false;
    dump.path = path;
    dump.image.reset(static_cast<tsr_dmp_t *>(std::malloc(TSR_DUMP_SIZE)));
    if (dump.image == nullptr) {
        error = regdump_shown_file(path) + ": not enough memory";
        return false;
    }
    regdump_ask_for_large_pages(dump.image.get(), TSR_DUMP_SIZE);
    return input.take(dump.image.get(), TSR_DUMP_SIZE, error) && input.checkEnd(error);
}
