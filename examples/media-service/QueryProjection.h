#pragma once

// What of each element an answer shows: the fields that "$fields" names (with the paging of
// list fields, "tracks($offset:2,$limit:3)"), and which links "$expand" replaces by the linked
// elements, by level ("$expand=2") or by field name ("$expand=artist,albums").

#include <map>
#include <set>
#include <string>
#include <vector>

#include "MediaElements.h"
#include "orv/nol/common/queries/Query.h"
#include "orv/nol/common/tlib/Element.h"

namespace mediaservice {

using FilterField_t = orv::nol::common::queries::FilterField_t;
using Query = orv::nol::common::queries::Query;
using EExpandOpt = orv::nol::common::tlib::EExpandOpt;

// The fields to write. Without "$fields" every field is written, each list whole.
class FieldSelection {
public:
    // Every field, lists whole.
    FieldSelection() = default;

    // The fields "$fields" names for `kind`; empty names (from "a,,b") are skipped. Paging of a
    // field that is no list is ignored. Throws ApiError 400 for a field the kind does not have
    // or a negative offset or limit.
    static FieldSelection fromQuery(const std::string& kind, const Query& query);

    bool includes(const std::string& field) const;

    // The part of the list field `field` to write.
    std::vector<Link> pageOf(const std::string& field, std::vector<Link> links) const;

private:
    bool m_everyField = true;
    std::map<std::string, FilterField_t> m_fields;  // by name; the last of a name given twice
};

// Which links are replaced by the elements they point to.
//
// By level, n from 1 to 5: every link of the element is expanded, and the links of the linked
// elements again down to n levels. By name: the named link fields of the element itself are
// expanded, one level. Expanded elements are written whole (the "$fields" of the request apply
// to the top-level elements only).
class Expansion {
public:
    // Nothing expanded.
    Expansion() = default;

    // Throws ApiError 400 for a level above 5, or a name that is not a link field of `kind`.
    static Expansion fromQuery(const std::string& kind, const Query& query);

    bool expands(const std::string& field) const;

    // The expansion that an expanded linked element gets.
    Expansion below() const;

private:
    explicit Expansion(EExpandOpt level) : m_level(level) {}

    EExpandOpt m_level = EExpandOpt::None;
    std::set<std::string> m_names;
};

}  // namespace mediaservice
