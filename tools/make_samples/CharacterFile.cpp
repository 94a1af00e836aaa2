#include "CharacterFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

using Vector = velkori_Vector3f_;
using Transform = velkori_Transform_;

Vector Add(Vector a, Vector b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector Scale(Vector v, float s) {
    return {v.x * s, v.y * s, v.z * s};
}

Vector Subtract(Vector a, Vector b) {
    return Add(a, Scale(b, -1));
}

float Dot(Vector a, Vector b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector Cross(Vector a, Vector b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector Unit(Vector v) {
    return Scale(v, 1.0F / std::sqrt(Dot(v, v)));
}

Vector Rotate(velkori_Quaternionf_ q, Vector v) {
    const Vector axis = {q.x, q.y, q.z};
    const Vector turned = Scale(Cross(axis, v), 2);
    return Add(v, Add(Scale(turned, q.w), Cross(axis, turned)));
}

velkori_Quaternionf_ Conjugate(velkori_Quaternionf_ q) {
    return {-q.x, -q.y, -q.z, q.w};
}

velkori_Quaternionf_ Multiply(velkori_Quaternionf_ a, velkori_Quaternionf_ b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
        a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

// With a length that no rounding brings above 1.
velkori_Quaternionf_ Unit(velkori_Quaternionf_ q) {
    const float scale = 0.9999999F / std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    return {q.x * scale, q.y * scale, q.z * scale, q.w * scale};
}

// glTF is right-handed with left at +x, where rigs have right at +x.
std::vector<Transform> InFileSpace(std::vector<Transform> pose) {
    for (Transform& transform : pose) {
        transform.position.x = -transform.position.x;
        transform.orientation.y = -transform.orientation.y;
        transform.orientation.z = -transform.orientation.z;
    }
    return pose;
}

struct Vertex {
    Vector position;
    Vector normal;
    // The joints that move it, and how much the first of them does.
    int first = 0;
    int second = 0;
    float share = 1;
};

struct Mesh {
    std::vector<Vertex> vertices;
    std::vector<std::uint16_t> indices;
};

struct Ring {
    Vector center;
    float radius = 0;
    int first = 0;
    int second = 0;
    float share = 1;
};

constexpr int Sides = 8;

// A closed tube through the rings.
void AddTube(const std::vector<Ring>& rings, Mesh& mesh) {
    const Vector along = Unit(Subtract(rings.back().center, rings.front().center));
    const Vector other = std::abs(along.y) < 0.8F ? Vector{0, 1, 0} : Vector{0, 0, 1};
    const Vector right = Unit(Cross(along, other));
    const Vector front = Cross(right, along);
    const auto addVertex = [&](const Ring& ring, Vector offset, Vector normal) {
        mesh.vertices.push_back({Add(ring.center, offset), normal, ring.first, ring.second, ring.share});
    };
    const auto start = static_cast<std::uint16_t>(mesh.vertices.size());
    for (const Ring& ring : rings) {
        for (int side = 0; side < Sides; ++side) {
            const float angle = 6.2831853F * static_cast<float>(side) / Sides;
            const Vector normal = Add(Scale(right, std::cos(angle)), Scale(front, std::sin(angle)));
            addVertex(ring, Scale(normal, ring.radius), normal);
        }
    }
    addVertex(rings.front(), Scale(along, -0.5F * rings.front().radius), Scale(along, -1));
    addVertex(rings.back(), Scale(along, 0.5F * rings.back().radius), along);
    const auto bottom = static_cast<int>(mesh.vertices.size()) - 2;
    const auto addTriangle = [&](int a, int b, int c) {
        for (const int corner : {a, b, c}) {
            mesh.indices.push_back(static_cast<std::uint16_t>(corner));
        }
    };
    const auto last = static_cast<int>(rings.size() - 1) * Sides;
    for (int side = 0; side < Sides; ++side) {
        const int next = (side + 1) % Sides;
        for (int ring = 0; ring < last; ring += Sides) {
            const int a = start + ring + side;
            const int b = start + ring + next;
            addTriangle(a, a + Sides, b);
            addTriangle(b, a + Sides, b + Sides);
        }
        addTriangle(bottom, start + side, start + next);
        addTriangle(bottom + 1, start + last + next, start + last + side);
    }
}

// How thick the body is at a joint; 0 for a joint that shows nothing.
float RadiusAt(const std::string& name) {
    struct Thickness {
        const char* prefix;
        float radius;
    };

    constexpr std::array<Thickness, 23> Thicknesses = {Thickness{"UpperArmTwist", 0}, {"ForeArmTwist", 0},
        {"ThighTwist", 0}, {"ShinTwist", 0}, {"Eye", 0}, {"Jaw", 0}, {"Prop", 0}, {"Root", 0},
        {"Hips", 0.13F}, {"Spine01", 0.12F}, {"Spine02", 0.125F}, {"Chest", 0.13F}, {"Neck", 0.055F},
        {"Head", 0.06F}, {"Clavicle", 0.06F}, {"UpperArm", 0.052F}, {"ForeArm", 0.04F}, {"Hand", 0.028F},
        {"Thigh", 0.085F}, {"Shin", 0.06F}, {"Foot", 0.042F}, {"Toe", 0.022F}, {"Thumb", 0.012F}};
    for (const Thickness& thickness : Thicknesses) {
        if (name.rfind(thickness.prefix, 0) == 0) {
            return thickness.radius;
        }
    }
    return 0.01F;
}

Mesh MakeMesh(const Rig& rig, const std::vector<Transform>& pose) {
    Mesh mesh;
    for (std::size_t i = 0; i < rig.joints.size(); ++i) {
        const int joint = static_cast<int>(i);
        const int parent = rig.joints[i].parent;
        const float thick = RadiusAt(rig.joints[i].name);
        if (parent < 0 || thick == 0 || RadiusAt(rig.joints[parent].name) == 0) {
            continue;
        }
        // The root on the ground moves no skin.
        const int grandparent = rig.joints[parent].parent;
        const int above = RadiusAt(rig.joints[grandparent].name) > 0 ? grandparent : parent;
        const Vector from = pose[parent].position;
        const Vector way = Subtract(pose[joint].position, from);
        const float start = std::min(RadiusAt(rig.joints[parent].name), 2.0F * thick);
        // Where two bones meet, both move the skin.
        AddTube({{from, start, parent, above, 0.5F}, {Add(from, Scale(way, 0.25F)), start, parent, parent, 1},
                    {Add(from, Scale(way, 0.75F)), thick, parent, parent, 1},
                    {pose[joint].position, thick, parent, joint, 0.5F}},
            mesh);
    }
    const int head = rig.IndexOf("Head");
    const Vector neck = pose[head].position;
    const auto skull = [&](float height, float radius) {
        return Ring{Add(neck, {0, height, 0.02F}), radius, head, head, 1};
    };
    AddTube({skull(0.0F, 0.06F), skull(0.05F, 0.09F), skull(0.12F, 0.1F), skull(0.18F, 0.08F),
                skull(0.21F, 0.04F)},
        mesh);
    for (const char* name : {"Toe_L", "Toe_R"}) {
        const int toe = rig.IndexOf(name);
        const Vector place = pose[toe].position;
        AddTube({{place, 0.022F, toe, toe, 1}, {Add(place, {0, 0, 0.07F}), 0.016F, toe, toe, 1}}, mesh);
    }
    return mesh;
}

// The binary half of the file, and the accessors that say what is where.
class Buffer {
  public:
    template <typename Value>
    void Append(Value value) {
        std::array<char, sizeof(Value)> bytes = {};
        std::memcpy(bytes.data(), &value, sizeof(Value));
        data.append(bytes.data(), bytes.size());
    }

    void AppendVector(Vector v) {
        Append(v.x);
        Append(v.y);
        Append(v.z);
    }

    // What was appended since the last call becomes an accessor.
    void EndAccessor(const std::string& description, std::size_t count, int target) {
        const std::string separator = accessors.empty() ? "" : ",";
        views += separator + R"({"buffer":0,"byteOffset":)" + std::to_string(begin) + R"(,"byteLength":)" +
                 std::to_string(data.size() - begin) +
                 (target == 0 ? "" : R"(,"target":)" + std::to_string(target)) + "}";
        accessors += separator + R"({"bufferView":)" + std::to_string(accessorCount++) + R"(,"count":)" +
                     std::to_string(count) + "," + description + "}";
        data.resize((data.size() + 3) / 4 * 4);
        begin = data.size();
    }

    std::string data;
    std::string views;
    std::string accessors;

  private:
    std::size_t begin = 0;
    int accessorCount = 0;
};

std::string Text(float value) {
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.9g", static_cast<double>(value));
    return text.data();
}

std::string Text(Vector v) {
    return "[" + Text(v.x) + "," + Text(v.y) + "," + Text(v.z) + "]";
}

Buffer MakeBuffer(const Mesh& mesh, const std::vector<Transform>& pose) {
    constexpr int Vertices = 34962;
    constexpr int Indices = 34963;
    const std::size_t count = mesh.vertices.size();
    Buffer buffer;
    Vector low = mesh.vertices.front().position;
    Vector high = low;
    for (const Vertex& vertex : mesh.vertices) {
        const Vector& p = vertex.position;
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        buffer.AppendVector(p);
    }
    buffer.EndAccessor(R"("componentType":5126,"type":"VEC3","min":)" + Text(low) + R"(,"max":)" + Text(high),
        count, Vertices);
    for (const Vertex& vertex : mesh.vertices) {
        buffer.AppendVector(vertex.normal);
    }
    buffer.EndAccessor(R"("componentType":5126,"type":"VEC3")", count, Vertices);
    for (const Vertex& vertex : mesh.vertices) {
        // A joint without a share must be 0.
        const bool isShared = vertex.share < 1 && vertex.second != vertex.first;
        const int second = isShared ? vertex.second : 0;
        for (const int joint : {vertex.first, second, 0, 0}) {
            buffer.Append(static_cast<std::uint8_t>(joint));
        }
    }
    buffer.EndAccessor(R"("componentType":5121,"type":"VEC4")", count, Vertices);
    for (const Vertex& vertex : mesh.vertices) {
        const float share = vertex.second == vertex.first ? 1 : vertex.share;
        for (const float weight : {share, 1 - share, 0.0F, 0.0F}) {
            buffer.Append(weight);
        }
    }
    buffer.EndAccessor(R"("componentType":5126,"type":"VEC4")", count, Vertices);
    for (const std::uint16_t index : mesh.indices) {
        buffer.Append(index);
    }
    buffer.EndAccessor(R"("componentType":5123,"type":"SCALAR")", mesh.indices.size(), Indices);
    for (const Transform& joint : pose) {
        const velkori_Quaternionf_ inverse = Conjugate(joint.orientation);
        for (const Vector axis : {Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}}) {
            buffer.AppendVector(Rotate(inverse, axis));
            buffer.Append(0.0F);
        }
        buffer.AppendVector(Scale(Rotate(inverse, joint.position), -1));
        buffer.Append(1.0F);
    }
    buffer.EndAccessor(R"("componentType":5126,"type":"MAT4")", pose.size(), 0);
    return buffer;
}

std::string MakeNodes(const Rig& rig, const std::vector<Transform>& pose) {
    std::string nodes;
    for (std::size_t i = 0; i < rig.joints.size(); ++i) {
        const int parent = rig.joints[i].parent;
        Transform local = pose[i];
        if (parent >= 0) {
            const velkori_Quaternionf_ inverse = Conjugate(pose[parent].orientation);
            local.position = Rotate(inverse, Subtract(pose[i].position, pose[parent].position));
            local.orientation = Multiply(inverse, pose[i].orientation);
        }
        const velkori_Quaternionf_ q = Unit(local.orientation);
        std::string children;
        for (std::size_t child = 0; child < rig.joints.size(); ++child) {
            if (rig.joints[child].parent == static_cast<int>(i)) {
                children += (children.empty() ? "" : ",") + std::to_string(child);
            }
        }
        nodes += R"({"name":")" + rig.joints[i].name + R"(","translation":)" + Text(local.position) +
                 R"(,"rotation":[)" + Text(q.x) + "," + Text(q.y) + "," + Text(q.z) + "," + Text(q.w) + "]" +
                 (children.empty() ? "" : R"(,"children":[)" + children + "]") + "},";
    }
    return nodes + R"({"name":"Body","mesh":0,"skin":0})";
}

std::string MakeDocument(const Rig& rig, const std::vector<Transform>& pose, const Buffer& buffer) {
    std::string joints;
    for (std::size_t i = 0; i < rig.joints.size(); ++i) {
        joints += (i == 0 ? "" : ",") + std::to_string(i);
    }
    return R"({"asset":{"version":"2.0","generator":"make_samples"},"scene":0,"scenes":[{"nodes":[0,)" +
           std::to_string(rig.joints.size()) + R"(]}],"nodes":[)" + MakeNodes(rig, pose) +
           R"(],"meshes":[{"name":"Body","primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"JOINTS_0":2,)"
           R"("WEIGHTS_0":3},"indices":4,"material":0}]}],"skins":[{"inverseBindMatrices":5,"skeleton":0,)"
           R"("joints":[)" +
           joints +
           R"(]}],"materials":[{"name":"Skin","pbrMetallicRoughness":{"baseColorFactor":[0.85,0.45,0.2,1],)"
           R"("metallicFactor":0,"roughnessFactor":0.8}}],"accessors":[)" +
           buffer.accessors + R"(],"bufferViews":[)" + buffer.views + R"(],"buffers":[{"byteLength":)" +
           std::to_string(buffer.data.size()) + "}]}";
}

void AppendWord(std::string& bytes, std::size_t value) {
    const auto word = static_cast<std::uint32_t>(value);
    std::array<char, sizeof(word)> parts = {};
    std::memcpy(parts.data(), &word, sizeof(word));
    bytes.append(parts.data(), parts.size());
}

} // namespace

std::string MakeCharacterFile(const Rig& rig) {
    const std::vector<Transform> pose = InFileSpace(rig.RestPose({}));
    const Buffer buffer = MakeBuffer(MakeMesh(rig, pose), pose);
    std::string document = MakeDocument(rig, pose, buffer);
    document.resize((document.size() + 3) / 4 * 4, ' ');
    constexpr std::size_t HeaderSize = 12;
    constexpr std::size_t ChunkHeaderSize = 8;
    std::string file = "glTF";
    AppendWord(file, 2);
    AppendWord(file, HeaderSize + 2 * ChunkHeaderSize + document.size() + buffer.data.size());
    AppendWord(file, document.size());
    file += "JSON" + document;
    AppendWord(file, buffer.data.size());
    file += std::string("BIN\0", 4) + buffer.data;
    return file;
}
