#include "outputs/notes.h"

namespace outputs {

std::vector<std::string> notes_of(const readers::Record& record, const analysis::Analysis& analysis) {
  std::vector<std::string> notes = record.notes;
  notes.insert(notes.end(), analysis.notes.begin(), analysis.notes.end());
  if (analysis.found.begins_low) {
    notes.emplace_back("The first cycles are much lower than the usual level, which is that of a later time.");
  }
  return notes;
}

}  // namespace outputs
