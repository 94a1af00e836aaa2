#include "interface/PublicRecordParameters.h"

#include "support/TestMappings.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;
using namespace TestMappings;

TEST(PublicRecordParameters, NullNamesKeepTheirPlace) {
    using Texts = std::vector<std::string>;
    const char* const names[] = {"a", nullptr, "c"};
    EXPECT_EQ(ToStringVectorFromCharPointerArrayAndSize(names, 3), (Texts{"a", "", "c"}));
    EXPECT_TRUE(ToStringVectorFromCharPointerArrayAndSize(nullptr, 3).empty());
    EXPECT_TRUE(ToStringVectorFromCharPointerArrayAndSize(names, -1).empty());
}

TEST(PublicRecordParameters, MappingsTakeTheFlatListOfEntriesInTurn) {
    const velkori_JointMapping_ heads[] = {{3, Source, Twist, 2}, {1, Target, Normal, 0},
        {0, static_cast<velkori_SkeletonType>(7), IKDerived, 1}};
    const velkori_JointMappingEntry_ entries[] = {{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}, {0, 0.5F, 0.6F}};
    // Any type but the source's is the target's.
    EXPECT_EQ(RowsOf(ConvertVelkoriMappingDefinitionToSerializedMapping({3, 3, heads, entries})),
        (Rows{{3, Source, Twist, {{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}}}, {1, Target, Normal, {}},
            {0, Target, IKDerived, {{0, 0.5F, 0.6F}}}}));
    EXPECT_TRUE(ConvertVelkoriMappingDefinitionToSerializedMapping({0, 0, nullptr, nullptr}).empty());
}
