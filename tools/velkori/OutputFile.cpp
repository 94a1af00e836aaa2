#include "OutputFile.h"

#include "Failure.h"
#include "Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace Velkori_Tool {

namespace {

// What a signal must remove before it ends the program; empty if nothing is unfinished.
std::array<char, 4096> unfinishedPath = {};

void RemoveUnfinished(int signal) {
    unlink(unfinishedPath.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/** Is removed, also by an interruption, unless it became the wanted one. There is one at a time. */
class UnfinishedFile {
  public:
    explicit UnfinishedFile(std::string path) : path(std::move(path)) {
        this->path.copy(unfinishedPath.data(), unfinishedPath.size() - 1);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            // Whoever ignores a signal, as nohup does, goes on ignoring it.
            if (std::signal(signal, RemoveUnfinished) == SIG_IGN) {
                std::signal(signal, SIG_IGN);
            }
        }
    }

    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    ~UnfinishedFile() {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        unfinishedPath.fill('\0');
    }

    const std::string path;
};

std::string PathBeside(const std::filesystem::path& wanted) {
    // The extension stays: writers choose their format by it. A name has an end somewhere.
    constexpr size_t longestStem = 100;
    const std::string name = fmt::format(
        ".{}.{}{}", wanted.stem().string().substr(0, longestStem), getpid(), wanted.extension().string());
    return (wanted.parent_path() / name).string();
}

Failure CantWrite(const std::string& path, const std::string& reason) {
    return Failure(fmt::format("can't write '{}': {}; choose a place that you may write to", path, reason));
}

/** With the reason that the system gave last. */
Failure CantRead(const std::string& path) {
    return Failure(fmt::format("can't read '{}': {}; check the path", path, std::strerror(errno)));
}

/** Where a link points to. */
std::filesystem::path ResolveLink(const std::string& path) {
    std::error_code error;
    const bool isLink = std::filesystem::is_symlink(path, error);
    const std::filesystem::path resolved =
        isLink ? std::filesystem::weakly_canonical(path, error) : std::filesystem::path(path);
    return error ? std::filesystem::path(path) : resolved;
}

bool IsSpecialFile(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

/** Gives the unfinished file the rights of the one that it replaces, and its name. */
void TakePlace(const std::string& unfinished, const std::filesystem::path& wanted) {
    std::error_code error;
    const std::filesystem::file_status before = std::filesystem::status(wanted, error);
    if (std::filesystem::exists(before)) {
        std::filesystem::permissions(unfinished, before.permissions(), error);
    }
    std::filesystem::rename(unfinished, wanted, error);
    if (error) {
        throw Failure(error.message());
    }
}

} // namespace

void WriteFileWhole(const std::string& path, const std::function<void(const std::string&)>& write) {
    try {
        const std::filesystem::path wanted = ResolveLink(path);
        if (IsSpecialFile(wanted)) {
            write(wanted.string());
            return;
        }
        const UnfinishedFile unfinished(PathBeside(wanted));
        write(unfinished.path);
        TakePlace(unfinished.path, wanted);
    } catch (const Failure& failure) {
        throw CantWrite(path, failure.what());
    }
}

void WriteText(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw Failure(std::strerror(errno));
    }
}

void WriteTextFile(const std::string& path, const std::string& text) {
    if (path == "-") {
        if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
            throw CantWrite("standard output", std::strerror(errno));
        }
        return;
    }
    WriteFileWhole(path, [&](const std::string& place) { WriteText(place, text); });
}

void CheckWritable(const std::string& path, std::span<const std::string> inputs) {
    if (path == "-") {
        return;
    }
    std::error_code ignored;
    for (const std::string& input : inputs) {
        if (std::filesystem::equivalent(path, input, ignored)) {
            throw UsageFailure(fmt::format(
                "'{}' is read by this command and would be replaced; give the result another name", path));
        }
    }
    if (path.empty() || std::filesystem::is_directory(path, ignored)) {
        throw CantWrite(path, path.empty() ? "it has no name" : "it is a directory");
    }
    const std::filesystem::path wanted = ResolveLink(path);
    if (IsSpecialFile(wanted)) {
        return;
    }
    if (std::filesystem::exists(wanted, ignored) && access(wanted.c_str(), W_OK) != 0) {
        throw CantWrite(path, std::strerror(errno));
    }
    const UnfinishedFile probe(PathBeside(wanted));
    if (!std::ofstream(probe.path, std::ios::binary)) {
        throw CantWrite(path, std::strerror(errno));
    }
}

void CheckReadable(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Failure(fmt::format("can't read '{}': it is a directory; name a file in it", path));
    }
    if (!std::ifstream(path, std::ios::binary)) {
        throw CantRead(path);
    }
}

std::string ReadTextFile(const std::string& path) {
    CheckReadable(path);
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || (file.peek() != std::ifstream::traits_type::eof() && !(text << file.rdbuf()))) {
        throw CantRead(path);
    }
    return text.str();
}

std::string LowerCaseExtension(const std::string& path) {
    return LowerCase(std::filesystem::path(path).extension().string());
}

} // namespace Velkori_Tool
