#include "frame_words.h"

#include "frame_builder.h"
#include "shim_words.h"
#include "tbl/tsr_tbl_name.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

using Bytes = std::vector<uint8_t>;

/// A word of the text and its place.
struct Word {
    std::string text;
    size_t line = 1, column = 1;
};

[[noreturn]] void fail(const Word &at, const std::string &what) {
    throw std::runtime_error(std::to_string(at.line) + ":" + std::to_string(at.column) + ": " + what);
}

/// The words of a text without its comments; a '|' is a word of its own.
std::vector<Word> split(const std::string &text) {
    std::vector<Word> words;
    std::istringstream in(text);
    size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        number++;
        line.erase(std::min(line.find('#'), line.size()));
        bool inWord = false;
        for (size_t at = 0; at < line.size(); at++) {
            const char c = line[at];
            const bool isBlank = std::isspace(static_cast<unsigned char>(c)) != 0;
            if (!isBlank && (!inWord || c == '|'))
                words.push_back({"", number, at + 1});
            if (!isBlank)
                words.back().text += c;
            inWord = !isBlank && c != '|';
        }
    }
    return words;
}

std::optional<unsigned> digit(char c) {
    if (!std::isxdigit(static_cast<unsigned char>(c)))
        return std::nullopt;
    return std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : std::tolower(c) - 'a' + 10;
}

/// `word`, or the part of it that is `text`, as pairs of hexadecimal digits.
Bytes pairs(const Word &word, std::string_view text) {
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        const auto hi = digit(text[i]), lo = i + 1 < text.size() ? digit(text[i + 1]) : std::nullopt;
        if (!hi || !lo)
            fail(word, "'" + word.text + "' is not of pairs of hexadecimal digits");
        bytes.push_back(static_cast<uint8_t>(*hi << 4 | *lo));
    }
    return bytes;
}

/// What one word of `bytes` stands for: pairs of digits, a range "00..0f", or a byte several times, "cc*40".
Bytes bytesOf(const Word &word) {
    const std::string &text = word.text;
    if (const size_t dots = text.find(".."); dots != text.npos) {
        const Bytes first = pairs(word, std::string_view(text).substr(0, dots));
        const Bytes last = pairs(word, std::string_view(text).substr(dots + 2));
        if (first.size() != 1 || last.size() != 1 || first[0] > last[0])
            fail(word, "'" + text + "' is no range of bytes");
        Bytes bytes;
        for (unsigned value = first[0]; value <= last[0]; value++)
            bytes.push_back(static_cast<uint8_t>(value));
        return bytes;
    }
    if (const size_t star = text.find('*'); star != text.npos) {
        const Bytes value = pairs(word, std::string_view(text).substr(0, star));
        TblWide count{};
        if (value.size() != 1 || tblReadValue(text.substr(star + 1), TblKind::NUM, 16, count) != TblRead::OK)
            fail(word, "'" + text + "' is no byte and a number of times");
        return Bytes(count[3], value[0]);
    }
    return pairs(word, text);
}

/// A layer of the text: its name and its words, each of which is taken once.
class Layer {
public:
    explicit Layer(const Word &name) : name_(name) {}
    void add(const Word &word) { words_.push_back(word); }

    const Word &name() const { return name_; }

    /// The value behind `key`, which has at most `width` bits, if it is given.
    std::optional<uint32_t> given(std::string_view key, unsigned width) {
        const Word *value = valueOf(key);
        if (value == nullptr)
            return std::nullopt;
        TblWide wide{};
        const TblRead read = tblReadValue(value->text, TblKind::NUM, width, wide);
        if (read == TblRead::TOO_WIDE)
            fail(*value, "'" + value->text + "' has more than " + std::to_string(width) + " bits");
        if (read == TblRead::BAD)
            fail(*value, "'" + value->text + "' is no number");
        return wide[3];
    }
    uint32_t num(std::string_view key, unsigned width, size_t otherwise = 0) {
        if (const auto value = given(key, width))
            return *value;
        if (width < 32 && otherwise >> width != 0)
            fail(name_, "'" + std::string(key) + "' would have more than " + std::to_string(width) + " bits");
        return static_cast<uint32_t>(otherwise);
    }
    /// Whether the word `key` stands there, which has no value.
    uint32_t flag(std::string_view key) { return find(key) != words_.size() ? 1 : 0; }
    /// The bytes behind `key`, none when it is not given; their number is a multiple of `unit`.
    Bytes data(std::string_view key, size_t unit) {
        const Word *value = valueOf(key);
        if (value == nullptr)
            return {};
        const Bytes bytes = bytesOf(*value);
        if (bytes.size() % unit != 0)
            fail(*value, "the bytes of '" + std::string(key) + "' are no multiple of " + std::to_string(unit));
        return bytes;
    }
    /// The words that stand first: "from > to", or "to < from".
    struct Ends {
        TblWide from, to;
    };
    Ends ends(TblKind kind, unsigned width) {
        const TblWide first = address(kind, width);
        const Word &sign = next("'<' or '>'");
        if (sign.text != "<" && sign.text != ">")
            fail(sign, "'" + sign.text + "' stands where '<' or '>' is wanted");
        const TblWide second = address(kind, width);
        return sign.text == ">" ? Ends{first, second} : Ends{second, first};
    }
    /// All words as bytes.
    Bytes all() {
        Bytes bytes;
        while (taken_ < words_.size()) {
            const Bytes more = bytesOf(words_[taken_++]);
            bytes.insert(bytes.end(), more.begin(), more.end());
        }
        return bytes;
    }
    /// Refuses a word that nobody has taken.
    void end() const {
        if (taken_ < words_.size())
            fail(words_[taken_], "'" + words_[taken_].text + "' is no word of '" + name_.text + "', or stands twice");
    }

private:
    /// The place of `key` among the words that are left, which it leaves, or the number of words.
    size_t find(std::string_view key) {
        for (size_t at = taken_; at < words_.size(); at++) {
            if (words_[at].text == key) {
                take(at);
                return at;
            }
        }
        return words_.size();
    }
    const Word *valueOf(std::string_view key) {
        const size_t at = find(key);
        if (at == words_.size())
            return nullptr;
        if (at + 1 == words_.size())
            fail(words_[taken_ - 1], "'" + std::string(key) + "' has no value");
        take(at + 1);
        return &words_[taken_ - 1];
    }
    /// Puts word `at` behind those that are taken; the others keep their order.
    void take(size_t at) {
        const auto begin = words_.begin();
        std::rotate(begin + static_cast<std::ptrdiff_t>(taken_), begin + static_cast<std::ptrdiff_t>(at),
                    begin + static_cast<std::ptrdiff_t>(at) + 1);
        taken_++;
    }
    const Word &next(const std::string &what) {
        if (taken_ == words_.size())
            fail(name_, "'" + name_.text + "' ends where " + what + " is wanted");
        return words_[taken_++];
    }
    TblWide address(TblKind kind, unsigned width) {
        const Word &word = next("an address");
        TblWide value{};
        if (tblReadValue(word.text, kind, width, value) != TblRead::OK)
            fail(word, "'" + word.text + "' is no address of '" + name_.text + "'");
        return value;
    }

    Word name_;
    std::vector<Word> words_; // the first `taken_` are taken
    size_t taken_ = 0;
};

/// The frame from some layer on, and how a layer in front of it announces it.
struct Rest {
    Bytes bytes;
    std::optional<uint32_t> type = std::nullopt;     ///< its EtherType
    std::optional<uint32_t> protocol = std::nullopt; ///< its IP protocol
    bool hasLength = false;                          ///< LLC: a length stands in the type's place
};

uint64_t macValue(const TblWide &wide) {
    return uint64_t{wide[2]} << 32 | wide[3];
}

Frame &add(Frame &frame, const TblWide &wide) {
    return frame.num(wide[0], 4).num(wide[1], 4).num(wide[2], 4).num(wide[3], 4);
}

Bytes joined(Frame front, const Bytes &rest) {
    front.bytes.insert(front.bytes.end(), rest.begin(), rest.end());
    return front.bytes;
}

/// The word that says what follows: its type, or its length.
uint32_t typeWord(Layer &layer, const Rest &rest) {
    if (const auto type = layer.given("type", 16))
        return *type;
    if (rest.hasLength)
        return layer.num("len", 16, rest.bytes.size());
    if (!rest.type)
        fail(layer.name(), "'" + layer.name().text + "' needs a 'type': what follows has none of its own");
    return *rest.type;
}

/// The protocol of what follows; that for experiments in front of plain bytes.
uint32_t protocolOf(Layer &layer, const char *key, const Rest &rest) {
    return layer.num(key, 8, rest.protocol.value_or(254));
}

Rest eth(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::MAC, 48);
    Frame frame;
    frame.mac(macValue(to), macValue(from)).etyp(typeWord(layer, rest));
    return {joined(frame, rest.bytes)};
}

Rest tag(Layer &layer, const Rest &rest, uint32_t tpid) {
    const uint32_t type = layer.num("tpid", 16, tpid);
    const uint32_t dei = layer.flag("dei");
    Frame frame;
    frame.num(layer.num("pri", 3) << 13 | dei << 12 | layer.num("vid", 12), 2).etyp(typeWord(layer, rest));
    return {joined(frame, rest.bytes), type};
}
Rest ctag(Layer &layer, const Rest &rest) {
    return tag(layer, rest, 0x8100);
}
Rest stag(Layer &layer, const Rest &rest) {
    return tag(layer, rest, 0x88a8);
}

Rest cn(Layer &layer, const Rest &rest) {
    const uint32_t type = layer.num("tpid", 16, 0x22e9);
    Frame frame;
    frame.num(layer.num("flow", 16), 2).etyp(typeWord(layer, rest));
    return {joined(frame, rest.bytes), type};
}

Rest llc(Layer &layer, const Rest &rest) {
    Frame frame;
    frame.num(layer.num("dsap", 8), 1).num(layer.num("ssap", 8), 1).num(layer.num("ctl", 8, 3), 1);
    return {.bytes = joined(frame, rest.bytes), .hasLength = true};
}

Rest snap(Layer &layer, const Rest &rest) {
    Frame frame;
    frame.num(0xaaaa03, 3).num(layer.num("oui", 24), 3).etyp(typeWord(layer, rest));
    return {.bytes = joined(frame, rest.bytes), .hasLength = true};
}

Rest trill(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::NUM, 16);
    const Bytes options = layer.data("options", 4);
    const uint32_t mc = layer.flag("mc");
    Frame frame;
    frame.trill(to[3], from[3], layer.num("hop", 6), mc, layer.num("ver", 2),
                layer.num("optlen", 5, options.size() / 4));
    return {joined({joined(frame, options)}, rest.bytes), 0x22f3};
}

Rest ipv4(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::IPV4, 32);
    const Bytes options = layer.data("options", 4);
    const size_t size = 20 + options.size();
    const uint32_t df = layer.flag("df"), mf = layer.flag("mf");
    Frame frame;
    frame.num(layer.num("ver", 4, 4) << 4 | layer.num("ihl", 4, size / 4), 1);
    frame.num(layer.num("dscp", 6) << 2 | layer.num("ecn", 2), 1);
    frame.num(layer.num("len", 16, size + rest.bytes.size()), 2).num(layer.num("id", 16), 2);
    frame.num(df << 14 | mf << 13 | layer.num("frag", 13), 2);
    frame.num(layer.num("ttl", 8, 64), 1).num(protocolOf(layer, "proto", rest), 1);
    const auto sum = layer.given("sum", 16);
    frame.num(sum.value_or(0), 2).num(from[3], 4).num(to[3], 4);
    frame.bytes = joined(frame, options);
    if (!sum) {
        const uint32_t computed = frame.checksum(0, size);
        frame.bytes[10] = static_cast<uint8_t>(computed >> 8);
        frame.bytes[11] = static_cast<uint8_t>(computed);
    }
    return {joined(frame, rest.bytes), 0x0800, 4};
}

Rest ipv6(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::IPV6, 128);
    Frame frame;
    frame.num(layer.num("ver", 4, 6) << 28 | layer.num("dscp", 6) << 22 | layer.num("ecn", 2) << 20 |
                  layer.num("flow", 20),
              4);
    frame.num(layer.num("len", 16, rest.bytes.size()), 2);
    frame.num(protocolOf(layer, "next", rest), 1).num(layer.num("hop", 8, 64), 1);
    add(add(frame, from), to);
    return {joined(frame, rest.bytes), 0x86dd, 41};
}

/// An extension header of IPv6: the bytes behind its length fill it up to a multiple of 8.
Rest extension(Layer &layer, const Rest &rest, uint32_t protocol) {
    Bytes data = layer.data("data", 1);
    data.resize((data.size() + 2 + 7) / 8 * 8 - 2);
    Frame frame;
    frame.num(protocolOf(layer, "next", rest), 1).num(layer.num("len", 8, (data.size() + 2) / 8 - 1), 1);
    return {joined({joined(frame, data)}, rest.bytes), std::nullopt, protocol};
}
Rest hopopts(Layer &layer, const Rest &rest) {
    return extension(layer, rest, 0);
}
Rest routing(Layer &layer, const Rest &rest) {
    return extension(layer, rest, 43);
}
Rest dstopts(Layer &layer, const Rest &rest) {
    return extension(layer, rest, 60);
}

Rest fragment(Layer &layer, const Rest &rest) {
    const uint32_t more = layer.flag("more");
    Frame frame;
    frame.num(protocolOf(layer, "next", rest), 1).num(0, 1);
    frame.num(layer.num("frag", 13) << 3 | more, 2).num(layer.num("id", 32), 4);
    return {joined(frame, rest.bytes), std::nullopt, 44};
}

Rest tcp(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::PORT, 16);
    static constexpr const char *FLAGS[] = {"fin", "syn", "rst", "psh", "ack", "urg"};
    uint32_t flags = 0;
    for (unsigned i = 0; i < std::size(FLAGS); i++)
        flags |= layer.flag(FLAGS[i]) << i;
    Frame frame;
    frame.num(from[3], 2).num(to[3], 2).num(layer.num("seq", 32), 4).num(layer.num("ackno", 32), 4);
    frame.num(0x50, 1).num(flags, 1).num(layer.num("win", 16), 2).num(layer.num("sum", 16), 2).num(0, 2);
    return {joined(frame, rest.bytes), std::nullopt, 6};
}

Rest udp(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::PORT, 16);
    Frame frame;
    frame.num(from[3], 2).num(to[3], 2).num(layer.num("len", 16, 8 + rest.bytes.size()), 2);
    frame.num(layer.num("sum", 16), 2);
    return {joined(frame, rest.bytes), std::nullopt, 17};
}

Rest icmpOf(Layer &layer, const Rest &rest, uint32_t protocol) {
    Frame frame;
    frame.num(layer.num("type", 8), 1).num(layer.num("code", 8), 1).num(layer.num("sum", 16), 2);
    frame.num(layer.num("rest", 32), 4);
    return {joined(frame, rest.bytes), std::nullopt, protocol};
}
Rest icmp(Layer &layer, const Rest &rest) {
    return icmpOf(layer, rest, 1);
}
Rest icmpv6(Layer &layer, const Rest &rest) {
    return icmpOf(layer, rest, 58);
}

/// The header of a PIM register message; the checksum is that of the header alone.
Rest pim(Layer &layer, const Rest &rest) {
    const uint32_t border = layer.flag("border"), null = layer.flag("null");
    const auto sum = layer.given("sum", 16);
    Frame frame;
    frame.num(layer.num("ver", 4, 2) << 4 | layer.num("type", 4, 1), 1).num(0, 1).num(sum.value_or(0), 2);
    frame.num(border << 31 | null << 30, 4);
    if (!sum) {
        const uint32_t computed = frame.checksum(0, 8);
        frame.bytes[2] = static_cast<uint8_t>(computed >> 8);
        frame.bytes[3] = static_cast<uint8_t>(computed);
    }
    return {joined(frame, rest.bytes), std::nullopt, 103};
}

Rest fcoe(Layer &layer, const Rest &rest) {
    Frame frame;
    frame.num(layer.num("ver", 4) << 4, 1).fill(12).num(layer.num("sof", 8, 0x2e), 1);
    return {joined(frame, rest.bytes), 0x8906};
}

Rest vsan(Layer &layer, const Rest &rest) {
    Frame frame;
    frame.num(0x50, 1).num(0, 1).num(layer.num("pri", 3) << 13 | layer.num("vfid", 12) << 1, 2);
    frame.num(layer.num("hop", 8), 1).fill(3);
    return {joined(frame, rest.bytes)};
}

Rest fc(Layer &layer, const Rest &rest) {
    const auto [from, to] = layer.ends(TblKind::FCID, 24);
    Frame frame;
    frame.num(layer.num("r_ctl", 8, 6), 1).num(to[3], 3).num(layer.num("cs_ctl", 8), 1).num(from[3], 3);
    frame.num(layer.num("type", 8, 8), 1).num(layer.num("f_ctl", 24), 3).num(layer.num("seq_id", 8), 1);
    frame.num(layer.num("df_ctl", 8), 1).num(layer.num("seq_cnt", 16), 2).num(layer.num("ox_id", 16), 2);
    frame.num(layer.num("rx_id", 16, 0xffff), 2).num(layer.num("param", 32), 4);
    return {joined(frame, rest.bytes)};
}

Rest shim(Layer &layer, const Rest &rest) {
    ShimWords words{};
    for (const ShimField &field : shimFields())
        field.put(words, layer.num(field.name, field.width()));
    Frame frame;
    for (const uint32_t word : words)
        frame.num(word, 4);
    return {joined(frame, rest.bytes)};
}

Rest bytes(Layer &layer, const Rest &rest) {
    return {joined({layer.all()}, rest.bytes)};
}

struct LayerKind {
    const char *name;
    /// The frame from the layer on, with `rest` behind it.
    Rest (*encode)(Layer &layer, const Rest &rest);
};
constexpr LayerKind KINDS[] = {
    {"shim", shim}, {"eth", eth},         {"ctag", ctag},       {"vlan", ctag},       {"stag", stag},
    {"cn", cn},     {"llc", llc},         {"snap", snap},       {"trill", trill},     {"ipv4", ipv4},
    {"ipv6", ipv6}, {"hopopts", hopopts}, {"routing", routing}, {"dstopts", dstopts}, {"fragment", fragment},
    {"tcp", tcp},   {"udp", udp},         {"icmp", icmp},       {"icmpv6", icmpv6},   {"pim", pim},
    {"fcoe", fcoe}, {"vsan", vsan},       {"fc", fc},           {"bytes", bytes},
};

/// The layers of a text, each with its words.
std::vector<Layer> layersOf(const std::string &text) {
    std::vector<Layer> layers;
    const Word *bar = nullptr;
    const std::vector<Word> words = split(text);
    for (const Word &word : words) {
        if (word.text == "|") {
            if (bar != nullptr || layers.empty())
                fail(word, "no layer stands in front of '|'");
            bar = &word;
        } else if (bar != nullptr || layers.empty()) {
            layers.emplace_back(word);
            bar = nullptr;
        } else {
            layers.back().add(word);
        }
    }
    if (layers.empty())
        fail({}, "no layer");
    if (bar != nullptr)
        fail(*bar, "no layer stands behind '|'");
    return layers;
}

} // namespace

std::vector<uint8_t> frameOfWords(const std::string &text) {
    std::vector<Layer> layers = layersOf(text);
    Rest rest;
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
        const Word &name = layer->name();
        const auto kind = std::find_if(std::begin(KINDS), std::end(KINDS),
                                       [&](const LayerKind &known) { return known.name == name.text; });
        if (kind == std::end(KINDS))
            fail(name, "there is no layer '" + name.text + "'");
        rest = kind->encode(*layer, rest);
        layer->end();
    }
    return rest.bytes;
}

std::vector<std::string> frameLayers() {
    std::vector<std::string> names;
    for (const LayerKind &kind : KINDS)
        names.emplace_back(kind.name);
    return names;
}

std::string hexDigits(const std::vector<uint8_t> &bytes) {
    std::string digits;
    for (const uint8_t byte : bytes) {
        digits += "0123456789abcdef"[byte >> 4];
        digits += "0123456789abcdef"[byte & 15];
    }
    return digits;
}
