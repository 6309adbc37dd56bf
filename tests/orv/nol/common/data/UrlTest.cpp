#include "orv/nol/common/data/Url.h"

#include <gtest/gtest.h>

#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/json/Writer.h"

namespace orv {
namespace nol {
namespace common {
namespace data {
namespace {

namespace pdata = orv::dataformats::data;

TEST(UrlTest, IsAPlainStringToOtherVisitors) {
    const Url url(":8080/s/t/id");
    EXPECT_EQ(url.getType(), pdata::Value::EType::String);

    std::string text;
    orv::dataformats::StringAppendConsumer consumer(text);
    orv::dataformats::json::Writer writer(consumer);
    writer.visit(&url);
    EXPECT_EQ(text, R"(":8080/s/t/id")");
}

TEST(UrlTest, CopiesAsAPlainString) {
    const auto copy = Url(":1/a").getCopy();
    EXPECT_EQ(dynamic_cast<const Url*>(copy.get()), nullptr);
    const auto* text = dynamic_cast<const pdata::String*>(copy.get());
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->get(), ":1/a");
}

}  // namespace
}  // namespace data
}  // namespace common
}  // namespace nol
}  // namespace orv
