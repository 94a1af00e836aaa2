#pragma once

#include "host/RetargetedClip.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** A link between sender and receiver. Acks go back the same way as snapshots come. */
struct LinkOptions {
    velkori_CompressionType type = velkori_CompressionType_Max;
    /** The share of packets that never arrive, 0 to 1. */
    double loss = 0.05;
    int delayFrames = 6;
    /** Each packet is late by up to so many milliseconds more. */
    double jitterMilliseconds = 8.0;
    uint32_t seed = 1;
};

/** What came of a clip that went over a link. */
struct LinkResult {
    int framesSent = 0;
    int framesLost = 0;
    double bytesPerFrame = 0.0;
    int largestFrame = 0;
    double kilobitsPerSecond = 0.0;
    /** Of joints after interpolation against where they were at that time, in metres and degrees; without the
     * first quarter of a second, in which the answers ease in. */
    double meanPositionError = 0.0;
    double largestPositionError = 0.0;
    double meanRotationError = 0.0;
    double largestRotationError = 0.0;
    /** How far behind the sender's clock the receiver plays. */
    double latencySeconds = 0.0;
    /** How far the eased answers lag behind the times that they are asked for, and the mean error without
     * that. */
    double lagSeconds = 0.0;
    double meanPositionErrorWithoutLag = 0.0;
    /** What the receiver played, frame by frame, as the clip's poses are given. */
    std::vector<Transform> receivedPoses;
};

/**
 * Sends a retargeted clip's target from one instance to another over a simulated link, in simulated time. The
 * receiver is loaded from the sender's document.
 */
LinkResult SendOverLink(const Configuration& sender, const RetargetedClip& clip, const LinkOptions& options);

} // namespace Velkori_Tool
