#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {

// The HTTP status codes a service answers with. Undefined (0) stands for "no valid code".
enum class HttpStatusCode : std::int32_t {
    Undefined = 0,
    Continue = 100,
    SwitchingProtocols = 101,
    Ok = 200,
    Created = 201,
    Accepted = 202,
    NonAuthoritativeInformation = 203,
    NoContent = 204,
    ResetContent = 205,
    PartialContent = 206,
    MultipleChoices = 300,
    MovedPermanently = 301,
    Found = 302,
    SeeOther = 303,
    NotModified = 304,
    UseProxy = 305,
    Unused = 306,
    TemporaryRedirect = 307,
    BadRequest = 400,
    Unauthorized = 401,
    PaymentRequired = 402,
    Forbidden = 403,
    NotFound = 404,
    MethodNotAllowed = 405,
    NotAcceptable = 406,
    ProxyAuthenticationRequired = 407,
    RequestTimeout = 408,
    Conflict = 409,
    Gone = 410,
    LengthRequired = 411,
    PreconditionFailed = 412,
    RequestEntityTooLarge = 413,
    RequestUriTooLarge = 414,
    UnsupportedMediaType = 415,
    RequestedRangeNotSatisfiable = 416,
    ExpectationFailed = 417,
    InternalServerError = 500,
    NotImplemented = 501,
    BadGateway = 502,
    ServiceUnavailable = 503,
    GatewayTimeout = 504,
    HttpVersionNotSupported = 505,
};

// Every defined code with its text, ascending by code; filled while the library loads and never
// changed afterwards. The texts are this system's own and deliberately keep their quirks:
// "NotFound" without a blank, "Unused" for 306, "Request Time-out", "Gateway Time-out",
// "Request-URI Too Large", "Requested range not satisfiable", "Http Version not supported".
ORV_NOL_API extern const std::map<HttpStatusCode, std::string> HttpStatusCodeAndStringMap;

// The code of `value` when the table holds it, otherwise Undefined (also for negative values).
ORV_NOL_API HttpStatusCode convertIntToStatusCode(int value) noexcept;

// The text of `code`, or "Invalid StatusCode!" for a value outside the table. The reference
// stays valid as long as the library is loaded. Undefined (0) has the text "Undefined".
ORV_NOL_API const std::string& convertStatusCodeToString(HttpStatusCode code) noexcept;

// False exactly for 100 <= code <= 399: 0, every 4xx and 5xx, and any value below 100 or above
// 399 count as errors.
inline bool isErrorStatusCode(HttpStatusCode code) noexcept {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(code)) - 100U > 299U;
}

}  // namespace common
}  // namespace nol
}  // namespace orv
