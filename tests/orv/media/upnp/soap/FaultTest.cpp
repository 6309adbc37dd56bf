// SOAP fault: the standard UPnP action error descriptions, and a fault that keeps its type, code
// and message when it is cloned and raised again through the base exception.

#include "orv/media/upnp/soap/Fault.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

using orv::common::errors::BaseException;
using orv::media::upnp::soap::Fault;

TEST(FaultTest, KeepsTypeCodeAndMessageThroughCloneAndRaise) {
    // clang-format off
    const std::tuple<Fault, int, const char*> cases[] = {
        {Fault(Fault::INVALID_ACTION), 401, "Invalid Action"}, {Fault(Fault::INVALID_ARGS), 402, "Invalid Args"},
        {Fault(Fault::ACTION_FAILED), 501, "Action Failed"}, {Fault(Fault::ARGUMENT_VALUE_INVALID), 600, "Argument Value Invalid"},
        {Fault(Fault::ARGUMENT_VALUE_OUT_OF_RANGE), 601, "Argument Value Out Of Range"}, {Fault(), 0, ""},
        {Fault(Fault::OPTIONAL_ACTION_NOT_IMPLEMENTED), 602, "Optional Action Not Implemented"},
        {Fault(Fault::OUT_OF_MEMORY), 603, "Out of Memory"}, {Fault(714, "No such object"), 714, "No such object"},
        {Fault(Fault::HUMAN_INTERVENTION_REQUIRED), 604, "Human Intervention Required"},
        {Fault(Fault::STRING_ARGUMENT_TOO_LONG), 605, "String Argument Too Long"}};
    // clang-format on
    for (const auto& [fault, code, text] : cases) {
        // Through the base, as a handler holds it; the clone outlives the temporary it came from.
        const std::unique_ptr<BaseException> copy(Fault(fault).clone());
        const auto& cloned = dynamic_cast<const Fault&>(*copy);
        EXPECT_EQ(cloned.getCode(), code);
        EXPECT_STREQ(cloned.what(), text);
        EXPECT_TRUE(cloned.getCause() == nullptr && !cloned.getFlag()) << text;
        EXPECT_THROW(copy->raise(), Fault);
    }
}
