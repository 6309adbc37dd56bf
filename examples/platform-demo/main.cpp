// Shows the two platform libraries at work: a named timer thread firing a cyclic timer, a log
// writer, SHA-1, a GUID and a data tree written as JSON.
#include <orv/common/checksums/SHA1.h>
#include <orv/common/guid/GUID.h>
#include <orv/common/logging/LogWriter.h>
#include <orv/common/system/LimitedSemaphore.h>
#include <orv/common/timer/TimerManagerThread.h>
#include <orv/dataformats/StringAppendConsumer.h>
#include <orv/dataformats/data/Array.h>
#include <orv/dataformats/data/Integer.h>
#include <orv/dataformats/data/Object.h>
#include <orv/dataformats/data/String.h>
#include <orv/dataformats/json/Writer.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>

namespace {

using namespace orv::common;
using namespace orv::dataformats;

// Counts three ticks of a cyclic timer, then lets main go on.
class Ticker : public timer::ITimerCallback {
public:
    explicit Ticker(logging::LogWriter& log) : m_log(log) {}
    void expired(timer::ITimer*) override {
        const int tick = ++m_ticks;
        m_log.write(5, "tick " + std::to_string(tick));
        if (tick == 3) {
            m_done.up();
        }
    }
    void waitForThreeTicks() { m_done.down(); }

private:
    logging::LogWriter& m_log;
    std::atomic<int> m_ticks{0};
    system::LimitedSemaphore m_done{0, 1};
};

std::string sha1Hex(const std::string& text) {
    checksums::SHA1 sha1;
    sha1.update(types::BufferDescriptor<const char>(text.data(), text.size()));
    std::array<std::uint8_t, 20> digest{};
    sha1.getDigest(digest.data(), digest.size());
    std::string hex;
    for (std::uint8_t byte : digest) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", byte);
        hex += pair;
    }
    return hex;
}

std::string demoJson(const guid::GUID& id) {
    data::Object object;
    object.setNew("id", new data::String(id.toString()));
    object.setNew("name", new data::String("Demo \"item\"\n"));
    auto* numbers = new data::Array;
    for (int i = 1; i <= 3; ++i) {
        numbers->pushNew(new data::Integer(i));
    }
    object.setNew("numbers", numbers);
    std::string json;
    StringAppendConsumer consumer(json);
    json::Writer writer(consumer);
    writer.visit(&object);
    return json;
}

}  // namespace

int main() {
    logging::LogWriter log("demo");
    log.setOutput(std::cout);

    timer::TimerManagerThread timers("DemoTimers");
    timers.startManager();
    Ticker ticker(log);
    auto handle = timers.startTimer(ticker, 50, true, false);
    ticker.waitForThreeTicks();
    handle.reset();
    timers.stopManager();

    log.write(5, "sha1(\"abc\") = " + sha1Hex("abc"));
    guid::GUID id;
    guid::GUID::parse("00112233-4455-6677-8899-AABBCCDDEEFF", id);
    log.write(5, "guid = " + id.toString());
    log.write(5, "json = " + demoJson(id));
    return 0;
}
