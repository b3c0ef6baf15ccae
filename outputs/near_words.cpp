#include "outputs/near_words.h"

#include <algorithm>
#include <numeric>

namespace outputs {

namespace {

/// Returns the number of letters to insert, remove, replace or exchange with their neighbour to make one text from
/// another (the optimal string alignment distance).
std::size_t letters_apart(const std::string& one, const std::string& other) {
  std::vector<std::vector<std::size_t>> steps(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); i++) steps[i][0] = i;
  std::iota(steps[0].begin(), steps[0].end(), std::size_t{0});
  for (std::size_t i = 1; i <= one.size(); i++) {
    for (std::size_t j = 1; j <= other.size(); j++) {
      const std::size_t replaced = steps[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
      steps[i][j] = std::min({replaced, steps[i - 1][j] + 1, steps[i][j - 1] + 1});
      const bool exchanged = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (exchanged) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[one.size()][other.size()];
}

bool is_near(const std::string& written, const std::string& known) {
  constexpr std::size_t letters_per_error = 3;
  constexpr std::size_t most_errors = 3;
  const std::size_t errors_in_beginning = written.size() > letters_per_error ? 1 : 0;
  return known.ends_with("_" + written) || known.ends_with("-" + written) ||
         letters_apart(written, known) <= std::min(most_errors, known.size() / letters_per_error) ||
         letters_apart(written, known.substr(0, written.size())) <= errors_in_beginning;
}

}  // namespace

std::vector<std::string> near_words(const std::string& written, const std::vector<std::string>& known) {
  constexpr std::size_t fewest_letters = 3;
  constexpr std::size_t most_shown = 3;
  // No known word is longer than this, and the distance of a long text would take long to compute.
  constexpr std::size_t most_letters = 40;
  std::vector<std::string> near;
  if (written.size() < fewest_letters || written.size() > most_letters) return near;
  std::copy_if(known.begin(), known.end(), std::back_inserter(near),
               [&](const std::string& word) { return is_near(written, word); });
  std::stable_sort(near.begin(), near.end(), [&](const std::string& one, const std::string& other) {
    return letters_apart(written, one) < letters_apart(written, other);
  });
  if (near.size() > most_shown) near.resize(most_shown);
  return near;
}

std::string alternatives(const std::vector<std::string>& words) {
  std::string text = words.empty() ? "" : words.front();
  for (std::size_t i = 1; i < words.size(); i++) text += (i + 1 < words.size() ? ", " : " or ") + words[i];
  return text;
}

}  // namespace outputs
