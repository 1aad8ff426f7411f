// Functions that the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "runtime/log.h"

namespace quellmark::test {

/// Ends the process unless `holds`; this is how a fuzz target reports a fault.
inline void Check(bool holds) {
  if (!holds) std::abort();
}

/// Returns the input as text, and silences the log.
[[nodiscard]] inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
  runtime::Log().SetScreenThreshold(LOG::Level::kSilent);
  runtime::Log().SetFileThreshold(LOG::Level::kSilent);
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace quellmark::test
