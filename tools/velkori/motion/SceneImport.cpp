#include "motion/SceneImport.h"

#include "Failure.h"
#include "OutputFile.h"
#include "motion/GLTFDocument.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>
#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

namespace Velkori_Tool {

namespace {

/** All files as they are, and one more whose content is held in memory. */
class WithOneFile : public Assimp::DefaultIOSystem {
  public:
    WithOneFile(std::string path, std::string content) : path(std::move(path)), content(std::move(content)) {}

    bool Exists(const char* name) const override { return path == name || DefaultIOSystem::Exists(name); }

    Assimp::IOStream* Open(const char* name, const char* mode) override {
        if (path != name) {
            return DefaultIOSystem::Open(name, mode);
        }
        // The importer takes the stream and asks for bytes without a sign.
        const auto* const bytes = reinterpret_cast<const uint8_t*>(content.data());
        return std::make_unique<Assimp::MemoryIOStream>(bytes, content.size()).release();
    }

  private:
    std::string path;
    std::string content;
};

/** A path beside the file by whose ending the importer knows the format. */
std::string PathOfFormat(const std::string& path, FileFormat format) {
    constexpr std::array<std::pair<FileFormat, const char*>, 4> extensions = {
        std::pair{FileFormat::GLB, ".glb"}, {FileFormat::GLTF, ".gltf"}, {FileFormat::FBX, ".fbx"},
        {FileFormat::Collada, ".dae"}};
    for (const auto& [known, extension] : extensions) {
        if (format == known && LowerCaseExtension(path) != extension) {
            return path + extension;
        }
    }
    return path;
}

} // namespace

const aiScene& ImportScene(Assimp::Importer& importer, const std::string& path, FileFormat format,
    std::string content, unsigned steps) {
    if (format == FileFormat::GLB || format == FileFormat::GLTF) {
        content = GLTFForSceneReader(path, std::move(content));
    }
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    const std::string name = PathOfFormat(path, format);
    importer.SetIOHandler(std::make_unique<WithOneFile>(name, std::move(content)).release());
    const aiScene* const scene = importer.ReadFile(name, steps);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        throw Failure(fmt::format(
            "can't read '{}': {}; export it again or as another format", path, importer.GetErrorString()));
    }
    return *scene;
}

} // namespace Velkori_Tool
