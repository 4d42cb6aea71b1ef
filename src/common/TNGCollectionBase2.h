#pragma once

#include <memory>
#include <unordered_map>

/// The keyed collection of the system: a hash table of elements by key. It has no lock of its own, and the
/// order of iteration means nothing.
template <typename K, typename V>
class CTNGCollectionBase2 {
  public:
    using Table = std::unordered_map<K, V*>;
    using Iterator = typename Table::iterator;

    CTNGCollectionBase2() : m_pTable(std::make_unique<Table>()) {}
    virtual ~CTNGCollectionBase2() { ClearItemsByKey(m_bOwnsItems); }
    CTNGCollectionBase2(const CTNGCollectionBase2&) = delete;
    CTNGCollectionBase2& operator=(const CTNGCollectionBase2&) = delete;

    /// The element, or null.
    V* FindItem(const K& key) const {
        const auto found = m_pTable->find(key);
        return found != m_pTable->end() ? found->second : nullptr;
    }

    /// Puts `pItem` under `key`. An element that stood there is not destroyed. Always true.
    bool AddItemByKey(V* pItem, const K& key) {
        (*m_pTable)[key] = pItem;
        return true;
    }

    /// Erases the entry, and destroys its element if elements are owned. Always true.
    bool RemoveItem(const K& key) {
        const auto found = m_pTable->find(key);
        if (found == m_pTable->end()) return true;
        V* pItem = found->second;
        m_pTable->erase(found);
        if (m_bOwnsItems) delete pItem;
        return true;
    }

    /// Empties the table; `bDelete` destroys the elements first.
    void ClearItemsByKey(bool bDelete) {
        if (bDelete) {
            for (auto& entry : *m_pTable)
                delete entry.second;
        }
        m_pTable->clear();
    }

    /// Iteration: 1 and the element, or 0 at the end. The table must not change meanwhile.
    int GetFirstItem(Iterator* pIterator, V** ppItem) {
        *pIterator = m_pTable->begin();
        return GetItem(*pIterator, ppItem);
    }
    int GetNextItem(Iterator* pIterator, V** ppItem) { return GetItem(++*pIterator, ppItem); }

  protected:
    std::unique_ptr<Table> m_pTable;
    bool m_bOwnsItems = true;  // elements go with their entries

  private:
    int GetItem(const Iterator& iterator, V** ppItem) {
        if (iterator == m_pTable->end()) return 0;
        *ppItem = iterator->second;
        return 1;
    }
};
