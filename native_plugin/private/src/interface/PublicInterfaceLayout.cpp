// The binary form of the interface. Hosts in other languages declare these records by hand, so no field may
// move: a change that fails here breaks every host.

#include "Velkori_Utility.h"

#ifdef __FAST_MATH__
#error "Results must be the same bits wherever the library is built: don't build it with fast-math."
#endif

#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace {

template <typename Record>
consteval bool HasLayout(std::size_t size, std::size_t alignment) {
    return sizeof(Record) == size && alignof(Record) == alignment && std::is_standard_layout_v<Record> &&
           std::is_trivially_copyable_v<Record>;
}

template <typename... Enums>
consteval bool AreSigned32Bit() {
    return (std::same_as<std::underlying_type_t<Enums>, std::int32_t> && ...);
}

// The room that a pointer takes, and with it an integer in front of one.
constexpr std::size_t Pointer = sizeof(void*);

// The alignment of 64-bit numbers: 8, except on 32-bit x86 outside Windows.
struct WideField {
    char before;
    std::uint64_t number;
};

constexpr std::size_t Wide = offsetof(WideField, number);

constexpr std::size_t SkeletonSize = 8 + 13 * Pointer;
constexpr std::size_t MappingsSize = 8 + 2 * Pointer;

} // namespace

static_assert(CHAR_BIT == 8 && sizeof(bool) == 1 && sizeof(velkori_Handle) == 8);
#if defined(__i386__) && !defined(_WIN32)
static_assert(Pointer == 4 && Wide == 4);
#else
static_assert((Pointer == 8 || Pointer == 4) && Wide == 8);
#endif
static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4);
static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);

static_assert(AreSigned32Bit<velkori_Result, velkori_LogLevel, velkori_SkeletonType,
    velkori_SkeletonTPoseType, velkori_JointRelativeSpaceType, velkori_JointMappingBehaviorType,
    velkori_KnownJointType, velkori_AlignmentFlags, velkori_AutoMappingFlags,
    velkori_RetargetingBehaviorFlags, velkori_RetargetingBehavior, velkori_RetargetingRootMotionBehavior,
    velkori_MatchBehavior, velkori_CompressionType>());

static_assert(HasLayout<velkori_Vector3f_>(12, 4));
static_assert(offsetof(velkori_Vector3f_, x) == 0 && offsetof(velkori_Vector3f_, y) == 4 &&
              offsetof(velkori_Vector3f_, z) == 8);

static_assert(HasLayout<velkori_Quaternionf_>(16, 4));
static_assert(offsetof(velkori_Quaternionf_, x) == 0 && offsetof(velkori_Quaternionf_, y) == 4 &&
              offsetof(velkori_Quaternionf_, z) == 8 && offsetof(velkori_Quaternionf_, w) == 12);

static_assert(HasLayout<velkori_Transform_>(40, 4));
static_assert(offsetof(velkori_Transform_, orientation) == 0 &&
              offsetof(velkori_Transform_, position) == 16 && offsetof(velkori_Transform_, scale) == 28);

static_assert(HasLayout<velkori_CoordinateSpace_>(36, 4));
static_assert(offsetof(velkori_CoordinateSpace_, up) == 0 &&
              offsetof(velkori_CoordinateSpace_, forward) == 12 &&
              offsetof(velkori_CoordinateSpace_, right) == 24);

static_assert(HasLayout<velkori_SkeletonInitParams_>(SkeletonSize, Pointer));
static_assert(offsetof(velkori_SkeletonInitParams_, blendShapeCount) == 0 &&
              offsetof(velkori_SkeletonInitParams_, jointCount) == 4 &&
              offsetof(velkori_SkeletonInitParams_, blendShapeNames) == 8 &&
              offsetof(velkori_SkeletonInitParams_, jointNames) == 8 + Pointer &&
              offsetof(velkori_SkeletonInitParams_, parentJointNames) == 8 + 2 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, minTPose) == 8 + 3 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, maxTPose) == 8 + 4 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, unscaledTPose) == 8 + 5 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, knownJoints) == 8 + 6 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_autoMapExcludedJointCount) == 8 + 7 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_autoMapExcludedJointNames) == 8 + 8 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_manifestationCount) == 8 + 9 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_manifestationNames) == 8 + 10 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_manifestationJointCounts) == 8 + 11 * Pointer &&
              offsetof(velkori_SkeletonInitParams_, optional_manifestationJointNames) == 8 + 12 * Pointer);

static_assert(HasLayout<velkori_JointMappingEntry_>(12, 4));
static_assert(offsetof(velkori_JointMappingEntry_, jointIndex) == 0 &&
              offsetof(velkori_JointMappingEntry_, rotationWeight) == 4 &&
              offsetof(velkori_JointMappingEntry_, positionWeight) == 8);

static_assert(HasLayout<velkori_JointMapping_>(16, 4));
static_assert(offsetof(velkori_JointMapping_, jointIndex) == 0 &&
              offsetof(velkori_JointMapping_, type) == 4 && offsetof(velkori_JointMapping_, behavior) == 8 &&
              offsetof(velkori_JointMapping_, entryCount) == 12);

static_assert(HasLayout<velkori_JointMappingDefinition_>(MappingsSize, Pointer));
static_assert(offsetof(velkori_JointMappingDefinition_, mappingCount) == 0 &&
              offsetof(velkori_JointMappingDefinition_, mappingEntryCount) == 4 &&
              offsetof(velkori_JointMappingDefinition_, mappings) == 8 &&
              offsetof(velkori_JointMappingDefinition_, mappingEntries) == 8 + Pointer);

static_assert(HasLayout<velkori_UtilityConfigInitParams_>(2 * SkeletonSize + 2 * MappingsSize, Pointer));
static_assert(offsetof(velkori_UtilityConfigInitParams_, sourceSkeleton) == 0 &&
              offsetof(velkori_UtilityConfigInitParams_, targetSkeleton) == SkeletonSize &&
              offsetof(velkori_UtilityConfigInitParams_, minMappings) == 2 * SkeletonSize &&
              offsetof(velkori_UtilityConfigInitParams_, maxMappings) == 2 * SkeletonSize + MappingsSize);

static_assert(HasLayout<velkori_TwistJointDefinition_>(16, 4));
static_assert(offsetof(velkori_TwistJointDefinition_, twistJointIndex) == 0 &&
              offsetof(velkori_TwistJointDefinition_, startJointIndex) == 4 &&
              offsetof(velkori_TwistJointDefinition_, endJointIndex) == 8 &&
              offsetof(velkori_TwistJointDefinition_, ratio) == 12);

static_assert(HasLayout<velkori_RetargetingBehaviorInfo_>(16, 4));
static_assert(offsetof(velkori_RetargetingBehaviorInfo_, jointSpaceType) == 0 &&
              offsetof(velkori_RetargetingBehaviorInfo_, behavior) == 4 &&
              offsetof(velkori_RetargetingBehaviorInfo_, rootMotionBehavior) == 8 &&
              offsetof(velkori_RetargetingBehaviorInfo_, flags) == 12);

static_assert(HasLayout<velkori_SkeletonInfo_>(12, 4));
static_assert(offsetof(velkori_SkeletonInfo_, type) == 0 &&
              offsetof(velkori_SkeletonInfo_, jointCount) == 4 &&
              offsetof(velkori_SkeletonInfo_, blendShapeCount) == 8);

static_assert(HasLayout<velkori_PoseExtents_>(36, 4));
static_assert(offsetof(velkori_PoseExtents_, min) == 0 && offsetof(velkori_PoseExtents_, max) == 12 &&
              offsetof(velkori_PoseExtents_, range) == 24);

static_assert(HasLayout<velkori_PoseInfo_>(216, 4));
static_assert(offsetof(velkori_PoseInfo_, coordinateSpace) == 0 &&
              offsetof(velkori_PoseInfo_, extents) == 36 &&
              offsetof(velkori_PoseInfo_, knownJointPositions) == 72);

static_assert(HasLayout<velkori_SerializationSettings_>(20, 4));
static_assert(offsetof(velkori_SerializationSettings_, compressionType) == 0 &&
              offsetof(velkori_SerializationSettings_, positionThreshold) == 4 &&
              offsetof(velkori_SerializationSettings_, rotationAngleThreshold) == 8 &&
              offsetof(velkori_SerializationSettings_, shapeThreshold) == 12 &&
              offsetof(velkori_SerializationSettings_, snapshotCount) == 16);

static_assert(HasLayout<velkori_StartHeader_>(184 + Wide, Wide));
static_assert(offsetof(velkori_StartHeader_, text0) == 0 && offsetof(velkori_StartHeader_, text1) == 32 &&
              offsetof(velkori_StartHeader_, text2) == 64 && offsetof(velkori_StartHeader_, text3) == 96 &&
              offsetof(velkori_StartHeader_, text4) == 128 && offsetof(velkori_StartHeader_, id) == 160 &&
              offsetof(velkori_StartHeader_, value16) == 168 &&
              offsetof(velkori_StartHeader_, value24) == 172 && offsetof(velkori_StartHeader_, time) == 176 &&
              offsetof(velkori_StartHeader_, value10) == 184);

static_assert(HasLayout<velkori_SerializedStartHeader_>(180, 1));
static_assert(offsetof(velkori_SerializedStartHeader_, data) == 0);

static_assert(HasLayout<velkori_EndHeader_>(8, Wide));
static_assert(offsetof(velkori_EndHeader_, value) == 0);

static_assert(HasLayout<velkori_SerializedEndHeader_>(8, 1));
static_assert(offsetof(velkori_SerializedEndHeader_, data) == 0);

static_assert(HasLayout<velkori_FrameData_>(Wide + 144, Wide));
static_assert(
    offsetof(velkori_FrameData_, header) == 0 && offsetof(velkori_FrameData_, timestamp) == Wide &&
    offsetof(velkori_FrameData_, flag0) == Wide + 8 && offsetof(velkori_FrameData_, weight) == Wide + 12 &&
    offsetof(velkori_FrameData_, value0) == Wide + 16 && offsetof(velkori_FrameData_, value1) == Wide + 17 &&
    offsetof(velkori_FrameData_, flag1) == Wide + 18 && offsetof(velkori_FrameData_, flag2) == Wide + 19 &&
    offsetof(velkori_FrameData_, value2) == Wide + 20 &&
    offsetof(velkori_FrameData_, tracker0) == Wide + 24 &&
    offsetof(velkori_FrameData_, tracker1) == Wide + 64 &&
    offsetof(velkori_FrameData_, tracker2) == Wide + 104);
