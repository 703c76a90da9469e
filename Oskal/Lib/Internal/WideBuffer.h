#pragma once

#include <cstdlib>
#include <cwchar>
#include <new>
#include <utility>

namespace Oskal
{
namespace Lib
{
namespace Internal
{

// A growable buffer of UTF-16 units, always terminated once it holds anything, that keeps its
// capacity when cleared. For text assembled from many tiny pieces (the XML writer's output, the
// character data expat hands over in fragments): the copies run inline, where the string
// classes' out-of-line members and the run-time's memmove would cost more than the work itself.
class WideBuffer
{
public:
    WideBuffer() = default;
    WideBuffer(const WideBuffer& other) { assign(other.data(), other.size()); }
    WideBuffer& operator=(const WideBuffer& other)
    {
        if (this != &other)
            assign(other.data(), other.size());
        return *this;
    }
    ~WideBuffer() { std::free(m_p); }

    void clear()
    {
        m_size = 0;
        if (m_p != nullptr)
            m_p[0] = 0;
    }
    bool empty() const { return m_size == 0; }
    size_t size() const { return m_size; }
    const wchar_t* data() const { return m_p != nullptr ? m_p : L""; }
    const wchar_t* c_str() const { return data(); }
    void push_back(wchar_t wc)
    {
        Reserve(m_size + 2);
        m_p[m_size++] = wc;
        m_p[m_size] = 0;
    }
    void append(const wchar_t* pwc, size_t count)
    {
        Reserve(m_size + count + 1);
        wchar_t* out = m_p + m_size;
        for (size_t i = 0; i < count; ++i)
            out[i] = pwc[i];
        m_size += count;
        m_p[m_size] = 0;
    }
    void append(const wchar_t* psz) { append(psz, std::wcslen(psz)); }
    void truncate(size_t size)
    {
        if (size < m_size)
        {
            m_size = size;
            m_p[m_size] = 0;
        }
    }
    void assign(const wchar_t* pwc, size_t count)
    {
        clear();
        append(pwc, count);
    }
    void assign(const wchar_t* psz) { assign(psz, std::wcslen(psz)); }
    // Makes room for count more units at the end and returns where they go; the caller fills
    // them (or truncates what it does not use).
    wchar_t* extend(size_t count)
    {
        Reserve(m_size + count + 1);
        wchar_t* out = m_p + m_size;
        m_size += count;
        m_p[m_size] = 0;
        return out;
    }
    void swap(WideBuffer& other)
    {
        std::swap(m_p, other.m_p);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

private:
    void Reserve(size_t capacity)
    {
        if (capacity <= m_capacity)
            return;
        size_t grown = m_capacity * 2 > capacity ? m_capacity * 2 : capacity + 16;
        if (grown > 0x3FFFFFFFu)
            throw std::bad_alloc();
        void* p = std::realloc(m_p, grown * sizeof(wchar_t));
        if (p == nullptr)
            throw std::bad_alloc();
        m_p = static_cast<wchar_t*>(p);
        m_capacity = grown;
    }

    wchar_t* m_p = nullptr;
    size_t m_size = 0;
    size_t m_capacity = 0;
};

} // namespace Internal
} // namespace Lib
} // namespace Oskal
