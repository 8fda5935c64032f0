// Writes the pages of docs/ that are drawn from the lists of the sources: make_docs <folder>.

#include "doc_pages.h"

#include <cstdio>
#include <fstream>

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: make_docs <folder>\n");
        return 2;
    }
    for (const DocPage &page : docPages()) {
        std::ofstream out(std::string(argv[1]) + '/' + page.file, std::ios::binary);
        if (!(out << page.text).flush()) {
            std::fprintf(stderr, "make_docs: cannot write %s\n", page.file.c_str());
            return 2;
        }
    }
    return 0;
}
