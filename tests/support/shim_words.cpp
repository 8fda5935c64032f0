#include "shim_words.h"

#include "cm.h"
#include "tbl/tsr_tbl_name.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>

static_assert(std::tuple_size_v<ShimWords> == kShimWords);

static constexpr ShimField FIELDS[] = {
#define SHIM(word, hi, lo, name, member) {#name, word, hi, lo},
#include "tsr_shim.def"
};

static constexpr uint32_t ones(unsigned width) {
    return ~uint32_t{0} >> (32 - width);
}

uint32_t ShimField::of(const ShimWords &words) const {
    return words[word] >> lo & ones(width());
}

void ShimField::put(ShimWords &words, uint32_t value) const {
    words[word] = (words[word] & ~(ones(width()) << lo)) | value << lo;
}

std::span<const ShimField> shimFields() {
    return FIELDS;
}

ShimWords shimOfOutput(const std::string &out) {
    static const std::regex SHIM_OUT("Output_frame (([0-9a-f]{8}-){6})");
    std::string digits;
    for (auto at = std::sregex_iterator(out.begin(), out.end(), SHIM_OUT); at != std::sregex_iterator(); ++at)
        digits = (*at)[1];
    if (digits.empty())
        throw std::runtime_error("no frame with a shim was put out");
    ShimWords words{};
    for (size_t i = 0; i < words.size(); i++)
        words[i] = static_cast<uint32_t>(std::stoul(digits.substr(9 * i, 8), nullptr, 16));
    return words;
}

/// What is wrong with the line `text`, which is no comment; empty when it holds.
static std::string lineDifference(const std::string &text, const std::string &out) {
    static const std::regex EXPECTATION(R"(\s*shim\.(\w+)\s*=\s*(\S+)\s*)");
    std::smatch parts;
    if (!std::regex_match(text, parts, EXPECTATION))
        return "not of the form 'shim.<field> = <value>'";
    const std::string name = parts[1];
    const auto fields = shimFields();
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const ShimField &f) { return f.name == name; });
    if (field == fields.end())
        return "the shim has no field '" + name + "'";
    TblWide value{};
    if (tblReadValue(parts[2].str(), TblKind::NUM, field->width(), value) != TblRead::OK)
        return "'" + parts[2].str() + "' is no number of " + std::to_string(field->width()) + " bits";
    const uint32_t found = field->of(shimOfOutput(out));
    if (found == value[3])
        return "";
    std::ostringstream message;
    message << name << " is " << found << std::hex << " (0x" << found << "), not " << parts[2].str();
    return message.str();
}

std::vector<std::string> shimDifferences(const std::string &expected, const std::string &out) {
    std::vector<std::string> messages;
    std::istringstream in(expected);
    size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        number++;
        line.erase(std::min(line.find('#'), line.size()));
        if (line.find_first_not_of(" \t") == line.npos)
            continue;
        std::string difference;
        try {
            difference = lineDifference(line, out);
        } catch (const std::runtime_error &error) {
            difference = error.what();
        }
        if (!difference.empty())
            messages.push_back(std::to_string(number) + ": " + difference);
    }
    return messages;
}
