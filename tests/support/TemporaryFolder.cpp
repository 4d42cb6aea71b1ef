#include "TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/Text.h"

namespace fs = std::filesystem;

namespace TestSupport {

std::u16string TextOf(const fs::path& path) {
    return Platform::PathFromBytes(path.native());
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TemporaryFolder::TemporaryFolder(const fs::path& parent) {
    std::string name = parent / "qxtng-test-XXXXXX";
    if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), name);
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::u16string TemporaryFolder::Add(const fs::path& name, std::span<const std::uint8_t> content) const {
    fs::create_directories((m_path / name).parent_path());
    std::ofstream file(m_path / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) throw std::system_error(errno, std::generic_category(), name);
    return TextOf(m_path / name);
}

}  // namespace TestSupport
