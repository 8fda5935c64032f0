#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "regenc_tsr.h"

/// Builds a dump in memory: a Tessara of revision 2 whose words are 0 until they are set. Names are those of a listing.
/// A name or value that is wrong throws `std::invalid_argument`, with the reason.
class DumpBuilder {
public:
    DumpBuilder() : assembler_(dump_) {}

    /// Sets the word or the table field with the full name `name`, or the header field "header.<field>".
    DumpBuilder &set(std::string_view name, uint32_t value);

    /// Sets the word, the table field or the row of a TCAM to a value as a line has it: "0x10/0xf0", "10.0.1.0/24",
    /// "never".
    DumpBuilder &set(std::string_view name, std::string_view value);

    /// Sets the field `field` of the register with the full name `name`; the register's other bits stay.
    DumpBuilder &set(std::string_view name, std::string_view field, uint32_t value);

    /// Sets every word that `name` stands for; its subscripts may be ranges.
    DumpBuilder &fill(std::string_view name, uint32_t value);

    /// Takes lines of text in the form of `regenc_tsr`.
    DumpBuilder &text(std::string_view lines);

    /// Takes the file `path` in the form of `regenc_tsr`.
    DumpBuilder &file(const std::string &path);

    /// Fills every word from a generator started with `seed`.
    DumpBuilder &randomise(uint64_t seed);

    /// Writes the dump file `path`.
    void write(const std::string &path) const;

    asic_dump_hdr_t &hdr() { return dump_.hdr(); }

    /// The image, in the file's byte order.
    tsr_dmp_t *image() { return dump_.image(); }
    const tsr_dmp_t *image() const { return dump_.image(); }

    RegencDump &dump() { return dump_; }

private:
    RegencDump dump_;
    RegencAssembler assembler_;
};
