#include "archive/open_store.h"

#include <string_view>

#include "archive/postgres_store.h"
#include "archive/sqlite_store.h"

namespace archive {

std::unique_ptr<Store> open_store(const std::string& name, StoreUse use) {
  for (const std::string_view scheme : {"postgresql://", "postgres://"}) {
    if (name.starts_with(scheme)) return open_postgres_store(name, use);
  }
  return open_sqlite_store(name, use);
}

}  // namespace archive
