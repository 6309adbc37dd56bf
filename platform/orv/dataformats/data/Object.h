#pragma once

#include <string>

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/PtrMap.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A set of named values that the object owns, kept in key order (byte-wise, like std::map of
// std::string), which is also the order in which visitors and the JSON writer see them.
//
//   Object device;
//   device.setNew("name", new String("lamp"));
//   device.setNew("name", new String("desk lamp"));  // replaces and deletes "lamp"
//
// Thread safety as for every Value. Ownership: every member value belongs to the object and is
// deleted with it or when replaced. Failure: allocation errors pass through; setNew then
// deletes the value it was given and leaves the object as it was.
class ORV_DATAFORMATS_API Object : public Value {
public:
    Object() noexcept;
    ~Object() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    // Stores `value` under `key` and takes ownership of it; a value already stored under `key`
    // is deleted. A null pointer is stored as a Null, so the key is present and reads as null.
    // `value` must not be owned elsewhere; handing back the value already stored under `key`
    // changes nothing.
    void setNew(const std::string& key, Value* value);

    // The member stored under `key`, or null if there is none.
    const Value* find(const std::string& key) const;
    Value* find(const std::string& key);

    const PtrMap<std::string, Value>& get() const noexcept { return m_members; }
    // For editing in place. Null pointers put in through here are visited as null values.
    PtrMap<std::string, Value>& get() noexcept { return m_members; }

private:
    PtrMap<std::string, Value> m_members;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
