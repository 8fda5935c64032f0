#pragma once
// Whether two models hold the same, word for word.

#include "model.h"

#include <string>

/// The first place where `a` and `b` differ, in words; empty when all registers, memories and what else outlives a
/// frame are equal. The record of the frame that ran last does not count.
std::string modelDifference(const Model &a, const Model &b);
