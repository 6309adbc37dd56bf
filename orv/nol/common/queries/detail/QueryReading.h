#pragma once

// The readers behind Query's parse operations, on views of the text, so that
// ParseFromQueryString can apply the pieces of a query text without copying them into a map
// first. Each does exactly what the Query operation of the same purpose documents.

#include <string>
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

// True if `text` is one of the strings that `query` owns (a member, a list entry, a map key or
// value). The readers change those strings while they read, so the parse operations read such a
// text from a copy; any other text is read in place.
bool ownsText(const Query& query, const std::string& text);

}  // namespace detail
}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
