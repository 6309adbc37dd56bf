// Fuzz target: the terminal's command line splitter. The command word is the text up to the
// first ':' (or the whole line); after it come the fields between ',' characters, blanks and
// empty fields kept, no empty field after a trailing ',', none at all for nothing after the ':'.
// The argument list is appended to, never cleared.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "helpers/Check.h"
#include "orv/bafu/terminal/Input.h"

namespace {

using orv::bafu::terminal::Input;
using orv::fuzz::check;
using orv::fuzz::printable;

std::vector<std::string> fieldsAfterColon(const std::string& line) {
    std::vector<std::string> fields;
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) {
        return fields;
    }
    std::size_t start = colon + 1;
    while (start < line.size()) {
        const std::size_t comma = line.find(',', start);
        if (comma == std::string::npos) {
            fields.push_back(line.substr(start));
            break;
        }
        fields.push_back(line.substr(start, comma - start));
        start = comma + 1;
    }
    return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    std::string command = "stale";
    std::vector<std::string> arguments{"kept"};
    Input::splitCommand(line, command, arguments);

    std::vector<std::string> expected{"kept"};
    const std::vector<std::string> fields = fieldsAfterColon(line);
    expected.insert(expected.end(), fields.begin(), fields.end());
    check(command == line.substr(0, line.find(':')), "command word up to the first colon",
          [&] { return printable(line) + " gave " + printable(command); });
    check(arguments == expected, "fields between commas appended", [&] { return printable(line); });
    return 0;
}
