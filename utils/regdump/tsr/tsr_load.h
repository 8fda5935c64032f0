#pragma once
// A chip model made of a dump, through the model's own host interface.

#include "dmp_overlay.h"
#include "tsr_reg_dump.h"

#include <cstdint>

struct CmRte;

/// A chip in its reset state, loaded with the forwarding engine's part of the dump image `tsr_reg`, whose words are
/// big-endian, with the words of `changes` (null for none) in place of its own. The load goes through the hold
/// registers of the calling thread's model. Throws std::bad_alloc.
CmRte *loadChip(const tsr_dmp_t *tsr_reg, const DmpOverlay *changes);

/// Frees a chip of loadChip().
void freeChip(CmRte *chip);

/// The byte offset in the dump of the word that the load writes to chip address `addr`; 0xffffffff when it writes none.
uint32_t loadedFrom(uint32_t addr);

/// Loads anew what depends on the word at `dumpOffset`, so that the chip is as loadChip() with the same image and
/// changes makes it. The chip must be as it was loaded otherwise. Hold registers stay.
void reloadWord(CmRte *chip, const tsr_dmp_t *tsr_reg, const DmpOverlay *changes, uint32_t dumpOffset);
