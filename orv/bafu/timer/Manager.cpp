#include "orv/bafu/timer/Manager.h"

#include <utility>

#include "orv/common/system/MutexGuard.h"

namespace orv {
namespace bafu {
namespace timer {

using common::system::MutexGuard;

namespace {

// The priority of every expiry handed to the decoupler.
constexpr unsigned char kExpiryPriority = 128;
constexpr unsigned int kTimerNumberShift = 32;

}  // namespace

IManager::~IManager() = default;

ISetup::~ISetup() = default;

Manager::Manager(const std::string& name) : m_timerThread(name) {}

Manager::~Manager() {
    try {
        if (m_state.getState() != ModuleStateHandler::Off) {
            Manager::shutdown();
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor lets nothing out
    }
}

IManager& Manager::getProvided_Manager() {
    return *this;
}

void Manager::setOptional_Decoupler(IDecoupler* decoupler) {
    m_decoupler.setOptional(m_state, decoupler);
}

bool Manager::init() {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.init_Begin()) {
        return m_state.getState() == ModuleStateHandler::Running;
    }
    m_decoupler.ensure();
    m_timerThread.startManager();
    guard.init_End(true);
    return true;
}

void Manager::shutdown() {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.shutdown_Begin([] {})) {
        return;
    }
    // No operation or expiry delivery is in flight any more, and none is accepted; once the
    // timer thread has stopped, nothing else touches the timers.
    m_timerThread.stopManager();
    TimerMap timers;
    {
        MutexGuard lock(m_lock);
        timers.swap(m_timers);
    }
    withdrawAll(timers);
    m_decoupler.releaseOwned();
    timers.clear();  // the elements and their platform timers go here, outside the lock
}

unsigned long Manager::startTimer(std::function<void(unsigned long)>&& callback,
                                  unsigned int milliseconds, bool cyclic) {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return 0;
    }
    const unsigned int userId = m_decoupler->createUserId();
    unsigned long id = 0;
    const std::shared_ptr<Element> element = addElement(std::move(callback), userId, id);
    if (element == nullptr) {
        return 0;
    }
    // The element is in the map already, so an expiry that comes before the handle is set
    // finds it. This local reference keeps it alive if it leaves the map meanwhile.
    std::unique_ptr<common::timer::ITimer> commonTimer;
    try {
        commonTimer = m_timerThread.startTimer(*element, milliseconds, cyclic, false);
    } catch (...) {
        eraseTimer(id);
        throw;
    }
    if (commonTimer == nullptr) {
        eraseTimer(id);
        return 0;
    }
    element->setCommonTimer(std::move(commonTimer));
    return id;
}

void Manager::stopTimer(unsigned long id) {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return;
    }
    eraseTimer(id);
    m_decoupler.removeUserCalls(static_cast<unsigned int>(calcTimerUserId(id)));
}

void Manager::stopTimer(unsigned long id, std::weak_ptr<std::function<void(bool)>> onRemoved) {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return;
    }
    eraseTimer(id);
    m_decoupler->removeUserCalls(static_cast<unsigned int>(calcTimerUserId(id)),
                                 std::move(onRemoved));
}

unsigned long Manager::calcTimerId(unsigned int timerNumber, unsigned int userId) {
    return (static_cast<unsigned long>(timerNumber) << kTimerNumberShift) | userId;
}

unsigned long Manager::calcTimerNumber(unsigned long id) {
    return id >> kTimerNumberShift;
}

unsigned long Manager::calcTimerUserId(unsigned long id) {
    return id;
}

void Manager::call(std::function<void(unsigned long)> callback, unsigned long id) {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return;
    }
    m_decoupler.call([callback = std::move(callback), id] { callback(id); },
                     static_cast<unsigned int>(calcTimerUserId(id)), kExpiryPriority);
}

void Manager::callAndErase(std::function<void(unsigned long)>&& callback, unsigned long id) {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return;
    }
    // Erased after the hand-over, so that a concurrent stopTimer's removal queues behind the
    // expiry; erased also when the hand-over throws (with the NoneDecoupler, the callback
    // itself), or the spent timer would stay in the map until the shutdown.
    try {
        m_decoupler.call([callback = std::move(callback), id] { callback(id); },
                         static_cast<unsigned int>(calcTimerUserId(id)), kExpiryPriority);
    } catch (...) {
        eraseTimer(id);
        throw;
    }
    eraseTimer(id);
}

void Manager::eraseTimer(unsigned long id) {
    std::shared_ptr<Element> element;  // outlives the lock, so the element dies outside it
    MutexGuard lock(m_lock);
    element = m_timers.take(id);
}

std::shared_ptr<Element> Manager::addElement(std::function<void(unsigned long)>&& callback,
                                             unsigned int userId, unsigned long& id) {
    MutexGuard lock(m_lock);
    const unsigned int number = m_nextTimerNumber++;
    const unsigned long newId = calcTimerId(number, userId);
    auto element = std::make_shared<Element>(newId, std::move(callback), *this);
    if (!m_timers.insert(newId, element)) {
        lock.unlock();  // the refused element, and the callback in it, die outside the lock
        return nullptr;
    }
    id = newId;
    return element;
}

void Manager::withdrawAll(const TimerMap& timers) {
    for (const unsigned long id : timers.sortedIds()) {
        m_decoupler.removeUserCalls(static_cast<unsigned int>(calcTimerUserId(id)));
    }
}

}  // namespace timer
}  // namespace bafu
}  // namespace orv
