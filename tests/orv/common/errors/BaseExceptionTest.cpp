// Exceptions: copies, clones and raise() keep the dynamic type, the message, the flag and an
// owned copy of the whole chain of causes.
#include "orv/common/errors/BaseException.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "orv/common/errors/IllegalStateException.h"
#include "orv/common/errors/InvalidArgumentException.h"

namespace {

using namespace orv::common::errors;

// Each link of the chain as "message type", with "!" for a set flag.
std::string chainOf(const BaseException& e) {
    return std::string(e.what()) + " " + typeid(e).name() + (e.getFlag() ? "! " : " ") +
           (e.getCause() == nullptr ? "" : chainOf(*e.getCause()));
}

template <typename E>
class ExceptionTest : public testing::Test {};
using Kinds = testing::Types<BaseException, InvalidArgumentException, IllegalStateException>;
TYPED_TEST_SUITE(ExceptionTest, Kinds);

TYPED_TEST(ExceptionTest, CopiesClonesAndRaiseKeepTheTypeAndTheWholeChain) {
    const auto chain = [](const std::type_info& outer) {
        return std::string("outer ") + outer.name() + "! middle " +
               typeid(InvalidArgumentException).name() + " root " +
               typeid(IllegalStateException).name() + " ";
    };
    std::unique_ptr<BaseException> original;
    {
        const IllegalStateException root("root");
        const InvalidArgumentException middle("middle", &root);
        original = std::make_unique<TypeParam>("outer", &middle, true);
    }  // the exception owns copies of its causes
    const std::unique_ptr<BaseException> clone(original->clone());
    BaseException assigned("replaced");
    assigned = *original;
    try {
        original->raise();
    } catch (const BaseException& raised) {
        EXPECT_EQ(chainOf(raised), chain(typeid(TypeParam)));
    }
    EXPECT_EQ(chainOf(*clone), chain(typeid(TypeParam)));
    EXPECT_EQ(chainOf(assigned), chain(typeid(BaseException)));
}

}  // namespace
