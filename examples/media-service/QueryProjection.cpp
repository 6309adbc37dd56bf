// Reading "$fields" and "$expand" of a query into what the renderer writes of each element.

#include "QueryProjection.h"

#include <algorithm>
#include <cstdint>

#include "ApiError.h"

namespace mediaservice {

namespace {

using orv::nol::common::queries::LIMIT_NOT_SET;
using orv::nol::common::queries::OFFSET_NOT_SET;

// The deepest expansion by level: tlib::EExpandOpt counts down from Level5.
constexpr int kDeepestLevel = 5;

ApiError badRequest(const std::string& message) {
    return {HttpStatusCode::BadRequest, message};
}

ApiError notALink(const std::string& kind, const std::string& name) {
    return badRequest("$expand: '" + name + "' is not a link of " + kind);
}

bool isLink(FieldType type) {
    return type == FieldType::Link || type == FieldType::LinkList;
}

bool expandsByLevel(EExpandOpt level) {
    const int value = static_cast<int>(level);
    return value >= 1 && value <= kDeepestLevel;
}

}  // namespace

FieldSelection FieldSelection::fromQuery(const std::string& kind, const Query& query) {
    FieldSelection selection;
    if (!query.fieldsFilter) {
        return selection;
    }
    selection.m_everyField = false;
    for (const FilterField_t& field : query.fieldList) {
        if (field.name.empty()) {
            continue;
        }
        if (findField(kind, field.name) == nullptr) {
            throw badRequest("$fields: " + kind + " have no field '" + field.name + "'");
        }
        // Negative, but not the "not set" offset (the smallest number); a limit that is not
        // set is the largest.
        if (field.pages &&
            ((field.offset != OFFSET_NOT_SET && field.offset < 0) || field.limit < 0)) {
            throw badRequest("$fields: the paging of '" + field.name + "' must not be negative");
        }
        selection.m_fields[field.name] = field;
    }
    return selection;
}

bool FieldSelection::includes(const std::string& field) const {
    return m_everyField || m_fields.count(field) != 0;
}

std::vector<Link> FieldSelection::pageOf(const std::string& field, std::vector<Link> links) const {
    auto selected = m_fields.find(field);
    if (selected == m_fields.end() || !selected->second.pages) {
        return links;
    }
    const FilterField_t& paging = selected->second;
    const std::size_t begin = paging.offset == OFFSET_NOT_SET
                                  ? 0
                                  : std::min(static_cast<std::size_t>(paging.offset), links.size());
    const std::size_t count =
        paging.limit == LIMIT_NOT_SET
            ? links.size() - begin
            : std::min(static_cast<std::size_t>(paging.limit), links.size() - begin);
    links.erase(links.begin() + static_cast<std::ptrdiff_t>(begin + count), links.end());
    links.erase(links.begin(), links.begin() + static_cast<std::ptrdiff_t>(begin));
    return links;
}

Expansion Expansion::fromQuery(const std::string& kind, const Query& query) {
    Expansion expansion;
    if (query.expandType == 1) {
        if (query.expandLevel > kDeepestLevel) {
            throw badRequest("$expand: level " + std::to_string(query.expandLevel) +
                             " is deeper than " + std::to_string(kDeepestLevel));
        }
        expansion.m_level = static_cast<EExpandOpt>(query.expandLevel);
    } else if (query.expandType == 2) {
        for (const std::string& name : query.expandedFieldList) {
            // The query reads "$expand=0" as the name "0"; here it means level 0: nothing.
            if (name.empty() || name == "0") {
                continue;
            }
            const FieldInfo* field = findField(kind, name);
            if (field == nullptr || !isLink(field->type)) {
                throw notALink(kind, name);
            }
            expansion.m_names.insert(name);
        }
    }
    return expansion;
}

bool Expansion::expands(const std::string& field) const {
    return expandsByLevel(m_level) || m_names.count(field) != 0;
}

Expansion Expansion::below() const {
    // By level, one level less (tlib::dec counts down to Level0, which expands nothing); by
    // name, the linked element is written with its links as they are.
    return Expansion(expandsByLevel(m_level) ? orv::nol::common::tlib::dec(m_level)
                                             : EExpandOpt::Level0);
}

}  // namespace mediaservice
