#include "Samples.h"

#include <array>

namespace {

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Normal = velkori_JointMappingBehaviorType_Normal;
constexpr auto Twist = velkori_JointMappingBehaviorType_Twist;
constexpr auto ChildAlignedTwist = velkori_JointMappingBehaviorType_ChildAlignedTwist;
constexpr auto IKDerived = velkori_JointMappingBehaviorType_IKDerived;

constexpr std::array<const char*, 4> Fingers = {"Index", "Middle", "Ring", "Little"};

struct Side {
    // Suffix of the character's joints, prefix of the tracked body's.
    std::string suffix;
    std::string prefix;
    // Of x: the body's right is positive.
    float sign;
};

const std::array<Side, 2> Sides = {{{"_L", "left", -1.0F}, {"_R", "right", 1.0F}}};

// -- The tracked body
// ------------------------------------------------------------------------------------------

void AddTrackedHand(Rig& rig, const Side& side, int wrist) {
    rig.Add(side.prefix + "Palm", wrist, {side.sign * 0.05F, 0, 0}, BodyPart::Hand);
    const std::string thumb = side.prefix + "Thumb";
    rig.AddChain({thumb + "Metacarpal", thumb + "Proximal", thumb + "Distal", thumb + "Tip"}, wrist,
        {{side.sign * 0.02F, -0.01F, 0.03F}, {side.sign * 0.03F, 0, 0.025F}, {side.sign * 0.03F, 0, 0.012F},
            {side.sign * 0.025F, 0, 0.008F}},
        BodyPart::Hand);
    for (std::size_t i = 0; i < Fingers.size(); ++i) {
        const std::string finger = side.prefix + Fingers[i];
        const float across = 0.025F - 0.018F * static_cast<float>(i);
        rig.AddChain({finger + "Metacarpal", finger + "Proximal", finger + "Intermediate", finger + "Distal",
                         finger + "Tip"},
            wrist,
            {{side.sign * 0.025F, 0, across}, {side.sign * 0.06F, 0, 0.2F * across},
                {side.sign * 0.038F, 0, 0}, {side.sign * 0.024F, 0, 0}, {side.sign * 0.022F, 0, 0}},
            BodyPart::Hand);
    }
}

Rig MakeTrackedBody() {
    Rig rig({1, 0, 0});
    const int root = rig.Add("root", -1, {0, 0, 0}, BodyPart::Trunk);
    const int hips = rig.Add("hips", root, {0, 0.95F, 0}, BodyPart::Leg);
    const int chest = rig.AddChain({"spine1", "spine2", "spine3", "chest"}, hips,
        {{0, 0.09F, -0.01F}, {0, 0.11F, 0}, {0, 0.11F, 0}, {0, 0.1F, 0.01F}}, BodyPart::Trunk);
    rig.AddChain({"neck1", "neck2", "head", "headTop"}, chest,
        {{0, 0.15F, 0}, {0, 0.05F, 0.01F}, {0, 0.06F, 0.01F}, {0, 0.18F, 0}}, BodyPart::Trunk);
    for (const Side& side : Sides) {
        const int wrist =
            rig.AddChain({side.prefix + "Clavicle", side.prefix + "UpperArm", side.prefix + "LowerArm",
                             side.prefix + "WristTwist", side.prefix + "Wrist"},
                chest,
                {{side.sign * 0.03F, 0.1F, 0}, {side.sign * 0.14F, 0.02F, -0.01F}, {side.sign * 0.28F, 0, 0},
                    {side.sign * 0.13F, 0, 0.005F}, {side.sign * 0.13F, 0, 0.005F}},
                BodyPart::Arm);
        AddTrackedHand(rig, side, wrist);
        const int ankle =
            rig.AddChain({side.prefix + "UpperLeg", side.prefix + "LowerLeg", side.prefix + "Ankle"}, hips,
                {{side.sign * 0.09F, -0.05F, 0}, {0, -0.42F, 0.01F}, {0, -0.41F, -0.02F}}, BodyPart::Leg);
        rig.AddChain({side.prefix + "ToeBase", side.prefix + "ToeTip"}, ankle,
            {{0, -0.06F, 0.13F}, {0, 0, 0.07F}}, BodyPart::Leg);
        rig.Add(side.prefix + "Heel", ankle, {0, -0.06F, -0.05F}, BodyPart::Leg);
    }
    rig.knownJoints = {"root", "hips", "rightUpperArm", "leftUpperArm", "rightWrist", "leftWrist", "chest",
        "neck1", "rightUpperLeg", "leftUpperLeg", "rightAnkle", "leftAnkle"};
    return rig;
}

// -- The character
// ---------------------------------------------------------------------------------------------

void AddCharacterHand(Rig& rig, const Side& side, int hand) {
    const auto names = [&](const std::string& finger) {
        return std::vector<std::string>{finger + "1" + side.suffix, finger + "2" + side.suffix,
            finger + "3" + side.suffix, finger + "Tip" + side.suffix};
    };
    rig.AddChain(names("Thumb"), hand,
        {{side.sign * 0.03F, -0.01F, 0.035F}, {side.sign * 0.035F, 0, 0.02F}, {side.sign * 0.03F, 0, 0.01F},
            {side.sign * 0.025F, 0, 0.005F}},
        BodyPart::Hand);
    for (std::size_t i = 0; i < Fingers.size(); ++i) {
        const float across = 0.032F - 0.022F * static_cast<float>(i);
        rig.AddChain(names(Fingers[i]), hand,
            {{side.sign * 0.1F, 0, across}, {side.sign * 0.04F, 0, 0}, {side.sign * 0.027F, 0, 0},
                {side.sign * 0.024F, 0, 0}},
            BodyPart::Hand);
    }
}

// A limb bone of the given length with a twist joint halfway along it.
int AddTwistedBone(Rig& rig, const std::string& bone, const std::string& twist, int parent,
    velkori_Vector3f_ offset, velkori_Vector3f_ length, BodyPart part) {
    const int joint = rig.Add(bone, parent, offset, part);
    rig.Add(twist, joint, {0.5F * length.x, 0.5F * length.y, 0.5F * length.z}, part);
    return joint;
}

void AddCharacterLimbs(Rig& rig, const Side& side, int chest, int hips) {
    const std::string& s = side.suffix;
    const velkori_Vector3f_ upperArm = {side.sign * 0.3F, 0, 0};
    const velkori_Vector3f_ foreArm = {side.sign * 0.27F, 0, 0.01F};
    const velkori_Vector3f_ thigh = {0, -0.46F, 0.01F};
    const velkori_Vector3f_ shin = {0, -0.43F, -0.02F};
    const int clavicle = rig.Add("Clavicle" + s, chest, {side.sign * 0.03F, 0.16F, 0}, BodyPart::Arm);
    const int arm = AddTwistedBone(rig, "UpperArm" + s, "UpperArmTwist" + s, clavicle,
        {side.sign * 0.15F, 0.01F, 0}, upperArm, BodyPart::Arm);
    const int elbow =
        AddTwistedBone(rig, "ForeArm" + s, "ForeArmTwist" + s, arm, upperArm, foreArm, BodyPart::Arm);
    const int hand = rig.Add("Hand" + s, elbow, foreArm, BodyPart::Arm);
    AddCharacterHand(rig, side, hand);
    const int leg = AddTwistedBone(
        rig, "Thigh" + s, "ThighTwist" + s, hips, {side.sign * 0.1F, -0.06F, 0}, thigh, BodyPart::Leg);
    const int knee = AddTwistedBone(rig, "Shin" + s, "ShinTwist" + s, leg, thigh, shin, BodyPart::Leg);
    rig.AddChain({"Foot" + s, "Toe" + s}, knee, {shin, {0, -0.06F, 0.15F}}, BodyPart::Leg);
}

Rig MakeCharacter() {
    Rig rig({0, 1, 0});
    const int root = rig.Add("Root", -1, {0, 0, 0}, BodyPart::Trunk);
    const int hips = rig.Add("Hips", root, {0, 1.02F, 0}, BodyPart::Leg);
    const int chest = rig.AddChain({"Spine01", "Spine02", "Chest"}, hips,
        {{0, 0.1F, 0}, {0, 0.14F, -0.01F}, {0, 0.16F, 0.01F}}, BodyPart::Trunk);
    const int head =
        rig.AddChain({"Neck", "Head"}, chest, {{0, 0.2F, 0}, {0, 0.11F, 0.02F}}, BodyPart::Trunk);
    rig.Add("Jaw", head, {0, 0.01F, 0.06F}, BodyPart::Trunk);
    for (const Side& side : Sides) {
        rig.Add("Eye" + side.suffix, head, {side.sign * 0.03F, 0.07F, 0.08F}, BodyPart::Trunk);
        AddCharacterLimbs(rig, side, chest, hips);
    }
    rig.Add("Prop_R", rig.IndexOf("Hand_R"), {0.09F, -0.03F, 0}, BodyPart::Hand);
    rig.knownJoints = {"Root", "Hips", "UpperArm_R", "UpperArm_L", "Hand_R", "Hand_L", "Chest", "Neck",
        "Thigh_R", "Thigh_L", "Foot_R", "Foot_L"};
    rig.blendShapes = {"jawOpen", "mouthSmile_L", "mouthSmile_R", "mouthFrown_L", "mouthFrown_R",
        "mouthPucker", "eyeBlink_L", "eyeBlink_R", "browRaise_L", "browRaise_R", "browLower_L",
        "browLower_R"};
    rig.excludedJoints = {"Prop_R"};
    return rig;
}

// -- What belongs together
// ----------------------------------------------------------------------------------------

// All joints from the hips up, without the legs.
RigManifestation MakeUpperBody(const Rig& rig, BodyPart legs, const std::string& hips) {
    RigManifestation upperBody = {"upperBody", {hips}};
    for (const RigJoint& joint : rig.joints) {
        if (joint.part != legs && joint.parent != -1) {
            upperBody.joints.push_back(joint.name);
        }
    }
    return upperBody;
}

NamedMapping Single(const std::string& target, const std::string& source,
    velkori_JointMappingBehaviorType behavior = Normal) {
    return {target, Source, behavior, {{source, 1, 1}}};
}

void MapTrunk(std::vector<NamedMapping>& mappings) {
    mappings.push_back(Single("Root", "root"));
    mappings.push_back(Single("Hips", "hips"));
    mappings.push_back({"Spine01", Source, Normal, {{"spine1", 0.5F, 0.5F}, {"spine2", 0.5F, 0.5F}}});
    mappings.push_back({"Spine02", Source, Normal,
        {{"spine2", 0.25F, 0.25F}, {"spine3", 0.5F, 0.5F}, {"chest", 0.25F, 0.25F}}});
    mappings.push_back(Single("Chest", "chest"));
    mappings.push_back({"Neck", Source, Normal, {{"neck1", 0.6F, 0.9F}, {"neck2", 0.4F, 0.1F}}});
    mappings.push_back(Single("Head", "head"));
}

void MapArm(std::vector<NamedMapping>& mappings, const Side& side) {
    const std::string& s = side.suffix;
    mappings.push_back(Single("Clavicle" + s, side.prefix + "Clavicle"));
    mappings.push_back(Single("UpperArm" + s, side.prefix + "UpperArm"));
    mappings.push_back(Single("ForeArm" + s, side.prefix + "LowerArm"));
    mappings.push_back(Single("Hand" + s, side.prefix + "Wrist"));
    mappings.push_back(
        {"UpperArmTwist" + s, Target, Twist, {{"UpperArm" + s, 0.5F, 0.5F}, {"ForeArm" + s, 0.5F, 0.5F}}});
    mappings.push_back(
        {"ForeArmTwist" + s, Target, Twist, {{"ForeArm" + s, 0.5F, 0.5F}, {"Hand" + s, 0.5F, 0.5F}}});
    const std::string thumb = side.prefix + "Thumb";
    mappings.push_back(Single("Thumb1" + s, thumb + "Metacarpal"));
    mappings.push_back(Single("Thumb2" + s, thumb + "Proximal"));
    mappings.push_back(Single("Thumb3" + s, thumb + "Distal"));
    mappings.push_back(Single("ThumbTip" + s, thumb + "Tip"));
    for (const std::string finger : Fingers) {
        const std::string tracked = side.prefix + finger;
        mappings.push_back(Single(finger + "1" + s, tracked + "Proximal"));
        mappings.push_back(Single(finger + "2" + s, tracked + "Intermediate"));
        mappings.push_back(Single(finger + "3" + s, tracked + "Distal"));
        mappings.push_back(Single(finger + "Tip" + s, tracked + "Tip"));
    }
}

void MapLeg(std::vector<NamedMapping>& mappings, const Side& side) {
    const std::string& s = side.suffix;
    mappings.push_back(Single("Thigh" + s, side.prefix + "UpperLeg"));
    mappings.push_back(Single("Shin" + s, side.prefix + "LowerLeg"));
    mappings.push_back(Single("Foot" + s, side.prefix + "Ankle"));
    mappings.push_back(Single("Toe" + s, side.prefix + "ToeBase", IKDerived));
    mappings.push_back(
        {"ThighTwist" + s, Target, Twist, {{"Thigh" + s, 0.5F, 0.5F}, {"Shin" + s, 0.5F, 0.5F}}});
    mappings.push_back(
        {"ShinTwist" + s, Target, Twist, {{"Shin" + s, 0.5F, 0.5F}, {"Foot" + s, 0.5F, 0.5F}}});
    // A share of the thigh's roll goes into the shin, which its own joint also drives.
    mappings.push_back(
        {"Shin" + s, Target, ChildAlignedTwist, {{"Thigh" + s, 0.25F, 0}, {"Shin" + s, 0.75F, 0}}});
}

} // namespace

Sample MakeFullSample() {
    Sample sample = {"tracked body to character", MakeTrackedBody(), MakeCharacter(),
        {0.88F, 0.86F, 0.9F, 0.82F}, {1.12F, 1.15F, 1.1F, 1.2F}, {0.9F, 0.88F, 0.92F, 0.85F},
        {1.15F, 1.12F, 1.08F, 1.18F}, {}};
    sample.source.manifestations = {MakeUpperBody(sample.source, BodyPart::Leg, "hips")};
    sample.target.manifestations = {MakeUpperBody(sample.target, BodyPart::Leg, "Hips")};
    MapTrunk(sample.mappings);
    for (const Side& side : Sides) {
        MapArm(sample.mappings, side);
        MapLeg(sample.mappings, side);
    }
    return sample;
}
