#include "orbit/orbit_classes.tcc"

namespace quellmark::orbit {

template OrbitClasses PoolOrbitClasses<float, double>();
template OrbitClasses PoolOrbitClasses<double, double>();
template OrbitClasses MdbOrbitClasses<double>();

}  // namespace quellmark::orbit
