// Printing a query back: as a key/value map, as query text and as a debug listing.

#include <initializer_list>
#include <string_view>

#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/queries/Query.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {

namespace {

std::string valueAsGiven(const std::string& value, bool coded) {
    return coded ? value : stringEscapeURLContent(value);
}

void appendField(std::string& out, const FilterField_t& field) {
    out += field.name;
    if (field.pages) {
        out += "($offset:";
        out += std::to_string(field.offset);
        out += ",$limit:";
        out += std::to_string(field.limit);
        out += ')';
    }
}

std::string joinFields(const std::vector<FilterField_t>& fields) {
    std::string joined;
    for (const FilterField_t& field : fields) {
        if (&field != &fields.front()) {
            joined += ',';
        }
        appendField(joined, field);
    }
    return joined;
}

template <typename Container>
std::string joinNames(const Container& names) {
    std::string joined;
    bool first = true;
    for (const std::string& name : names) {
        if (!first) {
            joined += ',';
        }
        joined += name;
        first = false;
    }
    return joined;
}

void addExpand(const Query& query, std::map<std::string, std::string>& out) {
    if (query.expandType == 1) {
        out.insert_or_assign("$expand", std::to_string(query.expandLevel));
    } else if (query.expandType == 2) {
        out.insert_or_assign("$expand", joinNames(query.expandedFieldList));
    }
}

void addPaging(const Query& query, std::map<std::string, std::string>& out) {
    if (!query.pagesExist) {
        return;
    }
    if (!query.offsetId.empty()) {
        out.insert_or_assign("$offset", query.offsetId);
    } else if (query.offset != OFFSET_NOT_SET) {
        out.insert_or_assign("$offset", std::to_string(query.offset));
    }
    if (query.limit != LIMIT_NOT_SET) {
        out.insert_or_assign("$limit", std::to_string(query.limit));
    }
}

// Listing lines are written unformatted, so the stream's flags (boolalpha, hex, width) do not
// change them, and each ends with std::endl.
void writeLine(std::ostream& os, std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts) {
        os.write(part.data(), static_cast<std::streamsize>(part.size()));
    }
    os << std::endl;
}

std::string_view flag(bool value) {
    return value ? "1" : "0";
}

}  // namespace

std::map<std::string, std::string> Query::getMap() const {
    std::map<std::string, std::string> out;
    if (filterByFields) {
        for (const auto& [key, value] : fieldValueList) {
            out.insert_or_assign(key, valueAsGiven(value, filterValuesCoded));
        }
    }
    if (filterByText) {
        out.insert_or_assign("$q", valueAsGiven(filterText, filterTextCoded));
    }
    if (fieldsFilter) {
        out.insert_or_assign("$fields", joinFields(fieldList));
    }
    if (sortFilter) {
        out.insert_or_assign("$sortby", joinNames(sortedFieldList));
    }
    addExpand(*this, out);
    addPaging(*this, out);
    return out;
}

std::string Query::getString() const {
    return mapToString(getMap());
}

std::string Query::mapToString(const std::map<std::string, std::string>& queryMap) {
    std::size_t length = 0;
    for (const auto& [key, value] : queryMap) {
        length += key.size() + value.size() + 2;
    }
    std::string text;
    text.reserve(length);
    bool first = true;
    for (const auto& [key, value] : queryMap) {
        if (!first) {
            text += '&';
        }
        first = false;
        text += key;
        text += '=';
        text += value;
    }
    return text;
}

std::ostream& Query::outputToStream(std::ostream& os) const {
    writeLine(os, {"FilterByFields: ", flag(filterByFields), ","});
    writeLine(os, {"FilterValuesCoded: ", flag(filterValuesCoded), ","});
    writeLine(os, {"-- Felder-Wert-liste --: ", std::to_string(fieldValueList.size())});
    for (const auto& [key, value] : fieldValueList) {
        writeLine(os, {"Name: ", key, ", Wert: ", value});
    }
    writeLine(os, {"FilterByText: ", flag(filterByText), ","});
    writeLine(os, {"FilterTextCoded: ", flag(filterTextCoded), ","});
    writeLine(os, {"FilterText: ", filterText, ","});
    writeLine(os, {"FieldsFilter: ", flag(fieldsFilter), ","});
    writeLine(os, {"-- Felderliste --: ", std::to_string(fieldList.size())});
    for (const FilterField_t& field : fieldList) {
        writeLine(os, {"Name: ", field.name, ", Seiten: ", flag(field.pages), ", Offset: ",
                       std::to_string(field.offset), ", Limit: ", std::to_string(field.limit)});
    }
    writeLine(os, {"SortFilter: ", flag(sortFilter), ","});
    writeLine(os, {"-- Sortierte Felderliste --: ", std::to_string(sortedFieldList.size())});
    for (const std::string& name : sortedFieldList) {
        writeLine(os, {"Name: ", name});
    }
    writeLine(os, {"ExpandType: ", std::to_string(expandType), ","});
    writeLine(os, {"-- Expandierte Felderliste --: ", std::to_string(expandedFieldList.size())});
    for (const std::string& name : expandedFieldList) {
        writeLine(os, {"Name: ", name});
    }
    // The level goes out as one raw byte, not as a number.
    const char levelByte = static_cast<char>(expandLevel);
    writeLine(os, {"ExpandLevel: ", std::string_view(&levelByte, 1), ","});
    writeLine(os, {"Pages exist: ", flag(pagesExist), ","});
    writeLine(os, {"OffsetId: ", offsetId, ","});
    writeLine(os, {"Offset: ", std::to_string(offset), ","});
    writeLine(os, {"Limit: ", std::to_string(limit), ","});
    return os;
}

std::ostream& operator<<(std::ostream& os, const Query& query) {
    return query.outputToStream(os);
}

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
