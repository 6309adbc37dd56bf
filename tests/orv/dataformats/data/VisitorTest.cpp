#include "orv/dataformats/data/Visitor.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orv/dataformats/JsonOf.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace data {
namespace {

// Notes which operation was called and with which node.
class Recorder : public Visitor {
public:
    std::string call;
    const Value* node = nullptr;

    void visitNull(Null& value) override { note("null", value); }
    void visitBoolean(Boolean& value) override { note("boolean", value); }
    void visitInteger(Integer& value) override { note("integer", value); }
    void visitFloat(Float& value) override { note("float", value); }
    void visitString(String& value) override { note("string", value); }
    void visitBlob(Blob& value) override { note("blob", value); }
    void visitArray(Array& value) override { note("array", value); }
    void visitObject(Object& value) override { note("object", value); }

private:
    void note(const std::string& name, const Value& value) {
        call = name;
        node = &value;
    }
};

TEST(VisitorTest, DispatchesToTheOperationOfTheKindWithTheNodeItself) {
    const std::vector<std::pair<std::function<Value*()>, std::string>> cases = {
        {[] { return new Null(); }, "null"},        {[] { return new Boolean(true); }, "boolean"},
        {[] { return new Integer(1); }, "integer"}, {[] { return new Float(1.0); }, "float"},
        {[] { return new String("s"); }, "string"}, {[] { return new Blob({}); }, "blob"},
        {[] { return new Array(); }, "array"},      {[] { return new Object(); }, "object"},
    };
    for (const auto& c : cases) {
        std::unique_ptr<Value> value(c.first());
        Recorder recorder;
        recorder.visit(value.get());
        EXPECT_EQ(recorder.call, c.second);
        EXPECT_EQ(recorder.node, value.get());
    }
}

TEST(VisitorTest, NullPointerIsIgnored) {
    Recorder recorder;
    recorder.visit(nullptr);
    EXPECT_EQ(recorder.call, "");
}

// Doubles every number and upper-cases every string, descending into containers.
class Doubler : public Visitor {
public:
    void visitNull(Null&) override {}
    void visitBoolean(Boolean& value) override { value.set(!value.get()); }
    void visitInteger(Integer& value) override { value.set(2 * value.get()); }
    void visitFloat(Float& value) override { value.set(2 * value.get()); }
    void visitString(String& value) override { value.set(value.get() + value.get()); }
    void visitBlob(Blob&) override {}
    void visitArray(Array& value) override {
        for (auto& element : value.get()) {
            visit(element.get());
        }
    }
    void visitObject(Object& value) override {
        for (auto& member : value.get()) {
            visit(member.second.get());
        }
    }
};

TEST(VisitorTest, CanChangeTheTreeInPlace) {
    Object root;
    root.setNew("n", new Integer(21));
    auto* list = new Array();
    list->pushNew(new Float(0.25));
    list->pushNew(new String("ab"));
    list->pushNew(new Boolean(false));
    list->get().push_back(nullptr);
    root.setNew("list", list);

    Doubler doubler;
    doubler.visit(&root);
    EXPECT_EQ(testing::jsonOf(root), R"({"list":[0.5,"abab",true,null],"n":42})");
}

}  // namespace
}  // namespace data
}  // namespace dataformats
}  // namespace orv
