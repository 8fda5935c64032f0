#pragma once
// What the programs beside the listing share: the command line, the words of a message, and dumps from any kind of
// file.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "asic_dump.h"

/// The version of this system, "1.0.0" for example.
extern const char REGDUMP_VERSION[];

/// What a program's command line is held against.
struct RegdumpProgram {
    const char *name;
    const char *synopsis; ///< the arguments behind the program's name
    const char *help;     ///< the lines of `--help` behind the usage line
    int trouble;          ///< the exit status of a run that fails
};

/// Takes the options out of the command line: `-h` or `--help` and `--version` are answered on standard output, `--`
/// ends the options, and "-" alone is none. Returns nothing when the program shall run with `operands`, the other
/// arguments without the program's name; otherwise the exit status: 0, or the program's own after a message on standard
/// error.
std::optional<int> regdump_take_options(const RegdumpProgram &program, int argc, char **argv,
                                        std::vector<std::string> &operands);

/// Prints the usage line on standard error. Returns the program's status of a run that fails.
int regdump_bad_usage(const RegdumpProgram &program, int argc, char **argv);

/// Flushes standard output. Returns whether it took everything; if not, after a message on standard error.
bool regdump_flush_output();

/// `text` as a message shows it: control characters, and bytes that are no UTF-8, as \xHH, and of a text of more than
/// `limit` bytes only the two ends with "..." between them.
std::string regdump_shown(std::string_view text, size_t limit = 120);

/// The name of a file as a message shows it.
std::string regdump_shown_file(std::string_view path);

/// The text of `errno`: " (No such file or directory)" for example.
std::string regdump_system_error();

/// Reads up to `size` bytes from `fd`, in as many calls as it takes. Returns the number of bytes read, which is less
/// than `size` at the end of the file only, or -1 with `errno` set.
ssize_t regdump_read_all(int fd, void *buf, size_t size);

/// Tells whether the header, in host order, is that of a dump that the programs read. Returns false after storing a
/// message that begins with `shownFile` in `error`.
bool regdump_check_hdr(const asic_dump_hdr_t &hdr, const std::string &shownFile, std::string &error);

/// Reads the dump of a Tessara, header first. The file may be a pipe. Bytes behind the image are left.
class RegdumpReader {
public:
    explicit RegdumpReader(const std::string &path) : path_(path) {}
    RegdumpReader(const RegdumpReader &) = delete;
    RegdumpReader &operator=(const RegdumpReader &) = delete;
    ~RegdumpReader();

    /// Opens the file and reads the header, converted to host order. Returns false after storing a message that begins
    /// with the file in `error`.
    bool readHdr(asic_dump_hdr_t &hdr, std::string &error);

    /// Reads the `TSR_DUMP_SIZE` bytes of the image, in file byte order, after the header. Returns false after storing
    /// a message that begins with the file in `error`.
    bool readImage(void *image, std::string &error);

private:
    bool take(void *buf, size_t size, std::string &error);

    std::string path_;
    int fd_ = -1;
    size_t done_ = 0; ///< bytes read
};
