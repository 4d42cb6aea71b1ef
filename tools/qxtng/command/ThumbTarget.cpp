#include "ThumbTarget.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "files/OutputFile.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

std::string LowerCaseExtension(const std::filesystem::path& path) {
    std::string extension = path.extension().native();
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return extension;
}

bool FitsExtension(const std::filesystem::path& path, PictureFormat format) {
    static constexpr std::array<std::string_view, 4> kJpegExtensions = {".jpg", ".jpeg", ".jpe", ".jfif"};
    const std::string extension = LowerCaseExtension(path);
    if (format == PictureFormat::Png) return extension == ".png";
    return std::find(kJpegExtensions.begin(), kJpegExtensions.end(), extension) != kJpegExtensions.end();
}

void MakeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder))
        throw Failure("folder " + Displayable(folder) + " cannot be made: " + error.message());
}

std::string_view AsText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

ThumbTarget::ThumbTarget(const ThumbOptions& options) : m_output(options.output), m_kind(Kind::File) {
    if (m_output.empty()) throw WrongUse("the name after --output is empty");
    if (m_output == "-") m_kind = Kind::StandardOutput;
    if (m_output.ends_with('/') || std::filesystem::is_directory(m_output)) m_kind = Kind::Folder;
    if (m_kind != Kind::Folder && options.files.size() > 1)
        throw WrongUse(
            "several files need a folder for their thumbnails: end the name after --output with '/'");
    if (m_kind == Kind::Folder) MakeFolder(m_output);
    ProtectInputs(options.files);
}

void ThumbTarget::ProtectInputs(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        if (const auto id = FindFile(file)) m_protected.emplace(*id, "is one of the pictures to read");
    }
}

std::optional<PictureFormat> ThumbTarget::WantedFormat() const {
    if (m_kind != Kind::File) return std::nullopt;
    const std::string extension = LowerCaseExtension(m_output);
    return extension == ".jpg" || extension == ".jpeg" ? PictureFormat::Jpeg : PictureFormat::Png;
}

void ThumbTarget::Write(const std::string& file, ByteView thumbnail) {
    if (m_kind == Kind::StandardOutput) {
        WriteStandardOutput(AsText(thumbnail));
    } else {
        WriteFile(PathFor(file, thumbnail), file, thumbnail);
    }
}

std::string ThumbTarget::PathFor(const std::string& file, ByteView thumbnail) const {
    if (m_kind == Kind::File) return m_output;
    const PictureFormat format = FormatOf(thumbnail);
    std::filesystem::path name = std::filesystem::path(file).filename();
    if (!FitsExtension(name, format)) name += format == PictureFormat::Png ? ".png" : ".jpg";
    return std::filesystem::path(m_output) / name;
}

void ThumbTarget::WriteFile(const std::string& path, const std::string& file, ByteView thumbnail) {
    if (const auto id = FindFile(path)) {
        const auto taken = m_protected.find(*id);
        if (taken != m_protected.end())
            throw Failure(Displayable(path) + " is not overwritten: it " + taken->second);
    }
    OutputFile output(path);
    output.Write(AsText(thumbnail));
    output.Commit();
    if (const auto id = FindFile(path)) m_protected[*id] = "is the thumbnail of " + Displayable(file);
}

}  // namespace Client
