#pragma once

namespace Oskal { namespace Lib { namespace Collections {

// Growable array of whole T objects with a linear grow step (1 by default). Elements are copied
// with T's assignment; storage comes from array allocation, so every allocated element is
// default-constructed.
template <typename T>
class UVector
{
public:
    UVector() : m_pData(nullptr), m_ulGrowCount(1), m_ulLength(0), m_ulCapacity(0) {}

    // n default elements, not merely reserved room.
    explicit UVector(unsigned long n) : m_pData(nullptr), m_ulGrowCount(1), m_ulLength(n), m_ulCapacity(n)
    {
        if (n != 0)
            m_pData = new T[n];
    }

    UVector(const T* p, unsigned long n) : m_pData(nullptr), m_ulGrowCount(1), m_ulLength(0), m_ulCapacity(0)
    {
        if (n == 0)
            return;
        T* data = new T[n];
        CopyOrFree(data, p, n);
        m_pData = data;
        m_ulLength = m_ulCapacity = n;
    }

    UVector(const UVector& other) : m_pData(nullptr), m_ulGrowCount(1), m_ulLength(0), m_ulCapacity(0)
    {
        *this = other;
    }

    ~UVector() { delete[] m_pData; }

    // Copies all capacity elements, the unused ones too, and the grow count.
    const UVector& operator=(const UVector& other)
    {
        if (this == &other)
            return *this;
        T* data = nullptr;
        if (other.m_ulCapacity != 0)
        {
            data = new T[other.m_ulCapacity];
            CopyOrFree(data, other.m_pData, other.m_ulCapacity);
        }
        delete[] m_pData;
        m_pData = data;
        m_ulGrowCount = other.m_ulGrowCount;
        m_ulLength = other.m_ulLength;
        m_ulCapacity = other.m_ulCapacity;
        return *this;
    }

    int operator==(const UVector& other) const
    {
        if (m_ulLength != other.m_ulLength)
            return 0;
        for (unsigned long i = 0; i < m_ulLength; ++i)
            if (!(m_pData[i] == other.m_pData[i]))
                return 0;
        return 1;
    }

    int operator!=(const UVector& other) const { return (*this == other) ? 0 : 1; }

    // No bounds check.
    T& operator[](unsigned long ulIndex) { return m_pData[ulIndex]; }
    const T& operator[](unsigned long ulIndex) const { return m_pData[ulIndex]; }

    unsigned long GetLength() const { return m_ulLength; }
    unsigned long GetCapacity() const { return m_ulCapacity; }
    T* GetBuffer() { return m_pData; }
    const T* GetBuffer() const { return m_pData; }
    unsigned long GetGrowCount() const { return m_ulGrowCount; }
    void SetGrowCount(unsigned long ulGrowCount) { m_ulGrowCount = ulGrowCount; }

    // Length 0; storage and capacity are kept.
    void Clear() { m_ulLength = 0; }

    unsigned long Add(const T& value)
    {
        if (m_ulCapacity <= m_ulLength)
        {
            // The value may live in the array that growing frees.
            T copy(value);
            SetCapacity(m_ulCapacity + EffectiveGrowCount());
            m_pData[m_ulLength] = copy;
        }
        else
        {
            m_pData[m_ulLength] = value;
        }
        return m_ulLength++;
    }

    unsigned long Add(const UVector& other)
    {
        const unsigned long added = other.m_ulLength;
        const unsigned long first = m_ulLength;
        if (m_ulCapacity < m_ulLength + added)
            SetCapacity(m_ulCapacity + (added > EffectiveGrowCount() ? added : EffectiveGrowCount()));
        for (unsigned long i = 0; i < added; ++i)
            m_pData[first + i] = other.m_pData[i];
        m_ulLength = first + added;
        return first;
    }

    int Remove(const T& value)
    {
        for (unsigned long i = 0; i < m_ulLength; ++i)
        {
            if (m_pData[i] == value)
            {
                for (unsigned long j = i + 1; j < m_ulLength; ++j)
                    m_pData[j - 1] = m_pData[j];
                --m_ulLength;
                return 1;
            }
        }
        return 0;
    }

    // Kept: moves at most count elements down (the rest keep their places) and drops the length
    // by min(count, length - start), the container's established behaviour; always 0 (pinned by
    // UVector.RemoveRangeMovesAtMostCountElements)
    int RemoveRange(unsigned long ulStart, unsigned long ulCount)
    {
        if (ulStart >= m_ulLength)
            return 0;
        const unsigned long tail = m_ulLength - ulStart;
        // A range running past the end moves nothing (there is nothing behind it to read).
        const unsigned long move = ulCount <= tail ? (ulCount < tail - ulCount ? ulCount : tail - ulCount) : 0;
        for (unsigned long i = 0; i < move; ++i)
            m_pData[ulStart + i] = m_pData[ulStart + ulCount + i];
        m_ulLength -= ulCount < tail ? ulCount : tail;
        return 0;
    }

    void SetCapacity(unsigned long n)
    {
        if (n == m_ulCapacity)
            return;
        T* data = n != 0 ? new T[n] : nullptr;
        const unsigned long kept = m_ulLength < n ? m_ulLength : n;
        CopyOrFree(data, m_pData, kept);
        delete[] m_pData;
        m_pData = data;
        m_ulCapacity = n;
        m_ulLength = kept;
    }

    // As SetCapacity, but the length becomes n; nothing happens when n is the capacity.
    void Resize(unsigned long n)
    {
        if (n == m_ulCapacity)
            return;
        SetCapacity(n);
        m_ulLength = n;
    }

private:
    // A throwing element assignment (a string running out of memory) must not leak the new array;
    // the vector itself is left as it was.
    static void CopyOrFree(T* pTarget, const T* pSource, unsigned long n)
    {
        try
        {
            for (unsigned long i = 0; i < n; ++i)
                pTarget[i] = pSource[i];
        }
        catch (...)
        {
            delete[] pTarget;
            throw;
        }
    }

    // A grow count of 0 would make Add write past the storage.
    unsigned long EffectiveGrowCount() const { return m_ulGrowCount != 0 ? m_ulGrowCount : 1; }

    T* m_pData;
    unsigned long m_ulGrowCount;
    unsigned long m_ulLength;
    unsigned long m_ulCapacity;
};

}}} // namespace Oskal::Lib::Collections
