// Routing of /media requests to lists, elements and actions, and the mapping of failures to
// HTTP status codes.

#include "MediaRoutes.h"

#include <exception>

#include "QueryNumbers.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/String.h"
#include "orv/media/upnp/soap/Fault.h"
#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/UriUtils.h"

namespace mediaservice {

namespace {

namespace data = orv::dataformats::data;
using orv::media::upnp::soap::Fault;
using orv::nol::common::convertStatusCodeToString;

constexpr const char* kActionsSegment = "actions";

ApiResponse answer(std::unique_ptr<data::Value> body) {
    return ApiResponse{HttpStatusCode::Ok, std::move(body), {}};
}

ApiResponse errorAnswer(const ApiError& error) {
    return ApiResponse{error.status(), errorBody(error.status(), error.what()), error.allow()};
}

// A failed action: 500, with the UPnP error code and description of the fault.
ApiResponse faultAnswer(const Fault& fault) {
    const HttpStatusCode status = HttpStatusCode::InternalServerError;
    auto body = std::make_unique<data::Object>();
    body->setNew("status", new data::Integer(static_cast<int>(status)));
    body->setNew("statusText", new data::String(convertStatusCodeToString(status)));
    body->setNew("errorCode", new data::Integer(fault.getCode()));
    body->setNew("errorDescription", new data::String(fault.what()));
    return ApiResponse{status, std::move(body), {}};
}

Query parsedQuery(const std::string& queryText) {
    checkNumberRanges(queryText);
    Query query;
    // False only when there is nothing to parse: an empty query is what the caller gets then.
    query.ParseFromQueryString(queryText);
    return query;
}

ApiError methodNotAllowed(const std::string& method, const std::string& path, const char* allow) {
    return {HttpStatusCode::MethodNotAllowed, method + " is not served on " + path, allow};
}

constexpr const char* kReadOnly = "GET, HEAD";
constexpr const char* kPostOnly = "POST";

}  // namespace

MediaRoutes::MediaRoutes(Catalogue& catalogue, unsigned short port)
    : m_catalogue(catalogue), m_renderer(catalogue, port), m_actions(catalogue) {}

ApiResponse MediaRoutes::handle(const ApiRequest& request) {
    try {
        return route(request);
    } catch (const ApiError& error) {
        return errorAnswer(error);
    } catch (const Fault& fault) {
        return faultAnswer(fault);
    }
}

ApiResponse MediaRoutes::route(const ApiRequest& request) {
    const std::string& path = request.path;
    std::string service;
    std::string kind;
    std::string id;
    orv::nol::common::getUriSplitted(path, service, kind, id);
    const bool deeperThanAnId = orv::nol::common::split(path, "/").size() > 4;
    if (service != kServiceSegment || deeperThanAnId) {
        throw ApiError(HttpStatusCode::NotFound, "no resource at " + path);
    }

    if (kind == kActionsSegment) {
        if (id.empty()) {
            if (request.method != "GET") {
                throw methodNotAllowed(request.method, path, kReadOnly);
            }
            return actionNames();
        }
        if (request.method != "POST") {
            throw methodNotAllowed(request.method, path, kPostOnly);
        }
        return runAction(id, request.body);
    }
    if (request.method != "GET") {
        throw methodNotAllowed(request.method, path, kReadOnly);
    }
    if (kind.empty()) {
        return answer(m_renderer.index());
    }
    if (!Catalogue::isKind(kind)) {
        throw ApiError(HttpStatusCode::NotFound,
                       "no kind '" + kind + "'; the kinds are artists, albums and tracks");
    }
    return id.empty() ? list(kind, request.queryText) : show(kind, id, request.queryText);
}

ApiResponse MediaRoutes::list(const std::string& kind, const std::string& queryText) const {
    const Query query = parsedQuery(queryText);
    const FieldSelection fields = FieldSelection::fromQuery(kind, query);
    const Expansion expansion = Expansion::fromQuery(kind, query);
    const Page page = selectPage(m_catalogue, kind, query);
    return answer(m_renderer.page(kind, page, query, fields, expansion));
}

ApiResponse MediaRoutes::show(const std::string& kind, const std::string& idText,
                              const std::string& queryText) const {
    GUID id;
    if (!GUID::parse(idText, id)) {
        throw ApiError(HttpStatusCode::BadRequest, "'" + idText + "' is no GUID");
    }
    const MediaElement* element = m_catalogue.find(kind, id);
    if (element == nullptr) {
        throw ApiError(HttpStatusCode::NotFound, "no " + kind + " with id " + id.toString());
    }
    const Query query = parsedQuery(queryText);
    return answer(m_renderer.element(*element, FieldSelection::fromQuery(kind, query),
                                     Expansion::fromQuery(kind, query)));
}

ApiResponse MediaRoutes::actionNames() const {
    auto names = std::make_unique<data::Array>();
    for (const std::string& name : m_actions.names()) {
        names->pushNew(new data::String(name));
    }
    auto body = std::make_unique<data::Object>();
    body->setNew("actions", names.release());
    return answer(std::move(body));
}

ApiResponse MediaRoutes::runAction(const std::string& name, const std::string& body) const {
    auto answerBody = std::make_unique<data::Object>();
    answerBody->setNew("action", new data::String(name));
    answerBody->setNew("out", m_actions.invoke(name, body).release());
    return answer(std::move(answerBody));
}

}  // namespace mediaservice
