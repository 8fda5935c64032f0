#pragma once
// What the fields of the chip's registers mean, for programs and pages that explain them.

#include <string_view>

/// The meaning of the register field `name`, as the register lists write it ({n}, {a} and {b} included); empty when the
/// model does not read the field.
std::string_view hsiFieldText(std::string_view name);
