#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "helpers/FuzzInput.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace fuzz {

// Bounds of the trees a TreeBuilder makes, whatever the input.
struct TreeLimits {
    // Arrays and objects nested in each other, the root included.
    int maxDepth = 10;
    // Values in the whole tree; once reached, every further value is a Null.
    std::size_t maxValues = 300;
    // Length of a single text; long texts repeat a short piece of the input.
    std::size_t maxTextLength = 9000;
};

// Builds a data tree from the bytes of a fuzz input: every value kind (also floats from raw
// bits, so NaN, infinities and negative zero), texts short and long, GUID texts in either case,
// keys from a small pool that includes the members our elements read, and null child pointers
// as containers may hold them. The same input always gives the same tree, and links (texts that
// a service would store as data::Url) are made by the given maker, so that two builders over
// the same bytes can give the same tree with links presented in two ways.
class TreeBuilder {
public:
    using LinkMaker =
        std::function<std::unique_ptr<orv::dataformats::data::Value>(const std::string& text)>;

    TreeBuilder(FuzzInput& input, LinkMaker makeLink, TreeLimits limits = {});

    std::unique_ptr<orv::dataformats::data::Value> value();
    std::unique_ptr<orv::dataformats::data::Object> object();

    // A text of one of the builder's shapes.
    std::string text();

private:
    std::unique_ptr<orv::dataformats::data::Value> value(int depth);
    std::unique_ptr<orv::dataformats::data::Object> object(int depth);
    std::unique_ptr<orv::dataformats::data::Array> array(int depth);
    std::unique_ptr<orv::dataformats::data::Value> leaf(unsigned kind);
    std::string key();
    std::string repeatedText();
    std::string guidText();
    bool full() const { return m_values >= m_limits.maxValues; }

    FuzzInput& m_input;
    LinkMaker m_makeLink;
    TreeLimits m_limits;
    std::size_t m_values = 0;
};

// The number of values in the tree under `value` (itself included); a null pointer, as a
// container may hold, counts as one value, which the JSON writer writes as null.
std::size_t countValues(const orv::dataformats::data::Value* value);

}  // namespace fuzz
}  // namespace orv
