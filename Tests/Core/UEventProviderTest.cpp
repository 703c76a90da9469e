#include <Oskal/Lib/UEventProvider.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

using Oskal::Lib::UEventProvider;

namespace {

struct IEvents
{
    virtual ~IEvents() {}
    virtual void OnSomething() = 0;
};

struct Recipient : IEvents
{
    void OnSomething() override { ++calls; }
    int calls = 0;
};

// The recipient count as a second thread sees it, or -1 when that thread could not take the
// list's lock within a generous limit (it then finishes once the caller's hook returns).
DWORD WINAPI Count(void* pvProvider)
{
    return static_cast<UEventProvider<IEvents>*>(pvProvider)->GetEventReceipientCount();
}

long CountFromAnotherThread(UEventProvider<IEvents>* pProvider)
{
    HANDLE thread = CreateThread(nullptr, 0, Count, pProvider, 0, nullptr);
    DWORD count = 0;
    const bool done = WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0 && GetExitCodeThread(thread, &count);
    CloseHandle(thread);
    return done ? static_cast<long>(count) : -1;
}

class Provider : public UEventProvider<IEvents>
{
public:
    void OnEventReceipientAttached(IEvents* p) override
    {
        attached.push_back(p);
        if (checkLock)
            seenInHook.push_back(CountFromAnotherThread(this));
        if (pChained != nullptr && p != pChained)
            AttachEventReceipient(pChained);
    }
    void OnEventReceipientDetached(IEvents* p) override
    {
        detached.push_back(p);
        if (checkLock)
            seenInHook.push_back(CountFromAnotherThread(this));
    }
    std::vector<IEvents*> Receipients()
    {
        std::vector<IEvents*> list;
        ForEachEventReceipient([&](IEvents* p) { list.push_back(p); });
        return list;
    }
    void Raise()
    {
        ForEachEventReceipient([](IEvents* p) { p->OnSomething(); });
    }
    std::vector<IEvents*> attached;
    std::vector<IEvents*> detached;
    IEvents* pChained = nullptr;
    bool checkLock = false;
    std::vector<long> seenInHook;
};

TEST(UEventProvider, AttachAndDetachCallTheHooksOnlyOnChange)
{
    Provider provider;
    Recipient a, b;
    EXPECT_EQ(0, provider.AttachEventReceipient(nullptr));
    EXPECT_EQ(1, provider.AttachEventReceipient(&a));
    EXPECT_EQ(0, provider.AttachEventReceipient(&a));
    EXPECT_EQ(1, provider.AttachEventReceipient(&b));
    EXPECT_EQ(2u, provider.GetEventReceipientCount());
    EXPECT_EQ((std::vector<IEvents*>{&a, &b}), provider.attached);
    EXPECT_EQ((std::vector<IEvents*>{&a, &b}), provider.Receipients());
    provider.Raise();
    EXPECT_EQ(1, a.calls);
    EXPECT_EQ(1, b.calls);
    Recipient unknown;
    EXPECT_EQ(0, provider.DetachEventReceipient(&unknown));
    EXPECT_EQ(0, provider.DetachEventReceipient(nullptr));
    EXPECT_TRUE(provider.detached.empty());
    EXPECT_EQ(1, provider.DetachEventReceipient(&a));
    EXPECT_EQ(0, provider.DetachEventReceipient(&a));
    EXPECT_EQ((std::vector<IEvents*>{&a}), provider.detached);
    EXPECT_EQ((std::vector<IEvents*>{&b}), provider.Receipients());
    EXPECT_EQ(1u, provider.GetEventReceipientCount());
}

// The lock is re-entrant, so a hook that attaches on its own thread proves nothing: another
// thread must be able to take the lock while the hook runs, and see the change already made.
TEST(UEventProvider, HooksRunOutsideTheLock)
{
    Provider provider;
    provider.checkLock = true;
    Recipient first;
    EXPECT_EQ(1, provider.AttachEventReceipient(&first));
    EXPECT_EQ(1, provider.DetachEventReceipient(&first));
    EXPECT_EQ((std::vector<long>{1, 0}), provider.seenInHook);
}

TEST(UEventProvider, HooksMayAttachAndCopiesOwnTheirList)
{
    Provider provider;
    Recipient first, chained;
    provider.pChained = &chained;
    EXPECT_EQ(1, provider.AttachEventReceipient(&first));
    EXPECT_EQ((std::vector<IEvents*>{&first, &chained}), provider.Receipients());
    UEventProvider<IEvents> copy(provider);
    EXPECT_EQ(1, copy.DetachEventReceipient(&first));
    EXPECT_EQ(1u, copy.GetEventReceipientCount());
    EXPECT_EQ(2u, provider.GetEventReceipientCount());
}

} // namespace
