#include "ToolRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Velkori_Tool_Test {

ToolRun RunTool(const std::vector<std::string>& arguments) {
    const TestDirectory directory;
    const std::string outputPath = directory.Path("output");
    const std::string errorPath = directory.Path("errors");
    std::vector<std::string> words = {VELKORI_TOOL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    constexpr int permissions = 0600;
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(outputPath.c_str(), O_WRONLY | O_CREAT, permissions), STDOUT_FILENO);
        dup2(open(errorPath.c_str(), O_WRONLY | O_CREAT, permissions), STDERR_FILENO);
        execv(pointers.front(), pointers.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(outputPath), ReadFile(errorPath)};
}

TestDirectory::TestDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "velkori_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("can't make a directory for the test");
    }
    directory = name;
}

TestDirectory::~TestDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

std::string TestDirectory::Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
}

std::vector<std::string> TestDirectory::FileNames() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace Velkori_Tool_Test
