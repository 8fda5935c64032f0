#include "regcmp_tsr.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "asic_reg_dump.h"
#include "regdump_prog.h"
#include "regdump_util.h"
#include "tsr_reg_dump.h"

static constexpr int EQUAL = 0;
static constexpr int DIFFERENT = 1;
static constexpr int TROUBLE = 2;

static constexpr RegdumpProgram PROGRAM = {
    "regcmp_tsr", "<dump1> <dump2>",
    "Compares two register dumps of a Tessara and prints each word that differs.\n\n"
    "  -h, --help  print this help\n"
    "  --version   print the version\n\n"
    "The exit status is 0 when the dumps are equal, 1 when they differ, and 2 on trouble.\n",
    TROUBLE};

namespace {

struct Free {
    void operator()(void *buf) const { std::free(buf); }
};
using Image = std::unique_ptr<void, Free>;

} // namespace

/// Reads the image of the dump `path`. Returns null after storing a message in `error`.
static Image readImage(const std::string &path, std::string &error) {
    RegdumpReader reader(path);
    asic_dump_hdr_t hdr;
    if (!reader.readHdr(hdr, error) || !regdump_check_hdr(hdr, regdump_shown_file(path), error))
        return nullptr;
    Image image(std::malloc(TSR_DUMP_SIZE));
    if (image == nullptr) {
        error = regdump_shown_file(path) + ": not enough memory";
        return nullptr;
    }
    regdump_ask_for_large_pages(image.get(), TSR_DUMP_SIZE);
    return reader.readImage(image.get(), error) ? std::move(image) : nullptr;
}

/// Compares the two dumps. Returns the run's exit value, with a message in `error` on trouble if it is not printed yet.
static int compareDumps(const std::string &path1, const std::string &path2, std::string &error) {
    const Image image1 = readImage(path1, error);
    const Image image2 = image1 == nullptr ? nullptr : readImage(path2, error);
    if (image2 == nullptr)
        return TROUBLE;
    // The heading keeps whole names, but a name must not command the terminal there either.
    std::string shown1 = regdump_shown(path1, path1.size());
    std::string shown2 = regdump_shown(path2, path2.size());
    regcmp_pr_hdr(shown1.data(), shown2.data());
    const int num_differences = regdump_compare_chips(tsr_dmp_map, image1.get(), image2.get(), TSR_DUMP_SIZE);
    if (!regdump_flush_output())
        return TROUBLE;
    if (num_differences < 0) {
        error = regdump_shown_file(path1) + ", " + regdump_shown_file(path2) + ": cannot compare";
        return TROUBLE;
    }
    return num_differences == 0 ? EQUAL : DIFFERENT;
}

int regcmp_tsr_main(int argc, char **argv) {
    int status = TROUBLE;
    std::string error;
    try {
        std::vector<std::string> files;
        if (const auto answered = regdump_take_options(PROGRAM, argc, argv, files))
            return *answered;
        if (files.size() != 2)
            return regdump_bad_usage(PROGRAM, argc, argv);
        status = compareDumps(files[0], files[1], error);
    } catch (const std::bad_alloc &) {
        error = "not enough memory";
    }
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    return status;
}
