#include "hsi/cmRteHsiText.h"

namespace {

struct FieldText {
    std::string_view name;
    std::string_view text;
};

constexpr FieldText kTexts[] = {
#define TEXT(name, text) {name, text},
#include "hsi/cmRteHsiText.def"
};

} // namespace

std::string_view hsiFieldText(std::string_view name) {
    for (const FieldText &entry : kTexts) {
        if (entry.name == name)
            return entry.text;
    }
    return {};
}
