// A store in a file of SQLite.
#pragma once

#include <memory>
#include <string>

#include "archive/store.h"

namespace archive {

/// Opens a file; see open_store.
std::unique_ptr<Store> open_sqlite_store(const std::string& file, StoreUse use);

}  // namespace archive
