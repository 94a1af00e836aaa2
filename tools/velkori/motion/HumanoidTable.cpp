#include "motion/HumanoidTable.h"

#include "Text.h"

#include <cstdint>
#include <nlohmann/json.hpp>

namespace Velkori_Tool {

namespace {

using nlohmann::json;

/** A member of a member and so on; null where one is missing. */
const json& Find(const json& value, std::initializer_list<const char*> keys) {
    static const json nothing;
    const json* found = &value;
    for (const char* const key : keys) {
        const auto member = found->is_object() ? found->find(key) : found->end();
        if (!found->is_object() || member == found->end()) {
            return nothing;
        }
        found = &*member;
    }
    return *found;
}

std::string NodeName(const json& document, const json& node) {
    const json& nodes = Find(document, {"nodes"});
    const size_t index = node.is_number_unsigned() ? node.get<size_t>() : nodes.size();
    if (!nodes.is_array() || index >= nodes.size()) {
        return {};
    }
    const json& name = Find(nodes[index], {"name"});
    return name.is_string() ? name.get<std::string>() : std::string();
}

} // namespace

std::map<std::string, std::string> ReadHumanoidTable(std::string_view text) {
    std::map<std::string, std::string> table;
    const json document = json::parse(text, nullptr, false);
    const auto add = [&](const std::string& bone, const json& node) {
        const std::string name = NodeName(document, node);
        if (!name.empty()) {
            table.emplace(bone, name);
        }
    };
    for (const char* const extension : {"VRMC_vrm", "VRMC_vrm_animation"}) {
        const json& bones = Find(document, {"extensions", extension, "humanoid", "humanBones"});
        for (auto bone = bones.begin(); bones.is_object() && bone != bones.end(); ++bone) {
            add(bone.key(), Find(*bone, {"node"}));
        }
    }
    for (const json& bone : Find(document, {"extensions", "VRM", "humanoid", "humanBones"})) {
        const json& name = Find(bone, {"bone"});
        if (name.is_string()) {
            add(name.get<std::string>(), Find(bone, {"node"}));
        }
    }
    return table;
}

std::string_view JSONOfGLTF(std::string_view content) {
    constexpr std::string_view magic = "glTF";
    if (content.substr(0, magic.size()) != magic) {
        // An editor's byte order mark and blanks may stand before it.
        const size_t begin = content.find_first_not_of("\xEF\xBB\xBF \t\r\n");
        return begin < content.size() && content[begin] == '{' ? content.substr(begin) : std::string_view();
    }
    // A header of 12 bytes, then chunks: a length, a kind, and the content. JSON comes first.
    constexpr size_t headerSize = 20;
    if (content.size() < headerSize) {
        return {};
    }
    uint32_t length = 0;
    for (size_t i = 0; i < sizeof(length); ++i) {
        length |= static_cast<uint32_t>(static_cast<unsigned char>(content[12 + i])) << (8 * i);
    }
    return content.substr(headerSize, length);
}

} // namespace Velkori_Tool
