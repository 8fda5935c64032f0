#pragma once
// What a program tells a person at a terminal while it works.

#include <cstddef>

/// Shows on standard error how far the work `what` has come, `done` of `all`: only on a terminal, and only once the
/// program has run for a second. The line is gone when `done` reaches `all`.
void cliProgress(const char *what, size_t done, size_t all);

/// Whether text on standard output may have colours: it goes to a terminal, and NO_COLOR is not set.
bool cliHasColor();
