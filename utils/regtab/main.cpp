#include "regtab_tsr.h"

int main(int argc, char **argv) {
    return regtab_tsr_main(argc, argv);
}
