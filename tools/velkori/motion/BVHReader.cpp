#include "BVHReader.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace Velkori_Tool {

namespace {

enum class Channel { Xposition, Yposition, Zposition, Xrotation, Yrotation, Zrotation };

constexpr std::array<std::string_view, 6> channelNames = {
    "xposition", "yposition", "zposition", "xrotation", "yrotation", "zrotation"};

struct BVHJoint {
    Vector3 offset = {0.0f, 0.0f, 0.0f};
    std::vector<Channel> channels;
};

constexpr std::string_view whitespace = " \t\r\n\f\v";

class BVHParser {
  public:
    BVHParser(const std::string& path, std::string_view text) : path(path), text(text) {}

    Motion Parse(std::vector<Remark>& notes) {
        Expect("hierarchy");
        while (LowerCase(Peek()) == "root") {
            Next();
            ParseJoint(-1, RestOfLine());
        }
        if (motion.skeleton.jointNames.empty()) {
            Fail("there is no ROOT joint");
        }
        MakeNamesUnique(motion.skeleton.jointNames);
        MakeBindPose();
        if (!Peek().empty()) {
            Expect("motion");
            ParseFrames(notes);
        }
        return std::move(motion);
    }

  private:
    void ParseJoint(int parent, std::string_view name) {
        // A hierarchy nested without end would end the stack.
        constexpr int deepest = 1000;
        if (depth >= deepest) {
            Fail(fmt::format("joints are nested more than {} levels deep", deepest));
        }
        ++depth;
        const auto joint = motion.skeleton.JointCount();
        motion.skeleton.jointNames.emplace_back(name);
        motion.skeleton.parents.push_back(parent);
        joints.emplace_back();
        Expect("{");
        while (Peek() != "}") {
            const std::string keyword = LowerCase(Next());
            if (keyword == "offset") {
                joints[joint].offset = ParseOffset();
            } else if (keyword == "channels") {
                joints[joint].channels = ParseChannels();
            } else if (keyword == "joint") {
                ParseJoint(joint, RestOfLine());
            } else if (keyword == "end") {
                RestOfLine();
                ParseEndSite(joint);
            } else {
                Fail(fmt::format(
                    "'{}' stands where a joint's OFFSET, CHANNELS, JOINT or End Site is expected", keyword));
            }
        }
        Expect("}");
        --depth;
    }

    /** An end site becomes a joint, as it shows where its parent points; one without length shows nothing. */
    void ParseEndSite(int parent) {
        Expect("{");
        Expect("offset");
        const Vector3 offset = ParseOffset();
        Expect("}");
        if (Length(offset) > 0.0f) {
            motion.skeleton.jointNames.push_back(motion.skeleton.jointNames[parent] + "_End");
            motion.skeleton.parents.push_back(parent);
            joints.push_back({offset, {}});
        }
    }

    Vector3 ParseOffset() {
        const auto x = static_cast<float>(ParseNumber());
        const auto y = static_cast<float>(ParseNumber());
        const auto z = static_cast<float>(ParseNumber());
        return {x, y, z};
    }

    std::vector<Channel> ParseChannels() {
        const double count = ParseNumber();
        constexpr double mostChannels = 6;
        if (!(count >= 0 && count <= mostChannels)) {
            Fail(fmt::format("a joint can't have {} channels", count));
        }
        std::vector<Channel> channels;
        while (static_cast<double>(channels.size()) < count) {
            const std::string name = LowerCase(Next());
            size_t index = 0;
            while (index < channelNames.size() && channelNames.at(index) != name) {
                ++index;
            }
            if (index == channelNames.size()) {
                Fail(fmt::format("'{}' is no channel", name));
            }
            channels.push_back(static_cast<Channel>(index));
        }
        return channels;
    }

    void MakeBindPose() {
        for (size_t joint = 0; joint < joints.size(); ++joint) {
            const int parent = motion.skeleton.parents[joint];
            Transform pose = identityTransform;
            pose.position = joints[joint].offset;
            motion.skeleton.bindPose.push_back(
                parent < 0 ? pose : Compose(motion.skeleton.bindPose[parent], pose));
        }
    }

    void ParseFrames(std::vector<Remark>& notes) {
        Expect("frames:");
        const double statedCount = ParseNumber();
        Expect("frame");
        Expect("time:");
        motion.frameSeconds = ParseNumber();
        constexpr double shortestFrame = 1e-5;
        constexpr double longestFrame = 1e4;
        if (!(motion.frameSeconds >= shortestFrame && motion.frameSeconds <= longestFrame)) {
            Fail(fmt::format("a frame can't last {} s", motion.frameSeconds));
        }
        size_t channelCount = 0;
        for (const BVHJoint& joint : joints) {
            channelCount += joint.channels.size();
        }
        std::vector<double> values(channelCount);
        while (channelCount > 0 && !Peek().empty()) {
            if (!ParseFrame(values)) {
                notes.push_back({fmt::format("'{}': the last frame is cut off and left out", path)});
                motion.isIncomplete = true;
                break;
            }
            AddFrame(values);
        }
        if (statedCount != motion.frameCount) {
            motion.isIncomplete = motion.isIncomplete || motion.frameCount < statedCount;
            notes.push_back({fmt::format(
                "'{}' says that it has {} frames and has {}", path, statedCount, motion.frameCount)});
        }
    }

    /** False if the file ends within the frame. */
    bool ParseFrame(std::vector<double>& values) {
        for (double& value : values) {
            if (Peek().empty()) {
                return false;
            }
            value = ParseNumber();
        }
        return true;
    }

    void AddFrame(const std::vector<double>& values) {
        const size_t start = motion.poses.size();
        size_t next = 0;
        for (size_t joint = 0; joint < joints.size(); ++joint) {
            Transform local = identityTransform;
            local.position = joints[joint].offset;
            for (const Channel channel : joints[joint].channels) {
                ApplyChannel(channel, values[next++], local);
            }
            const int parent = motion.skeleton.parents[joint];
            motion.poses.push_back(parent < 0 ? local : Compose(motion.poses[start + parent], local));
        }
        ++motion.frameCount;
    }

    /** A position replaces the offset's component; rotations multiply in the order of the channels. */
    static void ApplyChannel(Channel channel, double value, Transform& local) {
        constexpr double radiansPerDegree = 0.017453292519943295;
        const double halfAngle = 0.5 * value * radiansPerDegree;
        const auto sine = static_cast<float>(std::sin(halfAngle));
        const auto cosine = static_cast<float>(std::cos(halfAngle));
        switch (channel) {
        case Channel::Xposition:
            local.position.x = static_cast<float>(value);
            break;
        case Channel::Yposition:
            local.position.y = static_cast<float>(value);
            break;
        case Channel::Zposition:
            local.position.z = static_cast<float>(value);
            break;
        case Channel::Xrotation:
            local.orientation = local.orientation * Quaternion{sine, 0.0f, 0.0f, cosine};
            break;
        case Channel::Yrotation:
            local.orientation = local.orientation * Quaternion{0.0f, sine, 0.0f, cosine};
            break;
        case Channel::Zrotation:
            local.orientation = local.orientation * Quaternion{0.0f, 0.0f, sine, cosine};
            break;
        }
    }

    /** The next word, left in place; empty at the end. */
    std::string_view Peek() {
        const size_t begin = text.find_first_not_of(whitespace, cursor);
        cursor = begin == std::string_view::npos ? text.size() : begin;
        const size_t end = text.find_first_of(whitespace, cursor);
        return text.substr(cursor, end == std::string_view::npos ? end : end - cursor);
    }

    std::string_view Next() {
        const std::string_view word = Peek();
        if (word.empty()) {
            Fail("the file ends too early");
        }
        cursor += word.size();
        return word;
    }

    /** A name, which may have spaces in it. */
    std::string_view RestOfLine() {
        const size_t end = std::min(text.find_first_of("\r\n{", cursor), text.size());
        std::string_view rest = text.substr(cursor, end - cursor);
        cursor = end;
        const size_t first = rest.find_first_not_of(whitespace);
        const size_t last = rest.find_last_not_of(whitespace);
        return first == std::string_view::npos ? std::string_view() : rest.substr(first, last - first + 1);
    }

    void Expect(std::string_view word) {
        const std::string_view found = Next();
        if (LowerCase(found) != word) {
            Fail(fmt::format("'{}' stands where '{}' is expected", found, word));
        }
    }

    double ParseNumber() {
        const std::string_view word = Next();
        const std::string_view digits = word.front() == '+' ? word.substr(1) : word;
        double value = 0.0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value)) {
            Fail(fmt::format("'{}' stands where a number is expected", word));
        }
        return value;
    }

    [[noreturn]] void Fail(const std::string& reason) const {
        const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(cursor), '\n');
        throw Failure(fmt::format(
            "'{}', line {}: {}; the file is damaged or no BVH: export it again", path, line, reason));
    }

    const std::string& path;
    std::string_view text;
    size_t cursor = 0;
    int depth = 0;
    std::vector<BVHJoint> joints;
    Motion motion;
};

} // namespace

Motion ReadBVH(const std::string& path, std::vector<Remark>& notes) {
    const std::string text = ReadTextFile(path);
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const size_t begin = text.compare(0, byteOrderMark.size(), byteOrderMark) == 0 ? byteOrderMark.size() : 0;
    return BVHParser(path, std::string_view(text).substr(begin)).Parse(notes);
}

} // namespace Velkori_Tool
