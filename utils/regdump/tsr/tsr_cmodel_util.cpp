#include "tsr_cmodel_util.h"

#include "base/cmRte.h"
#include "tsr_load.h"

void rte_memory_init(const tsr_dmp_t *tsr_reg) {
    rte_mem = nullptr;
    rte_mem = loadChip(tsr_reg, nullptr);
}

void rte_memory_free(void) {
    freeChip(rte_mem);
    rte_mem = nullptr;
}
