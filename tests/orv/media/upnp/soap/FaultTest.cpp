#include "orv/media/upnp/soap/Fault.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace orv {
namespace media {
namespace upnp {
namespace soap {
namespace {

using orv::common::errors::BaseException;

TEST(FaultTest, StandardDescriptionsCarryTheirCodesAndExactTexts) {
    const struct {
        const Fault::Description& description;
        int code;
        const char* text;
    } cases[] = {
        {Fault::INVALID_ACTION, 401, "Invalid Action"},
        {Fault::INVALID_ARGS, 402, "Invalid Args"},
        {Fault::ACTION_FAILED, 501, "Action Failed"},
        {Fault::ARGUMENT_VALUE_INVALID, 600, "Argument Value Invalid"},
        {Fault::ARGUMENT_VALUE_OUT_OF_RANGE, 601, "Argument Value Out Of Range"},
        {Fault::OPTIONAL_ACTION_NOT_IMPLEMENTED, 602, "Optional Action Not Implemented"},
        {Fault::OUT_OF_MEMORY, 603, "Out of Memory"},
        {Fault::HUMAN_INTERVENTION_REQUIRED, 604, "Human Intervention Required"},
        {Fault::STRING_ARGUMENT_TOO_LONG, 605, "String Argument Too Long"},
    };
    for (const auto& c : cases) {
        const Fault fault(c.description);
        EXPECT_EQ(fault.getCode(), c.code);
        EXPECT_STREQ(fault.what(), c.text);
        EXPECT_EQ(fault.getCause(), nullptr);
        EXPECT_FALSE(fault.getFlag());
    }
}

TEST(FaultTest, DefaultFaultHasCodeZeroAndEmptyMessage) {
    const Fault fault;
    EXPECT_EQ(fault.getCode(), 0);
    EXPECT_STREQ(fault.what(), "");
}

TEST(FaultTest, RaiseThroughTheBaseThrowsAFaultWithItsCode) {
    Fault original(714, "No such object");
    BaseException& base = original;
    try {
        base.raise();
        FAIL() << "raise returned";
    } catch (const Fault& caught) {
        EXPECT_EQ(caught.getCode(), 714);
        EXPECT_STREQ(caught.what(), "No such object");
    }
}

TEST(FaultTest, CloneKeepsTypeCodeAndMessageAndOutlivesTheOriginal) {
    std::unique_ptr<BaseException> copy;
    {
        const Fault original(Fault::ACTION_FAILED);
        copy.reset(original.clone());
    }
    const auto* fault = dynamic_cast<const Fault*>(copy.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_EQ(fault->getCode(), 501);
    EXPECT_STREQ(fault->what(), "Action Failed");
    EXPECT_THROW(copy->raise(), Fault);
}

}  // namespace
}  // namespace soap
}  // namespace upnp
}  // namespace media
}  // namespace orv
