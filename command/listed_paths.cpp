#include "command/listed_paths.h"

#include "readers/file_access.h"
#include "readers/text.h"

namespace command {

std::vector<std::string> listed_paths(const std::string& file) {
  const readers::FileText text = file == "-" ? readers::FileText::of_standard_input() : readers::FileText(file);
  std::vector<std::string> paths;
  readers::Lines lines(text.view());
  while (const auto line = lines.next()) {
    if (!line->empty()) paths.emplace_back(*line);
  }
  return paths;
}

}  // namespace command
