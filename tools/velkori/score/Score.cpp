#include "score/Score.h"

#include "rig/JointName.h"
#include "solve/Plants.h"

#include <fmt/format.h>

#include <algorithm>

namespace Velkori_Tool {

namespace {

constexpr velkori_SkeletonType sourceType = velkori_SkeletonType_Source;
constexpr velkori_SkeletonType targetType = velkori_SkeletonType_Target;

class Mean {
  public:
    void Add(double value) {
        sum += value;
        ++count;
    }

    bool HasAny() const { return count > 0; }

    double Value() const { return count == 0 ? 0.0 : sum / count; }

  private:
    double sum = 0.0;
    int count = 0;
};

/** How alike two series run: 1 is the same course, 0 none, and nothing where one of them hardly moves. */
std::optional<double> Correlation(const std::vector<float>& a, const std::vector<float>& b) {
    Mean meanA;
    Mean meanB;
    for (size_t i = 0; i < a.size(); ++i) {
        meanA.Add(a[i]);
        meanB.Add(b[i]);
    }
    double ab = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    for (size_t i = 0; i < a.size(); ++i) {
        const double x = a[i] - meanA.Value();
        const double y = b[i] - meanB.Value();
        ab += x * y;
        aa += x * x;
        bb += y * y;
    }
    constexpr double leastDegrees = 1.0;
    const double least = leastDegrees * leastDegrees * static_cast<double>(a.size());
    return aa < least || bb < least ? std::nullopt : std::optional(ab / std::sqrt(aa * bb));
}

class ClipScorer {
  public:
    ClipScorer(const Configuration& configuration, const RetargetedClip& clip, const NamingHabits& habits)
        : configuration(configuration),
          clip(clip),
          habits(habits),
          source(SourceBody(configuration, clip)),
          target(TargetBody(configuration, clip.standingHeights)),
          frameCount(clip.source.frameCount),
          scale(source.LegLength() > 0.0f && target.LegLength() > 0.0f
                    ? target.LegLength() / source.LegLength()
                    : 1.0f) {
        FindDrivers();
    }

    Score Run() {
        MeasureLimbs();
        MeasureTrunk();
        MeasureHead();
        MeasureBones();
        MeasureFeet();
        MeasurePath();
        MeasureFingers();
        MeasureSides();
        MeasureHelpers();
        return std::move(score);
    }

  private:
    /** Which source joint turns each target joint most; -1 for none. */
    void FindDrivers() {
        drivers.assign(target.JointCount(), -1);
        const auto entries = configuration.MappingEntries(velkori_SkeletonTPoseType_Max);
        size_t first = 0;
        for (const auto& mapping : configuration.Mappings(velkori_SkeletonTPoseType_Max)) {
            float heaviest = 0.0f;
            for (int32_t i = 0; i < mapping.entryCount; ++i) {
                const velkori_JointMappingEntry_& entry = entries[first + i];
                if (mapping.type == sourceType && entry.rotationWeight > heaviest) {
                    heaviest = entry.rotationWeight;
                    drivers[mapping.jointIndex] = entry.jointIndex;
                }
            }
            first += mapping.entryCount;
        }
    }

    void Add(std::string key, std::string name, std::string unit, double value, double good, double bad) {
        score.measures.push_back({std::move(key), std::move(name), std::move(unit), value, good, bad});
    }

    static Vector3 Way(std::span<const Transform> pose, int from, int to) {
        return pose[to].position - pose[from].position;
    }

    void MeasureLimbs() {
        Mean all;
        double worst = 0.0;
        const auto measure = [&](int sourceFrom, int sourceTo, int targetFrom, int targetTo) {
            Mean segment;
            for (int frame = 0; frame < frameCount; ++frame) {
                const float angle = AngleBetween(Way(clip.source.Frame(frame), sourceFrom, sourceTo),
                    Way(clip.Frame(frame), targetFrom, targetTo));
                segment.Add(angle);
                all.Add(angle);
            }
            worst = std::max(worst, segment.Value());
        };
        for (const auto limbs : {&Body::arms, &Body::legs}) {
            for (size_t side = 0; side < 2; ++side) {
                const Limb& from = (source.*limbs).at(side);
                const Limb& to = (target.*limbs).at(side);
                if (from.IsWhole() && to.IsWhole()) {
                    measure(from.upper, from.middle, to.upper, to.middle);
                    measure(from.middle, from.end, to.middle, to.end);
                }
            }
        }
        if (all.HasAny()) {
            Add("limbDirection", "limbs' direction, mean", "degrees", all.Value(), 5.0, 15.0);
            Add("worstLimbDirection", "worst limb's direction", "degrees", worst, 10.0, 30.0);
        }
    }

    void MeasureTrunk() {
        if (source.neck < 0 || target.neck < 0 || source.hips < 0 || target.hips < 0) {
            return;
        }
        Mean angle;
        for (int frame = 0; frame < frameCount; ++frame) {
            const auto from = clip.source.Frame(frame);
            const auto to = clip.Frame(frame);
            angle.Add(AngleBetween(from[source.neck].position - source.HipsMiddle(from),
                to[target.neck].position - target.HipsMiddle(to)));
        }
        Add("spineDirection", "spine's direction", "degrees", angle.Value(), 10.0, 25.0);
    }

    void MeasureHead() {
        const int from = FindHead(sourceType, source);
        const int to = FindHead(targetType, target);
        if (from < 0 || to < 0 || frameCount < 1) {
            return;
        }
        const auto turn = [](std::span<const Transform> pose, std::span<const Transform> first, int joint) {
            return pose[joint].orientation * Inverse(first[joint].orientation);
        };
        Mean angle;
        for (int frame = 0; frame < frameCount; ++frame) {
            angle.Add(AngleBetween(turn(clip.source.Frame(frame), clip.source.Frame(0), from),
                turn(clip.Frame(frame), clip.Frame(0), to)));
        }
        Add("headRotation", "head's rotation", "degrees", angle.Value(), 5.0, 20.0);
    }

    void MeasureBones() {
        double worst = 0.0;
        constexpr float shortestBone = 0.02f;
        for (size_t joint = 0; joint < target.JointCount(); ++joint) {
            const int parent = target.parents[joint];
            const bool isBone = parent >= 0 && target.hips >= 0 && target.IsBelow(target.hips, parent);
            const float length = isBone ? Length(Way(target.rest, parent, static_cast<int>(joint))) : 0.0f;
            for (int frame = 0; length > shortestBone && frame < frameCount; ++frame) {
                const float now = Length(Way(clip.Frame(frame), parent, static_cast<int>(joint)));
                worst = std::max(worst, 100.0 * std::fabs(now / length - 1.0));
            }
        }
        Add("boneLength", "bones' length, worst change", "%", worst, 2.0, 10.0);
    }

    void MeasureFeet() {
        Mean height;
        double slide = 0.0;
        bool isPlanted = false;
        for (size_t side = 0; side < 2; ++side) {
            const Limb& from = source.legs.at(side);
            const Limb& to = target.legs.at(side);
            if (!from.IsWhole() || !to.IsWhole()) {
                continue;
            }
            std::vector<Vector3> path;
            path.reserve(frameCount);
            for (int frame = 0; frame < frameCount; ++frame) {
                path.push_back(clip.source.Frame(frame)[from.end].position);
            }
            Mean slower;
            for (const Plant& plant : FindPlants(path, clip.source.frameSeconds, source.LegLength())) {
                for (int frame = plant.first; frame <= plant.last; ++frame) {
                    const Vector3 place = clip.Frame(frame)[to.end].position;
                    height.Add(std::fabs(
                        place.y - target.standingHeights[to.end] - scale * (path[frame].y - plant.height)));
                    if (frame > plant.first) {
                        const Vector3 before = clip.Frame(frame - 1)[to.end].position;
                        const Vector3 own = (path[frame] - path[frame - 1]) * scale;
                        slower.Add(
                            (std::hypot(place.x - before.x, place.z - before.z) - std::hypot(own.x, own.z)) /
                            clip.source.frameSeconds);
                    }
                }
            }
            isPlanted = isPlanted || slower.HasAny();
            slide = std::max(slide, slower.Value());
        }
        // A body that is kept in place treads as on a belt.
        if (isPlanted && clip.path != MotionPath::InPlace) {
            Add("footSlide", "planted feet's slide", "cm/s", 100.0 * slide, 3.0, 12.0);
        }
        if (isPlanted) {
            Add("footHeight", "planted feet's height", "cm", 100.0 * height.Value(), 2.0, 6.0);
        }
    }

    void MeasurePath() {
        if (source.hips < 0 || target.hips < 0 || frameCount < 2) {
            return;
        }
        Mean off;
        Vector3 low = {0.0f, 0.0f, 0.0f};
        Vector3 high = low;
        for (int frame = 0; frame < frameCount; ++frame) {
            Vector3 from =
                (source.HipsMiddle(clip.source.Frame(frame)) - source.HipsMiddle(clip.source.Frame(0))) *
                scale;
            if (clip.path == MotionPath::InPlace) {
                from = {0.0f, from.y, 0.0f};
            }
            const Vector3 to = target.HipsMiddle(clip.Frame(frame)) - target.HipsMiddle(clip.Frame(0));
            off.Add(Length(to - from));
            low = {std::min(low.x, from.x), std::min(low.y, from.y), std::min(low.z, from.z)};
            high = {std::max(high.x, from.x), std::max(high.y, from.y), std::max(high.z, from.z)};
        }
        // Somebody who stays in place has no path to be a part of.
        const float extent = std::max(Length(high - low), 0.25f * target.LegLength());
        Add("hipsPath", "hips' path", "%", extent > 0.0f ? 100.0 * off.Value() / extent : 0.0, 5.0, 20.0);
    }

    /** How far a joint is turned from how it lies to the wrist in the rest pose, frame by frame. */
    std::vector<float> Bending(const Body& body, int wrist, int joint, bool isSource) const {
        const Quaternion rest = Inverse(body.rest[wrist].orientation) * body.rest[joint].orientation;
        std::vector<float> angles;
        for (int frame = 0; frame < frameCount; ++frame) {
            const auto pose = isSource ? clip.source.Frame(frame) : clip.Frame(frame);
            angles.push_back(AngleBetween(rest, Inverse(pose[wrist].orientation) * pose[joint].orientation));
        }
        return angles;
    }

    void MeasureFingers() {
        Mean unlike;
        for (size_t side = 0; side < 2; ++side) {
            const int wrist = target.arms.at(side).end;
            const int sourceWrist = source.arms.at(side).end;
            for (int joint = 0; wrist >= 0 && sourceWrist >= 0 && joint < clip.jointCount; ++joint) {
                const int driver = drivers[joint];
                if (joint == wrist || !target.IsBelow(wrist, joint) || driver < 0 || driver == sourceWrist ||
                    !source.IsBelow(sourceWrist, driver)) {
                    continue;
                }
                const auto alike = Correlation(
                    Bending(target, wrist, joint, false), Bending(source, sourceWrist, driver, true));
                if (alike) {
                    unlike.Add(1.0 - *alike);
                }
            }
        }
        if (unlike.HasAny()) {
            Add("fingers", "fingers' bending, 1 - correlation", "", unlike.Value(), 0.1, 0.5);
        }
    }

    void MeasureSides() {
        const std::vector<JointName> sourceNames = Names(sourceType);
        const std::vector<JointName> targetNames = Names(targetType);
        int crossed = 0;
        for (size_t joint = 0; joint < drivers.size(); ++joint) {
            if (drivers[joint] >= 0) {
                const Side to = targetNames[joint].side;
                const Side from = sourceNames[drivers[joint]].side;
                crossed += to != Side::None && from != Side::None && to != from ? 1 : 0;
            }
        }
        Add("crossedSides", "joints driven from the other side", "", crossed, 0.0, 1.0);
    }

    /** Joints outside the body that lie on one of its joints in the rest pose and should stay there. */
    void MeasureHelpers() {
        constexpr float onJoint = 0.02f;
        Mean off;
        for (int joint = 0; target.hips >= 0 && joint < clip.jointCount; ++joint) {
            if (target.IsBelow(target.hips, joint) || target.IsBelow(joint, target.hips) ||
                target.parents[joint] < 0) {
                continue;
            }
            int leader = -1;
            float nearest = onJoint;
            for (int other = 0; other < clip.jointCount; ++other) {
                const float distance = Length(Way(target.rest, joint, other));
                if (target.IsBelow(target.hips, other) && distance < nearest) {
                    leader = other;
                    nearest = distance;
                }
            }
            for (int frame = 0; leader >= 0 && frame < frameCount; ++frame) {
                off.Add(Length(Way(clip.Frame(frame), joint, leader)));
            }
        }
        if (off.HasAny()) {
            Add("helperBones", "helper bones off their joints", "cm", 100.0 * off.Value(), 2.0, 20.0);
        }
    }

    std::vector<JointName> Names(velkori_SkeletonType type) const {
        return ParseJointNames(configuration.JointNames(type), habits);
    }

    /** -1 where no joint above the neck is named so. */
    int FindHead(velkori_SkeletonType type, const Body& body) const {
        const std::vector<JointName> names = Names(type);
        constexpr float clear = 0.8f;
        for (const int joint : body.order) {
            const bool isAbove = body.neck >= 0 && joint != body.neck && body.IsBelow(body.neck, joint);
            if (isAbove && NameFit(names[joint], BodyPart::Head) > clear) {
                return joint;
            }
        }
        return -1;
    }

    const Configuration& configuration;
    const RetargetedClip& clip;
    const NamingHabits& habits;
    Body source;
    Body target;
    int frameCount;
    /** The target's legs in parts of the source's. */
    float scale;
    std::vector<int> drivers;
    Score score;
};

} // namespace

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::Good ? "good" : (verdict == Verdict::Flawed ? "flawed" : "bad");
}

Verdict Measure::Judged() const {
    // What isn't a number is no result.
    return value <= good ? Verdict::Good : (value <= bad ? Verdict::Flawed : Verdict::Bad);
}

Verdict Score::Judged() const {
    Verdict worst = Verdict::Good;
    for (const Measure& measure : measures) {
        worst = std::max(worst, measure.Judged());
    }
    return worst;
}

Score ScoreClip(const Configuration& configuration, const RetargetedClip& clip, const NamingHabits& names) {
    return ClipScorer(configuration, clip, names).Run();
}

std::string Summary(const Score& score) {
    std::string text = NameOf(score.Judged());
    for (const Measure& measure : score.measures) {
        if (measure.Judged() != Verdict::Good) {
            text += fmt::format("; {} {:.3g}{}{}", measure.name, measure.value,
                measure.unit.empty() ? "" : " ", measure.unit);
        }
    }
    return text;
}

} // namespace Velkori_Tool
