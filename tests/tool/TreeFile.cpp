#include "TreeFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

namespace Velkori_Tool_Test {

namespace {

using Matrix = std::array<Point, 3>; // columns

constexpr double degree = 0.017453292519943295;

Point Times(const Matrix& m, const Point& p) {
    return {m[0].x * p.x + m[1].x * p.y + m[2].x * p.z, m[0].y * p.x + m[1].y * p.y + m[2].y * p.z,
        m[0].z * p.x + m[1].z * p.y + m[2].z * p.z};
}

Matrix Times(const Matrix& a, const Matrix& b) {
    return {Times(a, b[0]), Times(a, b[1]), Times(a, b[2])};
}

Matrix Transposed(const Matrix& m) {
    return {Point{m[0].x, m[1].x, m[2].x}, {m[0].y, m[1].y, m[2].y}, {m[0].z, m[1].z, m[2].z}};
}

/** About z, then x, in the order in which channels stand: Z x X. */
Matrix Turn(const Point& degrees) {
    const double z = degrees.z * degree;
    const double x = degrees.x * degree;
    const Matrix aboutZ = {Point{std::cos(z), std::sin(z), 0}, {-std::sin(z), std::cos(z), 0}, {0, 0, 1}};
    const Matrix aboutX = {Point{1, 0, 0}, {0, std::cos(x), std::sin(x)}, {0, -std::sin(x), std::cos(x)}};
    return Times(aboutZ, aboutX);
}

/** Any rotation that brings +x onto a direction. */
Matrix FromX(const Point& direction) {
    const double length = std::hypot(direction.x, direction.y, direction.z);
    const Point x = {direction.x / length, direction.y / length, direction.z / length};
    const Point side = std::fabs(x.y) < 0.9 ? Point{0, 1, 0} : Point{0, 0, 1};
    Point z = {x.y * side.z - x.z * side.y, x.z * side.x - x.x * side.z, x.x * side.y - x.y * side.x};
    const double zLength = std::hypot(z.x, z.y, z.z);
    z = {z.x / zLength, z.y / zLength, z.z / zLength};
    return {x, {z.y * x.z - z.z * x.y, z.z * x.x - z.x * x.z, z.x * x.y - z.y * x.x}, z};
}

/** In degrees, for channels in the order Z X Y. */
Point AnglesZXY(const Matrix& m) {
    const double x = std::asin(std::clamp(m[1].z, -1.0, 1.0));
    constexpr double pole = 1.0 - 1e-12;
    if (std::fabs(m[1].z) > pole) {
        // Z and Y turn about the same line.
        return {x / degree, 0, std::atan2(m[0].y, m[0].x) / degree};
    }
    const double z = std::atan2(-m[1].x, m[1].y);
    const double y = std::atan2(-m[0].z, m[2].z);
    return {x / degree, y / degree, z / degree};
}

class TreeWriter {
  public:
    TreeWriter(const std::vector<TreeJoint>& joints, bool isAlongX) : joints(joints) {
        for (size_t i = 0; i < joints.size(); ++i) {
            const int child = FirstChild(static_cast<int>(i));
            const Point bone = child < 0 ? Point() : OwnOffset(child);
            const bool hasAxes = isAlongX && std::hypot(bone.x, bone.y, bone.z) > 0;
            axes.push_back(hasAxes ? FromX(bone) : Matrix{Point{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
        }
        // A parent may stand behind its child in the list.
        for (size_t i = 0; i < joints.size(); ++i) {
            const Point own = OwnOffset(static_cast<int>(i));
            const int parent = joints[i].parent;
            offsets.push_back(parent < 0 ? own : Times(Transposed(axes[parent]), own));
        }
    }

    std::string Text(int frameCount, const TreeMotion& motion) {
        text << "HIERARCHY\n";
        AddJoint(0);
        text << "MOTION\nFrames: " << frameCount << "\nFrame Time: 0.0333333\n";
        for (int frame = 0; frame < frameCount; ++frame) {
            text << offsets[0].x * 100 << ' ' << offsets[0].y * 100 << ' ' << offsets[0].z * 100;
            for (const int joint : order) {
                // The turn in plain axes, in those of the joint and its parent.
                const int parent = joints[joint].parent;
                Matrix local = Times(Turn(motion(joints[joint].name, frame)), axes[joint]);
                local = parent < 0 ? local : Times(Transposed(axes[parent]), local);
                const Point angles = AnglesZXY(local);
                text << ' ' << angles.z << ' ' << angles.x << ' ' << angles.y;
            }
            text << '\n';
        }
        return text.str();
    }

  private:
    Point OwnOffset(int joint) const {
        const Point& p = joints[joint].position;
        const Point parent = joints[joint].parent < 0 ? Point() : joints[joints[joint].parent].position;
        return {p.x - parent.x, p.y - parent.y, p.z - parent.z};
    }

    int FirstChild(int joint) const {
        for (size_t child = 0; child < joints.size(); ++child) {
            if (joints[child].parent == joint) {
                return static_cast<int>(child);
            }
        }
        return -1;
    }

    void AddJoint(int joint) {
        order.push_back(joint);
        text << (joint == 0 ? "ROOT " : "JOINT ") << joints[joint].name << "\n{\nOFFSET "
             << offsets[joint].x * 100 << ' ' << offsets[joint].y * 100 << ' ' << offsets[joint].z * 100
             << (joint == 0 ? "\nCHANNELS 6 Xposition Yposition Zposition" : "\nCHANNELS 3")
             << " Zrotation Xrotation Yrotation\n";
        for (size_t child = 0; child < joints.size(); ++child) {
            if (joints[child].parent == joint) {
                AddJoint(static_cast<int>(child));
            }
        }
        text << (FirstChild(joint) < 0 ? "End Site\n{\nOFFSET 0 0 0\n}\n}\n" : "}\n");
    }

    const std::vector<TreeJoint>& joints;
    std::vector<Matrix> axes;
    std::vector<Point> offsets;
    std::vector<int> order;
    std::ostringstream text;
};

} // namespace

std::vector<TreeJoint> BipedTree(const BipedNames& names) {
    std::vector<TreeJoint> joints;
    joints.reserve(BipedJointCount);
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        joints.push_back({names.at(joint), bipedParents.at(joint), BipedPosition(joint)});
    }
    return joints;
}

int IndexOf(const std::vector<TreeJoint>& joints, const std::string& name) {
    const auto found = std::find_if(
        joints.begin(), joints.end(), [&](const TreeJoint& joint) { return joint.name == name; });
    return static_cast<int>(found - joints.begin());
}

std::string TreeText(const std::vector<TreeJoint>& joints, int frameCount, const TreeMotion& motion) {
    return TreeWriter(joints, false).Text(frameCount, motion);
}

std::string TreeTextAlongX(const std::vector<TreeJoint>& joints, int frameCount, const TreeMotion& motion) {
    return TreeWriter(joints, true).Text(frameCount, motion);
}

} // namespace Velkori_Tool_Test
