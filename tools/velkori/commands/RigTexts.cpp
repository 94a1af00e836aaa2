#include "commands/RigTexts.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"
#include "motion/FileFormat.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <string_view>

namespace Velkori_Tool {

namespace {

int FindJoint(const FileSkeleton& skeleton, std::string_view name, std::string_view option) {
    const auto found = std::find(skeleton.jointNames.begin(), skeleton.jointNames.end(), name);
    if (found == skeleton.jointNames.end()) {
        throw Failure(fmt::format("{}: the skeleton has no joint '{}'; its joints are: {}", option, name,
            fmt::join(skeleton.jointNames, ", ")));
    }
    return static_cast<int>(found - skeleton.jointNames.begin());
}

KnownJointOverrides ParseKnown(const FileSkeleton& skeleton, const std::vector<std::string>& texts) {
    KnownJointOverrides overrides;
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        const std::string role = text.substr(0, equals);
        const auto* const known =
            std::find(std::begin(VELKORI_KNOWN_JOINT_NAMES), std::end(VELKORI_KNOWN_JOINT_NAMES), role);
        if (equals == std::string::npos || known == std::end(VELKORI_KNOWN_JOINT_NAMES)) {
            throw UsageFailure(fmt::format("--known {}: say it as role=joint; the roles are: {}", text,
                fmt::join(VELKORI_KNOWN_JOINT_NAMES, ", ")));
        }
        const std::string joint = text.substr(equals + 1);
        const auto index = static_cast<velkori_KnownJointType>(known - std::begin(VELKORI_KNOWN_JOINT_NAMES));
        overrides[index] = joint.empty() ? -1 : FindJoint(skeleton, joint, "--known " + text);
    }
    return overrides;
}

void ParseSizeRange(const std::string& text, RigOptions& options) {
    if (text.empty()) {
        return;
    }
    size_t used = 0;
    try {
        options.smallest = std::stof(text, &used);
        const bool hasBoth = used < text.size() && text[used] == ':';
        size_t rest = 0;
        options.largest = hasBoth ? std::stof(text.substr(used + 1), &rest) : 0.0f;
        used += 1 + rest;
    } catch (const std::exception&) {
        used = 0;
    }
    constexpr float smallestFactor = 0.01f;
    constexpr float largestFactor = 100.0f;
    if (used != text.size() || !(options.smallest >= smallestFactor && options.largest >= options.smallest &&
                                   options.largest <= largestFactor)) {
        throw UsageFailure(fmt::format(
            "--size-range {}: say it as smallest:largest with factors from 0.01 to 100, such as 0.85:1.2",
            text));
    }
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        if (end > begin) {
            parts.push_back(text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return parts;
}

/** No joint may be left out between two of a manifestation's: poses couldn't be put together across it. */
void CheckHasNoGap(const FileSkeleton& skeleton, const std::set<int>& members, const std::string& option) {
    for (const int member : members) {
        std::vector<std::string_view> between;
        int above = skeleton.parents[member];
        while (above >= 0 && members.count(above) == 0) {
            between.emplace_back(skeleton.jointNames[above]);
            above = skeleton.parents[above];
        }
        if (above >= 0 && !between.empty()) {
            throw Failure(fmt::format("{}: between '{}' and '{}' it leaves out {}; name what is between, too",
                option, skeleton.jointNames[above], skeleton.jointNames[member], fmt::join(between, ", ")));
        }
    }
}

std::vector<Manifestation> ParseManifestations(
    const FileSkeleton& skeleton, const std::vector<std::string>& texts) {
    std::vector<Manifestation> manifestations;
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        const std::string option = "--manifestation " + text;
        if (equals == std::string::npos || equals == 0) {
            throw UsageFailure(option + ": say it as name=joint,joint,...");
        }
        const std::vector<std::string> joints = Split(text.substr(equals + 1), ',');
        if (joints.empty()) {
            throw UsageFailure(option + ": name at least one joint, as in name=joint,joint,...");
        }
        std::set<int> members;
        for (const std::string& joint : joints) {
            members.insert(FindJoint(skeleton, joint, option));
        }
        CheckHasNoGap(skeleton, members, option);
        manifestations.push_back({ValidUTF8(text.substr(0, equals)), joints});
    }
    return manifestations;
}

/** A neck or a chest may be missing; without the others nothing moves as it should. */
void CheckNothingIsMissing(const Rig& rig, const std::string& path, std::vector<Remark>& remarks) {
    std::string problems;
    for (const auto& [role, candidates] : rig.candidates) {
        if (rig.known.at(role).joint >= 0) {
            continue;
        }
        const char* const key = VELKORI_KNOWN_JOINT_NAMES[role];
        const std::string text =
            fmt::format("no joint looks like {}; candidates: {}; name it with --known {}=JOINT, or say "
                        "that there is none with --known {}=",
                key, fmt::join(candidates, ", "), key, key);
        if (role == velkori_KnownJointType_Neck || role == velkori_KnownJointType_Chest) {
            remarks.push_back({"warning: " + text});
        } else {
            problems += (problems.empty() ? "" : "\n") + text;
        }
    }
    if (!problems.empty()) {
        throw Failure(fmt::format("'{}': {}", path, problems));
    }
}

} // namespace

Vector3 ParseAxis(const std::string& text, const std::string& option) {
    constexpr std::array<Vector3, 3> axes = {
        Vector3{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    const bool hasSign = !text.empty() && (text.front() == '-' || text.front() == '+');
    const std::string letter = LowerCase(text.substr(hasSign ? 1 : 0));
    if (letter.size() != 1 || letter < "x" || letter > "z") {
        throw UsageFailure(
            fmt::format("{} {}: say it as an axis of the file: x, y, z, -x, -y or -z", option, text));
    }
    return axes.at(letter.front() - 'x') * (text.front() == '-' ? -1.0f : 1.0f);
}

RestChoice ParseRest(const std::string& text) {
    using Kind = RestChoice::Kind;
    constexpr std::array<std::pair<std::string_view, Kind>, 3> kinds = {
        std::pair<std::string_view, Kind>{"best", Kind::Best}, {"bind", Kind::Bind}, {"zero", Kind::Zero}};
    for (const auto& [name, kind] : kinds) {
        if (text == name) {
            return {kind, 0};
        }
    }
    constexpr std::string_view prefix = "frame:";
    const size_t begin = text.starts_with(prefix) ? prefix.size() : text.size();
    int frame = -1;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data() + begin, end, frame);
    if (parsed.ec != std::errc() || parsed.ptr != end || frame < 0) {
        throw UsageFailure(fmt::format("--rest {}: say best, bind, zero or frame:N, counted from 0", text));
    }
    return {Kind::Frame, frame};
}

NamingHabits LoadNames(const std::string& namesFile) {
    NamingHabits names = NamingHabits::BuiltIn();
    if (!namesFile.empty()) {
        names.Add(ReadTextFile(namesFile), namesFile);
    }
    return names;
}

void AddDoubts(const Rig& rig, const std::string& path, std::vector<Remark>& notes) {
    for (const Remark& doubt : rig.doubts) {
        notes.push_back({fmt::format("warning: '{}': {}", path, doubt.text), doubt.remedy});
    }
    for (const auto& [role, candidates] : rig.candidates) {
        const KnownJointGuess& guess = rig.known.at(role);
        if (guess.joint >= 0) {
            const char* const key = VELKORI_KNOWN_JOINT_NAMES[role];
            notes.push_back({fmt::format("warning: '{}': {} is taken for {}, but only {} % certain ({}); it "
                                         "might be {}; --known {}=JOINT says it by hand",
                path, rig.skeleton.jointNames[guess.joint], key, guess.percent, guess.reasons,
                fmt::join(candidates, ", "), key)});
        }
    }
}

Rig MakeRigAsTold(const Motion& motion, const RigTexts& texts, RigOptions& options) {
    ParseSizeRange(texts.sizeRange, options);
    options.body.names = LoadNames(texts.namesFile);
    options.body.known = ParseKnown(motion.skeleton, texts.known);
    options.body.rest = ParseRest(texts.rest);
    if (options.body.rest.frame >= std::max(1, motion.frameCount)) {
        throw Failure(fmt::format(
            "--rest {}: '{}' has {} frames, counted from 0", texts.rest, motion.path, motion.frameCount));
    }
    if (!texts.up.empty()) {
        options.body.up = ParseAxis(texts.up, "--up");
    }
    if (!texts.facing.empty()) {
        options.body.facing = ParseAxis(texts.facing, "--facing");
    }
    Rig rig = MakeRig(motion, options);
    CheckNothingIsMissing(rig, motion.path, rig.remarks);
    for (const std::string& name : texts.excluded) {
        FindJoint(rig.skeleton, name, "--exclude " + name);
    }
    options.excluded = texts.excluded;
    options.manifestations = ParseManifestations(rig.skeleton, texts.manifestations);
    return rig;
}

LoadedRig LoadRigOrDocument(const std::string& path, velkori_SkeletonType type, const NamingHabits& names,
    std::vector<Remark>& notes) {
    CheckReadable(path);
    if (FindFileFormat(path) == FileFormat::Document) {
        return {LoadDocumentFile(path), {}, FindTargetFile(ReadTextFile(path))};
    }
    RigOptions options;
    options.type = type;
    options.body.names = names;
    Rig rig = MakeRig(ReadMotion(path, notes), options);
    CheckNothingIsMissing(rig, path, rig.remarks);
    for (const Remark& remark : rig.remarks) {
        notes.push_back({fmt::format("'{}': {}", path, remark.text), remark.remedy});
    }
    AddDoubts(rig, path, notes);
    LoadedRig loaded{MakeConfiguration(rig, options), {}, FileOf(rig, path)};
    for (const auto& [bone, joint] : rig.skeleton.humanoid) {
        loaded.knowledge.humanoid.emplace(bone, rig.skeleton.jointNames[joint]);
    }
    for (size_t joint = 0; joint < rig.skeleton.isSkinned.size(); ++joint) {
        if (rig.skeleton.isSkinned[joint]) {
            loaded.knowledge.skinned.insert(rig.skeleton.jointNames[joint]);
        }
    }
    return loaded;
}

} // namespace Velkori_Tool
