#include "character/MendGLTF.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstring>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

/** Where an accessor's elements of four floats lie; a count of 0 where they are of another kind. */
struct WeightPlaces {
    size_t first = 0;
    size_t stride = 0;
    size_t count = 0;
};

constexpr size_t elementSize = 4 * sizeof(float);

WeightPlaces FindWeights(const GLTFFile& file, const JSON& accessor) {
    constexpr int floatComponent = 5126;
    if (accessor.value("componentType", 0) != floatComponent || !accessor.contains("bufferView") ||
        accessor.contains("sparse")) {
        return {};
    }
    const JSON& view = file.document.at("bufferViews").at(accessor["bufferView"].get<size_t>());
    WeightPlaces places;
    places.first = view.value("byteOffset", size_t{0}) + accessor.value("byteOffset", size_t{0});
    places.stride = view.value("byteStride", elementSize);
    places.count = accessor.value("count", size_t{0});
    const bool isInside = view.value("buffer", 0) == 0 && !view.contains("extensions") &&
                          file.Holds(places.first, places.stride, places.count, elementSize);
    return isInside ? places : WeightPlaces();
}

/** How many vertices were mended. */
int Normalize(const WeightPlaces& places, std::vector<uint8_t>& binary) {
    constexpr float tolerance = 2e-7f * 4.0f;
    int mended = 0;
    for (size_t i = 0; i < places.count; ++i) {
        std::array<float, 4> weights = {};
        uint8_t* const place = binary.data() + places.first + i * places.stride;
        std::memcpy(weights.data(), place, elementSize);
        const float sum = weights[0] + weights[1] + weights[2] + weights[3];
        if (sum > 0.0f && std::isfinite(sum) && std::fabs(sum - 1.0f) > tolerance) {
            for (float& weight : weights) {
                weight /= sum;
            }
            std::memcpy(place, weights.data(), elementSize);
            ++mended;
        }
    }
    return mended;
}

} // namespace

void MendWeights(GLTFFile& file, std::vector<Remark>& notes) {
    int mended = 0;
    for (const JSON& mesh : file.document.value("meshes", JSON::array())) {
        for (const JSON& primitive : mesh.value("primitives", JSON::array())) {
            const JSON attributes = primitive.value("attributes", JSON::object());
            // Further sets add to the first one's sum.
            if (attributes.contains("WEIGHTS_0") && !attributes.contains("WEIGHTS_1")) {
                const JSON& accessor =
                    file.document.at("accessors").at(attributes["WEIGHTS_0"].get<size_t>());
                mended += Normalize(FindWeights(file, accessor), file.binary);
            }
        }
    }
    if (mended > 0) {
        notes.push_back({fmt::format(
            "the character's file has {} vertices whose weights don't sum up to 1; they do in the result",
            mended)});
    }
}

} // namespace Velkori_Tool
