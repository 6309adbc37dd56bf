// Reading a query: the split of query text into key/value pairs, and the keys "$sortby",
// "$expand", "$offset", "$limit", "$q" and the field-value filters ("$fields" is read in
// QueryFieldFilter.cpp).
//
// The view reader. ParseFromQueryString does not build the key/value map that
// ParseFromQueryMap(stringToMap(text)) would: it applies views of the text (QueryBench's parse
// row takes about 1.7 times as long through the map). It holds these invariants:
// - the same result as the map path: a piece is a pair only with exactly one "=", of equal keys
//   the last piece wins, and the pairs are applied in byte-wise ascending key order (a stable
//   sort by key, then the last of each run of equal keys);
// - every view points into the caller's text, which therefore must not change while the pairs
//   are applied: text that the query itself owns is copied first (detail::ownsText);
// - the readers in detail/QueryReading.h take views and are shared by both paths, so the two
//   paths cannot drift apart in how they read a value.

#include <algorithm>
#include <string_view>
#include <vector>

#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/queries/Query.h"
#include "orv/nol/common/queries/detail/NumberText.h"
#include "orv/nol/common/queries/detail/QueryReading.h"
#include "orv/nol/common/queries/detail/Tokens.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {

namespace {

// A 'key=value' piece of query text, with its position among the pieces.
struct Piece {
    std::string_view key;
    std::string_view value;
    std::size_t order;
};

// Calls `onPair` with key and value of every "&"-separated piece that holds exactly one "=";
// other pieces are dropped.
template <typename OnPair>
void forEachPair(std::string_view query, OnPair&& onPair) {
    detail::forEachToken(query, '&', [&](std::string_view piece) {
        std::size_t equals = 0;
        if (detail::hasExactlyOne(piece, '=', equals)) {
            onPair(piece.substr(0, equals), piece.substr(equals + 1));
        }
    });
}

// The pairs of `query` in the order of a map built from them: sorted by key, and of each key
// only the last one.
std::vector<Piece> lastPairPerKeyInKeyOrder(std::string_view query) {
    std::vector<Piece> pieces;
    pieces.reserve(detail::tokenCount(query, '&'));
    forEachPair(query, [&](std::string_view key, std::string_view value) {
        pieces.push_back(Piece{key, value, pieces.size()});
    });
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
        return a.key < b.key || (a.key == b.key && a.order < b.order);
    });
    // Of a run of equal keys only the last piece stays, as a map keeps the last value.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i + 1 < pieces.size() && pieces[i + 1].key == pieces[i].key) {
            continue;
        }
        pieces[kept++] = pieces[i];
    }
    pieces.resize(kept);
    return pieces;
}

void readOffset(Query& query, std::string_view value) {
    query.pagesExist = true;
    if (detail::isNumberText(value)) {
        query.offset = int32ofString(std::string(value));
    } else {
        query.offsetId.assign(value);
    }
}

void readLimit(Query& query, std::string_view value) {
    query.pagesExist = true;
    query.limit = int32ofString(std::string(value));
}

void readTextFilter(Query& query, std::string_view value) {
    query.filterByText = true;
    query.filterTextCoded = true;
    query.filterText.assign(value);
}

void readFieldValueFilter(Query& query, std::string_view key, std::string_view value) {
    query.filterByFields = true;
    query.filterValuesCoded = true;
    query.fieldValueList.insert_or_assign(std::string(key), std::string(value));
}

}  // namespace

void detail::readEntry(Query& query, std::string_view key, std::string_view value) {
    if (key == "$fields") {
        readFieldFilter(query, value);
    } else if (key == "$sortby") {
        readSort(query, value);
    } else if (key == "$expand") {
        readExpand(query, value);
    } else if (key == "$offset") {
        readOffset(query, value);
    } else if (key == "$limit") {
        readLimit(query, value);
    } else if (key == "$q") {
        readTextFilter(query, value);
    } else {
        readFieldValueFilter(query, key, value);
    }
}

void detail::readSort(Query& query, std::string_view value) {
    query.sortFilter = true;
    query.sortedFieldList.clear();
    query.sortedFieldList.reserve(tokenCount(value, ','));
    forEachToken(value, ',',
                 [&](std::string_view token) { query.sortedFieldList.emplace_back(token); });
}

void detail::readExpand(Query& query, std::string_view value) {
    forEachToken(value, ',', [&](std::string_view view) {
        std::string token(view);
        // The level is taken from every token, names included (they read as 0): the level of
        // the last token remains, whatever came before.
        query.expandLevel = uint8ofString(token);
        if (query.expandLevel != 0) {
            query.expandType = 1;
            return;
        }
        query.expandedFieldList.insert(std::move(token));
        if (query.expandType == 0) {
            query.expandType = 2;
        }
    });
}

std::map<std::string, std::string> Query::stringToMap(const std::string& query) {
    std::map<std::string, std::string> pairs;
    forEachPair(query, [&](std::string_view key, std::string_view value) {
        pairs.insert_or_assign(std::string(key), std::string(value));
    });
    return pairs;
}

bool detail::ownsText(const Query& query, const std::string& text) {
    const auto is = [&text](const std::string& owned) { return &owned == &text; };
    return is(query.filterText) || is(query.offsetId) ||
           std::any_of(query.fieldValueList.begin(), query.fieldValueList.end(),
                       [&](const auto& entry) { return is(entry.first) || is(entry.second); }) ||
           std::any_of(query.fieldList.begin(), query.fieldList.end(),
                       [&](const FilterField_t& field) { return is(field.name); }) ||
           std::any_of(query.sortedFieldList.begin(), query.sortedFieldList.end(), is) ||
           std::any_of(query.expandedFieldList.begin(), query.expandedFieldList.end(), is);
}

bool Query::ParseFromQueryString(const std::string& query) {
    if (detail::ownsText(*this, query)) {
        return ParseFromQueryString(std::string(query));
    }
    // The same as ParseFromQueryMap(stringToMap(query)): the last pair of each key, applied in
    // key order. The pairs are read as views, so nothing is copied into a map first.
    const std::vector<Piece> pieces = lastPairPerKeyInKeyOrder(query);
    if (pieces.empty()) {
        return false;
    }
    for (const Piece& piece : pieces) {
        detail::readEntry(*this, piece.key, piece.value);
    }
    return true;
}

bool Query::ParseFromQueryMap(const std::map<std::string, std::string>& queryMap) {
    if (queryMap.empty()) {
        return false;
    }
    for (const auto& [key, value] : queryMap) {
        detail::readEntry(*this, key, value);
    }
    return true;
}

void Query::ParseSortQuery(const std::string& value) {
    if (detail::ownsText(*this, value)) {
        return ParseSortQuery(std::string(value));
    }
    detail::readSort(*this, value);
}

void Query::ParseExpandQuery(const std::string& value) {
    if (detail::ownsText(*this, value)) {
        return ParseExpandQuery(std::string(value));
    }
    detail::readExpand(*this, value);
}

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
