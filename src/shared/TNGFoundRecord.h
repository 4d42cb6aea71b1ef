#pragma once

#include <cstdint>
#include <string>

#include "common/TNGCollectionBase2.h"
#include "store/TNGDataGeneration.h"
#include "store/TNGFileData.h"

/// A copy of a record, to be worked on with no lock held, and what is needed to read its block or to write
/// the copy back.
struct TNGFoundRecord {
    CTNGFileData record;
    TNGDataGeneration generation;
    std::uint32_t nDataFileKey = 0;

    /// The caller holds sharedMutex.
    void Take(const CTNGFileData& live);

    /// Writes the copy over the record of its path, if that is still there and its block in the same data
    /// file; null if not. The caller holds sharedMutex for writing.
    CTNGFileData* WriteOver(const CTNGCollectionBase2<std::u16string, CTNGFileData>& pathIndex);

    /// The same if that record is not deleted.
    bool WriteBack(const CTNGCollectionBase2<std::u16string, CTNGFileData>& pathIndex);
};
