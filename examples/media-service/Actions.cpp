// The actions RateTrack and GetRating and the reading of action arguments.

#include "Actions.h"

#include <set>

#include <nlohmann/json.hpp>

#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/String.h"
#include "orv/media/upnp/soap/Fault.h"
#include "orv/nol/common/queries/Query.h"

namespace mediaservice {

namespace {

using orv::media::upnp::soap::Fault;
namespace data = orv::dataformats::data;

constexpr std::int64_t kHighestRating = 5;

Actions::Arguments argumentsOf(const std::string& body) {
    Actions::Arguments arguments;
    if (body.empty()) {
        return arguments;
    }
    const nlohmann::json document = nlohmann::json::parse(body, nullptr, false);
    if (!document.is_object()) {
        throw Fault(Fault::INVALID_ARGS);
    }
    for (const auto& [name, value] : document.items()) {
        if (value.is_string()) {
            arguments[name] = value.get<std::string>();
        } else if (value.is_number_integer()) {
            arguments[name] = value.dump();
        } else {
            throw Fault(Fault::INVALID_ARGS);
        }
    }
    return arguments;
}

// Every action takes exactly its own arguments, as a UPnP action does.
void expectArguments(const Actions::Arguments& arguments, const std::set<std::string>& names) {
    bool exact = arguments.size() == names.size();
    for (const auto& argument : arguments) {
        exact = exact && names.count(argument.first) != 0;
    }
    if (!exact) {
        throw Fault(Fault::INVALID_ARGS);
    }
}

Track& trackOf(Catalogue& catalogue, const std::string& text) {
    GUID id;
    Track* track = GUID::parse(text, id) ? catalogue.findTrack(id) : nullptr;
    if (track == nullptr) {
        throw Fault(Fault::ARGUMENT_VALUE_INVALID);
    }
    return *track;
}

std::int64_t ratingOf(const std::string& text) {
    if (text.empty() || text == "-" || !orv::nol::common::queries::isNumber(text)) {
        throw Fault(Fault::ARGUMENT_VALUE_INVALID);
    }
    // A long digit string is out of range before it could overflow.
    const bool tooLong = text.size() > 3;
    const std::int64_t rating = tooLong ? kHighestRating + 1 : std::stoll(text);
    if (rating < 0 || rating > kHighestRating) {
        throw Fault(Fault::ARGUMENT_VALUE_OUT_OF_RANGE);
    }
    return rating;
}

std::unique_ptr<data::Object> ratingResult(const Track& track) {
    auto result = std::make_unique<data::Object>();
    result->setNew("TrackId", new data::String(track.id.value().toString()));
    result->setNew("Rating", new data::Integer(static_cast<int>(track.rating)));
    return result;
}

}  // namespace

Actions::Actions(Catalogue& catalogue) {
    m_handlers["RateTrack"] = [&catalogue](const Arguments& arguments) {
        expectArguments(arguments, {"TrackId", "Rating"});
        Track& track = trackOf(catalogue, arguments.at("TrackId"));
        track.rating = ratingOf(arguments.at("Rating"));
        return ratingResult(track);
    };
    m_handlers["GetRating"] = [&catalogue](const Arguments& arguments) {
        expectArguments(arguments, {"TrackId"});
        return ratingResult(trackOf(catalogue, arguments.at("TrackId")));
    };
}

std::unique_ptr<data::Object> Actions::invoke(const std::string& name,
                                              const std::string& body) const {
    auto handler = m_handlers.find(name);
    if (handler == m_handlers.end()) {
        throw Fault(Fault::INVALID_ACTION);
    }
    return handler->second(argumentsOf(body));
}

std::vector<std::string> Actions::names() const {
    std::vector<std::string> names;
    for (const auto& handler : m_handlers) {
        names.push_back(handler.first);
    }
    return names;
}

}  // namespace mediaservice
