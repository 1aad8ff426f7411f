#include "orbit/mdb_orbit.h"

#include "basic/errors.h"
#include "pool/parameter_pool.h"

namespace quellmark::orbit {

void ReadMdbSource(PARAMETER_POOL& pool) {
  using pool::ValueType;
  // The values are not used; they are read because a missing or faulty key must fail.
  const auto read_text = [&](const char* key) {
    static_cast<void>(pool.Read<ValueType::kStr>(key));
  };
  const auto read_number = [&](const char* key) {
    static_cast<void>(pool.Read<ValueType::kInt32>(key));
  };
  read_text("root_path");
  read_text("mission_id");
  read_number("tape_id_number");
  read_text("tape_source_id");
  read_number("major_data_take_id");
  read_number("minor_data_take_id");
  read_text("channel_id");
  read_text("mdb_orbit_data_file");
  runtime::Fail<ERROR_ARGUMENT>("ORBIT: orbit_source_id is not set\n");
}

}  // namespace quellmark::orbit
