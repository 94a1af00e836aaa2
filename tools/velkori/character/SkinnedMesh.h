#pragma once

#include "Transforms.h"
#include "character/GLTFFile.h"

#include <array>
#include <span>
#include <vector>

namespace Velkori_Tool {

/** A character's skin: triangles whose corners are moved by up to four joints. */
struct SkinnedMesh {
    struct Influence {
        /** -1 for none. */
        int joint = -1;
        float weight = 0.0f;
        /** The vertex as the joint sees it: in its rotation, in the file's axes and unit. */
        Vector3 place = {0.0f, 0.0f, 0.0f};
    };

    using Vertex = std::array<Influence, 4>;

    std::vector<Vertex> vertices;
    /** Three vertices each. */
    std::vector<uint32_t> triangles;

    /** Where a vertex is in a pose of world transforms. */
    static Vector3 Place(const Vertex& vertex, std::span<const Transform> pose);
};

/** All skins of a file; `nodes` has the node of each joint. What can't be read is left out. */
SkinnedMesh ReadSkin(const GLTFFile& file, const std::vector<int>& nodes);

} // namespace Velkori_Tool
