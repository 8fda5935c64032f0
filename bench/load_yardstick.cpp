// The yardstick of the load, with the means of C alone: reads the file named on the command line with one read into
// fresh memory and writes each word, byte-swapped and masked, into a second fresh buffer of the same size.

#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

int main(int argc, char **argv) {
    if (argc != 3)
        return 1;
    const int fd = open(argv[1], O_RDONLY);
    struct stat st;
    if (fd < 0 || fstat(fd, &st) != 0)
        return 1;
    const size_t size = static_cast<size_t>(st.st_size);
    uint32_t *in = static_cast<uint32_t *>(malloc(size));
    uint32_t *out = static_cast<uint32_t *>(malloc(size));
    if (in == NULL || out == NULL || read(fd, in, size) != static_cast<ssize_t>(size))
        return 1;
    const uint32_t mask = static_cast<uint32_t>(strtoul(argv[2], NULL, 16)); // not known to the compiler
    for (size_t i = 0; i < size / 4; i++)
        out[i] = __builtin_bswap32(in[i]) & mask;
    // The result depends on every word's place, so that the copy cannot be left out.
    return out[static_cast<size_t>(getpid()) % (size / 4)] & ~mask ? 1 : 0;
}
