#pragma once

#include <windows.h>

namespace Oskal { namespace Lib {

// Thread-safe list of event recipients of interface type T for a class that raises events. The
// list keeps the order of attachment and does not own the recipients. The attach and detach hooks
// run outside the lock, so a hook may attach or detach further recipients.
template <typename T>
class UEventProvider
{
public:
    UEventProvider() : m_pFirst(nullptr), m_ulCount(0) { InitializeCriticalSection(&m_csLock); }

    // The copy gets its own lock and its own nodes for the same recipients.
    UEventProvider(const UEventProvider& other) : m_pFirst(nullptr), m_ulCount(0)
    {
        InitializeCriticalSection(&m_csLock);
        CopyList(other);
    }

    UEventProvider& operator=(const UEventProvider& other)
    {
        if (this != &other)
            CopyList(other);
        return *this;
    }

    // Not virtual: providers are not deleted through a base pointer.
    ~UEventProvider()
    {
        EnterCriticalSection(&m_csLock);
        FreeNodes(m_pFirst);
        m_pFirst = nullptr;
        m_ulCount = 0;
        LeaveCriticalSection(&m_csLock);
        DeleteCriticalSection(&m_csLock);
    }

    virtual void OnEventReceipientAttached(T* /*pReceipient*/) {}
    virtual void OnEventReceipientDetached(T* /*pReceipient*/) {}

    // 1 when added; 0 for null or a recipient already in the list.
    virtual int AttachEventReceipient(T* pReceipient)
    {
        if (pReceipient == nullptr)
            return 0;
        // Allocated before locking, so a failed allocation never leaves the lock held.
        Node* node = new Node{pReceipient, nullptr};
        EnterCriticalSection(&m_csLock);
        Node** link = &m_pFirst;
        for (; *link != nullptr; link = &(*link)->pNext)
        {
            if ((*link)->pReceipient == pReceipient)
            {
                LeaveCriticalSection(&m_csLock);
                delete node;
                return 0;
            }
        }
        *link = node;
        ++m_ulCount;
        LeaveCriticalSection(&m_csLock);
        OnEventReceipientAttached(pReceipient);
        return 1;
    }

    // 1 when removed; 0 for null or a recipient not in the list (no hook is called then).
    virtual int DetachEventReceipient(T* pReceipient)
    {
        if (pReceipient == nullptr)
            return 0;
        EnterCriticalSection(&m_csLock);
        for (Node** link = &m_pFirst; *link != nullptr; link = &(*link)->pNext)
        {
            Node* node = *link;
            if (node->pReceipient != pReceipient)
                continue;
            *link = node->pNext;
            delete node;
            --m_ulCount;
            LeaveCriticalSection(&m_csLock);
            OnEventReceipientDetached(pReceipient);
            return 1;
        }
        LeaveCriticalSection(&m_csLock);
        return 0;
    }

    unsigned long GetEventReceipientCount()
    {
        EnterCriticalSection(&m_csLock);
        const unsigned long count = m_ulCount;
        LeaveCriticalSection(&m_csLock);
        return count;
    }

protected:
    struct Node
    {
        T* pReceipient;
        Node* pNext;
    };

    // Calls fn(T*) for every recipient in attachment order, under the list's lock.
    template <typename F>
    void ForEachEventReceipient(F fn)
    {
        EnterCriticalSection(&m_csLock);
        try
        {
            for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
                fn(node->pReceipient);
        }
        catch (...)
        {
            LeaveCriticalSection(&m_csLock);
            throw;
        }
        LeaveCriticalSection(&m_csLock);
    }

    CRITICAL_SECTION m_csLock;
    Node* m_pFirst;
    unsigned long m_ulCount;

private:
    static void FreeNodes(Node* pNode)
    {
        while (pNode != nullptr)
        {
            Node* next = pNode->pNext;
            delete pNode;
            pNode = next;
        }
    }

    // Replaces the own list with copies of the other's nodes; built first so a failure leaves
    // the list as it was.
    void CopyList(const UEventProvider& other)
    {
        UEventProvider& source = const_cast<UEventProvider&>(other);
        Node* first = nullptr;
        Node** link = &first;
        unsigned long count = 0;
        EnterCriticalSection(&source.m_csLock);
        try
        {
            for (Node* node = source.m_pFirst; node != nullptr; node = node->pNext)
            {
                *link = new Node{node->pReceipient, nullptr};
                link = &(*link)->pNext;
                ++count;
            }
        }
        catch (...)
        {
            LeaveCriticalSection(&source.m_csLock);
            FreeNodes(first);
            throw;
        }
        LeaveCriticalSection(&source.m_csLock);
        EnterCriticalSection(&m_csLock);
        Node* old = m_pFirst;
        m_pFirst = first;
        m_ulCount = count;
        LeaveCriticalSection(&m_csLock);
        FreeNodes(old);
    }
};

}} // namespace Oskal::Lib
