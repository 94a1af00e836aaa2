#include "BipedFile.h"

#include <algorithm>
#include <sstream>

namespace Velkori_Tool_Test {

namespace {

class BipedText {
  public:
    explicit BipedText(const BipedFile& file) : file(file) {}

    std::string Make() {
        Line("HIERARCHY");
        AddJoint(Hips);
        Line("MOTION");
        Line(
            "Frames: " + std::to_string(file.statedFrameCount < 0 ? file.frameCount : file.statedFrameCount));
        Line("Frame Time: " + Number(file.frameSeconds));
        for (int frame = 0; frame < file.frameCount; ++frame) {
            std::string values;
            for (const int joint : order) {
                AddValues(joint, file.motion(joint, frame), values);
            }
            Line(values);
        }
        return text;
    }

  private:
    void Line(const std::string& line) { text += line + file.lineEnd; }

    std::string Number(double value) const {
        std::ostringstream stream;
        stream.precision(9);
        stream << (file.writesExponents ? std::scientific : std::defaultfloat) << value;
        return stream.str();
    }

    Point Offset(int joint) const {
        const Point position = BipedPosition(joint);
        const Point parent = bipedParents.at(joint) < 0 ? Point() : BipedPosition(bipedParents.at(joint));
        return file.axes({(position.x - parent.x) * file.unitsPerMetre,
            (position.y - parent.y) * file.unitsPerMetre, (position.z - parent.z) * file.unitsPerMetre});
    }

    std::string Numbers(const Point& point) const {
        return Number(point.x) + " " + Number(point.y) + " " + Number(point.z);
    }

    bool HasPosition(int joint) const { return joint == Hips || file.hasSixChannelsEverywhere; }

    void AddJoint(int joint) {
        order.push_back(joint);
        Line(std::string(joint == Hips ? "ROOT " : "JOINT ") + file.names.at(joint));
        Line("{");
        Line("OFFSET " + Numbers(Offset(joint)));
        std::string channels = HasPosition(joint) ? "CHANNELS 6 Xposition Yposition Zposition" : "CHANNELS 3";
        for (const char axis : file.rotationOrders.at(joint)) {
            channels += std::string(" ") + axis + "rotation";
        }
        Line(channels);
        bool hasChild = false;
        for (int child = joint + 1; child < BipedJointCount; ++child) {
            const bool isLeftOut =
                std::find(file.leftOut.begin(), file.leftOut.end(), child) != file.leftOut.end();
            if (bipedParents.at(child) == joint && !isLeftOut) {
                hasChild = true;
                AddJoint(child);
            }
        }
        if (!hasChild) {
            Line("End Site");
            Line("{");
            Line("OFFSET " + Numbers(file.axes({0.0, 0.0, 0.05 * file.unitsPerMetre})));
            Line("}");
        }
        Line("}");
    }

    void AddValues(int joint, const JointMotion& motion, std::string& values) const {
        if (HasPosition(joint)) {
            const Point offset = Offset(joint);
            values += Numbers({offset.x + motion.moved.x * file.unitsPerMetre,
                          offset.y + motion.moved.y * file.unitsPerMetre,
                          offset.z + motion.moved.z * file.unitsPerMetre}) +
                      " ";
        }
        for (const char axis : file.rotationOrders.at(joint)) {
            const double degrees =
                axis == 'X' ? motion.degrees.x : (axis == 'Y' ? motion.degrees.y : motion.degrees.z);
            values += Number(degrees) + " ";
        }
    }

    const BipedFile& file;
    std::vector<int> order;
    std::string text;
};

} // namespace

Point BipedPosition(int joint) {
    constexpr std::array<Point, 5> trunk = {
        Point{0.0, 0.95, 0.0}, {0.0, 1.05, 0.0}, {0.0, 1.30, 0.0}, {0.0, 1.50, 0.0}, {0.0, 1.60, 0.0}};
    constexpr std::array<Point, 8> leftLimbs = {Point{0.04, 1.45, 0.0}, {0.18, 1.45, 0.0}, {0.46, 1.45, 0.0},
        {0.72, 1.45, 0.0}, {0.10, 0.92, 0.0}, {0.10, 0.50, 0.01}, {0.10, 0.08, 0.0}, {0.10, 0.0, 0.14}};
    if (joint <= Head) {
        return trunk.at(joint);
    }
    Point position = leftLimbs.at((joint - LeftClavicle) % (RightClavicle - LeftClavicle));
    position.x *= joint >= RightClavicle ? -1.0 : 1.0;
    return position;
}

const BipedNames& PlainNames() {
    static const BipedNames names = {"Hips", "Spine", "Spine1", "Neck", "Head", "LeftShoulder", "LeftArm",
        "LeftForeArm", "LeftHand", "LeftUpLeg", "LeftLeg", "LeftFoot", "LeftToeBase", "RightShoulder",
        "RightArm", "RightForeArm", "RightHand", "RightUpLeg", "RightLeg", "RightFoot", "RightToeBase"};
    return names;
}

std::string BipedFile::Text() const {
    return BipedText(*this).Make();
}

} // namespace Velkori_Tool_Test
