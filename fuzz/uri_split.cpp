// Fuzz target: taking arbitrary bytes apart as a URI.
// - getUriSplitted gives the first three tokens of the text split at "/" (after one leading "/"),
//   also when an output is the input itself;
// - retrieveUriInfos writes what its rules say, step by step (scheme, host, port, path), and
//   returns false only for an unclosed "[";
// - the only exceptions that leave retrieveUriInfos are those of std::stoull on the port text,
//   thrown exactly when std::stoull throws them for that text.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "helpers/Check.h"
#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/UriUtils.h"

namespace {

using orv::fuzz::check;
using orv::fuzz::printable;
using orv::nol::common::UriInfos;
namespace common = orv::nol::common;

struct Segments {
    std::string first;
    std::string second;
    std::string third;

    bool operator==(const Segments& other) const {
        return first == other.first && second == other.second && third == other.third;
    }
};

std::string describe(const Segments& segments) {
    return printable(segments.first) + " " + printable(segments.second) + " " +
           printable(segments.third);
}

// The path rule literally: split at "/", one leading empty token skipped, missing ones empty.
Segments literalSegments(const std::string& path) {
    std::vector<std::string> tokens = common::split(path, "/");
    if (tokens.front().empty()) {
        tokens.erase(tokens.begin());
    }
    tokens.resize(3);
    return {tokens[0], tokens[1], tokens[2]};
}

// The rules of retrieveUriInfos, step by step; throws what std::stoull throws on the port.
struct UriRules {
    const std::string& uri;
    UriInfos& infos;

    bool apply() {
        std::size_t hostStart = 0;
        if (uri.compare(0, 7, "http://") == 0) {
            hostStart = 7;
        } else if (uri.compare(0, 8, "https://") == 0) {
            hostStart = 8;
        } else {
            return path(0);
        }
        if (hostStart < uri.size() && uri[hostStart] == '[') {
            return bracketedHost(hostStart);
        }
        infos.isIPv4 = true;
        const std::size_t colon = uri.find(':', hostStart);
        const std::size_t slash = uri.find('/', hostStart);
        if (colon == std::string::npos && slash == std::string::npos) {
            infos.host = uri.substr(hostStart);
            return true;
        }
        const bool hasPort =
            colon != std::string::npos && (slash == std::string::npos || colon < slash);
        infos.host = uri.substr(hostStart, (hasPort ? colon : slash) - hostStart);
        return hasPort ? port(colon) : path(slash);
    }

    bool bracketedHost(std::size_t open) {
        infos.isIPv4 = false;
        const std::size_t close = uri.find(']', open);
        if (close == std::string::npos) {
            return false;
        }
        infos.host = uri.substr(open + 1, close - open - 1);
        const std::size_t next = close + 1;
        return next < uri.size() && uri[next] == ':' ? port(next) : path(next);
    }

    bool port(std::size_t colon) {
        if (colon + 1 == uri.size()) {
            return true;
        }
        const std::size_t slash = uri.find('/', colon + 1);
        const std::size_t end = slash == std::string::npos ? uri.size() : slash;
        const std::string text = uri.substr(colon + 1, end - colon - 1);
        if (!text.empty()) {
            const unsigned long long value = std::stoull(text);
            if (value <= 65535) {
                infos.port = static_cast<std::uint16_t>(value);
            }
        }
        return path(end);
    }

    bool path(std::size_t position) {
        if (position + 1 >= uri.size()) {
            return true;
        }
        const Segments segments = literalSegments(uri.substr(position + 1));
        infos.firstSegment = segments.first;
        infos.secondSegment = segments.second;
        infos.thirdSegment = segments.third;
        return true;
    }
};

// What a call of retrieveUriInfos came to.
struct Outcome {
    bool result = false;
    std::string exception;  // empty when the call returned
    UriInfos infos;
};

template <typename Retrieve>
Outcome outcomeOf(Retrieve retrieve) {
    Outcome outcome;
    // Values no URI can give, so that an output left alone shows.
    outcome.infos.isIPv4 = false;
    outcome.infos.host = "/host";
    outcome.infos.port = 4242;
    outcome.infos.firstSegment = "/first";
    outcome.infos.secondSegment = "/second";
    outcome.infos.thirdSegment = "/third";
    try {
        outcome.result = retrieve(outcome.infos);
    } catch (const std::invalid_argument& error) {
        outcome.exception = std::string("std::invalid_argument: ") + error.what();
    } catch (const std::out_of_range& error) {
        outcome.exception = std::string("std::out_of_range: ") + error.what();
    } catch (const std::exception& error) {
        outcome.exception = std::string("other exception: ") + error.what();
    }
    return outcome;
}

std::string describe(const Outcome& outcome) {
    if (!outcome.exception.empty()) {
        return outcome.exception;
    }
    const UriInfos& infos = outcome.infos;
    return std::string(outcome.result ? "true" : "false") + " isIPv4 " +
           (infos.isIPv4 ? "1" : "0") + " host " + printable(infos.host) + " port " +
           std::to_string(infos.port) + " segments " +
           describe(Segments{infos.firstSegment, infos.secondSegment, infos.thirdSegment});
}

bool sameOutcome(const Outcome& a, const Outcome& b) {
    if (!a.exception.empty() || !b.exception.empty()) {
        // After an exception the record holds what was written before; only the kind counts.
        return a.exception == b.exception;
    }
    return a.result == b.result && a.infos.isIPv4 == b.infos.isIPv4 &&
           a.infos.host == b.infos.host && a.infos.port == b.infos.port &&
           a.infos.firstSegment == b.infos.firstSegment &&
           a.infos.secondSegment == b.infos.secondSegment &&
           a.infos.thirdSegment == b.infos.thirdSegment;
}

void checkUriSplitted(const std::string& uri) {
    const Segments expected = literalSegments(uri);
    Segments actual{"/first", "/second", "/third"};
    common::getUriSplitted(uri, actual.first, actual.second, actual.third);
    check(actual == expected, "getUriSplitted gives the first three path segments", [&] {
        return "input: " + printable(uri) + "\nsegments: " + describe(actual) +
               "\nexpected: " + describe(expected);
    });

    Segments aliased{uri, "/second", "/third"};
    common::getUriSplitted(aliased.first, aliased.first, aliased.second, aliased.third);
    check(aliased == expected, "getUriSplitted reads its input before writing an output to it",
          [&] { return "input: " + printable(uri) + "\nsegments: " + describe(aliased); });
}

void checkRetrieveUriInfos(const std::string& uri) {
    const Outcome actual =
        outcomeOf([&](UriInfos& infos) { return common::retrieveUriInfos(uri, infos); });
    const Outcome expected = outcomeOf([&](UriInfos& infos) {
        return UriRules{uri, infos}.apply();
    });
    check(sameOutcome(actual, expected), "retrieveUriInfos follows its rules", [&] {
        return "input: " + printable(uri) + "\nresult:   " + describe(actual) +
               "\nexpected: " + describe(expected);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string uri(reinterpret_cast<const char*>(data), size);
    checkUriSplitted(uri);
    checkRetrieveUriInfos(uri);
    return 0;
}
