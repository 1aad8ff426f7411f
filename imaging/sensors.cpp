#include "imaging/sensors.h"

#include <cstddef>

namespace quellmark::imaging {

bool SensorBatch::FindRows(std::span<const double> times_s) {
  const auto& [pieces, offset_s] = *polynomials_;
  const auto width = static_cast<long>(pieces.table->Width());
  lane_times_.numbers = pieces.table->Row(0);
  lane_times_.nodes = static_cast<int>(pieces.nodes);
  lane_times_.terms = static_cast<int>(pieces.terms);
  lane_times_.terms_per_node = static_cast<int>(pieces.terms_per_node);
  long others = 0;
  for (std::size_t i = 0; i < times_s.size(); ++i) {
    const double x = offset_s + times_s[i];
    lane_times_.x[i] = x;
    lane_times_.row[i] = static_cast<long>(pieces.table->Find(x)) * width;
    others |= lane_times_.row[i] ^ lane_times_.row[0];
  }
  return others == 0;
}

void SensorBatch::Load(std::span<const double> times_s, LaneStates& states) {
  if (polynomials_ && times_s.size() == kLanes) {
    const bool one_row = FindRows(times_s);
    kernel_.make_states(lane_times_, one_row, states);
    return;
  }
  source_.StatesAt(times_s, std::span(raw_).first(times_s.size()));
  for (std::size_t i = 0; i < times_s.size(); ++i) {
    const auto& [p, v, a] = raw_[i];
    states.px[i] = p.x, states.py[i] = p.y, states.pz[i] = p.z;
    states.vx[i] = v.x, states.vy[i] = v.y, states.vz[i] = v.z;
    states.ax[i] = a.x, states.ay[i] = a.y, states.az[i] = a.z;
  }
}

}  // namespace quellmark::imaging
