#include "support/TestFolder.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kasto::test {

TestFolder::TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kasto-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a test folder");
    path_ = name;
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

std::string outputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "re");
    if (!pipe) throw std::runtime_error("cannot run " + command);
    std::string output;
    for (int byte = 0; (byte = getc(pipe)) != EOF;) output.push_back(static_cast<char>(byte));
    pclose(pipe);
    return output;
}

}  // namespace kasto::test
