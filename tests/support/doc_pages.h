#pragma once
// The pages of docs/ that are drawn from the lists of the sources. tests/tools/make_docs writes them, and a test holds
// that those stored are the ones of today.

#include <string>
#include <vector>

struct DocPage {
    std::string file; ///< in docs/
    std::string text;
};

/// The fields of the frame's record by subject: stage, bits, meaning.
std::string recordPage();

/// The entries of the chip's tables: memory, words, fields with bits, kind and meaning, the bits that the load drops.
std::string tablesPage();

/// The registers under their three names: listing, trace of the model, field of the record.
std::string namesPage();

/// All of them.
std::vector<DocPage> docPages();
