#pragma once

#include <mutex>
#include <string>

/// A process-wide text that one thread may change while others read it: readers get snapshots. Needs no
/// destructor, so that it is still there while the library unloads; Set({}) releases its memory.
class TNGSharedText {
  public:
    constexpr TNGSharedText() = default;

    std::u16string Get() const {
        const std::scoped_lock lock(m_guard);
        return m_pText ? *m_pText : std::u16string();
    }

    void Set(const std::u16string& text) {
        auto* pNew = text.empty() ? nullptr : new std::u16string(text);
        const std::scoped_lock lock(m_guard);
        delete m_pText;
        m_pText = pNew;
    }

  private:
    mutable std::mutex m_guard;
    std::u16string* m_pText = nullptr;  // owned; null for the empty text; guarded by m_guard
};
