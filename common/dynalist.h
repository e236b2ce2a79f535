// CDynaList<T>: the growable array behind every list of identifiers, names and dates that
// crosses the interface, and the growth rule it shares with CSortList and CStringTable.
#pragma once

#include <cassert>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "platform/types.h"

// The capacity a list grows to. With a request (nonzero) it is max(capacity, request);
// without one it grows by a tenth, at least by ten: 0, 10, 20 ... 100, 110, 121, 133 ...
// Throws std::bad_alloc when the result would not fit in 32 bits.
inline ULong DynaGrowCapacity(ULong capacity, ULong request = 0) {
    if (request != 0) return capacity > request ? capacity : request;
    const ULong step = capacity / 10 > 10 ? capacity / 10 : 10;
    if (capacity > std::numeric_limits<ULong>::max() - step) throw std::bad_alloc();
    return capacity + step;
}

// A growable array of default-constructible, assignable T. Every slot of the capacity holds a
// default-constructed T; the first GetCount() are in use. Indexing is not checked (beyond a
// debug assertion). The virtual destructor lets classes derive from it. One thread at a time;
// references to elements stay valid until the list grows or is emptied.
template <typename T>
class CDynaList {
public:
    CDynaList() = default;
    // A copy holds the same elements with capacity equal to their count.
    CDynaList(const CDynaList& other) : m_nCount(other.m_nCount), m_nCapacity(other.m_nCount) {
        if (m_nCapacity != 0) m_pData = std::make_unique<T[]>(m_nCapacity);
        for (ULong i = 0; i < m_nCount; ++i) m_pData[i] = other.m_pData[i];
    }
    CDynaList(CDynaList&& other) noexcept
        : m_nCount(std::exchange(other.m_nCount, 0)),
          m_nCapacity(std::exchange(other.m_nCapacity, 0)),
          m_pData(std::move(other.m_pData)) {}
    CDynaList& operator=(const CDynaList& other) {
        if (this != &other) {
            CDynaList copy(other);
            Swap(copy);
        }
        return *this;
    }
    CDynaList& operator=(CDynaList&& other) noexcept {
        if (this != &other) {
            CDynaList taken(std::move(other));
            Swap(taken);
        }
        return *this;
    }
    virtual ~CDynaList() = default;

    // Appends a copy of `value` (which may be an element of this list), growing first when full.
    void Add(const T& value) {
        if (m_nCount >= m_nCapacity) {
            T copy(value);
            Grow(0);
            m_pData[m_nCount] = std::move(copy);
        } else {
            m_pData[m_nCount] = value;
        }
        ++m_nCount;
    }
    void Add(T&& value) {
        if (m_nCount >= m_nCapacity) {
            T taken(std::move(value));
            Grow(0);
            m_pData[m_nCount] = std::move(taken);
        } else {
            m_pData[m_nCount] = std::move(value);
        }
        ++m_nCount;
    }

    T& operator[](ULong index) {
        assert(index < m_nCapacity);
        return m_pData[index];
    }
    const T& operator[](ULong index) const {
        assert(index < m_nCapacity);
        return m_pData[index];
    }

    ULong GetCount() const { return m_nCount; }
    ULong GetCapacity() const { return m_nCapacity; }

    // Makes room for `size` elements: capacity becomes max(capacity, size); the count is kept.
    void SetSize(ULong size) {
        if (size > m_nCapacity) Grow(size);
    }
    // Removes element `index` (below the count), moving every later element down one place.
    void RemoveAt(ULong index) {
        assert(index < m_nCount);
        for (ULong i = index + 1; i < m_nCount; ++i) m_pData[i - 1] = std::move(m_pData[i]);
        m_pData[--m_nCount] = T();
    }
    // Releases the storage; count and capacity become 0.
    void RemoveAll() {
        m_pData.reset();
        m_nCount = 0;
        m_nCapacity = 0;
    }

    T* begin() { return m_pData.get(); }
    T* end() { return m_pData.get() + m_nCount; }
    const T* begin() const { return m_pData.get(); }
    const T* end() const { return m_pData.get() + m_nCount; }

protected:
    // Moves the elements into a block of DynaGrowCapacity(capacity, request) slots.
    void Grow(ULong request) {
        const ULong capacity = DynaGrowCapacity(m_nCapacity, request);
        auto block = std::make_unique<T[]>(capacity);
        for (ULong i = 0; i < m_nCount; ++i) block[i] = std::move(m_pData[i]);
        m_pData = std::move(block);
        m_nCapacity = capacity;
    }

private:
    void Swap(CDynaList& other) noexcept {
        std::swap(m_nCount, other.m_nCount);
        std::swap(m_nCapacity, other.m_nCapacity);
        std::swap(m_pData, other.m_pData);
    }

    ULong m_nCount = 0;
    ULong m_nCapacity = 0;
    std::unique_ptr<T[]> m_pData;
};
