// Utils: resource URIs built from their parts and split again.

#include <string>

#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/UriUtils.h"
#include "orv/nol/common/Utils.h"

namespace orv {
namespace nol {
namespace common {

using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

namespace {

constexpr char kUriSeparator[] = "/";
constexpr char kChainSeparator[] = "->";
constexpr char kChainRoot[] = "ROOT";

std::string uriOfParts(const std::string& first, const std::string& second, const std::string& id) {
    std::string uri;
    uri.reserve(first.size() + second.size() + id.size() + 3);
    uri += kUriSeparator;
    if (first.empty()) {
        return uri;
    }
    uri += first;
    uri += kUriSeparator;
    if (second.empty()) {
        return uri;
    }
    uri += second;
    uri += kUriSeparator;
    uri += id;
    return uri;
}

std::string chainOfParts(const std::string& first, const std::string& second,
                         const std::string& id) {
    if (first.empty()) {
        return kChainRoot;
    }
    std::string chain;
    chain.reserve(first.size() + second.size() + id.size() + 4);
    chain += first;
    if (second.empty()) {
        return chain;
    }
    chain += kChainSeparator;
    chain += second;
    if (id.empty()) {
        return chain;
    }
    chain += kChainSeparator;
    chain += id;
    return chain;
}

}  // namespace

std::string Utils::getUriOfParts(const std::string& firstSegment, const std::string& secondSegment,
                                 const std::string& idSegment, bool asChain) {
    return asChain ? chainOfParts(firstSegment, secondSegment, idSegment)
                   : uriOfParts(firstSegment, secondSegment, idSegment);
}

void Utils::splitUri(const std::string& uri, std::string& firstSegment, std::string& secondSegment,
                     GUID& guid) {
    std::string idSegment;
    getUriSplitted(uri, firstSegment, secondSegment, idSegment);
    guid = getGuidOfStr(idSegment);
}

void Utils::splitUri(const data::Object& object, std::string& firstSegment,
                     std::string& secondSegment, GUID& guid) {
    splitUri(getUriOfObject(object), firstSegment, secondSegment, guid);
}

void Utils::splitUri(const data::Object& object, std::string& firstSegment,
                     std::string& secondSegment) {
    GUID ignored;
    splitUri(object, firstSegment, secondSegment, ignored);
}

std::string Utils::getUriOfObject(const data::Object& object) {
    const data::Value* uri = object.find("uri");
    if (uri == nullptr || uri->getType() != data::Value::EType::String) {
        return {};
    }
    const auto* text = dynamic_cast<const data::String*>(uri);
    return text == nullptr ? std::string() : text->get();
}

}  // namespace common
}  // namespace nol
}  // namespace orv
