#include "imaging/image_geometry.h"

namespace quellmark::imaging {

OrbitStates::OrbitStates(const GENERAL_ORBIT<double, VECTOR_3D<double>>& orbit, double origin_s,
                         double first_azimuth_time_s, double margin_s)
    : orbit_(orbit), first_line_s_((origin_s - orbit.TimeOrigin()) + first_azimuth_time_s) {
  const auto [first_s, last_s] = orbit.Coverage();
  covered_ = {((first_s - origin_s) - first_azimuth_time_s) - margin_s,
              ((last_s - origin_s) - first_azimuth_time_s) + margin_s};
}

void OrbitStates::StatesAt(std::span<const double> times_s, std::span<SensorState> states) const {
  // Times count from the orbit's own origin, so that a large time of the first line costs no
  // digits.
  const double origin_s = orbit_.TimeOrigin();
  for (std::size_t i = 0; i < times_s.size(); ++i) {
    SensorState& state = states[i];
    orbit_.GetState(origin_s, first_line_s_ + times_s[i], state.position, state.velocity,
                    state.acceleration);
  }
}

std::optional<StatePolynomials> OrbitStates::Polynomials() const {
  const auto pieces = orbit_.CoreObject()->AsNewton();
  if (!pieces) return std::nullopt;
  return StatePolynomials{*pieces, first_line_s_};
}

}  // namespace quellmark::imaging
