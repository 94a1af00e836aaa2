#pragma once

#include "BipedFile.h"

#include <array>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Velkori_Tool_Test {

/** A skinned character as an exporter writes it, made by the test itself. */
struct SkinnedFile {
    /** Where each joint is: y up, facing z, in metres. */
    std::array<Point, BipedJointCount> positions = [] {
        std::array<Point, BipedJointCount> places;
        for (int joint = 0; joint < BipedJointCount; ++joint) {
            places.at(joint) = BipedPosition(joint);
        }
        return places;
    }();
    BipedNames names = PlainNames();
    /** An armature that lies on its back and is in centimetres, as exporters from z-up programs write it. */
    bool isUnderScaledArmature = false;
    /** The table of a VRM character. */
    bool isVRM = false;
    /** The skin says no inverse bind matrices, which then are identities. */
    bool hasNoBindMatrices = false;
    /** Does something to the document before it is written. */
    std::function<void(nlohmann::json&)> change = [](nlohmann::json&) {};
    /** One vertex's weights sum up to 1.2. */
    bool hasFaultyWeights = false;

    std::string Bytes() const;
};

/** A GLB as the test reads it. */
class GLBFile {
  public:
    explicit GLBFile(const std::string& bytes);

    nlohmann::json document;

    int NodeNamed(const std::string& name) const;
    /** How many frames the last animation has. */
    int FrameCount() const;
    /** World positions of all nodes in a frame of the last animation. */
    std::vector<Point> Frame(int frame) const;
    std::vector<float> Floats(int accessor) const;

  private:
    std::string binary;
};

} // namespace Velkori_Tool_Test
