#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// Stores each distinct name once and hands out references to the stored string, so that names
// can be compared by identity. The references stay valid while the table lives and is not
// cleared. Names whose hashes collide are told apart by their text.
class OSKAL_LIB_API UXmlNameTable
{
public:
    UXmlNameTable();
    UXmlNameTable(const UXmlNameTable& other);
    UXmlNameTable& operator=(const UXmlNameTable& other);
    virtual ~UXmlNameTable();

    const UString& Add(const wchar_t* pszText);
    // At most ulCount units, ending early at a NUL.
    const UString& Add(const wchar_t* pwcText, unsigned long ulCount);
    void Clear();

    // ((count << 8 | xor) << 16) | sum over the UTF-16 units, in 32 bits.
    static unsigned long Hash(const wchar_t* pwcText, unsigned long ulCount);

private:
    friend class UXmlReader;
    // Counts the calls of Clear and assignments, so that a reader knows when names it
    // remembered have left the table.
    unsigned long GetGeneration() const;
    // For the reader that owns the table: from now on Clear and assignment keep the strings they
    // drop alive until ReleaseClearedNames, so that the reader can add the names it still holds
    // again before their old strings go.
    void KeepClearedNames();
    void ReleaseClearedNames();

    class Entries;
    Entries* m_pEntries;
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
