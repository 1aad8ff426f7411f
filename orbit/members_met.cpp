#include "orbit/members.tcc"

namespace quellmark::orbit {

template MemberList PoolMembers<float, MISSION_ELAPSED_TIME>();
template MemberList PoolMembers<double, MISSION_ELAPSED_TIME>();
template MemberList MdbMembers<MISSION_ELAPSED_TIME>();

}  // namespace quellmark::orbit
