#pragma once

#include <string>
#include <string_view>

namespace Velkori_Tool {

enum class Side { None, Left, Right };

/** A joint's name taken apart: "xyz:Bip01 L UpperArm" is the left "upperarm". */
struct JointName {
    Side side = Side::None;
    /** The words that remain without namespace, side, prefixes and numbers; lower case, without gaps. */
    std::string word;
    /** The number that ends it, or -1. */
    int number = -1;
    /** It says of itself that it is no joint of the body's own: a twist, roll or IK helper, or an end. */
    bool isHelper = false;
};

JointName ParseJointName(std::string_view name);

} // namespace Velkori_Tool
