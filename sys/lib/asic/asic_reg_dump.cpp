#include "asic_reg_dump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "asic_err.h"
#include "asic_reg_line.h"

static bool isGroup(const regdump_map_t *mapp) {
    return mapp->child != nullptr;
}

/// One instance only, or a scalar: the name carries no subscript.
static bool isSingle(const regdump_map_t *mapp) {
    return mapp->depth[0] == 1 && mapp->depth[1] == 0;
}

// ---------------------------------------------------------------------------------------------------- the walker

static regdump_elem_t *topElem(regdump_stack_t *stackp) {
    return &stackp->elem[stackp->depth - 1];
}

void regdump_stack_init(regdump_stack_t *stackp, const regdump_map_t *mapp) {
    stackp->depth = 1;
    stackp->elem[0] = {mapp, 0};
    regdump_stack_push_all(stackp);
}

const regdump_map_t *regdump_stack_get_map(const regdump_stack_t *stackp) {
    return stackp->elem[stackp->depth - 1].mapp;
}

uint32_t regdump_stack_get_asic_off(const regdump_stack_t *stackp) {
    uint32_t offset = 0;
    for (uint32_t level = 0; level < stackp->depth; ++level) {
        const regdump_elem_t &elem = stackp->elem[level];
        offset += elem.mapp->asic_offset;
        if (isGroup(elem.mapp))
            offset += elem.mapp->asic_size * elem.inst;
    }
    return offset;
}

uint32_t regdump_stack_get_dump_off(const regdump_stack_t *stackp) {
    uint32_t offset = 0;
    for (uint32_t level = 0; level < stackp->depth; ++level) {
        const regdump_elem_t &elem = stackp->elem[level];
        offset += elem.mapp->dump_offset;
        if (isGroup(elem.mapp))
            offset += elem.mapp->dump_size * elem.inst;
    }
    return offset;
}

int regdump_stack_skip_due_to_depth(const regdump_stack_t *stackp, const regdump_map_t *next_mapp, uint32_t levels) {
    if (next_mapp->parent_depth == 0)
        return 0;
    if (stackp->depth < 1 + levels)
        return 0;
    return stackp->elem[stackp->depth - 1 - levels].inst >= next_mapp->parent_depth ? 1 : 0;
}

void regdump_stack_push_all(regdump_stack_t *stackp) {
    for (;;) {
        const regdump_map_t *mapp = regdump_stack_get_map(stackp)->child;
        if (mapp == nullptr)
            return;
        while (mapp->name != nullptr && regdump_stack_skip_due_to_depth(stackp, mapp, 0))
            ++mapp;
        if (mapp->name == nullptr)
            return;
        ++stackp->depth;
        *topElem(stackp) = {mapp, 0};
    }
}

void regdump_stack_upd_map(regdump_stack_t *stackp, const regdump_map_t *mapp) {
    *topElem(stackp) = {mapp, 0};
}

int regdump_stack_next(regdump_stack_t *stackp) {
    while (stackp->depth != 0) {
        regdump_elem_t *top = topElem(stackp);
        if (isGroup(top->mapp) && ++top->inst < top->mapp->depth[0]) {
            regdump_stack_push_all(stackp);
            return 0;
        }
        for (const regdump_map_t *mapp = top->mapp + 1; mapp->name != nullptr; ++mapp) {
            if (!regdump_stack_skip_due_to_depth(stackp, mapp, 1)) {
                regdump_stack_upd_map(stackp, mapp);
                regdump_stack_push_all(stackp);
                return 0;
            }
        }
        --stackp->depth;
    }
    return ASIC_ENTRY_NOT_EXIST;
}

// -------------------------------------------------------------------------------------------------------- names

namespace {

/// Text in a buffer of fixed size, its terminator included; what does not fit is cut.
class CutText {
public:
    CutText(char *text, size_t size) : text_(text), left_(size) {
        if (left_ != 0)
            *text_ = '\0';
    }

    void add(const char *piece) {
        while (*piece != '\0' && left_ > 1)
            put(*piece++);
    }

    void addNumber(uint32_t number) {
        char digits[10];
        size_t count = 0;
        do
            digits[count++] = static_cast<char>('0' + number % 10);
        while ((number /= 10) != 0);
        while (count != 0 && left_ > 1)
            put(digits[--count]);
    }

    /// Where the next character goes.
    char *end() const { return text_; }

private:
    void put(char c) {
        *text_++ = c;
        *text_ = '\0';
        --left_;
    }

    char *text_;
    size_t left_;
};

/// One number behind a row's name: a subscript, or the word number of a wide element.
struct NameCounter {
    uint32_t limit;
    const char *open;
    const char *close;
};

/// The numbers behind a row's name, outermost first.
struct NameCounters {
    explicit NameCounters(const regdump_map_t *mapp) {
        for (size_t dim = 0; dim < REGDUMP_MAX_DIMS && !isSingle(mapp); ++dim) {
            if (mapp->depth[dim] != 0)
                list[num++] = {mapp->depth[dim], "[", "]"};
        }
        if (mapp->asic_size > 4)
            list[num++] = {mapp->asic_size / 4, ".w", ""};
    }

    size_t num = 0;
    NameCounter list[REGDUMP_MAX_DIMS + 1];
};

} // namespace

/// Adds the part of a name that all words of the leaf share.
static void addLevelNames(CutText &text, const regdump_stack_t *stackp) {
    for (uint32_t level = 0; level < stackp->depth; ++level) {
        const regdump_elem_t &elem = stackp->elem[level];
        text.add(elem.mapp->name);
        if (!isGroup(elem.mapp))
            continue;
        if (!isSingle(elem.mapp)) {
            text.add("[");
            text.addNumber(elem.inst);
            text.add("]");
        }
        text.add(".");
    }
}

char *regdump_stack_name_str(const regdump_stack_t *stackp, char *buf, size_t buf_size, uint32_t elem_offset) {
    CutText text(buf, buf_size);
    addLevelNames(text, stackp);

    const regdump_map_t *mapp = regdump_stack_get_map(stackp);
    const NameCounters counters(mapp);
    uint32_t number[REGDUMP_MAX_DIMS + 1];
    uint32_t index = elem_offset / 4;
    size_t subscripts = counters.num;
    if (mapp->asic_size > 4) {
        index = elem_offset / mapp->asic_size;
        number[--subscripts] = elem_offset % mapp->asic_size / 4;
    }
    for (size_t i = subscripts; i-- != 0;) {
        number[i] = index % counters.list[i].limit;
        index /= counters.list[i].limit;
    }
    for (size_t i = 0; i < counters.num; ++i) {
        text.add(counters.list[i].open);
        text.addNumber(number[i]);
        text.add(counters.list[i].close);
    }
    return buf;
}

// ------------------------------------------------------------------------------------------------------ listing

/// Columns of a listed line: "0x<8 digits>:  0x<8 digits>  <name>".
static constexpr size_t ASIC_OFF_COLUMN = 2;
static constexpr size_t VALUE_COLUMN = 15;
static constexpr size_t NAME_COLUMN = 25;
static constexpr char COLUMNS[] = "0x00000000:  0x00000000  ";
static_assert(sizeof(COLUMNS) == NAME_COLUMN + 1);

namespace {

/// The innermost number of a row's names with all that follows it on the line, kept as text that counts up.
class CountingTail {
public:
    /// Room that `put` needs, whatever the number.
    static constexpr size_t SIZE = 16;

    explicit CountingTail(const char *close) {
        std::memcpy(first_, "0", 1);
        const size_t close_size = std::strlen(close);
        std::memcpy(first_ + 1, close, close_size);
        first_[1 + close_size] = '\n';
        first_size_ = close_size + 2;
        reset();
    }

    /// Back to 0.
    void reset() {
        std::memcpy(text_, first_, SIZE);
        size_ = first_size_;
        digits_ = 1;
        last_ = '0';
    }

    /// Writes the tail to `text` and returns its size. All of the room is written to.
    size_t put(char *text) const {
        std::memcpy(text, text_, SIZE);
        text[digits_ - 1] = last_;
        return size_;
    }

    void increment() {
        if (last_ != '9') {
            ++last_;
            return;
        }
        last_ = '0';
        size_t i = digits_ - 1;
        while (i != 0 && text_[i - 1] == '9')
            text_[--i] = '0';
        if (i != 0) {
            ++text_[i - 1];
            return;
        }
        std::memmove(text_ + 1, text_, size_);
        text_[0] = '1';
        ++digits_;
        ++size_;
    }

private:
    char first_[SIZE] = {};
    char text_[SIZE];
    size_t first_size_;
    size_t size_;
    size_t digits_;
    char last_; ///< the last digit; its place in the text is stale
};

} // namespace

/// Lists the words of the current leaf one by one. `image` is the whole image, of `image_size` bytes; a word beyond it
/// is 0.
static void listWords(LineSink &sink, const regdump_stack_t *stackp, const uint8_t *image, uint32_t image_size,
                      bool debug) {
    static constexpr char DUMP_COLUMN[] = " (dmp 0x00000000)";
    static constexpr uint8_t NOTHING[4] = {};
    const uint32_t size = regdump_mapp_get_size(regdump_stack_get_map(stackp));
    const uint32_t asic_off = regdump_stack_get_asic_off(stackp);
    const uint32_t dump_off = regdump_stack_get_dump_off(stackp);
    for (uint64_t k = 0; k < size; k += 4) {
        char *line = sink.room();
        const bool inside = dump_off + k + 4 <= image_size;
        std::copy_n(COLUMNS, NAME_COLUMN, line);
        putHex(line + ASIC_OFF_COLUMN, asic_off + static_cast<uint32_t>(k));
        putHex(line + VALUE_COLUMN, inside ? image + dump_off + k : NOTHING);
        regdump_stack_name_str(stackp, line + NAME_COLUMN, REGDUMP_NAME_SIZE, static_cast<uint32_t>(k));
        char *end = line + NAME_COLUMN + std::strlen(line + NAME_COLUMN);
        if (debug) {
            std::copy_n(DUMP_COLUMN, sizeof(DUMP_COLUMN) - 1, end);
            putHex(end + 8, dump_off + static_cast<uint32_t>(k));
            end += sizeof(DUMP_COLUMN) - 1;
        }
        *end++ = '\n';
        sink.take(static_cast<size_t>(end - line));
    }
}

/// Lists the current leaf as `listWords` does, by counting its names up: the leaf must have at least one number behind
/// its name, full names that fit, whole words in its elements and all its words in the image.
static void listCounted(LineSink &sink, const regdump_stack_t *stackp, const uint8_t *image) {
    constexpr size_t BLOCK = 64;
    const regdump_map_t *mapp = regdump_stack_get_map(stackp);
    const uint32_t num_words = regdump_mapp_get_size(mapp) / 4;
    const uint8_t *word = image + regdump_stack_get_dump_off(stackp);
    uint32_t asic_off = regdump_stack_get_asic_off(stackp);

    const NameCounters counters(mapp);
    const size_t inner = counters.num - 1;
    uint32_t number[REGDUMP_MAX_DIMS + 1] = {};
    char *start[REGDUMP_MAX_DIMS + 2];
    char head[MAX_LINE] = {};
    std::copy_n(COLUMNS, NAME_COLUMN, head);
    CutText levels(head + NAME_COLUMN, REGDUMP_NAME_SIZE);
    addLevelNames(levels, stackp);
    start[0] = levels.end();

    CountingTail tail(counters.list[inner].close);
    size_t changed = 0;
    for (uint32_t done = 0; done < num_words;) {
        for (size_t i = changed; i <= inner; ++i) {
            CutText piece(start[i], CountingTail::SIZE);
            piece.add(counters.list[i].open);
            if (i != inner) {
                piece.addNumber(number[i]);
                piece.add(counters.list[i].close);
            }
            start[i + 1] = piece.end();
        }
        const size_t head_size = static_cast<size_t>(start[inner + 1] - head);
        tail.reset();

        const uint32_t run = std::min(counters.list[inner].limit, num_words - done);
        for (uint32_t i = 0; i < run; ++i, word += 4, asic_off += 4) {
            char *line = sink.room();
            std::memcpy(line, head, BLOCK);
            if (head_size > BLOCK)
                std::memcpy(line + BLOCK, head + BLOCK, head_size - BLOCK);
            putHex(line + ASIC_OFF_COLUMN, asic_off);
            putHex(line + VALUE_COLUMN, word);
            sink.take(head_size + tail.put(line + head_size));
            tail.increment();
        }
        done += run;

        changed = inner;
        while (changed != 0) {
            --changed;
            if (++number[changed] != counters.list[changed].limit)
                break;
            number[changed] = 0;
        }
    }
}

/// Tells whether `listCounted` may list the current leaf.
static bool canCount(const regdump_stack_t *stackp, uint32_t image_size) {
    const regdump_map_t *mapp = regdump_stack_get_map(stackp);
    const uint64_t dump_end = uint64_t{regdump_stack_get_dump_off(stackp)} + regdump_mapp_get_size(mapp);
    if (dump_end > image_size || (mapp->asic_size > 4 && mapp->asic_size % 4 != 0))
        return false;
    char name[REGDUMP_NAME_SIZE];
    CutText levels(name, sizeof(name));
    addLevelNames(levels, stackp);
    const NameCounters counters(mapp);
    const size_t levels_size = static_cast<size_t>(levels.end() - name);
    return counters.num != 0 && levels_size + counters.num * CountingTail::SIZE < sizeof(name);
}

int regdump_decode_chip(const regdump_map_t *map_startp, const void *src_buf, uint32_t src_buf_size, int debug_flag) {
    if (src_buf == nullptr)
        return ASIC_INV_DATA;
    const uint8_t *image = static_cast<const uint8_t *>(src_buf);
    LineSink sink;
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const regdump_map_t *mapp = regdump_stack_get_map(&stack);
        if (!isDumped(mapp))
            continue;
        if (!sink.ok())
            return ASIC_RESOURCE_FULL;
        const uint32_t size = regdump_mapp_get_size(mapp);
        // The row's own offset counts here, not the absolute one.
        if (src_buf_size < uint64_t{size} + mapp->dump_offset) {
            sink.flush();
            std::printf("name %s offset 0x%x dmpsize 0x%x srcsize 0x%x\n", mapp->name, mapp->dump_offset, size,
                        src_buf_size);
            return ASIC_RESOURCE_FULL;
        }
        if (!debug_flag && canCount(&stack, src_buf_size))
            listCounted(sink, &stack, image);
        else
            listWords(sink, &stack, image, src_buf_size, debug_flag != 0);
    } while (regdump_stack_next(&stack) == 0);
    return sink.flush() ? 0 : ASIC_RESOURCE_FULL;
}

// -------------------------------------------------------------------------------------------------- conversions

/// Tells whether the row of `mapp` from `start` on, in the space that `offset` belongs to, holds that offset.
static bool spanHolds(const regdump_map_t *mapp, uint32_t start, uint32_t offset) {
    return offset >= start && offset - start < regdump_mapp_get_size(mapp);
}

int regdump_asic_off_to_dump_off(const regdump_map_t *map_startp, uint32_t asic_off) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const regdump_map_t *mapp = regdump_stack_get_map(&stack);
        const uint32_t start = regdump_stack_get_asic_off(&stack);
        if (isDumped(mapp) && spanHolds(mapp, start, asic_off))
            return static_cast<int>(regdump_stack_get_dump_off(&stack) + (asic_off - start));
    } while (regdump_stack_next(&stack) == 0);
    return ASIC_INV_DATA;
}

int regdump_dump_off_to_asic_off(const regdump_map_t *map_startp, uint32_t dump_off) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const regdump_map_t *mapp = regdump_stack_get_map(&stack);
        const uint32_t start = regdump_stack_get_dump_off(&stack);
        if (isDumped(mapp) && spanHolds(mapp, start, dump_off))
            return static_cast<int>(regdump_stack_get_asic_off(&stack) + (dump_off - start));
    } while (regdump_stack_next(&stack) == 0);
    return -1; // not the code of the other direction: callers tell the two apart
}

int regdump_asic_off_to_exact_name(const regdump_map_t *map_startp, uint32_t offset, char *name) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const uint32_t start = regdump_stack_get_asic_off(&stack);
        if (spanHolds(regdump_stack_get_map(&stack), start, offset)) {
            regdump_stack_name_str(&stack, name, REGDUMP_NAME_SIZE, offset - start);
            return 0;
        }
    } while (regdump_stack_next(&stack) == 0);
    return ASIC_ENTRY_NOT_EXIST;
}

void regdump_copy_last_word(const char *name, char *short_patt) {
    const char *last = name;
    const char *previous = name;
    for (const char *c = name; *c != '\0'; ++c) {
        if (*c == '.') {
            previous = last;
            last = c + 1;
        }
    }
    if (last[0] == 'w' && last[1] >= '0' && last[1] <= '9')
        last = previous;
    const size_t size = std::strcspn(last, "[.");
    std::memcpy(short_patt, last, size);
    short_patt[size] = '\0';
}

int regdump_exact_name_to_asic_off(const regdump_map_t *map_startp, const char *name) {
    if (std::strlen(name) >= REGDUMP_NAME_SIZE)
        return ASIC_ENTRY_NOT_EXIST;
    char short_patt[REGDUMP_NAME_SIZE];
    regdump_copy_last_word(name, short_patt);

    char word_name[REGDUMP_NAME_SIZE];
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const uint32_t size = regdump_mapp_get_size(regdump_stack_get_map(&stack));
        if (std::strstr(regdump_stack_name_str(&stack, word_name, sizeof(word_name), 0), short_patt) == nullptr)
            continue;
        for (uint32_t word = 0; word < size / 4; ++word) {
            regdump_stack_name_str(&stack, word_name, sizeof(word_name), 4 * word);
            if (std::strcmp(word_name, name) == 0)
                return static_cast<int>(regdump_stack_get_asic_off(&stack) + 4 * word);
        }
    } while (regdump_stack_next(&stack) == 0);
    return ASIC_ENTRY_NOT_EXIST;
}
