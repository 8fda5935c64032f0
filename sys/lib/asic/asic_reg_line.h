#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "asic_reg_dump.h"

// What the operations over a dump map share: the test for a dumped row, and lines on standard output.

inline bool isDumped(const regdump_map_t *mapp) {
    return (mapp->flags & REGDUMP_FLAGS_NO_DUMP) == 0;
}

/// The longest a line can be: a full name, its columns before it, the dump offset in debug form and the line end.
constexpr size_t MAX_LINE = REGDUMP_NAME_SIZE + 64;

/// Standard output behind one large buffer. After a failed write everything is dropped.
class LineSink {
public:
    /// Room for one more line, of at most `MAX_LINE` characters; `take` says how many of them were used.
    char *room() {
        if (used_ + MAX_LINE > sizeof(buf_))
            flush();
        return buf_ + used_;
    }
    void take(size_t size) { used_ += size; }

    /// False once standard output has refused something.
    bool ok() const { return ok_; }

    /// Hands everything to standard output. Returns false when some of it, now or before, was not taken.
    bool flush() {
        if (ok_ && used_ != 0)
            ok_ = std::fwrite(buf_, 1, used_, stdout) == used_;
        used_ = 0;
        return ok_;
    }

private:
    char buf_[64 * 1024];
    size_t used_ = 0;
    bool ok_ = true;
};

/// The two hexadecimal digits of every byte.
struct HexTable {
    constexpr HexTable() {
        const char *digits = "0123456789abcdef";
        for (size_t byte = 0; byte < 256; ++byte) {
            pair[byte][0] = digits[byte >> 4];
            pair[byte][1] = digits[byte & 15];
        }
    }
    char pair[256][2] = {};
};

inline constexpr HexTable HEX;

/// Writes four bytes, the first one leftmost, as eight hexadecimal digits.
inline void putHex(char *text, const uint8_t *bytes) {
    for (size_t i = 0; i < 4; ++i)
        std::memcpy(text + 2 * i, HEX.pair[bytes[i]], 2);
}

inline void putHex(char *text, uint32_t value) {
    const uint8_t bytes[4] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                              static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    putHex(text, bytes);
}
