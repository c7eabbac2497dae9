#pragma once

#include <filesystem>
#include <string>

namespace kasto::test {

// A new, empty folder that is removed with all it holds at the end.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// The whole file, or an empty text if it cannot be read.
std::string readFile(const std::filesystem::path& file);

void writeFile(const std::filesystem::path& file, const std::string& text);

// What a command prints.
std::string outputOf(const std::string& command);

}  // namespace kasto::test
