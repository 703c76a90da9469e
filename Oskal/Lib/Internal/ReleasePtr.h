#pragma once

namespace Oskal { namespace Lib { namespace Internal {

// Owns one reference of a reference-counted object (anything with Release()) and gives it back
// when it goes out of scope, so that no early return or exception leaks the object.
template <typename T>
class ReleasePtr
{
public:
    explicit ReleasePtr(T* p = nullptr) noexcept : m_p(p) {}
    ~ReleasePtr() { Reset(); }

    ReleasePtr(ReleasePtr&& other) noexcept : m_p(other.Detach()) {}
    ReleasePtr& operator=(ReleasePtr&& other) noexcept
    {
        if (this != &other)
            Reset(other.Detach());
        return *this;
    }
    ReleasePtr(const ReleasePtr&) = delete;
    ReleasePtr& operator=(const ReleasePtr&) = delete;

    T* Get() const noexcept { return m_p; }
    T* operator->() const noexcept { return m_p; }
    T& operator*() const noexcept { return *m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }

    // Hands the reference to the caller.
    T* Detach() noexcept
    {
        T* p = m_p;
        m_p = nullptr;
        return p;
    }

    // Releases the held reference (if any) and takes over p's.
    void Reset(T* p = nullptr) noexcept
    {
        T* old = m_p;
        m_p = p;
        if (old != nullptr)
            old->Release();
    }

private:
    T* m_p;
};

}}} // namespace Oskal::Lib::Internal
