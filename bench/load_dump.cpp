// Reads the dump named on the command line, loads the model from it, and prints its peak memory in kilobytes.

#include "regdump_util.h"
#include "tsr_cmodel_util.h"

#include <cstdio>
#include <sys/resource.h>

int main(int argc, char **argv) {
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    if (argc != 2 || regdec_get_hdr(argv[1], &fd, &hdr) != 0)
        return 1;
    if (regdec_get_data(fd, &hdr, TSR_DUMP_SIZE) != 0)
        return 1;
    rte_memory_init(reinterpret_cast<tsr_dmp_t *>(hdr + 1));
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%ld\n", usage.ru_maxrss);
    return 0;
}
