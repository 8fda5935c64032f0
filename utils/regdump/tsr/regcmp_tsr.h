#pragma once

/// The whole run of the program: compares the dumps named by `argv[1]` and `argv[2]` and prints each word that differs.
/// Returns the process's exit value: 0 when the dumps are equal, 1 when they differ, and 2 after a message on standard
/// error when they could not be compared or standard output did not take everything.
int regcmp_tsr_main(int argc, char **argv);
