// Fuzz target: reading the base members of a resource element from arbitrary data objects.
// Element::baseDeserialize never fails; afterwards a String "id" has set id to its GUID (the nil
// GUID for a text that is no GUID) and any other or missing "id" has left id as it was; a String
// "name" has set name and any other or missing "name" has cleared it. Serialising the element
// then gives exactly "id", "name" and "uri" as far as they are set, and reading that back into
// a fresh element gives the same id and name.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "helpers/Check.h"
#include "helpers/FuzzInput.h"
#include "helpers/TreeBuilder.h"
#include "orv/common/guid/GUID.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"
#include "orv/nol/common/tlib/Element.h"

namespace {

using orv::common::guid::GUID;
using orv::fuzz::check;
using orv::fuzz::printable;
using orv::nol::common::Utils;
using orv::nol::common::tlib::Element;
using orv::nol::common::tlib::Property;
namespace data = orv::dataformats::data;

class FuzzElement : public Element {
public:
    FuzzElement(std::string first, std::string second)
        : m_first(std::move(first)), m_second(std::move(second)) {}

    std::string getFirstUriSegment() const override { return m_first; }
    std::string getSecondUriSegment() const override { return m_second; }

private:
    std::string m_first;
    std::string m_second;
};

// The text of the String member `key` of `object`, or null.
const std::string* textMember(const data::Object& object, const std::string& key) {
    const auto member = object.get().find(key);
    if (member == object.get().end() || member->second == nullptr ||
        member->second->getType() != data::Value::EType::String) {
        return nullptr;
    }
    return &static_cast<const data::String&>(*member->second).get();
}

template <typename T>
bool sameProperty(const Property<T>& a, const Property<T>& b) {
    return a.isSet() == b.isSet() && (!a.isSet() || a.value() == b.value());
}

std::string describe(const Property<GUID>& id) {
    return id.isSet() ? id.value().toString() : "(not set)";
}

std::string describe(const Property<std::string>& name) {
    return name.isSet() ? printable(name.value()) : "(not set)";
}

void checkRead(const data::Object& object, const Property<GUID>& idBefore,
               const FuzzElement& element) {
    const std::string* idText = textMember(object, "id");
    const Property<GUID> expectedId = idText != nullptr ? Utils::getGuidOfStr(*idText) : idBefore;
    check(sameProperty(element.id, expectedId),
          "a String \"id\" sets the id, anything else keeps it",
          [&] { return "id: " + describe(element.id) + "\nexpected: " + describe(expectedId); });

    const std::string* nameText = textMember(object, "name");
    Property<std::string> expectedName;
    if (nameText != nullptr) {
        expectedName = *nameText;
    }
    check(sameProperty(element.name, expectedName),
          "a String \"name\" sets the name, anything else clears it", [&] {
              return "name: " + describe(element.name) + "\nexpected: " + describe(expectedName);
          });
}

// Whether `object` holds "id" and "uri" exactly when the element's id is set, with its text.
bool holdsIdAndUri(const data::Object& object, const FuzzElement& element) {
    const std::string* id = textMember(object, "id");
    const std::string* uri = textMember(object, "uri");
    if (!element.id.isSet()) {
        return id == nullptr && uri == nullptr;
    }
    const std::string idText = element.id.value().toString();
    const std::string uriText =
        "/" + element.getFirstUriSegment() + "/" + element.getSecondUriSegment() + "/" + idText;
    return id != nullptr && *id == idText && uri != nullptr && *uri == uriText;
}

bool holdsName(const data::Object& object, const FuzzElement& element) {
    const std::string* name = textMember(object, "name");
    if (!element.name.isSet()) {
        return name == nullptr;
    }
    return name != nullptr && *name == element.name.value();
}

void checkSerialised(const FuzzElement& element) {
    const std::unique_ptr<data::Object> object = element.baseSerialize();
    const std::size_t members = (element.id.isSet() ? 2 : 0) + (element.name.isSet() ? 1 : 0);
    check(object->get().size() == members && holdsIdAndUri(*object, element) &&
              holdsName(*object, element),
          R"(serialising gives "id", "name" and "uri" as far as they are set)", [&] {
              return "id: " + describe(element.id) + "\nname: " + describe(element.name) +
                     "\nmembers: " + std::to_string(object->get().size());
          });

    FuzzElement fresh(element.getFirstUriSegment(), element.getSecondUriSegment());
    fresh.baseDeserialize(*object);
    check(sameProperty(fresh.id, element.id) && sameProperty(fresh.name, element.name),
          "a serialised element reads back the same", [&] {
              return "id: " + describe(element.id) + " read back " + describe(fresh.id) +
                     "\nname: " + describe(element.name) + " read back " + describe(fresh.name);
          });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orv::fuzz::FuzzInput input(data, size);
    orv::fuzz::TreeBuilder builder(input, [](const std::string& text) {
        return std::make_unique<orv::nol::common::data::Url>(text);
    });
    FuzzElement element(builder.text(), builder.text());
    if (input.flag()) {
        element.id = GUID(input.raw<std::array<std::uint8_t, GUID::Size>>());
    }
    if (input.flag()) {
        element.name = builder.text();
    }
    const std::unique_ptr<data::Object> object = builder.object();

    const Property<GUID> idBefore = element.id;
    element.baseDeserialize(*object);
    checkRead(*object, idBefore, element);
    checkSerialised(element);
    return 0;
}
