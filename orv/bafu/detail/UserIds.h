#pragma once

namespace orv {
namespace bafu {
namespace detail {

// User ids of the DefaultDecoupler. 0 marks its own removal requests in the queue and 1 means
// "every user"; neither is ever handed out, and neither is the all-ones value.
constexpr unsigned int kRemovalRequestUserId = 0;
constexpr unsigned int kAllUsersId = 1;
constexpr unsigned int kFirstUserId = 2;
constexpr unsigned int kLastUserId = 0xFFFFFFFEU;

// The id handed out after `issued`: counts up to kLastUserId, then starts again at kFirstUserId
// (ids still in use are then handed out a second time).
constexpr unsigned int userIdAfter(unsigned int issued) {
    return issued >= kLastUserId ? kFirstUserId : issued + 1;
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
