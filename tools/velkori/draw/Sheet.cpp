#include "draw/Sheet.h"

#include "draw/Canvas.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace Velkori_Tool {

namespace {

constexpr Color ink = {0.16, 0.18, 0.22};
constexpr Color faint = {0.55, 0.58, 0.63};
constexpr Color paper = {0.955, 0.96, 0.97};
constexpr Color groundColor = {0.80, 0.82, 0.85};
constexpr Color leftColor = {0.10, 0.45, 0.80};
constexpr Color rightColor = {0.88, 0.38, 0.10};
constexpr Color trunkColor = {0.30, 0.33, 0.39};

constexpr double pixelsPerMetre = 118.0;
constexpr double figureWidth = 1.75 * pixelsPerMetre;
constexpr double cellGap = 14.0;
constexpr double margin = 36.0;
constexpr double headerHeight = 84.0;
constexpr double bandLabelHeight = 30.0;
constexpr double belowGround = 34.0;
constexpr double bandGap = 14.0;

Color ColorOf(Side side) {
    return side == Side::Left ? leftColor : (side == Side::Right ? rightColor : trunkColor);
}

/** Looks horizontally at the scene: `across` points right on the page, `towards` at the viewer. */
struct View {
    Vector3 across;
    Vector3 towards;
    std::string name;
};

/** Where a figure stands on the page: a point of the ground, seen from a view. */
struct Stage {
    const View& view;
    Vector3 centre = {0.0f, 0.0f, 0.0f};
    Point ground;

    Point Place(const Vector3& position) const {
        return {ground.x + Dot(position - centre, view.across) * pixelsPerMetre,
            ground.y - position.y * pixelsPerMetre};
    }
};

/** The main direction of the hips' way over the ground, in the direction in which it begins. */
Vector3 TravelDirection(const SourceClip& clip, int hips) {
    Vector3 mean = {0.0f, 0.0f, 0.0f};
    for (int frame = 0; frame < clip.frameCount; ++frame) {
        mean = mean + clip.Frame(frame)[hips].position * (1.0f / static_cast<float>(clip.frameCount));
    }
    double xx = 0.0;
    double xz = 0.0;
    double zz = 0.0;
    for (int frame = 0; frame < clip.frameCount; ++frame) {
        const Vector3 offset = clip.Frame(frame)[hips].position - mean;
        xx += offset.x * offset.x;
        xz += offset.x * offset.z;
        zz += offset.z * offset.z;
    }
    // The larger axis of the covariance's ellipse.
    const double angle = 0.5 * std::atan2(2.0 * xz, xx - zz);
    Vector3 direction = {static_cast<float>(std::cos(angle)), 0.0f, static_cast<float>(std::sin(angle))};
    constexpr double standsStill = 0.05;
    if ((xx + zz) / clip.frameCount < standsStill) {
        return {0.0f, 0.0f, 1.0f};
    }
    const Vector3 first = clip.Frame(clip.frameCount / 4)[hips].position - clip.Frame(0)[hips].position;
    return Dot(first, direction) < 0.0f ? direction * -1.0f : direction;
}

/**
 * The horizontal direction that the body mostly faces, from the legs' tops; (0, 0, 0) if it turns so much in
 * the clip that there is none.
 */
Vector3 FacingDirection(const SourceClip& clip, const Figure& figure) {
    if (figure.leftLeg < 0 || figure.rightLeg < 0) {
        return {0.0f, 0.0f, 0.0f};
    }
    Vector3 sum = {0.0f, 0.0f, 0.0f};
    for (int frame = 0; frame < clip.frameCount; ++frame) {
        const auto pose = clip.Frame(frame);
        const Vector3 rightwards = pose[figure.rightLeg].position - pose[figure.leftLeg].position;
        sum = sum + Normalized(Cross(rightwards, {0.0f, 1.0f, 0.0f}));
    }
    constexpr float mostly = 0.7f;
    return Length(sum) > mostly * static_cast<float>(clip.frameCount) ? Normalized(sum)
                                                                      : Vector3{0.0f, 0.0f, 0.0f};
}

/** What "ahead" is in the whole sheet. */
Vector3 ForwardDirection(const SourceClip& clip, const Figure& figure) {
    const Vector3 facing = FacingDirection(clip, figure);
    return Length(facing) > 0.0f ? facing : TravelDirection(clip, figure.hips);
}

class SheetDrawer {
  public:
    SheetDrawer(const std::string& path, const SheetContent& content)
        : content(content),
          clip(content.clip),
          columns(static_cast<double>(content.moments.size())),
          pageWidth(2.0 * margin + columns * cellWidth + (columns - 1.0) * cellGap),
          aboveGround(HighestJoint() * pixelsPerMetre + 26.0),
          bandHeight(bandLabelHeight + aboveGround + belowGround + bandGap),
          planHeight(PlanHeight()),
          canvas(path, pageWidth, headerHeight + 2.0 * bandHeight + planHeight + margin) {}

    void Draw() {
        DrawHeader();
        // Seen from the right, forward is to the right; seen from ahead, right is to the left.
        const Vector3 forward = ForwardDirection(clip.source, content.source);
        const Vector3 right = Cross({0.0f, 1.0f, 0.0f}, forward);
        DrawBand({forward, right, "from the side"}, headerHeight);
        DrawBand({right * -1.0f, forward, "from ahead"}, headerHeight + bandHeight);
        DrawPlan(forward, right, headerHeight + 2.0 * bandHeight);
        canvas.Finish();
    }

  private:
    static constexpr double cellWidth = 2.0 * figureWidth;

    void DrawHeader() {
        canvas.Text(content.title, {margin, 44.0}, 24.0, ink, 0.0, true);
        const SourceClip& source = clip.source;
        canvas.Text(
            fmt::format("{}: {} frames at {:.0f} Hz, {:.1f} s.  Trails: feet and hands, half a second before "
                        "and after.",
                content.clipName, source.frameCount, 1.0 / source.frameSeconds,
                source.frameCount * source.frameSeconds),
            {margin, 70.0}, 14.0, faint);
        double x = pageWidth - margin;
        for (const auto& [side, name] : {std::pair{Side::Right, "right"}, std::pair{Side::Left, "left"}}) {
            canvas.Text(name, {x, 44.0}, 15.0, ColorOf(side), 1.0, true);
            x -= 58.0;
        }
        canvas.Line({x - 10.0 - pixelsPerMetre, 39.0}, {x - 10.0, 39.0}, 2.0, ink);
        for (const double end : {x - 10.0 - pixelsPerMetre, x - 10.0}) {
            canvas.Line({end, 34.0}, {end, 44.0}, 2.0, ink);
        }
        canvas.Text("1 m", {x - 10.0 - 0.5 * pixelsPerMetre, 31.0}, 13.0, ink, 0.5);
    }

    void DrawBand(const View& view, double top) {
        canvas.Text(view.name, {margin, top + 16.0}, 15.0, ink, 0.0, true);
        const double groundY = top + bandLabelHeight + aboveGround;
        double left = margin;
        for (const int frame : content.moments) {
            canvas.Rectangle({left, top + bandLabelHeight}, {cellWidth, aboveGround + belowGround}, paper);
            DrawScale(left, groundY);
            DrawFigure(content.source, clip.source.poses, clip.source.jointCount, frame, view,
                {left + 0.5 * figureWidth, groundY});
            DrawFigure(content.target, clip.poses, clip.jointCount, frame, view,
                {left + 1.5 * figureWidth, groundY}, &content.skin);
            canvas.Text(fmt::format("{:.2f} s", frame * clip.source.frameSeconds),
                {left + 0.5 * cellWidth, groundY + belowGround - 10.0}, 13.0, ink, 0.5);
            canvas.Text(
                "captured", {left + 0.5 * figureWidth, groundY + belowGround - 10.0}, 13.0, faint, 0.5);
            canvas.Text(
                "character", {left + 1.5 * figureWidth, groundY + belowGround - 10.0}, 13.0, faint, 0.5);
            left += cellWidth + cellGap;
        }
    }

    /** The ground, with a tick each half metre up the cell's left edge. */
    void DrawScale(double left, double groundY) {
        for (int halves = 1; 0.5 * halves * pixelsPerMetre < aboveGround - 10.0; ++halves) {
            const double y = groundY - 0.5 * halves * pixelsPerMetre;
            canvas.Line({left + 4.0, y}, {left + cellWidth - 4.0, y}, 0.6, groundColor);
            if (halves % 2 == 0) {
                canvas.Text(fmt::format("{} m", halves / 2), {left + 6.0, y - 4.0}, 11.0, faint);
            }
        }
        canvas.Line({left + 4.0, groundY}, {left + cellWidth - 4.0, groundY}, 2.0, faint);
    }

    void DrawFigure(const Figure& figure, const std::vector<Transform>& poses, int jointCount, int frame,
        const View& view, Point ground, const SkinnedMesh* skin = nullptr) {
        const auto pose = [&](int atFrame) {
            return std::span(poses).subspan(static_cast<size_t>(atFrame) * jointCount, jointCount);
        };
        const Stage stage{view, WithoutAxis(pose(frame)[figure.hips].position, {0.0f, 1.0f, 0.0f}), ground};
        const int halfSecond = static_cast<int>(std::lround(0.5 / clip.source.frameSeconds));
        const int first = std::max(frame - halfSecond, 0);
        const int last = std::min(frame + halfSecond, clip.source.frameCount - 1);
        const int step = std::max(1, halfSecond / 30);
        for (const Figure::Trail& trail : figure.trails) {
            Color color = ColorOf(trail.side);
            for (int at = first; at + step <= last; at += step) {
                color.alpha = 0.42 * (1.0 - std::abs(at - frame) / (halfSecond + 1.0));
                DrawTrail(
                    stage, pose(at)[trail.joint].position, pose(at + step)[trail.joint].position, color);
            }
        }
        const bool hasSkin = skin != nullptr && !skin->triangles.empty();
        if (!hasSkin || !IsWhole(*skin, jointCount)) {
            DrawBones(figure, pose(frame), stage);
        }
        if (hasSkin) {
            DrawSkin(*skin, figure, pose(frame), stage);
        }
    }

    /** Not just the gloves of a body whose other parts are stiff meshes. */
    static bool IsWhole(const SkinnedMesh& skin, int jointCount) {
        std::vector<bool> isCovered(jointCount, false);
        for (const SkinnedMesh::Vertex& vertex : skin.vertices) {
            for (const SkinnedMesh::Influence& influence : vertex) {
                if (influence.joint >= 0) {
                    isCovered[influence.joint] = true;
                }
            }
        }
        constexpr double least = 0.35;
        return static_cast<double>(std::count(isCovered.begin(), isCovered.end(), true)) > least * jointCount;
    }

    /** Each triangle in the colour of its side of the body, lit from the viewer's left above. */
    void DrawSkin(
        const SkinnedMesh& skin, const Figure& figure, std::span<const Transform> pose, const Stage& stage) {
        std::vector<Side> sides(pose.size(), Side::None);
        for (const Figure::Bone& bone : figure.bones) {
            sides[bone.to] = bone.side;
        }
        std::vector<Vector3> places;
        places.reserve(skin.vertices.size());
        for (const SkinnedMesh::Vertex& vertex : skin.vertices) {
            places.push_back(SkinnedMesh::Place(vertex, pose));
        }
        std::vector<std::pair<float, size_t>> order;
        for (size_t i = 0; i + 2 < skin.triangles.size(); i += 3) {
            const Vector3 middle =
                places[skin.triangles[i]] + places[skin.triangles[i + 1]] + places[skin.triangles[i + 2]];
            order.emplace_back(Dot(middle, stage.view.towards), i);
        }
        std::sort(order.begin(), order.end());
        const Vector3 light =
            Normalized(stage.view.towards + Vector3{0.0f, 0.8f, 0.0f} - stage.view.across * 0.6f);
        for (const auto& [depth, i] : order) {
            const Vector3& a = places[skin.triangles[i]];
            const Vector3& b = places[skin.triangles[i + 1]];
            const Vector3& c = places[skin.triangles[i + 2]];
            Vector3 normal = Normalized(Cross(b - a, c - a));
            // Whichever way round its corners go, what is seen is its front.
            normal = Dot(normal, stage.view.towards) < 0.0f ? normal * -1.0f : normal;
            const SkinnedMesh::Vertex& vertex = skin.vertices[skin.triangles[i]];
            const auto main = std::max_element(vertex.begin(), vertex.end(),
                [](const auto& x, const auto& y) { return x.weight < y.weight; });
            const Color full = ColorOf(main->joint < 0 ? Side::None : sides[main->joint]);
            const double shade = 0.55 + 0.6 * std::max(0.0f, Dot(normal, light));
            const auto lit = [&](double part) { return std::min(1.0, part * shade + 0.06); };
            canvas.Triangle(stage.Place(a), stage.Place(b), stage.Place(c),
                {lit(full.red), lit(full.green), lit(full.blue)});
        }
    }

    /** A piece of a trail, unless it leaves the figure's half of the cell. */
    void DrawTrail(const Stage& stage, const Vector3& from, const Vector3& to, const Color& color) {
        const Point a = stage.Place(from);
        const Point b = stage.Place(to);
        constexpr double widest = 0.5 * figureWidth - 4.0;
        if (std::fabs(a.x - stage.ground.x) < widest && std::fabs(b.x - stage.ground.x) < widest) {
            canvas.Line(a, b, 2.2, color);
        }
    }

    /** What is farther away first, and paler. */
    void DrawBones(const Figure& figure, std::span<const Transform> pose, const Stage& stage) {
        std::vector<std::pair<float, Figure::Bone>> bones;
        for (const Figure::Bone& bone : figure.bones) {
            const Vector3 middle = (pose[bone.from].position + pose[bone.to].position) * 0.5f;
            bones.emplace_back(Dot(middle - stage.centre, stage.view.towards), bone);
        }
        std::stable_sort(
            bones.begin(), bones.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [depth, bone] : bones) {
            const double nearness = std::clamp(0.5 + depth / 0.5, 0.0, 1.0);
            const Color full = ColorOf(bone.side);
            const double pale = 0.38 * (1.0 - nearness);
            const Color color = {full.red + (1.0 - full.red) * pale, full.green + (1.0 - full.green) * pale,
                full.blue + (1.0 - full.blue) * pale};
            canvas.Line(stage.Place(pose[bone.from].position), stage.Place(pose[bone.to].position),
                bone.width * pixelsPerMetre, color);
        }
        if (figure.headTop >= 0) {
            const Vector3 top = pose[figure.headTop].position;
            const Vector3 centre = (top + pose[figure.headBase].position) * 0.5f;
            constexpr double headRadius = 0.105;
            canvas.Circle(stage.Place(centre), headRadius * pixelsPerMetre, trunkColor);
        }
    }

    /** Of both figures at all moments, in metres; never less than a standing body needs. */
    double HighestJoint() const {
        float highest = 1.6f;
        for (const int frame : content.moments) {
            for (const auto& pose : {clip.source.Frame(frame), clip.Frame(frame)}) {
                for (const Transform& joint : pose) {
                    highest = std::max(highest, joint.position.y);
                }
            }
        }
        // What is higher leaves its cell.
        constexpr float highestCell = 6.0f;
        return std::min(highest, highestCell);
    }

    struct Extent {
        double lowest = 0.0;
        double highest = 0.0;
    };

    Extent HipsExtent(const Vector3& axis) const {
        Extent extent = {1e9, -1e9};
        for (int frame = 0; frame < clip.source.frameCount; ++frame) {
            const double along = Dot(clip.source.Frame(frame)[content.source.hips].position, axis);
            extent = {std::min(extent.lowest, along), std::max(extent.highest, along)};
        }
        return extent;
    }

    /** What feet need beside the hips' way, in metres. */
    static constexpr double room = 0.9;

    double PlanScale(const Extent& along, const Extent& across) const {
        const double width = pageWidth - 2.0 * margin - 60.0;
        constexpr double highestPlan = 360.0;
        constexpr double largestScale = 2.6 * pixelsPerMetre;
        return std::min({largestScale, width / (along.highest - along.lowest + room),
            highestPlan / (across.highest - across.lowest + room)});
    }

    double PlanHeight() const {
        const Vector3 forward = ForwardDirection(clip.source, content.source);
        const Extent along = HipsExtent(forward);
        const Extent across = HipsExtent(Cross({0.0f, 1.0f, 0.0f}, forward));
        return bandLabelHeight + (across.highest - across.lowest + room) * PlanScale(along, across);
    }

    /** The whole way from above: the feet of both, and the hips. */
    void DrawPlan(const Vector3& forward, const Vector3& right, double top) {
        const Extent along = HipsExtent(forward);
        const Extent across = HipsExtent(right);
        const double scale = PlanScale(along, across);
        canvas.Text(
            "from above: where feet are down, as captured (large, pale) and the character's (small), and "
            "the hips' way",
            {margin, top + 16.0}, 15.0, ink, 0.0, true);
        const double boxTop = top + bandLabelHeight;
        canvas.Rectangle({margin, boxTop}, {pageWidth - 2.0 * margin, planHeight - bandLabelHeight}, paper);
        const double centreX = 0.5 * pageWidth;
        const double centreY = boxTop + 0.5 * (planHeight - bandLabelHeight);
        const auto place = [&](const Vector3& position) {
            return Point{centreX + (Dot(position, forward) - 0.5 * (along.lowest + along.highest)) * scale,
                centreY + (Dot(position, right) - 0.5 * (across.lowest + across.highest)) * scale};
        };
        canvas.Line({margin + 16.0, boxTop + 20.0}, {margin + 16.0 + scale, boxTop + 20.0}, 2.0, ink);
        canvas.Text("1 m", {margin + 16.0 + 0.5 * scale, boxTop + 38.0}, 12.0, ink, 0.5);
        const int step = std::max(1, clip.source.frameCount / 600);
        for (int frame = 0; frame + step < clip.source.frameCount; frame += step) {
            canvas.Line(place(clip.source.Frame(frame)[content.source.hips].position),
                place(clip.source.Frame(frame + step)[content.source.hips].position), 1.2, groundColor);
            canvas.Line(place(clip.Frame(frame)[content.target.hips].position),
                place(clip.Frame(frame + step)[content.target.hips].position), 1.2, faint);
        }
        DrawSteps(content.source, clip.source.poses, clip.source.jointCount, place, true);
        DrawSteps(content.target, clip.poses, clip.jointCount, place, false);
    }

    /** A mark where a foot stays: it moves by less than 15 cm/s. */
    template <typename Place>
    void DrawSteps(const Figure& figure, const std::vector<Transform>& poses, int jointCount,
        const Place& place, bool isRing) {
        constexpr float slow = 0.15f;
        const auto seconds = static_cast<float>(clip.source.frameSeconds);
        const int step = std::max(1, static_cast<int>(std::lround(0.1 / clip.source.frameSeconds)));
        for (const Figure::Trail& trail : figure.trails) {
            for (int frame = 0; trail.isFoot && frame + step < clip.source.frameCount; frame += step) {
                const Vector3& now = poses[static_cast<size_t>(frame) * jointCount + trail.joint].position;
                const Vector3& later =
                    poses[static_cast<size_t>(frame + step) * jointCount + trail.joint].position;
                if (Length(later - now) > slow * seconds * static_cast<float>(step)) {
                    continue;
                }
                Color color = ColorOf(trail.side);
                color.alpha = isRing ? 0.35 : 0.8;
                canvas.Circle(place(now), isRing ? 6.0 : 2.4, color);
            }
        }
    }

    const SheetContent& content;
    const RetargetedClip& clip;
    double columns;
    double pageWidth;
    double aboveGround;
    double bandHeight;
    double planHeight;
    Canvas canvas;
};

} // namespace

void DrawSheet(const std::string& path, const SheetContent& content) {
    SheetDrawer(path, content).Draw();
}

} // namespace Velkori_Tool
