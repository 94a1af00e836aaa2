#include "shared/FastRangedIntegralContainers.h"

#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <unordered_map>

using namespace Velkori_Utility;

namespace {

using IntSet = FastRangedIntegralSet<int>;
using TextMap = FastRangedIntegralMap<int, std::string>;

constexpr int Lowest = std::numeric_limits<int>::min();
constexpr int Highest = std::numeric_limits<int>::max();

static_assert(std::forward_iterator<IntSet::const_iterator>);
static_assert(std::forward_iterator<TextMap::const_iterator>);
static_assert(std::forward_iterator<FastRangedIntegralMap<int, const std::string&>::const_iterator>);
static_assert(!std::is_copy_assignable_v<FastRangedIntegralMap<int, const std::string&>>);
static_assert(!std::is_copy_assignable_v<FastRangedIntegralMap<int, const std::string>>);

// Tells how many words its membership takes.
struct WordCountingSet : IntSet {
    using IntSet::IntSet;

    std::size_t CountWords() const { return presentBits.size(); }
};

// The same container, told in the plainest way.
struct Model {
    void Insert(int key, int value) {
        if (std::find(order.begin(), order.end(), key) == order.end()) {
            order.push_back(key);
        }
        values[key] = value;
    }

    std::vector<std::pair<int, int>> Pairs() const {
        std::vector<std::pair<int, int>> pairs;
        for (const int key : order) {
            if (values.contains(key)) {
                pairs.emplace_back(key, values.at(key));
            }
        }
        return pairs;
    }

    std::vector<int> order;
    std::unordered_map<int, int> values;
};

} // namespace

TEST(FastRangedIntegralSet, HoldsItsRangeWithBothEndsAndNothingElse) {
    struct Case {
        int min;
        int max;
        std::size_t wordCount;
    };

    for (const auto& [min, max, wordCount] : {Case{0, 30, 1}, Case{0, 31, 2}, Case{-5, 5, 1}, Case{7, 7, 1},
             Case{Lowest, Lowest + 63, 3}, Case{Highest - 40, Highest, 2}}) {
        WordCountingSet set(min, max, IntSet::EmptyInitialValues);
        EXPECT_EQ(set.CountWords(), wordCount);
        set.initialize(max, min);
        EXPECT_EQ(set.begin(), set.end());
        EXPECT_FALSE(set.erase(min));
        for (const int key : {min, max, Lowest, Highest, 0, 6, 31}) {
            const bool isInRange = key >= min && key <= max;
            set.insertInternal(key);
            EXPECT_EQ(set.contains(key), isInRange) << key << " in " << min << " to " << max;
            EXPECT_EQ(set.erase(key), isInRange);
        }
    }
    IntSet uninitialised;
    uninitialised.Clear();
    uninitialised.insertInternal(0);
    EXPECT_FALSE(uninitialised.contains(0));
    EXPECT_FALSE(uninitialised.erase(0));
}

TEST(FastRangedIntegralSet, InitialValuesWidenTheRange) {
    const std::tuple<IntSet, int, int> cases[] = {
        {IntSet(0, 0, {5, 9}), 5, 9}, // bounds that span nothing don't count
        {IntSet(0, 7, {9, 3}), 0, 9},
        {IntSet(0, 12, {9, 3}), 0, 12},
    };
    for (auto [set, min, max] : cases) {
        for (const int key : {min - 1, min, max, max + 1}) {
            set.insertInternal(key);
            EXPECT_EQ(set.contains(key), key >= min && key <= max) << key << " in " << min << " to " << max;
        }
    }
    const IntSet set(0, 7, {9, 3});
    EXPECT_EQ(IntSet::Combine(set, IntSet(0, 0, {-4, 3})).ToKeyVector(), (std::vector<int>{9, 3, -4}));
    EXPECT_EQ(IntSet::Combine(IntSet::EmptySet, set).ToKeyVector(), (std::vector<int>{9, 3}));
    EXPECT_EQ(IntSet::Combine(set, IntSet::EmptySet).ToKeyVector(), (std::vector<int>{9, 3}));
    EXPECT_TRUE(IntSet::Combine(IntSet::EmptySet, IntSet::EmptySet).IsEmpty());
}

TEST(FastRangedIntegralMap, BehavesLikeAListAndAHashMapThatIgnoreKeysOutOfRange) {
    std::mt19937 random(7);
    for (const int min : {0, -70, Lowest, Highest - 99}) {
        FastRangedIntegralMap<int, int> map;
        map.insert(min, 0);
        EXPECT_EQ(map.Find(min), nullptr) << "nothing is kept before there is a range";
        map.initialize(min, min + 99);
        Model model;
        for (int step = 0; step < 5000; ++step) {
            if (step % 1500 == 1499) {
                map.Clear();
                model = {};
            }
            // At the ends of the integers, keys beyond the range come round at the other end.
            const int key = static_cast<int>(static_cast<unsigned>(min) + random() % 140U - 20U);
            if (random() % 3 == 0) {
                EXPECT_EQ(map.erase(key), model.values.erase(key) == 1);
            } else {
                map.insert(key, step);
                if (key >= min && key <= min + 99) {
                    model.Insert(key, step);
                }
            }
            ASSERT_EQ(map.Size(), model.values.size());
            ASSERT_EQ(map.contains(key), model.values.contains(key));
            if (step % 100 == 0) {
                ASSERT_EQ((std::vector<std::pair<int, int>>(map.begin(), map.end())), model.Pairs());
            }
        }
    }
}

TEST(FastRangedIntegralMap, DeadPairsAreDroppedAtTheThirtyThird) {
    static int aliveCount = 0;

    struct Text : std::string {
        explicit Text(const std::string& text) : std::string(text) { ++aliveCount; }

        Text(const Text& other) : std::string(other) { ++aliveCount; }

        ~Text() { --aliveCount; }
    };

    FastRangedIntegralMap<int, Text> map;
    map.initialize(0, 3);
    const auto insert = [&](int key, const std::string& text) { map.insert(key, Text(text)); };
    insert(2, "other");
    insert(3, "erased");
    insert(1, "0");
    map.erase(3);
    for (int i = 1; i <= 31; ++i) {
        insert(1, std::to_string(i));
    }
    EXPECT_EQ(aliveCount, 2 + 32) << "erased and replaced ones count";
    map.insert(1, *map.Find(1));
    EXPECT_EQ(aliveCount, 2 + 32) << "a key's own value changes nothing";
    insert(1, "32");
    EXPECT_EQ(aliveCount, 2);
    EXPECT_EQ(map.ToValueVector(), (std::vector<Text>{Text("other"), Text("32")}));
    EXPECT_EQ(*map.Find(1), "32");
    for (const int missing : {3, 4, -1, Lowest, Highest}) {
        EXPECT_EQ(map.Find(missing), nullptr);
    }
}

TEST(FastRangedIntegralMap, StaysAsItWasWhenDroppingDeadPairsFails) {
    static bool canCopy = true;

    struct Text : std::string {
        using std::string::string;

        Text(const Text& other) : std::string(canCopy || other != "last" ? other : throw std::bad_alloc()) {}
    };

    FastRangedIntegralMap<int, Text> map;
    map.initialize(0, 1);
    for (const auto& [key, text] : {std::pair(0, "replaced"), std::pair(1, "last"), std::pair(0, "first")}) {
        map.insert(key, text);
    }
    canCopy = false;
    EXPECT_THROW(map.cleanOrphanedValues(), std::bad_alloc);
    EXPECT_EQ(*map.Find(0), "first");
    EXPECT_EQ(*map.Find(1), "last");
}

TEST(FastRangedIntegralMap, HoldsReferencesAndConstants) {
    struct Unassignable {
        const int number;
    };

    using References = FastRangedIntegralMap<int, const Unassignable&>;
    const Unassignable one = {1};
    const Unassignable two = {2};
    References references;
    references.initialize(4, 8);
    references.insert(4, one);
    references.insert(8, two);
    EXPECT_EQ(references.Find(4), &one);
    for (const auto& [key, value] : references) {
        EXPECT_EQ(&value, key == 4 ? &one : &two);
    }
    FastRangedIntegralMap<int, const Unassignable> constants;
    constants.initialize(0, 2);
    for (int i = 0; i < 40; ++i) {
        constants.insert(1, Unassignable{i});
    }
    EXPECT_EQ(constants.Find(1)->number, 39);
}

TEST(FastRangedIntegralContainers, RoomFor256KeysIsThereFromTheStartAndIsKept) {
    IntSet set(0, 299, IntSet::EmptyInitialValues);
    const auto fillSet = [&](int from, int to) {
        for (int key = from; key < to; ++key) {
            set.insertInternal(key);
        }
    };
    EXPECT_EQ(CountAllocations([&] { fillSet(0, 256); }), 0U);
    EXPECT_EQ(CountAllocations([&] { fillSet(256, 257); }), 1U);
    FastRangedIntegralMap<int, int> map;
    const auto fillMap = [&] {
        map.initialize(0, 499);
        for (int key = 0; key < 500; ++key) {
            map.insert(key, key);
        }
    };
    fillMap();
    EXPECT_EQ(CountAllocations(fillMap), 0U);
}
