#include <Oskal/Lib/UEventProvider.h>
#include <Oskal/Lib/UReferenceManagement.h>

#include <gtest/gtest.h>

#include <vector>

using Oskal::Lib::UEventProvider;
using Oskal::Lib::UReferenceManagement;

namespace {

class Counted : public UReferenceManagement
{
public:
    static Counted* Create(int* pDeleted) { return new Counted(pDeleted); }
    Counted* Copy() const { return new Counted(*this); }
    void AssignFrom(const Counted& other) { UReferenceManagement::operator=(other); }

private:
    explicit Counted(int* pDeleted) : m_pDeleted(pDeleted) {}
    Counted(const Counted& other) : UReferenceManagement(other), m_pDeleted(other.m_pDeleted) {}
    ~Counted() override { ++*m_pDeleted; }

    int* m_pDeleted;
};

TEST(UReferenceManagement, LastReleaseDeletes)
{
    int deleted = 0;
    Counted* object = Counted::Create(&deleted);
    EXPECT_EQ(1u, object->GetRefCount());
    EXPECT_EQ(2u, object->AddRef());
    EXPECT_EQ(2u, object->GetRefCount());
    EXPECT_EQ(1u, object->Release());
    EXPECT_EQ(0, deleted);
    EXPECT_EQ(0u, object->Release());
    EXPECT_EQ(1, deleted);
}

TEST(UReferenceManagement, CountsAreNeverCopied)
{
    int deleted = 0;
    Counted* original = Counted::Create(&deleted);
    original->AddRef();
    original->AddRef();
    Counted* copy = original->Copy();
    EXPECT_EQ(1u, copy->GetRefCount());
    copy->AssignFrom(*original);
    EXPECT_EQ(1u, copy->GetRefCount());
    EXPECT_EQ(3u, original->GetRefCount());
    EXPECT_EQ(0u, copy->Release());
    EXPECT_EQ(1, deleted);
    while (original->Release() != 0)
    {
    }
    EXPECT_EQ(2, deleted);
}

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

class Provider : public UEventProvider<IEvents>
{
public:
    void OnEventReceipientAttached(IEvents* p) override
    {
        attached.push_back(p);
        if (pChained != nullptr && p != pChained)
            AttachEventReceipient(pChained);
    }
    void OnEventReceipientDetached(IEvents* p) override { detached.push_back(p); }

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

TEST(UEventProvider, HooksRunOutsideTheLockAndCopiesOwnTheirList)
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
