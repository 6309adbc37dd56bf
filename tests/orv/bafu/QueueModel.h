#pragma once

// A plain, locked model of a DefaultDecoupler's queue that judges a real run as it happens:
// whether each call and each removal the worker starts is one the model would start next.
//
// The model is an ordered multimap from (priority, hand-over) to entries. An entry counts as
// queued once its hand-over (call() or removeUserCalls()) has returned before the worker's
// previous step ended: the worker picked its next entry after that, so the entry took part in
// the pick. An entry whose hand-over overlapped the pick may go either way. The rules:
// - an entry starts at most once, and never once a removal of its user dropped it;
// - when an entry starts, no queued entry is more urgent, nor of its priority and handed over
//   completely before its own hand-over began (FIFO within a priority across producers);
// - a removal (priority 254) drops every queued entry of its user; entries of that user whose
//   hand-over overlapped it may be dropped or run.

#include <cstddef>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace orv::bafu::test_support {

class QueueModel {
public:
    static constexpr unsigned char kRemovalPriority = 254;

    // Around a hand-over: begin() before it, end() after it returned; begin() gives the
    // entry's number. A removal is an entry of priority 254 naming the user it removes.
    std::size_t begin(unsigned char priority, unsigned int user, bool removal = false) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_entries.push_back({priority, user, removal, m_clock++, 0, Waiting});
        return m_entries.size() - 1;
    }
    void end(std::size_t entry) {
        const std::lock_guard<std::mutex> guard(m_lock);
        Entry& e = m_entries[entry];
        e.end = m_clock++;
        const auto removed = m_removedAt.find(e.user);
        if (e.state == Waiting && !e.removal && removed != m_removedAt.end() &&
            removed->second > e.begin) {
            e.state = Optional;  // a removal of its user overlapped the hand-over
        } else if (e.state == Waiting) {
            e.state = Queued;
            m_queued.emplace(std::make_pair(unsigned{e.priority}, e.end), entry);
            if (!e.removal) {
                m_byUser.emplace(e.user, entry);
            }
        }
    }

    // The worker starts an entry (a call, or a removal's completion callback) and ends it.
    void started(std::size_t entry) {
        const std::lock_guard<std::mutex> guard(m_lock);
        Entry& e = m_entries[entry];
        m_broken += e.state == Ran || e.state == Dropped;
        // Looks at the oldest queued entry of each priority up to its own, most urgent first.
        auto it = m_queued.begin();
        while (it != m_queued.end() && it->first.first <= e.priority) {
            if (it->second == entry) {
                ++it;
                continue;
            }
            const Entry& other = m_entries[it->second];
            if (other.end < m_stepEnded && (other.priority < e.priority || other.end < e.begin)) {
                ++m_broken;  // `other` should have started first
                break;
            }
            if (other.priority == e.priority) {
                break;  // the rest of its priority was handed over later still
            }
            it = m_queued.lower_bound(std::make_pair(other.priority + 1U, std::size_t{0}));
        }
        if (e.state == Queued) {
            m_queued.erase(std::make_pair(unsigned{e.priority}, e.end));
            m_byUser.erase(std::make_pair(e.user, entry));
        }
        e.state = Ran;
        if (e.removal) {
            drop(e.user);
        }
    }
    void finished() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_stepEnded = m_clock++;
    }

    int broken() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_broken;
    }
    bool ran(std::size_t entry) {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_entries[entry].state == Ran;
    }

private:
    enum State { Waiting, Queued, Optional, Ran, Dropped };
    struct Entry {
        unsigned char priority;
        unsigned int user;
        bool removal;
        std::size_t begin, end;
        State state;
    };

    void drop(unsigned int user) {
        m_removedAt[user] = m_clock++;
        auto it = m_byUser.lower_bound(std::make_pair(user, std::size_t{0}));
        while (it != m_byUser.end() && it->first == user) {
            Entry& e = m_entries[it->second];
            e.state = e.end < m_stepEnded ? Dropped : Optional;
            m_queued.erase(std::make_pair(unsigned{e.priority}, e.end));
            it = m_byUser.erase(it);
        }
    }

    std::mutex m_lock;
    std::vector<Entry> m_entries;
    std::map<std::pair<unsigned int, std::size_t>, std::size_t> m_queued;  // by priority
    std::set<std::pair<unsigned int, std::size_t>> m_byUser;               // queued calls by user
    std::map<unsigned int, std::size_t> m_removedAt;  // user: when its last removal started
    std::size_t m_clock = 1, m_stepEnded = 0;
    int m_broken = 0;
};

}  // namespace orv::bafu::test_support
