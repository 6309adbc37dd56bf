#pragma once

// The resource interface of the service, independent of the HTTP library:
//
//   GET  /media                   links to the lists of the kinds
//   GET  /media/<kind>            a page of the kind's elements (artists, albums, tracks)
//   GET  /media/<kind>/<guid>     one element
//   GET  /media/actions           the names of the actions
//   POST /media/actions/<name>    runs an action (see Actions.h)
//
// The query string is read with Query::ParseFromQueryString; QuerySelection.h and
// QueryProjection.h say what each part of it does. Errors: 404 for an unknown kind, id or path,
// 400 for a malformed GUID, a query that does not fit the kind or a number out of its range, 405
// (with the allowed methods) for another method, 500 with the UPnP error code and description for
// a failed action.
//
// Thread: on the decoupler's worker thread only, like the catalogue it reads and changes.

#include <memory>
#include <string>

#include "Actions.h"
#include "ApiError.h"
#include "Catalogue.h"
#include "Rendering.h"
#include "orv/dataformats/data/Value.h"
#include "orv/nol/common/HttpStatusCode.h"

namespace mediaservice {

struct ApiRequest {
    std::string method;     // "GET", "POST", ...
    std::string path;       // as the client sent it: "/media/tracks"
    std::string queryText;  // after the "?", still %-encoded: "$limit=3"
    std::string body;
};

struct ApiResponse {
    HttpStatusCode status = HttpStatusCode::Ok;
    std::unique_ptr<orv::dataformats::data::Value> body;  // written as JSON
    std::string allow;                                    // for 405: the methods allowed
};

class MediaRoutes {
public:
    // `port` is the port the service listens on, for the links in the answers.
    MediaRoutes(Catalogue& catalogue, unsigned short port);

    // Answers a request whose path begins with /media. The client's mistakes and failed actions
    // become error answers; anything else thrown (std::exception) is a fault of the service.
    ApiResponse handle(const ApiRequest& request);

    const Catalogue& catalogue() const { return m_catalogue; }
    const Renderer& renderer() const { return m_renderer; }

private:
    ApiResponse route(const ApiRequest& request);
    ApiResponse list(const std::string& kind, const std::string& queryText) const;
    ApiResponse show(const std::string& kind, const std::string& idText,
                     const std::string& queryText) const;
    ApiResponse actionNames() const;
    ApiResponse runAction(const std::string& name, const std::string& body) const;

    Catalogue& m_catalogue;
    Renderer m_renderer;
    Actions m_actions;
};

}  // namespace mediaservice
