#pragma once

#include <map>
#include <memory>

namespace orv {
namespace dataformats {
namespace data {

// A map from keys to owned values, kept in key order: each value is deleted with its entry.
// It is a std::map of std::unique_ptr, so iteration, find, erase and friends work as usual.
// With std::string keys the order is that of the bytes, compared as unsigned.
//
//   auto it = object.get().find("name");
//   if (it != object.get().end()) { use(*it->second); }
template <typename K, typename V>
using PtrMap = std::map<K, std::unique_ptr<V>>;

}  // namespace data
}  // namespace dataformats
}  // namespace orv
