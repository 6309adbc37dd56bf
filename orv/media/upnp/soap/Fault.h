#pragma once

#include <string>

#include "orv/common/errors/BaseException.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace media {
namespace upnp {
namespace soap {

// The exception a UPnP action handler throws to have its action answered with a SOAP fault:
// the message of the base exception plus a UPnP error code. The standard action error codes
// are offered as named descriptions:
//
//   throw Fault(Fault::INVALID_ARGS);            // code 402, message "Invalid Args"
//   throw Fault(714, "No such resource");
//
// raise() and clone() keep the dynamic type and the code, so a fault held through a
// BaseException reference is thrown again, or copied, as a Fault.
// Thread: a plain value. Failure: copying may throw std::bad_alloc.
class ORV_NOL_API Fault : public orv::common::errors::BaseException {
public:
    // A UPnP error code with its standard text (static storage, not owned).
    struct Description {
        int code;
        const char* text;
    };

    static const Description INVALID_ACTION;
    static const Description INVALID_ARGS;
    static const Description ACTION_FAILED;
    static const Description ARGUMENT_VALUE_INVALID;
    static const Description ARGUMENT_VALUE_OUT_OF_RANGE;
    static const Description OPTIONAL_ACTION_NOT_IMPLEMENTED;
    static const Description OUT_OF_MEMORY;
    static const Description HUMAN_INTERVENTION_REQUIRED;
    static const Description STRING_ARGUMENT_TOO_LONG;

    // Code 0, empty message.
    Fault();
    Fault(int code, const std::string& description);
    explicit Fault(const Description& description);
    ~Fault() override;

    int getCode() const noexcept { return m_code; }

    [[noreturn]] void raise() override;
    orv::common::errors::BaseException* clone() const override;

private:
    int m_code;
};

}  // namespace soap
}  // namespace upnp
}  // namespace media
}  // namespace orv
