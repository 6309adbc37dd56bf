#include "orv/common/errors/BaseException.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "orv/common/errors/IllegalStateException.h"
#include "orv/common/errors/InvalidArgumentException.h"

namespace {

using orv::common::errors::BaseException;
using orv::common::errors::IllegalStateException;
using orv::common::errors::InvalidArgumentException;

// One way to build each member of the family, so that every rule runs over all of them.
struct Kind {
    const char* name;
    std::function<std::unique_ptr<BaseException>(const std::string&, const BaseException*, bool)>
        make;
    std::function<bool(const BaseException&)> hasType;
};

template <typename E>
Kind kindOf(const char* name) {
    return {name,
            [](const std::string& message, const BaseException* cause, bool flag) {
                return std::unique_ptr<BaseException>(new E(message, cause, flag));
            },
            [](const BaseException& e) { return typeid(e) == typeid(E); }};
}

std::vector<Kind> allKinds() {
    return {kindOf<BaseException>("BaseException"),
            kindOf<InvalidArgumentException>("InvalidArgumentException"),
            kindOf<IllegalStateException>("IllegalStateException")};
}

TEST(BaseExceptionTest, WhatAndAccessorsGiveWhatWasBuilt) {
    const InvalidArgumentException plain("bad port");
    EXPECT_STREQ(plain.what(), "bad port");
    EXPECT_EQ(plain.getMessage(), "bad port");
    EXPECT_EQ(plain.getCause(), nullptr);
    EXPECT_FALSE(plain.getFlag());

    const IllegalStateException flagged("", nullptr, true);
    EXPECT_STREQ(flagged.what(), "");
    EXPECT_TRUE(flagged.getFlag());
}

TEST(BaseExceptionTest, CatchableAsStdException) {
    for (const Kind& kind : allKinds()) {
        SCOPED_TRACE(kind.name);
        try {
            kind.make("message", nullptr, false)->raise();
            FAIL() << "raise() returned";
        } catch (const std::exception& e) {
            EXPECT_STREQ(e.what(), "message");
        }
    }
}

TEST(BaseExceptionTest, CauseChainIsCopiedAndOutlivesItsSources) {
    std::unique_ptr<BaseException> outer;
    {
        const IllegalStateException root("root");
        auto middle = std::make_unique<InvalidArgumentException>("middle", &root);
        outer = std::make_unique<BaseException>("outer", middle.get(), true);
        EXPECT_NE(outer->getCause(), middle.get()) << "the cause must be a copy";
    }  // root and middle are gone

    const BaseException* middle = outer->getCause();
    ASSERT_NE(middle, nullptr);
    EXPECT_STREQ(middle->what(), "middle");
    EXPECT_NE(dynamic_cast<const InvalidArgumentException*>(middle), nullptr);
    const BaseException* root = middle->getCause();
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(root->what(), "root");
    EXPECT_NE(dynamic_cast<const IllegalStateException*>(root), nullptr);
    EXPECT_EQ(root->getCause(), nullptr);
}

TEST(BaseExceptionTest, CopyAndAssignmentKeepAnIndependentChain) {
    const IllegalStateException root("root");
    std::unique_ptr<BaseException> original(new InvalidArgumentException("outer", &root, true));

    InvalidArgumentException copy(static_cast<InvalidArgumentException&>(*original));
    BaseException assigned("to be replaced");
    assigned = *original;
    original.reset();

    for (const BaseException* e :
         {static_cast<const BaseException*>(&copy), static_cast<const BaseException*>(&assigned)}) {
        EXPECT_STREQ(e->what(), "outer");
        EXPECT_TRUE(e->getFlag());
        ASSERT_NE(e->getCause(), nullptr);
        EXPECT_STREQ(e->getCause()->what(), "root");
        EXPECT_NE(dynamic_cast<const IllegalStateException*>(e->getCause()), nullptr);
    }

    const BaseException& alias = assigned;
    assigned = alias;  // self-assignment keeps the chain
    ASSERT_NE(assigned.getCause(), nullptr);
    EXPECT_STREQ(assigned.getCause()->what(), "root");
}

TEST(BaseExceptionTest, RaiseThrowsTheDynamicType) {
    const BaseException cause("cause");
    for (const Kind& kind : allKinds()) {
        SCOPED_TRACE(kind.name);
        std::unique_ptr<BaseException> held = kind.make("raised", &cause, true);
        BaseException& asBase = *held;
        try {
            asBase.raise();
            FAIL() << "raise() returned";
        } catch (const BaseException& caught) {
            EXPECT_TRUE(kind.hasType(caught)) << "caught " << typeid(caught).name();
            EXPECT_NE(&caught, held.get());
            EXPECT_STREQ(caught.what(), "raised");
            EXPECT_TRUE(caught.getFlag());
            ASSERT_NE(caught.getCause(), nullptr);
            EXPECT_STREQ(caught.getCause()->what(), "cause");
        }
    }
}

TEST(BaseExceptionTest, RaisedDerivedTypesAreCaughtByTheirOwnType) {
    std::unique_ptr<BaseException> invalid(new InvalidArgumentException("invalid"));
    EXPECT_THROW(invalid->raise(), InvalidArgumentException);
    std::unique_ptr<BaseException> illegal(new IllegalStateException("illegal"));
    EXPECT_THROW(illegal->raise(), IllegalStateException);
}

TEST(BaseExceptionTest, CloneKeepsTypeMessageFlagAndCause) {
    const InvalidArgumentException cause("cause");
    for (const Kind& kind : allKinds()) {
        SCOPED_TRACE(kind.name);
        std::unique_ptr<BaseException> original = kind.make("cloned", &cause, true);
        std::unique_ptr<BaseException> clone(original->clone());
        original.reset();

        EXPECT_TRUE(kind.hasType(*clone));
        EXPECT_STREQ(clone->what(), "cloned");
        EXPECT_TRUE(clone->getFlag());
        ASSERT_NE(clone->getCause(), nullptr);
        EXPECT_STREQ(clone->getCause()->what(), "cause");
        EXPECT_NE(dynamic_cast<const InvalidArgumentException*>(clone->getCause()), nullptr);
    }
}

TEST(BaseExceptionTest, CaughtExceptionCanBeStoredAndRaisedLater) {
    std::unique_ptr<BaseException> stored;
    try {
        throw IllegalStateException("stored");
    } catch (const BaseException& e) {
        stored.reset(e.clone());
    }
    EXPECT_THROW(stored->raise(), IllegalStateException);
}

}  // namespace
