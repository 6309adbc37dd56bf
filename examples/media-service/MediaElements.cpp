// Field tables and field access of the three media kinds.

#include "MediaElements.h"

#include <stdexcept>

namespace mediaservice {

namespace {

std::vector<FieldInfo> withBaseFields(std::vector<FieldInfo> own) {
    std::vector<FieldInfo> all{
        {"id", FieldType::Text}, {"name", FieldType::Text}, {"uri", FieldType::Text}};
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

std::vector<Link> linksTo(const char* kind, const std::vector<GUID>& ids) {
    std::vector<Link> links;
    links.reserve(ids.size());
    for (const GUID& id : ids) {
        links.push_back(Link{kind, id});
    }
    return links;
}

[[noreturn]] void throwNoSuchField(const std::string& kind, const std::string& name) {
    throw std::out_of_range(kind + " have no field '" + name + "'");
}

}  // namespace

const std::vector<FieldInfo>* fieldsOfKind(const std::string& kind) {
    if (kind == Artist::kKind) {
        return &Artist::fields();
    }
    if (kind == Album::kKind) {
        return &Album::fields();
    }
    if (kind == Track::kKind) {
        return &Track::fields();
    }
    return nullptr;
}

const FieldInfo* findField(const std::string& kind, const std::string& field) {
    const std::vector<FieldInfo>* fields = fieldsOfKind(kind);
    if (fields == nullptr) {
        return nullptr;
    }
    for (const FieldInfo& info : *fields) {
        if (info.name == field) {
            return &info;
        }
    }
    return nullptr;
}

FieldValue MediaElement::field(const std::string& fieldName) const {
    if (fieldName == "id") {
        return id.isSet() ? id.value().toString() : std::string();
    }
    if (fieldName == "name") {
        return name.isSet() ? name.value() : std::string();
    }
    if (fieldName == "uri") {
        auto uri = getUri();
        return uri.isSet() ? uri.value() : std::string();
    }
    return ownField(fieldName);
}

const std::vector<FieldInfo>& Artist::fields() {
    static const std::vector<FieldInfo> fields = withBaseFields({{"country", FieldType::Text},
                                                                 {"formed", FieldType::Number},
                                                                 {"genre", FieldType::Text},
                                                                 {"albums", FieldType::LinkList}});
    return fields;
}

FieldValue Artist::ownField(const std::string& name) const {
    if (name == "country") {
        return country;
    }
    if (name == "formed") {
        return formed;
    }
    if (name == "genre") {
        return genre;
    }
    if (name == "albums") {
        return linksTo(Album::kKind, albums);
    }
    throwNoSuchField(kKind, name);
}

const std::vector<FieldInfo>& Album::fields() {
    static const std::vector<FieldInfo> fields = withBaseFields({{"artist", FieldType::Link},
                                                                 {"year", FieldType::Number},
                                                                 {"genre", FieldType::Text},
                                                                 {"tracks", FieldType::LinkList}});
    return fields;
}

FieldValue Album::ownField(const std::string& name) const {
    if (name == "artist") {
        return Link{Artist::kKind, artist};
    }
    if (name == "year") {
        return year;
    }
    if (name == "genre") {
        return genre;
    }
    if (name == "tracks") {
        return linksTo(Track::kKind, tracks);
    }
    throwNoSuchField(kKind, name);
}

const std::vector<FieldInfo>& Track::fields() {
    static const std::vector<FieldInfo> fields = withBaseFields({{"album", FieldType::Link},
                                                                 {"artist", FieldType::Link},
                                                                 {"number", FieldType::Number},
                                                                 {"duration", FieldType::Number},
                                                                 {"rating", FieldType::Number}});
    return fields;
}

FieldValue Track::ownField(const std::string& name) const {
    if (name == "album") {
        return Link{Album::kKind, album};
    }
    if (name == "artist") {
        return Link{Artist::kKind, artist};
    }
    if (name == "number") {
        return number;
    }
    if (name == "duration") {
        return duration;
    }
    if (name == "rating") {
        return rating;
    }
    throwNoSuchField(kKind, name);
}

}  // namespace mediaservice
