#include "motion/GLTFDocument.h"

#include "Failure.h"
#include "motion/HumanoidTable.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

class DocumentCheck {
  public:
    DocumentCheck(const std::string& path, const JSON& document) : path(path), document(document) {}

    void Run() const {
        if (!document.is_object() || !document.contains("asset")) {
            Refuse("its document can't be read");
        }
        // Whatever is named by a number is in a list of objects.
        for (const char* list :
            {"nodes", "meshes", "skins", "accessors", "bufferViews", "buffers", "materials", "scenes"}) {
            List(list);
        }
        CheckNodes();
        CheckData();
        for (const JSON& skin : List("skins")) {
            CheckIndices(skin, "joints", "nodes");
            Require(skin.contains("joints") && !skin["joints"].empty(), "a skin has no joints");
            CheckIndex(skin, "inverseBindMatrices", "accessors");
            Require(!skin.contains("inverseBindMatrices") ||
                        CountOf(skin["inverseBindMatrices"]) >= skin["joints"].size(),
                "a skin has fewer matrices than joints");
        }
        CheckMeshes();
        CheckAnimations();
        CheckIndex(document, "scene", "scenes");
        for (const JSON& scene : List("scenes")) {
            CheckIndices(scene, "nodes", "nodes");
        }
    }

  private:
    [[noreturn]] void Refuse(const std::string& what) const {
        throw Failure(fmt::format("'{}' is a damaged glTF file: {}; export it again", path, what));
    }

    void Require(bool holds, const std::string& what) const {
        if (!holds) {
            Refuse(what);
        }
    }

    /** A list of objects; empty if there is none. */
    const JSON& List(const char* name, const JSON* parent = nullptr) const {
        static const JSON nothing = JSON::array();
        const JSON& owner = parent == nullptr ? document : *parent;
        const auto found = owner.find(name);
        if (found == owner.end()) {
            return nothing;
        }
        Require(found->is_array(), fmt::format("its '{}' are no list", name));
        for (const JSON& element : *found) {
            Require(element.is_object(), fmt::format("one of its '{}' is no object", name));
        }
        return *found;
    }

    void CheckNumber(const JSON& owner, const char* member) const {
        const auto found = owner.find(member);
        constexpr double largest = 1e15;
        Require(found == owner.end() ||
                    (found->is_number() && found->get<double>() >= 0.0 && found->get<double>() < largest),
            fmt::format("a '{}' is no count", member));
    }

    void CheckText(const JSON& owner, const char* member) const {
        Require(
            !owner.contains(member) || owner[member].is_string(), fmt::format("a '{}' is no text", member));
    }

    void CheckIndexValue(const JSON& value, const char* list) const {
        const auto found = document.find(list);
        const size_t size = found == document.end() ? 0 : found->size();
        if (!value.is_number() ||
            !(value.get<double>() >= 0.0 && value.get<double>() < static_cast<double>(size))) {
            Refuse(fmt::format("it names {} of its {} {}", value.dump(), size, list));
        }
    }

    void CheckIndex(const JSON& owner, const char* member, const char* list) const {
        if (owner.contains(member)) {
            CheckIndexValue(owner[member], list);
        }
    }

    void CheckIndices(const JSON& owner, const char* member, const char* list) const {
        if (owner.contains(member)) {
            Require(owner[member].is_array(), fmt::format("its '{}' are no list", member));
            for (const JSON& value : owner[member]) {
                CheckIndexValue(value, list);
            }
        }
    }

    void CheckNumbers(const JSON& owner, const char* member, size_t count) const {
        if (!owner.contains(member)) {
            return;
        }
        const JSON& values = owner[member];
        bool areNumbers = values.is_array() && values.size() == count;
        for (size_t i = 0; areNumbers && i < count; ++i) {
            areNumbers = values[i].is_number();
        }
        Require(areNumbers, fmt::format("a '{}' hasn't the {} numbers that it must have", member, count));
    }

    /** How many elements an accessor that is there has. */
    size_t CountOf(const JSON& accessor) const {
        return document["accessors"][accessor.get<size_t>()].value("count", size_t{0});
    }

    void CheckNodes() const {
        const JSON& nodes = List("nodes");
        std::vector<int> parents(nodes.size(), -1);
        for (size_t node = 0; node < nodes.size(); ++node) {
            CheckText(nodes[node], "name");
            CheckNumbers(nodes[node], "matrix", 16);
            CheckNumbers(nodes[node], "translation", 3);
            CheckNumbers(nodes[node], "rotation", 4);
            CheckNumbers(nodes[node], "scale", 3);
            CheckIndex(nodes[node], "mesh", "meshes");
            CheckIndex(nodes[node], "skin", "skins");
            CheckIndices(nodes[node], "children", "nodes");
            for (const JSON& child : nodes[node].value("children", JSON::array())) {
                int& parent = parents[child.get<size_t>()];
                if (parent >= 0) {
                    Refuse(fmt::format("node {} has two parents", child.get<size_t>()));
                }
                parent = static_cast<int>(node);
            }
        }
        CheckIsForest(parents);
    }

    /** Who reads a scene goes down its trees step by step; no skeleton is so deep that this could fail. */
    void CheckIsForest(const std::vector<int>& parents) const {
        constexpr size_t deepest = 1000;
        for (size_t node = 0; node < parents.size(); ++node) {
            size_t depth = 0;
            for (int above = parents[node]; above >= 0 && depth <= deepest; above = parents[above]) {
                ++depth;
            }
            if (depth > deepest) {
                Refuse(
                    fmt::format("node {} is more than {} levels deep or stands below itself", node, deepest));
            }
        }
    }

    void CheckData() const {
        for (const JSON& buffer : List("buffers")) {
            CheckNumber(buffer, "byteLength");
            CheckText(buffer, "uri");
        }
        for (const JSON& view : List("bufferViews")) {
            CheckIndex(view, "buffer", "buffers");
            for (const char* member : {"byteOffset", "byteLength", "byteStride"}) {
                CheckNumber(view, member);
            }
        }
        for (const JSON& accessor : List("accessors")) {
            CheckIndex(accessor, "bufferView", "bufferViews");
            for (const char* member : {"byteOffset", "componentType", "count"}) {
                CheckNumber(accessor, member);
            }
            CheckText(accessor, "type");
        }
        for (const JSON& image : List("images")) {
            CheckIndex(image, "bufferView", "bufferViews");
            CheckText(image, "uri");
            CheckText(image, "mimeType");
        }
    }

    void CheckMeshes() const {
        for (const JSON& mesh : List("meshes")) {
            for (const JSON& primitive : List("primitives", &mesh)) {
                CheckNumber(primitive, "mode");
                CheckIndex(primitive, "indices", "accessors");
                CheckIndex(primitive, "material", "materials");
                const JSON attributes = primitive.value("attributes", JSON::object());
                Require(attributes.is_object(), "a mesh's attributes are no object");
                for (const JSON& accessor : attributes) {
                    CheckIndexValue(accessor, "accessors");
                    Require(CountOf(accessor) == CountOf(*attributes.begin()),
                        "a mesh's attributes are of different length");
                }
                for (const JSON& shape : List("targets", &primitive)) {
                    for (const JSON& accessor : shape) {
                        CheckIndexValue(accessor, "accessors");
                    }
                }
            }
        }
    }

    void CheckAnimations() const {
        for (const JSON& animation : List("animations")) {
            CheckText(animation, "name");
            const JSON& samplers = List("samplers", &animation);
            for (const JSON& sampler : samplers) {
                Require(sampler.contains("input") && sampler.contains("output"),
                    "an animation's sampler has no input or no output");
                CheckIndex(sampler, "input", "accessors");
                CheckIndex(sampler, "output", "accessors");
            }
            for (const JSON& channel : List("channels", &animation)) {
                CheckNumber(channel, "sampler");
                Require(channel.contains("sampler") && channel["sampler"].get<size_t>() < samplers.size(),
                    "an animation's channel has no sampler");
                Require(channel.contains("target") && channel["target"].is_object(),
                    "an animation's channel has no target");
                CheckIndex(channel["target"], "node", "nodes");
                CheckText(channel["target"], "path");
            }
        }
    }

    const std::string& path;
    const JSON& document;
};

std::string Base64(const std::string& bytes) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t bits = 0;
        for (size_t k = 0; k < 3; ++k) {
            bits = (bits << 8) | (i + k < bytes.size() ? static_cast<uint8_t>(bytes[i + k]) : 0U);
        }
        for (size_t k = 0; k < 4; ++k) {
            text += i + k <= bytes.size() ? letters[(bits >> (18 - 6 * k)) & 63U] : '=';
        }
    }
    return text;
}

/** So many identities, one after the other, in an accessor whose buffer lies in the document itself. */
int AddIdentities(JSON& document, size_t count) {
    std::vector<float> values;
    constexpr size_t size = 16;
    for (size_t i = 0; i < count * size; ++i) {
        values.push_back(i % size % 5 == 0 ? 1.0f : 0.0f);
    }
    std::string bytes(values.size() * sizeof(float), '\0');
    std::memcpy(bytes.data(), values.data(), bytes.size());
    constexpr int floatComponent = 5126;
    document["buffers"].push_back(
        {{"byteLength", bytes.size()}, {"uri", "data:application/octet-stream;base64," + Base64(bytes)}});
    document["bufferViews"].push_back(
        {{"buffer", document["buffers"].size() - 1}, {"byteOffset", 0}, {"byteLength", bytes.size()}});
    document["accessors"].push_back({{"bufferView", document["bufferViews"].size() - 1},
        {"componentType", floatComponent}, {"count", count}, {"type", "MAT4"}});
    return static_cast<int>(document["accessors"].size()) - 1;
}

void PutWord(std::string& bytes, size_t at, size_t value) {
    const auto word = static_cast<uint32_t>(value);
    std::memcpy(bytes.data() + at, &word, sizeof(word));
}

/** The content with another document; a GLB's other chunks stay. */
std::string WithDocument(std::string content, std::string_view before, std::string text) {
    if (!content.starts_with("glTF")) {
        return text;
    }
    const size_t begin = before.data() - content.data();
    constexpr size_t alignment = 4;
    text.resize((text.size() + alignment - 1) / alignment * alignment, ' ');
    content.replace(begin, before.size(), text);
    constexpr size_t sizeOfFile = 8;
    constexpr size_t sizeOfChunk = 12;
    PutWord(content, sizeOfFile, content.size());
    PutWord(content, sizeOfChunk, text.size());
    return content;
}

/** The scene reader knows the first version, too, whose lists are objects. */
bool IsVersion1(const JSON& document) {
    const JSON::const_iterator asset = document.is_object() ? document.find("asset") : document.end();
    return asset != document.end() && asset->is_object() && asset->contains("version") &&
           (*asset)["version"].is_string() && (*asset)["version"].get<std::string>().starts_with("1");
}

} // namespace

void CheckGLTF(const std::string& path, const JSON& document) {
    DocumentCheck(path, document).Run();
}

std::string GLTFForSceneReader(const std::string& path, std::string content) {
    const std::string_view text = JSONOfGLTF(content);
    JSON document = JSON::parse(text, nullptr, false);
    if (IsVersion1(document)) {
        return content;
    }
    CheckGLTF(path, document);
    bool isChanged = false;
    for (size_t i = 0; document.contains("skins") && i < document["skins"].size(); ++i) {
        if (!document["skins"][i].contains("inverseBindMatrices")) {
            const size_t count = document["skins"][i]["joints"].size();
            document["skins"][i]["inverseBindMatrices"] = AddIdentities(document, count);
            isChanged = true;
        }
    }
    if (!isChanged) {
        return content;
    }
    std::string changed = document.dump(-1, ' ', false, JSON::error_handler_t::replace);
    return WithDocument(std::move(content), text, std::move(changed));
}

} // namespace Velkori_Tool
