#include "outputs/origin_text.h"

#include <fmt/format.h>

namespace outputs {

namespace {

/// Lists what each method says: "real current: upstream, ...".
std::string list_of(const assess::Direction& direction) {
  std::string list;
  for (const auto& opinion : direction.opinions) {
    list += fmt::format("{}{}: {}", list.empty() ? "" : ", ", opinion.method,
                        opinion.side ? side_words(*opinion.side) : "not decided");
  }
  return list;
}

}  // namespace

std::string direction_sentence(std::size_t index, const analysis::Analysis& analysis) {
  if (index >= analysis.origins.size() || !analysis.origins[index].direction) return "";
  const assess::Direction& direction = *analysis.origins[index].direction;
  if (direction.decided() < 2) return "";
  return fmt::format("Side of the cause, by the currents: {} ({})", direction.words(), list_of(direction));
}

std::string cause_sentence(std::size_t index, const analysis::Analysis& analysis) {
  if (index >= analysis.origins.size() || !analysis.origins[index].cause) return "";
  const assess::Cause& cause = *analysis.origins[index].cause;
  return fmt::format("Likely cause: {}, because {}", cause_words(cause.kind), cause.grounds);
}

}  // namespace outputs
