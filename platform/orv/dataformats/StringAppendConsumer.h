#pragma once

#include <cstddef>
#include <string>

#include "orv/dataformats/DataConsumer.h"
#include "orv/dataformats/Export.h"

namespace orv {
namespace dataformats {

// A consumer that appends everything it receives to a string, which keeps what was in it.
//
//   std::string text;
//   StringAppendConsumer consumer(text);
//   json::Writer writer(consumer);
//   writer.visit(&tree);  // text now holds the JSON of tree
//
// Thread safety: neither the consumer nor its string is shared without a lock. Ownership: the
// string belongs to the caller and must outlive the consumer. Failure: allocation errors pass
// through; the string then holds what had been appended before.
class ORV_DATAFORMATS_API StringAppendConsumer : public DataConsumer {
public:
    explicit StringAppendConsumer(std::string& target) noexcept;
    ~StringAppendConsumer() override;

    void consume(const char* data, std::size_t size) override;

private:
    std::string& m_target;
};

}  // namespace dataformats
}  // namespace orv
