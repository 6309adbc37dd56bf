#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "orv/common/system/Mutex.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// A thread-safe count of things in progress that calls one-shot subscribers when it is, or
// drops to, zero.
//
// Zero events: a dec() that leaves the count at 0 (reaching it, or called at 0, where the
// count stays 0 rather than wrapping), a subscribeForZero() while the count is 0, and an
// explicit finish(). Each event fires every subscriber registered before it, in subscription
// order, and forgets them. The event is the transition: another thread may already have
// raised the count again when the subscribers run.
//
//   SignalingCounter running(0);
//   { SignalingCounter::Guard busy(running); busy.inc(); work(); }  // may fire on leaving
//   running.subscribeForZero([] { puts("idle"); });                // fires at once if idle
//
// Thread: every operation may be called from any thread. Subscribers run on the thread that
// caused the zero event, with no lock held, so they may use this counter again (a subscriber
// that subscribes again while the count is 0 fires again from inside its own call).
// Ownership: subscribers are owned until they fire; destroying the counter destroys the ones
// that never fired without calling them. Failure: an exception from a subscriber reaches
// whoever caused the event; the subscribers after it in that event are dropped uncalled.
class ORV_NOL_API SignalingCounter {
public:
    // Undoes, when it goes away, every increment made through it. One guard belongs to one
    // scope on one thread; it is not thread-safe itself. An exception from a subscriber fired
    // by the destructor ends the process.
    class ORV_NOL_API Guard {
    public:
        explicit Guard(SignalingCounter& counter);
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        virtual ~Guard();

        // Increments the counter and remembers it.
        void inc();
        // Takes back one increment made through this guard; does nothing when there is none.
        void dec();

    private:
        SignalingCounter& m_counter;
        unsigned long m_held = 0;
    };

    // Starts at `initialCount`; fires nothing, even at 0.
    explicit SignalingCounter(unsigned long initialCount);
    SignalingCounter(const SignalingCounter&) = delete;
    SignalingCounter& operator=(const SignalingCounter&) = delete;
    virtual ~SignalingCounter();

    void inc();
    // Lowers a positive count by one; fires the subscribers when the count is 0 afterwards.
    void dec();
    unsigned long get() const;

    // Fires (and forgets) every subscriber now, whatever the count.
    void finish();

    // Adds a one-shot subscriber; if the count is 0 it fires at once, before this returns.
    void subscribeForZero(std::function<void()>&& callback);

private:
    // The count is atomic so that inc(), get() and a dec() that fires nobody take no lock; the
    // mutex guards the subscriber list and m_waiting, which tells a dec() reaching zero
    // whether there is anyone to fire. A subscriber stores m_waiting before it reads the count
    // and dec() changes the count before it reads m_waiting, both sequentially consistent, so
    // at least one of the two sees the other and a subscriber is never left behind by a zero
    // event that happened while it subscribed.
    common::system::Mutex m_mutex;
    std::atomic<unsigned long> m_count;
    std::vector<std::function<void()>> m_subscribers;
    std::atomic<bool> m_waiting{false};  // m_subscribers is not empty; written under m_mutex
};

}  // namespace bafu
}  // namespace orv
