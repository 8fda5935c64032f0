#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

/// A folder that is gone, with all in it, at the end of the test.
class TempDir {
public:
    TempDir() {
        std::string name = (std::filesystem::temp_directory_path() / "tsr_test.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        path_ = name;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    /// The path of `name` in the folder.
    std::string path(const std::string &name) const { return (path_ / name).string(); }

    /// Writes the file `name` and returns its path.
    std::string file(const std::string &name, const std::string &contents) const {
        std::ofstream(path(name), std::ios::binary) << contents;
        return path(name);
    }

    /// How many files the folder holds.
    size_t numFiles() const {
        return static_cast<size_t>(
            std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator()));
    }

private:
    std::filesystem::path path_;
};

/// All bytes of the file `path`.
inline std::string readFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    std::string bytes;
    char block[64 * 1024];
    while (in.read(block, sizeof(block)), in.gcount() != 0)
        bytes.append(block, static_cast<size_t>(in.gcount()));
    return bytes;
}
