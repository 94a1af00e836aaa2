#pragma once

#include "BipedFile.h"

#include <functional>
#include <string>
#include <vector>

namespace Velkori_Tool_Test {

/** A joint of a file that a test makes up: any tree, in metres, y up, facing z. */
struct TreeJoint {
    std::string name;
    /** The parent's place in the list; -1 for the first joint. */
    int parent = -1;
    Point position;
};

/** The plain biped with its names, to which tests add joints. */
std::vector<TreeJoint> BipedTree(const BipedNames& names = PlainNames());

/** The place of a joint in the list. */
int IndexOf(const std::vector<TreeJoint>& joints, const std::string& name);

/** A turn about z, then about x, in degrees. */
using TreeMotion = std::function<Point(const std::string& joint, int frame)>;

/** The tree as BVH in centimetres; the joints turn as `motion` says. */
std::string TreeText(const std::vector<TreeJoint>& joints, int frameCount, const TreeMotion& motion);

/**
 * The same body in the same poses, but in the file's zero pose every bone that is its joint's first lies
 * along +x, as motion of bodies whose bones have axes of their own is written.
 */
std::string TreeTextAlongX(const std::vector<TreeJoint>& joints, int frameCount, const TreeMotion& motion);

} // namespace Velkori_Tool_Test
