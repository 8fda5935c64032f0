#include "asic_reg_dump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "asic_err.h"

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
