// The data tree: each kind's type, visitor dispatch and deep copy; null pointers in containers;
// replacing object members.

#include "orv/dataformats/data/Value.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orv/dataformats/Trees.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv::dataformats::data {
namespace {

using namespace testing;

// Notes the node that a Visitor operation was handed; the compiler sees to it that each
// operation can only be handed its own kind.
class Recorder : public Visitor {
public:
    const Value* node = nullptr;
    void visitNull(Null& value) override { node = &value; }
    void visitBoolean(Boolean& value) override { node = &value; }
    void visitInteger(Integer& value) override { node = &value; }
    void visitFloat(Float& value) override { node = &value; }
    void visitString(String& value) override { node = &value; }
    void visitBlob(Blob& value) override { node = &value; }
    void visitArray(Array& value) override { node = &value; }
    void visitObject(Object& value) override { node = &value; }
};

TEST(ValueTest, EveryKindReportsItsTypeDispatchesAndCopies) {
    using Type = Value::EType;
    const std::vector<std::pair<Value*, Type>> cases = {
        {new Null(), Type::Null},
        {new Boolean(false), Type::Boolean},
        {new Integer(-12), Type::Integer},
        {new Float(2.5), Type::Float},
        {new Bracketed("s"), Type::String},
        {new Blob({0, 255, 7}), Type::Blob},
        {arrayOf({new Integer(1), new Null()}), Type::Array},
        {objectOf({{"k", new String("v")}}), Type::Object}};
    for (const auto& [raw, type] : cases) {
        std::unique_ptr<Value> value(raw);
        const std::string json = jsonOf(value.get());
        EXPECT_EQ(value->getType(), type) << json;
        Recorder recorder;
        recorder.visit(value.get());
        EXPECT_EQ(recorder.node, value.get()) << json;
        const std::unique_ptr<Value> copy = value->getCopy();
        value.reset();  // the copy must not depend on the original
        EXPECT_EQ(copy->getType(), type) << json;
        EXPECT_EQ(jsonOf(copy.get()), json);
    }
    // A subclass is copied as the plain kind it presents itself as.
    EXPECT_EQ(dynamic_cast<String&>(*Bracketed("s").getCopy()).get(), "[s]");
}

TEST(ValueTest, NullPointersReadAsNull) {
    Recorder().visit(nullptr);  // nothing to hand over
    const std::unique_ptr<Array> array(arrayOf({nullptr, objectOf({{"k", nullptr}})}));
    auto& object = static_cast<Object&>(*array->get()[1]);
    for (const Value* stored : {array->get()[0].get(), object.find("k")}) {
        ASSERT_NE(stored, nullptr);
        EXPECT_EQ(stored->getType(), Value::EType::Null);
    }
    // Null pointers put in past pushNew and setNew are read as null values.
    array->get().push_back(nullptr);
    object.get()["raw"] = nullptr;
    EXPECT_EQ(jsonOf(array.get()), R"([null,{"k":null,"raw":null},null])");
}

TEST(ObjectTest, SetNewReplacesAndDeletesButKeepsAValueHandedBack) {
    Object object;
    auto* kept = new Integer(1);
    object.setNew("k", kept);
    object.setNew("k", kept);
    EXPECT_EQ(object.find("k"), kept);
    object.setNew("k", new Integer(7));  // deletes `kept`, else the leak check complains
    EXPECT_EQ(jsonOf(&object), R"({"k":7})");
}

}  // namespace
}  // namespace orv::dataformats::data
