#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "orv/common/guid/GUID.h"
#include "orv/dataformats/data/Object.h"
#include "orv/nol/common/Export.h"
#include "orv/nol/common/tlib/Property.h"

namespace orv {
namespace nol {
namespace common {
namespace tlib {

// How deep linked resources are expanded into a representation. Levels 0 to 5 count down
// with each step into a linked resource (dec); the others stay as they are.
enum class EExpandOpt : std::int8_t {
    All = -2,    // expand every level
    None = -1,   // expand nothing
    Level0 = 0,  // this element only; its links are not expanded
    Level1 = 1,
    Level2 = 2,
    Level3 = 3,
    Level4 = 4,
    Level5 = 5,
    Invalid = 6,  // any value outside -2 to 5
};

// The option for the next level down: All and None stay, Level0 gives None, Level1 to Level5
// step down by one, and every value outside -2 to 5 (Invalid, or any other 8-bit value) gives
// Invalid.
ORV_NOL_API EExpandOpt dec(const EExpandOpt& option);

// The member stored under `key` (exact, case-sensitive) in `object`, or null. The value stays
// owned by the object. Never throws.
ORV_NOL_API const orv::dataformats::data::Value* findProperty(
    const orv::dataformats::data::Object& object, const std::string& key);

// Base of the resource elements of a service: identity (id), name, and the base part of their
// representation as a data::Object with the String members "id", "name" and "uri".
//
// A derived element names the two segments of its kind's resource URIs and adds its own members
// beside the base ones:
//
//   class Lamp : public Element {
//       std::string getFirstUriSegment() const override { return "lights"; }
//       std::string getSecondUriSegment() const override { return "lamp"; }
//   };
//   auto object = lamp.baseSerialize();
//   object->setNew("level", new data::Integer(lamp.level));
//
// Thread safety: a plain value; const operations may run concurrently. Failure: allocation
// errors only; bad input to baseDeserialize is ignored or read as the nil GUID.
class ORV_NOL_API Element {
public:
    // The first segment of the resource URIs of this element's kind.
    virtual std::string getFirstUriSegment() const = 0;
    // The second segment of the resource URIs of this element's kind.
    virtual std::string getSecondUriSegment() const = 0;

    virtual ~Element();

    // "/" + first segment + "/" + second segment + "/" + lower-case text of id; not set when id
    // is not set. Empty segments are not checked for: an empty first segment gives a text that
    // begins with "//" (unlike Utils::getUriOfParts, which stops at an empty part).
    Property<std::string> getUri() const;

    // A new object with "id" (the id's lower-case text) when id is set, "name" when name is set,
    // and "uri" (getUri()) when id is set; each a data::String. A partly built object is freed
    // if anything throws.
    std::unique_ptr<orv::dataformats::data::Object> baseSerialize() const;

    // Reads the base members back. Deliberately asymmetric:
    // - a String "id" sets id to its GUID, or to the nil GUID (set) when the text is no GUID;
    //   a missing "id", or one of another type, leaves id as it was;
    // - a String "name" sets name; a missing "name", or one of another type, clears name;
    // - "uri" is not read: it always follows from id and the segments.
    void baseDeserialize(const orv::dataformats::data::Object& object);

    Property<orv::common::guid::GUID> id;
    Property<std::string> name;

protected:
    Element() = default;
    Element(const Element&) = default;
    Element& operator=(const Element&) = default;
    Element(Element&&) = default;
    Element& operator=(Element&&) = default;
};

}  // namespace tlib
}  // namespace common
}  // namespace nol
}  // namespace orv
