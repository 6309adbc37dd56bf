#include "orv/nol/common/HttpStatusCode.h"

namespace orv {
namespace nol {
namespace common {

// The interface fixes this object; the only throw is an allocation failure while the library
// loads, which nothing could handle anyway.
// NOLINTNEXTLINE(cert-err58-cpp)
const std::map<HttpStatusCode, std::string> HttpStatusCodeAndStringMap = {
    {HttpStatusCode::Undefined, "Undefined"},
    {HttpStatusCode::Continue, "Continue"},
    {HttpStatusCode::SwitchingProtocols, "Switching Protocols"},
    {HttpStatusCode::Ok, "OK"},
    {HttpStatusCode::Created, "Created"},
    {HttpStatusCode::Accepted, "Accepted"},
    {HttpStatusCode::NonAuthoritativeInformation, "Non-Authoritative Information"},
    {HttpStatusCode::NoContent, "No Content"},
    {HttpStatusCode::ResetContent, "Reset Content"},
    {HttpStatusCode::PartialContent, "Partial Content"},
    {HttpStatusCode::MultipleChoices, "Multiple Choices"},
    {HttpStatusCode::MovedPermanently, "Moved Permanently"},
    {HttpStatusCode::Found, "Found"},
    {HttpStatusCode::SeeOther, "See Other"},
    {HttpStatusCode::NotModified, "Not Modified"},
    {HttpStatusCode::UseProxy, "Use Proxy"},
    {HttpStatusCode::Unused, "Unused"},
    {HttpStatusCode::TemporaryRedirect, "Temporary Redirect"},
    {HttpStatusCode::BadRequest, "Bad Request"},
    {HttpStatusCode::Unauthorized, "Unauthorized"},
    {HttpStatusCode::PaymentRequired, "Payment Required"},
    {HttpStatusCode::Forbidden, "Forbidden"},
    {HttpStatusCode::NotFound, "NotFound"},
    {HttpStatusCode::MethodNotAllowed, "Method Not Allowed"},
    {HttpStatusCode::NotAcceptable, "Not Acceptable"},
    {HttpStatusCode::ProxyAuthenticationRequired, "Proxy Authentication Required"},
    {HttpStatusCode::RequestTimeout, "Request Time-out"},
    {HttpStatusCode::Conflict, "Conflict"},
    {HttpStatusCode::Gone, "Gone"},
    {HttpStatusCode::LengthRequired, "Length Required"},
    {HttpStatusCode::PreconditionFailed, "Precondition Failed"},
    {HttpStatusCode::RequestEntityTooLarge, "Request Entity Too Large"},
    {HttpStatusCode::RequestUriTooLarge, "Request-URI Too Large"},
    {HttpStatusCode::UnsupportedMediaType, "Unsupported Media Type"},
    {HttpStatusCode::RequestedRangeNotSatisfiable, "Requested range not satisfiable"},
    {HttpStatusCode::ExpectationFailed, "Expectation Failed"},
    {HttpStatusCode::InternalServerError, "Internal Server Error"},
    {HttpStatusCode::NotImplemented, "Not Implemented"},
    {HttpStatusCode::BadGateway, "Bad Gateway"},
    {HttpStatusCode::ServiceUnavailable, "Service Unavailable"},
    {HttpStatusCode::GatewayTimeout, "Gateway Time-out"},
    {HttpStatusCode::HttpVersionNotSupported, "Http Version not supported"},
};

namespace {

// The text of every code outside the map; returned by reference, so it lives as long as the
// library.
// NOLINTNEXTLINE(cert-err58-cpp): as for the map above
const std::string kInvalidStatusCodeText = "Invalid StatusCode!";

}  // namespace

HttpStatusCode convertIntToStatusCode(int value) noexcept {
    const auto entry = HttpStatusCodeAndStringMap.find(static_cast<HttpStatusCode>(value));
    return entry == HttpStatusCodeAndStringMap.end() ? HttpStatusCode::Undefined : entry->first;
}

const std::string& convertStatusCodeToString(HttpStatusCode code) noexcept {
    const auto entry = HttpStatusCodeAndStringMap.find(code);
    return entry == HttpStatusCodeAndStringMap.end() ? kInvalidStatusCodeText : entry->second;
}

}  // namespace common
}  // namespace nol
}  // namespace orv
