#include "regenc_tsr.h"

int main(int argc, char **argv) {
    return regenc_tsr_main(argc, argv);
}
