#include "regdec_tsr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unistd.h>

#include "regdec_route.h"
#include "regdump_util.h"
#include "tsr_reg_dump.h"

/// The most hexadecimal characters that a frame may have on the command line.
static constexpr size_t MAX_FRAME_CHARS = 500;

namespace {

/// The dump of a run: its open file, and one buffer that holds the header and the image behind it.
struct Dump {
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;

    tsr_dmp_t *image() { return reinterpret_cast<tsr_dmp_t *>(hdr + 1); }
};

} // namespace

static void regdec_pr_tsr_zirk_usage(const char *progname) {
    std::printf("Usage: %s <file_name>\n", progname);
    std::printf("       %s <file_name> route port <port#> frame <hex string> \n", progname);
}

/// Frees the run's dump. Returns the exit value of a failed run.
static int cleanUp(const Dump &dump) {
    std::free(dump.hdr);
    if (dump.fd >= 0)
        close(dump.fd);
    return -1;
}

static int usageAndCleanUp(const char *progname, const Dump &dump) {
    regdec_pr_tsr_zirk_usage(progname);
    return cleanUp(dump);
}

/// Tells whether `arg` abbreviates `word`; the empty argument does.
static bool isPrefixOf(const char *arg, const char *word) {
    return std::strncmp(arg, word, std::strlen(arg)) == 0;
}

/// Tells whether `arg` asks for a verbose run: only the word's own length counts, so a longer one does too.
static bool isTopspin(const char *arg) {
    return std::strncmp(arg, "topspin", std::strlen("topspin")) == 0;
}

/// Reads the optional words behind the frame. The value of `rxvc` has no effect; the word itself is only accepted
/// together with `topspin`. Returns false when it stands without it.
static bool parseOptionalWords(int argc, char **argv, int *verbose) {
    *verbose = 0;
    if (argc < 8)
        return true;
    if (isPrefixOf(argv[7], "rxvc")) {
        if (argc != 10 || !isTopspin(argv[9]))
            return false;
        *verbose = 1;
        return true;
    }
    *verbose = isTopspin(argv[7]) ? 1 : 0;
    return true;
}

/// Lists the dump. Returns the run's exit value.
static int decodeDump(Dump &dump) {
    if (regdump_decode_chip(tsr_dmp_map, dump.image(), TSR_DUMP_SIZE, 0) == 0)
        return 0;
    if (!std::ferror(stdout)) // else the end of the run tells what went wrong
        std::fprintf(stderr, "Decode-chip error\n");
    return cleanUp(dump);
}

/// Reads the words of a route command, of seven arguments or more, and routes its frame. Returns the run's exit value.
static int routeCommand(int argc, char **argv, Dump &dump) {
    RouteArgs args;
    if (!parseOptionalWords(argc, argv, &args.verbose))
        return usageAndCleanUp(argv[0], dump);
    if (std::strcmp(argv[2], "route") != 0) {
        regdec_pr_tsr_zirk_usage(argv[0]);
        return -1;
    }
    if (!isPrefixOf(argv[3], "port"))
        return usageAndCleanUp(argv[0], dump);
    args.rx_port = static_cast<uint32_t>(std::strtol(argv[4], nullptr, 0));
    if (!isPrefixOf(argv[5], "frame"))
        return usageAndCleanUp(argv[0], dump);
    args.frame = argv[6];
    args.len = std::strlen(args.frame);
    if (args.len > MAX_FRAME_CHARS) {
        if (args.verbose)
            std::printf("Packet too long.Maximum frame length is 500 bytes.\n");
        return cleanUp(dump);
    }
    return regdec_route(args, dump.image());
}

/// Does the job that the arguments ask for. Returns the run's exit value.
static int runJob(int argc, char **argv) {
    if (argc <= 1) {
        regdec_pr_tsr_zirk_usage(argv[0]);
        return -1;
    }
    Dump dump;
    if (regdec_get_hdr(argv[1], &dump.fd, &dump.hdr) != 0)
        return -1;
    if (!regdump_is_tsr(dump.hdr)) {
        std::fprintf(stderr, "Expected: Tessara. Actual: vendor_id 0x%04x, chip_id 0x%04x, chip_ver %d\n",
                     dump.hdr->vendor_id, dump.hdr->chip_id, static_cast<int>(dump.hdr->chip_ver));
        return cleanUp(dump);
    }
    const bool is_listing = argc <= 6;
    if (is_listing && regdec_pr_hdr(dump.hdr) != 0)
        return cleanUp(dump);
    if (regdec_get_data(dump.fd, &dump.hdr, TSR_DUMP_SIZE) != 0)
        return cleanUp(dump);
    if (is_listing && regdec_pr_intro() != 0)
        return cleanUp(dump);
    if (argc == 2)
        return decodeDump(dump);
    if (is_listing) {
        std::fprintf(stderr, "Wrong number of arguments (%d)\n", argc);
        regdec_pr_tsr_zirk_usage(argv[0]);
        return -1;
    }
    return routeCommand(argc, argv, dump);
}

/// `runJob`, for which missing memory is one failure more.
static int runJobInMemory(int argc, char **argv) {
    try {
        return runJob(argc, argv);
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "Cannot allocate memory\n");
        return -1;
    }
}

int regdec_tsr_main(int argc, char **argv) {
    const int rval = runJobInMemory(argc, argv);
    // Output that was lost must not look like a finished job.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "Cannot write output\n");
        return -1;
    }
    return rval;
}
