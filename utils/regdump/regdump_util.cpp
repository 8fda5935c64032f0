#include "regdump_util.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "be_word.h"

void regdump_init_hdr(asic_dump_hdr_t *dump_hdr, uint32_t vendor_id, uint32_t chip_id, uint32_t chip_ver, opaque_t oid,
                      uint32_t chip_base) {
    *dump_hdr = {.ver = ASIC_DUMP_HDR_VER,
                 .oid = oid,
                 .vendor_id = vendor_id,
                 .chip_id = chip_id,
                 .chip_ver = chip_ver,
                 .chip_base_addr = chip_base,
                 .epoch_sec = 0,
                 .epoch_usec = 0};
}

static bool isChip(const asic_dump_hdr_t *hdr, uint32_t chip_id) {
    return hdr->vendor_id == REGDUMP_VENDOR_ID && hdr->chip_id == chip_id;
}

int regdump_is_kobar(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 18) && hdr->chip_ver >= 32;
}

int regdump_is_kobar_pass1(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 18) && hdr->chip_ver <= 31;
}

int regdump_is_vekor(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 26) && hdr->chip_ver >= 17;
}

int regdump_is_vekor_a(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 26) && hdr->chip_ver == 16;
}

int regdump_is_tsr(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, TSR_CHIP_ID) && hdr->chip_ver >= TSR_CHIP_VER_MIN;
}

int regdump_is_zirk(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 31) && hdr->chip_ver >= 2;
}

int regdump_is_zirk2(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 41) && hdr->chip_ver >= 2;
}

int regdump_is_dzt_a(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 42) && hdr->chip_ver <= 17;
}

int regdump_is_dzt_b(const asic_dump_hdr_t *hdr) {
    return isChip(hdr, 42) && (hdr->chip_ver == 32 || hdr->chip_ver == 33);
}

int regdump_is_dzt2_a(const asic_dump_hdr_t *hdr) {
    // This chip's dumps are let through whatever their header says.
    if (!isChip(hdr, 46))
        std::printf("Vendor ID mismatch. Bypassed for now\n");
    return 1;
}

/// Reads the eight words of a header from `fd` and converts them to host order. Returns the number of bytes read.
static ssize_t readHdr(int fd, asic_dump_hdr_t *hdr) {
    uint32_t words[sizeof(*hdr) / 4] = {};
    const ssize_t count = read(fd, words, sizeof(words));
    for (uint32_t &word : words)
        word = hostWord(word);
    std::memcpy(hdr, words, sizeof(*hdr));
    return count;
}

int regdec_get_hdr(char *fname, int *fd, asic_dump_hdr_t **hdr) {
    *fd = open(fname, O_RDONLY);
    if (*fd < 0) {
        std::fprintf(stderr, "Cannot open file %s (%s)\n", fname, std::strerror(errno));
        return -1;
    }
    asic_dump_hdr_t *buf = static_cast<asic_dump_hdr_t *>(std::malloc(sizeof(asic_dump_hdr_t)));
    if (buf == nullptr) {
        std::fprintf(stderr, "Cannot allocate buffer\n");
        close(*fd);
        return -1;
    }
    const ssize_t count = readHdr(*fd, buf);
    if (count != static_cast<ssize_t>(sizeof(*buf))) {
        std::fprintf(stderr, "Cannot read header: count 0x%x\n", static_cast<unsigned>(count));
        std::free(buf);
        close(*fd);
        return -1;
    }
    *hdr = buf;
    return 0;
}

void regdump_ask_for_large_pages(void *buf, size_t size) {
    constexpr uintptr_t LARGE_PAGE = 2 * 1024 * 1024;
    const uintptr_t begin = reinterpret_cast<uintptr_t>(buf);
    const uintptr_t start = (begin + LARGE_PAGE - 1) / LARGE_PAGE * LARGE_PAGE;
    const uintptr_t end = (begin + size) / LARGE_PAGE * LARGE_PAGE;
    if (start < end)
        madvise(static_cast<char *>(buf) + (start - begin), end - start, MADV_HUGEPAGE);
}

int regdec_get_data(int fd, asic_dump_hdr_t **hdr, uint32_t data_size) {
    const size_t total = sizeof(asic_dump_hdr_t) + size_t{data_size};
    *hdr = static_cast<asic_dump_hdr_t *>(std::realloc(*hdr, total)); // the old buffer is left to process exit
    if (*hdr == nullptr) {
        std::fprintf(stderr, "Cannot resize buffer: size: 0x%x\n", static_cast<unsigned>(total));
        return -1;
    }
    regdump_ask_for_large_pages(*hdr, total);
    const ssize_t count = read(fd, *hdr + 1, data_size);
    if (count != static_cast<ssize_t>(data_size)) {
        std::fprintf(stderr, "Unexpected file size: expected 0x%x, actual 0x%x\n", data_size,
                     static_cast<unsigned>(count));
        return -1;
    }
    return 0;
}

/// Formats the dump time in the reader's time zone. A zone name that does not fit its field of 3 characters leaves the
/// field empty.
static void formatTime(const asic_dump_hdr_t *hdr, char *text, size_t size) {
    const std::time_t sec = hdr->epoch_sec;
    const std::tm *local = std::localtime(&sec);
    size_t used = std::strftime(text, size, "%Y-%m-%d %H:%M:%S", local);
    used += static_cast<size_t>(std::snprintf(text + used, size - used, ".%06ld ", static_cast<long>(hdr->epoch_usec)));
    if (std::strftime(text + used, 4, "%Z", local) == 0)
        text[used] = '\0';
}

int regdump_check_ver(const asic_dump_hdr_t *hdr) {
    if (hdr->ver == ASIC_DUMP_HDR_VER)
        return 0;
    std::fprintf(stderr, "Dump header ver (%d) not current (%d)\n", static_cast<int>(hdr->ver),
                 static_cast<int>(ASIC_DUMP_HDR_VER));
    return -1;
}

int regdec_pr_hdr(void *buf) {
    const asic_dump_hdr_t *hdr = static_cast<const asic_dump_hdr_t *>(buf);
    if (regdump_check_ver(hdr) != 0)
        return -1;
    char time_str[80];
    formatTime(hdr, time_str, sizeof(time_str));
    std::printf("================ Register Dump Header ================\n\n"
                "\tHeader version:   %d\n\tChip OID:         0x%08x\n\tPCI vendor ID:    0x%04x\n"
                "\tPCI device ID:    0x%04x\n\tChip version:     0x%02x\n\tDump time:        %s\n\n",
                static_cast<int>(hdr->ver), hdr->oid, hdr->vendor_id, hdr->chip_id, hdr->chip_ver, time_str);
    return 0;
}

int regdec_pr_intro(void) {
    std::printf("================ Register Dump Data ================\n\n%-11s  %-10s  %-10s\n%-11s  %-10s  %-10s\n",
                "ASIC offset", "Data", "Name", "-----------", "----------", "----------");
    return 0;
}

int regcmp_pr_hdr(char *file1, char *file2) {
    std::printf("================ Register Diff Results ================\n\nFile 1: %s\nFile 2: %s\n\n", file1, file2);
    std::printf("ASIC offset  File 1      File 2      Name      \n"
                "-----------  ----------  ----------  ----------\n");
    return 0;
}
