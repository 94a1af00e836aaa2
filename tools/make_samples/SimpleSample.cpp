#include "Samples.h"

namespace {

// `legShare` is the length of the legs compared with the tracked body's.
Rig MakeBiped(velkori_Vector3f_ boneAxis, float legShare) {
    Rig rig(boneAxis);
    const int root = rig.Add("root", -1, {0, 0, 0}, BodyPart::Trunk);
    const int hips = rig.Add("hips", root, {0, 0.9F * legShare, 0}, BodyPart::Leg);
    const int chest = rig.AddChain({"spine", "chest"}, hips, {{0, 0.15F, 0}, {0, 0.2F, 0}}, BodyPart::Trunk);
    rig.AddChain({"neck", "head"}, chest, {{0, 0.2F, 0}, {0, 0.1F, 0.02F}}, BodyPart::Trunk);
    for (const auto& [side, sign] : {std::pair("left", -1.0F), std::pair("right", 1.0F)}) {
        const std::string prefix = side;
        rig.AddChain({prefix + "Shoulder", prefix + "UpperArm", prefix + "LowerArm", prefix + "Wrist"}, chest,
            {{sign * 0.05F, 0.12F, 0}, {sign * 0.13F, 0, 0}, {sign * 0.28F, 0, 0}, {sign * 0.26F, 0, 0}},
            BodyPart::Arm);
        rig.AddChain({prefix + "UpperLeg", prefix + "LowerLeg", prefix + "Ankle"}, hips,
            {{sign * 0.1F, -0.02F, 0}, {0, -0.42F * legShare, 0.01F}, {0, -0.4F * legShare, -0.02F}},
            BodyPart::Leg);
    }
    rig.knownJoints = {"root", "hips", "rightUpperArm", "leftUpperArm", "rightWrist", "leftWrist", "chest",
        "neck", "rightUpperLeg", "leftUpperLeg", "rightAnkle", "leftAnkle"};
    return rig;
}

} // namespace

Sample MakeSimpleSample() {
    const BodySize small = {0.85F, 0.85F, 0.85F, 0.85F};
    const BodySize large = {1.2F, 1.2F, 1.2F, 1.2F};
    Sample sample = {"simple biped", MakeBiped({1, 0, 0}, 1.0F), MakeBiped({0, 1, 0}, 0.9F), small, large,
        small, large, {}};
    for (const RigJoint& joint : sample.target.joints) {
        sample.mappings.push_back({joint.name, velkori_SkeletonType_Source,
            velkori_JointMappingBehaviorType_Normal, {{joint.name, 1, 1}}});
    }
    return sample;
}
