#pragma once

// The readers behind Query's parse operations, on views of the text, so that
// ParseFromQueryString can apply the pieces of a query text without copying them into a map
// first. Each does exactly what the Query operation of the same purpose documents.

#include <string_view>

#include "orv/nol/common/queries/Query.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {
namespace detail {

// Query::ParseFieldFilterQuery.
void readFieldFilter(Query& query, std::string_view value);
// Query::ParseSortQuery.
void readSort(Query& query, std::string_view value);
// Query::ParseExpandQuery.
void readExpand(Query& query, std::string_view value);
// One entry of Query::ParseFromQueryMap.
void readEntry(Query& query, std::string_view key, std::string_view value);

}  // namespace detail
}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
