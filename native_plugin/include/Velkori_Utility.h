#ifndef VELKORI_UTILITY_H
#define VELKORI_UTILITY_H

/**
 * @file
 * The whole interface of Velkori_Utility, a library of skeletons for real-time character animation. It
 * compiles as C99 and later and as C++11 and later.
 *
 * The library stands between a body and face tracker and an animated character. It keeps configurations (a
 * source skeleton, a target skeleton and the joint mappings between them), retargets tracked poses onto the
 * target frame by frame, prepares configurations by generating mappings and aligning rest poses, and packs
 * poses into small snapshots, reads them back and interpolates between them. It starts no thread and opens
 * no file and no socket: everything comes in through arguments and leaves through them or through the log
 * callback. No start-up call is needed.
 *
 * **Handles.** A loaded configuration, its retargeter and its pose-stream state make one instance. A
 * velkori_Handle names it from a successful create until velkori_destroy(). Handles are numbers that rise
 * from 1 and are never reused; 0 is no handle. Creating under a live handle replaces everything behind it,
 * also the retargeter's last frame and the pose stream; if that fails, the old instance stays as it was.
 *
 * **Results.** Every function returns a velkori_Result: 1 is success, 0 a soft failure, and the negative
 * codes are failures. The codes are not uniform across functions (a missing out-pointer is
 * velkori_Result_NullParameter here and velkori_Result_InvalidParameter there), so each function lists its
 * own. Two hold for all of them and aren't listed again: a handle that names no live instance gives
 * velkori_Result_InvalidHandle, and since no exception leaves the library, one that is stopped inside, such
 * as memory that ran out, ends as velkori_Result_OperationFailed. Unless a function says otherwise, a
 * failure writes nothing to the out-parameters.
 *
 * **Logging.** Every failure logs a line at velkori_LogLevel_Error before it returns, an unknown handle
 * two. (Three functions have a velkori_Result_Failure that is an answer and logs nothing, and say so.) The
 * code is only the kind of failure; the line tells the reason. Lines go to the callback of
 * velkori_initializeLogging() and nowhere else.
 *
 * **Arguments.** `in_` is read, `out_` is written, `in_out_` is read and written, `optional_` may be null.
 * A required pointer that is null is refused, never followed. Counts are in elements, except
 * `in_out_bufferSize` and `in_out_bufferSizeInBytes`, which are in bytes. Strings are NUL-terminated and
 * compared byte by byte. Arrays and strings stay the caller's: the library copies what it needs during the
 * call and keeps no pointer. A skeleton type other than velkori_SkeletonType_Source means the target
 * skeleton everywhere. A joint space type or a retargeting behavior outside 0 to 3 is refused with
 * velkori_Result_InvalidValue.
 *
 * **Buffers.** A null out-buffer is a size query: the needed size is written behind the `in_out_` pointer
 * and the call succeeds. There are four forms:
 *  - *One string* (velkori_getConfigName(), velkori_getJointName(), velkori_getBlendShapeName()): a query
 *    gives the length + 1, and a buffer must be larger than the length. The characters are copied without
 *    the terminating NUL and the size is left as it was, so clear the buffer beforehand.
 *  - *Name list* (velkori_getJointNames(), velkori_getBlendShapeNames(), velkori_getManifestationNames()):
 *    one buffer takes all names, each followed by one byte that is skipped and not written, so clear the
 *    buffer beforehand. A parallel pointer array, which may be null, takes the start of each name inside
 *    the buffer; with it, its count is required. The count is set to the number of names.
 *  - *Array*: a query gives the number of elements. An array that is too small fails with
 *    velkori_Result_BufferTooSmall; otherwise the count is set to the number of elements written.
 *  - *Document* (velkori_writeConfigDataToJSON()): the size is the length + 1 with and without a buffer,
 *    and the text is copied with its NUL.
 *
 * **Spaces and units.** A joint is an index into its skeleton's joint names, and -1 is no joint. A pose is
 * an array of one velkori_Transform_ per joint, in the skeleton's order, or in the order of a manifestation
 * where one is named. A manifestation is a named subset of a skeleton's joints: what a tracker delivers
 * that doesn't track the whole body. Unless told otherwise, a null or empty manifestation name means the
 * whole skeleton. Poses are expressed in the process-wide coordinate space of velkori_initialize() and in
 * one of the spaces of velkori_JointRelativeSpaceType. Lengths are in metres, or in another unit that the
 * host uses throughout; only the ranges and default thresholds of the pose stream are made for metres.
 * Times are in seconds. An orientation need not be normalised. Transforms are invalid if they hold a nan,
 * an infinity or an all-zero orientation; an absent or empty array is valid.
 *
 * **Threads.** Calls on different handles may run at once on different threads without any lock, as long as
 * no call creates, replaces or destroys an instance or sets the coordinate space, the log callback or the
 * snapshot count. Such a call must run alone: velkori_initialize(), velkori_initializeLogging(),
 * velkori_destroy(), velkori_updateSerializationSettings(), velkori_generateMappings() and all that give out
 * a handle. Calls on one handle must come one after another, and it is the host that sees to it; a call that
 * takes two handles is one on both. Calls without a handle may run beside any but those that run alone. A
 * line is logged on the thread of the call that it is about, so that several threads may be in the log
 * callback at once.
 *
 * **Platforms.** The same calls give the same bits on every processor, also in the pose stream, whose bytes
 * any platform may read. Records lie in memory as the platform's C compiler lays them out, unpacked: those
 * that hold pointers are smaller where a pointer has 32 bits.
 */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/** Marks what the library exports. Only the library's own build defines VELKORI_UTILITY_BUILD. */
#if defined(_WIN32) && defined(VELKORI_UTILITY_BUILD)
#define VELKORI_API __declspec(dllexport)
#elif defined(_WIN32)
#define VELKORI_API __declspec(dllimport)
#else
#define VELKORI_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
#define VELKORI_MAYBE_UNUSED __attribute__((unused))
#else
#define VELKORI_MAYBE_UNUSED
#endif

/**
 * VELKORI_ENUM opens an enumeration that is exactly a signed 32-bit integer in both languages: in C its
 * name is an int32_t and its enumerators are plain constants. VELKORI_CONSTANT opens the definition of a
 * constant, and VELKORI_COUNT defines a whole number that can size an array in C too.
 */
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

/* ---- Handles and enumerations ---- */

/** Names a live instance; 0 names none. */
typedef uint64_t velkori_Handle;

/**
 * What a function returns. The notes tell what a code usually stands for; each function lists its own use.
 */
VELKORI_ENUM(velkori_Result){
    velkori_Result_Success = 1,
    /** A soft failure: there is no value to report. */
    velkori_Result_Failure = 0,
    /** The configuration text is null. */
    velkori_Result_ConfigNull = -1000,
    /** The configuration text isn't valid JSON. */
    velkori_Result_ParseFailed = -1001,
    /** A configuration, skeleton or manifestation holds invalid data. */
    velkori_Result_InvalidData = -1002,
    /** No live instance has the handle. */
    velkori_Result_InvalidHandle = -1003,
    /** The state is wrong for the call, or an instance couldn't be made. */
    velkori_Result_OperationFailed = -1004,
    /** A buffer or count is too small, or a joint count doesn't match. */
    velkori_Result_BufferTooSmall = -1005,
    /** A required pointer is null. */
    velkori_Result_NullParameter = -1006,
    /** A required pointer is null, or parameters don't fit together. */
    velkori_Result_InvalidParameter = -1007,
    /** A value is invalid, or a name isn't found. */
    velkori_Result_InvalidValue = -1008,
};

/** How serious a log line is. The line's text begins with the level: "[INFO]: ", "[ERROR]: " and so on. */
VELKORI_ENUM(velkori_LogLevel){
    /** Switched off: such lines never reach the callback. */
    velkori_LogLevel_Debug = 0,
    velkori_LogLevel_Info = 1,
    velkori_LogLevel_Warning = 2,
    velkori_LogLevel_Error = 3,
};

/** Which of a configuration's two skeletons is meant. */
VELKORI_ENUM(velkori_SkeletonType){
    /** The tracked skeleton; "source" in documents. */
    velkori_SkeletonType_Source = 0,
    /** The animated character; "target" in documents. */
    velkori_SkeletonType_Target = 1,
};

/** Which rest pose of a skeleton is meant. A value that isn't named here answers as Min. */
VELKORI_ENUM(velkori_SkeletonTPoseType){
    /** The one that retargeting uses. Of the source: the reference pose that
        velkori_updateSourceReferenceTPose() or a frame supplied. Of the target: the start pose of the last
        frame's behavior; before the first frame, the unscaled rest pose or, without one, the minimum. */
    velkori_SkeletonTPoseType_Current = 0,
    /** The rest pose at minimum size. */
    velkori_SkeletonTPoseType_Min = 1,
    /** The rest pose at maximum size. */
    velkori_SkeletonTPoseType_Max = 2,
    /** The rest pose as authored. Only a target skeleton has one: a source skeleton answers as Min. */
    velkori_SkeletonTPoseType_Unscaled = 3,
};

/** In which space an array of transforms is expressed. */
VELKORI_ENUM(velkori_JointRelativeSpaceType){
    /** Relative to the skeleton's root origin, every scale (1, 1, 1). */
    velkori_JointRelativeSpaceType_RootOriginRelative = 0,
    /** Relative to the parent joint, unscaled. */
    velkori_JointRelativeSpaceType_Local = 1,
    /** Relative to the root origin, with the pose's scale in the transforms. */
    velkori_JointRelativeSpaceType_RootOriginRelativeScaled = 2,
    /** Relative to the parent joint, with the pose's scale in the transforms. */
    velkori_JointRelativeSpaceType_LocalScaled = 3,
};

/** How a mapping drives its target joint. */
VELKORI_ENUM(velkori_JointMappingBehaviorType){
    /** The joint takes the blend of its entries; "normal" in documents. */
    velkori_JointMappingBehaviorType_Normal = 0,
    /** It takes only the roll around the bone from its parent, and slides along that bone; "twist". */
    velkori_JointMappingBehaviorType_Twist = 1,
    /** As Twist, with the bone to the mean of its children; "childAlignedTwist". */
    velkori_JointMappingBehaviorType_ChildAlignedTwist = 2,
    /** As Normal, but evaluated after the other joints; "ikDerived". */
    velkori_JointMappingBehaviorType_IKDerived = 3,
};

/** The joints that the library knows by role. Their keys in documents are VELKORI_KNOWN_JOINT_NAMES. */
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

/** The steps of velkori_alignTargetToSource(), a bit set. They run in this order, but hands always last. */
VELKORI_ENUM(velkori_AlignmentFlags){
    velkori_AlignmentFlags_None = 0,
    /** Turn the target to the source's facing. */
    velkori_AlignmentFlags_MatchFacing = 1,
    /** Match limb rotations. */
    velkori_AlignmentFlags_MatchLimbRotations = 2,
    /** Match hands and fingers. */
    velkori_AlignmentFlags_MatchHandsAndFingers = 4,
    /** Scale the target until its right wrist is as high as the source's. */
    velkori_AlignmentFlags_ScaleToHeight = 8,
    /** Deform limbs to the source's proportions. */
    velkori_AlignmentFlags_MatchLimbProportions = 16,
    /** Match hands and fingers, and scale the fingers to the source's, whether or not MatchHandsAndFingers
        is set. */
    velkori_AlignmentFlags_MatchHandsAndFingersVariant = 32,
};

/** Options of velkori_generateMappings(), a bit set. */
VELKORI_ENUM(velkori_AutoMappingFlags){
    velkori_AutoMappingFlags_None = 0,
    /** Generate no twist and limb-chain mappings. */
    velkori_AutoMappingFlags_SkipTwistMappings = 1,
};

/** Options of a retargeted frame, a bit set. */
VELKORI_ENUM(velkori_RetargetingBehaviorFlags){
    velkori_RetargetingBehaviorFlags_None = 0,
    /** Turn joints so that their bones point at where the children really are. It has effect only with the
        behaviors MatchProportions and MatchProportionsRotateHands; "applyJointOrientationFixup" in
        documents. */
    velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup = 1,
};

/** From which rest pose of the target a frame starts, and what a mapped joint receives. Not a bit set. */
VELKORI_ENUM(velkori_RetargetingBehavior){
    /** The rest pose matched to the source's proportions; orientation, position and scale. */
    velkori_RetargetingBehavior_MatchProportions = 0,
    /** The same, but joints below the wrists receive the orientation only. */
    velkori_RetargetingBehavior_MatchProportionsRotateHands = 1,
    /** The unscaled rest pose scaled to the source's height; the orientation only, except root and hips. */
    velkori_RetargetingBehavior_RotationsScaled = 2,
    /** The unscaled rest pose as it stands; the orientation only, except root and hips. */
    velkori_RetargetingBehavior_RotationsUnscaled = 3,
};

/**
 * What becomes of the source's root joint before a frame is retargeted. A value that isn't named here
 * counts as Unchanged, and so does every value for a source without a known root and hips joint.
 */
VELKORI_ENUM(velkori_RetargetingRootMotionBehavior){
    /** The root is lifted by what the hips are higher above it than in the reference pose, drops to them
        when they are below it, and turns about up as they do. */
    velkori_RetargetingRootMotionBehavior_RootFromHips = 0,
    /** The root stays as it was tracked. */
    velkori_RetargetingRootMotionBehavior_Unchanged = 1,
    /** The root stands as in the reference pose and the other joints on it, each relative to its parent as
        in this frame. But once velkori_getLastProcessedFramePose() has read the source in local space
        (without an unscaled rest pose of the source, scaled local space counts, too), they stand as in
        what it read, until a frame with Unchanged. */
    velkori_RetargetingRootMotionBehavior_RootFromReference = 2,
};

/** What velkori_matchCurrentTPose() and velkori_matchPose() match. Any other value counts as Scale. */
VELKORI_ENUM(velkori_MatchBehavior){
    velkori_MatchBehavior_Scale = 0,
    velkori_MatchBehavior_JointLengths = 1,
};

/**
 * How finely the pose stream quantises. What lies outside a range is clamped to it.
 *
 * Face weights read back correctly only from streams of Standard, and trackers only from streams of Max. A
 * value of 3 behaves as Standard; of any other value the two lowest bits count.
 */
VELKORI_ENUM(velkori_CompressionType){
    /** Positions from -4 to 4 in steps of 0.00098, times in steps of 27 ms. */
    velkori_CompressionType_Standard = 0,
    /** Positions from -4 to 4 in steps of 0.00003, times in steps of 3.4 ms. */
    velkori_CompressionType_High = 1,
    /** Positions from -40 to 40 in steps of 0.00001, times in steps of 0.43 ms. The default. */
    velkori_CompressionType_Max = 2,
};

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

#endif

/* ---- Counts ---- */

/** The number of known joints. */
VELKORI_COUNT(VELKORI_KNOWN_JOINT_COUNT, 12);
/** The bytes of each text of a start header, with its NUL. */
VELKORI_COUNT(VELKORI_HEADER_TEXT_SIZE, 32);
/** The bytes of a serialized start header. */
VELKORI_COUNT(VELKORI_SERIALIZED_START_HEADER_SIZE, 180);
/** The bytes of a serialized end header. */
VELKORI_COUNT(VELKORI_SERIALIZED_END_HEADER_SIZE, 8);
/** The most bytes that a snapshot record can have. */
VELKORI_COUNT(VELKORI_MAX_SNAPSHOT_SIZE, 4096);

/* ---- Records ---- */

typedef struct velkori_Vector3f_ {
    float x;
    float y;
    float z;
} velkori_Vector3f_;

/** A rotation, w being the real part. */
typedef struct velkori_Quaternionf_ {
    float x;
    float y;
    float z;
    float w;
} velkori_Quaternionf_;

/** The pose of one joint. */
typedef struct velkori_Transform_ {
    velkori_Quaternionf_ orientation;
    velkori_Vector3f_ position;
    velkori_Vector3f_ scale;
} velkori_Transform_;

/**
 * An axis-aligned basis: which directions are up, forward and right in a pose's numbers. Of either
 * handedness.
 *
 * It is tested where it comes in. The strong test wants three unit vectors along three different axes,
 * exactly. The weak test only wants the three vectors' components to add up to 1 or -1 on each axis.
 */
typedef struct velkori_CoordinateSpace_ {
    velkori_Vector3f_ up;
    velkori_Vector3f_ forward;
    velkori_Vector3f_ right;
} velkori_CoordinateSpace_;

/**
 * A skeleton handed in as arrays. Arrays and strings stay the caller's and are copied during the call. The
 * rest poses are root-origin-relative, in the process-wide coordinate space.
 */
typedef struct velkori_SkeletonInitParams_ {
    int32_t blendShapeCount;
    int32_t jointCount;
    /** blendShapeCount names. */
    const char* const* blendShapeNames;
    /** jointCount different names; their order gives the joint indices. */
    const char* const* jointNames;
    /** The parent's name of each of jointCount joints; null or empty for a joint without parent. */
    const char* const* parentJointNames;
    /** jointCount transforms: the rest pose at minimum size. Null is allowed where unscaledTPose is given,
       and then takes maxTPose, or else unscaledTPose. */
    const velkori_Transform_* minTPose;
    /** jointCount transforms: the rest pose at maximum size. Null is allowed where unscaledTPose is given,
       and then takes minTPose, or else unscaledTPose. */
    const velkori_Transform_* maxTPose;
    /** jointCount transforms: the rest pose as authored. A target skeleton requires it. */
    const velkori_Transform_* unscaledTPose;
    /** VELKORI_KNOWN_JOINT_COUNT joint names by velkori_KnownJointType, null or empty where there is none.
        Null if no joint is known. */
    const char* const* knownJoints;
    /** Joints that velkori_generateMappings() leaves alone. */
    int32_t optional_autoMapExcludedJointCount;
    const char* const* optional_autoMapExcludedJointNames;
    int32_t optional_manifestationCount;
    const char* const* optional_manifestationNames;
    /** The number of joints of each manifestation. */
    const int32_t* optional_manifestationJointCounts;
    /** The joint names of all manifestations, one manifestation after the other. */
    const char* const* optional_manifestationJointNames;
} velkori_SkeletonInitParams_;

/** One contribution to a mapped joint. */
typedef struct velkori_JointMappingEntry_ {
    /** The joint that contributes, in the skeleton that the mapping's type names. */
    int32_t jointIndex;
    /** Its weight in the joint's rotation; "weightRotation" in documents. */
    float rotationWeight;
    /** Its weight in the joint's position; "weightPosition" in documents. */
    float positionWeight;
} velkori_JointMappingEntry_;

/** The head of one joint's mapping. */
typedef struct velkori_JointMapping_ {
    /** The target joint that the mapping drives. */
    int32_t jointIndex;
    /** The skeleton that the entries' joints belong to. */
    velkori_SkeletonType type;
    velkori_JointMappingBehaviorType behavior;
    /** How many entries belong to the mapping. */
    int32_t entryCount;
} velkori_JointMapping_;

/**
 * Mappings and their entries. The entries stand back to back: the first mapping's, the second's and so on.
 */
typedef struct velkori_JointMappingDefinition_ {
    int32_t mappingCount;
    /** The number of entries of all mappings together. */
    int32_t mappingEntryCount;
    const velkori_JointMapping_* mappings;
    const velkori_JointMappingEntry_* mappingEntries;
} velkori_JointMappingDefinition_;

/** Everything that velkori_createOrUpdateUtilityConfig() needs. */
typedef struct velkori_UtilityConfigInitParams_ {
    velkori_SkeletonInitParams_ sourceSkeleton;
    velkori_SkeletonInitParams_ targetSkeleton;
    /** Mappings for the rest poses at minimum size. */
    velkori_JointMappingDefinition_ minMappings;
    /** Mappings for the rest poses at maximum size. */
    velkori_JointMappingDefinition_ maxMappings;
} velkori_UtilityConfigInitParams_;

/** A twist joint found on a skeleton. */
typedef struct velkori_TwistJointDefinition_ {
    int32_t twistJointIndex;
    /** The joint at the start of the segment that the twist joint lies on. */
    int32_t startJointIndex;
    /** The joint at the end of that segment. */
    int32_t endJointIndex;
    /** Where the twist joint lies along the segment, 0 at the start and 1 at the end. */
    float ratio;
} velkori_TwistJointDefinition_;

/** How one frame is to be retargeted. */
typedef struct velkori_RetargetingBehaviorInfo_ {
    /** The space of the output. */
    velkori_JointRelativeSpaceType jointSpaceType;
    velkori_RetargetingBehavior behavior;
    velkori_RetargetingRootMotionBehavior rootMotionBehavior;
    /** Combined with the configuration's own flags: a flag is on if either says so. */
    velkori_RetargetingBehaviorFlags flags;
} velkori_RetargetingBehaviorInfo_;

typedef struct velkori_SkeletonInfo_ {
    velkori_SkeletonType type;
    int32_t jointCount;
    int32_t blendShapeCount;
} velkori_SkeletonInfo_;

/** The box around a pose's joint positions, the known root joint left out. */
typedef struct velkori_PoseExtents_ {
    velkori_Vector3f_ min;
    velkori_Vector3f_ max;
    /** max minus min per axis, never negative. */
    velkori_Vector3f_ range;
} velkori_PoseExtents_;

typedef struct velkori_PoseInfo_ {
    /** The process-wide coordinate space at the time of the call. */
    velkori_CoordinateSpace_ coordinateSpace;
    velkori_PoseExtents_ extents;
    /** Root-origin-relative positions by velkori_KnownJointType; (0, 0, 0) for a joint that isn't known. */
    velkori_Vector3f_ knownJointPositions[VELKORI_KNOWN_JOINT_COUNT];
} velkori_PoseInfo_;

/**
 * The settings of an instance's pose stream. Against a baseline, a part that moved less than its threshold
 * isn't sent. Thresholds are clamped to 0 and to the largest finite float.
 */
typedef struct velkori_SerializationSettings_ {
    /** The quantisation of outgoing snapshots; Max by default. */
    velkori_CompressionType compressionType;
    /** Per axis, in the unit of length; 0.01 by default. */
    float positionThreshold;
    /** In degrees; 0.01 by default. That lies below the smallest angle that single precision can tell from
        no rotation at all: a joint at rest may count as moved. */
    float rotationAngleThreshold;
    /** In units of a face weight; 0.01 by default. */
    float shapeThreshold;
    /** The length of the snapshot ring, clamped to 254 to 800 and 254 by default. It is one value for all
        instances of the process, decides the width of fields in the stream, and must be the same at both
        ends. */
    int32_t snapshotCount;
} velkori_SerializationSettings_;

/** The opening record of a stream. The values are the application's own; the library only carries them. */
typedef struct velkori_StartHeader_ {
    /** Five texts; the last byte of each is carried as NUL. */
    char text0[VELKORI_HEADER_TEXT_SIZE];
    char text1[VELKORI_HEADER_TEXT_SIZE];
    char text2[VELKORI_HEADER_TEXT_SIZE];
    char text3[VELKORI_HEADER_TEXT_SIZE];
    char text4[VELKORI_HEADER_TEXT_SIZE];
    uint64_t id;
    /** Its low 16 bits are carried. */
    uint32_t value16;
    /** Its low 24 bits are carried. */
    uint32_t value24;
    /** Seconds within half a day of 0, from -43200 to 43200, in steps of 5 ms. */
    double time;
    /** Its low 10 bits are carried. */
    uint32_t value10;
} velkori_StartHeader_;

/** A start header as it travels: an opaque image. */
typedef struct velkori_SerializedStartHeader_ {
    uint8_t data[VELKORI_SERIALIZED_START_HEADER_SIZE];
} velkori_SerializedStartHeader_;

/** The closing record of a stream. */
typedef struct velkori_EndHeader_ {
    uint64_t value;
} velkori_EndHeader_;

/** An end header as it travels: an opaque image. */
typedef struct velkori_SerializedEndHeader_ {
    uint8_t data[VELKORI_SERIALIZED_END_HEADER_SIZE];
} velkori_SerializedEndHeader_;

/** One frame of tracking state. The scalars are the application's own; the library only carries them. */
typedef struct velkori_FrameData_ {
    /** Its low 4 bits are carried. */
    uint8_t header;
    /** Seconds. Not carried: ignore what arrives. */
    double timestamp;
    /** It always arrives as true. */
    bool flag0;
    /** From 0 to 1, carried in 9 bits. */
    float weight;
    /** Its low 2 bits are carried. */
    uint8_t value0;
    /** Its low 2 bits are carried. */
    uint8_t value1;
    bool flag1;
    bool flag2;
    uint32_t value2;
    /** The poses of three trackers, without scale. They read back correctly only from streams of Max. */
    velkori_Transform_ tracker0;
    velkori_Transform_ tracker1;
    velkori_Transform_ tracker2;
} velkori_FrameData_;

/* ---- Constants ---- */

/**
 * Up is y, forward z and right x. The process-wide coordinate space until velkori_initialize() sets
 * another.
 */
VELKORI_CONSTANT const velkori_CoordinateSpace_ VELKORI_DEFAULT_COORDINATE_SPACE = {
    {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {1.0f, 0.0f, 0.0f}};

/** A skeleton without anything: every field zero. */
VELKORI_CONSTANT const velkori_SkeletonInitParams_ VELKORI_EMPTY_SKELETON_INIT_PARAMS = {
    0, 0, NULL, NULL, NULL, NULL, NULL, NULL, NULL, 0, NULL, 0, NULL, NULL, NULL};

/** The keys of the known joints in documents, by velkori_KnownJointType. */
VELKORI_CONSTANT const char* const VELKORI_KNOWN_JOINT_NAMES[VELKORI_KNOWN_JOINT_COUNT] = {"root", "hips",
    "rightUpperArm", "leftUpperArm", "rightWrist", "leftWrist", "chest", "neck", "rightUpperLeg",
    "leftUpperLeg", "rightAnkle", "leftAnkle"};

#if defined(__cplusplus)
extern "C" {
#endif

/* ---- The process: coordinate space, logging ---- */

/**
 * Takes a log line: a text that begins with its level and has no line end. It is valid only during the
 * call. The callback runs inside the function that logs, and may call the library again.
 */
typedef void (*velkori_LogCallback)(velkori_LogLevel level, const char* message);

/**
 * Sets the process-wide coordinate space, in which all poses inside the library are held. Calling it is
 * optional; it is refused while any instance lives.
 *
 * @param coordinateSpace the space, kept as given.
 * @retval velkori_Result_Success the space is set.
 * @retval velkori_Result_OperationFailed an instance is live.
 * @retval velkori_Result_InvalidParameter coordinateSpace is null.
 * @retval velkori_Result_InvalidValue the space fails the weak test of velkori_CoordinateSpace_.
 */
VELKORI_API velkori_Result velkori_initialize(const velkori_CoordinateSpace_* coordinateSpace);

/**
 * Sets the callback that takes all log lines from now on.
 *
 * @param callback the callback, or null to switch logging off; then nothing is even formatted.
 * @retval velkori_Result_Success always.
 */
VELKORI_API velkori_Result velkori_initializeLogging(velkori_LogCallback callback);

/**
 * Reads the process-wide coordinate space.
 *
 * @param out_coordinateSpace takes the space.
 * @retval velkori_Result_Success the space is written.
 * @retval velkori_Result_InvalidParameter out_coordinateSpace is null.
 */
VELKORI_API velkori_Result velkori_getCoordinateSpace(velkori_CoordinateSpace_* out_coordinateSpace);

/* ---- Configurations: creating, writing, destroying ---- */

/**
 * Makes an instance from a JSON document, or replaces a live one by it. The document is an object with
 * "name", "config" (version, flags and the document's coordinate space), a "source" and a "target" skeleton
 * of which one may be missing, and "mapping" with its "min" and "max" mappings. Poses are converted from
 * the document's coordinate space to the process-wide one. Warnings about the document are logged also on
 * success.
 *
 * @param config the document, NUL-terminated.
 * @param handle in: the instance to replace; any value that isn't a live handle, such as 0, makes a new
 *     one. Out: the instance's handle.
 * @retval velkori_Result_Success the instance stands behind the handle.
 * @retval velkori_Result_ConfigNull config is null.
 * @retval velkori_Result_InvalidParameter handle is null.
 * @retval velkori_Result_ParseFailed the text isn't valid JSON.
 * @retval velkori_Result_InvalidData the document breaks a rule; a line is logged for each.
 */
VELKORI_API velkori_Result velkori_createOrUpdateHandle(const char* config, velkori_Handle* handle);

/**
 * Makes an instance from records, or replaces a live one by it. A skeleton without joints may be left
 * empty. The configuration has version 0, no flags and the process-wide coordinate space.
 *
 * @param configName the configuration's name, not empty.
 * @param params both skeletons and both mapping definitions.
 * @param in_out_handle as in velkori_createOrUpdateHandle().
 * @retval velkori_Result_Success the instance stands behind the handle.
 * @retval velkori_Result_InvalidParameter in_out_handle is null.
 * @retval velkori_Result_InvalidData configName is null or empty, or the skeletons or mappings break a
 *     rule, such as two joints with one name; a line is logged for each.
 * @retval velkori_Result_InvalidValue params is null; an array that a count or a joint requires is null; a
 *     skeleton with joints lacks unscaledTPose and one of minTPose and maxTPose, or a target skeleton with
 *     joints lacks unscaledTPose; a skeleton without joints has excluded joints or manifestations;
 *     mappingCount is negative; a joint index of a mapping or an entry is out of range; or the entry counts
 *     of the mappings don't add up to mappingEntryCount.
 */
VELKORI_API velkori_Result velkori_createOrUpdateUtilityConfig(
    const char* configName, const velkori_UtilityConfigInitParams_* params, velkori_Handle* in_out_handle);

/**
 * Makes an instance with a single skeleton and no mappings from a record, or replaces a live one by it.
 *
 * @param configName the configuration's name, not empty.
 * @param skeletonType the side that takes the skeleton; the other one is left empty.
 * @param params the skeleton.
 * @param in_out_handle as in velkori_createOrUpdateHandle().
 * @retval velkori_Result_Success the instance stands behind the handle.
 * @retval velkori_Result_InvalidParameter in_out_handle is null.
 * @retval velkori_Result_InvalidData configName is null or empty, or the skeleton breaks a rule.
 * @retval velkori_Result_InvalidValue params is null, or its arrays are refused as in
 *     velkori_createOrUpdateUtilityConfig().
 */
VELKORI_API velkori_Result velkori_createOrUpdateSimpleUtilityConfig(const char* configName,
    velkori_SkeletonType skeletonType, const velkori_SkeletonInitParams_* params,
    velkori_Handle* in_out_handle);

/**
 * Writes a configuration as an indented JSON document. The instance keeps the text: a query followed by the
 * copy makes it once.
 *
 * @param optional_coordinateSpace the space that the document states and its poses are converted to; null
 *     for the process-wide one.
 * @param out_buffer takes the text with its NUL, or null for a size query.
 * @param in_out_bufferSize in: the size of out_buffer. Out: the text's length + 1. In bytes.
 * @retval velkori_Result_Success the text or its size is written.
 * @retval velkori_Result_NullParameter in_out_bufferSize is null.
 * @retval velkori_Result_InvalidValue the space fails the weak test of velkori_CoordinateSpace_.
 * @retval velkori_Result_BufferTooSmall out_buffer is too small for the text and its NUL.
 */
VELKORI_API velkori_Result velkori_writeConfigDataToJSON(velkori_Handle handle,
    const velkori_CoordinateSpace_* optional_coordinateSpace, char* out_buffer, int32_t* in_out_bufferSize);

/**
 * Ends an instance.
 *
 * @param handle the instance; 0 does nothing.
 * @retval velkori_Result_Success the handle is no longer live.
 * @retval velkori_Result_InvalidHandle the handle isn't 0 and no live instance has it.
 */
VELKORI_API velkori_Result velkori_destroy(velkori_Handle handle);

/* ---- Queries: what a configuration holds ---- */

/**
 * Reads the configuration's name, in the one-string form.
 *
 * @param out_buffer takes the name without a NUL, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the length + 1.
 * @retval velkori_Result_Success the name or its size is written.
 * @retval velkori_Result_InvalidParameter in_out_bufferSize is null.
 * @retval velkori_Result_BufferTooSmall the size is not greater than the name's length.
 */
VELKORI_API velkori_Result velkori_getConfigName(
    velkori_Handle handle, char* out_buffer, int32_t* in_out_bufferSize);

/**
 * Reads the version that the configuration's document states; 0 without a document.
 *
 * @param out_version takes the version; must not be null.
 * @retval velkori_Result_Success the version is written.
 * @retval velkori_Result_NullParameter out_version is null.
 */
VELKORI_API velkori_Result velkori_getVersion(velkori_Handle handle, double* out_version);

/**
 * Reads a skeleton's type and its numbers of joints and blend shapes.
 *
 * @param skeletonType the skeleton.
 * @param out_skeletonInfo takes them.
 * @retval velkori_Result_Success the record is written.
 * @retval velkori_Result_NullParameter out_skeletonInfo is null.
 */
VELKORI_API velkori_Result velkori_getSkeletonInfo(
    velkori_Handle handle, velkori_SkeletonType skeletonType, velkori_SkeletonInfo_* out_skeletonInfo);

/**
 * Lists a skeleton's blend shapes by index, in the name-list form.
 *
 * @param skeletonType the skeleton.
 * @param out_buffer takes the names, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the needed size.
 * @param out_blendShapeNames takes pointers to the names inside out_buffer; may be null.
 * @param in_out_numBlendShapeNames in: the length of out_blendShapeNames. Out: the number of blend shapes,
 *     also of a query. May be null without out_blendShapeNames.
 * @retval velkori_Result_Success the names or the sizes are written.
 * @retval velkori_Result_NullParameter in_out_bufferSize is null, or out_blendShapeNames comes with a
 *     buffer but without its count.
 * @retval velkori_Result_BufferTooSmall out_buffer or out_blendShapeNames is too small.
 */
VELKORI_API velkori_Result velkori_getBlendShapeNames(velkori_Handle handle,
    velkori_SkeletonType skeletonType, char* out_buffer, int32_t* in_out_bufferSize,
    const char** out_blendShapeNames, int32_t* in_out_numBlendShapeNames);

/**
 * Lists a skeleton's joints by index, in the name-list form.
 *
 * @param skeletonType the skeleton.
 * @param out_buffer takes the names, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the needed size.
 * @param out_jointNames takes pointers to the names inside out_buffer; may be null.
 * @param in_out_numJointNames in: the length of out_jointNames. Out: the number of joints, also of a query.
 *     May be null without out_jointNames.
 * @retval velkori_Result_Success the names or the sizes are written.
 * @retval velkori_Result_NullParameter in_out_bufferSize is null, or out_jointNames comes with a buffer but
 *     without its count.
 * @retval velkori_Result_BufferTooSmall out_buffer or out_jointNames is too small.
 */
VELKORI_API velkori_Result velkori_getJointNames(velkori_Handle handle, velkori_SkeletonType skeletonType,
    char* out_buffer, int32_t* in_out_bufferSize, const char** out_jointNames, int32_t* in_out_numJointNames);

/**
 * Lists a skeleton's manifestations, in the name-list form.
 *
 * @param skeletonType the skeleton.
 * @param out_buffer takes the names, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the needed size.
 * @param out_manifestationNames takes pointers to the names inside out_buffer; may be null.
 * @param in_out_numManifestationNames in: the length of out_manifestationNames. Out: the number of
 *     manifestations, also of a query. May be null without out_manifestationNames.
 * @retval velkori_Result_Success the names or the sizes are written.
 * @retval velkori_Result_NullParameter in_out_bufferSize is null, or out_manifestationNames comes with a
 *     buffer but without its count.
 * @retval velkori_Result_BufferTooSmall out_buffer or out_manifestationNames is too small.
 */
VELKORI_API velkori_Result velkori_getManifestationNames(velkori_Handle handle,
    velkori_SkeletonType skeletonType, char* out_buffer, int32_t* in_out_bufferSize,
    const char** out_manifestationNames, int32_t* in_out_numManifestationNames);

/**
 * Reads a blend shape's name, in the one-string form.
 *
 * @param skeletonType the skeleton.
 * @param blendShapeIndex the blend shape; one out of range has an empty name.
 * @param out_buffer takes the name without a NUL, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the length + 1.
 * @retval velkori_Result_Success the name or its size is written.
 * @retval velkori_Result_InvalidParameter in_out_bufferSize is null.
 * @retval velkori_Result_BufferTooSmall the size is not greater than the name's length.
 */
VELKORI_API velkori_Result velkori_getBlendShapeName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t blendShapeIndex, char* out_buffer, int32_t* in_out_bufferSize);

/**
 * Reads a joint's name, in the one-string form.
 *
 * @param skeletonType the skeleton.
 * @param jointIndex the joint; one out of range has an empty name.
 * @param out_buffer takes the name without a NUL, or null for a size query.
 * @param in_out_bufferSize the size of out_buffer in bytes; a query sets it to the length + 1.
 * @retval velkori_Result_Success the name or its size is written.
 * @retval velkori_Result_InvalidParameter in_out_bufferSize is null.
 * @retval velkori_Result_BufferTooSmall the size is not greater than the name's length.
 */
VELKORI_API velkori_Result velkori_getJointName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t jointIndex, char* out_buffer, int32_t* in_out_bufferSize);

/**
 * Finds a joint by name.
 *
 * @param skeletonType the skeleton.
 * @param in_jointName the name.
 * @param out_jointIndex takes the joint, or -1 if no joint has the name.
 * @retval velkori_Result_Success the joint or -1 is written.
 * @retval velkori_Result_InvalidParameter in_jointName is null.
 * @retval velkori_Result_NullParameter out_jointIndex is null.
 */
VELKORI_API velkori_Result velkori_getJointIndex(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const char* in_jointName, int32_t* out_jointIndex);

/**
 * Finds a joint by role.
 *
 * @param skeletonType the skeleton.
 * @param knownJointType the role.
 * @param out_jointIndex takes the joint, or -1 if the skeleton has none in that role.
 * @retval velkori_Result_Success the joint or -1 is written.
 * @retval velkori_Result_NullParameter out_jointIndex is null.
 */
VELKORI_API velkori_Result velkori_getJointIndexByKnownJointType(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_KnownJointType knownJointType, int32_t* out_jointIndex);

/**
 * Reads the parent of a joint.
 *
 * @param skeletonType the skeleton.
 * @param jointIndex the joint.
 * @param out_parentJointIndex takes the parent, or -1 if there is none.
 * @retval velkori_Result_Success the parent is written.
 * @retval velkori_Result_Failure the joint has no parent or is out of range: -1 is written and nothing
 *     logged.
 * @retval velkori_Result_NullParameter out_parentJointIndex is null.
 */
VELKORI_API velkori_Result velkori_getParentJointIndex(velkori_Handle handle,
    velkori_SkeletonType skeletonType, int32_t jointIndex, int32_t* out_parentJointIndex);

/**
 * Reads the parents of all joints.
 *
 * @param skeletonType the skeleton.
 * @param out_jointIndexArray takes one parent per joint, -1 where there is none; or null for a size query.
 * @param in_out_numJoints the length of out_jointIndexArray; set to the joint count.
 * @retval velkori_Result_Success the parents or their number are written.
 * @retval velkori_Result_NullParameter in_out_numJoints is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count.
 */
VELKORI_API velkori_Result velkori_getParentJointIndexes(velkori_Handle handle,
    velkori_SkeletonType skeletonType, int32_t* out_jointIndexArray, int32_t* in_out_numJoints);

/**
 * Reads the joints of a manifestation, in the order of its pose arrays.
 *
 * @param skeletonType the skeleton.
 * @param manifestationName the manifestation; here a name is required.
 * @param out_jointIndexList takes the joints, or null for a size query.
 * @param in_out_jointCount the length of out_jointIndexList; set to the number of joints.
 * @retval velkori_Result_Success the joints or their number are written.
 * @retval velkori_Result_InvalidParameter in_out_jointCount or manifestationName is null.
 * @retval velkori_Result_InvalidValue the skeleton has no manifestation of that name.
 * @retval velkori_Result_InvalidData the manifestation has a gap: a joint hangs below one that it leaves
 *     out.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the number of joints.
 */
VELKORI_API velkori_Result velkori_getJointsInManifestation(velkori_Handle handle,
    velkori_SkeletonType skeletonType, const char* manifestationName, int32_t* out_jointIndexList,
    int32_t* in_out_jointCount);

/**
 * Reads a rest pose.
 *
 * @param skeletonType the skeleton.
 * @param tPoseType the rest pose.
 * @param jointSpaceType the space of the output.
 * @param out_transformData takes one transform per joint, or null for a size query.
 * @param in_out_numJoints the length of out_transformData; set to the joint count.
 * @retval velkori_Result_Success the pose or its length is written.
 * @retval velkori_Result_NullParameter in_out_numJoints is null.
 * @retval velkori_Result_InvalidValue jointSpaceType is outside 0 to 3.
 * @retval velkori_Result_OperationFailed there is no such pose yet, such as the source's current one before
 *     a reference was given.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count.
 */
VELKORI_API velkori_Result velkori_getSkeletonTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

/**
 * Reads the heads of all mappings by ascending target joint. A joint with a mapping of each type has two
 * heads, the one that reads source joints first.
 *
 * @param tPoseType velkori_SkeletonTPoseType_Max for the maximum mappings; any other value for the minimum
 *     ones.
 * @param out_mappings takes the heads, or null for a size query.
 * @param in_out_numMappings the length of out_mappings; set to the number of heads.
 * @retval velkori_Result_Success the heads or their number are written.
 * @retval velkori_Result_NullParameter in_out_numMappings is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the number of heads.
 */
VELKORI_API velkori_Result velkori_getSkeletonMappings(velkori_Handle handle,
    velkori_SkeletonTPoseType tPoseType, velkori_JointMapping_* out_mappings, int32_t* in_out_numMappings);

/**
 * Reads the entries of all mappings, back to back in the order of velkori_getSkeletonMappings().
 *
 * @param tPoseType as in velkori_getSkeletonMappings().
 * @param out_mappingEntries takes the entries, or null for a size query.
 * @param in_out_numMappingEntries the length of out_mappingEntries; set to the number of entries.
 * @retval velkori_Result_Success the entries or their number are written.
 * @retval velkori_Result_NullParameter in_out_numMappingEntries is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the number of entries.
 */
VELKORI_API velkori_Result velkori_getSkeletonMappingEntries(velkori_Handle handle,
    velkori_SkeletonTPoseType tPoseType, velkori_JointMappingEntry_* out_mappingEntries,
    int32_t* in_out_numMappingEntries);

/**
 * Reads which target joints the mappings drive.
 *
 * @param out_jointIndexList takes the joints, or null for a size query.
 * @param in_out_jointCount the length of out_jointIndexList; set to the number of joints.
 * @retval velkori_Result_Success the joints or their number are written.
 * @retval velkori_Result_InvalidParameter in_out_jointCount is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the number of joints.
 */
VELKORI_API velkori_Result velkori_getSkeletonMappingTargetJoints(
    velkori_Handle handle, int32_t* out_jointIndexList, int32_t* in_out_jointCount);

/* ---- Poses: measuring and converting ---- */

/**
 * Blends a skeleton's minimum and maximum rest poses.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the output.
 * @param interpolation 0 for the minimum and 1 for the maximum rest pose; it isn't clamped.
 * @param out_transformData takes one transform per joint, or null for a size query.
 * @param in_out_numJoints the length of out_transformData; set to the joint count.
 * @retval velkori_Result_Success the pose or its length is written.
 * @retval velkori_Result_NullParameter in_out_numJoints is null.
 * @retval velkori_Result_InvalidValue jointSpaceType is outside 0 to 3, or interpolation isn't finite.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count.
 * @retval velkori_Result_InvalidData the skeleton has neither joints nor blend shapes.
 */
VELKORI_API velkori_Result velkori_calculateSkeletonTPose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType, float interpolation,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

/**
 * Blends a skeleton's minimum and maximum rest poses to a height. If both are equally high, the maximum one
 * is the result whatever the height.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the output.
 * @param height the extent along the coordinate space's up axis; heights outside the two poses'
 *     extrapolate.
 * @param out_transformData takes one transform per joint, or null for a size query.
 * @param in_out_numJoints the length of out_transformData; set to the joint count.
 * @retval velkori_Result_Success the pose or its length is written.
 * @retval velkori_Result_NullParameter in_out_numJoints is null.
 * @retval velkori_Result_InvalidValue jointSpaceType is outside 0 to 3, or height isn't finite.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count.
 * @retval velkori_Result_InvalidData the skeleton has neither joints nor blend shapes.
 */
VELKORI_API velkori_Result velkori_calculateSkeletonTPoseAtHeight(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType, float height,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints);

/**
 * Converts a pose from one manifestation of a skeleton to another. Joints that the source manifestation
 * leaves out are filled from a rest pose of the size that the given joints imply.
 *
 * @param skeletonType the skeleton.
 * @param sourceManifestation the manifestation that in_transformData is given in; null or empty for the
 *     whole skeleton.
 * @param sourceSpaceType the space of in_transformData.
 * @param in_transformData one transform per joint of the source manifestation.
 * @param in_sourceManifestationJointCount the length of in_transformData.
 * @param outputManifestation the manifestation to convert to; null or empty for the whole skeleton.
 * @param outputSpaceType the space of the output.
 * @param out_transformData takes one transform per joint of the output manifestation, or null for a size
 *     query.
 * @param in_out_numOutputJoints the length of out_transformData; set to the output's joint count.
 * @retval velkori_Result_Success the pose or its length is written.
 * @retval velkori_Result_InvalidValue in_transformData holds an invalid transform, the skeleton has no
 *     manifestation of a given name, or a space type is outside 0 to 3.
 * @retval velkori_Result_InvalidData a manifestation has a gap.
 * @retval velkori_Result_InvalidParameter in_out_numOutputJoints is null, or in_transformData is in other
 *     than a size query.
 * @retval velkori_Result_BufferTooSmall either array is shorter than its manifestation.
 */
VELKORI_API velkori_Result velkori_convertPoseFromToManifestation(velkori_Handle handle,
    velkori_SkeletonType skeletonType, const char* sourceManifestation,
    velkori_JointRelativeSpaceType sourceSpaceType, const velkori_Transform_* in_transformData,
    int32_t in_sourceManifestationJointCount, const char* outputManifestation,
    velkori_JointRelativeSpaceType outputSpaceType, velkori_Transform_* out_transformData,
    int32_t* in_out_numOutputJoints);

/**
 * Measures a rest pose: the coordinate space, its extents and where its known joints are.
 *
 * @param skeletonType the skeleton.
 * @param tPoseType the rest pose.
 * @param out_poseHeight takes the measures, in root-origin-relative space.
 * @retval velkori_Result_Success the record is written.
 * @retval velkori_Result_InvalidParameter out_poseHeight is null.
 * @retval velkori_Result_InvalidValue there is no such pose (yet).
 */
VELKORI_API velkori_Result velkori_getPoseInfo(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_PoseInfo_* out_poseHeight);

/**
 * Measures the way between two joints along the bones of a rest pose.
 *
 * @param skeletonType the skeleton.
 * @param tPoseType the rest pose.
 * @param startJointIndex the joint at one end.
 * @param endJointIndex the joint at the other end.
 * @param out_length takes the length; 0 if the joints aren't connected.
 * @retval velkori_Result_Success the length is written.
 * @retval velkori_Result_InvalidParameter out_length is null.
 * @retval velkori_Result_InvalidValue there is no such pose (yet), a joint is out of range, or the length
 *     came out negative, in which case it is written nevertheless.
 */
VELKORI_API velkori_Result velkori_getLengthBetweenJoints(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_SkeletonTPoseType tPoseType, int32_t startJointIndex,
    int32_t endJointIndex, float* out_length);

/**
 * Scales a pose uniformly to a height, which a pose without an extent along up can't be.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the transforms.
 * @param height the extent along the coordinate space's up axis that the pose is to have, as the skeleton's
 *     rest poses let it be estimated from the bone lengths.
 * @param jointCount the length of in_out_transformData: the skeleton's joint count.
 * @param in_out_transformData the pose, one transform per joint.
 * @retval velkori_Result_Success the pose is scaled.
 * @retval velkori_Result_InvalidParameter in_out_transformData is null.
 * @retval velkori_Result_InvalidValue it holds an invalid transform or can't be scaled, jointSpaceType is
 *     outside 0 to 3, or height isn't finite.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 */
VELKORI_API velkori_Result velkori_scalePoseToHeight(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, float height, int32_t jointCount,
    velkori_Transform_* in_out_transformData);

/**
 * Converts a pose from one joint space to another. Equal spaces leave it as it is.
 *
 * @param skeletonType the skeleton.
 * @param fromSpaceType the space of the transforms.
 * @param toSpaceType the space to convert to.
 * @param in_out_transformData the pose, one transform per joint.
 * @param jointCount the length of in_out_transformData: the skeleton's joint count.
 * @retval velkori_Result_Success the pose is converted.
 * @retval velkori_Result_Failure no pose could be made of the transforms.
 * @retval velkori_Result_InvalidParameter in_out_transformData is null.
 * @retval velkori_Result_InvalidValue it holds an invalid transform, or a space type is outside 0 to 3.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 */
VELKORI_API velkori_Result velkori_convertJointPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType fromSpaceType, velkori_JointRelativeSpaceType toSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount);

/**
 * Measures the box around a pose, in root-origin-relative space.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the transforms.
 * @param in_transformData the pose, one transform per joint.
 * @param jointCount the length of in_transformData: the skeleton's joint count.
 * @param out_extents takes the box; all zero for a skeleton without joints.
 * @retval velkori_Result_Success the box is written.
 * @retval velkori_Result_Failure no pose could be made of the transforms.
 * @retval velkori_Result_InvalidParameter in_transformData or out_extents is null.
 * @retval velkori_Result_InvalidValue a transform is invalid, or jointSpaceType is outside 0 to 3.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 */
VELKORI_API velkori_Result velkori_calculatePoseExtents(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    const velkori_Transform_* in_transformData, int32_t jointCount, velkori_PoseExtents_* out_extents);

/**
 * Converts transforms that stand in the world, each on its own, from one coordinate space to another. Equal
 * spaces leave the array as it is; otherwise every scale becomes (1, 1, 1). The transforms' values are not
 * checked.
 *
 * @param in_out_worldSpaceTransformData the transforms.
 * @param jointCount their number; below 1 nothing is done.
 * @param in_coordinateSpace the space to convert from.
 * @param out_coordinateSpace the space to convert to; it is read.
 * @retval velkori_Result_Success the transforms are converted.
 * @retval velkori_Result_InvalidParameter in_out_worldSpaceTransformData is null.
 * @retval velkori_Result_InvalidValue a space fails the strong test of velkori_CoordinateSpace_.
 */
VELKORI_API velkori_Result velkori_applyWorldSpaceCoordinateSpaceConversion(
    velkori_Transform_* in_out_worldSpaceTransformData, int32_t jointCount,
    velkori_CoordinateSpace_ in_coordinateSpace, velkori_CoordinateSpace_ out_coordinateSpace);

/**
 * Converts a skeleton's pose from one coordinate space to another. Equal spaces leave it as it is.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the transforms, before and after.
 * @param in_out_transformData the pose, one transform per joint.
 * @param jointCount the length of in_out_transformData: the skeleton's joint count.
 * @param in_coordinateSpace the space to convert from.
 * @param out_coordinateSpace the space to convert to; it is read.
 * @retval velkori_Result_Success the pose is converted.
 * @retval velkori_Result_Failure no pose could be made of the transforms.
 * @retval velkori_Result_InvalidParameter in_out_transformData is null.
 * @retval velkori_Result_InvalidValue it holds an invalid transform, jointSpaceType is outside 0 to 3, or a
 *     space fails the strong test of velkori_CoordinateSpace_.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 */
VELKORI_API velkori_Result velkori_applyCoordinateSpaceConversion(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount, velkori_CoordinateSpace_ in_coordinateSpace,
    velkori_CoordinateSpace_ out_coordinateSpace);

/* ---- Retargeting ---- */

/**
 * Gives the retargeter the source's rest pose as the tracked person has it. From its proportions come the
 * target's start poses and how far each mapping lies between its minimum and maximum. Without this call the
 * first frame supplies the reference. A reference given with a manifestation lasts until the first frame of
 * that manifestation, which supplies one of its own.
 *
 * @param in_transformData the rest pose, root-origin-relative.
 * @param in_numJoints its length: the joint count of the source skeleton or of the manifestation.
 * @param manifestation the source's manifestation that the pose is given in; null or empty for the whole
 *     skeleton.
 * @retval velkori_Result_Success the reference is taken.
 * @retval velkori_Result_InvalidParameter in_transformData is null or holds an invalid transform, the
 *     source has no such manifestation, or in_numJoints doesn't match.
 * @retval velkori_Result_InvalidData the manifestation has a gap, as in velkori_getJointsInManifestation().
 */
VELKORI_API velkori_Result velkori_updateSourceReferenceTPose(velkori_Handle handle,
    const velkori_Transform_* in_transformData, int32_t in_numJoints, const char* manifestation);

/**
 * Turns one frame of the source skeleton into a pose of the target skeleton. If there is no reference rest
 * pose yet, or the source manifestation isn't the last frame's, the frame supplies the reference.
 *
 * @param info how the frame is to be retargeted.
 * @param in_sourceTransformData the source pose, root-origin-relative.
 * @param in_numSourceJoints its length: the joint count of the source skeleton or of sourceManifestation.
 * @param out_targetTransformData takes the target pose, in info's joint space; or null for a size query, if
 *     the target has joints.
 * @param in_out_numTargetJoints the length of out_targetTransformData; set to the joint count of the target
 *     skeleton or of targetManifestation.
 * @param sourceManifestation the manifestation of the source pose; null or empty for the whole skeleton.
 * @param targetManifestation the manifestation of the target pose; null or empty for the whole skeleton.
 * @retval velkori_Result_Success the target pose or its length is written.
 * @retval velkori_Result_InvalidParameter in_out_numTargetJoints is null, or in_sourceTransformData is in
 *     other than a size query.
 * @retval velkori_Result_InvalidValue a skeleton has no manifestation of the name given for it, the source
 *     pose holds an invalid transform, in_numSourceJoints doesn't match, or info's joint space type or
 *     behavior is outside 0 to 3.
 * @retval velkori_Result_InvalidData a manifestation has a gap, as in velkori_getJointsInManifestation().
 * @retval velkori_Result_BufferTooSmall out_targetTransformData is too short.
 */
VELKORI_API velkori_Result velkori_retargetFromSourceFrameData(velkori_Handle handle,
    velkori_RetargetingBehaviorInfo_ info, const velkori_Transform_* in_sourceTransformData,
    int32_t in_numSourceJoints, velkori_Transform_* out_targetTransformData, int32_t* in_out_numTargetJoints,
    const char* sourceManifestation, const char* targetManifestation);

/**
 * Reads a pose of the last retargeted frame: of the source after root motion, or of the target as it came
 * out.
 *
 * @param skeletonType the skeleton.
 * @param jointSpaceType the space of the output.
 * @param out_transformData takes one transform per joint, or null for a size query.
 * @param in_out_numJoints the length of out_transformData; set to the number of joints written. A query
 *     sets it to the whole skeleton's joint count, also with a manifestation.
 * @param manifestation the manifestation whose joints are wanted; null or empty for the whole skeleton. The
 *     transforms are those of the whole skeleton's pose.
 * @retval velkori_Result_Success the pose or its length is written.
 * @retval velkori_Result_NullParameter in_out_numJoints is null.
 * @retval velkori_Result_InvalidValue the skeleton has no such manifestation, or jointSpaceType is outside
 *     0 to 3.
 * @retval velkori_Result_OperationFailed no frame has been retargeted.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count of the skeleton or
 *     manifestation.
 */
VELKORI_API velkori_Result velkori_getLastProcessedFramePose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints, const char* manifestation);

/**
 * Reads what a target joint's mapping made of the last frame: its source joints, and the mapped pose before
 * the joint's own offset and behavior, in root-origin-relative space. Of a joint with mappings of both
 * types it is the target-type one if that is Normal, the source-type one otherwise.
 *
 * @param targetJointIndex the target joint.
 * @param out_sourceSkeletonType takes the skeleton that the source joints belong to. Must not be null with
 *     a list.
 * @param out_mappingTPose takes the mapping's reference pose, that of the rest pose; may be null.
 * @param out_mappingPose takes the mapping's pose in the last frame; may be null.
 * @param out_sourceJointIndexList takes the joints of the minimum and then of the maximum mapping's
 *     entries, each once; or null for a size query, which writes nothing else.
 * @param in_out_sourceJointCount the length of out_sourceJointIndexList; set to the number of joints.
 * @retval velkori_Result_Success all that is asked for is written.
 * @retval velkori_Result_InvalidParameter in_out_sourceJointCount is null, or out_sourceSkeletonType is
 *     with a list.
 * @retval velkori_Result_InvalidValue the joint has no mapping in both the minimum and the maximum
 *     mappings; or a pose is asked for and no frame has been retargeted.
 * @retval velkori_Result_BufferTooSmall the list is shorter than the number of joints.
 */
VELKORI_API velkori_Result velkori_getLastRetargetedMappingData(velkori_Handle handle,
    int32_t targetJointIndex, velkori_SkeletonType* out_sourceSkeletonType,
    velkori_Transform_* out_mappingTPose, velkori_Transform_* out_mappingPose,
    int32_t* out_sourceJointIndexList, int32_t* in_out_sourceJointCount);

/* ---- Preparing configurations: mappings and alignment ---- */

/**
 * Turns pairs of joint names into pairs of joint indices.
 *
 * @param sourceHandle the instance whose source skeleton is meant.
 * @param targetHandle the instance whose target skeleton is meant.
 * @param pairCount the number of pairs; below 1 nothing is done.
 * @param in_namedPairs 2 * pairCount names, flat: a target joint's and a source joint's, pair by pair.
 * @param out_pairs takes 2 * pairCount indices in the same order.
 * @retval velkori_Result_Success the indices are written.
 * @retval velkori_Result_InvalidHandle no live instance has one of the handles.
 * @retval velkori_Result_NullParameter out_pairs is null.
 * @retval velkori_Result_InvalidParameter in_namedPairs is null.
 * @retval velkori_Result_InvalidValue a name is null or not found; the pairs before it stay written.
 */
VELKORI_API velkori_Result velkori_generateTargetToSourceJointPairsFromNames(velkori_Handle sourceHandle,
    velkori_Handle targetHandle, int32_t pairCount, const char* const* in_namedPairs, int32_t* out_pairs);

/**
 * Replaces a configuration's minimum and maximum mappings by generated ones: by nearness, limbs and
 * distance along the skeleton, from the rest poses of that size. The rest poses should have been aligned.
 * The instance behind the handle is replaced.
 *
 * @param flags options.
 * @retval velkori_Result_Success the mappings are replaced.
 * @retval velkori_Result_InvalidData a skeleton has neither joints nor blend shapes.
 * @retval velkori_Result_OperationFailed the instance couldn't be replaced.
 */
VELKORI_API velkori_Result velkori_generateMappings(velkori_Handle handle, velkori_AutoMappingFlags flags);

/**
 * Checks its arguments and makes nothing.
 *
 * @param targetJointCount the length of the arrays, at least 1.
 * @param targetJointNames the target's joint names.
 * @param targetParentJointNames isn't looked at.
 * @param targetRestPose the target's rest pose.
 * @param sourceJointNamesMapping the source joint names that drive the target's joints.
 * @param out_generatedConfigHandle isn't written.
 * @retval velkori_Result_Failure the arguments are sound; nothing is logged.
 * @retval velkori_Result_InvalidValue targetJointCount is below 1, or targetRestPose holds an invalid
 *     transform.
 * @retval velkori_Result_InvalidParameter any pointer but targetParentJointNames is null.
 */
VELKORI_API velkori_Result velkori_generateSimpleMappingConfig(velkori_Handle handle,
    int32_t targetJointCount, const char* const* targetJointNames, const char* const* targetParentJointNames,
    const velkori_Transform_* targetRestPose, const char* const* sourceJointNamesMapping,
    velkori_Handle* out_generatedConfigHandle);

/**
 * Matches a pose to a skeleton: with JointLengths, it becomes the skeleton's rest pose with the bone
 * lengths of the given pose; otherwise the given pose keeps its directions and gets the bone lengths of the
 * current rest pose.
 *
 * @param skeletonType the skeleton.
 * @param matchBehavior what is matched.
 * @param jointSpaceType the space of the transforms.
 * @param jointCount the length of in_out_transform: the skeleton's joint count.
 * @param in_out_transform the pose, one transform per joint.
 * @retval velkori_Result_Success the pose is matched.
 * @retval velkori_Result_Failure the skeleton has no known hips joint or, with JointLengths, no rest poses;
 *     the pose stays as it is.
 * @retval velkori_Result_InvalidParameter in_out_transform is null.
 * @retval velkori_Result_InvalidValue it holds an invalid transform, or jointSpaceType is outside 0 to 3.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 * @retval velkori_Result_OperationFailed the skeleton has no current rest pose yet, which Scale needs.
 */
VELKORI_API velkori_Result velkori_matchCurrentTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    velkori_Transform_* in_out_transform);

/**
 * Scales one of two poses of a skeleton to the bone lengths of the other: with JointLengths, the result is
 * the source pose with the lengths of the given one; otherwise the given pose with the lengths of the
 * source pose.
 *
 * @param skeletonType the skeleton of both poses.
 * @param matchBehavior which pose is scaled.
 * @param jointSpaceType the space of all transforms.
 * @param jointCount the length of both arrays: the skeleton's joint count.
 * @param in_transformSourcePose the source pose, one transform per joint.
 * @param in_out_transformData in: the given pose. Out: the result.
 * @retval velkori_Result_Success the result is written.
 * @retval velkori_Result_Failure the skeleton has no known hips joint; in_out_transformData stays as it is.
 * @retval velkori_Result_InvalidParameter an array is null.
 * @retval velkori_Result_InvalidValue an array holds an invalid transform, or jointSpaceType is outside 0
 *     to 3.
 * @retval velkori_Result_BufferTooSmall jointCount isn't the skeleton's joint count.
 */
VELKORI_API velkori_Result velkori_matchPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    const velkori_Transform_* in_transformSourcePose, velkori_Transform_* in_out_transformData);

/**
 * Makes a configuration of a source skeleton and a target skeleton whose rest poses are brought into line
 * with the source's. It has no mappings. A step that can't work, such as on a skeleton without the joints
 * that it needs, leaves the pose as it is. The target's unscaled rest pose takes part only in facing, limb
 * rotations and hands; a target without one gets the middle of the aligned minimum and maximum poses.
 *
 * @param configName the new configuration's name; null or empty takes the target configuration's.
 * @param flags the steps to run.
 * @param sourceHandle the instance that the source skeleton is taken from.
 * @param sourceSkeletonType which of that instance's skeletons becomes the source skeleton.
 * @param targetHandle the instance whose target skeleton is taken.
 * @param in_out_handle as in velkori_createOrUpdateHandle().
 * @retval velkori_Result_Success the new configuration stands behind in_out_handle.
 * @retval velkori_Result_Failure a minimum or maximum rest pose couldn't be aligned.
 * @retval velkori_Result_InvalidParameter in_out_handle is null.
 * @retval velkori_Result_InvalidHandle no live instance has sourceHandle or targetHandle.
 */
VELKORI_API velkori_Result velkori_alignTargetToSource(const char* configName, velkori_AlignmentFlags flags,
    velkori_Handle sourceHandle, velkori_SkeletonType sourceSkeletonType, velkori_Handle targetHandle,
    velkori_Handle* in_out_handle);

/* ---- Pose stream: sending ----
 *
 * A stream is a start header, any number of snapshot records and an end header. Each is a buffer of its
 * own: the host carries the bytes, keeps them apart and knows which is which. There is no version and no
 * checksum, and both ends must have the same skeletons and snapshotCount, because field widths derive from
 * them and are not sent.
 *
 * Per frame, a sender calls velkori_createSnapshot() with the last ack that came back, then
 * velkori_snapshotSkeleton() for either or both skeletons, velkori_snapshotFace() and
 * velkori_snapshotFrameData(), and velkori_serializeSnapshot() twice: for the size and for the record.
 */

/**
 * Reads the settings of an instance's pose stream.
 *
 * @param out_serializationSettings takes the settings as they are after clamping.
 * @retval velkori_Result_Success the settings are written.
 * @retval velkori_Result_NullParameter out_serializationSettings is null.
 */
VELKORI_API velkori_Result velkori_getSerializationSettings(
    velkori_Handle handle, velkori_SerializationSettings_* out_serializationSettings);

/**
 * Changes the settings of an instance's pose stream and restarts its sending side: there is no snapshot and
 * no ack. The interpolators keep their frames. The snapshot count changes for all instances of the process,
 * so change it only while no other one streams.
 *
 * @param in_serializationSettings the settings; thresholds and snapshot count are clamped.
 * @retval velkori_Result_Success the settings are taken.
 * @retval velkori_Result_InvalidParameter in_serializationSettings is null.
 */
VELKORI_API velkori_Result velkori_updateSerializationSettings(
    velkori_Handle handle, const velkori_SerializationSettings_* in_serializationSettings);

/**
 * Reads the ack that the current snapshot is coded against.
 *
 * @param out_ack takes the baseline ack of the last velkori_createSnapshot(); -1 before the first one and
 *     after a change of settings.
 * @retval velkori_Result_Success the ack is written.
 * @retval velkori_Result_NullParameter out_ack is null.
 */
VELKORI_API velkori_Result velkori_getCurrentAck(velkori_Handle handle, int32_t* out_ack);

/**
 * Starts a new outgoing snapshot in the next slot of the ring. It is coded against the snapshot in the slot
 * that the ack names.
 *
 * @param baselineAck the last ack that came back from the receiver, or -1 for none. One that names no
 *     snapshot of the ring isn't refused; the new snapshot is then coded without a baseline.
 * @param timestamp seconds from 0 to 1800, clamped; it does not wrap.
 * @retval velkori_Result_Success the snapshot is the current one.
 */
VELKORI_API velkori_Result velkori_createSnapshot(
    velkori_Handle handle, int32_t baselineAck, double timestamp);

/**
 * Puts a skeleton's pose into the current snapshot. Poses of the stream are in
 * velkori_JointRelativeSpaceType_Local, like the rest poses that a reader completes them from; scale isn't
 * carried.
 *
 * @param skeletonType the skeleton.
 * @param skeletonPose the pose in local space, one transform per joint of the whole skeleton.
 * @param indices the joints to send, ascending. All other joints are taken into account for later
 *     snapshots, but not sent. May be null if indexCount is below 1.
 * @param indexCount the length of indices.
 * @retval velkori_Result_Success the pose is in the snapshot.
 * @retval velkori_Result_InvalidParameter skeletonPose is null, or indices is with an indexCount above 0.
 * @retval velkori_Result_InvalidValue the pose holds an invalid transform.
 * @retval velkori_Result_OperationFailed no snapshot has been created.
 */
VELKORI_API velkori_Result velkori_snapshotSkeleton(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const velkori_Transform_* skeletonPose, const int32_t* indices, int32_t indexCount);

/**
 * Puts the target's face into the current snapshot. It is sent only in a snapshot with a target pose.
 *
 * @param facePose one weight from 0 to 1 per blend shape of the target; weights aren't clamped.
 * @param indices blend shapes, ascending. Unlike joints they don't limit what is sent: every shape that
 *     moved is. May be null if indexCount is below 1.
 * @param indexCount the length of indices.
 * @retval velkori_Result_Success the face is in the snapshot.
 * @retval velkori_Result_InvalidParameter facePose is null, or indices is with an indexCount above 0.
 * @retval velkori_Result_OperationFailed no snapshot has been created.
 */
VELKORI_API velkori_Result velkori_snapshotFace(
    velkori_Handle handle, const float* facePose, const int32_t* indices, int32_t indexCount);

/**
 * Puts a frame record into the current snapshot, in place of an earlier one.
 *
 * @param frameData the record; must not be null.
 * @retval velkori_Result_Success the record is in the snapshot.
 * @retval velkori_Result_InvalidParameter frameData is null.
 * @retval velkori_Result_OperationFailed no snapshot has been created.
 */
VELKORI_API velkori_Result velkori_snapshotFrameData(
    velkori_Handle handle, const velkori_FrameData_* frameData);

/**
 * Writes a stream's opening record. Logs a line at velkori_LogLevel_Info.
 *
 * @param header the record.
 * @param out_header takes its image; must not be null.
 * @retval velkori_Result_Success the image is written.
 * @retval velkori_Result_NullParameter out_header is null.
 */
VELKORI_API velkori_Result velkori_serializeStartHeader(
    velkori_StartHeader_ header, velkori_SerializedStartHeader_* out_header);

/**
 * Writes a stream's closing record.
 *
 * @param header the record.
 * @param out_header takes its image; must not be null.
 * @retval velkori_Result_Success the image is written.
 * @retval velkori_Result_NullParameter out_header is null.
 */
VELKORI_API velkori_Result velkori_serializeEndHeader(
    velkori_EndHeader_ header, velkori_SerializedEndHeader_* out_header);

/**
 * Writes the current snapshot as a record of whole 32-bit words. A record holds at most
 * VELKORI_MAX_SNAPSHOT_SIZE bytes: of a larger snapshot the tail is lost without notice, though the size
 * reported counts it.
 *
 * @param out_buffer takes the record, or null for a size query. With frame data the size is an upper limit:
 *     fewer bytes may be written, and the rest of the buffer stays as it was.
 * @param in_out_bufferSizeInBytes the size of out_buffer. A query sets it to the needed size, a multiple of
 *     4; a copy leaves it alone.
 * @retval velkori_Result_Success the record or its size is written.
 * @retval velkori_Result_NullParameter in_out_bufferSizeInBytes is null.
 * @retval velkori_Result_OperationFailed no snapshot has been created, or another instance has shortened the
 *     ring since.
 * @retval velkori_Result_BufferTooSmall the buffer is smaller than the needed size, or the record came out
 *     larger than its computed size.
 */
VELKORI_API velkori_Result velkori_serializeSnapshot(
    velkori_Handle handle, void* out_buffer, int32_t* in_out_bufferSizeInBytes);

/* ---- Pose stream: receiving ----
 *
 * A receiver hands each record to velkori_deserializeSnapshot() and sends the ack back. Readers can't tell
 * a damaged record from a good one; what a transport may damage, it must check itself.
 */

/**
 * Reads a stream's opening record. Logs a line at velkori_LogLevel_Info.
 *
 * @param out_header takes the record; must not be null.
 * @param in_header its image.
 * @retval velkori_Result_Success the record is written.
 * @retval velkori_Result_NullParameter out_header is null.
 */
VELKORI_API velkori_Result velkori_deserializeStartHeader(
    velkori_StartHeader_* out_header, velkori_SerializedStartHeader_ in_header);

/**
 * Reads a stream's closing record.
 *
 * @param out_header takes the record; must not be null.
 * @param in_header its image.
 * @retval velkori_Result_Success the record is written.
 * @retval velkori_Result_NullParameter out_header is null.
 */
VELKORI_API velkori_Result velkori_deserializeEndHeader(
    velkori_EndHeader_* out_header, velkori_SerializedEndHeader_ in_header);

/**
 * Reads only the time of a snapshot record.
 *
 * @param data the record; its first 4 bytes must be readable. Must not be null.
 * @param out_timestamp takes the seconds, 0 to 1800; must not be null.
 * @retval velkori_Result_Success the time is written.
 * @retval velkori_Result_InvalidParameter data is null.
 * @retval velkori_Result_NullParameter out_timestamp is null.
 */
VELKORI_API velkori_Result velkori_deserializeSnapshotTimestamp(const void* data, double* out_timestamp);

/**
 * Reads a snapshot record into the receiving ring and hands its poses to the interpolators. Poses are in
 * velkori_JointRelativeSpaceType_Local with scale (1, 1, 1). What the record leaves out keeps its
 * baseline's values; arrays of a part that the record doesn't have are left alone.
 *
 * @param data the record. As many bytes must be readable as the record is long, rounded up to whole 32-bit
 *     words, and never more than VELKORI_MAX_SNAPSHOT_SIZE (4,096): a word is loaded only when bits of it
 *     are needed. A record that is damaged or of other skeletons may read up to that limit, and so may one
 *     with frame data whose compression type isn't Max, since trackers read back from streams of Max only:
 *     keep that many bytes readable for those. Must not be null.
 * @param out_timestamp takes the seconds, 0 to 1800; must not be null.
 * @param out_compressionType takes the record's compression type; must not be null.
 * @param out_ack takes the ack to send back; must not be null.
 * @param optional_targetPose takes one transform per joint of the target.
 * @param optional_facePose takes one weight per blend shape of the target.
 * @param optional_sourcePose takes one transform per joint of the source.
 * @param optional_frameData takes the frame record. Must not be null if the record carries one.
 * @retval velkori_Result_Success the record is read.
 * @retval velkori_Result_InvalidParameter data is null.
 * @retval velkori_Result_NullParameter out_timestamp, out_compressionType or out_ack is null, or
 *     optional_frameData is though the record carries frame data; the record is not read then.
 */
VELKORI_API velkori_Result velkori_deserializeSnapshot(velkori_Handle handle, const void* data,
    double* out_timestamp, velkori_CompressionType* out_compressionType, int32_t* out_ack,
    velkori_Transform_* optional_targetPose, float* optional_facePose,
    velkori_Transform_* optional_sourcePose, velkori_FrameData_* optional_frameData);

/* ---- Pose stream: interpolating ----
 *
 * The interpolators take every snapshot that is read and are asked for a pose at a time of the host's own
 * clock, in seconds of the snapshots' timestamps. A request samples between the newest frame that is due
 * and the one that was newest before, and eases the last answer towards the sample within 50 ms. Nothing is
 * extrapolated past the newest frame that is due.
 */

/**
 * Empties all interpolators of an instance.
 *
 * @retval velkori_Result_Success they are empty.
 */
VELKORI_API velkori_Result velkori_resetInterpolators(velkori_Handle handle);

/**
 * Samples a skeleton's pose.
 *
 * @param skeletonType the skeleton.
 * @param out_bodyPose takes one transform per joint in velkori_JointRelativeSpaceType_Local, or null for a
 *     size query.
 * @param in_out_jointCount the length of out_bodyPose; set to the number of joints written, 0 if no frame
 *     is due yet.
 * @param time the time to sample at.
 * @retval velkori_Result_Success the pose, the count 0 or the length is written.
 * @retval velkori_Result_NullParameter in_out_jointCount is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the joint count.
 * @retval velkori_Result_InvalidValue time is not a finite number.
 */
VELKORI_API velkori_Result velkori_getInterpolatedSkeletonPose(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_Transform_* out_bodyPose, int32_t* in_out_jointCount,
    double time);

/**
 * Samples the target's face.
 *
 * @param reserved isn't used.
 * @param out_facePose takes one weight per blend shape of the target, or null for a size query.
 * @param in_out_shapeCount the length of out_facePose; set to the number of weights written.
 * @param time the time to sample at.
 * @retval velkori_Result_Success the weights or their number are written.
 * @retval velkori_Result_Failure no frame is due yet, or the target has no blend shapes; nothing is written
 *     and nothing logged.
 * @retval velkori_Result_NullParameter in_out_shapeCount is null.
 * @retval velkori_Result_BufferTooSmall the array is shorter than the number of blend shapes.
 * @retval velkori_Result_InvalidValue time is not a finite number.
 */
VELKORI_API velkori_Result velkori_getInterpolatedFacePose(
    velkori_Handle handle, int32_t reserved, float* out_facePose, int32_t* in_out_shapeCount, double time);

/**
 * Samples a tracker's pose.
 *
 * @param trackerIndex 0 for tracker2 of velkori_FrameData_, 1 for tracker0, any other value for tracker1.
 * @param out_pose takes the pose with scale (1, 1, 1), the identity if no frame is due yet; must not be
 *     null.
 * @param time the time to sample at.
 * @retval velkori_Result_Success the pose is written.
 * @retval velkori_Result_NullParameter out_pose is null.
 * @retval velkori_Result_InvalidValue time is not a finite number.
 */
VELKORI_API velkori_Result velkori_getInterpolatedTrackerJointPose(
    velkori_Handle handle, int32_t trackerIndex, velkori_Transform_* out_pose, double time);

/* ---- Logging broker ----
 *
 * Stand-ins that let code link which was written against the logging broker. They do nothing, look at no
 * argument, and what they return reads as 0 whatever integer or pointer a caller declares. A host that
 * includes the real broker's header defines VELKORI_NO_BRENVIK_DECLARATIONS.
 */

#if !defined(VELKORI_NO_BRENVIK_DECLARATIONS)
/** Logs nothing. @return 0. */
VELKORI_API uint64_t brenvik_log(void);

/** Adds no sink. @return 0, no sink. */
VELKORI_API uint64_t brenvik_addSink(void);

/** @return 0: no handle is valid. */
VELKORI_API uint64_t brenvik_isValidHandle(void);

/** @return 0: no sink is found. */
VELKORI_API uint64_t brenvik_findSink(void);

/** Logs nothing and returns. */
VELKORI_API void brenvik_logFatalError(void);

/** Sets no handler. */
VELKORI_API void brenvik_setFatalLogHandler(void);

/** @return 0: there is no handler. */
VELKORI_API uint64_t brenvik_getFatalLogHandler(void);

/** @return 0: there is no handler of the host's. */
VELKORI_API uint64_t brenvik_hasCustomFatalLogHandler(void);
#endif

#if defined(__cplusplus)
}
#endif

#endif
