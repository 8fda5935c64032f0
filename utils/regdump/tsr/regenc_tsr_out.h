#pragma once

#include <cstddef>
#include <string>

struct stat;

/// A file that is written as a whole. A regular file, or one that does not exist, appears under its name only when it
/// is complete: until then it stands under a temporary name in the same folder, from which a failure removes it, and so
/// does a signal that ends the process. A symbolic link is followed, and an older file gives its mode and, where the
/// system allows, its owner. A pipe or a device, and a file that is open already and named through its descriptor as in
/// /dev/stdout, is written directly.
///
/// One such file at a time may be open in a process.
class RegencOutput {
public:
    RegencOutput() = default;
    RegencOutput(const RegencOutput &) = delete;
    RegencOutput &operator=(const RegencOutput &) = delete;
    ~RegencOutput();

    // Each returns false after storing a message that begins with the file in `error`. Without `finish` nothing of a
    // temporary file is left.
    bool open(const std::string &path, std::string &error);
    bool write(const void *data, size_t size, std::string &error);
    bool finish(std::string &error);

private:
    bool openDirectly(const struct stat &old, std::string &error);
    bool openTemporary(const struct stat *old, std::string &error);
    bool fail(const char *what, std::string &error) const;

    std::string path_;   ///< as it was given
    std::string target_; ///< behind all links
    std::string temp_;   ///< the temporary name while a file has it
    int fd_ = -1;
};
