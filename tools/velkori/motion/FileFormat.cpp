#include "motion/FileFormat.h"

#include "OutputFile.h"
#include "Text.h"

#include <array>
#include <fstream>
#include <string_view>

namespace Velkori_Tool {

namespace {

std::string ReadBeginning(const std::string& path) {
    constexpr size_t enough = 4096;
    std::string text(enough, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    return text;
}

} // namespace

FileFormat FindFileFormat(const std::string& path) {
    const std::string beginning = ReadBeginning(path);
    std::string_view text = beginning;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    text.remove_prefix(text.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    const auto begins = [&](std::string_view word) { return LowerCase(text.substr(0, word.size())) == word; };
    const auto holds = [&](std::string_view word) { return text.find(word) != std::string_view::npos; };
    if (begins("gltf")) {
        return FileFormat::GLB;
    }
    if (begins("kaydara fbx") || (begins(";") && holds("FBX"))) {
        return FileFormat::FBX;
    }
    if (begins("hierarchy")) {
        return FileFormat::BVH;
    }
    if (holds("<COLLADA")) {
        return FileFormat::Collada;
    }
    // A damaged file says less of itself than its name.
    const std::string extension = LowerCaseExtension(path);
    if (begins("{")) {
        return extension == ".gltf" || extension == ".vrm" || extension == ".vrma" ? FileFormat::GLTF
                                                                                   : FileFormat::Document;
    }
    constexpr std::array<std::pair<std::string_view, FileFormat>, 6> formats = {
        std::pair<std::string_view, FileFormat>{".bvh", FileFormat::BVH}, {".glb", FileFormat::GLB},
        {".gltf", FileFormat::GLTF}, {".fbx", FileFormat::FBX}, {".dae", FileFormat::Collada},
        {".json", FileFormat::Document}};
    for (const auto& [ending, format] : formats) {
        if (extension == ending) {
            return format;
        }
    }
    return FileFormat::Other;
}

} // namespace Velkori_Tool
