#include "orv/dataformats/data/Value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orv/dataformats/JsonOf.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Bracketed.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace data {
namespace {

using testing::Bracketed;
using testing::jsonOf;

struct KindCase {
    std::function<Value*()> make;
    Value::EType type;
};

TEST(ValueTest, EachKindReportsItsType) {
    const std::vector<KindCase> cases = {
        {[] { return new Object(); }, Value::EType::Object},
        {[] { return new Array(); }, Value::EType::Array},
        {[] { return new String("s"); }, Value::EType::String},
        {[] { return new Bracketed("s"); }, Value::EType::String},
        {[] { return new Integer(1); }, Value::EType::Integer},
        {[] { return new Float(1.5); }, Value::EType::Float},
        {[] { return new Boolean(true); }, Value::EType::Boolean},
        {[] {
             return new Blob({1, 2});
         },
         Value::EType::Blob},
        {[] { return new Null(); }, Value::EType::Null},
    };
    for (const auto& c : cases) {
        std::unique_ptr<Value> value(c.make());
        EXPECT_EQ(value->getType(), c.type);
        EXPECT_EQ(value->getCopy()->getType(), c.type);
    }
}

std::unique_ptr<Object> makeTreeOfEveryKind() {
    auto root = std::make_unique<Object>();
    root->setNew("null", new Null());
    root->setNew("bool", new Boolean(true));
    root->setNew("int", new Integer(-3));
    root->setNew("float", new Float(0.5));
    root->setNew("string", new String("text"));
    root->setNew("blob", new Blob({0, 255, 7}));
    auto* list = new Array();
    list->pushNew(new Integer(1));
    auto* inner = new Object();
    inner->setNew("deep", new String("value"));
    list->pushNew(inner);
    root->setNew("list", list);
    return root;
}

TEST(ValueTest, CopyIsDeepAndIndependentOfTheOriginal) {
    auto original = makeTreeOfEveryKind();
    const std::string before = jsonOf(*original);
    std::unique_ptr<Value> copy = original->getCopy();
    EXPECT_EQ(jsonOf(*copy), before);

    // Change the original at every level; the copy must not follow.
    static_cast<String*>(original->find("string"))->set("changed");
    static_cast<Blob*>(original->find("blob"))->set({9});
    auto* list = static_cast<Array*>(original->find("list"));
    static_cast<Object&>(*list->get()[1]).setNew("deep", new Integer(0));
    list->pushNew(new Null());
    original->setNew("int", new Integer(99));
    EXPECT_EQ(jsonOf(*copy), before);

    original.reset();
    EXPECT_EQ(jsonOf(*copy), before);
}

TEST(ValueTest, StringSubclassIsCopiedAsThePlainStringItPresents) {
    Array array;
    array.pushNew(new Bracketed("link"));
    std::unique_ptr<Value> copy = array.getCopy();
    const Value* element = static_cast<const Array&>(*copy).get()[0].get();
    EXPECT_EQ(dynamic_cast<const Bracketed*>(element), nullptr);
    ASSERT_NE(dynamic_cast<const String*>(element), nullptr);
    EXPECT_EQ(static_cast<const String*>(element)->get(), "[link]");
}

TEST(ValueTest, NullChildIsCopiedAsNull) {
    Array array;
    array.get().push_back(nullptr);
    std::unique_ptr<Value> copy = array.getCopy();
    const auto& elements = static_cast<const Array&>(*copy).get();
    ASSERT_EQ(elements.size(), 1u);
    ASSERT_NE(elements[0], nullptr);
    EXPECT_EQ(elements[0]->getType(), Value::EType::Null);
}

}  // namespace
}  // namespace data
}  // namespace dataformats
}  // namespace orv
