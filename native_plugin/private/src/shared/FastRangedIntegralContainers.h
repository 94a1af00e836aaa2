#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Velkori_Utility {

// Sets and maps over a contiguous range of small integral keys (joints, known joints, limbs) that is fixed by
// initialising. A membership bit per key and, in a map, values in one contiguous list: a lookup is one range
// check, one word load and, in a map, one index load. Both iterate in the order in which their keys first
// came; a key that was erased and comes back keeps its place.
//
// A container that was never initialised ignores every insert and holds nothing.
template <typename K>
class FastRangedIntegralBase {
  public:
    FastRangedIntegralBase() = default;
    FastRangedIntegralBase(const FastRangedIntegralBase&) = default;
    FastRangedIntegralBase& operator=(const FastRangedIntegralBase&) = default;
    virtual ~FastRangedIntegralBase() = default;

    // False if the key wasn't there. Its place in the iteration order stays.
    virtual bool erase(K key) {
        if (!contains(key)) {
            return false;
        }
        const std::size_t offset = OffsetOf(key);
        presentBits[offset >> BitsShift] &= ~BitOf(offset);
        --count;
        return true;
    }

    // Sets the range, both ends inclusive and in either order, and empties the container. Memory is kept.
    virtual void initialize(K a, K b) {
        // Memory may run out on the way: until all of it is there, the container counts as not initialised.
        presentBits.clear();
        count = 0;
        orderedKeys.clear();
        minKey = std::min(a, b);
        maxKey = std::max(a, b);
        orderedKeys.reserve(std::min<std::size_t>(RangeSize(), MaxReservedKeys));
        // One word more than the keys need at times: there is always a spare one.
        const std::size_t wordCount = (RangeSize() >> BitsShift) + 1;
        everInsertedBits.assign(wordCount, 0);
        presentBits.assign(wordCount, 0);
    }

    // Empties the container and keeps its range. One that was never initialised stays so.
    void Clear() {
        if (!presentBits.empty()) {
            initialize(minKey, maxKey);
        }
    }

    // No bit beyond the range is ever set, so that the number of words is the only bound to check.
    bool contains(K key) const {
        const std::size_t offset = OffsetOf(key);
        const std::size_t word = offset >> BitsShift;
        return word < presentBits.size() && (presentBits[word] & BitOf(offset)) != 0;
    }

    // A key that is out of range or there already changes nothing.
    void insertInternal(K key) {
        const std::size_t offset = OffsetOf(key);
        if (presentBits.empty() || offset >= RangeSize() || contains(key)) {
            return;
        }
        if ((everInsertedBits[offset >> BitsShift] & BitOf(offset)) == 0) {
            orderedKeys.push_back(key);
            everInsertedBits[offset >> BitsShift] |= BitOf(offset);
        }
        presentBits[offset >> BitsShift] |= BitOf(offset);
        ++count;
    }

    std::size_t Size() const { return count; }

    bool IsEmpty() const { return count == 0; }

    std::vector<K> ToKeyVector() const {
        std::vector<K> keys;
        keys.reserve(count);
        std::copy_if(orderedKeys.begin(), orderedKeys.end(), std::back_inserter(keys),
            [this](K key) { return contains(key); });
        return keys;
    }

  protected:
    static constexpr std::size_t MaxReservedKeys = 256;

    // Differences are taken without a sign: a key below the range gives an offset far beyond it, and no pair
    // of 32-bit keys overflows.
    std::size_t OffsetOf(K key) const {
        return static_cast<std::uint32_t>(
            static_cast<std::uint32_t>(key) - static_cast<std::uint32_t>(minKey));
    }

    std::size_t RangeSize() const { return OffsetOf(maxKey) + 1; }

    // The position in orderedKeys of the first key that is there, from `position` on.
    std::size_t SkipAbsent(std::size_t position) const {
        while (position < orderedKeys.size() && !contains(orderedKeys[position])) {
            ++position;
        }
        return position;
    }

    K minKey = {};
    K maxKey = {};
    std::size_t count = 0;
    std::vector<std::uint32_t> presentBits;
    // Keys that are in orderedKeys.
    std::vector<std::uint32_t> everInsertedBits;
    std::vector<K> orderedKeys;

  private:
    static constexpr std::size_t BitsShift = 5;

    static std::uint32_t BitOf(std::size_t offset) { return std::uint32_t{1} << (offset & 31U); }
};

// Walks what is in a set (keys) or a map (pairs). Keys may be erased on the way; after an insert, walk anew.
template <typename Container, typename Element>
class FastRangedIntegralIterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using pointer = const Element*;
    using reference = const Element&;

    FastRangedIntegralIterator() = default;

    reference operator*() const { return container->ElementAt(position); }

    pointer operator->() const { return &**this; }

    FastRangedIntegralIterator& operator++() {
        position = container->SkipAbsent(position + 1);
        return *this;
    }

    FastRangedIntegralIterator operator++(int) {
        const FastRangedIntegralIterator before = *this;
        ++*this;
        return before;
    }

    bool operator==(const FastRangedIntegralIterator& other) const = default;

  private:
    friend Container;

    FastRangedIntegralIterator(const Container* owner, std::size_t start)
        : container(owner), position(start) {}

    const Container* container = nullptr;
    // In the container's list of keys, where erased ones keep their places.
    std::size_t position = 0;
};

template <typename K>
class FastRangedIntegralSet : public FastRangedIntegralBase<K> {
  public:
    // What to pass where there are no values to begin with.
    static const std::vector<K> EmptyInitialValues;
    // Excludes nothing wherever a set of exclusions is asked for.
    static const FastRangedIntegralSet EmptySet;

    using const_iterator = FastRangedIntegralIterator<FastRangedIntegralSet, K>;

    FastRangedIntegralSet() = default;

    // Holds `initialValues`, for which the range is widened; a `max` that isn't above `min` then counts for
    // nothing.
    FastRangedIntegralSet(K min, K max, const std::vector<K>& initialValues) {
        if (!initialValues.empty()) {
            const auto [lowest, highest] = std::minmax_element(initialValues.begin(), initialValues.end());
            const bool hasBounds = max > min;
            min = hasBounds ? std::min(min, *lowest) : *lowest;
            max = hasBounds ? std::max(max, *highest) : *highest;
        }
        this->initialize(min, max);
        for (const K value : initialValues) {
            this->insertInternal(value);
        }
    }

    const_iterator begin() const { return const_iterator(this, this->SkipAbsent(0)); }

    const_iterator end() const { return const_iterator(this, this->orderedKeys.size()); }

    // The keys of both, those of `a` first.
    static FastRangedIntegralSet Combine(const FastRangedIntegralSet& a, const FastRangedIntegralSet& b) {
        if (a.presentBits.empty() || b.presentBits.empty()) {
            return a.presentBits.empty() ? b : a;
        }
        std::vector<K> keys = a.ToKeyVector();
        const std::vector<K> more = b.ToKeyVector();
        keys.insert(keys.end(), more.begin(), more.end());
        FastRangedIntegralSet combined;
        combined.initialize(std::min(a.minKey, b.minKey), std::max(a.maxKey, b.maxKey));
        for (const K key : keys) {
            combined.insertInternal(key);
        }
        return combined;
    }

  private:
    friend const_iterator;

    const K& ElementAt(std::size_t position) const { return this->orderedKeys[position]; }
};

template <typename K>
inline const std::vector<K> FastRangedIntegralSet<K>::EmptyInitialValues = {};

template <typename K>
inline const FastRangedIntegralSet<K> FastRangedIntegralSet<K>::EmptySet = {};

template <typename K, typename V>
class FastRangedIntegralMap : public FastRangedIntegralBase<K> {
  public:
    // A value may be a reference, or constant.
    using Pair = std::pair<K, V>;

    using const_iterator = FastRangedIntegralIterator<FastRangedIntegralMap, Pair>;

    // A map of references or constants is fixed to them: it can be copied, but not assigned.
    FastRangedIntegralMap() = default;
    FastRangedIntegralMap(const FastRangedIntegralMap&) = default;
    FastRangedIntegralMap& operator=(const FastRangedIntegralMap&) requires(
        !std::is_reference_v<V> && !std::is_const_v<V>) = default;
    ~FastRangedIntegralMap() override = default;

    void initialize(K a, K b) override {
        FastRangedIntegralBase<K>::initialize(a, b);
        values.clear();
        orphanCount = 0;
        keyToValueIndex.assign(this->RangeSize(), 0);
    }

    // A key that is there gets the new value and keeps its place. A key out of range changes nothing.
    void insert(K key, const std::remove_reference_t<V>& value) requires(!std::is_reference_v<V>) {
        Append(key, value);
    }

    void insert(K key, V value) requires(std::is_reference_v<V>) { Append(key, value); }

    bool erase(K key) override {
        if (!FastRangedIntegralBase<K>::erase(key)) {
            return false;
        }
        ++orphanCount;
        return true;
    }

    // The value, or null if the key isn't there.
    std::remove_reference_t<V>* Find(K key) {
        return this->contains(key) ? std::addressof(values[keyToValueIndex[this->OffsetOf(key)]].second)
                                   : nullptr;
    }

    const std::remove_reference_t<V>* Find(K key) const {
        return this->contains(key) ? std::addressof(PairOf(key).second) : nullptr;
    }

    const_iterator begin() const { return const_iterator(this, this->SkipAbsent(0)); }

    const_iterator end() const { return const_iterator(this, this->orderedKeys.size()); }

    std::vector<std::remove_cv_t<std::remove_reference_t<V>>> ToValueVector() const {
        std::vector<std::remove_cv_t<std::remove_reference_t<V>>> live;
        live.reserve(this->count);
        for (const Pair& pair : *this) {
            live.push_back(pair.second);
        }
        return live;
    }

    // Drops the pairs of erased and replaced keys.
    void cleanOrphanedValues() {
        if (orphanCount == 0) {
            return;
        }
        // Nothing changes before all pairs are copied: should a copy fail, the map stays as it was.
        std::vector<Pair> live;
        live.reserve(this->count);
        for (const Pair& pair : *this) {
            live.push_back(pair);
        }
        values.swap(live);
        for (std::size_t i = 0; i < values.size(); ++i) {
            keyToValueIndex[this->OffsetOf(values[i].first)] = i;
        }
        orphanCount = 0;
    }

  private:
    friend const_iterator;

    // A key enters a map with its value only.
    using FastRangedIntegralBase<K>::insertInternal;

    // As many dead pairs are tolerated before the list is rebuilt.
    static constexpr std::size_t MaxOrphanCount = 32;

    // The key must be there: the index of any other may be stale.
    const Pair& PairOf(K key) const { return values[keyToValueIndex[this->OffsetOf(key)]]; }

    const Pair& ElementAt(std::size_t position) const { return PairOf(this->orderedKeys[position]); }

    template <typename Value>
    void Append(K key, Value& value) {
        const std::size_t offset = this->OffsetOf(key);
        if (offset >= keyToValueIndex.size()) {
            return;
        }
        const bool wasPresent = this->contains(key);
        if (wasPresent && std::addressof(values[keyToValueIndex[offset]].second) == std::addressof(value)) {
            return;
        }
        values.emplace_back(key, value);
        this->insertInternal(key);
        orphanCount += wasPresent ? 1 : 0;
        keyToValueIndex[offset] = values.size() - 1;
        if (orphanCount > MaxOrphanCount) {
            cleanOrphanedValues();
        }
    }

    std::vector<std::size_t> keyToValueIndex;
    std::vector<Pair> values;
    // Pairs in values whose key was erased or got another value.
    std::size_t orphanCount = 0;
};

} // namespace Velkori_Utility
