#pragma once
// A map from types to values; stands on nothing.

#include <keel/export.hpp>

#include <cstddef>
#include <map>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace Keel {

/// Values by type, in an order that is the same throughout a process. Not thread-safe.
template<class T>
class KEEL_EXPORT typemap {
public:
    /// Visitor of all entries.
    class KEEL_EXPORT Iterator {
    public:
        virtual ~Iterator() = default;
        /// Returns true to go on.
        virtual bool apply(const std::type_info& type, const T& value) = 0;
    };

    /// The value of a type, made by its default constructor if there is none.
    T& operator[](const std::type_info& type) {
        const auto [entry, isNew] = _values.try_emplace(std::type_index(type));
        if (isNew) entry->second.first = &type;
        return entry->second.second;
    }
    /// Removes the entry of a type, if there is one: ahead of the end of the module that has it.
    void erase(const std::type_info& type) { _values.erase(std::type_index(type)); }
    /// The value of a type, or null.
    const T* find(const std::type_info& type) const {
        const auto found = _values.find(std::type_index(type));
        return found != _values.end() ? &found->second.second : nullptr;
    }
    std::size_t size() const noexcept { return _values.size(); }
    /// Visits the entries until the visitor returns false; returns whether it reached the end.
    bool iterate(Iterator& visitor) const {
        for (const auto& [index, entry] : _values) {
            if (!visitor.apply(*entry.first, entry.second)) return false;
        }
        return true;
    }

private:
    std::map<std::type_index, std::pair<const std::type_info*, T>> _values;
};

} // namespace Keel
