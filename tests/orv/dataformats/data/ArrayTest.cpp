#include "orv/dataformats/data/Array.h"

#include <gtest/gtest.h>

#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {
namespace {

TEST(ArrayTest, NullValueIsStoredAsNull) {
    Array array;
    array.pushNew(nullptr);
    ASSERT_EQ(array.get().size(), 1u);
    ASSERT_NE(array.get()[0], nullptr);
    EXPECT_EQ(array.get()[0]->getType(), Value::EType::Null);
}

}  // namespace
}  // namespace data
}  // namespace dataformats
}  // namespace orv
