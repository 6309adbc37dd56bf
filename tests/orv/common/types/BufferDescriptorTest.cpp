#include "orv/common/types/BufferDescriptor.h"

#include <gtest/gtest.h>

namespace {

using orv::common::types::BufferDescriptor;

TEST(BufferDescriptorTest, NullPointerIsAnEmptyViewWhateverTheSize) {
    const BufferDescriptor<const char> view(nullptr, 10);
    EXPECT_EQ(view.size(), 0U);
    EXPECT_TRUE(view.empty());
    EXPECT_EQ(view.begin(), view.end());

    constexpr BufferDescriptor<const int> defaulted;
    static_assert(defaulted.size() == 0 && defaulted.ptr() == nullptr, "default is empty");
}

}  // namespace
