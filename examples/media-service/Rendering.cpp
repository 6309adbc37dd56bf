// The data trees of the service's answers.

#include "Rendering.h"

#include <string>
#include <variant>

#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"

namespace mediaservice {

namespace data = orv::dataformats::data;

namespace {

using orv::nol::common::Utils;

bool isBaseField(const std::string& field) {
    return field == "id" || field == "name" || field == "uri";
}

data::Integer* integer(std::size_t value) {
    return new data::Integer(static_cast<int>(value));
}

std::string listPath(const std::string& kind) {
    return "/" + std::string(kServiceSegment) + "/" + kind;
}

std::string pathOf(const Link& link) {
    return Utils::getUriOfParts(kServiceSegment, link.kind, link.id.toString());
}

}  // namespace

Renderer::Renderer(const Catalogue& catalogue, unsigned short port)
    : m_catalogue(catalogue), m_portPrefix(":" + std::to_string(port)) {}

std::unique_ptr<data::Value> Renderer::link(const std::string& path) const {
    return std::make_unique<orv::nol::common::data::Url>(m_portPrefix + path);
}

std::unique_ptr<data::Object> Renderer::element(const MediaElement& element,
                                                const FieldSelection& fields,
                                                const Expansion& expansion) const {
    std::unique_ptr<data::Object> object = element.baseSerialize();
    auto& members = object->get();
    for (auto member = members.begin(); member != members.end();) {
        member = fields.includes(member->first) ? std::next(member) : members.erase(member);
    }
    for (const FieldInfo& field : *fieldsOfKind(element.kind())) {
        if (isBaseField(field.name) || !fields.includes(field.name)) {
            continue;
        }
        object->setNew(field.name,
                       fieldValue(field.name, element.field(field.name), fields, expansion));
    }
    return object;
}

data::Value* Renderer::fieldValue(const std::string& field, const FieldValue& value,
                                  const FieldSelection& fields, const Expansion& expansion) const {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return new data::String(*text);
    }
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        return new data::Integer(static_cast<int>(*number));
    }
    const bool expand = expansion.expands(field);
    if (const auto* single = std::get_if<Link>(&value)) {
        return linkValue(*single, expand, expansion);
    }
    auto array = std::make_unique<data::Array>();
    for (const Link& each : fields.pageOf(field, std::get<std::vector<Link>>(value))) {
        array->pushNew(linkValue(each, expand, expansion));
    }
    return array.release();
}

data::Value* Renderer::linkValue(const Link& link, bool expand, const Expansion& expansion) const {
    const MediaElement* linked = expand ? m_catalogue.find(link.kind, link.id) : nullptr;
    if (linked != nullptr) {
        return element(*linked, FieldSelection(), expansion.below()).release();
    }
    return this->link(pathOf(link)).release();
}

std::unique_ptr<data::Object> Renderer::page(const std::string& kind, const Page& page,
                                             const Query& query, const FieldSelection& fields,
                                             const Expansion& expansion) const {
    auto object = std::make_unique<data::Object>();
    object->setNew("kind", new data::String(kind));
    object->setNew("total", integer(page.total));
    object->setNew("offset", integer(page.offset));
    object->setNew("limit", integer(page.limit));
    object->setNew("count", integer(page.items.size()));
    auto items = std::make_unique<data::Array>();
    for (const MediaElement* item : page.items) {
        items->pushNew(element(*item, fields, expansion).release());
    }
    object->setNew("items", items.release());

    const std::size_t nextOffset = page.offset + page.items.size();
    if (!page.items.empty() && nextOffset < page.total) {
        Query next = query;
        next.pagesExist = true;
        next.offsetId.clear();
        next.offset = static_cast<std::int32_t>(nextOffset);
        next.limit = static_cast<std::int32_t>(page.limit);
        for (FilterField_t& field : next.fieldList) {
            // Written back as a number either way: "$offset:0" reads better than the sentinel.
            if (field.pages && field.offset == orv::nol::common::queries::OFFSET_NOT_SET) {
                field.offset = 0;
            }
        }
        object->setNew("next", link(listPath(kind) + "?" + next.getString()).release());
    }
    return object;
}

std::unique_ptr<data::Object> Renderer::index() const {
    auto object = std::make_unique<data::Object>();
    for (const std::string& kind : Catalogue::kinds()) {
        object->setNew(kind, link(listPath(kind)).release());
    }
    return object;
}

std::unique_ptr<data::Object> errorBody(orv::nol::common::HttpStatusCode status,
                                        const std::string& message) {
    auto object = std::make_unique<data::Object>();
    object->setNew("status", new data::Integer(static_cast<int>(status)));
    object->setNew("statusText", new data::String(statusText(static_cast<int>(status))));
    object->setNew("message", new data::String(message));
    return object;
}

std::string statusText(int status) {
    using orv::nol::common::HttpStatusCode;
    const HttpStatusCode code = orv::nol::common::convertIntToStatusCode(status);
    if (code != HttpStatusCode::Undefined) {
        return orv::nol::common::convertStatusCodeToString(code);
    }
    // The one code the library's table lacks that this service answers with.
    return status == 431 ? "Request Header Fields Too Large" : "Error";
}

}  // namespace mediaservice
