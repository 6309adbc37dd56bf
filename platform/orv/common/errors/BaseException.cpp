#include "orv/common/errors/BaseException.h"

namespace orv {
namespace common {
namespace errors {

namespace {

std::unique_ptr<BaseException> cloneOf(const BaseException* exception) {
    return std::unique_ptr<BaseException>(exception == nullptr ? nullptr : exception->clone());
}

}  // namespace

BaseException::BaseException(const std::string& message, const BaseException* cause, bool flag)
    : m_message(message), m_cause(cloneOf(cause)), m_flag(flag) {}

BaseException::BaseException(const BaseException& other)
    : std::exception(other),
      m_message(other.m_message),
      m_cause(cloneOf(other.m_cause.get())),
      m_flag(other.m_flag) {}

BaseException& BaseException::operator=(const BaseException& other) {
    if (this != &other) {
        m_message = other.m_message;
        m_cause = cloneOf(other.m_cause.get());
        m_flag = other.m_flag;
    }
    return *this;
}

BaseException::~BaseException() = default;

const char* BaseException::what() const noexcept {
    return m_message.c_str();
}

void BaseException::raise() {
    throw BaseException(*this);
}

BaseException* BaseException::clone() const {
    return new BaseException(*this);
}

}  // namespace errors
}  // namespace common
}  // namespace orv
