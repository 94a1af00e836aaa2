#include "character/GLTFFile.h"

#include "Failure.h"
#include "OutputFile.h"
#include "motion/GLTFDocument.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

constexpr uint32_t glbMagic = 0x46546C67;
constexpr uint32_t jsonChunk = 0x4E4F534A;
constexpr uint32_t binaryChunk = 0x004E4942;
constexpr size_t headerSize = 12;
constexpr size_t chunkHeaderSize = 8;

constexpr int floatComponent = 5126;
constexpr int shortComponent = 5123;
constexpr int indexComponent = 5125;
constexpr int indexTarget = 34963;

size_t ComponentsOf(std::string_view type) {
    constexpr std::array<std::pair<std::string_view, size_t>, 5> sizes = {
        std::pair{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT4", 16}};
    const auto* const found =
        std::find_if(sizes.begin(), sizes.end(), [&](const auto& size) { return size.first == type; });
    return found == sizes.end() ? 1 : found->second;
}

template <typename Value>
std::span<const uint8_t> BytesOf(std::span<const Value> values) {
    const auto bytes = std::as_bytes(values);
    // The standard lets any object be read as unsigned characters.
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

uint32_t ReadWord(std::string_view bytes, size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof(word));
    return word;
}

Failure Damaged(const std::string& path, std::string_view what) {
    return Failure(fmt::format("'{}' is a damaged glTF file: {}; export it again", path, what));
}

JSON ParseDocument(const std::string& path, std::string_view text) {
    JSON document = JSON::parse(text, nullptr, false);
    CheckGLTF(path, document);
    return document;
}

GLTFFile ReadGLB(const std::string& path, std::string_view bytes) {
    GLTFFile file;
    size_t at = headerSize;
    while (at + chunkHeaderSize <= bytes.size()) {
        const size_t length = ReadWord(bytes, at);
        const uint32_t kind = ReadWord(bytes, at + 4);
        at += chunkHeaderSize;
        if (length > bytes.size() - at) {
            throw Damaged(path, "it ends early");
        }
        const std::string_view chunk = bytes.substr(at, length);
        if (kind == jsonChunk) {
            file.document = ParseDocument(path, chunk);
        } else if (kind == binaryChunk && file.binary.empty()) {
            file.binary.assign(chunk.begin(), chunk.end());
        }
        at += length;
    }
    if (file.document.is_null()) {
        throw Damaged(path, "it has no document");
    }
    return file;
}

std::vector<uint8_t> DecodeBase64(std::string_view text) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<uint8_t> bytes;
    uint32_t bits = 0;
    int bitCount = 0;
    for (const char c : text) {
        const size_t value = letters.find(c);
        if (value == std::string_view::npos) {
            continue;
        }
        bits = (bits << 6) | static_cast<uint32_t>(value);
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            bytes.push_back(static_cast<uint8_t>(bits >> bitCount));
        }
    }
    return bytes;
}

std::string DecodePercents(const std::string& uri) {
    std::string text;
    for (size_t i = 0; i < uri.size(); ++i) {
        constexpr int hexadecimal = 16;
        if (uri[i] == '%' && i + 2 < uri.size()) {
            text += static_cast<char>(std::strtol(uri.substr(i + 1, 2).c_str(), nullptr, hexadecimal));
            i += 2;
        } else {
            text += uri[i];
        }
    }
    return text;
}

/** What a URI of a document stands for: data in itself, or a file beside the document. */
std::vector<uint8_t> ReadURI(const std::string& path, const std::string& uri) {
    if (uri.rfind("data:", 0) == 0) {
        return DecodeBase64(std::string_view(uri).substr(uri.find(',') + 1));
    }
    const std::string beside = (std::filesystem::path(path).parent_path() / DecodePercents(uri)).string();
    const std::string text = ReadTextFile(beside);
    return {text.begin(), text.end()};
}

void Align(std::vector<uint8_t>& bytes) {
    constexpr size_t alignment = 4;
    bytes.resize((bytes.size() + alignment - 1) / alignment * alignment);
}

/** Brings all buffers into the one that a GLB carries. */
void PackBuffers(const std::string& path, GLTFFile& file) {
    JSON& buffers = file.List("buffers");
    std::vector<size_t> starts;
    bool isMoved = false;
    for (const JSON& buffer : buffers) {
        if (!buffer.contains("uri")) {
            // The carried one comes first; what else has no place is filled by an extension.
            starts.push_back(0);
            continue;
        }
        Align(file.binary);
        starts.push_back(file.binary.size());
        const std::vector<uint8_t> bytes = ReadURI(path, buffer["uri"].get<std::string>());
        file.binary.insert(file.binary.end(), bytes.begin(), bytes.end());
        isMoved = true;
    }
    if (!isMoved) {
        return;
    }
    for (JSON& view : file.List("bufferViews")) {
        const size_t start = starts.at(view.value("buffer", size_t{0}));
        view["byteOffset"] = view.value("byteOffset", size_t{0}) + start;
        view["buffer"] = 0;
    }
    buffers = JSON::array({JSON{{"byteLength", file.binary.size()}}});
}

/** Takes pictures in that lie in files of their own, as a GLB would lose them. One that isn't there stays a
 * name. */
void PackImages(const std::string& path, GLTFFile& file, std::vector<Remark>& notes) {
    if (!file.document.contains("images")) {
        return;
    }
    for (JSON& image : file.document["images"]) {
        if (!image.contains("uri")) {
            continue;
        }
        std::vector<uint8_t> bytes;
        try {
            bytes = ReadURI(path, image["uri"].get<std::string>());
        } catch (const Failure& failure) {
            notes.push_back({fmt::format(
                "warning: '{}': a picture can't be read and is left out: {}", path, failure.what())});
            continue;
        }
        const bool isPNG = bytes.size() > 1 && bytes[1] == 'P';
        image["bufferView"] = file.AddView(bytes);
        image["mimeType"] = image.value("mimeType", isPNG ? "image/png" : "image/jpeg");
        image.erase("uri");
    }
}

} // namespace

JSON& GLTFFile::List(const char* name) {
    JSON& list = document[name];
    if (!list.is_array()) {
        list = JSON::array();
    }
    return list;
}

int GLTFFile::Add(const char* list, JSON value) {
    JSON& values = List(list);
    values.push_back(std::move(value));
    return static_cast<int>(values.size()) - 1;
}

int GLTFFile::AddView(std::span<const uint8_t> bytes) {
    Align(binary);
    const size_t start = binary.size();
    binary.insert(binary.end(), bytes.begin(), bytes.end());
    return Add("bufferViews", {{"buffer", 0}, {"byteOffset", start}, {"byteLength", bytes.size()}});
}

int GLTFFile::AddFloats(std::span<const float> values, const char* type, bool statesBounds) {
    const size_t components = ComponentsOf(type);
    JSON accessor = {{"bufferView", AddView(BytesOf(values))}, {"componentType", floatComponent},
        {"count", values.size() / components}, {"type", type}};
    if (statesBounds) {
        std::vector<float> low(components, std::numeric_limits<float>::max());
        std::vector<float> high(components, std::numeric_limits<float>::lowest());
        for (size_t i = 0; i < values.size(); ++i) {
            low[i % components] = std::min(low[i % components], values[i]);
            high[i % components] = std::max(high[i % components], values[i]);
        }
        accessor["min"] = low;
        accessor["max"] = high;
    }
    return Add("accessors", std::move(accessor));
}

int GLTFFile::AddShorts(std::span<const uint16_t> values, const char* type) {
    return Add("accessors", {{"bufferView", AddView(BytesOf(values))}, {"componentType", shortComponent},
                                {"count", values.size() / ComponentsOf(type)}, {"type", type}});
}

int GLTFFile::AddIndices(std::span<const uint32_t> values) {
    const int accessor =
        Add("accessors", {{"bufferView", AddView(BytesOf(values))}, {"componentType", indexComponent},
                             {"count", values.size()}, {"type", "SCALAR"}});
    SetTarget(accessor, indexTarget);
    return accessor;
}

bool GLTFFile::Holds(size_t first, size_t stride, size_t count, size_t size) const {
    // A file's own numbers may be too large for their products.
    return count > 0 && count <= binary.size() && stride <= binary.size() && first <= binary.size() &&
           first + (count - 1) * stride + size <= binary.size();
}

void GLTFFile::SetTarget(int accessor, int target) {
    const int view = List("accessors").at(accessor)["bufferView"].get<int>();
    List("bufferViews").at(view)["target"] = target;
}

GLTFFile MakeEmptyGLTF() {
    GLTFFile file;
    file.document["asset"] = {{"version", "2.0"}, {"generator", "velkori"}};
    file.document["scene"] = 0;
    file.document["scenes"] = JSON::array({JSON{{"nodes", JSON::array()}}});
    file.document["nodes"] = JSON::array();
    return file;
}

GLTFFile ReadGLTF(const std::string& path, std::vector<Remark>& notes) {
    const std::string bytes = ReadTextFile(path);
    const bool isBinary = bytes.size() > headerSize && ReadWord(bytes, 0) == glbMagic;
    try {
        GLTFFile file;
        if (isBinary) {
            file = ReadGLB(path, bytes);
        } else {
            file.document = ParseDocument(path, bytes);
        }
        PackBuffers(path, file);
        PackImages(path, file, notes);
        return file;
    } catch (const JSON::exception& error) {
        throw Damaged(path, error.what());
    }
}

void WriteGLTFFile(const std::string& path, GLTFFile file) {
    Align(file.binary);
    if (!file.binary.empty()) {
        JSON& buffers = file.List("buffers");
        if (buffers.empty()) {
            buffers.push_back(JSON::object());
        }
        buffers[0]["byteLength"] = file.binary.size();
    }
    std::string text = file.document.dump(-1, ' ', false, JSON::error_handler_t::replace);
    constexpr size_t alignment = 4;
    text.resize((text.size() + alignment - 1) / alignment * alignment, ' ');
    const size_t binarySize = file.binary.empty() ? 0 : chunkHeaderSize + file.binary.size();
    const size_t size = headerSize + chunkHeaderSize + text.size() + binarySize;
    if (size > std::numeric_limits<uint32_t>::max()) {
        throw Failure("it would be larger than the 4 GB that a GLB can have");
    }
    std::ofstream stream(path, std::ios::binary);
    const auto writeWord = [&](size_t value) {
        const auto word = static_cast<uint32_t>(value);
        std::array<char, sizeof(word)> bytes = {};
        std::memcpy(bytes.data(), &word, sizeof(word));
        stream.write(bytes.data(), bytes.size());
    };
    for (const size_t word : {size_t{glbMagic}, size_t{2}, size, text.size(), size_t{jsonChunk}}) {
        writeWord(word);
    }
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (binarySize > 0) {
        writeWord(file.binary.size());
        writeWord(binaryChunk);
        stream.write(reinterpret_cast<const char*>(file.binary.data()),
            static_cast<std::streamsize>(file.binary.size()));
    }
    stream.close();
    if (!stream) {
        throw Failure("the disk may be full");
    }
}

} // namespace Velkori_Tool
