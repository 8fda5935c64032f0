#include "regcmp_tsr.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "asic_reg_dump.h"
#include "regdump_util.h"
#include "tsr_reg_dump.h"

static constexpr int EQUAL = 0;
static constexpr int DIFFERENT = 1;
static constexpr int TROUBLE = 2;

namespace {

/// One of the dumps: its open file, and one buffer that holds the header and the image behind it.
class Dump {
public:
    Dump() = default;
    Dump(const Dump &) = delete;
    Dump &operator=(const Dump &) = delete;
    ~Dump() { std::free(hdr_); }

    /// Reads the dump `fname` of a Tessara. Returns false after messages on standard error.
    bool load(char *fname) {
        if (regdec_get_hdr(fname, &fd_, &hdr_) != 0)
            return false;
        const bool ok = check() && regdec_get_data(fd_, &hdr_, TSR_DUMP_SIZE) == 0;
        close(fd_);
        if (!ok)
            std::fprintf(stderr, "Cannot compare file %s\n", fname);
        return ok;
    }

    const void *image() const { return hdr_ + 1; }

private:
    bool check() const {
        if (regdump_is_tsr(hdr_))
            return regdump_check_ver(hdr_) == 0;
        std::fprintf(stderr, "Expected: Tessara. Actual: vendor_id 0x%04x, chip_id 0x%04x, chip_ver %d\n",
                     hdr_->vendor_id, hdr_->chip_id, static_cast<int>(hdr_->chip_ver));
        return false;
    }

    int fd_ = -1;
    asic_dump_hdr_t *hdr_ = nullptr;
};

} // namespace

/// Compares the two dumps. Returns the run's exit value.
static int compareDumps(char *fname1, char *fname2) {
    Dump dump1;
    Dump dump2;
    if (!dump1.load(fname1) || !dump2.load(fname2))
        return TROUBLE;
    regcmp_pr_hdr(fname1, fname2);
    const int num_differences = regdump_compare_chips(tsr_dmp_map, dump1.image(), dump2.image(), TSR_DUMP_SIZE);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "Cannot write output\n");
        return TROUBLE;
    }
    if (num_differences < 0) {
        std::fprintf(stderr, "Compare-chips error\n");
        return TROUBLE;
    }
    return num_differences == 0 ? EQUAL : DIFFERENT;
}

int regcmp_tsr_main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: %s <dump1> <dump2>\n", argc > 0 ? argv[0] : "regcmp_tsr");
        return TROUBLE;
    }
    return compareDumps(argv[1], argv[2]);
}
