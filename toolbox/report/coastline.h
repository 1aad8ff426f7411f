// The land of the map page: Natural Earth's 1:50m land (public domain), simplified.
#pragma once

#include <vector>

#include "toolbox/report/footprint.h"

namespace quellmark::report {

/// Returns the shores of all land as closed rings with the land to the right; see
/// data/make_coastline.py.
[[nodiscard]] std::vector<Ring> Coastlines();

}  // namespace quellmark::report
