#pragma once

// The way a route gives up on a request: an HTTP status other than 200 with a message for the
// client (and, for 405, the methods the resource allows). MediaRoutes turns it into the JSON
// error body.

#include <stdexcept>
#include <string>
#include <utility>

#include "orv/nol/common/HttpStatusCode.h"

namespace mediaservice {

using HttpStatusCode = orv::nol::common::HttpStatusCode;

class ApiError : public std::runtime_error {
public:
    ApiError(HttpStatusCode status, const std::string& message, std::string allow = {})
        : std::runtime_error(message), m_status(status), m_allow(std::move(allow)) {}

    HttpStatusCode status() const noexcept { return m_status; }
    // For the "Allow" field of a 405 answer: "GET, HEAD"; empty otherwise.
    const std::string& allow() const noexcept { return m_allow; }

private:
    HttpStatusCode m_status;
    std::string m_allow;
};

}  // namespace mediaservice
