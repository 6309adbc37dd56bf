#pragma once

// The way a route gives up on a request: an HTTP status other than 200 with a message for the
// client. MediaRoutes turns it into the JSON error body.

#include <stdexcept>
#include <string>

#include "orv/nol/common/HttpStatusCode.h"

namespace mediaservice {

using orv::nol::common::HttpStatusCode;

class ApiError : public std::runtime_error {
public:
    ApiError(HttpStatusCode status, const std::string& message)
        : std::runtime_error(message), m_status(status) {}

    HttpStatusCode status() const noexcept { return m_status; }

private:
    HttpStatusCode m_status;
};

}  // namespace mediaservice
