#pragma once

#include <cstddef>

/// `size` bytes of zeroes, one at least, for what is filled as a whole: from a few megabytes on in large pages, where
/// the system has them. Throws std::bad_alloc.
void *cmAllocPages(size_t size);

/// Frees what `cmAllocPages` gave for the same `size`; null is fine.
void cmFreePages(void *memory, size_t size);
