#include "ThumbCommand.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "ThumbTarget.h"
#include "terminal/Messages.h"
#include "thumbnails/PictureEncoder.h"
#include "thumbnails/Thumbnail.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {
namespace {

using Clock = std::chrono::steady_clock;

struct FinishedThumbnail {
    std::vector<unsigned char> bytes;
    TNGOrigin origin;
};

/// PNG files have thumbnails that are PNG, other pictures JPEG. A wrong guess costs time only.
PictureFormat GuessNativeFormat(const std::string& file) {
    const std::string extension = std::filesystem::path(file).extension();
    return extension == ".png" || extension == ".PNG" ? PictureFormat::Png : PictureFormat::Jpeg;
}

/// The library's own compressed form goes out unchanged where its format will do.
FinishedThumbnail Make(const ThumbnailRequest& request, std::optional<PictureFormat> wanted) {
    if (!wanted || *wanted == GuessNativeFormat(request.path)) {
        const CompressedThumbnail thumbnail = MakeCompressedThumbnail(request);
        const ByteView bytes = thumbnail.Bytes();
        if (!wanted || *wanted == FormatOf(bytes)) return {{bytes.begin(), bytes.end()}, thumbnail.Origin()};
    }
    const ImageThumbnail thumbnail = MakeImageThumbnail(request);
    return {EncodePicture(*thumbnail.bitmap, *wanted), thumbnail.origin};
}

std::string Describe(const std::string& file, const FinishedThumbnail& thumbnail, Clock::duration duration) {
    char time[32];
    std::snprintf(time, sizeof time, "%.1f ms", std::chrono::duration<double, std::milli>(duration).count());
    return Displayable(file) + ": " + ToText(SizeOf(thumbnail.bytes)) + ' ' +
           std::string(NameOf(thumbnail.origin)) + ' ' + time;
}

void MakeOne(const std::string& file, const ThumbOptions& options, ThumbTarget& target) {
    const auto start = Clock::now();
    const ThumbnailRequest request{AbsolutePath(file), options.box, options.mode};
    const FinishedThumbnail thumbnail = Make(request, target.WantedFormat());
    const std::string line = Describe(file, thumbnail, Clock::now() - start);
    target.Write(file, thumbnail.bytes);
    if (target.IsStandardOutput()) {
        PrintErrorLine(line);
    } else {
        PrintLine(line);
    }
}

}  // namespace

int RunThumb(const ThumbOptions& options) {
    ThumbTarget target(options);
    const ThumbnailCache cache(options.cache);
    bool good = true;
    for (const std::string& file : options.files) {
        try {
            MakeOne(file, options, target);
        } catch (const std::exception& error) {
            PrintError(DisplayableName(file) + ": " + error.what());
            good = false;
        }
    }
    return ExitCodeOf(good);
}

}  // namespace Client
