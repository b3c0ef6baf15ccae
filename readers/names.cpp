#include "readers/names.h"

#include <fmt/format.h>

#include "readers/plausible.h"
#include "readers/text.h"

namespace readers {

std::string Names::read(std::string_view field, std::string_view what) {
  std::string name = inert(field);
  if (name.size() <= longest_name) return name;  // there are no more characters than bytes
  const std::size_t characters = count_characters(name);
  if (characters <= longest_name) return name;
  if (cut_++ == 0) first_ = fmt::format("{} has {} characters", what, characters);
  return first_characters(name, longest_name);
}

std::string Names::note() const {
  if (cut_ == 0) return {};
  return fmt::format("The text of {} and was cut to {}{}.", first_, longest_name,
                     cut_ == 1   ? ""
                     : cut_ == 2 ? "; 1 more text was cut too"
                                 : fmt::format("; {} more texts were cut too", cut_ - 1));
}

}  // namespace readers
