#include "basic/sar_types.h"

#include "basic/alarm.h"

namespace SAR {

namespace {

template <class Error = BASIC::TYPES::ERROR_ENUM_BASE>
[[noreturn]] void FailWith(std::string_view line) {
  quellmark::basic::Alarm(line);
  throw Error();
}

// The pairs (transmit, receive) are numbered row by row.
constexpr int kPolarizations = kPolarizationType.Size();
static_assert(kTxRxType.Size() == kPolarizations * kPolarizations);

PolarizationType Polarization(int pair_id, int id) {
  PolarizationType polarization;
  if (pair_id != 0) polarization.SetId(id);
  return polarization;
}

// The ids run round the image, so the opposite edge is two ids away.
bool AreOrthogonal(const Edge& a, const Edge& b) {
  return a.IsSet() && b.IsSet() && (a.Id() + b.Id()) % 2 != 0;
}

Edge Opposite(const Edge& edge) {
  Edge opposite;
  opposite.SetId((edge.Id() + 1) % kEdge.Size() + 1);
  return opposite;
}

}  // namespace

TxRxType::TxRxType(const PolarizationType& transmit, const PolarizationType& receive) {
  if (!transmit.IsSet() || !receive.IsSet()) {
    FailWith("invalid combination of transmit and receive polarization\n");
  }
  SetId((transmit.Id() - 1) * kPolarizations + receive.Id());
}

PolarizationType TxRxType::Transmit() const {
  return Polarization(Id(), (Id() - 1) / kPolarizations + 1);
}

PolarizationType TxRxType::Receive() const {
  return Polarization(Id(), (Id() - 1) % kPolarizations + 1);
}

ImageDirection::ImageDirection(const Edge& range, const Edge& azimuth) : TUPLE(range, azimuth) {
  if (!AreOrthogonal(range, azimuth)) {
    FailWith("range and azimuth should be at orthogonal edges\n");
  }
}

Edge ImageDirection::EdgeOf(const Range& range) const {
  if (range == Range("near")) return First();
  if (range == Range("far")) return Opposite(First());
  FailWith("mid range is at no edge\n");
}

Edge ImageDirection::EdgeOf(const Azimuth& azimuth) const {
  if (azimuth == Azimuth("start")) return Second();
  if (azimuth == Azimuth("stop")) return Opposite(Second());
  FailWith("mid azimuth is at no edge\n");
}

void Azimuths::Insert(const Azimuth& azimuth) {
  if (!azimuth.IsSet()) {
    FailWith<BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID>("SAR::Azimuths: a value that is not set\n");
  }
  ids_.set(static_cast<std::size_t>(azimuth.Id()));
}

bool Azimuths::Contains(const Azimuth& azimuth) const {
  return ids_.test(static_cast<std::size_t>(azimuth.Id()));
}

}  // namespace SAR
