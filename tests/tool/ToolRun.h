#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Velkori_Tool_Test {

/** What a run of the built program left. */
struct ToolRun {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

/** Runs the program with these arguments. */
ToolRun RunTool(const std::vector<std::string>& arguments);

/** A directory that is gone with its test. */
class TestDirectory {
  public:
    TestDirectory();
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;
    ~TestDirectory();

    std::string Path(const std::string& name) const { return (directory / name).string(); }

    /** Writes a file and gives its path. */
    std::string Write(const std::string& name, const std::string& content) const;
    /** The names of all files, sorted. */
    std::vector<std::string> FileNames() const;

  private:
    std::filesystem::path directory;
};

std::string ReadFile(const std::string& path);

} // namespace Velkori_Tool_Test
