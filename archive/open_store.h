// Opens stores of any kind.
#pragma once

#include <memory>
#include <string>

#include "archive/store.h"

namespace archive {

/// Opens the store in a file, or the one that a URL of PostgreSQL names ("postgresql://..."). With StoreUse::write it
/// is made if there is none. Throws StoreError if it cannot be opened, holds something else, or has another schema.
std::unique_ptr<Store> open_store(const std::string& name, StoreUse use);

}  // namespace archive
