#include "regdec_tsr.h"

int main(int argc, char **argv) {
    return regdec_tsr_main(argc, argv);
}
