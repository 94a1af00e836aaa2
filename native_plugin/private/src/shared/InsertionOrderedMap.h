#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Velkori_Utility {

// A map from names to values that iterates in the order in which the names came. What a host reads back
// (names of manifestations, the order of messages, a written document) thus follows the document and is the
// same with every standard library. Looking a name up allocates nothing.
template <typename V>
class InsertionOrderedMap {
  public:
    using Entry = std::pair<std::string, V>;

    void Reserve(std::size_t count) { entries.reserve(count); }

    // False, and nothing changes, if the name is there already.
    bool Insert(std::string_view name, V value) {
        if (!positions.try_emplace(std::string(name), entries.size()).second) {
            return false;
        }
        entries.emplace_back(name, std::move(value));
        return true;
    }

    // Null if the name isn't there.
    const V* Find(std::string_view name) const {
        const auto found = positions.find(name);
        return found == positions.end() ? nullptr : &entries[found->second].second;
    }

    bool Contains(std::string_view name) const { return positions.find(name) != positions.end(); }

    std::size_t Size() const { return entries.size(); }

    bool IsEmpty() const { return entries.empty(); }

    auto begin() const { return entries.begin(); }

    auto end() const { return entries.end(); }

  private:
    std::vector<Entry> entries;
    // Not hashed: names come from documents, and a hostile one could make them collide.
    std::map<std::string, std::size_t, std::less<>> positions;
};

// Joint or blend shape names to their indices.
using NameToIndexMap = InsertionOrderedMap<int>;

} // namespace Velkori_Utility
