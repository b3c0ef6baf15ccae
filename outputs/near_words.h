// Finds the words that somebody may have meant who wrote another one.
#pragma once

#include <string>
#include <vector>

namespace outputs {

/// Returns the known words that may be meant by a word, the nearest first and three at most. A known word may be meant
/// if the written one is its end after a "_" or "-", differs from it by one letter in three, or differs from its
/// beginning by one letter. None may be meant by a word of fewer than three letters.
std::vector<std::string> near_words(const std::string& written, const std::vector<std::string>& known);

/// "a, b or c".
std::string alternatives(const std::vector<std::string>& words);

}  // namespace outputs
