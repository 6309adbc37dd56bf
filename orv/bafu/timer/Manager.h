#pragma once

#include <functional>
#include <memory>
#include <string>

#include "orv/bafu/IDecoupler.h"
#include "orv/bafu/ModuleStateHandler.h"
#include "orv/bafu/detail/ComponentDecoupler.h"
#include "orv/bafu/timer/Element.h"
#include "orv/bafu/timer/IManager.h"
#include "orv/bafu/timer/ISetup.h"
#include "orv/bafu/timer/detail/TimerTable.h"
#include "orv/common/system/Mutex.h"
#include "orv/common/timer/TimerManagerThread.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace timer {

// One-shot and cyclic millisecond timers for a module, with one timer thread of their own
// (named after the manager) and expiries delivered through a decoupler rather than on the
// timer thread.
//
//   auto timers = timer::Factory::create("ModTimers");
//   timers->setOptional_Decoupler(&decoupler);  // optional: else expiries run synchronously
//   timers->init();
//   unsigned long id = timers->getProvided_Manager().startTimer(
//       [](unsigned long timerId) { ... }, 500, true);
//   ...
//   timers->shutdown();
//
// Timer ids: the high 32 bits are the manager's running timer number (1, 2, ...), the low 32
// bits the decoupler user id that each timer takes for itself, so that stopping one timer
// withdraws only its own queued expiries. 0 means "no timer".
//
// Lifecycle: a ModuleStateHandler gates every operation. setOptional_Decoupler only before
// init(); startTimer, stopTimer and the delivery of expiries only between init() and
// shutdown(). Refusals are logged by the handler at level 5: startTimer then answers 0, the
// rest does nothing (an expiry arriving during a shutdown is dropped). shutdown() waits for
// the operations and expiry deliveries in flight, stops the timer thread, withdraws the
// queued expiries of every timer still known, destroys a decoupler that init() created and
// forgets all timers; init() may then start the manager again. The destructor shuts down.
//
// Threads: the IManager operations may be called from any thread. Expiry callbacks run on
// the decoupler's thread with priority 128; with the default NoneDecoupler that is the timer
// thread itself, one callback at a time. No lock of the manager is held while a callback
// runs, while the decoupler is called or while a platform timer is started or destroyed.
//
// Stopping: stopTimer(id) stops the timer and then waits for the decoupler to withdraw the
// timer's pending expiries. A DefaultDecoupler withdraws only what is queued behind its own
// removal request: an expiry already queued at priority 128 still runs, and stopTimer returns
// after it. After stopTimer(id) returns, the callback of that timer does not run again. An
// unknown id is accepted quietly. The blocking stopTimer(id) must not be called from inside a
// callback running on the same decoupler (a DefaultDecoupler's worker, or with a
// NoneDecoupler any thread inside a callback): it waits for that very thread and never
// returns. Use the form with onRemoved there. Nor may shutdown() be called from a callback.
//
// After shutdown() returns, no callback of a timer that was still known runs any more. The
// expiry of a one-shot timer leaves the manager's map when it is handed on; with a decoupler
// of the client's, such an expiry may still be queued there when shutdown() returns, unless a
// removal for another timer of this manager (which waits behind it) was carried out.
//
// Ownership: the manager owns its timers, their callbacks and a decoupler created by init();
// a decoupler given by setOptional_Decoupler is not owned and must outlive the manager's
// shutdown. Failure: exceptions of the decoupler or the platform pass out of the operation
// and leave the lifecycle consistent.
class ORV_NOL_API Manager : public ISetup, public IManager {
public:
    explicit Manager(const std::string& name);
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
    ~Manager() override;

    IManager& getProvided_Manager() override;
    void setOptional_Decoupler(IDecoupler* decoupler) override;
    bool init() override;
    void shutdown() override;

    unsigned long startTimer(std::function<void(unsigned long)>&& callback,
                             unsigned int milliseconds, bool cyclic) override;
    void stopTimer(unsigned long id) override;
    void stopTimer(unsigned long id, std::weak_ptr<std::function<void(bool)>> onRemoved) override;

    // The timer number in the high and the decoupler user id in the low 32 bits.
    static unsigned long calcTimerId(unsigned int timerNumber, unsigned int userId);
    static unsigned long calcTimerNumber(unsigned long id);
    // The id itself; its low 32 bits are the user id, which is how every caller uses it.
    static unsigned long calcTimerUserId(unsigned long id);

private:
    friend class Element;

    // By id. Hashed rather than ordered, with open addressing: a start and a stop each cost
    // one look-up and no allocation; only the shutdown needs the ids in order.
    using TimerMap = detail::TimerTable;

    // Hands an expiry to the decoupler (a method of the handler; dropped when refused).
    void call(std::function<void(unsigned long)> callback, unsigned long id);
    // As call(), then forgets the (one-shot) timer.
    void callAndErase(std::function<void(unsigned long)>&& callback, unsigned long id);
    // Forgets the timer; its element is destroyed outside the lock.
    void eraseTimer(unsigned long id);

    // Numbers a new timer and puts its element into the map; null (and `id` unchanged) when
    // the id is taken already.
    std::shared_ptr<Element> addElement(std::function<void(unsigned long)>&& callback,
                                        unsigned int userId, unsigned long& id);
    // Withdraws the queued expiries of every timer in `timers`, in ascending id order.
    void withdrawAll(const TimerMap& timers);

    ModuleStateHandler m_state;
    common::timer::TimerManagerThread m_timerThread;
    ComponentDecoupler m_decoupler;  // given by the client, or created by init()
    common::system::Mutex m_lock;    // guards m_timers and m_nextTimerNumber
    TimerMap m_timers;
    unsigned int m_nextTimerNumber = 1;
};

}  // namespace timer
}  // namespace bafu
}  // namespace orv
