#include "rig/RigFile.h"

#include <array>
#include <nlohmann/json.hpp>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;
using Vector3 = velkori_Vector3f_;

constexpr const char* fileMember = "targetFile";
constexpr const char* heightsMember = "targetStandingHeights";

JSON ToJSON(const Vector3& v) {
    return {v.x, v.y, v.z};
}

Vector3 ToVector(const JSON& list) {
    const auto [x, y, z] = list.get<std::array<float, 3>>();
    return {x, y, z};
}

/** The rest of the document stays as the library writes it. */
std::string WithMember(const std::string& document, const char* name, const JSON& value) {
    std::string text = document;
    const size_t end = text.find_last_not_of(" \n", text.rfind('}') - 1) + 1;
    return text.insert(end, std::string(",\n    \"") + name +
                                "\": " + value.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

} // namespace

std::string WithTargetFile(const std::string& document, const RigFile& file) {
    const JSON member = {{"path", file.path}, {"up", ToJSON(file.space.up)},
        {"forward", ToJSON(file.space.forward)}, {"right", ToJSON(file.space.right)},
        {"metresPerUnit", file.metresPerUnit}, {"statedMetresPerUnit", file.statedMetresPerUnit},
        {"origin", ToJSON(file.origin)}};
    return WithMember(document, fileMember, member);
}

std::optional<RigFile> FindTargetFile(const std::string& document) {
    const JSON root = JSON::parse(document, nullptr, false);
    if (!root.is_object() || !root.contains(fileMember)) {
        return std::nullopt;
    }
    try {
        const JSON& member = root[fileMember];
        RigFile file;
        file.path = member.at("path").get<std::string>();
        file.space = {
            ToVector(member.at("up")), ToVector(member.at("forward")), ToVector(member.at("right"))};
        file.metresPerUnit = member.at("metresPerUnit").get<double>();
        file.statedMetresPerUnit = member.at("statedMetresPerUnit").get<double>();
        file.origin = ToVector(member.at("origin"));
        return file;
    } catch (const JSON::exception&) {
        // A member of that name that somebody else wrote.
        return std::nullopt;
    }
}

std::string WithStandingHeights(const std::string& document, const StandingHeights& heights) {
    return WithMember(document, heightsMember, JSON(heights));
}

StandingHeights FindStandingHeights(const std::string& document) {
    const JSON root = JSON::parse(document, nullptr, false);
    if (!root.is_object() || !root.contains(heightsMember)) {
        return {};
    }
    try {
        return root[heightsMember].get<StandingHeights>();
    } catch (const JSON::exception&) {
        return {};
    }
}

} // namespace Velkori_Tool
