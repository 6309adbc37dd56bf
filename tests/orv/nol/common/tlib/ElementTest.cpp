// Element: the resource URI, serialisation of id, name and URI to a data object and back with
// its optional Property values, and the expansion step dec.

#include "orv/nol/common/tlib/Element.h"

#include <gtest/gtest.h>

#include <string>

#include "orv/common/errors/IllegalStateException.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"

using namespace orv::nol::common;
using namespace orv::nol::common::tlib;
using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

static const std::string kId = "00112233-4455-6677-8899-aabbccddeeff";

struct Lamp : Element {
    std::string getFirstUriSegment() const override { return first; }
    std::string getSecondUriSegment() const override { return first.empty() ? "" : "lamp"; }
    std::string first = "lights";
};

TEST(ElementTest, SerialisesWhatIsSetAndTheUriOfSegmentsAndLowerCaseId) {
    Lamp lamp;
    const auto json = [&] { return Utils::jsonOfDataValue(*lamp.baseSerialize(), "h"); };
    EXPECT_EQ(json(), "{}");
    lamp.name = "desk";
    EXPECT_EQ(json(), R"({"name":"desk"})");
    lamp.id = Utils::getGuidOfStr("00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(json(),
              R"({"id":")" + kId + R"(","name":"desk","uri":"/lights/lamp/)" + kId + R"("})");
    lamp.name.clear();
    EXPECT_EQ(json(), R"({"id":")" + kId + R"(","uri":"/lights/lamp/)" + kId + R"("})");
    lamp.first = "";  // the segments are not checked
    EXPECT_EQ(lamp.getUri().value(), "///" + kId);
}

// An id that is absent or no String keeps the old id, a name that is absent or no String clears
// the old name, and reading a name that is not set throws; "uri" is never read.
TEST(ElementTest, DeserialiseKeepsAnUnreadableIdButClearsAnUnreadableName) {
    const GUID old = Utils::createHashedGuid("old");
    // clang-format off
    const std::tuple<data::Value*, data::Value*, GUID, const char*> cases[] = {
        {new data::Integer(5), new data::Integer(5), old, "Value has not been set."},
        {new data::String("x"), new data::String("n"), GUID(), "n"},
        {new data::String(kId), new data::String(""), Utils::getGuidOfStr(kId), ""}};
    // clang-format on
    for (const auto& [id, name, expectedId, expectedName] : cases) {
        data::Object object;
        object.setNew("uri", new data::String("/other/kind/" + old.toString()));
        object.setNew("id", id);
        object.setNew("name", name);
        Lamp lamp;
        lamp.id = old;
        lamp.name = "old";
        lamp.baseDeserialize(object);
        EXPECT_EQ(lamp.id.value(), expectedId);
        try {
            EXPECT_EQ(lamp.name.value(), expectedName);
        } catch (const orv::common::errors::IllegalStateException& e) {
            EXPECT_STREQ(e.what(), expectedName);
            EXPECT_EQ(e.getCause(), nullptr);
        }
        lamp.baseDeserialize(data::Object());
        EXPECT_TRUE(lamp.id.value() == expectedId && !lamp.name.isSet());
    }
}

TEST(ElementTest, DecStepsOneLevelDownBetweenMinusTwoAndFive) {
    // clang-format off
    const std::pair<int, int> cases[] = {{-2, -2}, {-1, -1}, {0, -1}, {1, 0}, {2, 1}, {3, 2}, {4, 3}, {5, 4},
                                         {6, 6}, {7, 6}, {127, 6}, {-3, 6}, {-128, 6}};
    // clang-format on
    for (const auto& [option, expected] : cases)
        EXPECT_EQ(static_cast<int>(dec(static_cast<EExpandOpt>(option))), expected) << option;
}
