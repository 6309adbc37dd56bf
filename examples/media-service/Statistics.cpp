// Counting answers and writing the statistics line.

#include "Statistics.h"

#include <sstream>

namespace mediaservice {

Statistics::Statistics() : m_started(std::chrono::steady_clock::now()) {}

void Statistics::countAnswer(int status) {
    m_requests.fetch_add(1, std::memory_order_relaxed);
    if (status >= 200 && status < 300) {
        m_success.fetch_add(1, std::memory_order_relaxed);
    } else if (status >= 400 && status < 500) {
        m_clientErrors.fetch_add(1, std::memory_order_relaxed);
    } else if (status >= 500) {
        m_serverErrors.fetch_add(1, std::memory_order_relaxed);
    }
}

void Statistics::countSlowRequest() {
    m_slow.fetch_add(1, std::memory_order_relaxed);
}

std::string Statistics::line(const Catalogue& catalogue) const {
    const auto uptime = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::steady_clock::now() - m_started);
    std::ostringstream text;
    text << "uptime " << uptime.count() << " s: " << m_requests.load() << " requests (2xx "
         << m_success.load() << ", 4xx " << m_clientErrors.load() << ", 5xx "
         << m_serverErrors.load() << "), " << m_slow.load() << " slow;";
    const char* separator = " ";
    for (const std::string& kind : Catalogue::kinds()) {
        text << separator << catalogue.elementsOf(kind).size() << ' ' << kind;
        separator = ", ";
    }
    return text.str();
}

}  // namespace mediaservice
