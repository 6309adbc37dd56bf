// Filtering, searching, sorting and paging of a kind's elements for a list request.

#include "QuerySelection.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <variant>

#include "ApiError.h"
#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/Utils.h"

namespace mediaservice {

namespace {

using orv::nol::common::stringUnescapeURLContent;
using orv::nol::common::stringUpcase;
using orv::nol::common::queries::isNumber;
using orv::nol::common::queries::LIMIT_NOT_SET;
using orv::nol::common::queries::OFFSET_NOT_SET;

ApiError badRequest(const std::string& message) {
    return {HttpStatusCode::BadRequest, message};
}

std::string decoded(const std::string& coded) {
    try {
        return stringUnescapeURLContent(coded);
    } catch (const std::out_of_range&) {
        throw badRequest("malformed %-escape in '" + coded + "'");
    }
}

const FieldInfo& fieldOrThrow(const std::string& kind, const std::string& field) {
    const FieldInfo* info = findField(kind, field);
    if (info == nullptr) {
        throw badRequest(kind + " have no field '" + field + "'");
    }
    return *info;
}

GUID guidOrThrow(const std::string& text) {
    GUID id;
    if (!GUID::parse(text, id)) {
        throw badRequest("'" + text + "' is no GUID");
    }
    return id;
}

// --- field-value filters ---

// One "field=value" filter, with the value already in the form its field compares with.
struct Filter {
    std::string field;
    FieldType type;
    std::string upcasedText;  // Text
    std::int64_t number = 0;  // Number
    GUID id;                  // Link, LinkList
};

Filter makeFilter(const std::string& kind, const std::string& field, const std::string& value) {
    Filter filter{field, fieldOrThrow(kind, field).type, {}, 0, {}};
    switch (filter.type) {
        case FieldType::Text:
            filter.upcasedText = stringUpcase(value);
            break;
        case FieldType::Number:
            if (value.empty() || value == "-" || !isNumber(value)) {
                throw badRequest("filter " + field + "=" + value + " needs a whole number");
            }
            try {
                filter.number = std::stoll(value);
            } catch (const std::out_of_range&) {
                throw badRequest("filter " + field + "=" + value + " is out of range " +
                                 std::to_string(std::numeric_limits<std::int64_t>::min()) + " to " +
                                 std::to_string(std::numeric_limits<std::int64_t>::max()));
            }
            break;
        case FieldType::Link:
        case FieldType::LinkList:
            filter.id = guidOrThrow(value);
            break;
    }
    return filter;
}

bool matches(const MediaElement& element, const Filter& filter) {
    const FieldValue value = element.field(filter.field);
    switch (filter.type) {
        case FieldType::Text:
            return stringUpcase(std::get<std::string>(value)) == filter.upcasedText;
        case FieldType::Number:
            return std::get<std::int64_t>(value) == filter.number;
        case FieldType::Link:
            return std::get<Link>(value).id == filter.id;
        case FieldType::LinkList:
            for (const Link& link : std::get<std::vector<Link>>(value)) {
                if (link.id == filter.id) {
                    return true;
                }
            }
            return false;
    }
    return false;
}

std::vector<const MediaElement*> filtered(const std::vector<const MediaElement*>& elements,
                                          const std::string& kind, const Query& query) {
    std::vector<Filter> filters;
    if (query.filterByFields) {
        for (const auto& [field, value] : query.fieldValueList) {
            filters.push_back(makeFilter(kind, field, decoded(value)));
        }
    }
    const std::string searched =
        query.filterByText ? stringUpcase(decoded(query.filterText)) : std::string();

    std::vector<const MediaElement*> result;
    for (const MediaElement* element : elements) {
        bool keep = searched.empty() ||
                    stringUpcase(element->name.value()).find(searched) != std::string::npos;
        for (auto filter = filters.begin(); keep && filter != filters.end(); ++filter) {
            keep = matches(*element, *filter);
        }
        if (keep) {
            result.push_back(element);
        }
    }
    return result;
}

// --- sorting ---

struct SortKey {
    std::string field;
    bool descending;
};

std::vector<SortKey> sortKeys(const std::string& kind, const Query& query) {
    std::vector<SortKey> keys;
    if (!query.sortFilter) {
        return keys;
    }
    for (const std::string& token : query.sortedFieldList) {
        if (token.empty()) {
            continue;  // "$sortby=a,,b" and a trailing "," add nothing
        }
        // A leading "-" sorts descending: this service's convention for the sort direction.
        const bool descending = token[0] == '-';
        SortKey key{descending ? token.substr(1) : token, descending};
        const FieldType type = fieldOrThrow(kind, key.field).type;
        if (type != FieldType::Text && type != FieldType::Number) {
            throw badRequest("cannot sort by '" + key.field + "': it is a link");
        }
        keys.push_back(std::move(key));
    }
    return keys;
}

// The values an element is sorted by, computed once per element: upcased text or a number.
using SortValue = std::variant<std::string, std::int64_t>;

SortValue sortValueOf(const MediaElement& element, const std::string& field) {
    const FieldValue value = element.field(field);
    if (const auto* text = std::get_if<std::string>(&value)) {
        return stringUpcase(*text);
    }
    return std::get<std::int64_t>(value);
}

void sortElements(std::vector<const MediaElement*>& elements, const std::vector<SortKey>& keys) {
    if (keys.empty()) {
        return;
    }
    struct Decorated {
        std::vector<SortValue> values;
        const MediaElement* element;
    };
    std::vector<Decorated> decorated;
    decorated.reserve(elements.size());
    for (const MediaElement* element : elements) {
        Decorated entry{{}, element};
        for (const SortKey& key : keys) {
            entry.values.push_back(sortValueOf(*element, key.field));
        }
        decorated.push_back(std::move(entry));
    }
    std::stable_sort(
        decorated.begin(), decorated.end(), [&keys](const Decorated& a, const Decorated& b) {
            for (std::size_t i = 0; i < keys.size(); ++i) {
                if (a.values[i] == b.values[i]) {
                    continue;
                }
                return keys[i].descending ? b.values[i] < a.values[i] : a.values[i] < b.values[i];
            }
            return false;
        });
    for (std::size_t i = 0; i < elements.size(); ++i) {
        elements[i] = decorated[i].element;
    }
}

// --- paging ---

std::size_t startOfPage(const std::vector<const MediaElement*>& sorted, const Query& query) {
    if (!query.pagesExist) {
        return 0;
    }
    if (!query.offsetId.empty()) {
        const GUID id = guidOrThrow(decoded(query.offsetId));
        for (std::size_t position = 0; position < sorted.size(); ++position) {
            if (sorted[position]->id.value() == id) {
                return position;
            }
        }
        throw ApiError(HttpStatusCode::NotFound,
                       "$offset: no element with id " + id.toString() + " in this result");
    }
    if (query.offset == OFFSET_NOT_SET) {
        return 0;
    }
    if (query.offset < 0) {
        throw badRequest("$offset must not be negative");
    }
    return std::min<std::size_t>(static_cast<std::size_t>(query.offset), sorted.size());
}

std::size_t pageSize(const Query& query) {
    if (!query.pagesExist || query.limit == LIMIT_NOT_SET) {
        return kDefaultPageSize;
    }
    if (query.limit < 0) {
        throw badRequest("$limit must not be negative");
    }
    return static_cast<std::size_t>(query.limit);
}

}  // namespace

Page selectPage(const Catalogue& catalogue, const std::string& kind, const Query& query) {
    std::vector<const MediaElement*> result = filtered(catalogue.elementsOf(kind), kind, query);
    sortElements(result, sortKeys(kind, query));

    Page page;
    page.total = result.size();
    page.offset = startOfPage(result, query);
    page.limit = pageSize(query);
    const std::size_t end = page.offset + std::min(page.limit, result.size() - page.offset);
    page.items.assign(result.begin() + static_cast<std::ptrdiff_t>(page.offset),
                      result.begin() + static_cast<std::ptrdiff_t>(end));
    return page;
}

}  // namespace mediaservice
