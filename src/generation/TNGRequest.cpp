#include "TNGRequest.h"

#include "common/TNGFileInfo.h"

bool IsUnchanged(const TNGRequest& request) {
    Platform::WIN32_FIND_DATAW now;
    return CTNGFileInfo::FindFileData(request.path.c_str(), &now, false) &&
           Platform::CompareFileTime(&now.ftLastWriteTime, &request.entry.ftLastWriteTime) == 0 &&
           now.nFileSizeLow == request.entry.nFileSizeLow;
}
