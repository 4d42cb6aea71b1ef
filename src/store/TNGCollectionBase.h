#pragma once

#include <memory>
#include <vector>

/// The vector collection of the system: owned elements in the order in which they were added.
template <typename T>
class CTNGCollectionBase {
  public:
    CTNGCollectionBase() : m_pItems(std::make_unique<std::vector<T*>>()) {}
    virtual ~CTNGCollectionBase() { DestroyItems(); }
    CTNGCollectionBase(const CTNGCollectionBase&) = delete;
    CTNGCollectionBase& operator=(const CTNGCollectionBase&) = delete;

    int GetCount() const { return static_cast<int>(m_pItems->size()); }

    /// The element; null outside 0 to count - 1.
    T* GetAt(int index) const {
        return index >= 0 && index < GetCount() ? (*m_pItems)[static_cast<std::size_t>(index)] : nullptr;
    }

  protected:
    void DestroyItems() {
        for (T* pItem : *m_pItems)
            delete pItem;
        m_pItems->clear();
    }

    std::unique_ptr<std::vector<T*>> m_pItems;
};
