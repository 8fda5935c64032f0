#pragma once

#include "tsr_reg_dump.h"

/// Builds the model `rte_mem` in the chip's reset state and loads it with the forwarding engine's part of the dump
/// image `tsr_reg`, whose words are big-endian, through the model's own host interface. Throws `std::bad_alloc` without
/// memory for it; there is no model then.
void rte_memory_init(const tsr_dmp_t *tsr_reg);

/// Frees the model.
void rte_memory_free(void);
