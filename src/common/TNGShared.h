#pragma once

#include <mutex>
#include <string>
#include <utility>

/// A process-wide value that one thread may change while others read it: readers get snapshots, and T() until
/// the first Set(). Needs no destructor, so that it is still there while the library unloads; Clear()
/// releases its memory.
template <typename T>
class TNGShared {
  public:
    constexpr TNGShared() = default;

    T Get() const {
        const std::scoped_lock lock(m_guard);
        return m_pValue ? *m_pValue : T();
    }

    /// What stood there is destroyed with no guard held.
    void Set(const T& value) { Replace(new T(value)); }
    void Clear() { Replace(nullptr); }

  private:
    void Replace(T* pNew) {
        {
            const std::scoped_lock lock(m_guard);
            std::swap(m_pValue, pNew);
        }
        delete pNew;
    }

    mutable std::mutex m_guard;
    T* m_pValue = nullptr;  // owned; guarded by m_guard
};

using TNGSharedText = TNGShared<std::u16string>;
