#pragma once

/// The hard stop: says on standard output that the model cannot tell what the chip would do with this frame, and ends
/// the process with exit status 1. `file` and `line` name the caller.
[[noreturn]] void CmRteAbort_(const char *file, int line, const char *msg);
