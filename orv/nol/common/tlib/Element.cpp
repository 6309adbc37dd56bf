#include "orv/nol/common/tlib/Element.h"

#include <array>

#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"

namespace orv {
namespace nol {
namespace common {
namespace tlib {

namespace data = orv::dataformats::data;

namespace {

constexpr char kIdKey[] = "id";
constexpr char kNameKey[] = "name";
constexpr char kUriKey[] = "uri";

// dec of the options -2 to 5, indexed by option + 2.
constexpr std::array<EExpandOpt, 8> kNextLevelDown = {
    EExpandOpt::All,    EExpandOpt::None,   EExpandOpt::None,   EExpandOpt::Level0,
    EExpandOpt::Level1, EExpandOpt::Level2, EExpandOpt::Level3, EExpandOpt::Level4,
};

// The text of the String stored under `key`, or null when there is none or it is of another
// type.
const std::string* findText(const data::Object& object, const std::string& key) {
    const data::Value* value = findProperty(object, key);
    if (value == nullptr || value->getType() != data::Value::EType::String) {
        return nullptr;
    }
    const auto* text = dynamic_cast<const data::String*>(value);
    return text == nullptr ? nullptr : &text->get();
}

}  // namespace

EExpandOpt dec(const EExpandOpt& option) {
    // Options -2 to 5 land on 0 to 7; every other 8-bit value lands above 7.
    const auto index = static_cast<std::uint8_t>(static_cast<int>(option) + 2);
    return index < kNextLevelDown.size() ? kNextLevelDown[index] : EExpandOpt::Invalid;
}

const data::Value* findProperty(const data::Object& object, const std::string& key) {
    const auto& members = object.get();
    const auto member = members.find(key);
    return member == members.end() ? nullptr : member->second.get();
}

Element::~Element() = default;

Property<std::string> Element::getUri() const {
    if (!id.isSet()) {
        return {};
    }
    const std::string first = getFirstUriSegment();
    const std::string second = getSecondUriSegment();
    std::string uri;
    uri.reserve(first.size() + second.size() + orv::common::guid::GUID::TextLength + 3);
    uri += '/';
    uri += first;
    uri += '/';
    uri += second;
    uri += '/';
    const std::size_t idStart = uri.size();
    uri.resize(idStart + orv::common::guid::GUID::TextLength);
    id.value().toChars(&uri[idStart]);
    return uri;
}

std::unique_ptr<data::Object> Element::baseSerialize() const {
    auto object = std::make_unique<data::Object>();
    if (id.isSet()) {
        object->setNew(kIdKey, new data::String(id.value().toString()));
    }
    if (name.isSet()) {
        object->setNew(kNameKey, new data::String(name.value()));
    }
    const Property<std::string> uri = getUri();
    if (uri.isSet()) {
        object->setNew(kUriKey, new data::String(uri.value()));
    }
    return object;
}

void Element::baseDeserialize(const data::Object& object) {
    if (const std::string* idText = findText(object, kIdKey)) {
        id = Utils::getGuidOfStr(*idText);
    }
    if (const std::string* nameText = findText(object, kNameKey)) {
        name = *nameText;
    } else {
        name.clear();
    }
}

}  // namespace tlib
}  // namespace common
}  // namespace nol
}  // namespace orv
