#pragma once

/// The whole run of the program: reads the dump named by `argv[1]` and lists it, or routes one frame through the chip.
/// Returns the process's exit value: 0 when the job was done and all output was taken, else -1.
int regdec_tsr_main(int argc, char **argv);
