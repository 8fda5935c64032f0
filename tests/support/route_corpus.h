#pragma once
// The frames that the route fuzz target starts from.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The stored corpus: the names of its files and their bytes. Every kind of frame that a stage tells apart is there
/// once for the configured chip, and once for one of the chips by chance.
std::map<std::string, std::vector<uint8_t>> routeCorpus();
