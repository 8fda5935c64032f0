// The yardstick of the listing, with the means of C alone: reads the file named first into memory, writes it into the
// file named second, and prints the microseconds of the writing.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static double now() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) / 1e3;
}

int main(int argc, char **argv) {
    if (argc != 3)
        return 1;
    const int in = open(argv[1], O_RDONLY);
    struct stat st;
    if (in < 0 || fstat(in, &st) != 0)
        return 1;
    const size_t size = static_cast<size_t>(st.st_size);
    char *text = static_cast<char *>(malloc(size));
    size_t done = 0;
    while (text != nullptr && done < size) {
        const ssize_t count = read(in, text + done, size - done);
        if (count <= 0)
            return 1;
        done += static_cast<size_t>(count);
    }
    const double start = now();
    const int out = open(argv[2], O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (done = 0; text != nullptr && done < size;) {
        const size_t piece = size - done < 65536 ? size - done : 65536;
        const ssize_t count = write(out, text + done, piece);
        if (count <= 0)
            return 1;
        done += static_cast<size_t>(count);
    }
    close(out);
    printf("%.0f\n", now() - start);
    free(text);
    return 0;
}
