#include "orbit/orbit_classes.tcc"

namespace quellmark::orbit {

template OrbitClasses PoolOrbitClasses<float, UNIVERSAL_TIME>();
template OrbitClasses PoolOrbitClasses<double, UNIVERSAL_TIME>();
template OrbitClasses MdbOrbitClasses<UNIVERSAL_TIME>();

}  // namespace quellmark::orbit
