#pragma once

// The service's UPnP-style actions, reached by POST /media/actions/<name>: named operations that
// take string arguments and answer with out-arguments, or throw a soap::Fault with one of the
// standard UPnP error codes (402 Invalid Args, 600 Argument Value Invalid, ...), which the
// service answers with 500 and the code and description.
//
//   RateTrack  TrackId, Rating (0 to 5)  ->  TrackId, Rating
//   GetRating  TrackId                   ->  TrackId, Rating
//
// Thread: like the catalogue, used on the decoupler's worker thread only.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Catalogue.h"
#include "orv/dataformats/data/Object.h"

namespace mediaservice {

class Actions {
public:
    using Arguments = std::map<std::string, std::string>;
    using Handler =
        std::function<std::unique_ptr<orv::dataformats::data::Object>(const Arguments&)>;

    explicit Actions(Catalogue& catalogue);

    // Runs the action `name` with the arguments in `body`, a JSON object whose members are
    // strings or whole numbers (an empty body means no arguments), and returns the action's
    // out-arguments. Throws soap::Fault: INVALID_ACTION for an unknown name, INVALID_ARGS for a
    // body of another form or arguments missing or unknown to the action, and the action's own
    // faults for bad values.
    std::unique_ptr<orv::dataformats::data::Object> invoke(const std::string& name,
                                                           const std::string& body) const;

    std::vector<std::string> names() const;

private:
    std::map<std::string, Handler> m_handlers;
};

}  // namespace mediaservice
