#include "host/StreamLink.h"

#include "Failure.h"
#include "Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <random>

namespace Velkori_Tool {

namespace {

constexpr velkori_SkeletonType target = velkori_SkeletonType_Target;

struct Ack {
    int32_t ack = -1;
    double timestamp = 0.0;
};

/** Between two rotations that are near each other. */
Quaternion Blend(const Quaternion& a, const Quaternion& b, float share) {
    const float sign = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w < 0.0f ? -1.0f : 1.0f;
    const float first = 1.0f - share;
    const float second = share * sign;
    return Normalized(Quaternion{a.x * first + b.x * second, a.y * first + b.y * second,
        a.z * first + b.z * second, a.w * first + b.w * second});
}

class LinkSimulation {
  public:
    LinkSimulation(const Configuration& sender, const RetargetedClip& clip, const LinkOptions& options)
        : sender(sender),
          clip(clip),
          options(options),
          receiver(LoadDocument(sender.Document(VELKORI_DEFAULT_COORDINATE_SPACE), sender.Name())),
          random(options.seed) {
        allJoints.resize(clip.jointCount);
        std::iota(allJoints.begin(), allJoints.end(), 0);
        for (const Configuration* end : {&sender, static_cast<const Configuration*>(&receiver)}) {
            velkori_SerializationSettings_ settings = {};
            Check(velkori_getSerializationSettings(end->Handle(), &settings), streamFailed);
            settings.compressionType = options.type;
            settings.positionThreshold = 0.001f;
            settings.rotationAngleThreshold = 0.1f;
            Check(velkori_updateSerializationSettings(end->Handle(), &settings), streamFailed);
        }
    }

    LinkResult Run() {
        constexpr double longestStream = 1800.0;
        const double seconds = clip.source.frameSeconds;
        if (clip.source.frameCount * seconds > longestStream) {
            throw Failure(fmt::format("a stream's time ends at {} s; cut the clip", longestStream));
        }
        // A frame is played when it and its successor should have arrived, however late they may be.
        result.latencySeconds = (options.delayFrames + 2) * seconds + options.jitterMilliseconds * 0.001;
        const int latencyFrames = static_cast<int>(std::ceil(result.latencySeconds / seconds));
        Progress progress("streaming", clip.source.frameCount);
        for (int tick = 0; tick < clip.source.frameCount + latencyFrames; ++tick) {
            const double now = tick * seconds;
            TakeAcks(now);
            if (tick < clip.source.frameCount) {
                Send(tick, now);
            }
            Receive(now);
            Play(now - result.latencySeconds);
            progress.Advance(tick);
        }
        result.bytesPerFrame = static_cast<double>(bytes) / std::max(result.framesSent, 1);
        result.kilobitsPerSecond = result.bytesPerFrame * 8.0 / 1000.0 / seconds;
        if (playedTimes.empty()) {
            throw Failure("nothing that could be played arrived over the link", Remedy::EaseLink);
        }
        MeasureErrors();
        return std::move(result);
    }

  private:
    static constexpr std::string_view streamFailed = "the library can't stream the clip";

    bool IsLost() { return std::uniform_real_distribution<double>(0.0, 1.0)(random) < options.loss; }

    double Arrival(double now) {
        const double jitter =
            std::uniform_real_distribution<double>(0.0, options.jitterMilliseconds * 0.001)(random);
        return now + options.delayFrames * clip.source.frameSeconds + jitter;
    }

    void TakeAcks(double now) {
        while (!acksUnderway.empty() && acksUnderway.begin()->first <= now) {
            const Ack& ack = acksUnderway.begin()->second;
            if (lastAck.ack < 0 || ack.timestamp > lastAck.timestamp) {
                lastAck = ack;
            }
            acksUnderway.erase(acksUnderway.begin());
        }
    }

    void Send(int frame, double now) {
        std::vector<Transform> pose(clip.Frame(frame).begin(), clip.Frame(frame).end());
        const velkori_Handle handle = sender.Handle();
        Check(velkori_convertJointPose(handle, target, velkori_JointRelativeSpaceType_RootOriginRelative,
                  velkori_JointRelativeSpaceType_Local, pose.data(), clip.jointCount),
            streamFailed);
        Check(velkori_createSnapshot(handle, lastAck.ack, now), streamFailed);
        Check(velkori_snapshotSkeleton(handle, target, pose.data(), allJoints.data(), clip.jointCount),
            streamFailed);
        int32_t size = 0;
        Check(velkori_serializeSnapshot(handle, nullptr, &size), streamFailed);
        if (size > VELKORI_MAX_SNAPSHOT_SIZE) {
            throw Failure(fmt::format("a snapshot of this target takes {} bytes and a record holds {}", size,
                              VELKORI_MAX_SNAPSHOT_SIZE),
                Remedy::SendLess);
        }
        // The reader may look at as much as the longest record has.
        std::vector<uint8_t> record(VELKORI_MAX_SNAPSHOT_SIZE);
        Check(velkori_serializeSnapshot(handle, record.data(), &size), streamFailed);
        bytes += size;
        result.largestFrame = std::max(result.largestFrame, static_cast<int>(size));
        ++result.framesSent;
        if (IsLost()) {
            ++result.framesLost;
        } else {
            recordsUnderway.emplace(Arrival(now), std::move(record));
        }
    }

    void Receive(double now) {
        while (!recordsUnderway.empty() && recordsUnderway.begin()->first <= now) {
            const std::vector<uint8_t>& record = recordsUnderway.begin()->second;
            Ack ack;
            velkori_CompressionType type = {};
            Check(velkori_deserializeSnapshot(receiver.Handle(), record.data(), &ack.timestamp, &type,
                      &ack.ack, nullptr, nullptr, nullptr, nullptr),
                streamFailed);
            recordsUnderway.erase(recordsUnderway.begin());
            if (!IsLost()) {
                acksUnderway.emplace(Arrival(now), ack);
            }
        }
    }

    void Play(double time) {
        std::vector<Transform> pose(clip.jointCount);
        int32_t count = clip.jointCount;
        Check(velkori_getInterpolatedSkeletonPose(receiver.Handle(), target, pose.data(), &count, time),
            streamFailed);
        if (time < 0.0 || count < clip.jointCount) {
            return;
        }
        Check(velkori_convertJointPose(receiver.Handle(), target, velkori_JointRelativeSpaceType_Local,
                  velkori_JointRelativeSpaceType_RootOriginRelative, pose.data(), clip.jointCount),
            streamFailed);
        playedTimes.push_back(time);
        result.receivedPoses.insert(result.receivedPoses.end(), pose.begin(), pose.end());
    }

    struct Errors {
        double meanPosition = 0.0;
        double largestPosition = 0.0;
        double meanRotation = 0.0;
        double largestRotation = 0.0;
    };

    /** Of what was played against the clip at the times that it was asked for, or `lag` earlier. */
    Errors ErrorsWithLag(double lag) const {
        // The first answers ease in from the first frame.
        constexpr double easingIn = 0.25;
        Errors errors;
        double joints = 0.0;
        for (size_t played = 0; played < playedTimes.size(); ++played) {
            const double exactFrame = (playedTimes[played] - lag) / clip.source.frameSeconds;
            const int frame = std::min(static_cast<int>(exactFrame), clip.source.frameCount - 1);
            for (int joint = 0; playedTimes[played] >= easingIn && joint < clip.jointCount; ++joint) {
                const int next = std::min(frame + 1, clip.source.frameCount - 1);
                const Transform& before = clip.Frame(frame)[joint];
                const Transform& after = clip.Frame(next)[joint];
                const auto share = static_cast<float>(exactFrame - frame);
                const Vector3 position = before.position + (after.position - before.position) * share;
                const Transform& answer = result.receivedPoses[played * clip.jointCount + joint];
                const double positionError = Length(answer.position - position);
                const double rotationError =
                    AngleBetween(answer.orientation, Blend(before.orientation, after.orientation, share));
                errors.meanPosition += positionError;
                errors.meanRotation += rotationError;
                errors.largestPosition = std::max(errors.largestPosition, positionError);
                errors.largestRotation = std::max(errors.largestRotation, rotationError);
                joints += 1.0;
            }
        }
        errors.meanPosition /= std::max(joints, 1.0);
        errors.meanRotation /= std::max(joints, 1.0);
        return errors;
    }

    void MeasureErrors() {
        const Errors errors = ErrorsWithLag(0.0);
        result.meanPositionError = errors.meanPosition;
        result.largestPositionError = errors.largestPosition;
        result.meanRotationError = errors.meanRotation;
        result.largestRotationError = errors.largestRotation;
        result.meanPositionErrorWithoutLag = errors.meanPosition;
        constexpr int lags = 20;
        constexpr double lagStep = 0.005;
        for (int i = 1; i <= lags; ++i) {
            const double error = ErrorsWithLag(i * lagStep).meanPosition;
            if (error < result.meanPositionErrorWithoutLag) {
                result.meanPositionErrorWithoutLag = error;
                result.lagSeconds = i * lagStep;
            }
        }
    }

    const Configuration& sender;
    const RetargetedClip& clip;
    const LinkOptions& options;
    Configuration receiver;
    std::vector<int32_t> allJoints;
    std::mt19937 random;
    /** By the time at which they arrive. */
    std::multimap<double, std::vector<uint8_t>> recordsUnderway;
    std::multimap<double, Ack> acksUnderway;
    Ack lastAck;
    int64_t bytes = 0;
    /** The time that each of the received poses was asked for. */
    std::vector<double> playedTimes;
    LinkResult result;
};

} // namespace

LinkResult SendOverLink(const Configuration& sender, const RetargetedClip& clip, const LinkOptions& options) {
    return LinkSimulation(sender, clip, options).Run();
}

} // namespace Velkori_Tool
