// Writes the corpus of the route fuzz target into a folder, anew: files of other names there are removed.

#include "route_corpus.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: make_corpus <folder>\n");
        return 1;
    }
    try {
        const std::filesystem::path folder = argv[1];
        std::filesystem::create_directories(folder);
        for (const auto &entry : std::filesystem::directory_iterator(folder))
            std::filesystem::remove(entry.path());
        for (const auto &[name, bytes] : routeCorpus()) {
            std::ofstream out;
            out.exceptions(std::ios::failbit | std::ios::badbit);
            out.open(folder / name, std::ios::binary);
            out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
            out.close();
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "make_corpus: %s\n", error.what());
        return 1;
    }
    return 0;
}
