#include "orv/nol/common/queries/Query.h"

#include "orv/nol/common/queries/detail/NumberText.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {

// NOLINTNEXTLINE(cert-err58-cpp): the default constructor allocates nothing and cannot throw.
const Query Query::None;

Query::~Query() = default;

bool Query::isEmpty() const {
    return !filterByFields && !filterByText && !fieldsFilter && !sortFilter && !pagesExist &&
           expandType == 0;
}

bool isNumber(const std::string& text) {
    return detail::isNumberText(text);
}

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
