#pragma once

#include "rig/NamingHabits.h"

#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Tool {

/** A joint's name taken apart: "xyz:Bip01 L UpperArm" is the left "upperarm". */
struct JointName {
    Side side = Side::None;
    /** The words that remain without namespace, side, prefixes and numbers; lower case, without gaps. */
    std::string word;
    /** What the word means with this side, or without one. */
    std::vector<WordMeaning> meanings;
    /** The numbers that follow the word. */
    std::vector<int> numbers;
    /** It says of itself that it is no joint of the body's own: a twist, roll or IK helper, or an end. */
    bool isHelper = false;
};

JointName ParseJointName(std::string_view name, const NamingHabits& habits);

/** All names of a skeleton; a word that most of them begin with is the rig's own name and says nothing. */
std::vector<JointName> ParseJointNames(const std::vector<std::string>& names, const NamingHabits& habits);

/** How well a name fits a part, 0 to 1. Some words fit two: a "shoulder" is a clavicle or an upper arm. */
float NameFit(const JointName& name, BodyPart part);

/** The name clearly belongs to another part, or to none of the body. */
bool NamesAnotherPart(const JointName& name, BodyPart part);

} // namespace Velkori_Tool
