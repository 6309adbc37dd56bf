#include "orv/dataformats/StringAppendConsumer.h"

namespace orv {
namespace dataformats {

StringAppendConsumer::StringAppendConsumer(std::string& target) noexcept : m_target(target) {}

StringAppendConsumer::~StringAppendConsumer() = default;

void StringAppendConsumer::consume(const char* data, std::size_t size) {
    m_target.append(data, size);
}

}  // namespace dataformats
}  // namespace orv
