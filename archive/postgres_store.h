// A store in a database of a PostgreSQL server.
#pragma once

#include <memory>
#include <string>

#include "archive/store.h"

namespace archive {

/// Opens a database by its URL; see open_store. Throws StoreError if dipx was built without PostgreSQL.
std::unique_ptr<Store> open_postgres_store(const std::string& url, StoreUse use);

}  // namespace archive
