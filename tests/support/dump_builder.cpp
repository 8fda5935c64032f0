#include "dump_builder.h"

#include <cstring>
#include <random>
#include <stdexcept>

static void check(bool ok, const std::string &error) {
    if (!ok)
        throw std::invalid_argument(error);
}

DumpBuilder &DumpBuilder::set(std::string_view name, uint32_t value) {
    check(name.find("..") == name.npos, std::string(name).append(" has a range"));
    return fill(name, value);
}

DumpBuilder &DumpBuilder::set(std::string_view name, std::string_view value) {
    std::string error;
    check(assembler_.setText(name, value, error), error);
    return *this;
}

DumpBuilder &DumpBuilder::set(std::string_view name, std::string_view field, uint32_t value) {
    return set(std::string(name).append(".").append(field), value);
}

DumpBuilder &DumpBuilder::fill(std::string_view name, uint32_t value) {
    std::string error;
    check(assembler_.set(name, value, error), error);
    return *this;
}

DumpBuilder &DumpBuilder::text(std::string_view lines) {
    std::string error;
    assembler_.beginText();
    while (!lines.empty()) {
        const size_t end = lines.find('\n');
        check(assembler_.line(lines.substr(0, end), error), error);
        lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
    }
    return *this;
}

DumpBuilder &DumpBuilder::file(const std::string &path) {
    std::string error;
    check(assembler_.file(path, error), error);
    return *this;
}

DumpBuilder &DumpBuilder::randomise(uint64_t seed) {
    std::mt19937_64 random(seed);
    char *image = reinterpret_cast<char *>(dump_.image());
    for (size_t at = 0; at < TSR_DUMP_SIZE; at += sizeof(uint64_t)) {
        const uint64_t bits = random();
        std::memcpy(image + at, &bits, TSR_DUMP_SIZE - at < sizeof(bits) ? TSR_DUMP_SIZE - at : sizeof(bits));
    }
    return *this;
}

void DumpBuilder::write(const std::string &path) const {
    std::string error;
    if (!dump_.write(path, error))
        throw std::runtime_error(error);
}
