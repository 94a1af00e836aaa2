#pragma once

#include "Remark.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** A glTF file as it stands: its document and all its binary data in one buffer. */
// NOLINTNEXTLINE(bugprone-exception-escape): the JSON library's moves throw nothing but failed assertions.
struct GLTFFile {
    nlohmann::ordered_json document;
    std::vector<uint8_t> binary;

    /** The document's list of that name, made if there is none. */
    nlohmann::ordered_json& List(const char* name);

    /** Adds something to a list and gives its index. */
    int Add(const char* list, nlohmann::ordered_json value);

    /** Appends bytes as a view of their own and gives its index. */
    int AddView(std::span<const uint8_t> bytes);

    /** Appends floats as an accessor; `type` is glTF's: "SCALAR", "VEC3" and so on. */
    int AddFloats(std::span<const float> values, const char* type, bool statesBounds = false);

    /** Appends unsigned whole numbers, as 16 bits. */
    int AddShorts(std::span<const uint16_t> values, const char* type);

    /** Appends indices, as 32 bits. */
    int AddIndices(std::span<const uint32_t> values);

    /** Whether elements of a size lie within the binary data: the first one's place, their distance, count.
     */
    bool Holds(size_t first, size_t stride, size_t count, size_t size) const;

    /** Says what a view holds: 34962 for what vertices have, 34963 for indices. */
    void SetTarget(int accessor, int target);
};

/** A GLTFFile with what every document has, and one empty scene. */
GLTFFile MakeEmptyGLTF();

/**
 * Reads a .glb, a .vrm or a .gltf with the files that it names. Pictures that aren't there are noted. Throws
 * Failure if it can't be read.
 */
GLTFFile ReadGLTF(const std::string& path, std::vector<Remark>& notes);

/** Writes it as a GLB. Throws Failure, without the path, if the file can't be written. */
void WriteGLTFFile(const std::string& path, GLTFFile file);

} // namespace Velkori_Tool
