#pragma once

#include <Oskal/Lib/Threading/UCriticalSection.h>
#include <Oskal/Lib/Threading/UCriticalSectionAutoLock.h>

namespace Oskal { namespace Lib {

// Thread-safe list of event recipients of interface type T for a class that raises events. The
// list keeps the order of attachment and does not own the recipients. The attach and detach hooks
// run outside the lock, so a hook may attach or detach further recipients.
template <typename T>
class UEventProvider
{
public:
    UEventProvider() : m_pFirst(nullptr), m_ulCount(0) {}

    // The copy gets its own lock and its own nodes for the same recipients.
    UEventProvider(const UEventProvider& other) : m_pFirst(nullptr), m_ulCount(0) { CopyList(other); }

    UEventProvider& operator=(const UEventProvider& other)
    {
        if (this != &other)
            CopyList(other);
        return *this;
    }

    // Not virtual: providers are not deleted through a base pointer.
    ~UEventProvider()
    {
        Threading::UCriticalSectionAutoLock lock(m_csLock);
        FreeNodes(m_pFirst);
        m_pFirst = nullptr;
        m_ulCount = 0;
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
        {
            Threading::UCriticalSectionAutoLock lock(m_csLock);
            Node** link = &m_pFirst;
            for (; *link != nullptr; link = &(*link)->pNext)
            {
                if ((*link)->pReceipient == pReceipient)
                    break;
            }
            if (*link == nullptr)
            {
                *link = node;
                ++m_ulCount;
                node = nullptr;
            }
        }
        if (node != nullptr)
        {
            delete node;
            return 0;
        }
        // Outside the lock, so that the hook may attach or detach further recipients.
        OnEventReceipientAttached(pReceipient);
        return 1;
    }

    // 1 when removed; 0 for null or a recipient not in the list (no hook is called then).
    virtual int DetachEventReceipient(T* pReceipient)
    {
        if (pReceipient == nullptr)
            return 0;
        if (!Unlink(pReceipient))
            return 0;
        // Outside the lock, as for attaching.
        OnEventReceipientDetached(pReceipient);
        return 1;
    }

    unsigned long GetEventReceipientCount()
    {
        Threading::UCriticalSectionAutoLock lock(m_csLock);
        return m_ulCount;
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
        Threading::UCriticalSectionAutoLock lock(m_csLock);
        for (Node* node = m_pFirst; node != nullptr; node = node->pNext)
            fn(node->pReceipient);
    }

    Threading::UCriticalSection m_csLock;
    Node* m_pFirst;
    unsigned long m_ulCount;

private:
    // Takes the recipient's node out of the list; false when it is not in it.
    bool Unlink(T* pReceipient)
    {
        Threading::UCriticalSectionAutoLock lock(m_csLock);
        for (Node** link = &m_pFirst; *link != nullptr; link = &(*link)->pNext)
        {
            Node* node = *link;
            if (node->pReceipient != pReceipient)
                continue;
            *link = node->pNext;
            delete node;
            --m_ulCount;
            return true;
        }
        return false;
    }

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
        try
        {
            Threading::UCriticalSectionAutoLock lock(source.m_csLock);
            for (Node* node = source.m_pFirst; node != nullptr; node = node->pNext)
            {
                *link = new Node{node->pReceipient, nullptr};
                link = &(*link)->pNext;
                ++count;
            }
        }
        catch (...)
        {
            FreeNodes(first);
            throw;
        }
        Node* old;
        {
            Threading::UCriticalSectionAutoLock lock(m_csLock);
            old = m_pFirst;
            m_pFirst = first;
            m_ulCount = count;
        }
        FreeNodes(old);
    }
};

}} // namespace Oskal::Lib
