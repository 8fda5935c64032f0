#pragma once

/// The hard stop (cmStop.h): the model cannot tell what the chip would do with this frame. Where stops end the process,
/// it says so on standard output, and the exit status is 1. `file` and `line` name the caller.
[[noreturn]] void CmRteAbort_(const char *file, int line, const char *msg);
