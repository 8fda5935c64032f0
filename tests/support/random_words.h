#pragma once

#include <cstdint>
#include <random>

/// The numbers of `std::mt19937`, in the type of the chip's words.
class RandomWords {
public:
    explicit RandomWords(uint32_t seed) : engine_(seed) {}

    uint32_t operator()() { return static_cast<uint32_t>(engine_()); }

private:
    std::mt19937 engine_;
};
