#pragma once
// The image of a dump for the tests of the stages that read it directly.

#include "tsr_reg_dump.h"

#include <arpa/inet.h>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <random>

/// A dump image of zeroes. `base` is the offset of a member of tsr_dmp_t, and words are counted flat from there.
class ChipImage {
public:
    ChipImage() : image_(static_cast<tsr_dmp_t *>(std::calloc(1, sizeof(tsr_dmp_t)))) {
        if (!image_)
            throw std::bad_alloc();
    }

    ChipImage &set(size_t base, size_t idx, uint32_t value) {
        const uint32_t word = htonl(value);
        std::memcpy(bytes() + base + idx * 4, &word, sizeof word);
        return *this;
    }
    uint32_t get(size_t base, size_t idx) const {
        uint32_t word;
        std::memcpy(&word, bytes() + base + idx * 4, sizeof word);
        return ntohl(word);
    }
    /// The register of port `port` with the offset `field` in tsr_ephy_dmp_t.
    ChipImage &setPort(uint32_t port, size_t field, uint32_t value) {
        return set(offsetof(tsr_dmp_t, ephy_reg) + port * sizeof(tsr_ephy_dmp_t), field / 4, value);
    }
    /// The register of the four ports `quad` with the offset `field` in tsr_emc_quad_dmp_t.
    ChipImage &setQuad(uint32_t quad, size_t field, uint32_t value) {
        return set(offsetof(tsr_dmp_t, emc_quad) + quad * sizeof(tsr_emc_quad_dmp_t), field / 4, value);
    }
    void randomise(uint64_t seed) {
        std::mt19937_64 random(seed);
        for (size_t at = 0; at + 8 <= sizeof(tsr_dmp_t); at += 8) {
            const uint64_t value = random();
            std::memcpy(bytes() + at, &value, sizeof value);
        }
    }

    tsr_dmp_t *get() { return image_.get(); }

private:
    struct Free {
        void operator()(tsr_dmp_t *image) const { std::free(image); }
    };
    uint8_t *bytes() const { return reinterpret_cast<uint8_t *>(image_.get()); }

    std::unique_ptr<tsr_dmp_t, Free> image_;
};

/// Shorthands for the places of the image.
#define DMP(member) offsetof(tsr_dmp_t, member)
#define PORT(member) offsetof(tsr_ephy_dmp_t, member)
#define QUAD(member) offsetof(tsr_emc_quad_dmp_t, member)
