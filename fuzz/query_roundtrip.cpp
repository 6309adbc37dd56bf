// Fuzz target: the round trip of a query through its text form. For any text, the query parsed
// from it, printed with getString() and parsed again comes back the same except where the
// printed form loses information by design (support::queryRoundTripMismatches); the printed text
// parses exactly when it is not empty, and the map form read with ParseFromQueryMap prints the
// same text.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "helpers/Check.h"
#include "orv/nol/common/queries/Query.h"
#include "support/QueryRoundTrip.h"

namespace {

using orv::fuzz::check;
using orv::fuzz::printable;
using orv::nol::common::queries::Query;

std::string evidence(const std::string& text, const std::string& printed,
                     const std::vector<std::string>& details = {}) {
    std::string lines = "input:   " + printable(text) + "\nprinted: " + printable(printed);
    for (const std::string& detail : details) {
        lines += "\n  " + detail;
    }
    return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Query original;
    original.ParseFromQueryString(text);
    const std::string printed = original.getString();

    Query again;
    const bool parsed = again.ParseFromQueryString(printed);
    check(parsed == !printed.empty(), "the printed text parses exactly when it is not empty",
          [&] { return evidence(text, printed); });

    support::QueryRoundTripLosses losses;
    const std::vector<std::string> mismatches =
        support::queryRoundTripMismatches(original, again, losses);
    check(mismatches.empty(), "parsing the printed text gives the same query",
          [&] { return evidence(text, printed, mismatches); });

    Query viaMap;
    viaMap.ParseFromQueryMap(original.getMap());
    const std::string printedViaMap = viaMap.getString();
    check(printedViaMap == printed, "the map form reads back to the same text",
          [&] { return evidence(text, printed, {"via map: " + printable(printedViaMap)}); });
    return 0;
}
