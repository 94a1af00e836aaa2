#include "shared/FastRangedIntegralContainers.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

using namespace Velkori_Utility;

namespace {

using IntSet = FastRangedIntegralSet<int>;
using TextMap = FastRangedIntegralMap<int, std::string>;

constexpr int Lowest = std::numeric_limits<int>::min();
constexpr int Highest = std::numeric_limits<int>::max();

IntSet SetOver(int min, int max) {
    return IntSet(min, max, IntSet::EmptyInitialValues);
}

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
    };

    for (const auto& [min, max] :
        {Case{0, 31}, Case{-5, 5}, Case{7, 7}, Case{Lowest, Lowest + 40}, Case{Highest - 40, Highest}}) {
        IntSet set = SetOver(max, min);
        EXPECT_EQ(set.GetMinKey(), min);
        EXPECT_EQ(set.begin(), set.end());
        EXPECT_FALSE(set.erase(min));
        for (const int key : {min, max, Lowest, Highest, 0}) {
            set.insertInternal(key);
            EXPECT_EQ(set.contains(key), key >= min && key <= max) << key << " in " << min << " to " << max;
            EXPECT_EQ(set.erase(key), key >= min && key <= max);
        }
    }
    IntSet uninitialised;
    uninitialised.insertInternal(0);
    EXPECT_FALSE(uninitialised.contains(0));
    uninitialised.Clear();
    EXPECT_FALSE(uninitialised.erase(0));
}

TEST(FastRangedIntegralSet, InitialValuesWidenTheRange) {
    const IntSet ignoresBounds(0, 0, {5, 9});
    EXPECT_EQ(ignoresBounds.GetMinKey(), 5);
    EXPECT_EQ(ignoresBounds.GetMaxKey(), 9);
    const IntSet widened(0, 7, {9, 3});
    EXPECT_EQ(widened.GetMinKey(), 0);
    EXPECT_EQ(widened.GetMaxKey(), 9);
    const IntSet combined = IntSet::Combine(widened, IntSet(0, 0, {-4, 3}));
    EXPECT_EQ(combined.ToKeyVector(), (std::vector<int>{9, 3, -4}));
    EXPECT_EQ(IntSet::Combine(IntSet::EmptySet, IntSet::EmptySet).Size(), 0U);
}

TEST(FastRangedIntegralSet, AKeyThatComesBackKeepsItsPlace) {
    IntSet set = SetOver(0, 5);
    set.insertInternal(3);
    set.insertInternal(1);
    set.erase(3);
    EXPECT_EQ(set.ToKeyVector(), std::vector<int>{1});
    set.insertInternal(3);
    EXPECT_EQ(set.ToKeyVector(), (std::vector<int>{3, 1}));
    set.Clear();
    set.insertInternal(1);
    set.insertInternal(3);
    EXPECT_EQ(set.ToKeyVector(), (std::vector<int>{1, 3})) << "clearing forgets the places";
}

TEST(FastRangedIntegralMap, BehavesLikeAListAndAHashMap) {
    std::mt19937 random(7);
    for (const int min : {0, -70, Lowest, Highest - 99}) {
        FastRangedIntegralMap<int, int> map;
        map.initialize(min, min + 99);
        Model model;
        for (int step = 0; step < 5000; ++step) {
            const int key = min + static_cast<int>(random() % 100);
            if (random() % 3 == 0) {
                EXPECT_EQ(map.erase(key), model.values.erase(key) == 1);
            } else {
                map.insert(key, step);
                model.Insert(key, step);
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
    TextMap map(0, 3, TextMap::EmptyInitialValues);
    map.insert(2, "other");
    map.insert(1, "0");

    for (int i = 1; i <= 32; ++i) {
        map.insert(1, std::to_string(i));
    }
    EXPECT_EQ(map.GetOrphanCount(), 32U);
    map.insert(1, *map.Find(1));
    EXPECT_EQ(map.GetOrphanCount(), 32U) << "a key's own value changes nothing";
    map.insert(1, "33");
    EXPECT_EQ(map.GetOrphanCount(), 0U);
    EXPECT_EQ(map.ToValueVector(), (std::vector<std::string>{"other", "33"}));
}

TEST(FastRangedIntegralMap, IgnoresKeysOutOfRange) {
    TextMap map(0, 3, TextMap::EmptyInitialValues);
    map.insert(4, "beyond");
    map.insert(-1, "below");
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.Find(4), nullptr);
    TextMap uninitialised;
    uninitialised.insert(0, "nowhere");
    EXPECT_EQ(uninitialised.Find(0), nullptr);
}

TEST(FastRangedIntegralMap, HoldsReferencesAndConstants) {
    struct Immovable {
        const int number;
    };

    const Immovable one = {1};
    FastRangedIntegralMap<int, const Immovable&> references;
    references.initialize(0, 2);
    references.insert(1, one);
    EXPECT_EQ(references.Find(1), &one);
    FastRangedIntegralMap<int, const Immovable> constants;
    constants.initialize(0, 2);
    for (int i = 0; i < 40; ++i) {
        constants.insert(1, Immovable{i});
    }
    EXPECT_EQ(constants.Find(1)->number, 39);
    const TextMap fromHashMap(0, 0, {{4, "four"}, {8, "eight"}});
    EXPECT_EQ(fromHashMap.GetMinKey(), 4);
    EXPECT_EQ(fromHashMap[8].second, "eight");
}
