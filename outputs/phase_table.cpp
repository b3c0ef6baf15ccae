#include "outputs/phase_table.h"

#include <algorithm>

#include "outputs/figures_text.h"

namespace outputs {

namespace {

constexpr std::size_t heading_columns = 26;
constexpr std::size_t figure_columns = 18;

std::string blanks_beside(const std::string& text, std::size_t columns) {
  return std::string(columns - std::min(columns, columns_of(text)), ' ');
}

}  // namespace

std::string PhaseTable::begun(const std::string& heading) const {
  if (heading_columns + phases_ * figure_columns <= colours_.width()) {
    return heading + blanks_beside(heading, heading_columns);
  }
  return heading.empty() ? "" : heading + '\n';
}

std::string PhaseTable::cell(const std::string& figure) {
  return blanks_beside(figure, figure_columns) + figure;
}

std::string PhaseTable::name_cell(const std::string& name) {
  return cell(shortened(name, figure_columns - 2));
}

}  // namespace outputs
