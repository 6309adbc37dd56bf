#include "orv/media/upnp/soap/Fault.h"

namespace orv {
namespace media {
namespace upnp {
namespace soap {

constexpr Fault::Description Fault::INVALID_ACTION{401, "Invalid Action"};
constexpr Fault::Description Fault::INVALID_ARGS{402, "Invalid Args"};
constexpr Fault::Description Fault::ACTION_FAILED{501, "Action Failed"};
constexpr Fault::Description Fault::ARGUMENT_VALUE_INVALID{600, "Argument Value Invalid"};
constexpr Fault::Description Fault::ARGUMENT_VALUE_OUT_OF_RANGE{601, "Argument Value Out Of Range"};
constexpr Fault::Description Fault::OPTIONAL_ACTION_NOT_IMPLEMENTED{
    602, "Optional Action Not Implemented"};
constexpr Fault::Description Fault::OUT_OF_MEMORY{603, "Out of Memory"};
constexpr Fault::Description Fault::HUMAN_INTERVENTION_REQUIRED{604, "Human Intervention Required"};
constexpr Fault::Description Fault::STRING_ARGUMENT_TOO_LONG{605, "String Argument Too Long"};

Fault::Fault() : Fault(0, std::string()) {}

Fault::Fault(int code, const std::string& description)
    : BaseException(description, nullptr, false), m_code(code) {}

Fault::Fault(const Description& description) : Fault(description.code, description.text) {}

Fault::~Fault() = default;

void Fault::raise() {
    throw Fault(*this);
}

orv::common::errors::BaseException* Fault::clone() const {
    return new Fault(*this);
}

}  // namespace soap
}  // namespace upnp
}  // namespace media
}  // namespace orv
