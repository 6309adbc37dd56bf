#pragma once

// The bounded waits of Concurrency.h under the names some tests use.
#include "support/Concurrency.h"

namespace orv {
namespace test {

using support::GenerousDeadline;
using support::waitUntil;

}  // namespace test
}  // namespace orv
