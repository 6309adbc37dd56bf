// Utils: data trees written as JSON with their links completed.

#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Value.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/json/Writer.h"

namespace orv {
namespace nol {
namespace common {

namespace data = orv::dataformats::data;

namespace {

// jsonOfDataValue collects its output in a per-thread buffer that keeps its capacity between
// calls and copies it once into a result of the exact size. Why: a multi-megabyte string that
// grows piece by piece takes a fresh allocation at every doubling, and with the C library's
// allocator most of the time then goes into page faults on that fresh memory. A buffer that
// grew beyond this size is released after the call rather than kept for the thread's life.
constexpr std::size_t kKeptScratchCapacity = std::size_t{8} * 1024 * 1024;

void writeJson(const data::Value& value, const std::string& host, std::string& output) {
    orv::dataformats::StringAppendConsumer consumer(output);
    json::Writer writer(consumer, host);
    writer.visit(&value);
}

// Marks the per-thread buffer as taken for the lifetime of the object, so that a nested call
// (a value whose visit renders another document) falls back to a buffer of its own.
class ScratchClaim {
public:
    explicit ScratchClaim(bool& taken) noexcept : m_taken(taken), m_claimed(!taken) {
        m_taken = true;
    }
    ScratchClaim(const ScratchClaim&) = delete;
    ScratchClaim& operator=(const ScratchClaim&) = delete;
    ~ScratchClaim() {
        if (m_claimed) {
            m_taken = false;
        }
    }
    bool claimed() const noexcept { return m_claimed; }

private:
    bool& m_taken;
    bool m_claimed;
};

}  // namespace

std::string Utils::jsonOfDataValue(const data::Value& value, const std::string& host) {
    thread_local std::string scratch;
    thread_local bool scratchTaken = false;
    const ScratchClaim claim(scratchTaken);
    if (!claim.claimed()) {
        std::string result;
        writeJson(value, host, result);
        return result;
    }
    scratch.clear();
    writeJson(value, host, scratch);
    std::string result(scratch);
    if (scratch.capacity() > kKeptScratchCapacity) {
        std::string().swap(scratch);
    }
    return result;
}

}  // namespace common
}  // namespace nol
}  // namespace orv
