// The words for values that PQDIF files give as numbers or identifiers.
#pragma once

#include <cstdint>
#include <string>

#include "readers/pqdif/guid.h"

namespace readers::pqdif {

/// Returns the sign of a unit, such as "V"; empty for none and for unknown units.
std::string unit_name(std::uint32_t unit);

/// Returns the name of a phase as the standard writes it, such as "AN" or "BC"; empty for none and for unknown phases.
std::string phase_name(std::uint32_t phase);

/// Returns what kind of data a quantity type announces, in the plural: "waveforms", "trends", "histograms".
std::string kind_name(const Guid& quantity_type);

/// Returns the name of a disturbance category, such as "instantaneous sag"; empty for none and for unknown ones.
std::string category_name(const Guid& category);

}  // namespace readers::pqdif
