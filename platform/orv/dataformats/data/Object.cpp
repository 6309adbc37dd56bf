#include "orv/dataformats/data/Object.h"

#include <memory>
#include <utility>

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Object::Object() noexcept = default;

Object::~Object() = default;

void Object::visit(Visitor& visitor) {
    visitor.visitObject(*this);
}

void Object::visit(ConstVisitor& visitor) const {
    visitor.visitObject(m_members);
}

Value::EType Object::getType() const {
    return EType::Object;
}

void Object::setNew(const std::string& key, Value* value) {
    // Owned before anything can throw, so a failing insertion deletes it.
    std::unique_ptr<Value> owned(value);
    if (!owned) {
        owned = std::make_unique<Null>();
    }
    std::unique_ptr<Value>& slot = m_members[key];
    if (slot.get() == owned.get()) {
        // The caller handed back what is already stored; keep it and do not delete it twice.
        static_cast<void>(owned.release());
        return;
    }
    slot = std::move(owned);
}

const Value* Object::find(const std::string& key) const {
    auto it = m_members.find(key);
    return it == m_members.end() ? nullptr : it->second.get();
}

Value* Object::find(const std::string& key) {
    auto it = m_members.find(key);
    return it == m_members.end() ? nullptr : it->second.get();
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
