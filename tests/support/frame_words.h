#pragma once
// Frames in words, layer by layer:
//
//     eth 02:00:00:00:00:fe < 02:00:00:00:00:a1 | ipv4 10.0.0.5 > 10.0.1.9 dscp 46 ttl 64 | bytes 00..0f
//
// tests/golden/README.md lists the layers and their words.

#include <cstdint>
#include <string>
#include <vector>

/// The bytes of the frame that `text` gives in words. Throws `std::runtime_error` with "line:column: what is wrong".
std::vector<uint8_t> frameOfWords(const std::string &text);

/// The names of the layers.
std::vector<std::string> frameLayers();

/// Bytes as hexadecimal digits, two each.
std::string hexDigits(const std::vector<uint8_t> &bytes);
