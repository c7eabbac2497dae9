#include "support/TestFolder.h"

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

}  // namespace kasto::test
