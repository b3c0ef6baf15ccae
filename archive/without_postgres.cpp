// Takes the place of postgres_store.cpp where PostgreSQL's library was not installed when dipx was built.
#include "archive/postgres_store.h"
#include "archive/store_error.h"

namespace archive {

std::unique_ptr<Store> open_postgres_store(const std::string& /*url*/, StoreUse /*use*/) {
  throw StoreError("postgresql://", "this dipx was built without PostgreSQL",
                   "name a file, or build dipx where libpq-dev is installed");
}

}  // namespace archive
