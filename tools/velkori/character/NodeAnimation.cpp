#include "character/NodeAnimation.h"

#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

template <size_t Count>
std::array<float, Count> Numbers(const JSON& node, const char* member, std::array<float, Count> unsaid) {
    const auto found = node.find(member);
    return found == node.end() ? unsaid : found->get<std::array<float, Count>>();
}

float Determinant(const std::array<Vector3, 3>& columns) {
    return Dot(columns[0], Cross(columns[1], columns[2]));
}

/** The rotation of a matrix whose columns are unit vectors at right angles. */
Quaternion RotationOf(const std::array<Vector3, 3>& columns) {
    const auto& [x, y, z] = columns;
    const float trace = x.x + y.y + z.z;
    if (trace > 0.0f) {
        return Normalized(Quaternion{y.z - z.y, z.x - x.z, x.y - y.x, 1.0f + trace});
    }
    if (x.x > y.y && x.x > z.z) {
        return Normalized(Quaternion{1.0f + x.x - y.y - z.z, x.y + y.x, z.x + x.z, y.z - z.y});
    }
    if (y.y > z.z) {
        return Normalized(Quaternion{x.y + y.x, 1.0f + y.y - x.x - z.z, y.z + z.y, z.x - x.z});
    }
    return Normalized(Quaternion{z.x + x.z, y.z + z.y, 1.0f + z.z - x.x - y.y, x.y - y.x});
}

/** A node's local transform, which the file gives in parts or as a matrix. */
Transform LocalOf(const JSON& node) {
    if (node.contains("matrix")) {
        const auto m = node["matrix"].get<std::array<float, 16>>();
        std::array<Vector3, 3> columns = {Vector3{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}};
        Vector3 scale = {Length(columns[0]), Length(columns[1]), Length(columns[2])};
        scale.x = Determinant(columns) < 0.0f ? -scale.x : scale.x;
        const std::array<float, 3> factors = {scale.x, scale.y, scale.z};
        for (size_t i = 0; i < columns.size(); ++i) {
            columns.at(i) = columns.at(i) * (factors.at(i) == 0.0f ? 0.0f : 1.0f / factors.at(i));
        }
        return {RotationOf(columns), {m[12], m[13], m[14]}, scale};
    }
    const auto t = Numbers<3>(node, "translation", {0.0f, 0.0f, 0.0f});
    const auto r = Numbers<4>(node, "rotation", {0.0f, 0.0f, 0.0f, 1.0f});
    const auto s = Numbers<3>(node, "scale", {1.0f, 1.0f, 1.0f});
    return {Normalized(Quaternion{r[0], r[1], r[2], r[3]}), {t[0], t[1], t[2]}, {s[0], s[1], s[2]}};
}

Vector3 Times(const Vector3& a, const Vector3& b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}

Vector3 Over(const Vector3& a, const Vector3& b) {
    return {b.x == 0.0f ? 0.0f : a.x / b.x, b.y == 0.0f ? 0.0f : a.y / b.y, b.z == 0.0f ? 0.0f : a.z / b.z};
}

/**
 * What a scale's signs turn by: two of them are half a turn, and so are one or three, but for a mirroring
 * through the point, which goes with every turn and stays in the scale.
 */
Quaternion TurnOfSigns(const Vector3& scale) {
    const float all = scale.x * scale.y * scale.z < 0.0f ? -1.0f : 1.0f;
    const bool keepsX = scale.x * all >= 0.0f;
    const bool keepsY = scale.y * all >= 0.0f;
    const bool keepsZ = scale.z * all >= 0.0f;
    return keepsX && keepsY && keepsZ ? identityRotation
           : keepsX                   ? Quaternion{1.0f, 0.0f, 0.0f, 0.0f}
           : keepsY                   ? Quaternion{0.0f, 1.0f, 0.0f, 0.0f}
                                      : Quaternion{0.0f, 0.0f, 1.0f, 0.0f};
}

/** The same transform with signs that all are alike. */
Transform WithLikeSigns(const Transform& local) {
    const Vector3& s = local.scale;
    const float sign = s.x * s.y * s.z < 0.0f ? -1.0f : 1.0f;
    return {local.orientation * TurnOfSigns(s), local.position,
        {sign * std::fabs(s.x), sign * std::fabs(s.y), sign * std::fabs(s.z)}};
}

/** The world transform below a parent's, both with their scale. */
Transform ComposeScaled(const Transform& parent, const Transform& local) {
    return {Normalized(parent.orientation * local.orientation),
        parent.position + Rotate(parent.orientation, Times(parent.scale, local.position)),
        Times(parent.scale, local.scale)};
}

/** All nodes of a file, parents first. */
struct NodeTree {
    std::vector<int> order;
    /** By node; -1 at the top. */
    std::vector<int> parents;

    explicit NodeTree(const GLTFFile& file) {
        const JSON nodes = file.document.value("nodes", JSON::array());
        parents.assign(nodes.size(), -1);
        for (size_t node = 0; node < nodes.size(); ++node) {
            for (const JSON& child : nodes[node].value("children", JSON::array())) {
                parents.at(child.get<size_t>()) = static_cast<int>(node);
            }
        }
        std::vector<int> waiting;
        for (size_t node = nodes.size(); node-- > 0;) {
            if (parents[node] < 0) {
                waiting.push_back(static_cast<int>(node));
            }
        }
        while (!waiting.empty() && order.size() <= nodes.size()) {
            const int node = waiting.back();
            waiting.pop_back();
            order.push_back(node);
            const JSON children = nodes[node].value("children", JSON::array());
            for (size_t i = children.size(); i-- > 0;) {
                waiting.push_back(children[i].get<int>());
            }
        }
    }
};

/** "Hand_2" and "Hand2" may be what a reader made of a second "Hand". */
bool IsNumbered(const std::string& name, const std::string& stem) {
    if (stem.empty() || name.size() <= stem.size() || name.compare(0, stem.size(), stem) != 0) {
        return false;
    }
    const std::string rest = name.substr(stem.size() + (name[stem.size()] == '_' ? 1 : 0));
    return !rest.empty() && rest.find_first_not_of("0123456789") == std::string::npos;
}

class NodeFinder {
  public:
    explicit NodeFinder(const GLTFFile& file) : tree(file) {
        const JSON nodes = file.document.value("nodes", JSON::array());
        for (const JSON& node : nodes) {
            names.push_back(ValidUTF8(node.value("name", std::string())));
            hasMesh.push_back(node.contains("mesh"));
        }
        isBound.assign(nodes.size(), false);
        for (const JSON& skin : file.document.value("skins", JSON::array())) {
            for (const JSON& joint : skin.value("joints", JSON::array())) {
                isBound.at(joint.get<size_t>()) = true;
            }
        }
        isTaken.assign(nodes.size(), false);
    }

    /** `above` is the node of the joint's parent, or -1. */
    int Find(const std::string& name, int above) {
        int best = -1;
        int bestFit = 0;
        for (const int node : tree.order) {
            const int nameFit = names[node] == name ? 2 : (IsNumbered(name, names[node]) ? 1 : 0);
            if (nameFit == 0 || isTaken[node]) {
                continue;
            }
            constexpr int inPlace = 8;
            constexpr int ofSkin = 4;
            const int fit = nameFit * 2 + (above < 0 || IsBelow(above, node) ? inPlace : 0) +
                            (isBound[node] ? ofSkin : 0) + (hasMesh[node] ? 0 : 1);
            if (fit > bestFit) {
                best = node;
                bestFit = fit;
            }
        }
        if (best >= 0) {
            isTaken[best] = true;
        }
        return best;
    }

  private:
    bool IsBelow(int ancestor, int node) const {
        while (node >= 0 && node != ancestor) {
            node = tree.parents[node];
        }
        return node >= 0;
    }

    NodeTree tree;
    std::vector<std::string> names;
    std::vector<bool> hasMesh;
    std::vector<bool> isBound;
    std::vector<bool> isTaken;
};

std::string UnusedName(const GLTFFile& file, const std::string& wanted) {
    std::set<std::string> taken;
    for (const JSON& animation : file.document.value("animations", JSON::array())) {
        taken.insert(animation.value("name", std::string()));
    }
    const std::string stem = ValidUTF8(wanted);
    std::string name = stem;
    for (int number = 2; taken.count(name) > 0; ++number) {
        name = fmt::format("{} {}", stem, number);
    }
    return name;
}

/** What one node does: values of all frames, one after the other. */
struct NodeTrack {
    int node = -1;
    bool isMoved = false;
    std::vector<float> rotations;
    std::vector<float> translations;
};

class AnimationMaker {
  public:
    AnimationMaker(GLTFFile& file, const OutgoingMotion& motion, const std::vector<int>& nodes)
        : file(file), motion(motion), tree(file), jointOfNode(tree.parents.size(), -1) {
        for (const JSON& node : file.document["nodes"]) {
            locals.push_back(LocalOf(node));
        }
        for (size_t joint = 0; joint < nodes.size(); ++joint) {
            if (nodes[joint] >= 0) {
                jointOfNode[nodes[joint]] = static_cast<int>(joint);
            }
        }
        for (const int node : tree.order) {
            trackOfNode.push_back(jointOfNode[node] < 0 ? -1 : static_cast<int>(tracks.size()));
            if (jointOfNode[node] >= 0) {
                tracks.push_back({node, motion.IsMoved(jointOfNode[node]), {}, {}});
            }
        }
    }

    void Run() {
        for (size_t frame = 0; frame < motion.FrameCount(); ++frame) {
            AddFrame(motion.poses.data() + frame * motion.jointNames.size());
        }
        for (const NodeTrack& track : tracks) {
            SplitMatrix(track.node);
        }
        Write();
    }

  private:
    void AddFrame(const Transform* pose) {
        worlds.resize(locals.size());
        for (size_t i = 0; i < tree.order.size(); ++i) {
            const int node = tree.order[i];
            const int parent = tree.parents[node];
            const Transform& above = parent < 0 ? identityTransform : worlds[parent];
            Transform local = locals[node];
            if (trackOfNode[i] >= 0) {
                NodeTrack& track = tracks[trackOfNode[i]];
                const Transform& wanted = pose[jointOfNode[node]];
                const Quaternion inverse = Inverse(above.orientation);
                local.orientation =
                    Normalized(inverse * wanted.orientation * Inverse(TurnOfSigns(local.scale)));
                if (track.isMoved) {
                    local.position = Over(Rotate(inverse, wanted.position - above.position), above.scale);
                    const Vector3& p = local.position;
                    track.translations.insert(track.translations.end(), {p.x, p.y, p.z});
                }
                AddRotation(local.orientation, track.rotations);
            }
            worlds[node] = ComposeScaled(above, WithLikeSigns(local));
        }
    }

    /** It never turns from how its file has it, as ends of bones don't. */
    bool RestsAsStored(const NodeTrack& track) const {
        const Quaternion& stored = locals[track.node].orientation;
        constexpr float nothing = 0.01f;
        for (size_t i = 0; i + 3 < track.rotations.size(); i += 4) {
            const float* const q = track.rotations.data() + i;
            if (AngleBetween(stored, Quaternion{q[0], q[1], q[2], q[3]}) > nothing) {
                return false;
            }
        }
        return true;
    }

    /** Of the two quaternions of a rotation the one that is near the frame before, so that players turn the
     * short way. */
    static void AddRotation(Quaternion q, std::vector<float>& rotations) {
        if (rotations.size() >= 4) {
            const float* const before = rotations.data() + rotations.size() - 4;
            if (before[0] * q.x + before[1] * q.y + before[2] * q.z + before[3] * q.w < 0.0f) {
                q = {-q.x, -q.y, -q.z, -q.w};
            }
        }
        rotations.insert(rotations.end(), {q.x, q.y, q.z, q.w});
    }

    /** A node that moves says its transform in parts. */
    void SplitMatrix(int index) {
        JSON& node = file.document["nodes"][index];
        if (node.contains("matrix")) {
            const Transform& local = locals[index];
            node.erase("matrix");
            node["translation"] = {local.position.x, local.position.y, local.position.z};
            node["rotation"] = {
                local.orientation.x, local.orientation.y, local.orientation.z, local.orientation.w};
            node["scale"] = {local.scale.x, local.scale.y, local.scale.z};
        }
    }

    void Write() {
        std::vector<float> times;
        for (size_t frame = 0; frame < motion.FrameCount(); ++frame) {
            times.push_back(static_cast<float>(static_cast<double>(frame) * motion.frameSeconds));
        }
        const int input = file.AddFloats(times, "SCALAR", true);
        JSON samplers = JSON::array();
        JSON channels = JSON::array();
        const auto add = [&](int node, const char* path, int output) {
            channels.push_back({{"sampler", samplers.size()}, {"target", {{"node", node}, {"path", path}}}});
            samplers.push_back({{"input", input}, {"output", output}, {"interpolation", "LINEAR"}});
        };
        for (const NodeTrack& track : tracks) {
            // An animation has at least one channel.
            if (!track.isMoved && RestsAsStored(track) && &track != &tracks.back()) {
                continue;
            }
            add(track.node, "rotation", file.AddFloats(track.rotations, "VEC4"));
            if (track.isMoved) {
                add(track.node, "translation", file.AddFloats(track.translations, "VEC3"));
            }
        }
        file.Add("animations", {{"name", UnusedName(file, motion.name)}, {"samplers", std::move(samplers)},
                                   {"channels", std::move(channels)}});
    }

    GLTFFile& file;
    const OutgoingMotion& motion;
    NodeTree tree;
    std::vector<int> jointOfNode;
    /** By place in the tree's order; -1 for a node that rests. */
    std::vector<int> trackOfNode;
    std::vector<NodeTrack> tracks;
    std::vector<Transform> locals;
    std::vector<Transform> worlds;
};

} // namespace

std::vector<int> FindNodes(
    const GLTFFile& file, const std::vector<std::string>& jointNames, const std::vector<int>& parents) {
    NodeFinder finder(file);
    std::vector<int> nodes(jointNames.size(), -1);
    for (size_t joint = 0; joint < jointNames.size(); ++joint) {
        const int parent = parents[joint];
        nodes[joint] = finder.Find(jointNames[joint], parent < 0 ? -1 : nodes[parent]);
    }
    return nodes;
}

std::vector<float> NodeScales(const GLTFFile& file) {
    const NodeTree tree(file);
    std::vector<float> scales(tree.parents.size(), 1.0f);
    for (const int node : tree.order) {
        const Vector3 own = LocalOf(file.document["nodes"][node]).scale;
        const float mean = std::cbrt(std::fabs(own.x * own.y * own.z));
        scales[node] = mean * (tree.parents[node] < 0 ? 1.0f : scales[tree.parents[node]]);
    }
    return scales;
}

void AddNodeAnimation(GLTFFile& file, const OutgoingMotion& motion, const std::vector<int>& nodes) {
    if (motion.FrameCount() > 0) {
        AnimationMaker(file, motion, nodes).Run();
    }
}

void StandInGLTFSpace(GLTFFile& file, const velkori_CoordinateSpace_& space, double metresPerUnit) {
    const auto& [up, forward, right] = space;
    Quaternion turn = identityRotation;
    if (up.y != 1.0f) {
        turn = RotationOf(
            {Vector3{-right.x, up.x, forward.x}, {-right.y, up.y, forward.y}, {-right.z, up.z, forward.z}});
    } else if (metresPerUnit == 1.0) {
        return;
    }
    JSON& scene = file.document["scenes"][0];
    const int node = file.Add(
        "nodes", {{"name", "InMetres"}, {"rotation", {turn.x, turn.y, turn.z, turn.w}},
                     {"scale", {metresPerUnit, metresPerUnit, metresPerUnit}}, {"children", scene["nodes"]}});
    scene["nodes"] = {node};
}

} // namespace Velkori_Tool
