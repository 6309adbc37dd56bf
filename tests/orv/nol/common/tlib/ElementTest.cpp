#include "orv/nol/common/tlib/Element.h"

#include <gtest/gtest.h>

#include <string>

#include "orv/common/errors/IllegalStateException.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"

namespace orv {
namespace nol {
namespace common {
namespace tlib {
namespace {

using orv::common::errors::IllegalStateException;
using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

constexpr char IdText[] = "00112233-4455-6677-8899-aabbccddeeff";

class Lamp : public Element {
public:
    Lamp(std::string first = "lights", std::string second = "lamp")
        : m_first(std::move(first)), m_second(std::move(second)) {}

    std::string getFirstUriSegment() const override { return m_first; }
    std::string getSecondUriSegment() const override { return m_second; }

private:
    std::string m_first;
    std::string m_second;
};

// The text of the String member `key`, or "<missing>" / "<not a string>".
std::string textOf(const data::Object& object, const std::string& key) {
    const data::Value* value = findProperty(object, key);
    if (value == nullptr) {
        return "<missing>";
    }
    const auto* text = dynamic_cast<const data::String*>(value);
    return text == nullptr ? "<not a string>" : text->get();
}

TEST(PropertyTest, IsSetOnlyOnceAssigned) {
    Property<std::string> name;
    EXPECT_FALSE(name.isSet());
    EXPECT_EQ(name.getState(), NotSet);
    name = "kitchen";
    EXPECT_TRUE(name.isSet());
    EXPECT_EQ(name.getState(), Set);
    EXPECT_EQ(name.value(), "kitchen");
    name.clear();
    EXPECT_FALSE(name.isSet());

    const Property<GUID> id = Utils::getGuidOfStr(IdText);
    EXPECT_EQ(id.value().toString(), IdText);
}

TEST(PropertyTest, ValueOfAnUnsetPropertyThrowsIllegalState) {
    const Property<GUID> id;
    try {
        static_cast<void>(id.value());
        FAIL() << "no exception";
    } catch (const IllegalStateException& e) {
        EXPECT_STREQ(e.what(), "Value has not been set.");
        EXPECT_EQ(e.getCause(), nullptr);
    }
}

TEST(ElementTest, UriJoinsTheSegmentsAndTheLowerCaseId) {
    Lamp lamp;
    EXPECT_FALSE(lamp.getUri().isSet());
    lamp.id = Utils::getGuidOfStr("00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(lamp.getUri().value(), std::string("/lights/lamp/") + IdText);
}

TEST(ElementTest, UriDoesNotCheckForEmptySegments) {
    Lamp lamp("", "");
    lamp.id = GUID();
    EXPECT_EQ(lamp.getUri().value(), "///00000000-0000-0000-0000-000000000000");
}

TEST(ElementTest, SerialisesOnlyWhatIsSet) {
    Lamp lamp;
    EXPECT_TRUE(lamp.baseSerialize()->get().empty());

    lamp.name = "desk";
    auto named = lamp.baseSerialize();
    EXPECT_EQ(named->get().size(), 1U);
    EXPECT_EQ(textOf(*named, "name"), "desk");

    lamp.id = Utils::getGuidOfStr(IdText);
    auto full = lamp.baseSerialize();
    EXPECT_EQ(full->get().size(), 3U);
    EXPECT_EQ(textOf(*full, "id"), IdText);
    EXPECT_EQ(textOf(*full, "name"), "desk");
    EXPECT_EQ(textOf(*full, "uri"), std::string("/lights/lamp/") + IdText);
    EXPECT_EQ(Utils::getGuidOfObject(*full), lamp.id.value());

    lamp.name.clear();
    auto withoutName = lamp.baseSerialize();
    EXPECT_EQ(withoutName->get().size(), 2U);
    EXPECT_EQ(textOf(*withoutName, "name"), "<missing>");
}

TEST(ElementTest, DeserialiseReadsIdAndNameButNotUri) {
    Lamp original;
    original.id = Utils::createHashedGuid("desk");
    original.name = "desk";
    auto object = original.baseSerialize();
    object->setNew("uri", new data::String("/other/kind/" + std::string(IdText)));

    Lamp copy;
    copy.baseDeserialize(*object);
    EXPECT_EQ(copy.id.value(), original.id.value());
    EXPECT_EQ(copy.name.value(), "desk");
    EXPECT_EQ(copy.getUri().value(), original.getUri().value());
}

TEST(ElementTest, DeserialiseKeepsAnUnreadableIdButClearsAnUnreadableName) {
    const GUID previous = Utils::createHashedGuid("previous");
    const struct {
        const char* label;
        data::Value* id;    // null: no member
        data::Value* name;  // null: no member
        bool idKept;
        bool nameSet;
    } cases[] = {
        {"both missing", nullptr, nullptr, true, false},
        {"integers", new data::Integer(5), new data::Integer(5), true, false},
        {"id no guid", new data::String("x"), new data::String("n"), false, true},
    };
    for (const auto& c : cases) {
        data::Object object;
        if (c.id != nullptr) {
            object.setNew("id", c.id);
        }
        if (c.name != nullptr) {
            object.setNew("name", c.name);
        }
        Lamp lamp;
        lamp.id = previous;
        lamp.name = "old";
        lamp.baseDeserialize(object);
        ASSERT_TRUE(lamp.id.isSet()) << c.label;
        EXPECT_EQ(lamp.id.value(), c.idKept ? previous : GUID()) << c.label;
        EXPECT_EQ(lamp.name.isSet(), c.nameSet) << c.label;
    }
}

TEST(ElementTest, NameClearedByDeserialiseThrowsOnRead) {
    Lamp lamp;
    lamp.name = "old";
    lamp.baseDeserialize(data::Object());
    EXPECT_THROW(static_cast<void>(lamp.name.value()), IllegalStateException);
    EXPECT_FALSE(lamp.id.isSet());  // an absent id stays unset
}

TEST(ElementTest, FindPropertyMatchesKeysExactly) {
    data::Object object;
    object.setNew("Name", new data::String("x"));
    object.setNew("name ", new data::String("y"));
    EXPECT_EQ(findProperty(object, "name"), nullptr);
    EXPECT_EQ(findProperty(object, "Name"), object.find("Name"));
}

TEST(ElementTest, DecStepsOneLevelDown) {
    const struct {
        int option;
        int expected;
    } cases[] = {
        {-2, -2}, {-1, -1}, {0, -1}, {1, 0},   {2, 1},  {3, 2},    {4, 3},
        {5, 4},   {6, 6},   {7, 6},  {127, 6}, {-3, 6}, {-128, 6}, {-127, 6},
    };
    for (const auto& c : cases) {
        const auto option = static_cast<EExpandOpt>(c.option);
        EXPECT_EQ(static_cast<int>(dec(option)), c.expected) << c.option;
    }
}

}  // namespace
}  // namespace tlib
}  // namespace common
}  // namespace nol
}  // namespace orv
