// The cache when it is large: what loading, adding and keeping in step cost.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "support/Foreground.h"
#include "support/PictureWriter.h"
#include "support/RecordedBenchmarks.h"
#include "support/SyntheticPhoto.h"
#include "support/TestFiles.h"

namespace {

namespace fs = std::filesystem;
using Bench::Bytes;
using Bench::Require;
using Bench::TemporaryFolder;
using TestSupport::TextOf;

void RequireSuccess(std::uint32_t result, const char* pszWhat) {
    Require(result == QXTNG_SUCCESS, std::string(pszWhat) + ": " + std::to_string(result));
}

// Cache files, put together from docs/cache-format.md.
class CacheFile {
  public:
    template <typename T>
    CacheFile& Add(T value) {
        m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
        return *this;
    }
    CacheFile& Add(const std::u16string& text) {
        Add(static_cast<std::int32_t>(text.size()));
        m_bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
        return *this;
    }
    void Write(const fs::path& file) const { std::ofstream(file, std::ios::binary) << m_bytes; }

  private:
    std::string m_bytes;
};

// A cache of folders with records of pictures, enabled as long as the object is there.
class Cache {
  public:
    Cache(int nFolders, int nRecords) {
        CacheFile index;
        index.Add(std::int32_t{nFolders});
        for (int i = 1; i <= nFolders; ++i) {
            fs::create_directories(Source(i));
            index.Add(std::uint32_t{1}).Add(TextOf(Source(i)));
            index.Add(TextOf(Name(i, ".db"))).Add(TextOf(Name(i, ".dat"))).Add(std::int32_t{i});
            WriteList(i, nRecords);
        }
        fs::create_directories(m_folder / "cache");
        if (nFolders > 0) index.Write(m_folder / "cache" / "DirectoryMap.dat");
        RequireSuccess(SetCacheFolder(TextOf(m_folder / "cache").c_str()), "SetCacheFolder");
        RequireSuccess(SetCacheEnabled(1), "SetCacheEnabled");
    }
    ~Cache() {
        ShutDown();
        SetCacheEnabled(0);
    }
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    fs::path Source(int folder) const { return m_folder / ("pictures-" + std::to_string(folder)); }
    fs::path File(const std::string& name) const { return m_folder / "cache" / name; }
    static std::string Name(int number, const char* pszExtension) {
        return std::to_string(number) + pszExtension;
    }

    void WriteList(int folder, int nRecords) const {
        fs::create_directories(m_folder / "cache");
        CacheFile list;
        list.Add(std::int32_t{nRecords});
        for (int i = 0; i < nRecords; ++i) {
            const std::int32_t start = i * 6012;
            list.Add(std::uint32_t{2}).Add(TextOf(Source(folder) / ("IMG_" + std::to_string(i) + ".jpg")));
            list.Add(std::uint32_t{ASSET_TYPE_IMAGE}).Add(TextOf(Name(folder, ".db")));
            list.Add(std::uint64_t{133'590'312'000'000'000}).Add(std::uint32_t{4'000'000});
            list.Add(start).Add(std::int32_t{5000}).Add(start + 5000).Add(std::int32_t{1000});
            list.Add(std::uint64_t{4000} << 48).Add(std::uint32_t{4000}).Add(std::uint32_t{3000});
            list.Add(std::int32_t{-1}).Add(std::int32_t{0});
        }
        list.Write(File(Name(folder, ".dat")));
        CacheFile().Write(File(Name(folder, ".db")));  // nothing is read from it
    }

    // What another process does that has added to a folder.
    void ChangeFromOutside(int folder, int nRecords) const {
        WriteList(folder, nRecords);
        fs::last_write_time(File("DirectoryMap.dat"), fs::file_time_type::clock::now());
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const auto time = static_cast<std::uint64_t>(now.tv_sec) * 10'000'000 +
                          static_cast<std::uint64_t>(now.tv_nsec) / 100 + 116'444'736'000'000'000;
        CacheFile().Add(time).Write(File("CacheUpdateInfo.txt"));
    }

  private:
    TemporaryFolder m_folder;
};

void EnterAndLeave(benchmark::State& state) {
    const Cache cache(1, 100);
    const std::u16string folder = TextOf(cache.Source(1));
    for (auto _ : state)
        RequireSuccess(InitDBFolder(folder.c_str()), "InitDBFolder");
}

// The folder that is asked for is not the one that has changed.
void Synchronize(benchmark::State& state) {
    const int nFolders = static_cast<int>(state.range(0));
    const Cache cache(nFolders, 100);
    RequireSuccess(InitDB(), "InitDB");
    const std::u16string folder = TextOf(cache.Source(1));
    int nRecords = 100;
    for (auto _ : state) {
        state.PauseTiming();
        cache.ChangeFromOutside(nFolders, ++nRecords);
        state.ResumeTiming();
        RequireSuccess(InitDBFolder(folder.c_str()), "InitDBFolder");
    }
}

void LoadAll(benchmark::State& state) {
    const Cache cache(1000, 100);
    for (auto _ : state)
        RequireSuccess(InitDB(), "InitDB");
}

// One folder after the other; the first one reads the index.
void OpenFolder(benchmark::State& state) {
    const Cache cache(1000, 100);
    int folder = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::u16string path = TextOf(cache.Source(folder++ % 1000 + 1));
        state.ResumeTiming();
        RequireSuccess(InitDBFolder(path.c_str()), "InitDBFolder");
    }
}

// New pictures: all but their records costs the same however many there are.
class NewPictures {
  public:
    explicit NewPictures(const Cache& cache) : m_cache(cache) {
        const Bytes bytes = TestSupport::MakeJpeg(Bench::MakeSyntheticPhoto(180, 120));
        m_file = cache.Source(0);
        std::ofstream(m_file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        fs::last_write_time(m_file, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    std::u16string Next(int folder) {
        const fs::path path = m_cache.Source(folder) / ("new-" + std::to_string(m_nNext++) + ".jpg");
        fs::create_directories(path.parent_path());
        fs::create_hard_link(m_file, path);
        return TextOf(path);
    }

  private:
    const Cache& m_cache;
    fs::path m_file;
    int m_nNext = 0;
};

void AddPictures(benchmark::State& state, int nFolders, int nRecords, bool bNewFolder) {
    const Cache cache(nFolders, nRecords);
    RequireSuccess(InitDB(), "InitDB");
    NewPictures pictures(cache);
    int folder = nFolders;
    for (auto _ : state) {
        state.PauseTiming();
        const std::u16string path = pictures.Next(bNewFolder ? ++folder : folder);
        state.ResumeTiming();
        Bench::ThumbnailImage(path, 160, TNG_SOURCE_DECODE_ONLY);
    }
}

void AddRecord(benchmark::State& state) {
    AddPictures(state, 1, static_cast<int>(state.range(0)), false);
}

void BeginFolder(benchmark::State& state) {
    AddPictures(state, static_cast<int>(state.range(0)), 100, true);
}

BENCHMARK(EnterAndLeave)->Unit(benchmark::kMicrosecond);
BENCHMARK(Synchronize)->Arg(10)->Arg(1'000)->Iterations(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadAll)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(OpenFolder)->Iterations(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(AddRecord)->Arg(1)->Arg(1'000)->Arg(10'000)->Iterations(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(BeginFolder)->Arg(1)->Arg(1'000)->Iterations(50)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunBenchmarks(argc, argv);
}
