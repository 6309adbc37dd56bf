#pragma once

// Building the answers of the service as data trees: elements (their base serialisation plus
// their own fields), pages of a list, the index of kinds and error bodies. Links are data::Url
// values holding ":" + port + path, which Utils::jsonOfDataValue completes with the host the
// client used.

#include <memory>
#include <string>

#include "Catalogue.h"
#include "QueryProjection.h"
#include "QuerySelection.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/Value.h"
#include "orv/nol/common/HttpStatusCode.h"

namespace mediaservice {

class Renderer {
public:
    // `port` is the port the service listens on, written into every link.
    Renderer(const Catalogue& catalogue, unsigned short port);

    // baseSerialize() ("id", "name", "uri") and the kind's own fields, as far as `fields`
    // selects them; links written as URLs or, where `expansion` says so, as the linked elements.
    std::unique_ptr<orv::dataformats::data::Object> element(const MediaElement& element,
                                                            const FieldSelection& fields,
                                                            const Expansion& expansion) const;

    // {"kind", "total", "offset", "limit", "count", "items": [...]} and, when more elements
    // follow, "next": the link to the next page (the same query with the next "$offset").
    std::unique_ptr<orv::dataformats::data::Object> page(const std::string& kind, const Page& page,
                                                         const Query& query,
                                                         const FieldSelection& fields,
                                                         const Expansion& expansion) const;

    // A link to each kind's list.
    std::unique_ptr<orv::dataformats::data::Object> index() const;

    // A data::Url for a path of this service ("/media/tracks").
    std::unique_ptr<orv::dataformats::data::Value> link(const std::string& path) const;

private:
    orv::dataformats::data::Value* fieldValue(const std::string& field, const FieldValue& value,
                                              const FieldSelection& fields,
                                              const Expansion& expansion) const;
    orv::dataformats::data::Value* linkValue(const Link& link, bool expand,
                                             const Expansion& expansion) const;

    const Catalogue& m_catalogue;
    std::string m_portPrefix;  // ":" + port
};

// {"status": 404, "statusText": "NotFound", "message": ...}, with statusText(status).
std::unique_ptr<orv::dataformats::data::Object> errorBody(orv::nol::common::HttpStatusCode status,
                                                          const std::string& message);

// The reason phrase of a status: the library's text where its table has the code
// ("NotFound"), the standard phrase for 431, which it lacks ("Request Header Fields Too
// Large"), "Error" for anything else.
std::string statusText(int status);

}  // namespace mediaservice
