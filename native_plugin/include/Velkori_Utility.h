#ifndef VELKORI_UTILITY_H
#define VELKORI_UTILITY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(VELKORI_UTILITY_BUILD)
#define VELKORI_API __declspec(dllexport)
#else
#define VELKORI_API __declspec(dllimport)
#endif
#elif defined(VELKORI_UTILITY_BUILD)
#define VELKORI_API __attribute__((visibility("default")))
#else
#define VELKORI_API
#endif

#if defined(__GNUC__)
#define VELKORI_MAYBE_UNUSED __attribute__((unused))
#else
#define VELKORI_MAYBE_UNUSED
#endif

#if defined(__cplusplus)
#define VELKORI_ENUM(name) enum name : int32_t
#define VELKORI_COUNT(name, value) VELKORI_CONSTANT int32_t name = value
#if __cplusplus >= 201703L
#define VELKORI_CONSTANT inline constexpr
#else
#define VELKORI_CONSTANT VELKORI_MAYBE_UNUSED constexpr
#endif
#else
#define VELKORI_ENUM(name)                                                                                   \
    typedef int32_t name;                                                                                    \
    enum
#define VELKORI_COUNT(name, value) enum { name = value }
#define VELKORI_CONSTANT VELKORI_MAYBE_UNUSED static
#endif

typedef uint64_t velkori_Handle;

VELKORI_ENUM(velkori_Result){
    velkori_Result_Success = 1,
    velkori_Result_Failure = 0,
    velkori_Result_ConfigNull = -1000,
    velkori_Result_ParseFailed = -1001,
    velkori_Result_InvalidData = -1002,
    velkori_Result_InvalidHandle = -1003,
    velkori_Result_OperationFailed = -1004,
    velkori_Result_BufferTooSmall = -1005,
    velkori_Result_NullParameter = -1006,
    velkori_Result_InvalidParameter = -1007,
    velkori_Result_InvalidValue = -1008,
};

VELKORI_ENUM(velkori_LogLevel){
    velkori_LogLevel_Debug = 0,
    velkori_LogLevel_Info = 1,
    velkori_LogLevel_Warning = 2,
    velkori_LogLevel_Error = 3,
};

VELKORI_ENUM(velkori_SkeletonType){
    velkori_SkeletonType_Source = 0,
    velkori_SkeletonType_Target = 1,
};

VELKORI_ENUM(velkori_SkeletonTPoseType){
    velkori_SkeletonTPoseType_Current = 0,
    velkori_SkeletonTPoseType_Min = 1,
    velkori_SkeletonTPoseType_Max = 2,
    velkori_SkeletonTPoseType_Unscaled = 3,
};

VELKORI_ENUM(velkori_JointRelativeSpaceType){
    velkori_JointRelativeSpaceType_RootOriginRelative = 0,
    velkori_JointRelativeSpaceType_Local = 1,
    velkori_JointRelativeSpaceType_RootOriginRelativeScaled = 2,
    velkori_JointRelativeSpaceType_LocalScaled = 3,
};

VELKORI_ENUM(velkori_JointMappingBehaviorType){
    velkori_JointMappingBehaviorType_Normal = 0,
    velkori_JointMappingBehaviorType_Twist = 1,
    velkori_JointMappingBehaviorType_ChildAlignedTwist = 2,
    velkori_JointMappingBehaviorType_IKDerived = 3,
};

VELKORI_ENUM(velkori_KnownJointType){
    velkori_KnownJointType_Invalid = -1,
    velkori_KnownJointType_Root = 0,
    velkori_KnownJointType_Hips = 1,
    velkori_KnownJointType_RightUpperArm = 2,
    velkori_KnownJointType_LeftUpperArm = 3,
    velkori_KnownJointType_RightWrist = 4,
    velkori_KnownJointType_LeftWrist = 5,
    velkori_KnownJointType_Chest = 6,
    velkori_KnownJointType_Neck = 7,
    velkori_KnownJointType_RightUpperLeg = 8,
    velkori_KnownJointType_LeftUpperLeg = 9,
    velkori_KnownJointType_RightAnkle = 10,
    velkori_KnownJointType_LeftAnkle = 11,
};

VELKORI_ENUM(velkori_AlignmentFlags){
    velkori_AlignmentFlags_None = 0,
    velkori_AlignmentFlags_MatchFacing = 1,
    velkori_AlignmentFlags_MatchLimbRotations = 2,
    velkori_AlignmentFlags_MatchHandsAndFingers = 4,
    velkori_AlignmentFlags_ScaleToHeight = 8,
    velkori_AlignmentFlags_MatchLimbProportions = 16,
    velkori_AlignmentFlags_MatchHandsAndFingersVariant = 32,
};

VELKORI_ENUM(velkori_AutoMappingFlags){
    velkori_AutoMappingFlags_None = 0,
    velkori_AutoMappingFlags_SkipTwistMappings = 1,
};

VELKORI_ENUM(velkori_RetargetingBehaviorFlags){
    velkori_RetargetingBehaviorFlags_None = 0,
    velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup = 1,
};

VELKORI_ENUM(velkori_RetargetingBehavior){
    velkori_RetargetingBehavior_MatchProportions = 0,
    velkori_RetargetingBehavior_MatchProportionsRotateHands = 1,
    velkori_RetargetingBehavior_RotationsScaled = 2,
    velkori_RetargetingBehavior_RotationsUnscaled = 3,
};

VELKORI_ENUM(velkori_RetargetingRootMotionBehavior){
    velkori_RetargetingRootMotionBehavior_RootFromHips = 0,
    velkori_RetargetingRootMotionBehavior_Unchanged = 1,
    velkori_RetargetingRootMotionBehavior_RootFromReference = 2,
};

VELKORI_ENUM(velkori_MatchBehavior){
    velkori_MatchBehavior_Scale = 0,
    velkori_MatchBehavior_JointLengths = 1,
};

VELKORI_ENUM(velkori_CompressionType){
    velkori_CompressionType_Standard = 0,
    velkori_CompressionType_High = 1,
    velkori_CompressionType_Max = 2,
};

VELKORI_COUNT(VELKORI_KNOWN_JOINT_COUNT, 12);
VELKORI_COUNT(VELKORI_HEADER_TEXT_SIZE, 32);
VELKORI_COUNT(VELKORI_SERIALIZED_START_HEADER_SIZE, 180);
VELKORI_COUNT(VELKORI_SERIALIZED_END_HEADER_SIZE, 8);

typedef struct velkori_Vector3f_ {
    float x;
    float y;
    float z;
} velkori_Vector3f_;

typedef struct velkori_Quaternionf_ {
    float x;
    float y;
    float z;
    float w;
} velkori_Quaternionf_;

typedef struct velkori_Transform_ {
    velkori_Quaternionf_ orientation;
    velkori_Vector3f_ position;
    velkori_Vector3f_ scale;
} velkori_Transform_;

typedef struct velkori_CoordinateSpace_ {
    velkori_Vector3f_ up;
    velkori_Vector3f_ forward;
    velkori_Vector3f_ right;
} velkori_CoordinateSpace_;

typedef struct velkori_SkeletonInitParams_ {
    int32_t blendShapeCount;
    int32_t jointCount;
    const char* const* blendShapeNames;
    const char* const* jointNames;
    const char* const* parentJointNames;
    const velkori_Transform_* minTPose;
    const velkori_Transform_* maxTPose;
    const velkori_Transform_* unscaledTPose;
    const char* const* knownJoints;
    int32_t optional_autoMapExcludedJointCount;
    const char* const* optional_autoMapExcludedJointNames;
    int32_t optional_manifestationCount;
    const char* const* optional_manifestationNames;
    const int32_t* optional_manifestationJointCounts;
    const char* const* optional_manifestationJointNames;
} velkori_SkeletonInitParams_;

typedef struct velkori_JointMappingEntry_ {
    int32_t jointIndex;
    float rotationWeight;
    float positionWeight;
} velkori_JointMappingEntry_;

typedef struct velkori_JointMapping_ {
    int32_t jointIndex;
    velkori_SkeletonType type;
    velkori_JointMappingBehaviorType behavior;
    int32_t entryCount;
} velkori_JointMapping_;

typedef struct velkori_JointMappingDefinition_ {
    int32_t mappingCount;
    int32_t mappingEntryCount;
    const velkori_JointMapping_* mappings;
    const velkori_JointMappingEntry_* mappingEntries;
} velkori_JointMappingDefinition_;

typedef struct velkori_UtilityConfigInitParams_ {
    velkori_SkeletonInitParams_ sourceSkeleton;
    velkori_SkeletonInitParams_ targetSkeleton;
    velkori_JointMappingDefinition_ minMappings;
    velkori_JointMappingDefinition_ maxMappings;
} velkori_UtilityConfigInitParams_;

typedef struct velkori_TwistJointDefinition_ {
    int32_t twistJointIndex;
    int32_t startJointIndex;
    int32_t endJointIndex;
    float ratio;
} velkori_TwistJointDefinition_;

typedef struct velkori_RetargetingBehaviorInfo_ {
    velkori_JointRelativeSpaceType jointSpaceType;
    velkori_RetargetingBehavior behavior;
    velkori_RetargetingRootMotionBehavior rootMotionBehavior;
    velkori_RetargetingBehaviorFlags flags;
} velkori_RetargetingBehaviorInfo_;

typedef struct velkori_SkeletonInfo_ {
    velkori_SkeletonType type;
    int32_t jointCount;
    int32_t blendShapeCount;
} velkori_SkeletonInfo_;

typedef struct velkori_PoseExtents_ {
    velkori_Vector3f_ min;
    velkori_Vector3f_ max;
    velkori_Vector3f_ range;
} velkori_PoseExtents_;

typedef struct velkori_PoseInfo_ {
    velkori_CoordinateSpace_ coordinateSpace;
    velkori_PoseExtents_ extents;
    velkori_Vector3f_ knownJointPositions[VELKORI_KNOWN_JOINT_COUNT];
} velkori_PoseInfo_;

typedef struct velkori_SerializationSettings_ {
    velkori_CompressionType compressionType;
    float positionThreshold;
    float rotationAngleThreshold;
    float shapeThreshold;
    int32_t snapshotCount;
} velkori_SerializationSettings_;

typedef struct velkori_StartHeader_ {
    char text0[VELKORI_HEADER_TEXT_SIZE];
    char text1[VELKORI_HEADER_TEXT_SIZE];
    char text2[VELKORI_HEADER_TEXT_SIZE];
    char text3[VELKORI_HEADER_TEXT_SIZE];
    char text4[VELKORI_HEADER_TEXT_SIZE];
    uint64_t id;
    uint32_t value16;
    uint32_t value24;
    double time;
    uint32_t value10;
} velkori_StartHeader_;

typedef struct velkori_SerializedStartHeader_ {
    uint8_t data[VELKORI_SERIALIZED_START_HEADER_SIZE];
} velkori_SerializedStartHeader_;

typedef struct velkori_EndHeader_ {
    uint64_t value;
} velkori_EndHeader_;

typedef struct velkori_SerializedEndHeader_ {
    uint8_t data[VELKORI_SERIALIZED_END_HEADER_SIZE];
} velkori_SerializedEndHeader_;

typedef struct velkori_FrameData_ {
    uint8_t header;
    double timestamp;
    bool flag0;
    float weight;
    uint8_t value0;
    uint8_t value1;
    bool flag1;
    bool flag2;
    uint32_t value2;
    velkori_Transform_ tracker0;
    velkori_Transform_ tracker1;
    velkori_Transform_ tracker2;
} velkori_FrameData_;

VELKORI_CONSTANT const velkori_CoordinateSpace_ VELKORI_DEFAULT_COORDINATE_SPACE = {
    {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {1.0f, 0.0f, 0.0f}};

VELKORI_CONSTANT const velkori_SkeletonInitParams_ VELKORI_EMPTY_SKELETON_INIT_PARAMS = {
    0, 0, NULL, NULL, NULL, NULL, NULL, NULL, NULL, 0, NULL, 0, NULL, NULL, NULL};

VELKORI_CONSTANT const char* const VELKORI_KNOWN_JOINT_NAMES[VELKORI_KNOWN_JOINT_COUNT] = {"root", "hips",
    "rightUpperArm", "leftUpperArm", "rightWrist", "leftWrist", "chest", "neck", "rightUpperLeg",
    "leftUpperLeg", "rightAnkle", "leftAnkle"};

#if defined(__cplusplus)

constexpr velkori_AlignmentFlags operator|(velkori_AlignmentFlags a, velkori_AlignmentFlags b) {
    return static_cast<velkori_AlignmentFlags>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}

constexpr velkori_AutoMappingFlags operator|(velkori_AutoMappingFlags a, velkori_AutoMappingFlags b) {
    return static_cast<velkori_AutoMappingFlags>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}

constexpr velkori_RetargetingBehaviorFlags operator|(
    velkori_RetargetingBehaviorFlags a, velkori_RetargetingBehaviorFlags b) {
    return static_cast<velkori_RetargetingBehaviorFlags>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}

extern "C" {
#endif

typedef void (*velkori_LogCallback)(velkori_LogLevel level, const char* message);

VELKORI_API velkori_Result velkori_initialize(const velkori_CoordinateSpace_* coordinateSpace);

VELKORI_API velkori_Result velkori_initializeLogging(velkori_LogCallback callback);

VELKORI_API velkori_Result velkori_createOrUpdateHandle(const char* config, velkori_Handle* handle);

VELKORI_API velkori_Result velkori_destroy(velkori_Handle handle);

VELKORI_API velkori_Result velkori_createOrUpdateSimpleUtilityConfig(const char* configName,
    velkori_SkeletonType skeletonType, const velkori_SkeletonInitParams_* params,
    velkori_Handle* in_out_handle);

VELKORI_API velkori_Result velkori_createOrUpdateUtilityConfig(
    const char* configName, const velkori_UtilityConfigInitParams_* params, velkori_Handle* in_out_handle);

VELKORI_API velkori_Result velkori_writeConfigDataToJSON(velkori_Handle handle,
    const velkori_CoordinateSpace_* optional_coordinateSpace, char* out_buffer, int32_t* in_out_bufferSize);

VELKORI_API velkori_Result velkori_getCoordinateSpace(velkori_CoordinateSpace_* out_coordinateSpace);

VELKORI_API velkori_Result velkori_getConfigName(
    velkori_Handle handle, char* out_buffer, int32_t* in_out_bufferSize);

VELKORI_API velkori_Result velkori_getVersion(velkori_Handle handle, double* out_version);

VELKORI_API velkori_Result velkori_getSkeletonInfo(
    velkori_Handle handle, velkori_SkeletonType skeletonType, velkori_SkeletonInfo_* out_skeletonInfo);

VELKORI_API velkori_Result velkori_getBlendShapeNames(velkori_Handle handle,
    velkori_SkeletonType skeletonType, char* out_buffer, int32_t* in_out_bufferSize,
    const char** out_blendShapeNames, int32_t* in_out_numBlendShapeNames);

VELKORI_API velkori_Result velkori_getJointNames(velkori_Handle handle, velkori_SkeletonType skeletonType,
    char* out_buffer, int32_t* in_out_bufferSize, const char** out_jointNames,
    int32_t* in_out_numJointNames);

VELKORI_API velkori_Result velkori_getSkeletonTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

VELKORI_API velkori_Result velkori_getSkeletonMappings(velkori_Handle handle,
    velkori_SkeletonTPoseType tPoseType, velkori_JointMapping_* out_mappings, int32_t* in_out_numMappings);

VELKORI_API velkori_Result velkori_getSkeletonMappingEntries(velkori_Handle handle,
    velkori_SkeletonTPoseType tPoseType, velkori_JointMappingEntry_* out_mappingEntries,
    int32_t* in_out_numMappingEntries);

VELKORI_API velkori_Result velkori_getSkeletonMappingTargetJoints(
    velkori_Handle handle, int32_t* out_jointIndexList, int32_t* in_out_jointCount);

VELKORI_API velkori_Result velkori_getBlendShapeName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t blendShapeIndex, char* out_buffer, int32_t* in_out_bufferSize);

VELKORI_API velkori_Result velkori_getJointName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t jointIndex, char* out_buffer, int32_t* in_out_bufferSize);

VELKORI_API velkori_Result velkori_getJointIndex(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const char* in_jointName, int32_t* out_jointIndex);

VELKORI_API velkori_Result velkori_getJointIndexByKnownJointType(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_KnownJointType knownJointType, int32_t* out_jointIndex);

VELKORI_API velkori_Result velkori_getParentJointIndex(velkori_Handle handle,
    velkori_SkeletonType skeletonType, int32_t jointIndex, int32_t* out_parentJointIndex);

VELKORI_API velkori_Result velkori_getParentJointIndexes(velkori_Handle handle,
    velkori_SkeletonType skeletonType, int32_t* out_jointIndexArray, int32_t* in_out_numJoints);

VELKORI_API velkori_Result velkori_getManifestationNames(velkori_Handle handle,
    velkori_SkeletonType skeletonType, char* out_buffer, int32_t* in_out_bufferSize,
    const char** out_manifestationNames, int32_t* in_out_numManifestationNames);

VELKORI_API velkori_Result velkori_getJointsInManifestation(velkori_Handle handle,
    velkori_SkeletonType skeletonType, const char* manifestationName, int32_t* out_jointIndexList,
    int32_t* in_out_jointCount);

VELKORI_API velkori_Result velkori_calculateSkeletonTPose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType, float interpolation,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

VELKORI_API velkori_Result velkori_calculateSkeletonTPoseAtHeight(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType, float height,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

VELKORI_API velkori_Result velkori_convertPoseFromToManifestation(velkori_Handle handle,
    velkori_SkeletonType skeletonType, const char* sourceManifestation,
    velkori_JointRelativeSpaceType sourceSpaceType, const velkori_Transform_* in_transformData,
    int32_t in_sourceManifestationJointCount, const char* outputManifestation,
    velkori_JointRelativeSpaceType outputSpaceType, velkori_Transform_* out_transformData,
    int32_t* in_out_numOutputJoints);

VELKORI_API velkori_Result velkori_getPoseInfo(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_PoseInfo_* out_poseHeight);

VELKORI_API velkori_Result velkori_getLengthBetweenJoints(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_SkeletonTPoseType tPoseType, int32_t startJointIndex,
    int32_t endJointIndex, float* out_length);

VELKORI_API velkori_Result velkori_updateSourceReferenceTPose(velkori_Handle handle,
    const velkori_Transform_* in_transformData, int32_t in_numJoints, const char* manifestation);

VELKORI_API velkori_Result velkori_retargetFromSourceFrameData(velkori_Handle handle,
    velkori_RetargetingBehaviorInfo_ info, const velkori_Transform_* in_sourceTransformData,
    int32_t in_numSourceJoints, velkori_Transform_* out_targetTransformData, int32_t* in_out_numTargetJoints,
    const char* sourceManifestation, const char* targetManifestation);

VELKORI_API velkori_Result velkori_getLastProcessedFramePose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints, const char* manifestation);

VELKORI_API velkori_Result velkori_getLastRetargetedMappingData(velkori_Handle handle,
    int32_t targetJointIndex, velkori_SkeletonType* out_sourceSkeletonType,
    velkori_Transform_* out_mappingTPose, velkori_Transform_* out_mappingPose,
    int32_t* out_sourceJointIndexList, int32_t* in_out_sourceJointCount);

VELKORI_API velkori_Result velkori_scalePoseToHeight(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, float height, int32_t jointCount,
    velkori_Transform_* in_out_transformData);

VELKORI_API velkori_Result velkori_applyWorldSpaceCoordinateSpaceConversion(
    velkori_Transform_* in_out_worldSpaceTransformData, int32_t jointCount,
    velkori_CoordinateSpace_ in_coordinateSpace, velkori_CoordinateSpace_ out_coordinateSpace);

VELKORI_API velkori_Result velkori_applyCoordinateSpaceConversion(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount, velkori_CoordinateSpace_ in_coordinateSpace,
    velkori_CoordinateSpace_ out_coordinateSpace);

VELKORI_API velkori_Result velkori_convertJointPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType fromSpaceType, velkori_JointRelativeSpaceType toSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount);

VELKORI_API velkori_Result velkori_calculatePoseExtents(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    const velkori_Transform_* in_transformData, int32_t jointCount, velkori_PoseExtents_* out_extents);

VELKORI_API velkori_Result velkori_generateTargetToSourceJointPairsFromNames(velkori_Handle sourceHandle,
    velkori_Handle targetHandle, int32_t pairCount, const char* const* in_namedPairs, int32_t* out_pairs);

VELKORI_API velkori_Result velkori_generateMappings(velkori_Handle handle, velkori_AutoMappingFlags flags);

VELKORI_API velkori_Result velkori_generateSimpleMappingConfig(velkori_Handle handle,
    int32_t targetJointCount, const char* const* targetJointNames, const char* const* targetParentJointNames,
    const velkori_Transform_* targetRestPose, const char* const* sourceJointNamesMapping,
    velkori_Handle* out_generatedConfigHandle);

VELKORI_API velkori_Result velkori_matchCurrentTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    velkori_Transform_* in_out_transform);

VELKORI_API velkori_Result velkori_matchPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    const velkori_Transform_* in_transformSourcePose, velkori_Transform_* in_out_transformData);

VELKORI_API velkori_Result velkori_alignTargetToSource(const char* configName, velkori_AlignmentFlags flags,
    velkori_Handle sourceHandle, velkori_SkeletonType sourceSkeletonType, velkori_Handle targetHandle,
    velkori_Handle* in_out_handle);

VELKORI_API velkori_Result velkori_getSerializationSettings(
    velkori_Handle handle, velkori_SerializationSettings_* out_serializationSettings);

VELKORI_API velkori_Result velkori_updateSerializationSettings(
    velkori_Handle handle, const velkori_SerializationSettings_* in_serializationSettings);

VELKORI_API velkori_Result velkori_getCurrentAck(velkori_Handle handle, int32_t* out_ack);

VELKORI_API velkori_Result velkori_createSnapshot(
    velkori_Handle handle, int32_t baselineAck, double timestamp);

VELKORI_API velkori_Result velkori_snapshotSkeleton(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const velkori_Transform_* skeletonPose, const int32_t* indices, int32_t indexCount);

VELKORI_API velkori_Result velkori_snapshotFace(
    velkori_Handle handle, const float* facePose, const int32_t* indices, int32_t indexCount);

VELKORI_API velkori_Result velkori_snapshotFrameData(
    velkori_Handle handle, const velkori_FrameData_* frameData);

VELKORI_API velkori_Result velkori_serializeStartHeader(
    velkori_StartHeader_ header, velkori_SerializedStartHeader_* out_header);

VELKORI_API velkori_Result velkori_serializeEndHeader(
    velkori_EndHeader_ header, velkori_SerializedEndHeader_* out_header);

VELKORI_API velkori_Result velkori_serializeSnapshot(
    velkori_Handle handle, void* out_buffer, int32_t* in_out_bufferSizeInBytes);

VELKORI_API velkori_Result velkori_deserializeStartHeader(
    velkori_StartHeader_* out_header, velkori_SerializedStartHeader_ in_header);

VELKORI_API velkori_Result velkori_deserializeEndHeader(
    velkori_EndHeader_* out_header, velkori_SerializedEndHeader_ in_header);

VELKORI_API velkori_Result velkori_deserializeSnapshotTimestamp(const void* data, double* out_timestamp);

VELKORI_API velkori_Result velkori_deserializeSnapshot(velkori_Handle handle, const void* data,
    double* out_timestamp, velkori_CompressionType* out_compressionType, int32_t* out_ack,
    velkori_Transform_* optional_targetPose, float* optional_facePose,
    velkori_Transform_* optional_sourcePose, velkori_FrameData_* optional_frameData);

VELKORI_API velkori_Result velkori_resetInterpolators(velkori_Handle handle);

VELKORI_API velkori_Result velkori_getInterpolatedSkeletonPose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_Transform_* out_bodyPose, int32_t* in_out_jointCount,
    double time);

VELKORI_API velkori_Result velkori_getInterpolatedFacePose(velkori_Handle handle, int32_t reserved,
    float* out_facePose, int32_t* in_out_shapeCount, double time);

VELKORI_API velkori_Result velkori_getInterpolatedTrackerJointPose(
    velkori_Handle handle, int32_t trackerIndex, velkori_Transform_* out_pose, double time);

#if !defined(VELKORI_NO_BRENVIK_DECLARATIONS)
VELKORI_API uint64_t brenvik_log(void);
VELKORI_API uint64_t brenvik_addSink(void);
VELKORI_API uint64_t brenvik_isValidHandle(void);
VELKORI_API uint64_t brenvik_findSink(void);
VELKORI_API void brenvik_logFatalError(void);
VELKORI_API void brenvik_setFatalLogHandler(void);
VELKORI_API uint64_t brenvik_getFatalLogHandler(void);
VELKORI_API uint64_t brenvik_hasCustomFatalLogHandler(void);
#endif

#if defined(__cplusplus)
}
#endif

#endif
