#include <Oskal/Lib/Xml/UXmlNameTable.h>

#include <Oskal/Lib/Internal/ArgumentChecks.h>

#include <cwchar>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Xml
{

namespace
{

struct Key
{
    unsigned long hash;
    const wchar_t* pwc;
    unsigned long count;
};

struct Entry
{
    unsigned long hash;
    UString text;
};

int CompareUnits(const wchar_t* pwcLeft, unsigned long ulLeft, const wchar_t* pwcRight, unsigned long ulRight)
{
    const unsigned long common = ulLeft < ulRight ? ulLeft : ulRight;
    for (unsigned long i = 0; i < common; ++i)
        if (pwcLeft[i] != pwcRight[i])
            return pwcLeft[i] < pwcRight[i] ? -1 : 1;
    return ulLeft == ulRight ? 0 : (ulLeft < ulRight ? -1 : 1);
}

// Ordered by hash, then by text: entries with equal hashes sit side by side, and a lookup
// among many colliding names stays logarithmic.
struct Less
{
    using is_transparent = void;

    static Key KeyOf(const Entry& entry) { return Key{entry.hash, entry.text.GetBuffer(), entry.text.GetLength()}; }
    static bool Before(const Key& left, const Key& right)
    {
        if (left.hash != right.hash)
            return left.hash < right.hash;
        return CompareUnits(left.pwc, left.count, right.pwc, right.count) < 0;
    }
    bool operator()(const Entry& left, const Entry& right) const { return Before(KeyOf(left), KeyOf(right)); }
    bool operator()(const Entry& left, const Key& right) const { return Before(KeyOf(left), right); }
    bool operator()(const Key& left, const Entry& right) const { return Before(left, KeyOf(right)); }
};

} // namespace

class UXmlNameTable::Entries
{
public:
    using Items = std::set<Entry, Less>;

    Entries() = default;
    // A copy has the names only: what another table keeps for its reader is not the copy's.
    Entries(const Entries& other) : items(other.items), generation(other.generation) {}
    Entries& operator=(const Entries&) = delete;

    Items items;
    // Sets of entries dropped while the owning reader may still refer to them. Moving a set
    // leaves its strings where they are.
    std::vector<Items> cleared;
    unsigned long generation = 0;
    bool keepCleared = false;
};

UXmlNameTable::UXmlNameTable() : m_pEntries(new Entries()) {}

UXmlNameTable::UXmlNameTable(const UXmlNameTable& other) : m_pEntries(new Entries(*other.m_pEntries)) {}

UXmlNameTable& UXmlNameTable::operator=(const UXmlNameTable& other)
{
    if (this != &other)
    {
        std::unique_ptr<Entries> copy(new Entries(*other.m_pEntries));
        copy->generation = m_pEntries->generation + 1;
        if (m_pEntries->keepCleared)
        {
            m_pEntries->cleared.push_back(std::move(m_pEntries->items));
            copy->cleared = std::move(m_pEntries->cleared);
            copy->keepCleared = true;
        }
        delete m_pEntries;
        m_pEntries = copy.release();
    }
    return *this;
}

UXmlNameTable::~UXmlNameTable()
{
    delete m_pEntries;
}

namespace
{

unsigned long Combine(unsigned long ulCount, unsigned long ulXor, unsigned long ulSum)
{
    return (((ulCount << 8) | ulXor) << 16) | ulSum;
}

} // namespace

unsigned long UXmlNameTable::Hash(const wchar_t* pwcText, unsigned long ulCount)
{
    unsigned long x = 0, s = 0;
    for (unsigned long i = 0; i < ulCount; ++i)
    {
        x ^= pwcText[i];
        s += pwcText[i];
    }
    return Combine(ulCount, x, s);
}

const UString& UXmlNameTable::Add(const wchar_t* pszText)
{
    Internal::ThrowIfNull(pszText, L"pszText");
    return Add(pszText, static_cast<unsigned long>(std::wcslen(pszText)));
}

const UString& UXmlNameTable::Add(const wchar_t* pwcText, unsigned long ulCount)
{
    Internal::ThrowIfNull(pwcText, L"pwcText");
    // The length and the hash in one pass.
    unsigned long count = 0, x = 0, s = 0;
    for (; count < ulCount && pwcText[count] != 0; ++count)
    {
        x ^= pwcText[count];
        s += pwcText[count];
    }
    const Key key{Combine(count, x, s), pwcText, count};
    auto found = m_pEntries->items.find(key);
    if (found != m_pEntries->items.end())
        return found->text;
    return m_pEntries->items.insert(Entry{key.hash, UString(pwcText, count)}).first->text;
}

void UXmlNameTable::Clear()
{
    if (m_pEntries->keepCleared)
        m_pEntries->cleared.push_back(std::move(m_pEntries->items));
    m_pEntries->items.clear();
    ++m_pEntries->generation;
}

void UXmlNameTable::KeepClearedNames()
{
    m_pEntries->keepCleared = true;
}

void UXmlNameTable::ReleaseClearedNames()
{
    m_pEntries->cleared.clear();
}

unsigned long UXmlNameTable::GetGeneration() const
{
    return m_pEntries->generation;
}

} // namespace Xml
} // namespace Lib
} // namespace Oskal
