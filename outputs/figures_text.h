// Angles and names as people read them, the same wherever they stand: in the text, in a figure, on a page.
#pragma once

#include <cstddef>
#include <string>

#include "readers/record.h"

namespace outputs {

/// An angle in [0, 360): "96.3°".
std::string angle_text(double degrees);

/// What an angle turns by: "+4.3°", "-19.4°", "0.0°".
std::string turn_text(double degrees);

/// How many columns of a terminal a text takes; letters of East Asia take two.
std::size_t columns_of(const std::string& text);

/// A name with its middle cut out, "…" standing for it, where it is wider than `most` columns.
std::string shortened(const std::string& name, std::size_t most);

/// Whether a channel's values are those of one side of a transformer.
bool is_of_transformer(const readers::Channel& channel);

/// "secondary values, transformer 500000:100".
std::string side_text(const readers::Channel& channel);

}  // namespace outputs
