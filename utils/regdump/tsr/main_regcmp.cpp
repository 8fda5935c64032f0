#include "regcmp_tsr.h"

int main(int argc, char **argv) {
    return regcmp_tsr_main(argc, argv);
}
