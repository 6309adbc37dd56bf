#pragma once

// Which elements a list request gets: the query's field-value filters, its "$q" search, its
// "$sortby" order and its "$offset" / "$limit" paging, applied to one kind of the catalogue.

#include <cstddef>
#include <string>
#include <vector>

#include "Catalogue.h"
#include "orv/nol/common/queries/Query.h"

namespace mediaservice {

using Query = orv::nol::common::queries::Query;

// Page size when the query gives no "$limit".
inline constexpr std::size_t kDefaultPageSize = 20;

// One page of a list and where it lies in the whole result.
struct Page {
    std::vector<const MediaElement*> items;
    std::size_t total = 0;   // elements that pass the filters and the search
    std::size_t offset = 0;  // position of the first item in the sorted result
    std::size_t limit = 0;   // the page size asked for, or kDefaultPageSize
};

// Applies, in this order:
// - field-value filters ("genre=jazz", "year=1999", "album=<guid>"): a text field matches its
//   value ignoring case, a number field the decimal number, a link the linked element's id and
//   a list of links any of them. The values are %-decoded first.
// - "$q": keeps the elements whose name holds the %-decoded text, ignoring case.
// - "$sortby": a comma-separated list of text or number fields, each sorting ascending, or
//   descending with a leading "-" ("-year,name"); ties keep the catalogue order.
// - "$offset": the number of elements to skip, or the id of the element the page starts with.
// - "$limit": the page size.
// Throws ApiError: 400 for an unknown field, a sort on a link field, a number filter that is
// no number, a negative offset or limit or a malformed id; 404 for an "$offset" id that is not
// in the result.
Page selectPage(const Catalogue& catalogue, const std::string& kind, const Query& query);

}  // namespace mediaservice
