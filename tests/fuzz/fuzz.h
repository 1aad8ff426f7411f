// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "runtime/log.h"

namespace quellmark::test {

/// Ends the process, which is how a fuzz target reports, unless `holds`.
inline void Check(bool holds) {
  if (!holds) std::abort();
}

/// The input as text; silences the log on the way.
[[nodiscard]] inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
  runtime::Log().SetScreenThreshold(LOG::Level::kSilent);
  runtime::Log().SetFileThreshold(LOG::Level::kSilent);
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace quellmark::test
