#include "orv/dataformats/data/ConstVisitor.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

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

// Notes each call as one line; containers are not descended into.
class Recorder : public ConstVisitor {
public:
    std::vector<std::string> calls;

    void visitNull() override { calls.emplace_back("null"); }
    void visitBoolean(bool value) override { calls.push_back("boolean " + std::to_string(value)); }
    void visitInteger(int value) override { calls.push_back("integer " + std::to_string(value)); }
    void visitFloat(double value) override { calls.push_back("float " + std::to_string(value)); }
    void visitString(orv::common::types::BufferDescriptor<const char> bytes) override {
        calls.push_back("string " + std::string(bytes.begin(), bytes.end()));
    }
    void visitBlob(orv::common::types::BufferDescriptor<const char> bytes) override {
        calls.push_back("blob " + std::to_string(bytes.size()));
    }
    void visitArray(const PtrVector<Value>& elements) override {
        calls.push_back("array " + std::to_string(elements.size()));
    }
    void visitObject(const PtrMap<std::string, Value>& members) override {
        calls.push_back("object " + std::to_string(members.size()));
    }
};

struct DispatchCase {
    std::function<Value*()> make;
    std::string call;
};

TEST(ConstVisitorTest, DispatchesToTheOperationOfTheKind) {
    const std::vector<DispatchCase> cases = {
        {[] { return new Null(); }, "null"},
        {[] { return new Boolean(true); }, "boolean 1"},
        {[] { return new Boolean(false); }, "boolean 0"},
        {[] { return new Integer(-12); }, "integer -12"},
        {[] { return new Float(2.5); }, "float 2.500000"},
        {[] { return new String("abc"); }, "string abc"},
        {[] {
             return new Blob({1, 2, 3});
         },
         "blob 3"},
        {[] {
             auto* array = new Array();
             array->pushNew(new Null());
             array->pushNew(new Null());
             return array;
         },
         "array 2"},
        {[] {
             auto* object = new Object();
             object->setNew("k", new Null());
             return object;
         },
         "object 1"},
    };
    for (const auto& c : cases) {
        std::unique_ptr<Value> value(c.make());
        Recorder recorder;
        recorder.visit(value.get());
        EXPECT_EQ(recorder.calls, std::vector<std::string>{c.call});
    }
}

TEST(ConstVisitorTest, NullPointerIsVisitedAsNull) {
    Recorder recorder;
    recorder.visit(nullptr);
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"null"});
}

TEST(ConstVisitorTest, SubclassOverridingVisitIsHonoured) {
    const Bracketed link("x");
    Recorder recorder;
    recorder.visit(&link);
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"string [x]"});
}

}  // namespace
}  // namespace data
}  // namespace dataformats
}  // namespace orv
