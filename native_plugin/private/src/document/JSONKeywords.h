#pragma once

// The vocabulary of the configuration document.
namespace Velkori_Utility::JSONKeywords {

// The document
inline constexpr const char* Name = "name";
inline constexpr const char* Config = "config";
inline constexpr const char* Source = "source";
inline constexpr const char* Target = "target";
inline constexpr const char* Mapping = "mapping";

// Its configuration
inline constexpr const char* Version = "version";
inline constexpr const char* RetargetingBehaviorFlags = "retargetingBehaviorFlags";
inline constexpr const char* ApplyJointOrientationFixup = "applyJointOrientationFixup";
inline constexpr const char* CoordinateSpace = "coordinateSpace";
inline constexpr const char* Up = "up";
inline constexpr const char* Forward = "forward";
inline constexpr const char* Right = "right";

// A skeleton
inline constexpr const char* Joints = "joints";
inline constexpr const char* BlendShapes = "blendShapes";
inline constexpr const char* Hierarchy = "hierarchy";
inline constexpr const char* KnownJoints = "knownJoints";
inline constexpr const char* AutoMappingExcludedJoints = "autoMappingExcludedJoints";
inline constexpr const char* Manifestations = "manifestations";
inline constexpr const char* TPose = "tpose";
inline constexpr const char* TPoseMin = "tposeMin";
inline constexpr const char* TPoseMax = "tposeMax";

// A joint mapping
inline constexpr const char* Min = "min";
inline constexpr const char* Max = "max";
inline constexpr const char* Type = "type";
inline constexpr const char* Behavior = "behavior";
inline constexpr const char* Normal = "normal";
inline constexpr const char* Mappings = "mappings";
inline constexpr const char* WeightPosition = "weightPosition";
inline constexpr const char* WeightRotation = "weightRotation";

// A pose
inline constexpr const char* Position = "position";
inline constexpr const char* Rotation = "rotation";
inline constexpr const char* Scale = "scale";
inline constexpr const char* X = "x";
inline constexpr const char* Y = "y";
inline constexpr const char* Z = "z";
inline constexpr const char* W = "w";

} // namespace Velkori_Utility::JSONKeywords
