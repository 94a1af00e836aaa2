#include "OutputFile.h"

#include "Failure.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace Velkori_Tool {

namespace {

/** Removes the unfinished file unless it became the wanted one. */
class UnfinishedFile {
  public:
    explicit UnfinishedFile(std::string path) : path(std::move(path)) {}

    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    ~UnfinishedFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

    const std::string path;
};

std::string PathBeside(const std::string& path) {
    // The extension stays: writers choose their format by it.
    const std::filesystem::path wanted(path);
    const std::string name =
        fmt::format(".{}.{}{}", wanted.stem().string(), getpid(), wanted.extension().string());
    return (wanted.parent_path() / name).string();
}

Failure CantWrite(const std::string& path, const std::string& reason) {
    return Failure(
        fmt::format("can't write '{}': {}; choose a place that you may write to with -o", path, reason));
}

} // namespace

void WriteFileWhole(const std::string& path, const std::function<void(const std::string&)>& write) {
    const UnfinishedFile unfinished(PathBeside(path));
    write(unfinished.path);
    std::error_code error;
    std::filesystem::rename(unfinished.path, path, error);
    if (error) {
        throw CantWrite(path, error.message());
    }
}

void WriteTextFile(const std::string& path, const std::string& text) {
    if (path == "-") {
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
            throw CantWrite("standard output", std::strerror(errno));
        }
        return;
    }
    WriteFileWhole(path, [&](const std::string& place) {
        std::ofstream file(place, std::ios::binary);
        file << text;
        file.close();
        if (!file) {
            throw CantWrite(path, std::strerror(errno));
        }
    });
}

void CheckWritable(const std::string& path) {
    if (path == "-") {
        return;
    }
    if (std::filesystem::is_directory(path)) {
        throw CantWrite(path, "it is a directory");
    }
    const UnfinishedFile probe(PathBeside(path));
    if (!std::ofstream(probe.path, std::ios::binary)) {
        throw CantWrite(path, std::strerror(errno));
    }
}

std::string ReadTextFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Failure(fmt::format("can't read '{}': it is a directory; name a file in it", path));
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || (file.peek() != std::ifstream::traits_type::eof() && !(text << file.rdbuf()))) {
        throw Failure(fmt::format("can't read '{}': {}; check the path", path, std::strerror(errno)));
    }
    return text.str();
}

std::string LowerCaseExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) {
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension;
}

} // namespace Velkori_Tool
