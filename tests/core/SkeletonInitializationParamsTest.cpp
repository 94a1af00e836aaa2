#include "core/SkeletonInitializationParams.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;
using Params = SkeletonInitializationParams;

// A valid chain: hips, spine, head.
Params ValidParams() {
    Params params;
    params.jointNames = {"hips", "spine", "head"};
    params.parentJointNames = {"", "hips", "spine"};
    params.minTPose = params.maxTPose = params.unscaledTPose = std::vector<JointPose>(3);
    return params;
}

Texts FaultsOf(const Params& params) {
    LogMsgMap messages;
    const bool valid = params.CheckIsValid(messages);
    EXPECT_EQ(valid, messages.empty());
    return messages[LogMsgCategory::Error];
}

} // namespace

TEST(SkeletonParamsValidation, ReportsEveryFaultInItsOwnWords) {
    struct Case {
        std::function<void(Params&)> damage;
        Texts faults;
    };

    const Case cases[] = {
        {[](Params&) {}, {}},
        {[](Params& p) { p = {}; }, {}},
        {[](Params& p) { p.jointNames[2] = ""; }, {"Skeleton cannot have empty strings for joint names"}},
        {[](Params& p) { p.jointNames[2] = "hips", p.parentJointNames.resize(2); },
            {"Duplicate joint names defined."}},
        {[](Params& p) { p.parentJointNames.resize(2); },
            {"ParentJoint index mismatch detected - ParentJoint Array must match Joint Names size.",
                "Parent Joint not specified for: head"}},
        {[](Params& p) { p.parentJointNames.clear(); },
            {"Parent Joint not specified for: hips", "Parent Joint not specified for: spine",
                "Parent Joint not specified for: head"}},
        {[](Params& p) { p.parentJointNames[1] = "pelvis"; },
            {"Could not find parent joint named: pelvis", "Parent Joint not specified for: spine"}},
        {[](Params& p) {
             p.parentJointNames = {"head", "hips", "hips"};
         },
            {"Circular joint dependency detected for \"hips\" at \"hips\"",
                "Circular joint dependency detected for \"spine\" at \"hips\"",
                "Circular joint dependency detected for \"head\" at \"head\""}},
        {[](Params& p) { p.knownJointNames = {"hips"}; },
            {"Invalid Known Joint IDs specified.  Vector must either be empty or size: 12"}},
        {[](Params& p) {
             p.knownJointNames = {"", "tail", "tail", "hips", "", "", "", "", "", "", "", "hips"};
         },
            {"Could not find known joint hips named: tail",
                "Could not find known joint rightUpperArm named: tail",
                "Duplicate joint \"tail\" specified for multiple known joint IDs.",
                "Duplicate joint \"hips\" specified for multiple known joint IDs."}},
        {[](Params& p) {
             p.autoMappingExcludedJoints = {"hips", "", "tail"};
         },
            {"AutoMapping Excluded Joints cannot contain empty joint names",
                "Could not find AutoMapping Excluded joint named: tail"}},
        {[](Params& p) { p.minTPose.resize(2), p.maxTPose.resize(4), p.unscaledTPose.resize(1); },
            {"MinTPose does not match the number of joints defined.  Found: 2 Expected: 3",
                "MaxTPose does not match the number of joints defined.  Found: 4 Expected: 3",
                "UnscaledTPose does not match the number of joints defined.  Found: 1 Expected: 3"}},
        {[](Params& p) { p.maxTPose.clear(); },
            {"Min and Max T-Pose must both be defined if either is defined."}},
        {[](Params& p) {
             p.manifestations.Insert("", {"tail"});
             p.manifestations.Insert("upper", {"head", "tail", "head"});
         },
            {"Manifestations must have a valid string as a name.",
                "Invalid joint name \"tail\" specified in manifestation \"\"",
                "Invalid joint name \"tail\" specified in manifestation \"upper\"",
                "Duplicate joint name \"head\" specified in manifestation \"upper\""}},
        // All rules run, whatever the earlier ones found.
        {[](Params& p) {
             p.parentJointNames = {"spine", "hips", "head"};
             p.minTPose.clear();
         },
            {"Circular joint dependency detected for \"hips\" at \"hips\"",
                "Circular joint dependency detected for \"spine\" at \"spine\"",
                "Circular joint dependency detected for \"head\" at \"head\"",
                "Min and Max T-Pose must both be defined if either is defined."}},
    };
    for (const Case& each : cases) {
        Params params = ValidParams();
        each.damage(params);
        Texts faults;
        for (const std::string& fault : each.faults) {
            faults.push_back("SKELETON: " + fault);
        }
        EXPECT_EQ(FaultsOf(params), faults);
    }
}

TEST(SkeletonParamsValidation, MessagesHaveABudget) {
    // Each of these messages repeats a name of a megabyte.
    Params params = ValidParams();
    params.manifestations.Insert(std::string(1000000, 'x'), Texts(10000, ""));
    LogMsgMap messages;
    EXPECT_FALSE(params.CheckIsValid(messages));
    EXPECT_LT(messages.textSize, MaxMessageTextSize + 2000000);
    EXPECT_EQ(messages[LogMsgCategory::Error].back(), "There are more messages, which are left out.");
}

TEST(SkeletonParamsValidation, ClimbsEachJointOnceWhateverTheShape) {
    // One circle of many joints: climbing from each of them all around would take the square of their number.
    constexpr int Count = 200000;
    Params params;
    for (int i = 0; i < Count; ++i) {
        params.jointNames.push_back(std::to_string(i));
        params.parentJointNames.push_back(std::to_string((i + 1) % Count));
    }
    EXPECT_EQ(FaultsOf(params).size(), static_cast<std::size_t>(Count));
}
