#pragma once

#include <string>
#include <string_view>

#include "thumbnails/CompressedPicture.h"

namespace Client {

/// A file name as HTML text, fit for attributes in double quotes too. What cannot be shown becomes a
/// replacement character.
std::string ToHtml(std::string_view bytes);

/// A path as a relative reference: every byte that could mean something else is escaped.
std::string ToReference(std::string_view path);

/// A JPEG or PNG file as a data: URI.
std::string ToDataUri(ByteView file);

}  // namespace Client
