#pragma once

// The three kinds of resource the media service serves: artists, albums and tracks. Each is a
// tlib::Element (id, name, base serialisation) that adds its own fields and describes them, so
// that the query operations ($fields, $sortby, filters, $expand) can work on any kind alike.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "orv/common/guid/GUID.h"
#include "orv/nol/common/tlib/Element.h"

namespace mediaservice {

using GUID = orv::common::guid::GUID;

// The first segment of every resource URI of this service: /media/<kind>/<guid>.
inline constexpr const char* kServiceSegment = "media";

// A link from one element to another.
struct Link {
    std::string kind;  // "artists", "albums" or "tracks"
    GUID id;
};

// The value of one field, in the form the query operations work on.
using FieldValue = std::variant<std::string, std::int64_t, Link, std::vector<Link>>;

enum class FieldType { Text, Number, Link, LinkList };

struct FieldInfo {
    std::string name;
    FieldType type;
};

// The fields of a kind, the base fields "id", "name" and "uri" first; null for an unknown kind.
const std::vector<FieldInfo>* fieldsOfKind(const std::string& kind);

// The description of `field` in `kind`, or null if the kind has no such field.
const FieldInfo* findField(const std::string& kind, const std::string& field);

// Base of the three kinds: the URI segments and uniform access to every field by name.
class MediaElement : public orv::nol::common::tlib::Element {
public:
    std::string getFirstUriSegment() const override { return kServiceSegment; }

    // The kind's name ("artists", "albums" or "tracks"), which is also the second URI segment.
    std::string kind() const { return getSecondUriSegment(); }

    // The value of a field of fieldsOfKind(kind()); "id", "name" and "uri" as text (empty when
    // not set). Throws std::out_of_range for a field the kind does not have.
    FieldValue field(const std::string& fieldName) const;

protected:
    // The kind's own fields (all but id, name and uri).
    virtual FieldValue ownField(const std::string& name) const = 0;
};

class Artist final : public MediaElement {
public:
    static constexpr const char* kKind = "artists";
    static const std::vector<FieldInfo>& fields();

    std::string getSecondUriSegment() const override { return kKind; }

    std::string country;
    std::int64_t formed = 0;  // the year the artist began
    std::string genre;
    std::vector<GUID> albums;

protected:
    FieldValue ownField(const std::string& name) const override;
};

class Album final : public MediaElement {
public:
    static constexpr const char* kKind = "albums";
    static const std::vector<FieldInfo>& fields();

    std::string getSecondUriSegment() const override { return kKind; }

    GUID artist;
    std::int64_t year = 0;
    std::string genre;
    std::vector<GUID> tracks;  // in track-number order

protected:
    FieldValue ownField(const std::string& name) const override;
};

class Track final : public MediaElement {
public:
    static constexpr const char* kKind = "tracks";
    static const std::vector<FieldInfo>& fields();

    std::string getSecondUriSegment() const override { return kKind; }

    GUID album;
    GUID artist;
    std::int64_t number = 0;    // position on the album, from 1
    std::int64_t duration = 0;  // in seconds
    std::int64_t rating = 0;    // 0 (unrated) to 5, set by the RateTrack action

protected:
    FieldValue ownField(const std::string& name) const override;
};

}  // namespace mediaservice
