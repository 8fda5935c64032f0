#pragma once
// Dumps as programs take them: from a file, from a pipe, from standard input as "-", and gzip-compressed as they come.

#include <cstdlib>
#include <memory>
#include <string>

#include "asic_dump.h"
#include "tsr_reg_dump.h"

/// A dump in memory.
struct CliDump {
    struct Free {
        void operator()(tsr_dmp_t *buf) const { std::free(buf); }
    };

    std::string path;                       ///< as it was given
    asic_dump_hdr_t hdr{};                  ///< in host order
    std::unique_ptr<tsr_dmp_t, Free> image; ///< in the file's byte order
};

/// Byte of the dump file where the image begins.
constexpr uint32_t kCliImageStart = sizeof(asic_dump_hdr_t);

/// Reads the dump `path` of a Tessara of revision 2 or later; bytes behind its image are left. Returns false after
/// storing a message that begins with the file in `error`: it cannot be read, is too short, is no such dump, or its
/// compressed data is damaged.
bool cliReadDump(const std::string &path, CliDump &dump, std::string &error);
