#pragma once

#include <cstddef>
#include <cstdint>

#include "asic_dump.h"
#include "tsr_reg.h"

/// The PCI vendor ID of all chips of this family.
constexpr uint32_t REGDUMP_VENDOR_ID = TSR_VENDOR_ID;

/// Fills the header of a new dump; the time is 0 until the caller stores it.
void regdump_init_hdr(asic_dump_hdr_t *dump_hdr, uint32_t vendor_id, uint32_t chip_id, uint32_t chip_ver, opaque_t oid,
                      uint32_t chip_base);

// Chip predicates over a header in host order: 1 when the dump comes from that chip and revision, else 0.
int regdump_is_kobar(const asic_dump_hdr_t *hdr);
int regdump_is_kobar_pass1(const asic_dump_hdr_t *hdr);
int regdump_is_vekor(const asic_dump_hdr_t *hdr);
int regdump_is_vekor_a(const asic_dump_hdr_t *hdr);
int regdump_is_tsr(const asic_dump_hdr_t *hdr);
int regdump_is_zirk(const asic_dump_hdr_t *hdr);
int regdump_is_zirk2(const asic_dump_hdr_t *hdr);
int regdump_is_dzt_a(const asic_dump_hdr_t *hdr);
int regdump_is_dzt_b(const asic_dump_hdr_t *hdr);

/// As above, but never refuses: a mismatch is only noted on standard output. Returns 1.
int regdump_is_dzt2_a(const asic_dump_hdr_t *hdr);

/// Opens the dump `fname` and reads its header, converted to host order, into a new buffer of 32 bytes at `*hdr`. The
/// file stays open in `*fd`, positioned at the data. Returns 0, or -1 after a message on standard error: the file is
/// closed then and `*hdr` is left alone.
int regdec_get_hdr(char *fname, int *fd, asic_dump_hdr_t **hdr);

/// Grows the buffer `*hdr` to hold `data_size` bytes behind the header, and reads them from `fd` in one call, in file
/// byte order. Returns 0, or -1 after a message on standard error; `*hdr` is null then if the buffer could not grow.
int regdec_get_data(int fd, asic_dump_hdr_t **hdr, uint32_t data_size);

/// Asks for large pages in the buffer, which is about to be filled as a whole. Without them it only takes longer.
void regdump_ask_for_large_pages(void *buf, size_t size);

/// Tells whether the version of a header in host order is the current one. Returns 0, or -1 after a message on standard
/// error.
int regdump_check_ver(const asic_dump_hdr_t *hdr);

/// Prints the header `buf`, in host order, on standard output. Returns 0, or -1 after a message on standard error when
/// its version is not the current one.
int regdec_pr_hdr(void *buf);

/// Prints the column heading of a listing. Returns 0.
int regdec_pr_intro(void);

/// Prints the heading of a comparison of the dumps `file1` and `file2`. Returns 0.
int regcmp_pr_hdr(char *file1, char *file2);
