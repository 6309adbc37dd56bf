#pragma once

#include <memory>
#include <vector>

namespace orv {
namespace dataformats {
namespace data {

// An ordered sequence of owned values: each element is deleted with the sequence. It is a
// std::vector of std::unique_ptr, so everything a vector offers (iteration, size, indexing,
// insertion of owned pointers) works as usual.
//
//   for (const auto& element : array.get()) { use(*element); }
template <typename V>
using PtrVector = std::vector<std::unique_ptr<V>>;

}  // namespace data
}  // namespace dataformats
}  // namespace orv
