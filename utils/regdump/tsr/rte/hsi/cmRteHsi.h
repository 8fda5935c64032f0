#pragma once
// The host interface's further ways in, beside CmRteHsiRd and CmRteHsiWr.

#include "base/cmRte.h"

#include <cstdint>

/// Writes a run of `wordCnt` words to rising chip addresses from `addr` on, straight from the big-endian words
/// `beWords` of a dump image. It leaves exactly what as many calls of CmRteHsiWr leave. Returns 1, or 0 when one of the
/// addresses names nothing; that word is lost and the others are written.
int CmRteHsiWrRun(CmRte *cmRtePtr, uint32_t addr, const uint32_t *beWords, uint32_t wordCnt);

/// Move the next entry of the source-address or destination-address learn FIFO to the FIFO's data registers, as the
/// host's read of the first of them does.
void SaLrnFifoRd(CmRte *cmRtePtr);
void DaLrnFifoRd(CmRte *cmRtePtr);
