#include "SheetTile.h"

#include "HtmlText.h"
#include "cutil/AssetType.h"
#include "platform/Text.h"
#include "terminal/Messages.h"
#include "thumbnails/Thumbnail.h"

namespace Client {
namespace {

TileKind KindOf(TNGOrigin origin) {
    switch (origin) {
        case ORIGIN_EMBEDDED:
            return TileKind::Embedded;
        case ORIGIN_DECODED:
            return TileKind::Decoded;
        case ORIGIN_CACHED:
            return TileKind::Cached;
        case ORIGIN_DEFAULT:
            return TileKind::Default;
    }
    return TileKind::Default;
}

/// The size of the original, or what the file is instead of a picture.
std::string DescribeOriginal(const std::string& path) {
    if (const auto size = OriginalSize(path))
        return std::to_string(size->nWidth) + " × " + std::to_string(size->nHeight);
    const std::uint32_t type = QxzCUtil::GetAssetType(Platform::PathFromBytes(path).c_str());
    return type == ASSET_TYPE_AUDIO ? "Audio" : type == ASSET_TYPE_VIDEO ? "Video" : "";
}

std::string Image(ByteView thumbnail) {
    const TNGSize size = SizeOf(thumbnail);
    return "<img src=\"" + ToDataUri(thumbnail) + "\" width=\"" + std::to_string(size.nWidth) +
           "\" height=\"" + std::to_string(size.nHeight) + "\" alt=\"\" loading=\"lazy\" decoding=\"async\">";
}

/// `content` is HTML, `note` text.
std::string TileHtml(const SheetSource& source, const std::string& file, TileKind kind,
                     const std::string& content, const std::string& note) {
    const std::string name = ToHtml(std::string_view(file).substr(file.rfind('/') + 1));
    std::string html = "<a class=\"tile " + std::string(NameOf(kind)) + "\" href=\"";
    html += ToReference(source.reference + file) + "\" title=\"" + name;
    if (!note.empty()) html += "&#10;" + note;
    html += "\">" + content + "<b>" + name + "</b><small>" + note + "</small></a>\n";
    return html;
}

Tile FailedTile(const SheetSource& source, const std::string& file, const std::string& reason) {
    const std::string content = "<p>No thumbnail: " + ToHtml(reason) + "</p>";
    return {TileKind::Failed, TileHtml(source, file, TileKind::Failed, content, ""), reason};
}

}  // namespace

std::string_view NameOf(TileKind kind) {
    static constexpr std::string_view kNames[kTileKinds] = {"embedded", "decoded", "cached", "default",
                                                            "failed"};
    return kNames[static_cast<std::size_t>(kind)];
}

Tile MakeTile(const SheetSource& source, const std::string& file, const JobResult& result) {
    if (!result.thumbnail) return FailedTile(source, file, result.failure);
    try {
        const TileKind kind = KindOf(result.thumbnail->Origin());
        return {kind,
                TileHtml(source, file, kind, Image(result.thumbnail->Bytes()),
                         DescribeOriginal(source.folder + file)),
                ""};
    } catch (const std::bad_alloc&) {
        return FailedTile(source, file, "not enough memory");
    }
}

}  // namespace Client
