// The common part of all reader fuzzers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "readers/open_options.h"
#include "readers/record.h"

namespace fuzz {

/// Reads the input with options that depend on its size, then checks that the record is valid and processes it as the
/// command does. The text of a refusal must be safe to show.
void read_record(const std::uint8_t* data, std::size_t size,
                 const std::function<readers::Record(const std::string& file, std::string_view content,
                                                     const readers::OpenOptions& options)>& read);

}  // namespace fuzz
