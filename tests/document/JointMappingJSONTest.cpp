#include "document/JointMappingJSON.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/TestMappings.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

using namespace Velkori_Utility;
using namespace TestMappings;

namespace {

using Texts = std::vector<std::string>;

const std::string Prefix = "[JointMappingData::CreateFromJSON] ";

Texts Prefixed(Texts messages) {
    for (std::string& message : messages) {
        message.insert(0, Prefix);
    }
    return messages;
}

Mappings Read(const std::string& document, LogMsgMap& messages) {
    return ReadJointMappings(messages, "min", Parse(document), SourceParams(), TargetParams());
}

} // namespace

TEST(JointMappingJSON, ReadsTheSimpleAndTheDoubleForm) {
    const LogCapture capture;
    LogMsgMap messages;
    const Mappings mappings = Read(R"({"min":{
        "Skull":{"target":{"behavior":"ikDerived",
                           "mappings":{"Jaw":{"weightPosition":0.5,"weightRotation":0}}},
                 "source":{"behavior":"twist",
                           "mappings":{"head":{"weightRotation":0.25,"weightPosition":2},
                                       "hips":{"weightRotation":1e300,"weightPosition":0}}}},
        "Pelvis":{"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}},
        "Torso":{"type":"target","behavior":"childAlignedTwist",
                 "mappings":{"Pelvis":{"weightPosition":-3},"Jaw":true}}}})",
        messages);
    EXPECT_TRUE(messages.empty());
    // Weights that are missing are 1.
    const std::string mistyped =
        "[ERROR]: Cannot retrieve JSON double Value, rapidJson Value is of type bool";
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[ERROR]: Cannot find key named \"weightRotation\" in JSON Object/Map", mistyped, mistyped}));
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(RowsOf(mappings),
        (Rows{{2, Source, Twist, {{2, 0.25F, 2.0F}, {0, Infinity, 0.0F}}},
            {0, Source, Normal, {{0, 1.0F, 1.0F}}}, {2, Target, IKDerived, {{3, 0.0F, 0.5F}}},
            {1, Target, AlignedTwist, {{0, 1.0F, -3.0F}, {3, 1.0F, 1.0F}}}}));
}

TEST(JointMappingJSON, ReportsWhatItCannotUseAndGoesOn) {
    const std::string good = R"("mappings":{"hips":{"weightRotation":1,"weightPosition":1}})";
    const std::string noneLeft =
        "No Valid Mapping Entries defined for min joint mapping. Skipping joint mapping.";

    struct Case {
        std::string mapping;
        Texts errors;
        Texts warnings;
        // Of the mappings, besides the one that always follows.
        std::size_t usable;
    };

    const Case cases[] = {
        {R"("Jaw":[])", {"Mapping Entries must be JSON object / map type. Found type arrayfor key \"Jaw\""},
            {}, 0},
        // A name doesn't end at its first NUL.
        {R"("Jaw\u0000":{)" + good + "}",
            {"Mapping Entry - Cannot find Target Joint named \"Jaw" + std::string(1, '\0') + "\""}, {}, 0},
        {R"("Jaw":{"type":"middle",)" + good + "}",
            {"Unknown Input Skeleton Type \"middle\" for min joint mapping."}, {}, 0},
        {R"("Jaw":{"behavior":"wild",)" + good + "}", {},
            {"Unknown Blend Behavior \"wild\" for min joint mapping.  Falling back to use Normal Blend "
             "Behavior."},
            1},
        {R"("Jaw":{"source":{)" + good + R"(},"type":"target"})", {},
            {"Unexpected key \"type\" in Mapping Entry for Target Joint named \"Jaw\".  Skipping Entry."}, 1},
        {R"("Jaw":{)" + good + R"(},"Jaw":{"source":{)" + good + "}}", {},
            {"Duplicate min Mapping Entry for Target Joint named \"Jaw\".  Skipping Duplicate."}, 1},
        {R"("Jaw":{"source":{)" + good + R"(},"target":7})", {}, {noneLeft}, 1},
        {R"("Jaw":{"source":7,)" + good + "}", {}, {}, 1},
        {R"("Jaw":{"mappings":{"Skull":{},"spine":{"weightRotation":0,"weightPosition":1e-60}}})",
            {"Could not find source joint named \"Skull\" in min joint mapping."},
            {"Mapping entry for source joint named \"spine\" in min joint mapping has zero position weight "
             "and zero rotation weight.  Skipping entry.",
                noneLeft},
            0},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        const Mappings mappings =
            Read(R"({"min":{)" + each.mapping + R"(,"Torso":{)" + good + "}}}", messages);
        EXPECT_EQ(messages[LogMsgCategory::Error], Prefixed(each.errors)) << each.mapping;
        EXPECT_EQ(messages[LogMsgCategory::Warning], Prefixed(each.warnings)) << each.mapping;
        EXPECT_EQ(mappings.size(), each.usable + 1) << each.mapping;
    }
}

TEST(JointMappingJSON, AnAbsentPartIsSilentAndAMistypedOneIsAnError) {
    const std::string mistyped = "Cannot parse Joint Mapping data.Must be an Object / Map JSON type.Type is ";
    const std::tuple<const char*, Texts, Texts> cases[] = {
        {"{}", {}, {}},
        {R"({"max":{}})", {"[ERROR]: Cannot find key named \"min\" in JSON Object/Map"}, {}},
        {"[]", {}, {"Invalid mapping data.  Structure is not a JSON object/map."}},
        {R"({"min":5})", {}, {mistyped + "number"}},
        {R"({"min":true})",
            {"[ERROR]: JSON value for key \"min\" type mismatch.  Expected object, found bool."}, {}},
    };
    const LogCapture capture;
    for (const auto& [document, lines, errors] : cases) {
        LogMsgMap messages;
        EXPECT_TRUE(Read(document, messages).empty()) << document;
        EXPECT_EQ(LogCapture::TakeTexts(), lines) << document;
        EXPECT_EQ(messages[LogMsgCategory::Error], Prefixed(errors)) << document;
    }
}

TEST(JointMappingJSON, ReferencesToAnEmptySkeletonAreErrors) {
    const std::string mapping = R"({"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}})";
    const JSONDocument document = Parse(R"({"max":{"Jaw":)" + mapping + R"(,"Torso":)" + mapping + "}}");
    const TestSkeletons::Params empty;
    const auto errors = [&](const TestSkeletons::Params& source, const TestSkeletons::Params& target) {
        LogMsgMap messages;
        EXPECT_TRUE(ReadJointMappings(messages, "max", document, source, target).empty());
        return messages[LogMsgCategory::Error];
    };
    EXPECT_EQ(
        errors(SourceParams(), empty), Texts{Prefix + "Invalid mapping data. Target Skeleton is empty."})
        << "said once, not per mapping";
    const auto refersToEmpty = [](const std::string& joint) {
        return Prefix + "Mapping Entry for Target Joint named \"" + joint +
               "\" has references to empty \"source\" skeleton.";
    };
    EXPECT_EQ(errors(empty, TargetParams()), (Texts{refersToEmpty("Jaw"), refersToEmpty("Torso")}));
}
