#include "toolbox/product/ground_range.h"

#include <algorithm>
#include <cmath>

#include "toolbox/product/number_text.h"

namespace quellmark::product {

double GroundToSlant::At(double ground_range_m) const {
  double slant_range_m = 0.0;
  for (std::size_t i = coefficients.size(); i-- > 0;) {
    slant_range_m = slant_range_m * (ground_range_m - origin_m) + coefficients[i];
  }
  return slant_range_m;
}

std::string GroundRangeRemark(double largest_misfit_m) {
  return "Approximate: the image is in ground range. Its first and its last sample have their true "
         "range times; those in between are off by up to " +
         Fixed(largest_misfit_m, 0) + " m of slant range.";
}

bool SetGroundRange(const GroundToSlant& conversion, double pixel_spacing_m,
                    const std::string& source, SceneDescription& scene) {
  const double last = scene.n_samples.value - 1;
  const double near_m = conversion.At(0.0);
  const double step_m =
      last > 0 ? (conversion.At(last * pixel_spacing_m) - near_m) / last : pixel_spacing_m;
  double largest_misfit_m = 0.0;
  constexpr int kSteps = 100;
  double previous_m = near_m;
  for (int i = 0; i <= kSteps; ++i) {
    const double sample = last * i / kSteps;
    const double slant_m = conversion.At(sample * pixel_spacing_m);
    if (!(slant_m >= previous_m) || !std::isfinite(slant_m) || !(near_m > 0.0) || !(step_m > 0.0)) {
      return false;
    }
    previous_m = slant_m;
    largest_misfit_m = std::max(largest_misfit_m, std::abs(slant_m - (near_m + step_m * sample)));
  }
  scene.first_range_time_s = {2.0 * near_m / kSpeedOfLight_m_s, source + " at ground range 0"};
  scene.range_sampling_frequency_hz = {
      kSpeedOfLight_m_s / (2.0 * step_m),
      source + " from the first to the last sample: an equivalent value, see above"};
  scene.remarks.push_back(GroundRangeRemark(largest_misfit_m));
  return true;
}

}  // namespace quellmark::product
