#include "orbit/members.tcc"

namespace quellmark::orbit {

template MemberList PoolMembers<float, double>();
template MemberList PoolMembers<double, double>();
template MemberList MdbMembers<double>();

}  // namespace quellmark::orbit
