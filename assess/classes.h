// The cells and classes of events in tables of standards and reports.
#pragma once

#include <optional>
#include <string>

#include "assess/event_terms.h"

namespace assess {

/// Returns the cell of EN 50160's table of dips, "A1" to "X5"; empty if the dip lies outside the table or its duration
/// is unknown. Source: EN 50160:2010, table of dips by residual voltage and duration.
std::string en50160_cell(const EventTerms& terms);

/// Whether a limit of the cell lies within the uncertainty of the figures: 0.2 % of the reference for the residual
/// voltage, and a cycle for the duration.
bool is_near_cell_limit(const EventTerms& terms);

/// Returns the cell of EN 50160's table of swells: row S from 120 % and T from above 110 %, columns 1 (10 to 500 ms), 2
/// (to 5 s) and 3 (to 60 s). Empty outside the table and if the duration is unknown. Source: EN 50160:2010, table of
/// swells.
std::string en50160_swell_cell(const EventTerms& terms);

/// Returns the cell of UNIPEDE's DISDIP table: "30 to 60 % for 100 to 500 ms". Rows are depths: 10 to below 30 %, to
/// below 60 %, to below 100 %, and 100 %. Columns are durations: 10 to below 100 ms, to 500 ms, 1 s, 3 s, 20 s and 60
/// s. A dip counts as 100 % deep if less than 1 % of the voltage remains, as an interruption in EN 50160 when the table
/// was made. Empty outside the table and if the duration is unknown.
std::string unipede_cell(const EventTerms& terms);

/// Returns the class of IEEE Std 1159: "instantaneous sag", "momentary swell", "temporary interruption", and for more
/// than a minute "undervoltage", "overvoltage" or "sustained interruption". An interruption leaves less than 10 % of a
/// voltage. Instantaneous is 0.5 to 30 cycles, momentary to 3 s, temporary to 1 min; interruptions of up to 3 s are
/// momentary. Empty for an event of less than half a cycle, and if the duration is unknown and not above a minute.
std::string ieee1159_class(const EventTerms& terms, bool swell);

/// Returns the type of C4.110 for the letter of the ABC classification: one voltage drops most in types B, D and F, two
/// in C, E and G, and three in A. Letters outside A to G have none.
std::optional<DipKind> kind_of(char letter);

/// Returns the type of C4.110: "I", "II" or "III".
const char* kind_numeral(DipKind kind);

}  // namespace assess
