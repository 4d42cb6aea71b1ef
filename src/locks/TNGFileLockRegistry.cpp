#include "TNGFileLockRegistry.h"

#include <atomic>
#include <utility>

#include "common/TNGFileInfo.h"

namespace {

TNGGuard s_registryGuard;  // held while the registry is made or destroyed
std::atomic<CTNGFileLockRegistry*> s_pRegistry{nullptr};

}  // namespace

TNGFileLock CTNGFileLockRegistry::GetFileLock(std::uint32_t key, bool bListFile) {
    const TNGGuardLock lock(m_guard);
    Table& table = TableOf(bListFile);
    const auto found = table.find(key);
    if (found != table.end()) return found->second;
    // Made first: if there is no memory for it, the table must not have an entry without a lock.
    auto pLock = std::make_shared<CTNGMutex>();
    table.emplace(key, pLock);
    return pLock;
}

int CTNGFileLockRegistry::IsFileLocked(std::uint32_t key, bool bListFile) {
    const TNGGuardLock lock(m_guard);
    const Table& table = TableOf(bListFile);
    const auto found = table.find(key);
    return found != table.end() ? found->second->IsLocked(nullptr) : 0;
}

void CTNGFileLockRegistry::RemoveFileLock(std::uint32_t key, bool bListFile) {
    const TNGGuardLock lock(m_guard);
    TableOf(bListFile).erase(key);
}

void CTNGFileLockRegistry::ReleaseAll() {
    const TNGGuardLock lock(m_guard);
    for (const bool bListFile : {true, false}) {
        for (auto& entry : TableOf(bListFile))
            entry.second->Unlock(true);
        TableOf(bListFile).clear();
    }
}

CTNGFileLockRegistry& GetFileLockRegistry() {
    if (CTNGFileLockRegistry* pRegistry = s_pRegistry.load(std::memory_order_acquire)) return *pRegistry;
    const TNGGuardLock lock(s_registryGuard);
    if (!s_pRegistry.load(std::memory_order_relaxed)) s_pRegistry.store(new CTNGFileLockRegistry);
    return *s_pRegistry.load(std::memory_order_relaxed);
}

void ReleaseFileLockRegistry() {
    const TNGGuardLock lock(s_registryGuard);
    const std::unique_ptr<CTNGFileLockRegistry> pRegistry(s_pRegistry.exchange(nullptr));
    if (pRegistry) pRegistry->ReleaseAll();
}

TNGFileLock GetFileLockForPath(const std::u16string& path, bool bListFile) {
    return GetFileLockRegistry().GetFileLock(CTNGFileInfo::GetHashCode(path), bListFile);
}
