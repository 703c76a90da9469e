#include <Oskal/Lib/UReferenceManagement.h>

#include <gtest/gtest.h>

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

} // namespace
