#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "orv/nol/common/Export.h"
#include "orv/nol/common/queries/FilterField_t.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {

// The query of a resource request in parsed form: which fields to return ("$fields", with
// per-field paging), how to sort ("$sortby"), what to expand ("$expand"), paging of the whole
// result ("$offset", "$limit"), a free-text filter ("$q") and filters by field value (every other
// key). Parsed from 'key=value&key=value' text or from a key/value map, and printed back as a
// map, as query text or as a debug listing.
//
//   Query query;
//   query.ParseFromQueryString("$fields=name,items($limit:5)&$sortby=name&genre=rock");
//   // query.fieldList: "name", "items" (limit 5); query.fieldValueList: genre -> rock
//
// Parsing is tolerant and adds to the present state (nothing is reset first, except the sort
// list): malformed pieces are skipped or read as numbers, and nothing is thrown apart from
// allocation failure. The Parse* members read text that the query itself holds
// (`q.ParseFromQueryString(q.filterText)`) as a copy of it. A parsed query is a plain value: no
// lock is held, operations on distinct objects may run concurrently, a shared object needs its
// users to serialise.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the member order is the interface.
class ORV_NOL_API Query {
public:
    // A default-constructed (empty) query, built during static initialisation; const, so that
    // neither the library nor a service can change it.
    static const Query None;

    Query() = default;
    Query(const Query&) = default;
    Query(Query&&) noexcept = default;
    Query& operator=(const Query&) = default;
    Query& operator=(Query&&) noexcept = default;
    virtual ~Query();

    // True if no filter, field list, sort order, expansion or paging was given: the flags
    // filterByFields, filterByText, fieldsFilter, sortFilter and pagesExist are all false and
    // expandType is 0. The coded flags, the text and the lists are not looked at.
    bool isEmpty() const;

    // stringToMap(query), then ParseFromQueryMap of the result. False (and the query unchanged)
    // when no piece of the text has exactly one "=", the empty text included.
    bool ParseFromQueryString(const std::string& query);

    // Applies each entry in key order (byte-wise ascending, so all "$" keys before letters);
    // keys are compared case-sensitively:
    //   "$fields"  ParseFieldFilterQuery(value)
    //   "$sortby"  ParseSortQuery(value)
    //   "$expand"  ParseExpandQuery(value)
    //   "$offset"  sets pagesExist; if isNumber(value) sets offset to int32ofString(value) (an
    //              empty value counts as a number and sets 0), otherwise sets offsetId to the
    //              value and leaves offset as it is
    //   "$limit"   sets pagesExist and sets limit to int32ofString(value) without any check, so
    //              a non-numeric limit becomes 0 (unlike "$offset", on purpose)
    //   "$q"       sets filterByText and filterTextCoded, filterText = value
    //   any other key (also an unknown "$" key) sets filterByFields and filterValuesCoded and
    //              fieldValueList[key] = value
    // Values are stored still URL-coded. Returns false, changing nothing, for an empty map.
    bool ParseFromQueryMap(const std::map<std::string, std::string>& queryMap);

    // Splits 'k=v&k=v' text at "&" (empty pieces included) and each piece at "=". A piece with
    // exactly one "=" is stored as key and value, a later one with the same key overwriting the
    // earlier; pieces with no or several "=" are dropped. Keys and values are kept exactly as
    // they stand: no unescaping, no trimming, and a leading "?" stays part of the first key.
    static std::map<std::string, std::string> stringToMap(const std::string& query);

    // Sets sortFilter and replaces sortedFieldList by the value split at "," (empty tokens kept;
    // an empty value gives one empty token). Direction markers stay in the tokens.
    void ParseSortQuery(const std::string& value);

    // For each token of the value split at ",", in order: expandLevel = uint8ofString(token)
    // (also for a name, which reads as 0, so the level of the last token remains); a level that
    // is not 0 sets expandType to 1; otherwise the token is inserted into expandedFieldList ("0"
    // and the empty token are names too) and expandType becomes 2 unless it is 1 already. So
    // "2,owner" ends with expandType 1 and expandLevel 0. Nothing is reset first.
    void ParseExpandQuery(const std::string& value);

    // Sets fieldsFilter and appends one FilterField_t per ","-separated item of the value, in
    // order, duplicates kept: "name,items($offset:10,$limit:5)". Inside the parentheses only
    // '$offset:<n>' and '$limit:<n>' with isNumber(n) are applied (and set `pages`); other pieces
    // are ignored, and a key given twice takes its last value. The first ")" closes the paging,
    // text between it and the next "," is ignored, and a "(" without ")" ends the reading after
    // its name. Every call appends at least one record: the empty value gives one empty name,
    // "a," gives "a" and "". Reads every input in one forward pass.
    void ParseFieldFilterQuery(const std::string& value);

    // The query as a key/value map that ParseFromQueryMap reads. Field-value filters and "$q"
    // are written as stored if their coded flag is set, otherwise escaped with
    // stringEscapeURLContent; keys and "$fields" names are never escaped. "$fields" items with
    // `pages` get "($offset:<offset>,$limit:<limit>)", both always written. "$expand" is the level
    // for expandType 1 (the names are not written), the names joined by "," for expandType 2,
    // absent otherwise. With pagesExist, "$offset" is offsetId if that is not empty, else offset
    // unless it is OFFSET_NOT_SET; "$limit" is written unless it is LIMIT_NOT_SET. Without
    // pagesExist neither is written.
    //
    // Parsing the result back gives the same query except: an expansion by level keeps only its
    // level (and level 0 comes back as the name "0"); pagesExist with both values unset is lost;
    // a numeric offset beside an offsetId is lost; keys or names holding "&" or "=" do not
    // survive the text form; values come back coded.
    std::map<std::string, std::string> getMap() const;

    // mapToString(getMap()): the keys come out sorted, "$expand" before "$fields", "$limit",
    // "$offset", "$q", "$sortby", and these before keys beginning with a letter or digit.
    std::string getString() const;

    // 'key=value' for each entry in key order, joined by "&"; nothing escaped, no leading "?".
    // The empty map gives the empty text.
    static std::string mapToString(const std::map<std::string, std::string>& queryMap);

    // Writes a seventeen-line labelled debug listing, with the entries of the lists on lines of
    // their own, each line ended by std::endl. Booleans are written as "0" or "1" and numbers in
    // decimal whatever the stream's format flags; expandLevel is written as one raw byte (a
    // default query shows a NUL byte there), on purpose. Returns `os`.
    std::ostream& outputToStream(std::ostream& os) const;

    bool filterByFields = false;     // a field-value filter key was given
    bool filterValuesCoded = false;  // the values in fieldValueList are still URL-coded
    std::map<std::string, std::string> fieldValueList;  // field name -> filter value
    bool filterByText = false;                          // "$q" was given
    bool filterTextCoded = false;                       // filterText is still URL-coded
    std::string filterText;
    bool fieldsFilter = false;             // "$fields" was given
    std::vector<FilterField_t> fieldList;  // in the order given, duplicates kept
    bool sortFilter = false;               // "$sortby" was given
    std::vector<std::string> sortedFieldList;
    std::int32_t expandType = 0;  // 0 none, 1 by level, 2 named fields
    std::set<std::string> expandedFieldList;
    std::uint8_t expandLevel = 0;
    bool pagesExist = false;  // "$offset" or "$limit" was given
    std::string offsetId;     // a "$offset" that is not a number
    std::int32_t offset = OFFSET_NOT_SET;
    std::int32_t limit = LIMIT_NOT_SET;
};

// True if every character is a decimal digit, except that the first may be "-". So the empty
// text and "-" are numbers (an empty "$offset" therefore sets the offset to 0); "-12" is one,
// "1-2", "+1", " 1" and "1.5" are not.
ORV_NOL_API bool isNumber(const std::string& text);

// query.outputToStream(os).
ORV_NOL_API std::ostream& operator<<(std::ostream& os, const Query& query);

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
