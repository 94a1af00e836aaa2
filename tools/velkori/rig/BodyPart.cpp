#include "rig/BodyPart.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Velkori_Tool {

namespace {

struct PartWord {
    std::string_view word;
    BodyPart part;
    float fit = 0.0f;
    /** Whether the word means this only with a side (1), only without one (0), or either way (-1). */
    int needsSide = -1;
};

constexpr std::array partWords = std::to_array<PartWord>({
    {"root", BodyPart::Root, 1.0f},
    {"reference", BodyPart::Root, 0.9f},
    {"master", BodyPart::Root, 0.7f},
    {"armature", BodyPart::Root, 0.6f},
    {"origin", BodyPart::Root, 0.7f},
    {"hips", BodyPart::Hips, 1.0f},
    {"pelvis", BodyPart::Hips, 1.0f},
    {"hip", BodyPart::Hips, 0.9f, 0},
    {"spine", BodyPart::Spine, 1.0f},
    {"spine", BodyPart::Chest, 0.6f},
    {"spineupper", BodyPart::Chest, 0.8f},
    {"upperspine", BodyPart::Chest, 0.8f},
    {"abdomen", BodyPart::Spine, 1.0f},
    {"abdomenupper", BodyPart::Spine, 1.0f},
    {"abdomenlower", BodyPart::Spine, 1.0f},
    {"ab", BodyPart::Spine, 0.8f},
    {"waist", BodyPart::Spine, 1.0f},
    {"lowerback", BodyPart::Spine, 1.0f},
    {"back", BodyPart::Spine, 0.8f},
    {"torso", BodyPart::Spine, 0.6f},
    {"torso", BodyPart::Chest, 0.6f},
    {"chest", BodyPart::Chest, 1.0f},
    {"upperchest", BodyPart::Chest, 1.0f},
    {"chestupper", BodyPart::Chest, 1.0f},
    {"chestlower", BodyPart::Chest, 0.8f},
    {"thorax", BodyPart::Chest, 0.9f},
    {"ribcage", BodyPart::Chest, 0.9f},
    {"ribs", BodyPart::Chest, 0.8f},
    {"neck", BodyPart::Neck, 1.0f},
    {"necklower", BodyPart::Neck, 1.0f},
    {"neckupper", BodyPart::Neck, 0.7f},
    {"head", BodyPart::Head, 1.0f},
    {"skull", BodyPart::Head, 0.9f},
    {"jaw", BodyPart::Head, 0.9f},
    {"eye", BodyPart::Head, 0.9f},
    {"clavicle", BodyPart::Clavicle, 1.0f},
    {"collar", BodyPart::Clavicle, 1.0f},
    {"collarbone", BodyPart::Clavicle, 1.0f},
    {"scapula", BodyPart::Clavicle, 0.9f},
    {"shoulder", BodyPart::Clavicle, 0.6f},
    {"shoulder", BodyPart::UpperArm, 0.6f},
    {"upperarm", BodyPart::UpperArm, 1.0f},
    {"armupper", BodyPart::UpperArm, 1.0f},
    {"uparm", BodyPart::UpperArm, 1.0f},
    {"shldr", BodyPart::UpperArm, 0.9f},
    {"shldrbend", BodyPart::UpperArm, 0.9f},
    {"arm", BodyPart::UpperArm, 0.9f},
    {"humerus", BodyPart::UpperArm, 1.0f},
    {"forearm", BodyPart::LowerArm, 1.0f},
    {"forearmbend", BodyPart::LowerArm, 1.0f},
    {"lowerarm", BodyPart::LowerArm, 1.0f},
    {"armlower", BodyPart::LowerArm, 1.0f},
    {"lowarm", BodyPart::LowerArm, 1.0f},
    {"loarm", BodyPart::LowerArm, 1.0f},
    {"elbow", BodyPart::LowerArm, 1.0f},
    {"hand", BodyPart::Wrist, 1.0f},
    {"wrist", BodyPart::Wrist, 1.0f},
    {"palm", BodyPart::Wrist, 0.5f},
    {"palm", BodyPart::Finger, 0.5f},
    {"finger", BodyPart::Finger, 1.0f},
    {"fingers", BodyPart::Finger, 1.0f},
    {"fingerbase", BodyPart::Finger, 1.0f},
    {"thumb", BodyPart::Finger, 1.0f},
    {"handthumb", BodyPart::Finger, 1.0f},
    {"index", BodyPart::Finger, 1.0f},
    {"handindex", BodyPart::Finger, 1.0f},
    {"middle", BodyPart::Finger, 1.0f},
    {"handmiddle", BodyPart::Finger, 1.0f},
    {"ring", BodyPart::Finger, 1.0f},
    {"handring", BodyPart::Finger, 1.0f},
    {"pinky", BodyPart::Finger, 1.0f},
    {"handpinky", BodyPart::Finger, 1.0f},
    {"little", BodyPart::Finger, 1.0f},
    {"upleg", BodyPart::UpperLeg, 1.0f},
    {"upperleg", BodyPart::UpperLeg, 1.0f},
    {"legupper", BodyPart::UpperLeg, 1.0f},
    {"thigh", BodyPart::UpperLeg, 1.0f},
    {"thighbend", BodyPart::UpperLeg, 1.0f},
    {"femur", BodyPart::UpperLeg, 1.0f},
    {"hip", BodyPart::UpperLeg, 0.75f, 1},
    {"leg", BodyPart::UpperLeg, 0.4f, 1},
    {"leg", BodyPart::LowerLeg, 0.7f, 1},
    {"lowerleg", BodyPart::LowerLeg, 1.0f},
    {"leglower", BodyPart::LowerLeg, 1.0f},
    {"lowleg", BodyPart::LowerLeg, 1.0f},
    {"loleg", BodyPart::LowerLeg, 1.0f},
    {"shin", BodyPart::LowerLeg, 1.0f},
    {"calf", BodyPart::LowerLeg, 1.0f},
    {"knee", BodyPart::LowerLeg, 1.0f},
    {"tibia", BodyPart::LowerLeg, 1.0f},
    {"foot", BodyPart::Ankle, 1.0f},
    {"ankle", BodyPart::Ankle, 1.0f},
    {"toe", BodyPart::Toe, 1.0f},
    {"toes", BodyPart::Toe, 1.0f},
    {"toebase", BodyPart::Toe, 1.0f},
    {"ball", BodyPart::Toe, 1.0f},
    {"heel", BodyPart::Toe, 0.9f},
});

bool Applies(const PartWord& entry, const JointName& name) {
    const int hasSide = name.side == Side::None ? 0 : 1;
    return entry.word == name.word && (entry.needsSide < 0 || entry.needsSide == hasSide);
}

} // namespace

float NameFit(const JointName& name, BodyPart part) {
    float fit = 0.0f;
    for (const PartWord& entry : partWords) {
        if (entry.part == part && Applies(entry, name)) {
            fit = std::max(fit, entry.fit);
        }
    }
    return name.isHelper ? 0.0f : fit;
}

bool NamesAnotherPart(const JointName& name, BodyPart part) {
    const bool isKnownElsewhere = std::any_of(
        partWords.begin(), partWords.end(), [&](const PartWord& entry) { return Applies(entry, name); });
    return name.isHelper || (isKnownElsewhere && NameFit(name, part) == 0.0f);
}

} // namespace Velkori_Tool
