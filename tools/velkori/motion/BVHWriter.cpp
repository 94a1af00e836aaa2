#include "motion/BVHWriter.h"

#include "Failure.h"
#include "motion/Motion.h"

#include <fmt/format.h>

#include <array>
#include <iterator>

namespace Velkori_Tool {

namespace {

/** Degrees about z, y and x, in the order in which they multiply. */
std::array<double, 3> EulerAnglesZYX(const Quaternion& rotation) {
    const double x = rotation.x;
    const double y = rotation.y;
    const double z = rotation.z;
    const double w = rotation.w;
    constexpr double degreesPerRadian = 57.29577951308232;
    constexpr double nearPole = 0.9999999;
    const double sine = 2.0 * (w * y - x * z);
    if (std::fabs(sine) > nearPole) {
        // Looking along an axis of rotation, z and x turn about the same line; x does nothing.
        const double angle = 2.0 * std::atan2(sine > 0.0 ? -x : x, w);
        return {angle * degreesPerRadian, std::copysign(90.0, sine), 0.0};
    }
    return {std::atan2(2.0 * (w * z + x * y), 1.0 - 2.0 * (y * y + z * z)) * degreesPerRadian,
        std::asin(sine) * degreesPerRadian,
        std::atan2(2.0 * (w * x + y * z), 1.0 - 2.0 * (x * x + y * y)) * degreesPerRadian};
}

class BVHMaker {
  public:
    BVHMaker(const OutgoingMotion& motion, float unitsPerMetre)
        : motion(motion),
          unitsPerMetre(unitsPerMetre),
          names(motion.jointNames),
          children(motion.jointNames.size()) {
        for (std::string& name : names) {
            for (char& c : name) {
                // Most readers end a name at a space.
                const auto code = static_cast<unsigned char>(c);
                c = code <= ' ' || c == '{' || c == '}' ? '_' : c;
            }
        }
        MakeNamesUnique(names);
        for (size_t joint = 0; joint < motion.parents.size(); ++joint) {
            const int parent = motion.parents[joint];
            (parent < 0 ? tops : children[parent]).push_back(static_cast<int>(joint));
        }
    }

    std::string Make() {
        text += "HIERARCHY\n";
        if (tops.size() == 1) {
            AddJoint(tops.front(), 0);
        } else {
            // Other programs know one root.
            text += "ROOT Scene\n{\n\tOFFSET 0 0 0\n\tCHANNELS 0\n";
            for (const int joint : tops) {
                AddJoint(joint, 1);
            }
            text += "}\n";
        }
        const size_t frameCount = motion.FrameCount();
        fmt::format_to(Out(), "MOTION\nFrames: {}\nFrame Time: {:.8g}\n", frameCount, motion.frameSeconds);
        for (size_t frame = 0; frame < frameCount; ++frame) {
            AddFrame(motion.poses.data() + frame * motion.jointNames.size());
        }
        return std::move(text);
    }

  private:
    std::back_insert_iterator<std::string> Out() { return std::back_inserter(text); }

    Vector3 RestOffset(int joint) const {
        const int parent = motion.parents[joint];
        const Vector3 position = motion.restPose[joint].position;
        return (parent < 0 ? position : position - motion.restPose[parent].position) * unitsPerMetre;
    }

    void AddOffset(const Vector3& offset, const std::string& indent) {
        fmt::format_to(Out(), "{}OFFSET {:.6g} {:.6g} {:.6g}\n", indent, offset.x, offset.y, offset.z);
    }

    void AddJoint(int joint, size_t depth) {
        constexpr size_t deepest = 1000;
        if (depth > deepest) {
            throw Failure(fmt::format("joints are nested more than {} levels deep", deepest));
        }
        order.push_back(joint);
        const std::string indent(depth, '\t');
        const std::string inner(depth + 1, '\t');
        fmt::format_to(Out(), "{}{} {}\n{}{{\n", indent, depth == 0 ? "ROOT" : "JOINT", names[joint], indent);
        AddOffset(RestOffset(joint), inner);
        text += inner + "CHANNELS 6 Xposition Yposition Zposition Zrotation Yrotation Xrotation\n";
        for (const int child : children[joint]) {
            AddJoint(child, depth + 1);
        }
        if (children[joint].empty()) {
            // A bone needs an end: it goes on as the one before, but shorter.
            constexpr float share = 0.3f;
            fmt::format_to(Out(), "{}End Site\n{}{{\n", inner, inner);
            AddOffset(RestOffset(joint) * share, inner + "\t");
            text += inner + "}\n";
        }
        text += indent + "}\n";
    }

    /** A joint's turn from its rest pose on, and its place. */
    Transform FromRest(const Transform* pose, int joint) const {
        Transform turned = pose[joint];
        turned.orientation = Normalized(turned.orientation * Inverse(motion.restPose[joint].orientation));
        return turned;
    }

    void AddFrame(const Transform* pose) {
        const char* separator = "";
        for (const int joint : order) {
            const int parent = motion.parents[joint];
            const Transform world = FromRest(pose, joint);
            const Transform local = parent < 0 ? world : RelativeTo(FromRest(pose, parent), world);
            const Vector3 position = local.position * unitsPerMetre;
            const auto [z, y, x] = EulerAnglesZYX(local.orientation);
            fmt::format_to(Out(), "{}{:.4f} {:.4f} {:.4f} {:.4f} {:.4f} {:.4f}", separator, position.x,
                position.y, position.z, z, y, x);
            separator = " ";
        }
        text += '\n';
    }

    const OutgoingMotion& motion;
    float unitsPerMetre;
    /** As the file has them. */
    std::vector<std::string> names;
    std::vector<std::vector<int>> children;
    std::vector<int> tops;
    /** Joints in the file's order. */
    std::vector<int> order;
    std::string text;
};

} // namespace

std::string MakeBVH(const OutgoingMotion& motion, float unitsPerMetre) {
    return BVHMaker(motion, unitsPerMetre).Make();
}

} // namespace Velkori_Tool
