#include "orbit/orbit_base.h"

#include <array>

#include "basic/errors.h"
#include "runtime/log.h"

namespace {

using quellmark::runtime::Fail;

[[noreturn]] void FailNotProvided(const char* operation) {
  Fail<ERROR_ALGORITHM>("ORBIT_BASE::", operation, "() shell not be called\n");
}

}  // namespace

ORBIT_BASE& ORBIT_BASE::operator=(const ORBIT_BASE& orbit) {
  quellmark::runtime::LogLine(LOG::Level::kDebug,
                              "virtual ORBIT_BASE& operator=( const ORBIT_BASE&  aorbit )\n");
  keys_ = orbit.keys_;
  data_file_ = orbit.data_file_;
  kind_name_ = orbit.kind_name_;
  time_stamp_ = orbit.time_stamp_;
  time_origin_s_ = orbit.time_origin_s_;
  polynomial_fit_order_ = orbit.polynomial_fit_order_;
  support_point_count_ = orbit.support_point_count_;
  return *this;
}

void ORBIT_BASE::ReadSource(PARAMETER_POOL&) { FailNotProvided("ReadSource"); }
void ORBIT_BASE::SetReferenceTime(const STRING&) { FailNotProvided("SetReferenceTime"); }
void ORBIT_BASE::ReadSamples(PARAMETER_POOL&) { FailNotProvided("ReadSamples"); }
void ORBIT_BASE::ReadFromParameterPool(const STRING&) { FailNotProvided("ReadFromParameterPool"); }
// The vectors are passed by value because the overriding functions move from them.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void ORBIT_BASE::SetStateVectors(quellmark::orbit::StateVectors, bool) {
  FailNotProvided("SetStateVectors");
}
int ORBIT_BASE::NumberOfCoordinates() const { FailNotProvided("NumberOfCoordinates"); }
quellmark::orbit::CoveredInterval ORBIT_BASE::CoveredAbscissae() const {
  FailNotProvided("CoveredAbscissae");
}
void ORBIT_BASE::List() const { FailNotProvided("List"); }
void ORBIT_BASE::SavePolynomial(const STRING&) const { FailNotProvided("SavePolynomial"); }
void ORBIT_BASE::Derive(int, double, std::span<double>) const { FailNotProvided("Derive"); }
void ORBIT_BASE::GetState(double, VECTOR_3D<double>&, VECTOR_3D<double>&,
                          VECTOR_3D<double>&) const {
  FailNotProvided("GetState");
}

double ORBIT_BASE::Abscissa(const UNIVERSAL_TIME&) const { throw "not allowed time conversion"; }
double ORBIT_BASE::Abscissa(const MISSION_ELAPSED_TIME&) const {
  throw "not allowed time conversion";
}

void ORBIT_BASE::Derive(int derivative, double abscissa_s, ARRAY<double>& result) const {
  result = ARRAY<double>(RANGE<int>(0, NumberOfCoordinates()));
  Derive(derivative, abscissa_s, result.Elements());
}

void ORBIT_BASE::Derive(int derivative, double abscissa_s, VECTOR_3D<double>& result) const {
  std::array<double, 3> coordinates{};
  Derive(derivative, abscissa_s, std::span<double>(coordinates));
  result = {coordinates[0], coordinates[1], coordinates[2]};
}

void ORBIT_BASE::CheckCoordinates(std::size_t count) const {
  if (static_cast<std::size_t>(NumberOfCoordinates()) != count) {
    Fail<ERROR_ARGUMENT>("ORBIT: not a position of ", count, " coordinates but of ",
                         NumberOfCoordinates(), "\n");
  }
}
