#pragma once

#include <atomic>

#include "orv/common/Export.h"
#include "orv/common/system/Runnable.h"

namespace orv {
namespace common {
namespace system {

// The control record of one once-initialisation. It has a constant initialiser, so a
// namespace-scope or static-member record is ready before any code runs.
struct os_onceinit_t {  // NOLINT(readability-identifier-naming): platform type name
    std::atomic<int> state{0};
};

namespace os {
namespace onceinit {

// Runs `runnable` exactly once per `control`, however many threads race: the first caller
// runs it, the others wait until it has finished and return without running it. If run()
// throws, the exception reaches that caller and the record stays unset, so a later call runs
// it again. Calling init() on the same record from inside the runnable deadlocks.
ORV_COMMON_API void init(os_onceinit_t& control, Runnable& runnable);

// Once-initialisation keyed by the address of the object it fills in, for callers that have
// no control record of their own. The record lives for the rest of the process.
ORV_COMMON_API os_onceinit_t& controlFor(const void* target);

}  // namespace onceinit
}  // namespace os

// Fills in a value exactly once per process from a creating function:
//
//   static TimerManagerThread* s_manager = nullptr;
//   OnceInit::init<TimerManagerThread*>(s_manager, &createManager);
//
// The first caller runs `create` and stores its result into `target`; concurrent callers wait
// until that is done; later callers return at once. Failure: an exception from `create`
// reaches its caller and leaves `target` unchanged, and the next call tries again.
class OnceInit {
public:
    template <typename T>
    static void init(os_onceinit_t& control, T& target, T (*create)()) {
        Creation<T> creation(target, create);
        os::onceinit::init(control, creation);
    }

    template <typename T>
    static void init(T& target, T (*create)()) {
        init(os::onceinit::controlFor(&target), target, create);
    }

private:
    template <typename T>
    class Creation : public Runnable {
    public:
        Creation(T& target, T (*create)()) : m_target(target), m_create(create) {}
        void run() override { m_target = m_create(); }

    private:
        T& m_target;
        T (*m_create)();
    };
};

}  // namespace system
}  // namespace common
}  // namespace orv
