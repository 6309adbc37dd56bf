#pragma once

// The range check of the numbers in a query string, made on the text the client sent: the query
// reader keeps "$expand" levels in one byte and offsets and limits in 32 bits, so "$expand=257"
// would read as level 1 and "$limit=4294967297" as 1.

#include <string>

namespace mediaservice {

// Throws ApiError 400, naming the parameter, the text sent and the range, when a number in
// `queryText` (still %-encoded, without the "?") lies outside its range: "$expand" levels 0 to
// 5, "$offset" and "$limit" (also inside "$fields" paging) 0 to 2147483647. Text that is no
// number is left to the query reader ("$offset=<guid>", "$expand=artist", "$limit=x").
void checkNumberRanges(const std::string& queryText);

}  // namespace mediaservice
