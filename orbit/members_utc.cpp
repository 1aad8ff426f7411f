#include "orbit/members.tcc"

namespace quellmark::orbit {

template MemberList PoolMembers<float, UNIVERSAL_TIME>();
template MemberList PoolMembers<double, UNIVERSAL_TIME>();
template MemberList MdbMembers<UNIVERSAL_TIME>();

}  // namespace quellmark::orbit
