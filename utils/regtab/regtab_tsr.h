#pragma once

/// The whole run of the program: shows registers and tables of a dump by field. Returns the process's exit value: 0
/// when something was found or nothing differs, 1 when not, 2 after a message on standard error.
int regtab_tsr_main(int argc, char **argv);
