#include "orv/dataformats/data/Object.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace data {
namespace {

// A null value that counts its own destruction, to check who deletes what.
class Tracked : public Null {
public:
    explicit Tracked(int& destroyed) : m_destroyed(destroyed) {}
    ~Tracked() override { ++m_destroyed; }

private:
    int& m_destroyed;
};

TEST(ObjectTest, SetNewReplacesAndDeletesThePreviousValue) {
    int destroyed = 0;
    Object object;
    object.setNew("k", new Tracked(destroyed));
    object.setNew("k", new Integer(7));
    EXPECT_EQ(destroyed, 1);
    ASSERT_EQ(object.get().size(), 1u);
    ASSERT_EQ(object.find("k")->getType(), Value::EType::Integer);
    EXPECT_EQ(static_cast<const Integer*>(object.find("k"))->get(), 7);
}

TEST(ObjectTest, HandingBackTheStoredValueKeepsIt) {
    int destroyed = 0;
    Object object;
    auto* value = new Tracked(destroyed);
    object.setNew("k", value);
    object.setNew("k", value);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(object.find("k"), value);
}

TEST(ObjectTest, MembersIterateInByteOrderOfTheirKeys) {
    Object object;
    const std::vector<std::string> inserted = {"b", "a", "\xff", "aa", "", "B", "a\x01", "\x7f"};
    for (const auto& key : inserted) {
        object.setNew(key, new String(key));
    }
    std::vector<std::string> keys;
    for (const auto& member : object.get()) {
        keys.push_back(member.first);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"", "B", "a", "a\x01", "aa", "b", "\x7f", "\xff"}));
}

TEST(ObjectTest, NullValueIsStoredAsNull) {
    Object object;
    object.setNew("k", nullptr);
    ASSERT_NE(object.find("k"), nullptr);
    EXPECT_EQ(object.find("k")->getType(), Value::EType::Null);
}

}  // namespace
}  // namespace data
}  // namespace dataformats
}  // namespace orv
